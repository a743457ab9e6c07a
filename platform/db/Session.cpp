#include "platform/db/Session.h"

#include <algorithm>

#include <zo/core/Exceptions.h>
#include "platform/db/Cursor.h"

namespace zo::db {
namespace {

using Firebird::IXpbBuilder;

// Read committed with record versions: a read never waits for a writer.
const std::vector<unsigned char>& ReadOnlyTpb() {
  static const std::vector<unsigned char> tpb = fb::ParamBlock(IXpbBuilder::TPB)
                                                    .Tag(isc_tpb_read)
                                                    .Tag(isc_tpb_read_committed)
                                                    .Tag(isc_tpb_rec_version)
                                                    .Bytes();
  return tpb;
}

// Waits for a locked row at most 10 seconds, so a conflict is an error and never a hang.
const std::vector<unsigned char>& ReadWriteTpb() {
  static const std::vector<unsigned char> tpb = fb::ParamBlock(IXpbBuilder::TPB)
                                                    .Tag(isc_tpb_write)
                                                    .Tag(isc_tpb_read_committed)
                                                    .Tag(isc_tpb_rec_version)
                                                    .Tag(isc_tpb_wait)
                                                    .Int(isc_tpb_lock_timeout, 10)
                                                    .Bytes();
  return tpb;
}

std::string SavepointName(std::size_t depth) { return "ZO_SP_" + std::to_string(depth); }

}  // namespace

Session::Session(const ConnectOptions& options)
    : provider_(fb::Master()->getDispatcher()), dialect_(options.dialect) {
  fb::Status status;
  attachment_ = fb::Attachment(
      provider_->attachDatabase(status.Throwing(), options.attachString.c_str(),
                                static_cast<unsigned>(options.dpb.size()), options.dpb.data()));
}

Session::~Session() { Close(); }

void Session::Close() noexcept {
  EndCursors(nullptr, "The database connection was closed");
  levels_.clear();
  explicit_.Reset();
  read_.Reset();
  statements_.Clear();  // statements are freed before their attachment goes
  attachment_.Reset();
}

Firebird::IAttachment* Session::Attachment() const {
  if (!attachment_) {
    throw Exception("The database connection is not open");
  }
  return attachment_.get();
}

Firebird::ITransaction* Session::ReadTransaction() {
  if (!read_) {
    const auto& tpb = ReadOnlyTpb();
    fb::Status status;
    read_ = fb::Transaction(Attachment()->startTransaction(
        status.Throwing(), static_cast<unsigned>(tpb.size()), tpb.data()));
  }
  return read_.get();
}

fb::Transaction Session::StartWriteTransaction() {
  const auto& tpb = ReadWriteTpb();
  fb::Status status;
  return fb::Transaction(Attachment()->startTransaction(
      status.Throwing(), static_cast<unsigned>(tpb.size()), tpb.data()));
}

std::uint64_t Session::Begin() {
  if (levels_.empty()) {
    explicit_ = StartWriteTransaction();
  } else {
    ExecuteInExplicit("SAVEPOINT " + SavepointName(levels_.size()));
  }
  levels_.push_back(nextLevel_);
  return nextLevel_++;
}

bool Session::IsActive(std::uint64_t level) const {
  return std::find(levels_.begin(), levels_.end(), level) != levels_.end();
}

std::size_t Session::DepthOf(std::uint64_t level) const {
  const auto it = std::find(levels_.begin(), levels_.end(), level);
  if (it == levels_.end()) {
    throw Exception("The transaction is no longer active");
  }
  return static_cast<std::size_t>(it - levels_.begin());
}

void Session::Commit(std::uint64_t level) {
  const std::size_t depth = DepthOf(level);
  if (depth == 0) {
    EndCursors(explicit_.get(), "The reader's transaction has ended");
    // A failed commit leaves the transaction active, so the caller can still roll it back.
    explicit_.EndWith([](Firebird::ITransaction* t, fb::ThrowStatus* s) { t->commit(s); });
    TransactionEnded();
  } else {
    ExecuteInExplicit("RELEASE SAVEPOINT " + SavepointName(depth));
  }
  levels_.resize(depth);
}

void Session::Rollback(std::uint64_t level) {
  const std::size_t depth = DepthOf(level);
  if (depth == 0) {
    // Whatever Firebird answers, the transaction is over: a failed rollback still releases it.
    EndCursors(explicit_.get(), "The reader's transaction has ended");
    levels_.clear();
    TransactionEnded();
    fb::Transaction ending = std::move(explicit_);
    ending.EndWith([](Firebird::ITransaction* t, fb::ThrowStatus* s) { t->rollback(s); });
    return;
  }
  // Rolling back to a savepoint keeps it; release it so the level is really gone.
  ExecuteInExplicit("ROLLBACK TO SAVEPOINT " + SavepointName(depth));
  ExecuteInExplicit("RELEASE SAVEPOINT " + SavepointName(depth) + " ONLY");
  levels_.resize(depth);
}

void Session::RollbackAll() {
  if (!levels_.empty()) {
    Rollback(levels_.front());
  }
}

void Session::Unregister(Cursor* cursor) {
  cursors_.erase(std::remove(cursors_.begin(), cursors_.end(), cursor), cursors_.end());
}

void Session::EndCursors(Firebird::ITransaction* transaction, const char* reason) noexcept {
  for (Cursor* cursor : cursors_) {
    if (transaction == nullptr || cursor->RunsIn(transaction)) {
      cursor->End(reason);
    }
  }
}

void Session::MetadataChanging() noexcept {
  statements_.Clear();
  if (InTransaction()) metadataChangedInTransaction_ = true;
}

void Session::TransactionEnded() noexcept {
  if (metadataChangedInTransaction_) {
    statements_.Clear();
    metadataChangedInTransaction_ = false;
  }
}

void Session::ExecuteInExplicit(const std::string& sql) {
  fb::Status status;
  Attachment()->execute(status.Throwing(), explicit_.get(), 0, sql.c_str(), dialect_, nullptr,
                        nullptr, nullptr, nullptr);
}

}  // namespace zo::db
