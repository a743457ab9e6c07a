#pragma once

#include <zo/Export.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <zo/core/DataObjectInfo.h>
#include <zo/core/Streams.h>
#include <zo/core/TextResources.h>
#include <zo/mapping/ClassMapping.h>

namespace zo {

class TDBXConnection;
class TModuleStruct;

// The DDL text of one class: create statement, primary key, foreign keys.
class ZO_EXPORT TObjectDDL {
 public:
  const std::string& Table() const { return FTable; }
  const std::string& PrimaryKey() const { return FPrimaryKey; }
  const std::string& ForeignKey() const { return FForeignKey; }
  void SetTable(std::string s) { FTable = std::move(s); }
  void SetPrimaryKey(std::string s) { FPrimaryKey = std::move(s); }
  void SetForeignKey(std::string s) { FForeignKey = std::move(s); }
  // Table + "\r\n" + PrimaryKey + "\r\n" + "\r\n" + ForeignKey.
  std::string GetAll() const;

 private:
  std::string FTable;
  std::string FForeignKey;
  std::string FPrimaryKey;
};

// The server's metadata of one data class at one placement: the class's shared mapping (table,
// key, properties) seen from where its columns live, with the insert and select templates
// ready-made for that placement, and statement generation. Immutable once built, so the
// instances GetObjectInfoDB hands out are read by any number of threads at once.
class ZO_EXPORT TDataObjectInfoDB {
 public:
  TDataObjectInfoDB(std::shared_ptr<const TClassMapping> mapping, TPlacement placement);
  TDataObjectInfoDB(const TDataObjectInfoDB&) = delete;
  TDataObjectInfoDB& operator=(const TDataObjectInfoDB&) = delete;
  ~TDataObjectInfoDB();

  const TClassMapping& Mapping() const { return *FMapping; }
  const std::shared_ptr<const TClassMapping>& SharedMapping() const { return FMapping; }
  const TPlacement& Placement() const { return FPlacement; }

  // The class's own metadata.
  TDataObjectClass DataClass() const { return FMapping->DataClass(); }
  const std::vector<const TRttiProperty*>& Properties() const { return FMapping->Properties(); }
  const std::vector<const TRttiProperty*>& ListProperties() const {
    return FMapping->ListProperties();
  }
  const TRttiProperty* KeyProperty() const { return FMapping->KeyProperty(); }
  const TRttiProperty* FindProperty(std::string_view name) const {
    return FMapping->FindProperty(name);
  }
  void Validate(const TBaseDataObject& obj) const { FMapping->Validate(obj); }
  // Raises when the class has no key property.
  std::string GetKeyName() const { return FMapping->GetKeyName(); }
  bool TableMerged() const { return FMapping->TableMerged(); }

  // As seen from the placement. With a host class, the host's table (an embedded class lives
  // there); otherwise the class's prefix followed by its table name.
  std::string GetTableName() const { return FMapping->TableNameAt(FPlacement); }
  TDataObjectClass HostClass() const { return FPlacement.hostClass; }
  const std::string& FieldPrefix() const { return FPlacement.fieldPrefix; }
  // The host's key column ("" without a host).
  const std::string& HostKeyName() const { return FHostKeyName; }
  const std::string& SqlInsTpl() const { return FSqlInsTpl; }
  const std::string& SqlSelTpl() const { return FSqlSelTpl; }

  // The column declaration of one property with the default column types, e.g.
  // "NOME VARCHAR(60) NOT NULL".
  std::string GetFieldDecl(const TRttiProperty* prop, const std::string& prefix) const;
  std::string GenerateSelectCode(int32_t id) const;

  // Statement generation.
  std::string GenerateInsertCode(const TBaseDataObject& instance) const;
  // Appends the update statements of `props` to `cmds`; raises "Lista vazia" when empty.
  void GenerateUpdateCode(const TBaseDataObject& instance,
                          const std::vector<const TRttiProperty*>& props,
                          std::vector<std::string>& cmds) const;
  std::vector<const TRttiProperty*> GetChangedProperties(TDBXConnection* connection,
                                                         const TBaseDataObject* oldInstance,
                                                         const TBaseDataObject& newInstance) const;
  // Appends "x'..'" append statements, 16384 bytes of the stream each.
  void SetTextBlobData(int32_t id, const TRttiProperty* prop, TStream& stream,
                       std::vector<std::string>& cmds) const;
  std::string GenerateCreateCode(const TBaseDataObject& instance) const;

  // Schema generation of a set of classes (per class: TClassSchema).
  static std::unique_ptr<TModuleStruct> GenerateDataBaseStruct(
      THandle moduleHandle, const std::string& moduleName,
      const std::vector<TDataObjectClass>& classes);
  static std::string GenerateScriptDataBase(const TModuleStruct& dataBaseStruct);
  static std::string GenerateStoredProcedureScript(const TModuleStruct& dataBaseStruct);
  // Disabled: always raises.
  static void GenerateDataBase(const std::string& name,
                               const std::vector<TDataObjectClass>& classes, bool flag1,
                               bool flag2);

 private:
  std::string UpdateKeyName() const;

  const std::shared_ptr<const TClassMapping> FMapping;
  const TPlacement FPlacement;
  std::string FHostKeyName;
  std::string FSqlInsTpl;
  std::string FSqlSelTpl;
};

}  // namespace zo
