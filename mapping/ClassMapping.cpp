#include <zo/mapping/ClassMapping.h>

#include <fmt/printf.h>

#include <zo/core/Attributes.h>
#include <zo/core/Exceptions.h>

namespace zo {

std::string TPlacement::Column(const TRttiProperty* prop) const {
  const std::string name = GetAttribName(prop);
  return fieldPrefix.empty() ? name : fmt::sprintf("%s_%s", fieldPrefix, name);
}

TClassMapping::TClassMapping(TDataObjectClass cls) {
  // The class is final, so the virtual ExtractInfo reached from here is its own.
  SetClass(cls);
}

void TClassMapping::ExtractInfo(TDataObjectClass cls) {
  TDataObjectInfo::ExtractInfo(cls);
  FTableMerged = false;
  if (!FTableName.empty()) return;
  const auto& annotations = cls->Annotations();
  if (annotations.empty()) {
    FTableName = cls->Name();
  } else {
    FTableName = annotations.front().GetName();
    FTableMerged = annotations.front().GetSkill() == TPropertySkill::psEmbedded;
  }
}

std::string TClassMapping::GetKeyName() const {
  if (fKeyProperty == nullptr) {
    throw Exception("A propriedade da chave primária da classe \"" +
                    (fDataClass ? fDataClass->Name() : std::string()) + "\" está indefinida");
  }
  if (fKeyProperty->Annotations().empty()) return fKeyProperty->Name();
  return TDataObjectInfo::GetKeyName();
}

std::string TClassMapping::TableNameAt(const TPlacement& placement) const {
  if (placement.hostClass != nullptr) {
    return placement.hostClass->GetTablePrefix() + placement.hostClass->GetTableName();
  }
  return (fDataClass ? fDataClass->GetTablePrefix() : std::string()) + FTableName;
}

}  // namespace zo
