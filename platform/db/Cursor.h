#pragma once

// Internal to platform/db: the Firebird side of a TDBXReader.

#include <memory>
#include <string>
#include <vector>

#include "platform/db/ColumnLayout.h"
#include "platform/db/FbHandles.h"
#include "platform/db/FieldValue.h"
#include "platform/db/StatementCache.h"

namespace zo::db {

class Session;

// A prepared statement's rows. A statement with a cursor (SELECT) is fetched row by row; one
// with output values but no cursor (EXECUTE PROCEDURE, ... RETURNING) gives its single row;
// one without output gives no rows. Registered with its session, which ends it (End) before
// ending its transaction or the attachment; after that the row already fetched stays readable
// (except blobs) and anything needing Firebird throws zo::Exception with the reason. A statement
// kept for reuse goes back to the session's cache when the cursor ends.
class Cursor {
 public:
  Cursor(std::shared_ptr<Session> session, PreparedStatement statement,
         Firebird::ITransaction* transaction, bool hasCursor);
  ~Cursor();
  Cursor(const Cursor&) = delete;
  Cursor& operator=(const Cursor&) = delete;

  bool Next();
  void Close() noexcept;
  bool RunsIn(Firebird::ITransaction* transaction) const {
    return transaction_.get() == transaction;
  }
  // Releases the Firebird objects; `reason` is what later calls needing them report.
  void End(const char* reason) noexcept;
  const ColumnLayout& Layout() const { return *layout_; }
  // Throws zo::Exception when there is no current row.
  FieldValue Field(int column) const;
  std::string ReadBlob(const FieldValue& value) const;

 private:
  enum class Position { BeforeSingleRow, OnSingleRow, BeforeRows, OnRow, AfterRows };

  std::shared_ptr<Session> session_;
  fb::Ref<Firebird::ITransaction> transaction_;
  PreparedStatement statement_;
  fb::ResultSet resultSet_;
  std::shared_ptr<const ColumnLayout> layout_;  // shared with the statement's cache entry
  std::vector<unsigned char> row_;
  Position position_ = Position::AfterRows;
  const char* endedBecause_ = nullptr;
};

}  // namespace zo::db
