// Firebird's error texts reach the caller, and misuse of a closed connection is an error,
// never a crash.
#include <string>

#include <zo/core/Exceptions.h>
#include <zo/platform/db/DatabaseError.h>
#include "tests/platform_db/DbTestSupport.h"
#include "tests/support/MessageOf.h"

namespace zo::testing {
namespace {

::testing::AssertionResult Contains(const std::string& text, const std::string& part) {
  if (text.find(part) != std::string::npos) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << "\"" << part << "\" not in \"" << text << "\"";
}

// Firebird's whole text reaches the caller, and its codes tell what kind of failure it was.
TEST_F(SqlLayerTest, FirebirdErrorsCarryTheirTextAndCategory) {
  Open(conn_);
  Update(conn_, "CREATE TABLE A (ID INTEGER NOT NULL PRIMARY KEY, CODE INTEGER)");
  Update(conn_, "CREATE UNIQUE INDEX UX_A_CODE ON A (CODE)");
  Update(conn_,
         "CREATE TABLE B (ID INTEGER NOT NULL PRIMARY KEY, A_ID INTEGER, "
         "CONSTRAINT FK_B_A FOREIGN KEY (A_ID) REFERENCES A (ID))");
  Update(conn_, "CREATE SEQUENCE G");
  Update(conn_, "INSERT INTO A VALUES (1, 10)");
  Update(conn_, "INSERT INTO B VALUES (1, 1)");

  using C = DatabaseErrorCategory;
  struct Case {
    const char* sql;
    const char* text;
    C category;
    const char* sqlState;
  };
  const Case cases[] = {
      {"INSERT INTO A VALUES (1, 11)", "violation of PRIMARY or UNIQUE KEY constraint",
       C::UniqueViolation, "23000"},
      {"INSERT INTO A VALUES (2, 10)", "attempt to store duplicate value", C::UniqueViolation,
       "23000"},
      {"INSERT INTO B VALUES (2, 99)",
       "violation of FOREIGN KEY constraint \"FK_B_A\" on table \"B\"", C::ForeignKeyViolation,
       "23000"},
      {"DELETE FROM A", "violation of FOREIGN KEY constraint", C::ForeignKeyViolation, "23000"},
      {"CREATE TABLE A (X INTEGER)", "Table A already exists", C::ObjectExists, "42S01"},
      {"CREATE SEQUENCE G", "Sequence G already exists", C::ObjectExists, "42000"},
      {"SELECT * FROM MISSING", "Table unknown", C::ObjectMissing, "42S02"},
      {"SELECT NOPE FROM A", "Column unknown", C::ObjectMissing, "42S22"},
      {"SELEC 1 FROM RDB$DATABASE", "Token unknown", C::Syntax, "42000"},
      {"INSERT INTO A VALUES ('x', 1)", "conversion error", C::Other, "22018"},
  };
  for (const Case& c : cases) {
    try {
      Update(conn_, c.sql);
      ADD_FAILURE() << c.sql << ": accepted";
    } catch (const EDatabaseError& e) {
      EXPECT_TRUE(Contains(e.what(), c.text)) << c.sql;
      EXPECT_EQ(static_cast<int>(e.Category()), static_cast<int>(c.category)) << c.sql;
      EXPECT_EQ(e.SqlState(), c.sqlState) << c.sql;
      EXPECT_NE(e.GdsCode(), 0) << c.sql;
    }
  }
  // Every line of Firebird's status, not just the first.
  EXPECT_TRUE(Contains(MessageOf([&] { Update(conn_, "DELETE FROM A"); }), "\n-"));
}

// A statement cut inside a quoted literal: the engine leaves the position unset, so the true
// end of the statement is reported; a NUL never reaches the engine at all.
TEST_F(SqlLayerTest, UnterminatedLiteralsAndNulsGetTrueAnswers) {
  Open(conn_);
  EXPECT_TRUE(Contains(MessageOf([&] { Query(conn_, "SELECT 1 FROM RDB$DATABASE\nWHERE 'é = x"); }),
                       "Unexpected end of command - line 2, column 13"));
  const std::string nul("SELECT 1 FROM RDB$DATABASE WHERE 'a\0' = 'a'", 43);
  EXPECT_TRUE(Contains(MessageOf([&] { Query(conn_, nul); }), "caractere nulo (U+0000)"));
}

TEST_F(SqlLayerTest, OpeningAMissingDatabaseNamesIt) {
  const std::string missing = dir_.File("missing.fdb");
  conn_.Params().SetValue("Database", missing);
  conn_.Params().SetValue("User_Name", "SYSDBA");
  EXPECT_TRUE(Contains(MessageOf([&] { conn_.Open(); }), missing));
  EXPECT_FALSE(conn_.Connected());
}

TEST_F(SqlLayerTest, ClosedOrNeverOpenedConnectionFailsCleanly) {
  EXPECT_FALSE(conn_.Connected());
  EXPECT_TRUE(Contains(MessageOf([&] { conn_.DBXConnection(); }), "not open"));
  conn_.Close();  // harmless when closed

  Open(conn_);
  TDBXConnection& dbx = conn_.DBXConnection();
  Update(conn_, "CREATE TABLE T (ID INTEGER, MEMO BLOB SUB_TYPE TEXT)");
  Update(conn_, "INSERT INTO T VALUES (1, 'text')");
  Update(conn_, "INSERT INTO T VALUES (2, 'more')");
  auto command = dbx.CreateCommand();
  command->SetText("SELECT ID, MEMO FROM T");
  auto reader = command->ExecuteQuery();
  ASSERT_TRUE(reader->Next());
  auto tx = dbx.BeginTransaction();

  conn_.Close();  // with a reader, a command and a transaction handle still alive
  EXPECT_FALSE(conn_.Connected());
  EXPECT_FALSE(dbx.IsOpen());
  EXPECT_FALSE(tx->Active());
  EXPECT_THROW(dbx.CommitFreeAndNil(tx), Exception);
  EXPECT_THROW(dbx.CreateCommand(), Exception);
  EXPECT_THROW(command->ExecuteQuery(), Exception);
  EXPECT_THROW(reader->GetString(1), Exception);  // the blob needs the attachment
  EXPECT_THROW(reader->Next(), Exception);

  conn_.Open();  // the same object reopens
  EXPECT_EQ(Scalar(conn_, "SELECT COUNT(*) FROM T"), "2");
}

TEST_F(SqlLayerTest, ReaderOutlivingItsTransactionFailsCleanly) {
  Open(conn_);
  Update(conn_, "CREATE TABLE T (ID INTEGER)");
  Update(conn_, "INSERT INTO T SELECT 1 FROM RDB$DATABASE UNION ALL SELECT 2 FROM RDB$DATABASE");
  auto tx = conn_.DBXConnection().BeginTransaction();
  auto reader = Query(conn_, "SELECT ID FROM T");
  ASSERT_TRUE(reader->Next());
  conn_.DBXConnection().CommitFreeAndNil(tx);
  EXPECT_TRUE(Contains(MessageOf([&] { reader->Next(); }), "transaction has ended"));
  EXPECT_EQ(reader->GetInt32(0), 1);  // the row already fetched stays readable
}

}  // namespace
}  // namespace zo::testing
