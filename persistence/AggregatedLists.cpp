// Reading aggregated lists: the children that refer back to their master.
#include <fmt/printf.h>

#include <zo/core/Attributes.h>
#include <zo/core/DataObjectList.h>
#include <zo/core/Exceptions.h>
#include "persistence/PersistenceDetail.h"
#include <zo/persistence/ZoServerUtils.h>

namespace zo {
namespace {

// List properties are owning members, so there is always a list to append to.
TDataObjectList& ListOf(TBaseDataObject& object, const TRttiProperty* listProperty) {
  auto* list = dynamic_cast<TDataObjectList*>(listProperty->GetObject(object));
  if (list == nullptr) {
    throw Exception("A propriedade \"" + listProperty->Name() + "\" da classe \"" +
                    object.ClassName() + "\" não guarda uma lista");
  }
  return *list;
}

std::vector<int32_t> ChildIds(TDBXConnection& connection, const TDataObjectInfoDB& childInfo,
                              const TRttiProperty* ref, int32_t masterId) {
  const auto reader =
      GetReader(connection, fmt::sprintf("select %s from %s where %s = %d", childInfo.GetKeyName(),
                                         childInfo.GetTableName(), GetAttribName(ref), masterId));
  std::vector<int32_t> ids;
  while (reader->Reader().Next()) ids.push_back(reader->Reader().GetInt32(0));
  return ids;
}

}  // namespace

void LoadAggregatedList(TDBXConnection& connection, TBaseDataObject& object,
                        const TRttiProperty* listProperty) {
  TDataObjectList& list = ListOf(object, listProperty);
  if (FirstAnnotation(listProperty) == nullptr) {
    // Without an annotation there is no reference to follow.
    throw Exception("Falta referência para a classe Host no atributo da propriedade \"" +
                    listProperty->Name() + "\" da classe \"" + object.ClassName() + "\"");
  }
  const std::string referenceName = detail::ListReferenceName(listProperty);
  const TDataObjectClass itemClass = TDataObjectInfo::GetClassOfPropertyList(listProperty);
  const TDataObjectInfoDB& childInfo = *GetObjectInfoDB(itemClass);
  const TDataObjectClass master = detail::ListMasterClass(listProperty, object.ClassType());
  const TRttiProperty* ref = FindMasterReference(itemClass, master, referenceName);
  if (ref == nullptr) {
    throw Exception("Não há referência para a classe mestre \"" + object.ClassName() +
                    "\" na classe agregada \"" + itemClass->Name() + "\"");
  }
  for (const int32_t id : ChildIds(connection, childInfo, ref, object.GetCodigo())) {
    auto child = GetDataObject(connection, id, itemClass);
    child->SetParent(&object);
    list.Add(std::move(child));
  }
}

const TRttiProperty* FindMasterReference(TDataObjectClass itemClass, TDataObjectClass masterClass,
                                         const std::string& referenceName) {
  // A class merged into its parent's table is referred to as that parent.
  const TDataObjectClass target =
      GetObjectInfoDB(masterClass)->TableMerged() ? masterClass->Parent() : masterClass;
  for (const TRttiProperty* prop : itemClass->Properties()) {
    const Annotation* a = FirstAnnotation(prop);
    if (a == nullptr) continue;
    const TDataObjectClass host = a->GetHostClass();
    if (host == target && (referenceName.empty() || a->GetName() == referenceName)) return prop;
    if (host != nullptr && host != target && target->InheritsFrom(host)) return prop;
  }
  return nullptr;
}

}  // namespace zo
