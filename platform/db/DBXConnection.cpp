#include <zo/platform/db/DBXConnection.h>

#include <zo/core/Exceptions.h>
#include "platform/db/Session.h"

namespace zo {
namespace {

TDBXTransaction& Require(const std::unique_ptr<TDBXTransaction>& transaction) {
  if (!transaction) {
    throw Exception("No transaction to end: the transaction handle is empty");
  }
  return *transaction;
}

}  // namespace

db::Session& TDBXConnection::OpenSession() const {
  if (!session_ || !session_->IsOpen()) {
    throw Exception("The database connection is not open");
  }
  return *session_;
}

bool TDBXConnection::IsOpen() const { return session_ && session_->IsOpen(); }

std::unique_ptr<TDBXCommand> TDBXConnection::CreateCommand() {
  OpenSession();
  return std::make_unique<TDBXCommand>(session_);
}

std::unique_ptr<TDBXTransaction> TDBXConnection::BeginTransaction() {
  const std::uint64_t level = OpenSession().Begin();
  return std::make_unique<TDBXTransaction>(session_, level);
}

void TDBXConnection::CommitFreeAndNil(std::unique_ptr<TDBXTransaction>& transaction) {
  const TDBXTransaction& handle = Require(transaction);
  handle.session_->Commit(handle.level_);
  transaction.reset();
}

void TDBXConnection::RollbackFreeAndNil(std::unique_ptr<TDBXTransaction>& transaction) {
  Require(transaction);
  // The handle goes whatever happens: after a failed rollback there is nothing left to retry.
  const std::unique_ptr<TDBXTransaction> ending = std::move(transaction);
  ending->session_->Rollback(ending->level_);
}

void TDBXConnection::RollbackIncompleteFreeAndNil(std::unique_ptr<TDBXTransaction>& transaction) {
  const std::unique_ptr<TDBXTransaction> ending = std::move(transaction);
  if (ending && ending->Active()) {
    ending->session_->Rollback(ending->level_);
  }
}

void TDBXConnection::RollbackAll() { OpenSession().RollbackAll(); }

bool TDBXConnection::InTransaction() const { return IsOpen() && session_->InTransaction(); }

}  // namespace zo
