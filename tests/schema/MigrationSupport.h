#pragma once

#include <string>

#include <zo/platform/db/SQLConnection.h>
#include <zo/schema/CatalogReader.h>
#include <zo/schema/DBManager.h>

namespace zo::testing {

// The script that brings the database on `conn` to `expected`, as the schema tool makes it:
// the catalog's model compared with the classes' model.
inline std::string MigrationScript(TSQLConnection& conn, const TModuleStruct& expected,
                                   const TCatalogReadOptions& options = {}) {
  const auto current = ReadDatabaseStruct(conn.DBXConnection(), &expected, options);
  TDataBaseManager manager;
  manager.SetCurrentStruct(current.get());
  manager.SetNewStruct(&expected);
  return manager.MakeScript();
}

}  // namespace zo::testing
