// Statements that differ only in their values share one prepared statement per connection, and
// nothing a caller sees changes: rows, error texts and the trace are those of the text as given.
#include <cstdlib>
#include <string>
#include <vector>

#include <zo/core/Exceptions.h>
#include "platform/db/LiteralLifting.h"
#include "platform/db/StatementCache.h"
#include "tests/platform_db/DbTestSupport.h"

namespace zo::testing {
namespace {

// A query's rows, or an update's changed-row count, or the error text.
std::string Outcome(TSQLConnection& conn, const std::string& sql) {
  try {
    if (!sql.starts_with("SELECT")) return "changed " + std::to_string(UpdateCounting(conn, sql));
    std::string rows;
    for (auto reader = Query(conn, sql); reader->Next();) {
      for (int i = 0; i < reader->ColumnCount(); ++i) rows += reader->GetString(i) + ";";
    }
    return rows;
  } catch (const Exception& e) {
    return std::string("error: ") + e.what();
  }
}

// Opens `conn` on this test's database with statement reuse turned off: the behaviour to match.
void OpenWithoutReuse(const SqlLayerTest& test, TSQLConnection& conn,
                      void (SqlLayerTest::*open)(TSQLConnection&) const) {
  ::setenv("ZO_STATEMENT_CACHE_SIZE", "0", 1);
  (test.*open)(conn);
  ::unsetenv("ZO_STATEMENT_CACHE_SIZE");
}

class StatementReuseTest : public SqlLayerTest {
 protected:
  void SetUp() override {
    Open(conn_);
    Update(
        conn_,
        "CREATE TABLE T (ID INTEGER NOT NULL PRIMARY KEY, C VARCHAR(3), CH CHAR(3), "
        "S SMALLINT, N NUMERIC(5,2), D DATE, U VARCHAR(2) CHARACTER SET UTF8, F DOUBLE PRECISION, "
        "CI VARCHAR(5) CHARACTER SET ISO8859_1 COLLATE PT_BR)");
    Update(conn_, "INSERT INTO T VALUES (1, 'abc', 'ab', 7, 1.25, '2024-05-01', 'çã', 1.1, 'Ana')");
    OpenWithoutReuse(*this, plain_, &StatementReuseTest::Open);
  }
  TSQLConnection plain_;
};

TEST(StatementCacheTest, KeepsAtMostItsCapacityAndDropsTheLeastRecentlyUsed) {
  db::StatementCache cache(2);
  bool found = false;
  cache.Give("a", {});
  cache.Give("b", {});
  cache.Take("a", found);  // "a" is used again: "b" becomes the oldest
  cache.Give("a", {});
  cache.Give("c", {});
  EXPECT_EQ(cache.Size(), 2u);
  cache.Take("b", found);
  EXPECT_FALSE(found);
  cache.Take("a", found);
  EXPECT_TRUE(found);
  cache.Take("a", found);
  EXPECT_FALSE(found) << "a taken statement is not handed out twice";
}

TEST(LiteralLifting, LiftsOnlyValuesItIsSureOf) {
  struct Case {
    const char* sql;
    const char* text;      // nullptr: left as given
    const char* literals;  // "|"-separated
  };
  const Case cases[] = {
      {"SELECT A FROM T WHERE ID = 5 AND N = 'it''s'", "SELECT A FROM T WHERE ID = ? AND N = ?",
       "5|it's"},
      {"SELECT A FROM T WHERE X>=-1.50 OR Y <> 'a'", "SELECT A FROM T WHERE X>=? OR Y <> ?",
       "-1.50|a"},
      {"INSERT INTO T (A, B, C) VALUES (1, 'x', NULL)",
       "INSERT INTO T (A, B, C) VALUES (?, ?, NULL)", "1|x"},
      {"UPDATE T SET A = 'v', B = 2 WHERE ID IN (3, 4)",
       "UPDATE T SET A = ?, B = ? WHERE ID IN (?, ?)", "v|2|3|4"},
      {"DELETE FROM T WHERE ID = (SELECT 1 FROM R WHERE K = 2)",
       "DELETE FROM T WHERE ID = (SELECT 1 FROM R WHERE K = ?)", "2"},
      // Select lists, arithmetic, functions, LIKE, FIRST, ORDER BY n, introducers, exponents:
      {"SELECT FIRST 1 'x', 2 FROM T WHERE A = B + 1 AND C LIKE 'a%' ORDER BY 1",
       "SELECT FIRST 1 'x', 2 FROM T WHERE A = B + 1 AND C LIKE 'a%' ORDER BY 1", ""},
      {"SELECT A FROM T WHERE A = _UTF8 'x' AND B = x'41' AND C = 1E2 AND D = 'a' || 'b'",
       "SELECT A FROM T WHERE A = _UTF8 'x' AND B = x'41' AND C = 1E2 AND D = 'a' || 'b'", ""},
      {"SELECT A FROM T WHERE COALESCE(A, 0) = 3 -- = 4\n",
       "SELECT A FROM T WHERE COALESCE(A, 0) = ? -- = 4\n", "3"},
      {"SELECT IIF(A = 1, 'x', 'y'), (SELECT 1 FROM R WHERE K = 2) FROM T WHERE B = 3",
       "SELECT IIF(A = 1, 'x', 'y'), (SELECT 1 FROM R WHERE K = ?) FROM T WHERE B = ?", "2|3"},
      {"SELECT A FROM T WHERE B = q'{x}'", nullptr, ""},
      {"SELECT A FROM T WHERE B = ?", nullptr, ""},
      {"SELECT A FROM T WHERE B = 'open", nullptr, ""},
  };
  for (const Case& c : cases) {
    const auto lifted = db::LiftLiterals(c.sql);
    ASSERT_EQ(lifted.has_value(), c.text != nullptr) << c.sql;
    if (!lifted) continue;
    EXPECT_EQ(lifted->text, c.text);
    std::string literals;
    for (const auto& l : lifted->literals) literals += (literals.empty() ? "" : "|") + l.value;
    EXPECT_EQ(literals, c.literals) << c.sql;
  }
  using db::StatementKind;
  EXPECT_EQ(db::ClassifyStatement(" with x as (select 1 from t) select * from x"),
            StatementKind::Data);
  EXPECT_EQ(db::ClassifyStatement("EXECUTE BLOCK AS BEGIN END"), StatementKind::Procedural);
  EXPECT_EQ(db::ClassifyStatement("EXECUTE BLOCK AS BEGIN EXECUTE STATEMENT 'DROP TABLE T'; END"),
            StatementKind::MetadataChanging);
  EXPECT_EQ(db::ClassifyStatement("alter table T add X integer"), StatementKind::MetadataChanging);
  // A text the reader cannot vouch for is treated as the worst case, whatever its first word.
  EXPECT_EQ(db::ClassifyStatement("EXECUTE PROCEDURE P ?"), StatementKind::MetadataChanging);
  EXPECT_EQ(db::ClassifyStatement("EXECUTE PROCEDURE P 1"), StatementKind::Procedural);
}

// Values a parameter would take differently from the literal (too long for the column,
// out of range, more decimals than the scale, of another type) give today's rows and errors.
// Each statement runs twice, so the second run reuses what the first one prepared; the trace
// shows each text as given.
TEST_F(StatementReuseTest, ResultsErrorsAndTraceAreThoseOfTheTextAsGiven) {
  const std::vector<std::string> statements = {
      "SELECT ID FROM T WHERE C = 'abc'",
      "SELECT ID FROM T WHERE CI = 'ANA' AND CI > 'an'",
      "SELECT ID FROM T WHERE C = 'abcdef'",
      "SELECT ID FROM T WHERE C < 'abcd'",
      "SELECT ID FROM T WHERE C = 'abc   '",
      "SELECT ID FROM T WHERE CH = 'ab' AND CH <> 'ab    x'",
      "SELECT ID FROM T WHERE U = 'çã' OR U = 'çãõ'",
      "SELECT ID FROM T WHERE S = 40000 OR S = 7",
      "SELECT ID FROM T WHERE N = 1.25 OR N = 1.251 OR N = 1.250",
      "SELECT ID FROM T WHERE ID = 1.5 OR ID = 5000000000 OR ID = '1'",
      "SELECT ID FROM T WHERE C = 5 OR D = '2024-05-01' OR D = '1.5.2024'",
      "SELECT ID FROM T WHERE ID IN (1, 2) AND C <> ''",
      "INSERT INTO T (ID, C) VALUES (2, 'toolong')",
      "INSERT INTO T (ID, D) VALUES (3, '2024-13-45')",
      "INSERT INTO T (ID, S) VALUES (4, 99999)",
      "INSERT INTO T (ID, C) VALUES (1, 'dup')",
      "UPDATE T SET C = 'xyz' WHERE ID = 99",
      "SELECT ID FROM T WHERE F = 1.1 OR F = 0.1000000000000000055511151231257827",
      "UPDATE T SET F = 0.7 WHERE ID = 1",
      "SELECT F FROM T WHERE F = 0.7 OR F = -123456.789012345",
      "UPDATE T SET F = 1234567.00000001 WHERE ID = 1",
      "SELECT F FROM T WHERE F > 1234567",
      "SELECT ID FROM T WHERE ID = 'x'",
      "SELECT ID FROM T WHERE D = '2024-02-30'",
      "SELECT ID FROM T WHERE D > 'today' OR D < '1.5.2024x'",
  };
  std::vector<std::string> traced;
  conn_.SetTrace([&traced](const std::string& sql) { traced.push_back(sql); });
  std::vector<std::string> expectedTrace;
  for (const std::string& sql : statements) {
    const std::string today = Outcome(plain_, sql);
    EXPECT_EQ(Outcome(conn_, sql), today) << sql;
    EXPECT_EQ(Outcome(conn_, sql), today) << sql << " (reused)";
    expectedTrace.insert(expectedTrace.end(), {sql, sql});
  }
  EXPECT_EQ(traced, expectedTrace);
  // The cases above really reach the interesting answers, not just equal empty ones.
  EXPECT_EQ(Outcome(conn_, "SELECT ID FROM T WHERE CI = 'ANA' AND CI > 'an'"), "1;");
  EXPECT_EQ(Outcome(conn_, "SELECT ID FROM T WHERE C < 'abcd' AND C <> 'abcdef'"), "1;");
  EXPECT_EQ(Scalar(conn_, "SELECT COUNT(*) FROM T"), "1");  // no failed insert left a row
}

// DDL through the connection frees what it keeps: a column dropped and added again with
// another type, and a column dropped under a kept statement, are seen at once, with today's
// error text.
TEST_F(StatementReuseTest, DdlThroughTheConnectionIsSeenAtOnce) {
  const std::string read = "SELECT C FROM T WHERE ID = 1";
  EXPECT_EQ(Outcome(conn_, read), "abc;");
  Update(conn_, "ALTER TABLE T DROP C");
  Update(conn_, "ALTER TABLE T ADD C INTEGER");
  Update(conn_, "UPDATE T SET C = 7");
  EXPECT_EQ(Outcome(conn_, read), "7;");
  Update(conn_, "ALTER TABLE T DROP C");
  const std::string error = Outcome(conn_, read);
  EXPECT_NE(error.find("Column unknown"), std::string::npos) << error;
  EXPECT_EQ(error, Outcome(plain_, read));
  // DDL inside a transaction that is rolled back: nothing prepared meanwhile is kept.
  auto level = conn_.DBXConnection().BeginTransaction();
  Update(conn_, "ALTER TABLE T ADD C VARCHAR(5)");
  conn_.DBXConnection().RollbackFreeAndNil(level);
  EXPECT_EQ(Outcome(conn_, read), error);
}

// Each connection prepares its own: two readers of one text on two connections run side by
// side, and closing one connection leaves the other's statements working.
TEST_F(StatementReuseTest, ConnectionsDoNotSharePreparedStatements) {
  Update(conn_, "INSERT INTO T (ID) VALUES (2)");
  TSQLConnection other;
  Open(other);
  const std::string read = "SELECT ID FROM T WHERE ID > 0 ORDER BY ID";
  EXPECT_EQ(Outcome(other, read), "1;2;");
  auto mine = Query(conn_, read);
  auto theirs = Query(other, read);
  ASSERT_TRUE(mine->Next() && theirs->Next() && theirs->Next());
  EXPECT_EQ(mine->GetString(0), "1");
  EXPECT_EQ(theirs->GetString(0), "2");
  conn_.Close();
  EXPECT_FALSE(theirs->Next());
  EXPECT_EQ(Outcome(other, read), "1;2;");
}

}  // namespace
}  // namespace zo::testing
