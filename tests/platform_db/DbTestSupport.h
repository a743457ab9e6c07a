#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <zo/platform/db/SQLConnection.h>
#include "tests/support/DemoDatabase.h"
#include "tests/support/TempDir.h"

namespace zo::testing {

// Each test gets a copy of one empty template database (created once per program run, forced
// writes off) in its own temporary directory.
class SqlLayerTest : public ::testing::Test {
 protected:
  SqlLayerTest() {
    static const TempDir templateDir;
    static const std::string templatePath = [] {
      CreateEmptyDatabase(templateDir.File("template.fdb"));
      return templateDir.File("template.fdb");
    }();
    std::filesystem::copy_file(templatePath, database_);
  }

  // Sets the parameters for this test's database and opens `conn`.
  void Open(TSQLConnection& conn) const {
    conn.Params().SetValue("Database", database_);
    conn.Params().SetValue("User_Name", "SYSDBA");
    conn.Params().SetValue("Password", "masterkey");
    conn.Open();
  }
  const std::string& DatabasePath() const { return database_; }

  TempDir dir_;
  std::string database_ = dir_.File("test.fdb");
  TSQLConnection conn_;
};

inline void Update(TSQLConnection& conn, const std::string& sql) { ExecuteSql(conn, sql); }
inline std::int64_t UpdateCounting(TSQLConnection& conn, const std::string& sql) {
  auto command = conn.DBXConnection().CreateCommand();
  command->SetText(sql);
  return command->ExecuteUpdateCountingRows();
}
inline std::unique_ptr<TDBXReader> Query(TSQLConnection& conn, const std::string& sql) {
  auto command = conn.DBXConnection().CreateCommand();
  command->SetText(sql);
  return command->ExecuteQuery();
}
// The first column of the first row as text ("<no row>" without one).
inline std::string Scalar(TSQLConnection& conn, const std::string& sql) {
  return QueryString(conn, sql);
}

}  // namespace zo::testing
