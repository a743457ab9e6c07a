#pragma once

#include <zo/Export.h>

#include <string>
#include <string_view>
#include <vector>

#include <zo/dbstruct/DBStructClasses.h>

// Comparison of two structure models into a migration script.
//
//   TDataBaseManager manager;
//   manager.SetCurrentStruct(databaseModel.get());  // what the database holds
//   manager.SetNewStruct(classesModel.get());       // what the data classes expect
//   const std::string script = manager.MakeScript();
//
// Tables are paired by the data class they come from (SourceClass), not by name, so every
// table of both models must carry its class name. The script holds one statement a line, each
// line ended by "\r\n": new tables first (creation, primary keys, foreign keys, sequences),
// then the changes of existing tables, then the unique constraints the database lacks (on
// a column that has none; one the classes do not know is never dropped). Indices, triggers,
// procedures and external functions take no part. A string column is never shortened and
// nullability is not compared.
namespace zo {

using TConstTableRefs = std::vector<const TTableStruct*>;

class ZO_EXPORT TDataBaseManager {
 public:
  TDataBaseManager() = default;
  virtual ~TDataBaseManager() = default;
  TDataBaseManager(const TDataBaseManager&) = delete;
  TDataBaseManager& operator=(const TDataBaseManager&) = delete;

  // The models are the caller's: the manager only reads them and must not outlive them.
  const TModuleStruct* CurrentStruct() const { return fCurrentStruct; }
  void SetCurrentStruct(const TModuleStruct* model) { fCurrentStruct = model; }
  const TModuleStruct* NewStruct() const { return fNewStruct; }
  void SetNewStruct(const TModuleStruct* model) { fNewStruct = model; }

  // The whole migration script; the same text for the same models on every call.
  virtual std::string MakeScript() const;
  // Appends the changes of normal tables to `alterations` and the tables the database lacks
  // to `tablesToCreate`.
  virtual void CompareNormalTables(std::vector<std::string>& alterations,
                                   TConstTableRefs& tablesToCreate) const;
  // Appends the changes of extended tables (the columns merged classes add to their host).
  virtual void CompareExtTables(std::vector<std::string>& alterations) const;

  // Look-ups. Class, table and column names match ignoring ASCII case; constraint names match
  // exactly. A missing model or table finds nothing.
  static const TTableStruct* findTableStructByClassname(std::string_view className,
                                                        const TModuleStruct* model);
  // Every table of that name, normal tables first (several classes may share one table).
  static TConstTableRefs findTableStructByTablename(std::string_view tableName,
                                                    const TModuleStruct* model);
  static const TColumnStruct* findColumn(std::string_view columnName, const TTableStruct* table);
  static const TForeignKeyStruct* findFK(std::string_view name, const TTableStruct* table);
  // The same constraint under another name: same column, referenced table and column.
  static const TForeignKeyStruct* findDuplicateFK(const TForeignKeyStruct& key,
                                                  const TTableStruct* table);

 private:
  const TModuleStruct* fCurrentStruct = nullptr;
  const TModuleStruct* fNewStruct = nullptr;
};

}  // namespace zo
