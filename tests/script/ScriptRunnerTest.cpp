// TSQLScriptRunner: its fixed settings, database creation, the error handlers and their log
// (the parse-error message and a creation script run twice are zo-schema's tests).

#include <gtest/gtest.h>

#include <filesystem>

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
    testing::WriteText(kScriptErrorLogFile, "");
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
  testing::WriteText(path, "not a database");
  runner_.createDataBase();
  EXPECT_TRUE(runner_.IBDataBase().Connected());
}

TEST_F(ScriptRunner, CreatedDatabaseUsesTheSuppliedDefaultTransaction) {
  auto transaction = std::make_unique<TIBTransaction>();
  TIBTransaction* supplied = transaction.get();
  runner_.setIBTransaction(std::move(transaction));
  CreateDatabase();  // scripts run in the database's default one: the script component's tests
  EXPECT_EQ(runner_.IBDataBase().DefaultTransaction(), supplied);
  // Replacing it must not leave the database pointing at the freed one.
  runner_.setIBTransaction(nullptr);
  EXPECT_EQ(runner_.IBDataBase().DefaultTransaction(), nullptr);
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

TEST_F(ScriptRunner, ScriptErrorHandlerLogsAndDecides) {
  bool ignore = false;
  // The log must exist: the runner never creates it.
  EXPECT_THROW(runner_.OnScriptError(nullptr, "Table X already exists", "", 3, ignore),
               EInOutError);
  EXPECT_FALSE(std::filesystem::exists(kScriptErrorLogFile));

  CreateDatabase();
  testing::WriteText(kScriptErrorLogFile, "earlier line\n");
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

}  // namespace
}  // namespace zo
