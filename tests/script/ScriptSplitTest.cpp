// Splitting scripts into statements and telling what each statement is.

#include <gtest/gtest.h>

#include <zo/platform/script/ScriptParser.h>
#include <zo/platform/script/StatementKind.h>

namespace zo {
namespace {

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
  EXPECT_EQ(kind("RECREATE VIEW V AS SELECT 1 FROM RDB$DATABASE"), stmtDDL);
  EXPECT_EQ(kind("SET GENERATOR GEN_T TO 5"), stmtDDL);
  EXPECT_EQ(kind("SET STATISTICS INDEX PK_T"), stmtDDL);
  EXPECT_EQ(kind("EXECUTE BLOCK AS BEGIN END"), stmtDML);
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
