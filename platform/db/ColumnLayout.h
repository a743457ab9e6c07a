#pragma once

// Internal to platform/db: where each output column of a statement sits in the row buffer and
// what it is.

#include <string>
#include <string_view>
#include <vector>

#include "platform/db/FbApi.h"

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

class ColumnLayout {
 public:
  ColumnLayout() = default;
  explicit ColumnLayout(Firebird::IMessageMetadata* metadata);

  const std::vector<Column>& Columns() const { return columns_; }
  unsigned MessageLength() const { return messageLength_; }
  // Index of the column named `name` ignoring ASCII case, or -1.
  int Ordinal(std::string_view name) const;

 private:
  std::vector<Column> columns_;
  unsigned messageLength_ = 0;
};

// The SQL name of a column's type, for error messages ("INTEGER", "BLOB SUB_TYPE TEXT", ...).
std::string SqlTypeName(const Column& column);

}  // namespace zo::db
