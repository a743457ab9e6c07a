#pragma once

#include <zo/Export.h>

#include <memory>

#include <zo/platform/db/DBXCommand.h>
#include <zo/platform/db/DBXTransaction.h>

namespace zo {

namespace db {
class Session;
}

// The open connection's working interface: commands and transactions.
//
// Transactions. BeginTransaction starts a read-committed read-write transaction whose lock
// waits end after 10 s with an error. Calling it again while one is active opens a savepoint
// inside it and returns a handle on that level: committing the handle releases the savepoint,
// rolling it back undoes only the work done since. The outermost handle's commit or rollback
// ends the transaction. Ending a level also ends the levels opened inside it (committed or
// rolled back with it).
//
// Statements run inside the active transaction and see its uncommitted writes. With none
// active, a SELECT (any statement returning a cursor) runs in a read-only read-committed
// transaction the connection keeps open, and any other statement in its own read-write
// transaction committed at once. A reader ends with the transaction it reads in: after its
// commit or rollback (or Close) the row already fetched stays readable, anything more throws.
//
// A TDBXConnection belongs to its TSQLConnection and outlives its Open/Close cycles: after
// Close every call throws zo::Exception. Like a Firebird attachment, a connection and what
// it made are used by one thread at a time.
class ZO_EXPORT TDBXConnection {
 public:
  TDBXConnection() = default;

  std::unique_ptr<TDBXCommand> CreateCommand();

  std::unique_ptr<TDBXTransaction> BeginTransaction();
  // End the level `transaction` stands for and reset the pointer. Throw zo::Exception when it
  // is null or no longer active. A failed commit leaves the level active (and the handle set),
  // so it can still be rolled back.
  void CommitFreeAndNil(std::unique_ptr<TDBXTransaction>& transaction);
  void RollbackFreeAndNil(std::unique_ptr<TDBXTransaction>& transaction);
  // Rolls back when the handle is set and its level still active; always resets it.
  void RollbackIncompleteFreeAndNil(std::unique_ptr<TDBXTransaction>& transaction);
  // Rolls back whatever explicit transaction is active (all levels); handles on it become
  // inactive. Used after a failed call, when nobody holds the handle any more.
  void RollbackAll();
  bool InTransaction() const;

  bool IsOpen() const;

 private:
  friend class TSQLConnection;
  db::Session& OpenSession() const;  // throws when not open

  std::shared_ptr<db::Session> session_;
};

}  // namespace zo
