// Splitting scripts into statements and telling what each statement is.

#include <gtest/gtest.h>

#include "platform/script/ScriptParser.h"
#include "platform/script/StatementKind.h"

namespace zo {
namespace {

TEST(ScriptSplit, ProcedureBodyCommentsAndQuotedTerminators) {
  const std::vector<std::string> lines{
      "/* header; with a terminator */",                     // 0
      "CREATE TABLE T (ID INTEGER, S VARCHAR(10));",         // 1
      "INSERT INTO T VALUES (1, 'a;b'); -- trailing; note",  // 2
      "SET TERM ^ ;",                                        // 3
      "CREATE PROCEDURE P RETURNS (N INTEGER) AS",           // 4
      "BEGIN",                                               // 5
      "  N = 1; -- inside; the body",                        // 6
      "  SUSPEND;",                                          // 7
      "END^",                                                // 8
      "SET TERM ; ^",                                        // 9
      "",                                                    // 10
      "INSERT INTO \"T\" VALUES (2,",                        // 11
      "  'x'';y'); INSERT INTO T VALUES (3, '/*')",          // 12
  };
  const auto statements = SplitScript(lines);
  ASSERT_EQ(statements.size(), 5u);
  EXPECT_EQ(statements[0].text, "CREATE TABLE T (ID INTEGER, S VARCHAR(10))");
  EXPECT_EQ(statements[0].lineIndex, 1);
  EXPECT_EQ(statements[1].text, "INSERT INTO T VALUES (1, 'a;b')");
  EXPECT_EQ(statements[1].lineIndex, 2);
  EXPECT_EQ(statements[2].lineIndex, 4);
  EXPECT_NE(statements[2].text.find("N = 1;"), std::string::npos);
  EXPECT_NE(statements[2].text.find("SUSPEND;\nEND"), std::string::npos);
  EXPECT_EQ(statements[2].text.find("--"), std::string::npos);
  EXPECT_EQ(statements[3].text, "INSERT INTO \"T\" VALUES (2,\n  'x'';y')");
  EXPECT_EQ(statements[3].lineIndex, 11);
  // The last statement needs no terminator; "/*" inside quotes opens no comment.
  EXPECT_EQ(statements[4].text, "INSERT INTO T VALUES (3, '/*')");
  EXPECT_EQ(statements[4].lineIndex, 12);
}

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
  EXPECT_EQ(kind("create table T (ID integer)"), stmtDDL);
  EXPECT_EQ(kind("ALTER TABLE T ADD X INTEGER"), stmtDDL);
  EXPECT_EQ(kind("RECREATE VIEW V AS SELECT 1 FROM RDB$DATABASE"), stmtDDL);
  EXPECT_EQ(kind("SET GENERATOR GEN_T TO 5"), stmtDDL);
  EXPECT_EQ(kind("SET STATISTICS INDEX PK_T"), stmtDDL);
  EXPECT_EQ(kind("INSERT INTO T(ID) VALUES (1)"), stmtDML);
  EXPECT_EQ(kind("EXECUTE BLOCK AS BEGIN END"), stmtDML);
  EXPECT_EQ(kind("CREAT TABLE X (A INTEGER)"), stmtDML);  // the server will say what is wrong
  EXPECT_EQ(kind("commit work"), stmtCOMMIT);
  EXPECT_EQ(kind("ROLLBACK"), stmtROLLBACK);
  EXPECT_EQ(kind("ROLLBACK TO SAVEPOINT S1"), stmtDML);

  const auto set = [](const std::string& text) { return ParseStatement({text, 0}); };
  EXPECT_EQ(set("SET AUTODDL OFF").setting, TScriptSetting::AutoDDL);
  EXPECT_EQ(set("SET AUTODDL OFF").argument, "OFF");
  EXPECT_EQ(set("set autoddl").argument, "ON");
  EXPECT_EQ(set("SET SQL DIALECT 3").setting, TScriptSetting::SqlDialect);
  EXPECT_EQ(set("SET NAMES ISO8859_1").argument, "ISO8859_1");
  EXPECT_EQ(set("SET ECHO ON").setting, TScriptSetting::Display);
  EXPECT_EQ(set("SET STATS").setting, TScriptSetting::Stats);
}

TEST(ScriptSplit, IsqlPromptCommandsAreParseErrors) {
  for (const std::string text : {"CONNECT 'x.fdb'", "CREATE DATABASE 'x.fdb'", "DROP DATABASE",
                                 "INPUT other.sql", "SHOW TABLES", "SET TRANSACTION READ ONLY",
                                 "SET AUTODDL MAYBE", "SET FOO ON", "SET SQL DIALECT"}) {
    EXPECT_THROW(ParseStatement({text, 7}), EScriptParseError) << text;
  }
  try {
    ParseStatement({"SHOW TABLES", 7});
  } catch (const EScriptParseError& e) {
    EXPECT_EQ(e.LineIndex(), 7);
    EXPECT_EQ(e.StatementText(), "SHOW TABLES");
  }
}

}  // namespace
}  // namespace zo
