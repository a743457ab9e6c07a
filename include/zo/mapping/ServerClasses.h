#pragma once

#include <zo/Export.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include <zo/core/DataObjectInfo.h>
#include <zo/core/Streams.h>
#include <zo/core/TextResources.h>

namespace zo {

class TDBXConnection;
class TForeignKeyStruct;
class TModuleStruct;
class TTableStruct;

// Foreign keys already generated during one schema run, by constraint name (not owned: the
// tables of the structure model own them).
using THashFKs = std::unordered_map<std::string, TForeignKeyStruct*>;

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

// The server's metadata of one data class: table, key column, column lists, ready-made insert
// and select templates, statement and schema generation. Obtain it through GetObjectInfoDB.
class ZO_EXPORT TDataObjectInfoDB : public TDataObjectInfo {
 public:
  TDataObjectInfoDB();
  ~TDataObjectInfoDB() override;

  void ExtractInfo(TDataObjectClass cls) override;
  // Raises when the class has no key property.
  std::string GetKeyName() const override;
  // With a host class, the host's table (an embedded class lives there); otherwise the class's
  // prefix followed by its table name.
  std::string GetTableName() const;
  // The column declaration of one property, e.g. "NOME VARCHAR(60) NOT NULL".
  std::string GetFieldDecl(const TRttiProperty* prop, const std::string& prefix) const;
  std::string GenerateSelectCode(int32_t id) const;
  std::string GetDataScriptResource(const std::string& name) const;

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

  // Schema generation from classes.
  std::unique_ptr<TObjectDDL> GenerateObjectDDL();
  void GenerateFieldDefs(std::vector<std::string>& list, bool ignoreKey,
                         const std::string& fieldPrefix);
  void GenerateForeignKeys(const std::string& tableName, std::vector<std::string>& list);
  std::unique_ptr<TTableStruct> GenerateDBSTable();
  void GenerateColumns(TTableStruct& table, const std::string& prefix);
  void GenerateDBSForeignKeys(TTableStruct& table, const std::string& prefix);
  static std::unique_ptr<TModuleStruct> GenerateDataBaseStruct(
      THandle moduleHandle, const std::string& moduleName,
      const std::vector<TDataObjectClass>& classes);
  static std::string GenerateScriptDataBase(const TModuleStruct& dataBaseStruct);
  static std::string GenerateStoredProcedureScript(const TModuleStruct& dataBaseStruct);
  // Disabled: always raises.
  static void GenerateDataBase(const std::string& name,
                               const std::vector<TDataObjectClass>& classes, bool flag1,
                               bool flag2);

  // Published properties.
  void SetTableName(std::string name) { FTableName = std::move(name); }
  bool TableMerged() const { return FTableMerged; }
  TDataObjectClass HostClass() const { return FHostClass; }
  void SetHostClass(TDataObjectClass host) { FHostClass = host; }
  const std::string& PKDomain() const { return FPKDomain; }
  void SetPKDomain(std::string s) { FPKDomain = std::move(s); }
  const std::string& FKDomain() const { return FFKDomain; }
  void SetFKDomain(std::string s) { FFKDomain = std::move(s); }
  const std::string& EnumDomain() const { return FEnumDomain; }
  void SetEnumDomain(std::string s) { FEnumDomain = std::move(s); }
  const std::string& FieldPrefix() const { return FFieldPrefix; }
  void SetFieldPrefix(std::string s) { FFieldPrefix = std::move(s); }
  const std::string& ModuleName() const { return FModuleName; }
  void SetModuleName(std::string s) { FModuleName = std::move(s); }
  const std::string& HostKeyName() const { return FHostKeyName; }
  THashFKs* HashFKs() const { return FHashFKs; }
  void SetHashFKs(THashFKs* hash) { FHashFKs = hash; }
  THandle ModuleHandle() const { return FModuleHandle; }
  void SetModuleHandle(THandle handle) { FModuleHandle = handle; }
  const std::string& SqlInsTpl() const { return FSqlInsTpl; }
  const std::string& SqlSelTpl() const { return FSqlSelTpl; }

 private:
  // The metadata of an embedded member, sharing this run's module name, domains and keys.
  std::unique_ptr<TDataObjectInfoDB> MakeMemberInfo(TDataObjectClass memberClass) const;
  std::string UpdateKeyName() const;
  std::string PrefixedColumn(const TRttiProperty* prop) const;

  std::string FSqlInsTpl;
  std::string FSqlSelTpl;
  std::string FTableName;
  std::string FFKDomain;
  std::string FEnumDomain;
  std::string FPKDomain;
  std::string FFieldPrefix;
  TDataObjectClass FHostClass = nullptr;
  bool FTableMerged = false;
  std::string FModuleName;
  std::string FHostKeyName;
  THashFKs* FHashFKs = nullptr;
  THandle FModuleHandle = HInstance;
};

}  // namespace zo
