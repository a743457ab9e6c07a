#include <zo/platform/db/DatabaseError.h>

#include <ibase.h>

namespace zo {

// Decided by code, never by the message: the text changes with the server's language and
// version. A constraint reports isc_unique_key_violation, a plain unique index isc_no_dup.
bool EDatabaseError::IsUniqueViolation() const {
  return errorCode_ == isc_unique_key_violation || errorCode_ == isc_no_dup;
}

}  // namespace zo
