#include "tests/platform_db/DbTestSupport.h"

#include <filesystem>

#include "platform/db/CreateDatabase.h"

namespace zo::testing {
namespace {

const std::string& TemplateDatabase() {
  static const TempDir dir;
  static const std::string path = [] {
    const std::string file = dir.File("template.fdb");
    TCreateDatabaseOptions options;
    options.forcedWrites = false;
    CreateDatabaseFile(file, options);
    return file;
  }();
  return path;
}

}  // namespace

SqlLayerTest::SqlLayerTest() : database_(dir_.File("test.fdb")) {
  std::filesystem::copy_file(TemplateDatabase(), database_);
}

void SqlLayerTest::Open(TSQLConnection& conn) const {
  conn.Params().SetValue("Database", database_);
  conn.Params().SetValue("User_Name", "SYSDBA");
  conn.Params().SetValue("Password", "masterkey");
  conn.Open();
}

void Update(TSQLConnection& conn, const std::string& sql) {
  auto command = conn.DBXConnection().CreateCommand();
  command->SetText(sql);
  command->ExecuteUpdate();
}

std::int64_t UpdateCounting(TSQLConnection& conn, const std::string& sql) {
  auto command = conn.DBXConnection().CreateCommand();
  command->SetText(sql);
  return command->ExecuteUpdateCountingRows();
}

std::unique_ptr<TDBXReader> Query(TSQLConnection& conn, const std::string& sql) {
  auto command = conn.DBXConnection().CreateCommand();
  command->SetText(sql);
  return command->ExecuteQuery();
}

std::string Scalar(TSQLConnection& conn, const std::string& sql) {
  auto reader = Query(conn, sql);
  if (!reader->Next()) {
    ADD_FAILURE() << "no row from " << sql;
    return {};
  }
  return reader->GetString(0);
}

}  // namespace zo::testing
