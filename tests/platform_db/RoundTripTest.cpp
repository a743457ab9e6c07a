// Every column type through DDL, INSERT and SELECT, with NULLs, Latin-1 text and blobs.
#include <string>
#include <vector>

#include <zo/core/Dates.h>
#include <zo/core/Exceptions.h>
#include <zo/platform/db/DataTypes.h>
#include <zo/platform/db/DatabaseError.h>
#include "platform/db/CreateDatabase.h"
#include "tests/platform_db/DbTestSupport.h"

namespace zo::testing {
namespace {

std::string Hex(const std::vector<std::uint8_t>& bytes, std::size_t from, std::size_t count) {
  static const char digits[] = "0123456789ABCDEF";
  std::string text;
  for (std::size_t i = from; i < from + count; ++i) {
    text += digits[bytes[i] >> 4];
    text += digits[bytes[i] & 15];
  }
  return text;
}

// Statements are limited to 64 KB, so a big blob is written as a first chunk and appends.
void WriteBinaryBlob(TSQLConnection& conn, const std::vector<std::uint8_t>& bytes) {
  constexpr std::size_t kChunk = 8000;
  for (std::size_t at = 0; at < bytes.size(); at += kChunk) {
    const std::string literal = "x'" + Hex(bytes, at, std::min(kChunk, bytes.size() - at)) + "'";
    Update(conn, "UPDATE ALLTYPES SET BIN = " + (at == 0 ? literal : "BIN || " + literal) +
                     " WHERE ID = 1");
  }
}

TEST_F(SqlLayerTest, EveryTypeRoundTripsThroughTheEmbeddedEngine) {
  Open(conn_);
  TSQLConnection& conn = conn_;
  Update(conn,
         "CREATE TABLE ALLTYPES (ID INTEGER NOT NULL PRIMARY KEY, SI SMALLINT, I INTEGER, "
         "BI BIGINT, N NUMERIC(15,2), N4 NUMERIC(4,1), F FLOAT, D DOUBLE PRECISION, DT DATE, "
         "TM TIME, TS TIMESTAMP, B BOOLEAN, C CHAR(10), V VARCHAR(20), MEMO BLOB SUB_TYPE TEXT, "
         "BIN BLOB SUB_TYPE BINARY)");
  Update(conn,
         "INSERT INTO ALLTYPES VALUES (1, -12, 2000000000, 5000000000, -1234.05, 12.5, 1.5, "
         "0.1, '2024-02-29', '13:45:30.250', '1899-12-29 06:00:00', TRUE, 'ação', 'pé ', '', "
         "NULL)");
  Update(conn, "INSERT INTO ALLTYPES (ID) VALUES (2)");
  Update(conn, "UPDATE ALLTYPES SET MEMO = MEMO || x'61E7E36F' WHERE ID = 1");
  std::vector<std::uint8_t> blob(40000);
  for (std::size_t i = 0; i < blob.size(); ++i) {
    blob[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
  }
  WriteBinaryBlob(conn, blob);

  auto r = Query(conn, "SELECT * FROM ALLTYPES ORDER BY ID");
  ASSERT_EQ(r->ColumnCount(), 16);
  const std::vector<std::pair<int, int>> types = {
      {TDBXDataTypes::Int32Type, 0},
      {TDBXDataTypes::Int16Type, 0},
      {TDBXDataTypes::Int32Type, 0},
      {TDBXDataTypes::Int64Type, 0},
      {TDBXDataTypes::BcdType, 0},
      {TDBXDataTypes::BcdType, 0},
      {TDBXDataTypes::SingleType, 0},
      {TDBXDataTypes::DoubleType, 0},
      {TDBXDataTypes::DateType, 0},
      {TDBXDataTypes::TimeType, 0},
      {TDBXDataTypes::TimeStampType, 0},
      {TDBXDataTypes::BooleanType, 0},
      {TDBXDataTypes::WideStringType, TDBXSubDataTypes::FixedSubType},
      {TDBXDataTypes::WideStringType, 0},
      {TDBXDataTypes::BlobType, TDBXSubDataTypes::MemoSubType},
      {TDBXDataTypes::BlobType, TDBXSubDataTypes::BinarySubType}};
  for (int i = 0; i < r->ColumnCount(); ++i) {
    EXPECT_EQ(r->GetColumnType(i), types[i].first) << r->ColumnName(i);
    EXPECT_EQ(r->GetColumnSubType(i), types[i].second) << r->ColumnName(i);
  }

  ASSERT_TRUE(r->Next());
  EXPECT_EQ(r->GetInt32(r->GetOrdinal("si")), -12);
  EXPECT_EQ(r->GetInt32(r->GetOrdinal("I")), 2000000000);
  EXPECT_EQ(r->GetInt64(r->GetOrdinal("BI")), 5000000000);
  EXPECT_DOUBLE_EQ(r->GetDouble(r->GetOrdinal("N")), -1234.05);
  EXPECT_EQ(r->GetString(r->GetOrdinal("N")), "-1234.05");
  EXPECT_EQ(r->GetString(r->GetOrdinal("N4")), "12.5");
  EXPECT_EQ(r->GetDouble(r->GetOrdinal("F")), 1.5);
  EXPECT_EQ(r->GetDouble(r->GetOrdinal("D")), 0.1);
  EXPECT_EQ(r->GetDateTime(r->GetOrdinal("DT")), dates::FromCivil({2024, 2, 29}));
  EXPECT_EQ(r->GetDateTime(r->GetOrdinal("TM")), dates::FromCivil({1899, 12, 30, 13, 45, 30, 250}));
  EXPECT_EQ(r->GetDateTime(r->GetOrdinal("TS")), dates::FromCivil({1899, 12, 29, 6}));
  EXPECT_EQ(r->GetString(r->GetOrdinal("DT")), "2024-02-29");
  EXPECT_EQ(r->GetString(r->GetOrdinal("TM")), "13:45:30.250");
  EXPECT_EQ(r->GetString(r->GetOrdinal("TS")), "1899-12-29 06:00:00.000");
  EXPECT_TRUE(r->GetBoolean(r->GetOrdinal("B")));
  EXPECT_EQ(r->GetString(r->GetOrdinal("B")), "True");
  EXPECT_EQ(r->GetString(r->GetOrdinal("C")), "ação");  // CHAR padding trimmed
  EXPECT_EQ(r->GetString(r->GetOrdinal("V")), "pé ");   // VARCHAR kept as stored
  EXPECT_EQ(r->GetString(r->GetOrdinal("MEMO")), "ação");
  EXPECT_EQ(r->GetBytes(r->GetOrdinal("BIN")), blob);
  EXPECT_FALSE(r->IsNull(r->GetOrdinal("BIN")));

  ASSERT_TRUE(r->Next());
  for (int i = 1; i < r->ColumnCount(); ++i) {
    EXPECT_TRUE(r->IsNull(i)) << r->ColumnName(i);
    EXPECT_EQ(r->GetString(i), "") << r->ColumnName(i);
  }
  EXPECT_EQ(r->GetInt64(r->GetOrdinal("BI")), 0);
  EXPECT_FALSE(r->GetBoolean(r->GetOrdinal("B")));
  EXPECT_TRUE(r->GetBytes(r->GetOrdinal("BIN")).empty());
  EXPECT_FALSE(r->Next());
}

TEST_F(SqlLayerTest, CreatedDatabaseHasTheAgreedSettings) {
  Open(conn_);
  EXPECT_EQ(Scalar(conn_, "SELECT RDB$CHARACTER_SET_NAME FROM RDB$DATABASE"), "ISO8859_1");
  EXPECT_EQ(Scalar(conn_,
                   "SELECT MON$PAGE_SIZE || ' ' || MON$SQL_DIALECT || ' ' || MON$FORCED_WRITES "
                   "FROM MON$DATABASE"),
            "8192 3 0");
  // An existing file is never replaced.
  EXPECT_THROW(CreateDatabaseFile(DatabasePath()), EDatabaseError);
}

TEST_F(SqlLayerTest, ReaderConvertsBetweenReasonableTypesAndRefusesTheRest) {
  Open(conn_);
  auto r = Query(conn_,
                 "SELECT CAST(7 AS BIGINT) AS SMALL_BIG, CAST(5000000000 AS BIGINT) AS BIG, "
                 "CAST(2.50 AS NUMERIC(9,2)) AS FRACTION, CAST(3.00 AS NUMERIC(9,2)) AS WHOLE, "
                 "'42' AS DIGITS, 'x' AS WORD, TRUE AS FLAG, CAST('2024-01-02' AS DATE) AS D1 "
                 "FROM RDB$DATABASE");
  ASSERT_TRUE(r->Next());
  EXPECT_EQ(r->GetInt32(0), 7);
  EXPECT_THROW(r->GetInt32(1), Exception);  // does not fit
  EXPECT_THROW(r->GetInt64(2), Exception);  // has a fraction
  EXPECT_EQ(r->GetInt32(3), 3);
  EXPECT_DOUBLE_EQ(r->GetDouble(2), 2.5);
  EXPECT_EQ(r->GetString(2), "2.50");
  EXPECT_EQ(r->GetInt32(4), 42);
  EXPECT_THROW(r->GetInt32(5), Exception);
  EXPECT_THROW(r->GetBoolean(5), Exception);
  EXPECT_EQ(r->GetInt32(6), 1);
  EXPECT_THROW(r->GetDateTime(6), Exception);
  EXPECT_THROW(r->GetBytes(7), Exception);
  EXPECT_EQ(r->GetDateTime(7), dates::FromCivil({2024, 1, 2}));
  EXPECT_THROW(r->GetInt32(99), Exception);
  EXPECT_THROW(r->GetOrdinal("NO_SUCH_COLUMN"), Exception);
  EXPECT_EQ(r->GetOrdinal("flag"), 6);
}

TEST_F(SqlLayerTest, EveryKindOfStatementRuns) {
  Open(conn_);
  Update(conn_, "CREATE TABLE T (ID INTEGER NOT NULL PRIMARY KEY, NAME VARCHAR(10))");
  EXPECT_EQ(UpdateCounting(conn_, "INSERT INTO T VALUES (1, 'a')"), 1);
  // RETURNING outside a transaction: auto-committed, its single row still readable.
  auto r = Query(conn_, "insert into T values (2, 'b') returning ID, NAME");
  ASSERT_TRUE(r->Next());
  EXPECT_EQ(r->GetInt32(0), 2);
  EXPECT_EQ(r->GetString(1), "b");
  EXPECT_FALSE(r->Next());
  EXPECT_EQ(UpdateCounting(conn_, "UPDATE T SET NAME = 'z'"), 2);
  // Texts whose first word does not tell whether they have a cursor.
  EXPECT_EQ(Scalar(conn_, " /* leading comment */ SELECT COUNT(*) FROM T"), "2");
  EXPECT_EQ(Scalar(conn_, "EXECUTE BLOCK RETURNS (N INTEGER) AS BEGIN N = 5; SUSPEND; END"), "5");
  Update(conn_, "\n  select * from T");  // a SELECT run as an update: rows discarded
  Update(conn_,
         "EXECUTE BLOCK AS DECLARE I INTEGER = 3; BEGIN WHILE (I < 6) DO BEGIN "
         "INSERT INTO T VALUES (:I, 'n'); I = I + 1; END END");
  Update(conn_,
         "CREATE PROCEDURE NEXT_ID RETURNS (ID INTEGER) AS BEGIN SELECT MAX(ID) + 1 FROM T "
         "INTO :ID; END");
  Update(conn_, "EXECUTE PROCEDURE NEXT_ID");  // output dropped
  EXPECT_EQ(UpdateCounting(conn_, "INSERT INTO T VALUES (6, 'r') RETURNING ID"), 1);
  EXPECT_EQ(Scalar(conn_, "EXECUTE PROCEDURE NEXT_ID"), "7");
  auto none = Query(conn_, "DELETE FROM T WHERE ID > 4");
  EXPECT_EQ(none->ColumnCount(), 0);
  EXPECT_FALSE(none->Next());
  EXPECT_EQ(Scalar(conn_, "SELECT COUNT(*) FROM T"), "4");
}

}  // namespace
}  // namespace zo::testing
