#include "tests/support/DemoDatabase.h"

#include <filesystem>
#include <mutex>

#include <zo/core/Text.h>
#include <zo/dbstruct/DBStructClasses.h>
#include <zo/mapping/ServerClasses.h>
#include <zo/platform/db/DBXCommand.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/DBXReader.h>
#include <zo/platform/script/ScriptParser.h>
#include "examples/demo/DemoClasses.h"
#include "platform/db/CreateDatabase.h"

namespace zo::testing {
namespace {

// The template database, made on first use and removed when the program ends.
struct Template {
  TempDir dir;
  std::string path;
  Template() : path(dir.File("template.fdb")) {
    CreateEmptyDatabase(path);
    auto conn = OpenConnection(path);
    RunScript(*conn, DemoCreationScript());
    conn->Close();
  }
};

const Template& TheTemplate() {
  static const Template t;
  return t;
}

}  // namespace

std::string DemoCreationScript() {
  demo::RegisterDemoClasses();
  const auto module = TDataObjectInfoDB::GenerateDataBaseStruct(HInstance, demo::kDemoModuleName,
                                                                demo::DemoTableClasses());
  return TDataObjectInfoDB::GenerateScriptDataBase(*module);
}

void ExecuteSql(TSQLConnection& connection, const std::string& sql) {
  auto command = connection.DBXConnection().CreateCommand();
  command->SetText(sql);
  command->ExecuteUpdate();
}

std::string QueryString(TSQLConnection& connection, const std::string& sql) {
  auto command = connection.DBXConnection().CreateCommand();
  command->SetText(sql);
  auto reader = command->ExecuteQuery();
  return reader->Next() ? reader->GetString(0) : std::string("<no row>");
}

int QueryInt(TSQLConnection& connection, const std::string& sql) {
  return text::StrToInt(QueryString(connection, sql));
}

void RunScript(TSQLConnection& connection, const std::string& script) {
  for (const auto& statement : SplitScript(script)) ExecuteSql(connection, statement.text);
}

void CreateEmptyDatabase(const std::string& path) {
  TCreateDatabaseOptions options;
  options.forcedWrites = false;
  CreateDatabaseFile(path, options);
}

std::unique_ptr<TSQLConnection> OpenConnection(const std::string& path) {
  auto conn = std::make_unique<TSQLConnection>();
  conn->Params().SetValue("Database", path);
  conn->Params().SetValue("User_Name", "SYSDBA");
  conn->Params().SetValue("Password", "masterkey");
  conn->Open();
  return conn;
}

DemoDatabase::DemoDatabase() : path_(dir_.File("ZO.FDB")) {
  static std::mutex mutex;
  std::lock_guard lock(mutex);
  std::filesystem::copy_file(TheTemplate().path, path_);
}

std::unique_ptr<TSQLConnection> DemoDatabase::Connect() const { return OpenConnection(path_); }

}  // namespace zo::testing
