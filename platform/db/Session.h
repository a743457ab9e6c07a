#pragma once

// Internal to platform/db: one Firebird attachment and the transactions that run on it.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/db/ConnectOptions.h"
#include "platform/db/FbHandles.h"
#include "platform/db/StatementCache.h"

namespace zo::db {

class Cursor;
using TraceFn = std::function<void(const std::string&)>;

// Shared (std::shared_ptr) by the connection and by every command, reader and transaction
// handle made from it, so none of them can dangle; Close() still ends the attachment at a
// known moment, after which they fail with a clear error instead of touching freed handles.
// Like a Firebird attachment, a session is used by one thread at a time.
//
// Transactions:
// - Explicit: Begin() opens a read-committed read-write transaction (lock timeout 10 s), or,
//   when one is already active, a savepoint inside it. Each level has an id. Committing a
//   level releases its savepoint (level 0: commits the transaction); rolling it back rolls
//   back to its savepoint (level 0: rolls back the transaction). Ending a level ends the
//   levels opened inside it the same way.
// - Implicit: with no explicit transaction, queries run in a read-only read-committed
//   transaction the session keeps open (it sees each committed change as it happens and holds
//   back no garbage collection), other statements in a read-write transaction committed at
//   once.
class Session {
 public:
  explicit Session(const ConnectOptions& options);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Rolls back any explicit transaction, ends the read transaction and detaches. Never throws.
  void Close() noexcept;
  bool IsOpen() const { return static_cast<bool>(attachment_); }
  Firebird::IAttachment* Attachment() const;  // throws zo::Exception when closed
  unsigned Dialect() const { return dialect_; }

  std::uint64_t Begin();
  void Commit(std::uint64_t level);
  void Rollback(std::uint64_t level);
  void RollbackAll();
  bool InTransaction() const { return !levels_.empty(); }
  bool IsActive(std::uint64_t level) const;

  // The explicit transaction, or null when none is active.
  Firebird::ITransaction* ExplicitTransaction() const { return explicit_.get(); }
  // The held read-only transaction, started on first use.
  Firebird::ITransaction* ReadTransaction();
  // A new read-write transaction for one auto-committed statement.
  fb::Transaction StartWriteTransaction();

  // Open cursors register here so that ending their transaction or the attachment closes
  // them first: Firebird's handles must never be used once their parent is gone.
  void Register(Cursor* cursor) { cursors_.push_back(cursor); }
  void Unregister(Cursor* cursor);
  // Closes the Firebird side of the cursors running in `transaction` (all when null).
  void EndCursors(Firebird::ITransaction* transaction, const char* reason) noexcept;

  // Prepared statements kept for reuse on this attachment (see Execution.cpp).
  StatementCache& Statements() { return statements_; }
  // Called before a statement that may change metadata runs: kept statements go, and inside an
  // explicit transaction none are kept until it ends (its DDL may still be rolled back).
  void MetadataChanging() noexcept;
  bool KeepsStatements() const { return statements_.Enabled() && !metadataChangedInTransaction_; }

  void SetTrace(TraceFn trace) { trace_ = std::move(trace); }
  void Trace(const std::string& text) const {
    if (trace_) {
      trace_(text);
    }
  }

 private:
  std::size_t DepthOf(std::uint64_t level) const;  // throws when the level is not active
  void ExecuteInExplicit(const std::string& sql);
  void TransactionEnded() noexcept;

  fb::Ref<Firebird::IProvider> provider_;
  fb::Attachment attachment_;
  unsigned dialect_;
  fb::Transaction read_;
  fb::Transaction explicit_;
  std::vector<std::uint64_t> levels_;  // levels_[0] the transaction, levels_[k] savepoint k
  std::uint64_t nextLevel_ = 1;
  std::vector<Cursor*> cursors_;
  TraceFn trace_;
  StatementCache statements_{DefaultStatementCacheSize()};
  bool metadataChangedInTransaction_ = false;
};

}  // namespace zo::db
