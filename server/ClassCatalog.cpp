// GetClasses and GetActions: what a client needs to build forms, grids and action buttons for
// the module without compiling its classes in. Read-only; they run through the ordinary
// dispatch like every other method.
#include <array>
#include <string>

#include <nlohmann/json.hpp>

#include <zo/core/Annotation.h>
#include <zo/core/Attributes.h>
#include <zo/core/Rtti.h>
#include <zo/mapping/ObjectInfoCache.h>
#include <zo/mapping/ServerClasses.h>
#include <zo/server/CustomServerModule.h>

namespace zo {
namespace {

std::string KindName(TTypeKind kind) {
  static const std::array<const char*, 22> kNames{
      "tkUnknown", "tkInteger",  "tkChar",    "tkEnumeration", "tkFloat",   "tkString",
      "tkSet",     "tkClass",    "tkMethod",  "tkWChar",       "tkLString", "tkWString",
      "tkVariant", "tkArray",    "tkRecord",  "tkInterface",   "tkInt64",   "tkDynArray",
      "tkUString", "tkClassRef", "tkPointer", "tkProcedure"};
  const auto index = static_cast<std::size_t>(kind);
  return index < kNames.size() ? kNames[index] : "tkUnknown";
}

std::string SkillName(TPropertySkill skill) {
  static const std::array<const char*, 6> kNames{"psNormal", "psGeneric",  "psEmbedded",
                                                 "psUnique", "psTextBlob", "psBinaryBlob"};
  const auto index = static_cast<std::size_t>(skill);
  return index < kNames.size() ? kNames[index] : "psNormal";
}

std::string ShapeName(TObjectShape shape) {
  switch (shape) {
    case TObjectShape::DataObject:
      return "object";
    case TObjectShape::List:
      return "list";
    case TObjectShape::Stream:
      return "stream";
    case TObjectShape::Bitmap:
      return "bitmap";
    case TObjectShape::None:
      break;
  }
  return "value";
}

nlohmann::json DescribeProperty(const TRttiProperty* prop, const TRttiProperty* key) {
  const Annotation* annotation = FirstAnnotation(prop);
  const TRttiType* related = prop->Shape() == TObjectShape::List         ? prop->ItemClass()
                             : prop->Shape() == TObjectShape::DataObject ? prop->PropertyClass()
                                                                         : GetHostClass(prop);
  // Lists live in their item class's table: the property has no column of its own.
  const bool hasColumn = prop->Shape() != TObjectShape::List;
  return {
      {"name", prop->Name()},
      {"kind", KindName(prop->Kind())},
      {"type", prop->TypeName()},
      {"shape", ShapeName(prop->Shape())},
      {"column", hasColumn ? nlohmann::json(GetAttribName(prop)) : nlohmann::json(nullptr)},
      {"size", annotation == nullptr ? 0 : annotation->GetSize()},
      {"required", IsRequired(prop)},
      {"indexed", IsIndexed(prop)},
      {"skill", SkillName(GetAttribSkill(prop))},
      {"key", prop == key},
      {"class", related == nullptr ? nlohmann::json(nullptr) : nlohmann::json(related->Name())}};
}

nlohmann::json DescribeClass(const std::string& name, TDataObjectClass cls) {
  const TDataObjectInfoDB* info = GetObjectInfoDB(cls);
  nlohmann::json properties = nlohmann::json::array();
  for (const TRttiProperty* prop : info->Properties()) {
    properties.push_back(DescribeProperty(prop, info->KeyProperty()));
  }
  const TRttiType* parent = cls->Parent();
  return {{"name", name},
          {"qualifiedName", cls->QualifiedName()},
          {"parent", parent == nullptr ? nlohmann::json(nullptr) : nlohmann::json(parent->Name())},
          {"table", GetTableName(cls)},
          {"key", info->KeyProperty() == nullptr ? std::string() : info->GetKeyName()},
          {"properties", std::move(properties)}};
}

}  // namespace

nlohmann::json TZoCustomServerModule::GetClasses() {
  Demand({"GetClasses", TAccessKind::akRead, nullptr, {}, {}});
  nlohmann::json classes = nlohmann::json::array();
  for (const auto& [name, cls] : fRegistry.Classes()) {
    if (cls != nullptr) classes.push_back(DescribeClass(name, cls));
  }
  return classes;
}

nlohmann::json TZoCustomServerModule::GetActions() {
  Demand({"GetActions", TAccessKind::akRead, nullptr, {}, {}});
  nlohmann::json names = nlohmann::json::array();
  for (const auto& name : fExtraMethods.Names()) names.push_back(name);
  return names;
}

}  // namespace zo
