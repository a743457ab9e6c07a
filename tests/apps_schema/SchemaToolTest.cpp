// The zo-schema binary: command line, creation, comparison and script runs on real files.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/apps_schema/ToolRunner.h"
#include "tests/script/ScriptTestSupport.h"
#include "tests/support/DemoDatabase.h"

namespace zo::testing {
namespace {

namespace fs = std::filesystem;

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(SchemaTool, CommandLineHelpAndExitCodes) {
  const TempDir dir;
  const auto run = [&](std::vector<std::string> args) { return RunSchema(args, dir.Path()); };
  const auto none = run({});
  EXPECT_EQ(none.exitCode, 1);
  EXPECT_TRUE(Contains(none.err, "Commands:"));

  const auto help = run({"--help"});
  EXPECT_EQ(help.exitCode, 0);
  for (const char* command : {"script", "create", "customer", "diff", "apply"}) {
    EXPECT_TRUE(Contains(help.out, std::string("  ") + command)) << command;
    const auto commandHelp = run({command, "--help"});
    EXPECT_EQ(commandHelp.exitCode, 0) << command;
    EXPECT_TRUE(Contains(commandHelp.out, std::string("Uso: zo-schema ") + command)) << command;
  }

  const auto usage = [&](std::vector<std::string> args, const std::string& message) {
    const auto r = run(args);
    EXPECT_EQ(r.exitCode, 1) << args[0] << ": " << r.err;
    EXPECT_TRUE(Contains(r.err, message)) << r.err;
    EXPECT_TRUE(r.out.empty());
  };
  usage({"frobnicate"}, "unknown command: frobnicate");
  usage({"create"}, "missing option --db");
  usage({"create", "--db"}, "--db: 1 required TEXT missing");
  usage({"create", "--db", "x.fdb", "--force"}, "not expected: --force");
  usage({"create", "--db=x.fdb", "--db=y.fdb"}, "--db: At Most 1 required but received 2");
  usage({"apply", "--db", "x.fdb"}, "missing argument SCRIPT");
  usage({"script", "extra"}, "unexpected argument: extra");
  usage({"customer", "remove", "X"}, "subcomando desconhecido");

  const auto missing = run({"diff", "--db", "missing.fdb"});
  EXPECT_EQ(missing.exitCode, 2);
  EXPECT_TRUE(Contains(missing.err, "banco de dados não encontrado: missing.fdb"));
  EXPECT_EQ(run({"apply", "--db", "missing.fdb", "x.sql"}).exitCode, 2);
  // The same option from a configuration file, and a key no option of the command has.
  const TempDir configs;
  std::ofstream(configs.Path() / "good.conf") << "# diff\ndb = missing.fdb\n";
  std::ofstream(configs.Path() / "bad.conf") << "db = missing.fdb\nroot = /srv\n";
  const auto fromFile = run({"diff", "--config", (configs.Path() / "good.conf").string()});
  EXPECT_EQ(fromFile.exitCode, 2);
  EXPECT_TRUE(Contains(fromFile.err, "missing.fdb")) << fromFile.err;
  usage({"diff", "--config", (configs.Path() / "bad.conf").string()},
        "bad.conf line 2: unknown key \"root\"");
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
  EXPECT_EQ(ReadFile(dir.Path() / "create.sql").substr(200), script.out.substr(200));

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
  EXPECT_TRUE(Contains(forced.err, "[1/38] CREATE TABLE USUARIOS (")) << forced.err;
  EXPECT_TRUE(Contains(forced.err, "[23/38] ALTER TABLE CLIENTES ADD DESCONTO_VIP"));
  EXPECT_TRUE(Contains(forced.err,
                       "erro no comando 23/38 (linha 113 do script): "
                       "unsuccessful metadata update"));
  EXPECT_FALSE(Contains(forced.err, "[24/38]"));
  const std::string log = ReadFile(dir.Path() / "ScriptErrorLog.txt");
  EXPECT_TRUE(Contains(log, "-Table USUARIOS already exists - Linha: 15 - Ignorado: True"));
  EXPECT_TRUE(log.ends_with("- Linha: 112 - Ignorado: False\n")) << log;

  // A script with a tolerated error runs to the end; the log grows.
  WriteFile(dir.File("more.sql"),
            "CREATE TABLE CIDADES (ID INTEGER);\n"
            "-- a comment; with a terminator\n"
            "INSERT INTO CIDADES (ID, NOME, UF) VALUES (100, 'Olinda; PE', 'PE');\n");
  const auto more = run({"apply", "--db", "demo.fdb", "more.sql"});
  EXPECT_EQ(more.exitCode, 0) << more.err;
  EXPECT_TRUE(Contains(more.err, "[2/2] INSERT INTO CIDADES"));
  EXPECT_TRUE(Contains(more.err, "Script aplicado: 2 comandos, 1 erro(s) tolerado(s)"));
  EXPECT_TRUE(Contains(ReadFile(dir.Path() / "ScriptErrorLog.txt"),
                       "-Table CIDADES already exists - Linha: 0 - Ignorado: True"));
  {
    auto connection = OpenConnection(dir.File("demo.fdb"));
    EXPECT_EQ(QueryString(*connection, "select NOME from CIDADES where ID = 100"), "Olinda; PE");
  }

  // A statement the server cannot parse: the runner's parse-error message.
  WriteFile(dir.File("bad.sql"), "\n\nCREATE TABL X;\n");
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
  const auto diff = run({"diff", "--db", "ZO.FDB"});
  ASSERT_EQ(diff.exitCode, 0) << diff.err;
  EXPECT_TRUE(Contains(diff.out, "CREATE TABLE FORNECEDORES")) << diff.out;
  EXPECT_TRUE(Contains(diff.out, "DDD")) << diff.out;
  EXPECT_FALSE(Contains(diff.out, "SENHA_HASH"));
  WriteFile((dir / "migration.sql").string(), diff.out);

  // The new table's sequence is restarted, but it is new: no refusal.
  const auto applied = run({"apply", "--db", "ZO.FDB", "migration.sql"});
  ASSERT_EQ(applied.exitCode, 0) << applied.err;
  EXPECT_TRUE(Contains(applied.err, "Script aplicado:")) << applied.err;

  const auto after = run({"diff", "--db", "ZO.FDB"});
  EXPECT_EQ(after.exitCode, 0) << after.err;
  EXPECT_EQ(after.out, "");
  auto connection = database.Connect();
  ExecuteSql(*connection, "insert into FORNECEDORES (ID, NOME, CIDADE_ID) values (1, 'F', null)");
  ExecuteSql(*connection, "update CIDADES set DDD = '081'");
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

}  // namespace
}  // namespace zo::testing
