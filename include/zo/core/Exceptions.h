#pragma once

#include <zo/Export.h>

#include <stdexcept>
#include <string>

namespace zo {

// The one exception type of the library: a message meant for the user (Portuguese for the
// system's own failures, Firebird's text for database failures).
class ZO_EXPORT Exception : public std::runtime_error {
 public:
  explicit Exception(const std::string& message) : std::runtime_error(message) {}
  std::string Message() const { return what(); }
};

// The silent abort: ends the running operation without an error dialog on the client. Raised
// when the client answers a wait-screen command with "cancel".
class ZO_EXPORT EAbort : public Exception {
 public:
  EAbort() : Exception("Operation aborted") {}
};

// A remote call that names no method the server serves (JSON-RPC -32601 on the wire), or
// passes parameters it cannot use (-32602). The message goes to the client verbatim.
class ZO_EXPORT EMethodNotFound : public Exception {
 public:
  using Exception::Exception;
};
class ZO_EXPORT EInvalidParams : public Exception {
 public:
  using Exception::Exception;
};

}  // namespace zo
