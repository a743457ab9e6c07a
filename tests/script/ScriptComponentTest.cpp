// The script component on real embedded databases: statement by statement, DDL committed as
// it goes, errors routed to the right event.

#include <gtest/gtest.h>

#include <zo/platform/db/DatabaseError.h>
#include <zo/platform/script/IBDatabase.h>
#include <zo/platform/script/IBScript.h>
#include <zo/platform/script/IBTransaction.h>
#include <zo/platform/script/ScriptParser.h>
#include <zo/platform/script/StatementKind.h>

#include "tests/script/ScriptTestSupport.h"
#include "tests/support/DemoDatabase.h"

namespace zo {
namespace {

using testing::QueryInt;
using testing::QueryString;

struct ExecuteError {
  std::string error;
  std::string sqlText;
  int lineIndex;
};

class ScriptComponent : public testing::InTempDirTest {
 protected:
  ScriptComponent() {
    testing::CreateEmptyDatabase(Dir().File("test.fdb"));
    database_.SetDatabaseName(Dir().File("test.fdb"));
    database_.Params() = {"user_name=SYSDBA", "password=masterkey"};
    script_.SetDatabase(&database_);
    script_.SetOnStatement([this](TObject*, int index, int count, const TScriptStatement& s) {
      progress_.push_back(std::to_string(index + 1) + "/" + std::to_string(count) + "@" +
                          std::to_string(s.lineIndex));
    });
    script_.SetOnError([this](TObject*, const std::string& error, const std::string& sqlText,
                              int lineIndex, bool& ignore) {
      errors_.push_back({error, sqlText, lineIndex});
      ignore = ignoreErrors_;
    });
    script_.SetOnParseError(
        [this](TObject*, const std::string& error, const std::string& sqlText, int lineIndex) {
          parseErrors_.push_back({error, sqlText, lineIndex});
        });
  }

  // A second attachment, to see only what was committed.
  std::unique_ptr<TSQLConnection> Observer() const {
    return testing::OpenConnection(Dir().File("test.fdb"));
  }

  TIBDatabase database_;
  TIBScript script_;
  std::vector<std::string> progress_;
  std::vector<ExecuteError> errors_;
  std::vector<ExecuteError> parseErrors_;
  bool ignoreErrors_ = false;
};

TEST_F(ScriptComponent, RunsProcedureBodiesCommentsAndQuotedTerminators) {
  script_.Script() = {
      "/* A table; a procedure; rows */",                                // 0
      "CREATE TABLE T (ID INTEGER NOT NULL, S VARCHAR(40));",            // 1
      "SET TERM ^ ;",                                                    // 2
      "CREATE PROCEDURE TOTAL RETURNS (N INTEGER) AS",                   // 3
      "BEGIN",                                                           // 4
      "  SELECT COUNT(*) FROM T WHERE S <> 'x;y' INTO :N; -- a ; here",  // 5
      "  SUSPEND;",                                                      // 6
      "END^",                                                            // 7
      "SET TERM ; ^",                                                    // 8
      "INSERT INTO T VALUES (1, 'a;b'); INSERT INTO T VALUES (2,",       // 9
      "  'it''s; -- not a comment');",                                   // 10
      "-- the end; really",                                              // 11
      "INSERT INTO T VALUES (3, '/*')",  // 12: no terminator; no comment in quotes
  };
  script_.ExecuteScript();

  EXPECT_EQ(progress_, (std::vector<std::string>{"1/5@1", "2/5@3", "3/5@9", "4/5@9", "5/5@12"}));
  EXPECT_TRUE(errors_.empty());
  auto observer = Observer();
  EXPECT_EQ(QueryInt(*observer, "select N from TOTAL"), 3);
  EXPECT_EQ(QueryString(*observer, "select S from T where ID = 2"), "it's; -- not a comment");
}

TEST_F(ScriptComponent, ExecutionErrorsCarryTheStatementLineAndCanBeSkipped) {
  ignoreErrors_ = true;
  script_.SetStatistics(true);
  script_.Script() = {
      "CREATE TABLE T (ID INTEGER NOT NULL PRIMARY KEY);",  // 0
      "INSERT INTO T VALUES (1);",                          // 1
      "",                                                   // 2
      "INSERT INTO T",                                      // 3
      "  VALUES (1);",                                      // 4
      "CREATE TABLE T (X INTEGER);",                        // 5
      "INSERT INTO T VALUES (2);",                          // 6
  };
  script_.ExecuteScript();

  ASSERT_EQ(errors_.size(), 2u);
  EXPECT_EQ(errors_[0].lineIndex, 3);
  EXPECT_EQ(errors_[0].sqlText, "INSERT INTO T\n  VALUES (1)");
  EXPECT_NE(errors_[0].error.find("violation of PRIMARY or UNIQUE KEY constraint"),
            std::string::npos);
  EXPECT_EQ(errors_[1].lineIndex, 5);
  EXPECT_NE(errors_[1].error.find("already exists"), std::string::npos);
  EXPECT_EQ(script_.Stats().executed, 3);
  EXPECT_EQ(script_.Stats().ignored, 2);
  auto observer = Observer();
  EXPECT_EQ(QueryInt(*observer, "select count(*) from T"), 2);
}

TEST_F(ScriptComponent, StoppingErrorKeepsCommittedDDLAndDropsPendingWork) {
  script_.Script() = {
      "CREATE TABLE T (ID INTEGER NOT NULL PRIMARY KEY);",
      "INSERT INTO T VALUES (1);",
      "COMMIT;",
      "INSERT INTO T VALUES (2);",
      "CREATE TABLE U (ID INTEGER);",  // commits the row 2 with it
      "INSERT INTO T VALUES (3);",
      "INSERT INTO T VALUES (1);",  // stops the run: row 3 is rolled back
      "INSERT INTO T VALUES (4);",
  };
  try {
    script_.ExecuteScript();
    FAIL() << "the duplicate row should stop the script";
  } catch (const EDatabaseError& e) {
    EXPECT_NE(std::string(e.what()).find("violation of PRIMARY or UNIQUE KEY"), std::string::npos);
  }
  ASSERT_EQ(errors_.size(), 1u);
  EXPECT_EQ(errors_[0].lineIndex, 6);
  auto observer = Observer();
  EXPECT_EQ(QueryString(*observer, "select list(ID) from (select ID from T order by ID)"), "1,2");
  EXPECT_EQ(QueryInt(*observer, "select count(*) from U"), 0);
}

TEST_F(ScriptComponent, AutoDDLOffKeepsDDLInTheTransaction) {
  script_.Script() = {
      "SET AUTODDL OFF;",
      "CREATE TABLE T (ID INTEGER);",
      "CREATE TABLE T (ID INTEGER);",
  };
  EXPECT_THROW(script_.ExecuteScript(), EDatabaseError);
  EXPECT_EQ(testing::UserTableCount(*Observer()), 0);
}

// A command the parser refuses stops the script before anything runs; one the server cannot
// parse stops it there, the table before it committed as it ran and the one after never run.
TEST_F(ScriptComponent, ParseErrorsStopTheScript) {
  const struct {
    std::string statement;
    std::string error;
    int tables;
  } cases[] = {{"SHOW TABLES", "", 0}, {"CREATE TABL X", "Token unknown", 1}};
  for (const auto& c : cases) {
    parseErrors_.clear();
    script_.Script() = {"CREATE TABLE T (ID INTEGER);", c.statement + ";",
                        "CREATE TABLE U (ID INTEGER);"};
    EXPECT_THROW(script_.ExecuteScript(), EScriptParseError);
    ASSERT_EQ(parseErrors_.size(), 1u);
    EXPECT_NE(parseErrors_[0].error.find(c.error), std::string::npos) << parseErrors_[0].error;
    EXPECT_EQ(parseErrors_[0].sqlText, c.statement);
    EXPECT_EQ(parseErrors_[0].lineIndex, 1);
    EXPECT_TRUE(errors_.empty());
    EXPECT_EQ(testing::UserTableCount(*Observer()), c.tables) << c.statement;
  }
}

TEST_F(ScriptComponent, UsesTheDatabasesDefaultTransaction) {
  TIBTransaction transaction;
  database_.SetDefaultTransaction(&transaction);
  script_.Script() = {"CREATE TABLE T (ID INTEGER);", "INSERT INTO T VALUES (1);",
                      "SET AUTODDL OFF;", "INSERT INTO T VALUES (2);"};
  bool activeDuringRun = false;
  script_.SetOnParse([&](TObject*, TIBParseKind kind, const std::string&) {
    if (kind == TIBParseKind::stmtSET) activeDuringRun = transaction.InTransaction();
  });
  script_.ExecuteScript();
  EXPECT_TRUE(activeDuringRun);
  EXPECT_FALSE(transaction.InTransaction());
  EXPECT_EQ(QueryInt(*Observer(), "select count(*) from T"), 2);
}

// Splitting scripts into statements and telling what each statement is.
TEST(ScriptSplit, ParseErrorsCarryTheStatementAndItsLine) {
  const auto lineOf = [](const std::vector<std::string>& lines) {
    try {
      SplitScript(lines);
    } catch (const EScriptParseError& e) {
      return std::make_pair(e.LineIndex(), e.StatementText());
    }
    return std::make_pair(-1, std::string("no error"));
  };
  EXPECT_EQ(lineOf({"SELECT 1 FROM RDB$DATABASE;", "", "INSERT INTO T", "VALUES ('abc);"}),
            std::make_pair(2, std::string("INSERT INTO T\nVALUES ('abc);")));
  EXPECT_EQ(lineOf({"SELECT 1 FROM RDB$DATABASE;", "/* never", "closed"}).first, 1);
  EXPECT_EQ(lineOf({"SELECT 1 FROM RDB$DATABASE;", "SET TERM ;"}).first, 1);
}

TEST(ScriptSplit, StatementKinds) {
  const auto kind = [](const std::string& text) { return ParseStatement({text, 0}).kind; };
  using enum TIBParseKind;
  // A plain CREATE and COMMIT are in the component tests' scripts.
  EXPECT_EQ(kind("RECREATE VIEW V AS SELECT 1 FROM RDB$DATABASE"), stmtDDL);
  EXPECT_EQ(kind("SET GENERATOR GEN_T TO 5"), stmtDDL);
  EXPECT_EQ(kind("CREAT TABLE X (A INTEGER)"), stmtDML);  // the server will say what is wrong
  EXPECT_EQ(kind("commit work"), stmtCOMMIT);
  EXPECT_EQ(kind("ROLLBACK"), stmtROLLBACK);
  EXPECT_EQ(kind("ROLLBACK TO SAVEPOINT S1"), stmtDML);

  const auto set = [](const std::string& text) { return ParseStatement({text, 0}); };
  EXPECT_EQ(set("SET AUTODDL OFF").setting, TScriptSetting::AutoDDL);
  EXPECT_EQ(set("SET AUTODDL OFF").argument, "OFF");
  EXPECT_EQ(set("set autoddl").argument, "ON");
}

TEST(ScriptSplit, IsqlPromptCommandsAreParseErrors) {
  for (const std::string text : {"CONNECT 'x.fdb'", "CREATE DATABASE 'x.fdb'", "DROP DATABASE",
                                 "INPUT other.sql", "SHOW TABLES", "SET TRANSACTION READ ONLY",
                                 "SET AUTODDL MAYBE", "SET FOO ON", "SET SQL DIALECT"}) {
    EXPECT_THROW(ParseStatement({text, 7}), EScriptParseError) << text;
  }
}

}  // namespace
}  // namespace zo
