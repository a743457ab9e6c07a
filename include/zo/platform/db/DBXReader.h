#pragma once

#include <zo/Export.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <zo/platform/db/DataTypes.h>

namespace zo {

namespace db {
class Cursor;
}

// Forward-only rows of an executed command. Columns are numbered from 0.
//
// Getters convert where it makes sense (GetInt32 of a BIGINT that fits, GetDouble of a
// NUMERIC, GetString of anything) and throw zo::Exception naming the column otherwise. A NULL
// reads as 0, false, "", 0 days or no bytes; IsNull tells it apart.
//
// Text: strings are UTF-8 as Firebird sends them on a UTF8 connection; CHAR values lose the
// trailing spaces Firebird pads them with (VARCHAR values are kept as stored). Numbers read as
// text are decimal (NUMERIC with all its decimals), dates ISO ("2024-05-01",
// "2024-05-01 13:45:00.000", "13:45:00.000"), booleans "True"/"False", text blobs their text.
// Dates and times read as days since 1899-12-30 (the fraction is the time of day).
class ZO_EXPORT TDBXReader {
 public:
  explicit TDBXReader(std::unique_ptr<db::Cursor> cursor);
  ~TDBXReader();
  TDBXReader(const TDBXReader&) = delete;
  TDBXReader& operator=(const TDBXReader&) = delete;

  // Moves to the next row; false when there is none.
  bool Next();
  // Releases the statement now rather than at destruction.
  void Close();

  int ColumnCount() const;
  const std::string& ColumnName(int column) const;
  // Index of the column with that name, ignoring ASCII case; throws zo::Exception if absent.
  int GetOrdinal(std::string_view name) const;
  int GetColumnType(int column) const;     // TDBXDataTypes
  int GetColumnSubType(int column) const;  // TDBXSubDataTypes

  bool IsNull(int column) const;
  std::int32_t GetInt32(int column) const;
  std::int64_t GetInt64(int column) const;
  bool GetBoolean(int column) const;
  double GetDouble(int column) const;
  double GetDateTime(int column) const;
  std::string GetString(int column) const;
  // The raw bytes of a blob or string column.
  std::vector<std::uint8_t> GetBytes(int column) const;

 private:
  struct Value;
  // The field, with a blob already loaded; filled in place because the field's text may point
  // into the value's own blob bytes.
  void Read(int column, Value& value) const;

  std::unique_ptr<db::Cursor> cursor_;
};

}  // namespace zo
