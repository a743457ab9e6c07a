#pragma once

#include <zo/Export.h>

#include <cstdint>
#include <string>
#include <vector>

#include <zo/core/Exceptions.h>

namespace zo {

// What kind of failure a database error is. Decided from Firebird's codes, never from the
// message: the text changes with the server's language and version, and a statement appended
// to it could contain any phrase.
enum class DatabaseErrorCategory {
  ForeignKeyViolation,  // a row refers to a missing row, or is still referred to
  UniqueViolation,      // a row would repeat a primary key, unique constraint or unique index
  LockConflict,         // a lock conflict, deadlock, update conflict or lock time-out
  ObjectExists,         // metadata: a table, index, sequence, ... of that name already exists
  ObjectMissing,        // a table, column, procedure, sequence, ... that does not exist
  ConnectionLost,       // the attachment or the network connection has gone
  Syntax,               // the server's parser rejected the text (SQL error code -104)
  Other,
};

// A failure reported by Firebird. The message is Firebird's own formatted text (all lines of
// the status vector), possibly followed by the statement that failed; the codes of the status
// vector travel with it, so callers decide what kind of failure it was by Category().
class ZO_EXPORT EDatabaseError : public Exception {
 public:
  // From a Firebird status vector (IStatus::getErrors(): isc_arg_* entries up to isc_arg_end).
  EDatabaseError(const std::string& message, const std::intptr_t* statusVector);
  // The same failure told in other words (e.g. with the statement appended): the codes stay.
  EDatabaseError(const std::string& message, const EDatabaseError& cause);

  // The first isc_* code of the status vector (e.g. isc_unique_key_violation), 0 if none.
  std::intptr_t GdsCode() const { return gdsCodes_.empty() ? 0 : gdsCodes_.front(); }
  // Whether the status vector holds this isc_* code anywhere, not only first.
  bool Reports(std::intptr_t gdsCode) const;
  // The five-character SQLSTATE Firebird gives the status (e.g. "23000"); empty if none.
  const std::string& SqlState() const { return sqlState_; }
  DatabaseErrorCategory Category() const { return category_; }
  // A unique violation that names a primary-key or unique constraint; a plain unique index
  // reports the same category without naming a constraint.
  bool IsKeyConstraintViolation() const;

 private:
  std::vector<std::intptr_t> gdsCodes_;
  std::string sqlState_;
  DatabaseErrorCategory category_ = DatabaseErrorCategory::Other;
};

}  // namespace zo
