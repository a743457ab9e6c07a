#pragma once

#include <memory>
#include <string>

#include <zo/platform/db/SQLConnection.h>
#include "tests/support/TempDir.h"

namespace zo::testing {

// The creation script of the demo classes, as the schema generator prints it.
std::string DemoCreationScript();

// Runs every statement of `script` on the connection, each committed on its own.
void RunScript(TSQLConnection& connection, const std::string& script);
// One statement, committed at once; the first column of the first row as text ("" for NULL,
// "<no row>" without a row), or as a number.
void ExecuteSql(TSQLConnection& connection, const std::string& sql);
std::string QueryString(TSQLConnection& connection, const std::string& sql);
int QueryInt(TSQLConnection& connection, const std::string& sql);

// Creates an empty database file (ISO8859_1, forced writes off) at `path`.
void CreateEmptyDatabase(const std::string& path);

// A fresh database with the demo schema, in a temporary directory removed afterwards. The
// schema is built once per test program into a template file; each instance copies it.
class DemoDatabase {
 public:
  DemoDatabase();
  const std::string& Path() const { return path_; }
  const TempDir& Dir() const { return dir_; }
  // A new open connection to this database (UTF8, SYSDBA).
  std::unique_ptr<TSQLConnection> Connect() const;

 private:
  TempDir dir_;
  std::string path_;
};

// An open connection on a database made with CreateEmptyDatabase or DemoDatabase.
std::unique_ptr<TSQLConnection> OpenConnection(const std::string& path);

}  // namespace zo::testing
