#include <zo/platform/db/DBXTransaction.h>

#include "platform/db/Session.h"

namespace zo {

TDBXTransaction::TDBXTransaction(std::shared_ptr<db::Session> session, std::uint64_t level)
    : session_(std::move(session)), level_(level) {}

TDBXTransaction::~TDBXTransaction() {
  if (!Active()) {
    return;
  }
  try {
    session_->Rollback(level_);
  } catch (...) {
    // A destructor cannot report; a failed rollback has already ended the level in the
    // session, and the next statement will surface a broken connection.
  }
}

bool TDBXTransaction::Active() const { return session_->IsOpen() && session_->IsActive(level_); }

}  // namespace zo
