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

}  // namespace zo
