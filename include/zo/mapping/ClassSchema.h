#pragma once

#include <zo/Export.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include <zo/core/TextResources.h>
#include <zo/mapping/ClassMapping.h>

namespace zo {

class TForeignKeyStruct;
class TObjectDDL;
class TTableStruct;

// Foreign keys already generated during one schema run, by constraint name (not owned: the
// tables of the structure model own them).
using THashFKs = std::unordered_map<std::string, TForeignKeyStruct*>;

// What one schema run shares between the classes it turns into tables: the module whose
// classes they are (its name starts foreign-key names, its text resources hold data scripts),
// the column types of keys, references and enumerations, and the foreign keys made so far.
struct ZO_EXPORT TSchemaContext {
  std::string moduleName;
  THandle moduleHandle = HInstance;
  std::string pkDomain = "INTEGER NOT NULL";
  std::string fkDomain = "INTEGER";
  std::string enumDomain = "SMALLINT";
  THashFKs* hashFKs = nullptr;  // not owned; none: every name is made
};

// The schema of one class within a run: DDL text and the structure-model table. Embedded
// members are handled recursively, each with its own mapping and the embedding property's
// column as prefix. Lives only as long as the generation step that makes it.
class ZO_EXPORT TClassSchema {
 public:
  // `mapping` and `context` must outlive this object.
  TClassSchema(const TClassMapping& mapping, const TSchemaContext& context,
               TPlacement placement = {});

  // The column declaration of one property, e.g. "NOME VARCHAR(60) NOT NULL".
  std::string GetFieldDecl(const TRttiProperty* prop, const std::string& prefix) const;
  std::string GetDataScriptResource(const std::string& name) const;

  std::unique_ptr<TObjectDDL> GenerateObjectDDL() const;
  void GenerateFieldDefs(std::vector<std::string>& list, bool ignoreKey,
                         const std::string& fieldPrefix) const;
  void GenerateForeignKeys(const std::string& tableName, std::vector<std::string>& list) const;
  std::unique_ptr<TTableStruct> GenerateDBSTable() const;
  void GenerateColumns(TTableStruct& table, const std::string& prefix) const;
  void GenerateDBSForeignKeys(TTableStruct& table, const std::string& prefix) const;

 private:
  std::string TableName() const { return FMapping.TableNameAt(FPlacement); }

  const TClassMapping& FMapping;
  const TSchemaContext& FContext;
  const TPlacement FPlacement;
};

}  // namespace zo
