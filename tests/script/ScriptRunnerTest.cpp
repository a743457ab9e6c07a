// TSQLScriptRunner: its fixed settings, database creation, the error handlers and their log,
// and a creation script run a second time over its own database.

#include <gtest/gtest.h>

#include <filesystem>

#include "dbstruct/DBStructClasses.h"
#include "examples/demo/DemoClasses.h"
#include "mapping/ServerClasses.h"
#include "schema/DBScriptRunner.h"
#include "tests/script/ScriptTestSupport.h"
#include "tests/support/DemoDatabase.h"

namespace zo {
namespace {

using testing::QueryInt;
using testing::QueryString;
using testing::ReadLines;

class ScriptRunner : public testing::InTempDirTest {
 protected:
  // A runner over a new database file in the test directory, with an empty log.
  void CreateDatabase(const std::string& name = "ZO.FDB") {
    runner_.setDatabaseFile(Dir().File(name));
    runner_.createDataBase();
    testing::WriteFile(kScriptErrorLogFile, "");
  }

  std::unique_ptr<TSQLConnection> Observer(const std::string& name = "ZO.FDB") const {
    return testing::OpenConnection(Dir().File(name));
  }

  TSQLScriptRunner runner_;
};

TEST_F(ScriptRunner, ConstantSettings) {
  TIBDatabase& db = runner_.IBDataBase();
  EXPECT_EQ(db.SQLDialect(), 3);
  EXPECT_FALSE(db.LoginPrompt());
  EXPECT_EQ(db.Params(), (std::vector<std::string>{"user_name=sysdba", "password=pelicanos"}));
  EXPECT_FALSE(runner_.IBScript().Statistics());
  EXPECT_EQ(runner_.IBScript().Database(), &db);
  EXPECT_EQ(&runner_.getSQLScript(), &runner_.IBScript().Script());
  runner_.setDatabaseFile("some.fdb");
  EXPECT_EQ(db.DatabaseName(), "some.fdb");

  runner_.getSQLScript() = {"CREATE TABLE T (ID INTEGER);"};
  runner_.execute();  // by design it runs nothing
  EXPECT_FALSE(db.Connected());
  EXPECT_FALSE(std::filesystem::exists("some.fdb"));
  EXPECT_EQ(runner_.getSQLScript().size(), 1u);
}

TEST_F(ScriptRunner, CreateDataBaseReplacesAnExistingFile) {
  const std::string path = Dir().File("ZO.FDB");
  testing::CreateEmptyDatabase(path);
  testing::ExecuteSql(*Observer(), "CREATE TABLE OLD_TABLE (ID INTEGER)");

  CreateDatabase();
  EXPECT_TRUE(runner_.IBDataBase().Connected());
  EXPECT_EQ(runner_.IBDataBase().Params(),
            (std::vector<std::string>{"user \"SYSDBA\"", "password \"pelicanos\""}));
  runner_.IBDataBase().Close();
  auto observer = Observer();
  EXPECT_EQ(testing::UserTableCount(*observer), 0);
  EXPECT_EQ(QueryString(*observer, "select trim(RDB$CHARACTER_SET_NAME) from RDB$DATABASE"),
            "ISO8859_1");
  EXPECT_EQ(QueryInt(*observer, "select MON$SQL_DIALECT from MON$DATABASE"), 3);
  EXPECT_EQ(QueryString(*observer,
                        "select trim(RDB$OWNER_NAME) from RDB$RELATIONS "
                        "where RDB$RELATION_NAME = 'RDB$DATABASE'"),
            "SYSDBA");
  observer->Close();

  // Not even a database: still replaced.
  testing::WriteFile(path, "not a database");
  runner_.createDataBase();
  EXPECT_TRUE(runner_.IBDataBase().Connected());
}

TEST_F(ScriptRunner, CreatedDatabaseUsesTheSuppliedDefaultTransaction) {
  auto transaction = std::make_unique<TIBTransaction>();
  TIBTransaction* supplied = transaction.get();
  runner_.setIBTransaction(std::move(transaction));
  CreateDatabase();
  EXPECT_EQ(runner_.IBDataBase().DefaultTransaction(), supplied);
  EXPECT_EQ(supplied->DefaultDatabase(), &runner_.IBDataBase());
  runner_.getSQLScript() = {"CREATE TABLE T (ID INTEGER);", "INSERT INTO T VALUES (1);"};
  runner_.IBScript().ExecuteScript();
  EXPECT_FALSE(supplied->InTransaction());
  EXPECT_EQ(QueryInt(*Observer(), "select count(*) from T"), 1);
  // Replacing it must not leave the database pointing at the freed one.
  runner_.setIBTransaction(nullptr);
  EXPECT_EQ(runner_.IBDataBase().DefaultTransaction(), nullptr);
}

TEST_F(ScriptRunner, ParseErrorMessage) {
  try {
    runner_.parseError(&runner_.IBScript(), "Token unknown", "CREATE TABL X", 12);
    FAIL();
  } catch (const Exception& e) {
    EXPECT_STREQ(e.what(), "Erro ao executar script: Token unknown. CREATE TABL X. Linha12");
  }
  EXPECT_FALSE(std::filesystem::exists(kScriptErrorLogFile));  // nothing is logged

  // The same handler, reached through a run: the server's own text, the statement, its line.
  CreateDatabase();
  runner_.getSQLScript() = std::vector<std::string>(12, "");
  runner_.getSQLScript().push_back("CREATE TABL X;");
  try {
    runner_.IBScript().ExecuteScript();
    FAIL();
  } catch (const Exception& e) {
    const std::string message = e.what();
    EXPECT_EQ(message.rfind("Erro ao executar script: ", 0), 0u) << message;
    EXPECT_NE(message.find("Token unknown"), std::string::npos) << message;
    EXPECT_TRUE(message.ends_with("-TABL. CREATE TABL X. Linha12")) << message;
  }
  EXPECT_TRUE(ReadLines(kScriptErrorLogFile).empty());
}

TEST_F(ScriptRunner, ScriptErrorHandlerLogsAndDecides) {
  bool ignore = false;
  // The log must exist: the runner never creates it.
  EXPECT_THROW(runner_.OnScriptError(nullptr, "Table X already exists", "", 3, ignore),
               EInOutError);
  EXPECT_FALSE(std::filesystem::exists(kScriptErrorLogFile));

  testing::WriteFile(kScriptErrorLogFile, "earlier line\n");
  runner_.OnScriptError(nullptr, "-Table X already exists", "CREATE TABLE X", 3, ignore);
  EXPECT_TRUE(ignore);
  ignore = false;
  runner_.OnScriptError(nullptr, "attempt to store duplicate value", "INSERT", 4, ignore);
  EXPECT_TRUE(ignore);
  try {
    runner_.OnScriptError(nullptr, "Table X Already Exists", "CREATE TABLE X", 5, ignore);
    FAIL();
  } catch (const Exception& e) {
    EXPECT_STREQ(e.what(), "Table X Already Exists");  // the phrases are case-sensitive
  }
  EXPECT_FALSE(ignore);
  EXPECT_EQ(ReadLines(kScriptErrorLogFile),
            (std::vector<std::string>{
                "earlier line", "Erro: -Table X already exists - Linha: 3 - Ignorado: True",
                "Erro: attempt to store duplicate value - Linha: 4 - Ignorado: True",
                "Erro: Table X Already Exists - Linha: 5 - Ignorado: False"}));
}

// The log's lines, each entry starting with "Erro: " (Firebird's texts span lines).
std::vector<std::string> LogEntries() {
  std::vector<std::string> entries;
  for (const auto& line : ReadLines(kScriptErrorLogFile)) {
    if (line.rfind("Erro: ", 0) == 0 || entries.empty()) {
      entries.push_back(line);
    } else {
      entries.back() += "\n" + line;
    }
  }
  return entries;
}

int CountEntries(const std::vector<std::string>& entries, const std::string& phrase,
                 const std::string& verdict) {
  int n = 0;
  for (const auto& e : entries) {
    if (e.find(phrase) != std::string::npos && e.ends_with(verdict)) ++n;
  }
  return n;
}

TEST_F(ScriptRunner, CreationScriptRunTwiceStopsAtTheReaddedColumn) {
  CreateDatabase();
  runner_.getSQLScript() = testing::ToLines(testing::DemoCreationScript());
  runner_.IBScript().ExecuteScript();
  EXPECT_TRUE(ReadLines(kScriptErrorLogFile).empty());
  EXPECT_GT(testing::UserTableCount(runner_.IBDataBase().Connection()), 5);

  std::string stopError;
  try {
    runner_.IBScript().ExecuteScript();
    FAIL() << "the extension of CLIENTES should stop the second run";
  } catch (const Exception& e) {
    stopError = e.what();
  }
  const auto entries = LogEntries();
  ASSERT_FALSE(entries.empty());
  // Every entry but the last was an "already exists" that was skipped: tables, primary keys,
  // unique keys and foreign keys of the script's first sections.
  for (size_t i = 0; i + 1 < entries.size(); ++i) {
    EXPECT_TRUE(entries[i].ends_with("Ignorado: True")) << entries[i];
    EXPECT_NE(entries[i].find("already exists"), std::string::npos) << entries[i];
  }
  EXPECT_EQ(CountEntries(entries, "-CREATE TABLE", "True"), 7);
  EXPECT_EQ(CountEntries(entries, "-Index PK_", "True"), 7);   // primary keys
  EXPECT_GE(CountEntries(entries, "-Index DEMO", "True"), 7);  // foreign keys
  // The last one: the column that the merged class adds again, not tolerated.
  EXPECT_TRUE(entries.back().ends_with("Ignorado: False")) << entries.back();
  EXPECT_NE(stopError.find("RDB$RELATION_FIELDS"), std::string::npos) << stopError;
  EXPECT_EQ(entries.back(), "Erro: " + stopError + " - Linha: " +
                                entries.back().substr(entries.back().rfind("Linha: ") + 7));
}

TEST_F(ScriptRunner, CreationScriptRunTwiceSkipsSequencesAndStopsAtADuplicateRow) {
  demo::RegisterDemoClasses();
  std::vector<TDataObjectClass> classes;
  for (auto cls : demo::DemoTableClasses()) {
    if (cls != &demo::TClienteVIP::StaticType()) classes.push_back(cls);  // no extension
  }
  const auto module = TDataObjectInfoDB::GenerateDataBaseStruct(HInstance, "DEMO", classes);
  std::string script = TDataObjectInfoDB::GenerateScriptDataBase(*module);
  script += "INSERT INTO CIDADES (ID, NOME, UF) VALUES (1, 'Recife', 'PE');\r\n";
  CreateDatabase();
  runner_.getSQLScript() = testing::ToLines(script);
  runner_.IBScript().ExecuteScript();
  testing::ExecuteSql(runner_.IBDataBase().Connection(),
                      "select next value for GEN_CIDADES from RDB$DATABASE");

  std::string stopError;
  try {
    runner_.IBScript().ExecuteScript();
    FAIL() << "the duplicate row should stop the second run";
  } catch (const Exception& e) {
    stopError = e.what();
  }
  const auto entries = LogEntries();
  ASSERT_GE(entries.size(), 2u);
  EXPECT_EQ(CountEntries(entries, "-Sequence GEN_", "True"), 7);
  EXPECT_GE(CountEntries(entries, "-Index DEMO", "True"), 7);
  EXPECT_EQ(CountEntries(entries, "", "False"), 1);
  EXPECT_TRUE(entries.back().ends_with("Ignorado: False"));
  EXPECT_NE(stopError.find("violation of PRIMARY or UNIQUE KEY constraint"), std::string::npos);
  EXPECT_EQ(entries.back().rfind("Erro: " + stopError + " - Linha: ", 0), 0u);
  // The rerun restarted the sequences: the reason the schema tool guards against it.
  EXPECT_EQ(QueryInt(*Observer(), "select gen_id(GEN_CIDADES, 0) from RDB$DATABASE"), 0);
}

TEST_F(ScriptRunner, NewDataBaseReadsConnConfOfTheCurrentDirectory) {
  EXPECT_THROW(runner_.newDataBase(), Exception);
  testing::CreateEmptyDatabase(Dir().File("ZO.FDB"));
  testing::WriteFile("conn.conf",
                     "Database=" + Dir().File("ZO.FDB") + "\r\nUser_Name=SYSDBA\r\nPassword=x\r\n");
  auto connection = runner_.newDataBase();
  EXPECT_EQ(connection->DriverName(), "Firebird");
  EXPECT_FALSE(connection->LoginPrompt());
  EXPECT_FALSE(connection->Connected());
  EXPECT_EQ(connection->Params().Values("Password"), "x");
  connection->Open();
  EXPECT_EQ(QueryInt(*connection, "select count(*) from RDB$DATABASE"), 1);
}

}  // namespace
}  // namespace zo
