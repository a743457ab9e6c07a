#pragma once

#include <zo/Export.h>

#include <memory>
#include <string>
#include <vector>

#include <zo/core/DataObjectInfo.h>
#include <zo/core/Streams.h>
#include <zo/core/TextResources.h>
#include <zo/mapping/ClassMapping.h>
#include <zo/mapping/ClassSchema.h>

namespace zo {

class TDBXConnection;
class TModuleStruct;
class TTableStruct;

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

// The server's metadata of one data class at one placement: the core metadata of the class
// (its base), the class's shared mapping (table, key) seen from where its columns live, the
// insert and select templates ready-made for that placement, statement generation, and the
// class's schema with the default column types. Everything is built in the constructor and
// nothing the library does changes it afterwards, so the instances GetObjectInfoDB hands out
// are read by any number of threads at once.
class ZO_EXPORT TDataObjectInfoDB : public TDataObjectInfo {
 public:
  TDataObjectInfoDB(std::shared_ptr<const TClassMapping> mapping, TPlacement placement);
  // A private metadata object with a mapping of its own, for work outside the cache.
  explicit TDataObjectInfoDB(TDataObjectClass cls, TPlacement placement = {});
  ~TDataObjectInfoDB() override;

  // Extracts the base for `cls` and builds the templates at this placement; run by the
  // constructor through SetClass. (Another class gets a mapping of its own.)
  void ExtractInfo(TDataObjectClass cls) override;
  // Raises when the class has no key property; an unannotated key is named by its property.
  std::string GetKeyName() const override;
  // With a host class, the host's table (an embedded class lives there); otherwise the class's
  // prefix followed by its table name.
  std::string GetTableName() const { return FMapping->TableNameAt(FPlacement); }

  const TClassMapping& Mapping() const { return *FMapping; }
  const std::shared_ptr<const TClassMapping>& SharedMapping() const { return FMapping; }
  const TPlacement& Placement() const { return FPlacement; }

  // Published properties (read only: a shared entry is never re-pointed).
  bool TableMerged() const { return FMapping->TableMerged(); }
  TDataObjectClass HostClass() const { return FPlacement.hostClass; }
  const std::string& FieldPrefix() const { return FPlacement.fieldPrefix; }
  // The host's key column ("" without a host).
  const std::string& HostKeyName() const { return FHostKeyName; }
  const std::string& PKDomain() const { return FSchemaContext.pkDomain; }
  const std::string& FKDomain() const { return FSchemaContext.fkDomain; }
  const std::string& EnumDomain() const { return FSchemaContext.enumDomain; }
  const std::string& ModuleName() const { return FSchemaContext.moduleName; }
  THashFKs* HashFKs() const { return FSchemaContext.hashFKs; }
  THandle ModuleHandle() const { return FSchemaContext.moduleHandle; }
  const std::string& SqlInsTpl() const { return FSqlInsTpl; }
  const std::string& SqlSelTpl() const { return FSqlSelTpl; }
  // The columns of the select template, key first, comma-separated.
  const std::string& SelectList() const { return FSelectList; }

  // The column declaration of one property, e.g. "NOME VARCHAR(60) NOT NULL".
  std::string GetFieldDecl(const TRttiProperty* prop, const std::string& prefix) const;
  std::string GenerateSelectCode(int32_t id) const;
  // The "TEXT" resource `name` of ModuleHandle ("" when there is none).
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

  // Schema generation of this class at this placement, in a run of its own with the default
  // column types, no module name and no shared foreign keys (TClassSchema does the work; a
  // run over several classes gives TClassSchema a TSchemaContext of its own).
  std::unique_ptr<TObjectDDL> GenerateObjectDDL() const;
  void GenerateFieldDefs(std::vector<std::string>& list, bool ignoreKey,
                         const std::string& fieldPrefix) const;
  void GenerateForeignKeys(const std::string& tableName, std::vector<std::string>& list) const;
  std::unique_ptr<TTableStruct> GenerateDBSTable() const;
  void GenerateColumns(TTableStruct& table, const std::string& prefix) const;
  void GenerateDBSForeignKeys(TTableStruct& table, const std::string& prefix) const;

  // Schema generation of a set of classes.
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
  TClassSchema Schema() const { return TClassSchema(*FMapping, FSchemaContext, FPlacement); }
  std::string UpdateKeyName() const;

  std::shared_ptr<const TClassMapping> FMapping;
  const TPlacement FPlacement;
  const TSchemaContext FSchemaContext;
  std::string FHostKeyName;
  std::string FSqlInsTpl;
  std::string FSqlSelTpl;
  std::string FSelectList;
};

}  // namespace zo
