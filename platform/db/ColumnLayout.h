#pragma once

// Internal to platform/db: where each output column of a statement sits in the row buffer and
// what it is.

#include <string>
#include <string_view>
#include <vector>

#include "platform/db/FbHandles.h"

namespace zo::db {

struct Column {
  std::string name;      // the alias, as the select list names it
  unsigned sqlType = 0;  // SQL_* with the nullable bit cleared
  int subType = 0;       // blob subtype
  int scale = 0;         // NUMERIC/DECIMAL: value = stored integer * 10^scale
  unsigned length = 0;   // bytes in the buffer (CHAR: padded length)
  unsigned charSet = 0;  // of text columns, as sent on this connection
  unsigned offset = 0;
  unsigned nullOffset = 0;
  int dbxType = 0;     // TDBXDataTypes
  int dbxSubType = 0;  // TDBXSubDataTypes
};

// Read once per prepared statement: a statement kept for reuse keeps its layout too, so running
// it again asks the engine nothing about its columns.
class ColumnLayout {
 public:
  ColumnLayout() = default;
  // The statement's output columns; no columns when it has no output.
  explicit ColumnLayout(Firebird::IStatement* statement);

  // What the engine fills rows by; null when the statement has no output.
  Firebird::IMessageMetadata* Metadata() const { return metadata_.get(); }
  const std::vector<Column>& Columns() const { return columns_; }
  unsigned MessageLength() const { return messageLength_; }
  // Index of the column named `name` ignoring ASCII case, or -1.
  int Ordinal(std::string_view name) const;

 private:
  fb::Ref<Firebird::IMessageMetadata> metadata_;
  std::vector<Column> columns_;
  unsigned messageLength_ = 0;
};

// The SQL name of a column's type, for error messages ("INTEGER", "BLOB SUB_TYPE TEXT", ...).
std::string SqlTypeName(const Column& column);

}  // namespace zo::db
