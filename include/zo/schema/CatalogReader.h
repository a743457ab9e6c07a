#pragma once

#include <zo/Export.h>

#include <memory>
#include <set>
#include <string>

#include <zo/dbstruct/DBStructClasses.h>

// A structure model of an existing Firebird database, read from its catalog, for comparison
// with the model of the data classes (TDataBaseManager):
//
//   const auto expected = TDataObjectInfoDB::GenerateDataBaseStruct(HInstance, "APP", classes);
//   const auto current = ReadDatabaseStruct(connection.DBXConnection(), expected.get());
//   TDataBaseManager manager;
//   manager.SetCurrentStruct(current.get());
//   manager.SetNewStruct(expected.get());
//
// The model holds the user tables (views and system tables left out) with their columns in
// field-position order, primary keys, foreign keys, unique constraints and plain indices (keys
// of several columns are described by their first column), the HasGenerator flag of every
// table that has a sequence GEN_<table>, and the procedures, triggers and external functions
// as statements. Names are upper-case, as the catalog keeps them.
//
// Pairing rests on the tables' SourceClass: a table takes the class of the expected normal
// table of the same name; a table no class claims keeps its own name as class, so the
// comparison sees it as vanished. The columns that a merged class adds to its host's table
// are put in an extended table of their own, one per merged class of the expected model,
// with the class's name, a copy of the host's key column and the foreign keys on those
// columns, and are left out of the host's table: the comparison then neither adds them again
// to the host nor drops them from it.
namespace zo {

class TDBXConnection;

struct ZO_EXPORT TCatalogReadOptions {
  // Columns managed outside the data classes, as "TABLE.COLUMN" (any case). They are left out
  // of the model, with the constraints and indices on them, so no comparison ever drops them.
  std::set<std::string> ignoredColumns;
};

// Reads the database the connection is open on. `expected` (may be null) supplies the class
// names and merged classes; it is only read.
ZO_EXPORT std::unique_ptr<TModuleStruct> ReadDatabaseStruct(TDBXConnection& connection,
                                                  const TModuleStruct* expected,
                                                  const TCatalogReadOptions& options = {});

// The database's sequences with their current values (clamped to the 32 bits of the model).
ZO_EXPORT TOwnedStructs<TGeneratorStruct> ReadSequences(TDBXConnection& connection);

}  // namespace zo
