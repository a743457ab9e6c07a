#include <zo/mapping/ServerClasses.h>

#include <fmt/printf.h>

#include <zo/core/Attributes.h>
#include <zo/core/Exceptions.h>

namespace zo {

std::string TObjectDDL::GetAll() const {
  return FTable + "\r\n" + FPrimaryKey + "\r\n" + "\r\n" + FForeignKey;
}

TDataObjectInfoDB::TDataObjectInfoDB()
    : FFKDomain("INTEGER"), FEnumDomain("SMALLINT"), FPKDomain("INTEGER NOT NULL") {}

TDataObjectInfoDB::~TDataObjectInfoDB() = default;

void TDataObjectInfoDB::ExtractInfo(TDataObjectClass cls) {
  TDataObjectInfo::ExtractInfo(cls);
  FHostKeyName.clear();

  FTableMerged = false;
  if (FTableName.empty()) {
    const auto& annotations = cls->Annotations();
    if (annotations.empty()) {
      FTableName = cls->Name();
    } else {
      FTableName = annotations.front().GetName();
      FTableMerged = annotations.front().GetSkill() == TPropertySkill::psEmbedded;
    }
  }

  std::string insertList;
  std::string selectList;
  for (const TRttiProperty* prop : fProperties) {
    if (prop == fKeyProperty || IsAgregation(prop)) continue;
    const std::string name = PrefixedColumn(prop);
    const auto skill = GetAttribSkill(prop);
    if (skill != TPropertySkill::psEmbedded && skill != TPropertySkill::psTextBlob &&
        skill != TPropertySkill::psBinaryBlob) {
      insertList += name + ",";
    }
    if (skill != TPropertySkill::psEmbedded && skill != TPropertySkill::psBinaryBlob &&
        prop->TypeName() != "TBitmap") {
      selectList += name + ",";
    }
  }

  std::string key;
  if (FHostClass != nullptr) {
    FHostKeyName = FHostClass->GetIdName();
    key = FHostKeyName;
  } else if (fKeyProperty != nullptr) {
    key = GetAttribName(fKeyProperty);
  }
  insertList = key + "," + insertList;
  insertList.pop_back();
  selectList = key + "," + selectList;
  selectList.pop_back();

  FSqlInsTpl = fmt::sprintf("insert into %s(%s) values(%s)", GetTableName(), insertList, "%s");
  FSqlSelTpl =
      fmt::sprintf("select %s from %s where %s = %s", selectList, GetTableName(), key, "%d");
}

std::string TDataObjectInfoDB::GetKeyName() const {
  if (fKeyProperty == nullptr) {
    throw Exception("A propriedade da chave primária da classe \"" +
                    (fDataClass ? fDataClass->Name() : std::string()) + "\" está indefinida");
  }
  if (fKeyProperty->Annotations().empty()) return fKeyProperty->Name();
  return TDataObjectInfo::GetKeyName();
}

std::string TDataObjectInfoDB::GetTableName() const {
  if (FHostClass != nullptr) return FHostClass->GetTablePrefix() + FHostClass->GetTableName();
  return (fDataClass ? fDataClass->GetTablePrefix() : std::string()) + FTableName;
}

std::string TDataObjectInfoDB::GetFieldDecl(const TRttiProperty* prop,
                                            const std::string& prefix) const {
  const auto skill = GetAttribSkill(prop);
  const std::string& typeName = prop->TypeName();
  std::string type;
  switch (prop->Kind()) {
    case TTypeKind::tkInteger:
      type = typeName == "TPrimaryKey"   ? FPKDomain
             : typeName == "TForeignKey" ? FFKDomain
                                         : "INTEGER";
      break;
    case TTypeKind::tkChar:
    case TTypeKind::tkWChar:
      type = "CHAR";
      break;
    case TTypeKind::tkEnumeration:
      type = FEnumDomain;
      break;
    case TTypeKind::tkFloat:
      type = typeName == "TDate"       ? "DATE"
             : typeName == "TDateTime" ? "TIMESTAMP"
             : typeName == "TTime"     ? "TIME"
                                       : "DOUBLE PRECISION";
      break;
    case TTypeKind::tkString:
    case TTypeKind::tkLString:
    case TTypeKind::tkWString:
    case TTypeKind::tkUString: {
      const Annotation* a = FirstAnnotation(prop);
      type = skill == TPropertySkill::psTextBlob
                 ? "BLOB SUB_TYPE 1 SEGMENT SIZE 4096 CHARACTER SET ISO8859_1"
                 : fmt::sprintf("VARCHAR(%d)", a ? a->GetSize() : 0);
      break;
    }
    case TTypeKind::tkClass:
      type =
          skill == TPropertySkill::psBinaryBlob ? "BLOB SUB_TYPE 0 SEGMENT SIZE 16384" : FFKDomain;
      break;
    default:
      break;
  }
  const std::string column = GetAttribName(prop);
  if (!prefix.empty()) return fmt::sprintf("%s_%s %s", prefix, column, type);
  if (IsRequired(prop)) return fmt::sprintf("%s %s NOT NULL", column, type);
  return fmt::sprintf("%s %s", column, type);
}

std::string TDataObjectInfoDB::GenerateSelectCode(int32_t id) const {
  return fmt::sprintf(FSqlSelTpl, id);
}

std::string TDataObjectInfoDB::GetDataScriptResource(const std::string& name) const {
  return FindTextResource(FModuleHandle, name).value_or("");
}

std::string TDataObjectInfoDB::PrefixedColumn(const TRttiProperty* prop) const {
  const std::string name = GetAttribName(prop);
  return FFieldPrefix.empty() ? name : fmt::sprintf("%s_%s", FFieldPrefix, name);
}

std::string TDataObjectInfoDB::UpdateKeyName() const {
  return FHostClass != nullptr ? FHostKeyName : GetKeyName();
}

std::unique_ptr<TDataObjectInfoDB> TDataObjectInfoDB::MakeMemberInfo(
    TDataObjectClass memberClass) const {
  auto info = std::make_unique<TDataObjectInfoDB>();
  info->FModuleName = FModuleName;
  info->FFKDomain = FFKDomain;
  info->FPKDomain = FPKDomain;
  info->FEnumDomain = FEnumDomain;
  info->FHashFKs = FHashFKs;
  info->FModuleHandle = FModuleHandle;
  info->SetClass(memberClass);
  return info;
}

}  // namespace zo
