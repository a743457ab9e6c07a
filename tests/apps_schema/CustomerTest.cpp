// zo-schema customer add: a customer the application server accepts, or nothing at all.

#include <gtest/gtest.h>

#include <filesystem>

#include "examples/demo/DemoClasses.h"
#include <zo/platform/db/SQLConnection.h>
#include <zo/server/CustomServerModule.h>
#include <zo/server/UserPasswords.h>
#include "tests/apps_schema/ToolRunner.h"
#include "tests/script/ScriptTestSupport.h"
#include "tests/support/TempDir.h"

namespace zo::testing {
namespace {

namespace fs = std::filesystem;

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

std::set<std::string> Entries(const fs::path& dir) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(dir)) {
    names.insert(entry.path().filename().string());
  }
  return names;
}

// What the application server does with a client's connect, from its root: the password is
// checked against the hash in the customer's database (as zo-server's authenticator does),
// then the module of that customer and user opens the database and finds the user.
void ExpectServerAccepts(const fs::path& root, const std::string& customer,
                         const std::string& login, const std::string& password,
                         bool admin = true) {
  demo::RegisterDemoClasses();
  const CurrentDirectory inRoot(root);
  {
    auto connection = TZoCustomServerModule::CreateConnection(customer);
    connection->Open();
    const auto hash = LoadPasswordHash(connection->DBXConnection(), login);
    ASSERT_TRUE(hash.has_value());
    EXPECT_TRUE(VerifyPassword(password, *hash));
    EXPECT_FALSE(VerifyPassword(password + "x", *hash));
  }
  TModuleCreateArgs args;
  args.username = login;
  args.customerID = customer;
  TZoCustomServerModule module(args);
  module.AfterConstruction();
  ASSERT_NE(module.User(), nullptr);
  EXPECT_EQ(module.User()->Login, login);
  EXPECT_EQ(module.IsAdmin(), admin) << login;
  EXPECT_EQ(module.SQLConnection()->Params().Values("Database"),
            "CustomersDB/" + customer + "/ZO.FDB");
}

TEST(SchemaToolCustomer, AddedCustomerIsAcceptedByTheServer) {
  const TempDir root;
  WriteFile(root.File("senha.txt"), "c0rreta hors3\r\n");
  const auto added = RunSchema({"customer", "add", "ACME", "--root", root.Path().string(), "--user",
                                "ana@acme", "--name", "Ana Lúcia", "--password-file", "senha.txt"},
                               root.Path());
  ASSERT_EQ(added.exitCode, 0) << added.err;
  EXPECT_EQ(Entries(root.Path()), (std::set<std::string>{"CustomersDB", "conn.conf", "senha.txt"}));
  EXPECT_EQ(Entries(root.Path() / "CustomersDB"), (std::set<std::string>{"ACME"}));
  EXPECT_EQ(Entries(root.Path() / "CustomersDB" / "ACME"),
            (std::set<std::string>{"ZO.FDB", "conn.conf"}));
  const std::string conf = ReadFile(root.Path() / "CustomersDB" / "ACME" / "conn.conf");
  EXPECT_TRUE(Contains(conf, "Database=CustomersDB/ACME/ZO.FDB\n")) << conf;
  EXPECT_TRUE(Contains(conf, "CharSet=UTF8\n")) << conf;
  ExpectServerAccepts(root.Path(), "ACME", "ana@acme", "c0rreta hors3");

  // A second customer from stdin, reusing the root's conn.conf as it is.
  WriteFile(root.File("conn.conf"), "User_Name=SYSDBA\r\nPassword=x\r\nRoleName=APP\r\n");
  const auto second = RunSchema({"customer", "add", "B-2", "--user", "rui", "--password-stdin"},
                                root.Path(), "segredo\n");
  ASSERT_EQ(second.exitCode, 0) << second.err;
  EXPECT_TRUE(Contains(ReadFile(root.Path() / "CustomersDB" / "B-2" / "conn.conf"),
                       "RoleName=APP\nDatabase=CustomersDB/B-2/ZO.FDB\n"));
  ExpectServerAccepts(root.Path(), "B-2", "rui", "segredo");

  // An existing customer is left alone without the flag, rebuilt with it.
  const ToolEnv password{{"ZO_SCHEMA_PASSWORD", "outra"}};
  const auto exists =
      RunSchema({"customer", "add", "ACME", "--user", "bia"}, root.Path(), "", password);
  EXPECT_EQ(exists.exitCode, 2);
  EXPECT_TRUE(Contains(exists.err, "já existe")) << exists.err;
  ExpectServerAccepts(root.Path(), "ACME", "ana@acme", "c0rreta hors3");
  const auto replaced = RunSchema({"customer", "add", "ACME", "--user", "bia", "--replace"},
                                  root.Path(), "", password);
  ASSERT_EQ(replaced.exitCode, 0) << replaced.err;
  ExpectServerAccepts(root.Path(), "ACME", "bia", "outra");
  EXPECT_EQ(Entries(root.Path() / "CustomersDB"), (std::set<std::string>{"ACME", "B-2"}));
}

TEST(SchemaToolCustomer, UsersAreManagedAndTheLastAdministratorStays) {
  const TempDir root;
  const auto run = [&](std::vector<std::string> args) {
    args.insert(args.end(), {"--customer", "ACME", "--root", root.Path().string()});
    return RunSchema(args, root.Path());
  };
  ASSERT_EQ(RunSchema({"customer", "add", "ACME", "--root", root.Path().string(), "--user", "ana",
                       "--password", "a1"},
                      root.Path())
                .exitCode,
            0);
  ASSERT_EQ(run({"user", "add", "rui", "--password", "r1"}).exitCode, 0);
  ExpectServerAccepts(root.Path(), "ACME", "rui", "r1", false);
  using Args = std::vector<std::string>;
  for (const Args& refused : {Args{"user", "role", "ana", "usuario"}, Args{"user", "remove", "ana"},
                              Args{"user", "add", "rui", "--password", "x"},
                              Args{"user", "passwd", "bia", "--password", "x"}}) {
    const auto result = run(refused);
    EXPECT_EQ(result.exitCode, 2) << refused[1] << " " << result.err;
  }
  EXPECT_EQ(run({"user", "role", "rui", "chefe"}).exitCode, 1);
  ASSERT_EQ(run({"user", "role", "rui", "admin"}).exitCode, 0);
  ASSERT_EQ(run({"user", "remove", "ana"}).exitCode, 0);
  ASSERT_EQ(run({"user", "passwd", "rui", "--password", "r2"}).exitCode, 0);
  ExpectServerAccepts(root.Path(), "ACME", "rui", "r2", true);
}

TEST(SchemaToolCustomer, BadArgumentsAndFailuresLeaveNothing) {
  const TempDir root;
  const auto add = [&](std::vector<std::string> args, std::string input = "") {
    std::vector<std::string> full{"customer", "add"};
    full.insert(full.end(), args.begin(), args.end());
    return RunSchema(full, root.Path(), input);
  };
  const auto badId = add({"../x", "--user", "ana", "--password", "p"});
  EXPECT_EQ(badId.exitCode, 1);
  EXPECT_TRUE(Contains(badId.err, "identificador de cliente inválido")) << badId.err;
  EXPECT_EQ(add({"ACME", "--user", "a'b", "--password", "p"}).exitCode, 1);
  const auto noPassword = add({"ACME", "--user", "ana"});
  EXPECT_EQ(noPassword.exitCode, 1);
  EXPECT_TRUE(Contains(noPassword.err, "ZO_SCHEMA_PASSWORD")) << noPassword.err;
  EXPECT_EQ(add({"ACME", "--user", "ana", "--password", "p", "--password-stdin"}, "q\n").exitCode,
            1);
  EXPECT_EQ(add({"ACME", "--user", "ana", "--password-stdin"}, "\n").exitCode, 2);
  EXPECT_TRUE(fs::is_empty(root.Path()));

  // Fails after the database was built (the name does not fit its column): the staging
  // directory, the new CustomersDB and the default conn.conf all go.
  const auto tooLong =
      add({"ACME", "--user", "ana", "--name", std::string(101, 'n'), "--password", "p"});
  EXPECT_EQ(tooLong.exitCode, 2);
  EXPECT_TRUE(Contains(tooLong.err, "string right truncation")) << tooLong.err;
  EXPECT_TRUE(fs::is_empty(root.Path())) << *Entries(root.Path()).begin();

  // A root conn.conf that cannot be read: refused before anything of the customer's.
  fs::create_directories(root.Path() / "conn.conf");
  fs::create_directories(root.Path() / "CustomersDB");
  EXPECT_EQ(add({"ACME", "--user", "ana", "--password", "p"}).exitCode, 2);
  EXPECT_TRUE(fs::is_empty(root.Path() / "CustomersDB"));
}

}  // namespace
}  // namespace zo::testing
