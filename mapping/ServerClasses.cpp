#include <zo/mapping/ServerClasses.h>

#include <fmt/printf.h>

#include <zo/core/Attributes.h>

namespace zo {

std::string TObjectDDL::GetAll() const {
  return FTable + "\r\n" + FPrimaryKey + "\r\n" + "\r\n" + FForeignKey;
}

TDataObjectInfoDB::TDataObjectInfoDB(std::shared_ptr<const TClassMapping> mapping,
                                     TPlacement placement)
    : FMapping(std::move(mapping)), FPlacement(std::move(placement)) {
  SetClass(FMapping->DataClass());
}

TDataObjectInfoDB::TDataObjectInfoDB(TDataObjectClass cls, TPlacement placement)
    : FPlacement(std::move(placement)) {
  SetClass(cls);
}

TDataObjectInfoDB::~TDataObjectInfoDB() = default;

void TDataObjectInfoDB::ExtractInfo(TDataObjectClass cls) {
  TDataObjectInfo::ExtractInfo(cls);
  if (FMapping == nullptr || FMapping->DataClass() != cls) {
    FMapping = std::make_shared<const TClassMapping>(cls);
  }
  FHostKeyName.clear();

  std::string insertList;
  std::string selectList;
  for (const TRttiProperty* prop : fProperties) {
    if (prop == fKeyProperty || IsAgregation(prop)) continue;
    const std::string name = FPlacement.Column(prop);
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
  if (FPlacement.hostClass != nullptr) {
    FHostKeyName = FPlacement.hostClass->GetIdName();
    key = FHostKeyName;
  } else if (fKeyProperty != nullptr) {
    key = GetAttribName(fKeyProperty);
  }
  insertList = key + "," + insertList;
  insertList.pop_back();
  selectList = key + "," + selectList;
  selectList.pop_back();
  FSelectList = selectList;

  FSqlInsTpl = fmt::sprintf("insert into %s(%s) values(%s)", GetTableName(), insertList, "%s");
  FSqlSelTpl =
      fmt::sprintf("select %s from %s where %s = %s", selectList, GetTableName(), key, "%d");
}

std::string TDataObjectInfoDB::GetKeyName() const { return FMapping->GetKeyName(); }

std::string TDataObjectInfoDB::GetFieldDecl(const TRttiProperty* prop,
                                            const std::string& prefix) const {
  return Schema().GetFieldDecl(prop, prefix);
}

std::string TDataObjectInfoDB::GenerateSelectCode(int32_t id) const {
  return fmt::sprintf(FSqlSelTpl, id);
}

std::string TDataObjectInfoDB::GetDataScriptResource(const std::string& name) const {
  return Schema().GetDataScriptResource(name);
}

std::string TDataObjectInfoDB::UpdateKeyName() const {
  return FPlacement.hostClass != nullptr ? FHostKeyName : GetKeyName();
}

}  // namespace zo
