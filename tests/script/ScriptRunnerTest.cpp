// TSQLScriptRunner: its fixed settings, database creation, the error handlers and their log,
// and a creation script run a second time over its own database.

#include <gtest/gtest.h>

#include <filesystem>

#include <zo/dbstruct/DBStructClasses.h>
#include "examples/demo/DemoClasses.h"
#include <zo/mapping/ServerClasses.h>
#include <zo/schema/DBScriptRunner.h>
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

TEST_F(ScriptRunner, ScriptErrorHandlerLogsAndDecides) {
  bool ignore = false;
  // The log must exist: the runner never creates it.
  EXPECT_THROW(runner_.OnScriptError(nullptr, "Table X already exists", "", 3, ignore),
               EInOutError);
  EXPECT_FALSE(std::filesystem::exists(kScriptErrorLogFile));

  CreateDatabase();
  testing::WriteFile(kScriptErrorLogFile, "earlier line\n");
  // A phrase is tolerated only as the database's verdict of that kind: a value that merely
  // contains "already exists" fails to convert, and that stops the run.
  runner_.getSQLScript() = {
      "CREATE TABLE X (C INTEGER);", "CREATE UNIQUE INDEX UX ON X (C);",
      "CREATE TABLE X (D INTEGER);", "INSERT INTO X VALUES (1);",
      "INSERT INTO X VALUES (1);",   "INSERT INTO X VALUES ('already exists');",
      "INSERT INTO X VALUES (2);"};
  std::string stopError;
  try {
    runner_.IBScript().ExecuteScript();
    FAIL() << "the conversion error should stop the run";
  } catch (const Exception& e) {
    stopError = e.what();
  }
  EXPECT_NE(stopError.find("conversion error from string \"already exists\""), std::string::npos);
  const auto entries = LogEntries();
  ASSERT_EQ(entries.size(), 4u);
  EXPECT_EQ(entries[0], "earlier line");
  EXPECT_EQ(entries[1].rfind("Erro: unsuccessful metadata update", 0), 0u) << entries[1];
  EXPECT_NE(entries[1].find("-Table X already exists - Linha: 2 - Ignorado: True"),
            std::string::npos)
      << entries[1];
  EXPECT_EQ(entries[2].rfind("Erro: attempt to store duplicate value", 0), 0u) << entries[2];
  EXPECT_TRUE(entries[2].ends_with(" - Linha: 4 - Ignorado: True")) << entries[2];
  EXPECT_EQ(entries[3], "Erro: " + stopError + " - Linha: 5 - Ignorado: False");
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
  EXPECT_EQ(connection->Params().Values("Password"), "x");
  connection->Open();
  EXPECT_EQ(QueryInt(*connection, "select count(*) from RDB$DATABASE"), 1);
}

}  // namespace
}  // namespace zo
