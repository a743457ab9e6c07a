// Explicit transactions, savepoints and auto-commit.
#include <string>

#include <zo/core/Exceptions.h>
#include <zo/platform/db/DatabaseError.h>
#include "tests/platform_db/DbTestSupport.h"

namespace zo::testing {
namespace {

class SqlTransactionTest : public SqlLayerTest {
 protected:
  void SetUp() override {
    Open(conn_);
    Update(conn_, "CREATE TABLE T (ID INTEGER NOT NULL PRIMARY KEY)");
  }
  std::string Count(TSQLConnection& conn) { return Scalar(conn, "SELECT COUNT(*) FROM T"); }
  std::string Ids() {
    return Scalar(conn_, "SELECT LIST(ID, ',') FROM (SELECT ID FROM T ORDER BY ID)");
  }
  TDBXConnection& Dbx() { return conn_.DBXConnection(); }
};

TEST_F(SqlTransactionTest, WorkInsideATransactionIsSeenByItUntilRolledBack) {
  TSQLConnection other;
  Open(other);
  auto tx = Dbx().BeginTransaction();
  EXPECT_TRUE(Dbx().InTransaction());
  Update(conn_, "INSERT INTO T VALUES (1)");  // one command writes...
  EXPECT_EQ(Count(conn_), "1");               // ...another sees the uncommitted row
  EXPECT_EQ(Count(other), "0");               // nobody else does, and nobody waits
  Dbx().RollbackFreeAndNil(tx);
  EXPECT_EQ(tx, nullptr);
  EXPECT_FALSE(Dbx().InTransaction());
  EXPECT_EQ(Count(conn_), "0");

  tx = Dbx().BeginTransaction();
  Update(conn_, "INSERT INTO T VALUES (2)");
  Dbx().CommitFreeAndNil(tx);
  EXPECT_EQ(Count(other), "1");
}

TEST_F(SqlTransactionTest, NestedBeginIsASavepoint) {
  auto outer = Dbx().BeginTransaction();
  Update(conn_, "INSERT INTO T VALUES (1)");
  auto inner = Dbx().BeginTransaction();
  Update(conn_, "INSERT INTO T VALUES (2)");
  Dbx().RollbackFreeAndNil(inner);  // undoes only 2
  EXPECT_TRUE(Dbx().InTransaction());
  EXPECT_EQ(Ids(), "1");

  inner = Dbx().BeginTransaction();
  Update(conn_, "INSERT INTO T VALUES (3)");
  auto innermost = Dbx().BeginTransaction();
  Update(conn_, "INSERT INTO T VALUES (4)");
  Dbx().CommitFreeAndNil(inner);  // releases both inner levels, keeps their work
  EXPECT_FALSE(innermost->Active());
  EXPECT_THROW(Dbx().CommitFreeAndNil(innermost), Exception);
  EXPECT_EQ(Ids(), "1,3,4");

  Dbx().RollbackFreeAndNil(outer);  // the outermost level ends the transaction
  EXPECT_FALSE(Dbx().InTransaction());
  EXPECT_EQ(Count(conn_), "0");
}

TEST_F(SqlTransactionTest, AbandonedWorkIsRolledBack) {
  {
    auto tx = Dbx().BeginTransaction();
    Update(conn_, "INSERT INTO T VALUES (1)");
    auto inner = Dbx().BeginTransaction();
    Update(conn_, "INSERT INTO T VALUES (2)");
  }  // handles dropped without commit, innermost first
  EXPECT_FALSE(Dbx().InTransaction());
  EXPECT_EQ(Count(conn_), "0");

  auto tx = Dbx().BeginTransaction();
  Update(conn_, "INSERT INTO T VALUES (3)");
  Dbx().RollbackAll();
  EXPECT_FALSE(tx->Active());
  Dbx().RollbackIncompleteFreeAndNil(tx);  // a no-op on an ended handle
  EXPECT_EQ(tx, nullptr);

  std::unique_ptr<TDBXTransaction> outliving;
  {
    TSQLConnection leaving;
    Open(leaving);
    outliving = leaving.DBXConnection().BeginTransaction();
    Update(leaving, "INSERT INTO T VALUES (4)");
  }  // destroying the connection rolls back and detaches
  EXPECT_FALSE(outliving->Active());
  EXPECT_EQ(Count(conn_), "0");
}

TEST_F(SqlTransactionTest, StatementsOutsideATransactionCommitAtOnce) {
  TSQLConnection other;
  Open(other);
  EXPECT_EQ(Count(other), "0");  // starts the other side's held read transaction
  Update(conn_, "INSERT INTO T VALUES (1)");
  EXPECT_EQ(Count(other), "1");  // the held read transaction sees fresh commits
  // A failed statement leaves nothing behind and the connection usable.
  EXPECT_THROW(Update(conn_, "INSERT INTO T VALUES (1)"), EDatabaseError);
  Update(conn_, "INSERT INTO T VALUES (2)");
  EXPECT_EQ(Count(other), "2");
}

// Read by Firebird itself: the isolation, access mode and lock timeout each kind of statement
// really runs with (a locked row must give an error after 10 s, never a hang).
TEST_F(SqlTransactionTest, TransactionsHaveTheAgreedSettings) {
  const std::string settings =
      "SELECT MON$ISOLATION_MODE || ' ' || MON$READ_ONLY || ' ' || MON$LOCK_TIMEOUT "
      "FROM MON$TRANSACTIONS WHERE MON$TRANSACTION_ID = CURRENT_TRANSACTION";
  EXPECT_EQ(Scalar(conn_, settings), "2 1 -1");  // read committed record version, read-only
  Update(conn_,
         "INSERT INTO T SELECT MON$LOCK_TIMEOUT * 100 + MON$READ_ONLY * 10 + "
         "MON$ISOLATION_MODE FROM MON$TRANSACTIONS "
         "WHERE MON$TRANSACTION_ID = CURRENT_TRANSACTION");
  EXPECT_EQ(Ids(), "1002");  // auto-commit: read-write, 10 s lock timeout
  auto tx = Dbx().BeginTransaction();
  EXPECT_EQ(Scalar(conn_, settings), "2 0 10");
  Dbx().CommitFreeAndNil(tx);
}

}  // namespace
}  // namespace zo::testing
