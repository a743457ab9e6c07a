#pragma once

#include <zo/Export.h>

#include <cstdint>
#include <string>

#include <zo/core/Exceptions.h>

namespace zo {

// A failure reported by Firebird. The message is Firebird's own formatted text (all lines of
// the status vector), so callers that look for phrases such as "violation of FOREIGN KEY
// constraint" keep working; the primary error code is kept for code that prefers numbers.
class ZO_EXPORT EDatabaseError : public Exception {
 public:
  EDatabaseError(const std::string& message, std::intptr_t errorCode)
      : Exception(message), errorCode_(errorCode) {}

  // The first isc_* code of the status vector (e.g. isc_unique_key_violation), 0 if none.
  std::intptr_t ErrorCode() const { return errorCode_; }
  // A row that would repeat the value of a primary key, a unique constraint or a unique index.
  bool IsUniqueViolation() const;

 private:
  std::intptr_t errorCode_;
};

}  // namespace zo
