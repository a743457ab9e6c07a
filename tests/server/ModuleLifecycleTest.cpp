// A module's life: which conn.conf and database it opens, who the user is, switching the
// database file, and what it binds and fires on the way.

#include <filesystem>

#include <zo/core/DebugOutput.h>
#include <zo/dao/GenericDAO.h>
#include <zo/platform/db/SQLConnection.h>
#include "tests/server/ServerTestSupport.h"

namespace zo::testing {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

class ModuleLifecycleTest : public ModuleTest {};

TEST_F(ModuleLifecycleTest, EmptyCustomerUsesTheDefaultConfAsItStands) {
  WriteDefaultConf();
  const std::string before = ReadText(Root() / "conn.conf");
  const auto module = MakeModule();

  EXPECT_EQ(module->GetCurrentDataBase(), db.Path());
  EXPECT_EQ(ReadText(Root() / "conn.conf"), before);
  EXPECT_FALSE(fs::exists(Root() / "CustomersDB"));
  EXPECT_EQ(TZoCustomServerModule::GetDBConfigurationFilename(""), "conn.conf");
  EXPECT_EQ(TZoCustomServerModule::GetCustomerDir(""), "");

  // Brought up completely: log cleared, connected event, the user class bound to the default
  // DAO, the cities' data set served under its provider name.
  EXPECT_EQ(module->clearLogCalls, 1);
  EXPECT_EQ(module->events, std::vector<TModuleEvent>{meCONNECT});
  EXPECT_EQ(module->GetDAO("TUser"), module->DefaultDAO());
  ExecuteSql(*module->SQLConnection(),
             "insert into CIDADES(ID, NOME, UF) values(1, 'Recife', 'PE')");
  const json rows = module->CallMethod("GetRecords", {{"ProviderName", "dspCidades"}}, nullptr);
  EXPECT_EQ(rows, json::parse(R"([{"ID":"1","NOME":"Recife","UF":"PE"}])"));
}

TEST_F(ModuleLifecycleTest, NewCustomerGetsItsConfFromTheDefaultAndKeepsIt) {
  WriteFile(
      "conn.conf",
      "Database=/nowhere/x.fdb\r\nUser_Name=SYSDBA\r\nPassword=masterkey\r\nSQLDialect=3\r\n");
  CopyDemoDatabase("CustomersDB/ACME/ZO.FDB");
  EXPECT_EQ(TZoCustomServerModule::GetDBConfigurationFilename("ACME"),
            "CustomersDB/ACME/conn.conf");
  EXPECT_FALSE(fs::exists(Root() / "CustomersDB/ACME/conn.conf")) << "naming it writes nothing";

  // Files are found from the application root, wherever the process's current directory is.
  fs::current_path(fs::temp_directory_path());
  const auto first = MakeModule("ACME");
  EXPECT_EQ(ReadText(Root() / "CustomersDB/ACME/conn.conf"),
            "Database=CustomersDB/ACME/ZO.FDB\nUser_Name=SYSDBA\nPassword=masterkey\n"
            "SQLDialect=3\n");
  EXPECT_EQ(first->GetCurrentDataBase(), "CustomersDB/ACME/ZO.FDB");
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(Root() / "CustomersDB/ACME")) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"ZO.FDB", "conn.conf"})) << "no temporary file left";

  // A second module of the customer reads the customer's file, not the default one again;
  // whatever its Database says, the customer's database is the one opened.
  WriteFile("CustomersDB/ACME/conn.conf",
            "Database=elsewhere.fdb\nUser_Name=SYSDBA\nPassword=masterkey\nMarca=cliente\n");
  WriteFile("conn.conf", "Database=/nowhere/x.fdb\nMarca=padrao\n");
  const auto second = MakeModule("ACME");
  EXPECT_EQ(second->SQLConnection()->Params().Values("Marca"), "cliente");
  EXPECT_EQ(second->GetCurrentDataBase(), "CustomersDB/ACME/ZO.FDB");
}

TEST_F(ModuleLifecycleTest, FailuresToReachTheDatabaseLeaveNoModule) {
  // A customer without a directory: its conn.conf cannot be written there.
  WriteDefaultConf();
  EXPECT_THROW(MakeModule("SEMDIR"), std::exception);
  EXPECT_FALSE(fs::exists(Root() / "CustomersDB"));
  // No default configuration at all.
  fs::remove(Root() / "conn.conf");
  EXPECT_NE(MessageOf([&] { MakeModule(); }).find("conn.conf"), std::string::npos);
  // A database file that is not there.
  WriteFile("conn.conf", "Database=" + Root().string() + "/FALTA.FDB\nUser_Name=SYSDBA\n");
  EXPECT_THROW(MakeModule(), std::exception);
}

TEST_F(ModuleLifecycleTest, LoginFindsTheUserOrLeavesItNil) {
  WriteDefaultConf();
  {
    const auto module = MakeModule("", "ana");
    EXPECT_EQ(module->User(), nullptr);
    EXPECT_EQ(module->DefaultDAO()->User(), nullptr);
    ExecuteSql(*module->SQLConnection(),
               "insert into USUARIOS(ID, LOGIN, NOME) values(7, 'ana', 'Ana Souza')");
  }
  const auto module = MakeModule("", "ana");
  ASSERT_NE(module->User(), nullptr);
  EXPECT_EQ(module->User()->GetCodigo(), 7);
  EXPECT_EQ(module->DefaultDAO()->User(), module->User());
  EXPECT_EQ(module->GetDAO("TProduto")->User(), module->User());
  EXPECT_EQ(MakeModule("", "bia")->User(), nullptr);
}

// The module's connection and everything pointing at it.
void ExpectAllPointAtTheConnection(const TZoCustomServerModule& module) {
  TSQLConnection* const connection = module.SQLConnection();
  EXPECT_EQ(module.DefaultDAO()->SQLConnection(), connection);
  EXPECT_EQ(module.GetDAO("TProduto")->SQLConnection(), connection);
  EXPECT_EQ(module.FindProvider("dspCidades")->DataSet()->SQLConnection(), connection);
}

TEST_F(ModuleLifecycleTest, SetCurrentDataBaseKeepsOnlyTheFileNameInsideTheCustomerDir) {
  WriteFile("conn.conf", "Database=x.fdb\nUser_Name=SYSDBA\nPassword=masterkey\nMarca=padrao\n");
  CopyDemoDatabase("CustomersDB/ACME/ZO.FDB");
  CopyDemoDatabase("CustomersDB/ACME/OUTRO.FDB");
  CopyDemoDatabase("arquivo/SOFORA.FDB");
  const auto module = MakeModule("ACME");
  WriteFile("CustomersDB/ACME/conn.conf",
            "Database=x.fdb\nUser_Name=SYSDBA\nPassword=masterkey\nMarca=cliente\n");

  // Making a connection for a file changes nothing of the module's own.
  TSQLConnection* const original = module->SQLConnection();
  const auto made = module->CreateDataBaseConnection("/em/outro/lugar/OUTRO.FDB");
  EXPECT_EQ(made->Params().Values("Database"), "CustomersDB/ACME/OUTRO.FDB");
  EXPECT_EQ(made->Params().Values("Marca"), "padrao") << "always the default conn.conf";
  EXPECT_FALSE(made->Connected());
  EXPECT_EQ(module->SQLConnection(), original);
  EXPECT_TRUE(original->Connected());
  {
    const auto outro = OpenConnection((Root() / "CustomersDB/ACME/OUTRO.FDB").string());
    ExecuteSql(*outro, "insert into CIDADES(ID, NOME, UF) values(1, 'Olinda', 'PE')");
  }
  std::vector<std::string> debug;
  SetDebugOutput([&](const std::string& line) { debug.push_back(line); });
  const fs::path elsewhere = fs::temp_directory_path();
  fs::current_path(elsewhere);

  // A plain name of a file in the customer's directory opens it.
  module->CallMethod("SetCurrentDataBase", {{"DataBaseName", "OUTRO.FDB"}}, nullptr);
  SetDebugOutput(nullptr);
  EXPECT_EQ(fs::current_path(), elsewhere)
      << "names are taken from the application root; the current directory is left alone";
  EXPECT_EQ(module->CallMethod("GetCurrentDataBase", json::object(), nullptr),
            "CustomersDB/ACME/OUTRO.FDB");
  EXPECT_EQ(module->CallMethod("GetCount", {{"AClassName", "TCidade"}}, nullptr), 1);
  EXPECT_EQ(module->SQLConnection()->Params().Values("Marca"), "padrao");
  ExpectAllPointAtTheConnection(*module);
  EXPECT_EQ(debug, (std::vector<std::string>{"TGenericDAO", "TProdutoDAO"}));

  // A name that does not exist in the customer's directory: the customer's own database,
  // even when a file of that name exists elsewhere (the root's conn.conf here).
  module->CallMethod("SetCurrentDataBase", {{"DataBaseName", "NAOHA.FDB"}}, nullptr);
  EXPECT_EQ(module->GetCurrentDataBase(), "CustomersDB/ACME/ZO.FDB");
  EXPECT_EQ(module->CallMethod("GetCount", {{"AClassName", "TCidade"}}, nullptr), 0);
  module->CallMethod("SetCurrentDataBase", {{"DataBaseName", "OUTRO.FDB"}}, nullptr);

  // Names with a directory, "..", and a file of the directory that is no database: one
  // answer for all, and the module goes on with the connection it had.
  for (const std::string name : {"arquivo/SOFORA.FDB", "../ACME/ZO.FDB", "..", "/etc/hostname",
                                 "conn.conf", ".hidden", "a\\b.FDB"}) {
    EXPECT_EQ(MessageOf([&] {
                module->CallMethod("SetCurrentDataBase", {{"DataBaseName", name}}, nullptr);
              }),
              kDatabaseUnavailable)
        << name;
    EXPECT_EQ(module->GetCurrentDataBase(), "CustomersDB/ACME/OUTRO.FDB") << name;
    EXPECT_EQ(module->CallMethod("GetCount", {{"AClassName", "TCidade"}}, nullptr), 1) << name;
  }
  ExpectAllPointAtTheConnection(*module);
}

}  // namespace
}  // namespace zo::testing
