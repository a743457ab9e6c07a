#pragma once

#include <string>

#include <zo/core/Text.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/DBXReader.h>

// Running the catalog reader's queries. Internal to schema/.
namespace zo::catalog {

// Runs a query and calls `row` with the reader positioned on each row in turn.
template <class Row>
void ForEachRow(TDBXConnection& connection, const std::string& sql, Row row) {
  auto command = connection.CreateCommand();
  command->SetText(sql);
  const auto reader = command->ExecuteQuery();
  while (reader->Next()) row(*reader);
}

// A catalog name: the system tables keep names in fixed-length CHAR columns, padded with
// blanks.
inline std::string NameAt(const TDBXReader& reader, int column) {
  return text::Trim(reader.GetString(column));
}

// A SMALLINT or INTEGER of the catalog; NULL reads as `fallback`.
inline int IntAt(const TDBXReader& reader, int column, int fallback = 0) {
  return reader.IsNull(column) ? fallback : reader.GetInt32(column);
}

}  // namespace zo::catalog
