#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tests/support/ChildProcess.h"

namespace zo::testing {

// The SYSDBA password of the packaged Firebird server; throws when it cannot be read.
std::string SysdbaPassword();

// A Firebird server listening on a free loopback port while this object lives. Throws when
// the server is not installed or does not start: scripts/bootstrap.sh installs it, so a
// missing server is a failure, never a reason to skip.
class FirebirdServer {
 public:
  FirebirdServer();
  ~FirebirdServer();
  FirebirdServer(const FirebirdServer&) = delete;
  FirebirdServer& operator=(const FirebirdServer&) = delete;

  std::uint16_t Port() const { return port_; }

 private:
  std::uint16_t port_ = 0;
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace zo::testing
