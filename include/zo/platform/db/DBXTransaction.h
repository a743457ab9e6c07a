#pragma once

#include <zo/Export.h>

#include <cstdint>
#include <memory>

namespace zo {

namespace db {
class Session;
}

// A handle on one level of the connection's explicit transaction (see TDBXConnection). Made
// by TDBXConnection::BeginTransaction and ended by its Commit/Rollback functions. A handle
// destroyed while its level is still active rolls that level back, so an exception can never
// leave work half-done inside the transaction.
class ZO_EXPORT TDBXTransaction {
 public:
  TDBXTransaction(std::shared_ptr<db::Session> session, std::uint64_t level);
  ~TDBXTransaction();
  TDBXTransaction(const TDBXTransaction&) = delete;
  TDBXTransaction& operator=(const TDBXTransaction&) = delete;

  // False once this level (or a level it was opened inside) has been committed or rolled
  // back, or the connection was closed.
  bool Active() const;

 private:
  friend class TDBXConnection;
  std::shared_ptr<db::Session> session_;
  std::uint64_t level_;
};

}  // namespace zo
