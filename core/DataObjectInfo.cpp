#include <zo/core/DataObjectInfo.h>

#include <cmath>

#include <fmt/format.h>

#include <zo/core/Attributes.h>
#include <zo/core/Dates.h>
#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>

namespace zo {
namespace {

std::string Quote(const std::string& s) { return "'" + text::ReplaceAll(s, "'", "''") + "'"; }

std::string FloatLiteral(const TValue& value) {
  const double d = value.AsFloat();
  const std::string& type = value.TypeName();
  if (type == "TDate" || type == "TDateTime" || type == "TTime") {
    if (d == 0) return "NULL";
    if (type == "TDate") return Quote(dates::FormatDate(d));
    if (type == "TTime") return Quote(dates::FormatTime(d));
    return Quote(dates::FormatDateTime(d));
  }
  if (!std::isfinite(d)) return "NULL";
  return fmt::format("{}", d);
}

std::string ObjectLiteral(const TValue& value) {
  const auto* obj = dynamic_cast<const TBaseDataObject*>(value.AsObject());
  return obj == nullptr ? "NULL" : std::to_string(obj->GetCodigo());
}

bool InInsertList(const TRttiProperty* p) {
  const auto skill = GetAttribSkill(p);
  return !IsAgregation(p) && skill != TPropertySkill::psEmbedded &&
         skill != TPropertySkill::psTextBlob && skill != TPropertySkill::psBinaryBlob;
}

// An empty text in a unique column is NULL: objects without a value must not collide with one
// another on the column's unique constraint.
std::string ColumnLiteral(const TRttiProperty* p, const TValue& value) {
  const bool text = p->Type().IsString() || p->Type().IsChar();
  if (GetAttribSkill(p) == TPropertySkill::psUnique && text && value.AsString().empty()) {
    return "NULL";
  }
  return TDataObjectInfo::ValueToStr(value);
}

[[noreturn]] void Invalid(const TBaseDataObject& obj, const TRttiProperty* p,
                          const std::string& problem) {
  throw Exception("O valor da propriedade \"" + p->Name() + "\" da classe \"" + obj.ClassName() +
                  "\" " + problem);
}

bool IsMissing(const TRttiProperty* p, const TValue& v) {
  switch (p->Kind()) {
    case TTypeKind::tkInteger:
      return p->TypeName() == "TForeignKey" && v.AsInteger() < 0;
    case TTypeKind::tkFloat:
      return p->TypeName() != "Double" && v.AsFloat() == 0;
    case TTypeKind::tkClass:
      return v.IsEmpty();
    default:
      return v.Type()->IsString() || v.Type()->IsChar() ? v.AsString().empty() : false;
  }
}

void ValidateProperty(const TBaseDataObject& obj, const TRttiProperty* p) {
  const TValue v = p->GetValue(obj);
  if (IsRequired(p) && IsMissing(p, v)) Invalid(obj, p, "é obrigatório");
  if (p->Kind() == TTypeKind::tkFloat && !std::isfinite(v.AsFloat())) {
    Invalid(obj, p, "não é um número válido");
  }
  const bool text = p->Type().IsString() || p->Type().IsChar();
  if (!text || GetAttribSkill(p) == TPropertySkill::psTextBlob) return;
  const Annotation* a = FirstAnnotation(p);
  if (a != nullptr && a->GetSize() > 0 &&
      text::Utf8Length(v.AsString()) > static_cast<size_t>(a->GetSize())) {
    Invalid(obj, p, "excede o tamanho máximo de " + std::to_string(a->GetSize()) + " caracteres");
  }
  if (!text::IsLatin1(v.AsString())) {
    Invalid(obj, p, "contém caracteres que o banco de dados não suporta (fora do Latin-1)");
  }
}

}  // namespace

void TDataObjectInfo::SetClass(TDataObjectClass cls) {
  fDataClass = cls;
  ExtractInfo(cls);
}

void TDataObjectInfo::ExtractInfo(TDataObjectClass cls) {
  fProperties = cls->Properties();
  fListProperties.clear();
  for (const TRttiProperty* p : fProperties) {
    if (IsAgregation(p)) fListProperties.push_back(p);
  }
  fKeyProperty = cls->KeyProperty();
}

std::string TDataObjectInfo::GetKeyName() const {
  return fKeyProperty == nullptr ? std::string() : GetAttribName(fKeyProperty);
}

const TRttiProperty* TDataObjectInfo::FindProperty(std::string_view name) const {
  return fDataClass == nullptr ? nullptr : fDataClass->FindProperty(name);
}

TDataObjectClass TDataObjectInfo::GetClassOfList(const TDataObjectList* list) {
  return list == nullptr ? nullptr : list->ItemClass();
}

TDataObjectClass TDataObjectInfo::GetClassOfPropertyList(const TRttiProperty* prop) {
  return prop == nullptr ? nullptr : prop->ItemClass();
}

std::string TDataObjectInfo::PropValueToStr(const TBaseDataObject& obj,
                                            const std::vector<const TRttiProperty*>& props,
                                            bool assignments, const std::string& prefix) const {
  std::string out;
  const auto append = [&out](const std::string& piece) {
    if (!out.empty()) out += ",";
    out += piece;
  };
  if (!assignments) {
    append(std::to_string(obj.GetCodigo()));
    for (const TRttiProperty* p : props) {
      if (p != fKeyProperty && InInsertList(p)) append(ColumnLiteral(p, p->GetValue(obj)));
    }
    return out;
  }
  for (const TRttiProperty* p : props) {
    if (p == fKeyProperty || IsAgregation(p)) continue;
    const std::string column = prefix.empty() ? GetAttribName(p) : prefix + "_" + GetAttribName(p);
    append(column + " = " + ColumnLiteral(p, p->GetValue(obj)));
  }
  return out;
}

std::string TDataObjectInfo::ValueToStr(const TValue& value) {
  if (value.Type() == nullptr || std::holds_alternative<std::monostate>(value.Raw())) {
    return "NULL";
  }
  switch (value.Kind()) {
    case TTypeKind::tkInteger:
      if (value.TypeName() == "TForeignKey" && value.AsInteger() < 0) return "NULL";
      return std::to_string(value.AsInteger());
    case TTypeKind::tkInt64:
      return std::to_string(value.AsOrdinal());
    case TTypeKind::tkEnumeration:
      return std::to_string(value.AsOrdinal());
    case TTypeKind::tkFloat:
      return FloatLiteral(value);
    case TTypeKind::tkClass:
      return value.Type()->shape == TObjectShape::DataObject ? ObjectLiteral(value) : "NULL";
    default:
      if (value.Type()->IsString() || value.Type()->IsChar()) return Quote(value.AsString());
      return "NULL";
  }
}

void TDataObjectInfo::Validate(const TBaseDataObject& obj) const {
  for (const TRttiProperty* p : fProperties) {
    if (p == fKeyProperty || IsAgregation(p)) continue;
    ValidateProperty(obj, p);
    if (GetAttribSkill(p) == TPropertySkill::psEmbedded) {
      const auto* member = dynamic_cast<const TBaseDataObject*>(p->GetObject(obj));
      if (member != nullptr) {
        TDataObjectInfo memberInfo;
        memberInfo.SetClass(member->ClassType());
        memberInfo.Validate(*member);
      }
    }
  }
}

}  // namespace zo
