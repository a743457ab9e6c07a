// The zo-schema binary: command line, creation, comparison and script runs on real files.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <zo/platform/db/SQLConnection.h>
#include <zo/server/CustomServerModule.h>
#include <zo/server/UserPasswords.h>
#include "examples/demo/DemoClasses.h"

#include "tests/apps_schema/ToolRunner.h"
#include "tests/support/DemoDatabase.h"
#include "tests/support/TempDir.h"

namespace zo::testing {
namespace {

namespace fs = std::filesystem;

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(SchemaTool, CommandLineHelpAndErrors) {
  const TempDir dir;
  const TempDir configs;
  std::ofstream(configs.Path() / "bad.conf") << "db = missing.fdb\nroot = /srv\n";
  const struct {
    std::vector<std::string> args;
    int exitCode;
    std::string message;  // on stdout for help; otherwise on stderr, with nothing on stdout
  } cases[] = {
      {{}, 1, "Commands:"},
      {{"apply", "--help"}, 0, "Usage: zo-schema apply"},
      {{"frobnicate"}, 1, "unknown command: frobnicate"},
      {{"create"}, 1, "missing option --db"},
      {{"create", "--db", "x.fdb", "--force"}, 1, "not expected: --force"},
      {{"apply", "--db", "x.fdb"}, 1, "missing argument SCRIPT"},
      {{"script", "extra"}, 1, "unexpected argument: extra"},
      {{"customer", "remove", "X"}, 1, "unknown subcommand: customer remove"},
      {{"diff", "--db", "missing.fdb"}, 2, "zo-schema: error: database not found: missing.fdb"},
      // A configuration file is read: a key no option of the command has is refused.
      {{"diff", "--config", (configs.Path() / "bad.conf").string()},
       1,
       "bad.conf line 2: unknown key \"root\""},
  };
  for (const auto& c : cases) {
    const auto r = RunSchema(c.args, dir.Path());
    EXPECT_EQ(r.exitCode, c.exitCode) << c.message << ": " << r.err;
    EXPECT_TRUE(Contains(c.exitCode == 0 ? r.out : r.err, c.message)) << r.out << r.err;
    EXPECT_TRUE(c.exitCode == 0 || r.out.empty()) << c.message << ": " << r.out;
  }
  EXPECT_TRUE(fs::is_empty(dir.Path()));
}

TEST(SchemaTool, CreateThenDiffAndApply) {
  const TempDir dir;
  const auto run = [&](std::vector<std::string> args) { return RunSchema(args, dir.Path()); };
  const auto script = run({"script"});
  ASSERT_EQ(script.exitCode, 0) << script.err;
  EXPECT_TRUE(Contains(script.out, "CREATE TABLE USUARIOS ("));
  ASSERT_EQ(run({"script", "--output", "create.sql"}).exitCode, 0);
  // The scripts differ only in the time stamp of their header.
  EXPECT_EQ(ReadText(dir.Path() / "create.sql").substr(200), script.out.substr(200));

  const auto created = run({"create", "--db", "demo.fdb"});
  ASSERT_EQ(created.exitCode, 0) << created.err;
  const auto diff = run({"diff", "--db", "demo.fdb"});
  EXPECT_EQ(diff.exitCode, 0) << diff.err;
  EXPECT_EQ(diff.out, "");
  {
    auto connection = OpenConnection(dir.File("demo.fdb"));
    ExecuteSql(*connection,
               "insert into CIDADES (ID, NOME, UF) values (next value for GEN_CIDADES, "
               "'Natal', 'RN')");
  }

  // Never over an existing file without the flag.
  const auto again = run({"create", "--db", "demo.fdb"});
  EXPECT_EQ(again.exitCode, 2);
  EXPECT_TRUE(Contains(again.err, "--replace"));

  // The creation script resets sequences: refused on a database that has them...
  const auto refused = run({"apply", "--db", "demo.fdb", "create.sql"});
  EXPECT_EQ(refused.exitCode, 2);
  EXPECT_TRUE(Contains(refused.err, "GEN_CIDADES")) << refused.err;
  EXPECT_TRUE(Contains(refused.err, "--allow-sequence-reset"));
  EXPECT_FALSE(fs::exists(dir.Path() / "ScriptErrorLog.txt"));

  // ...and when forced, it stops at the first intolerable error with the error's text.
  const auto forced = run({"apply", "--db", "demo.fdb", "--allow-sequence-reset", "create.sql"});
  EXPECT_EQ(forced.exitCode, 2);
  EXPECT_TRUE(Contains(forced.err, "[1/41] CREATE TABLE USUARIOS (")) << forced.err;
  EXPECT_TRUE(Contains(forced.err, "[23/41] ALTER TABLE CLIENTES ADD DESCONTO_VIP"));
  EXPECT_TRUE(Contains(forced.err,
                       "zo-schema: error in statement 23/41 (script line 113): "
                       "unsuccessful metadata update"));
  EXPECT_FALSE(Contains(forced.err, "[24/41]"));
  const std::string log = ReadText(dir.Path() / "ScriptErrorLog.txt");
  EXPECT_TRUE(Contains(log, "-Table USUARIOS already exists - Linha: 15 - Ignorado: True"));
  EXPECT_TRUE(log.ends_with("- Linha: 112 - Ignorado: False\n")) << log;

  // A script with a tolerated error runs to the end; the log grows.
  WriteText(dir.File("more.sql"),
            "CREATE TABLE CIDADES (ID INTEGER);\n"
            "-- a comment; with a terminator\n"
            "INSERT INTO CIDADES (ID, NOME, UF) VALUES (100, 'Olinda; PE', 'PE');\n");
  const auto more = run({"apply", "--db", "demo.fdb", "more.sql"});
  EXPECT_EQ(more.exitCode, 0) << more.err;
  EXPECT_TRUE(Contains(more.err, "[2/2] INSERT INTO CIDADES"));
  EXPECT_TRUE(Contains(more.err, "Script applied: 2 statements, 1 tolerated error(s)"));
  EXPECT_TRUE(Contains(ReadText(dir.Path() / "ScriptErrorLog.txt"),
                       "-Table CIDADES already exists - Linha: 0 - Ignorado: True"));
  {
    auto connection = OpenConnection(dir.File("demo.fdb"));
    EXPECT_EQ(QueryString(*connection, "select NOME from CIDADES where ID = 100"), "Olinda; PE");
  }

  // A statement the server cannot parse: the runner's parse-error message.
  WriteText(dir.File("bad.sql"), "\n\nCREATE TABL X;\n");
  const auto bad = run({"apply", "--db", "demo.fdb", "bad.sql"});
  EXPECT_EQ(bad.exitCode, 2);
  EXPECT_TRUE(Contains(bad.err, "Erro ao executar script: Dynamic SQL Error")) << bad.err;
  EXPECT_TRUE(Contains(bad.err, "CREATE TABL X. Linha2")) << bad.err;

  const auto replaced = run({"create", "--db", "demo.fdb", "--replace"});
  EXPECT_EQ(replaced.exitCode, 0) << replaced.err;
  auto connection = OpenConnection(dir.File("demo.fdb"));
  EXPECT_EQ(QueryInt(*connection, "select count(*) from CIDADES"), 0);
  // Nothing but what the commands were asked for.
  std::set<std::string> files;
  for (const auto& entry : fs::directory_iterator(dir.Path())) {
    files.insert(entry.path().filename().string());
  }
  EXPECT_EQ(files, (std::set<std::string>{"ScriptErrorLog.txt", "bad.sql", "create.sql", "demo.fdb",
                                          "more.sql"}));
}

TEST(SchemaTool, ChangedClassesMigrateWithDiffAndApply) {
  const DemoDatabase database;  // made from the demo classes' creation script
  const auto& dir = database.Dir().Path();
  const auto run = [&](std::vector<std::string> args) { return RunChangedSchema(args, dir); };
  // The script itself is the catalog reader's tests' concern.
  const auto diff = run({"diff", "--db", "ZO.FDB"});
  ASSERT_EQ(diff.exitCode, 0) << diff.err;
  EXPECT_TRUE(Contains(diff.out, "CREATE TABLE FORNECEDORES_INTERNACIONAIS")) << diff.out;
  WriteText((dir / "migration.sql").string(), diff.out);

  // The new table's sequence is restarted, but it is new: no refusal.
  const auto applied = run({"apply", "--db", "ZO.FDB", "migration.sql"});
  ASSERT_EQ(applied.exitCode, 0) << applied.err;
  EXPECT_TRUE(Contains(applied.err, "Script applied:")) << applied.err;

  const auto after = run({"diff", "--db", "ZO.FDB"});
  EXPECT_EQ(after.exitCode, 0) << after.err;
  EXPECT_EQ(after.out, "");
}

// A database made before its unique columns had constraints: the migration adds the missing
// one, and apply refuses to run it while the data repeats a value.
TEST(SchemaTool, MissingUniqueConstraintsMigrateOnceTheDataAllows) {
  const DemoDatabase database;
  const auto& dir = database.Dir().Path();
  const auto run = [&](std::vector<std::string> args) { return RunSchema(args, dir); };
  const auto sql = [&](const std::string& text) { ExecuteSql(*database.Connect(), text); };
  sql("alter table CLIENTES drop constraint CLIENTESEMAIL");
  sql("insert into CLIENTES (ID, NOME, EMAIL) values (1, 'Um', 'dup@exemplo.com')");
  sql("insert into CLIENTES (ID, NOME, EMAIL) values (2, 'Dois', 'dup@exemplo.com')");
  const auto diff = run({"diff", "--db", "ZO.FDB"});
  EXPECT_EQ(diff.out, "ALTER TABLE CLIENTES ADD CONSTRAINT CLIENTESEMAIL UNIQUE (EMAIL);\r\n");
  WriteText((dir / "migration.sql").string(), diff.out);

  const auto refused = run({"apply", "--db", "ZO.FDB", "migration.sql"});
  EXPECT_EQ(refused.exitCode, 2);
  EXPECT_TRUE(Contains(refused.err,
                       "zo-schema: error: column EMAIL of table CLIENTES repeats values (for "
                       "example 'dup@exemplo.com')"))
      << refused.err;
  EXPECT_EQ(run({"diff", "--db", "ZO.FDB"}).out, diff.out) << "nothing was applied";

  sql("update CLIENTES set EMAIL = 'outro@exemplo.com' where ID = 2");
  const auto applied = run({"apply", "--db", "ZO.FDB", "migration.sql"});
  EXPECT_EQ(applied.exitCode, 0) << applied.err;
  EXPECT_EQ(run({"diff", "--db", "ZO.FDB"}).out, "");
}

TEST(SchemaTool, ApplicationSeedRunsOnNewDatabases) {
  const TempDir dir;
  const auto created = RunChangedSchema({"create", "--db", "seeded.fdb"}, dir.Path());
  ASSERT_EQ(created.exitCode, 0) << created.err;
  auto connection = OpenConnection(dir.File("seeded.fdb"));
  EXPECT_EQ(QueryString(*connection, "select NOME from CATEGORIAS where LFT = 1"), "Todas");
  EXPECT_EQ(QueryInt(*connection, "select gen_id(GEN_CATEGORIAS, 0) from RDB$DATABASE"), 1);
  connection->Close();
  EXPECT_EQ(RunChangedSchema({"diff", "--db", "seeded.fdb"}, dir.Path()).out, "");
}

// zo-schema customer add: a customer the application server accepts, or nothing at all.

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
                         const std::string& login, const std::string& password, bool admin = true) {
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
  WriteText(root.File("senha.txt"), "c0rreta hors3\r\n");
  const auto added = RunSchema({"customer", "add", "ACME", "--root", root.Path().string(), "--user",
                                "ana@acme", "--name", "Ana Lúcia", "--password-file", "senha.txt"},
                               root.Path());
  ASSERT_EQ(added.exitCode, 0) << added.err;
  EXPECT_EQ(Entries(root.Path()), (std::set<std::string>{"CustomersDB", "conn.conf", "senha.txt"}));
  EXPECT_EQ(Entries(root.Path() / "CustomersDB"), (std::set<std::string>{"ACME"}));
  EXPECT_EQ(Entries(root.Path() / "CustomersDB" / "ACME"),
            (std::set<std::string>{"ZO.FDB", "conn.conf"}));
  const std::string conf = ReadText(root.Path() / "CustomersDB" / "ACME" / "conn.conf");
  EXPECT_TRUE(Contains(conf, "Database=CustomersDB/ACME/ZO.FDB\n")) << conf;
  EXPECT_TRUE(Contains(conf, "CharSet=UTF8\n")) << conf;
  ExpectServerAccepts(root.Path(), "ACME", "ana@acme", "c0rreta hors3");

  // A second customer from stdin, reusing the root's conn.conf as it is.
  WriteText(root.File("conn.conf"), "User_Name=SYSDBA\r\nPassword=x\r\nRoleName=APP\r\n");
  const auto second = RunSchema({"customer", "add", "B-2", "--user", "rui", "--password-stdin"},
                                root.Path(), "segredo\n");
  ASSERT_EQ(second.exitCode, 0) << second.err;
  EXPECT_TRUE(Contains(ReadText(root.Path() / "CustomersDB" / "B-2" / "conn.conf"),
                       "RoleName=APP\nDatabase=CustomersDB/B-2/ZO.FDB\n"));
  ExpectServerAccepts(root.Path(), "B-2", "rui", "segredo");

  // An existing customer is left alone without the flag, rebuilt with it.
  const std::vector<std::string> password{"ZO_SCHEMA_PASSWORD=outra"};
  const auto exists =
      RunSchema({"customer", "add", "ACME", "--user", "bia"}, root.Path(), "", password);
  EXPECT_EQ(exists.exitCode, 2);
  EXPECT_TRUE(Contains(exists.err, "already exists")) << exists.err;
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
  EXPECT_TRUE(Contains(badId.err, "invalid customer identifier")) << badId.err;
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
