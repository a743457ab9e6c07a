#include <zo/mapping/ServerClasses.h>

#include <fmt/printf.h>

#include <zo/core/Attributes.h>
#include <zo/mapping/ClassSchema.h>

namespace zo {

std::string TObjectDDL::GetAll() const {
  return FTable + "\r\n" + FPrimaryKey + "\r\n" + "\r\n" + FForeignKey;
}

TDataObjectInfoDB::TDataObjectInfoDB(std::shared_ptr<const TClassMapping> mapping,
                                     TPlacement placement)
    : FMapping(std::move(mapping)), FPlacement(std::move(placement)) {
  std::string insertList;
  std::string selectList;
  for (const TRttiProperty* prop : Properties()) {
    if (prop == KeyProperty() || IsAgregation(prop)) continue;
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
  } else if (KeyProperty() != nullptr) {
    key = GetAttribName(KeyProperty());
  }
  insertList = key + "," + insertList;
  insertList.pop_back();
  selectList = key + "," + selectList;
  selectList.pop_back();

  FSqlInsTpl = fmt::sprintf("insert into %s(%s) values(%s)", GetTableName(), insertList, "%s");
  FSqlSelTpl =
      fmt::sprintf("select %s from %s where %s = %s", selectList, GetTableName(), key, "%d");
}

TDataObjectInfoDB::~TDataObjectInfoDB() = default;

std::string TDataObjectInfoDB::GetFieldDecl(const TRttiProperty* prop,
                                            const std::string& prefix) const {
  const TSchemaContext defaults;
  return TClassSchema(*FMapping, defaults).GetFieldDecl(prop, prefix);
}

std::string TDataObjectInfoDB::GenerateSelectCode(int32_t id) const {
  return fmt::sprintf(FSqlSelTpl, id);
}

std::string TDataObjectInfoDB::UpdateKeyName() const {
  return FPlacement.hostClass != nullptr ? FHostKeyName : GetKeyName();
}

}  // namespace zo
