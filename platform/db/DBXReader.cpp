#include <zo/platform/db/DBXReader.h>

#include <zo/core/Exceptions.h>
#include "platform/db/Cursor.h"

namespace zo {

// A field plus, for a blob, the bytes its value's text points into.
struct TDBXReader::Value {
  db::FieldValue field;
  std::string blobBytes;
  const db::Column* column = nullptr;
};

TDBXReader::TDBXReader(std::unique_ptr<db::Cursor> cursor) : cursor_(std::move(cursor)) {}

TDBXReader::~TDBXReader() = default;

bool TDBXReader::Next() { return cursor_->Next(); }

void TDBXReader::Close() { cursor_->Close(); }

int TDBXReader::ColumnCount() const { return static_cast<int>(cursor_->Layout().Columns().size()); }

const std::string& TDBXReader::ColumnName(int column) const {
  if (column < 0 || column >= ColumnCount()) {
    throw Exception("Column index " + std::to_string(column) + " out of range");
  }
  return cursor_->Layout().Columns()[static_cast<std::size_t>(column)].name;
}

int TDBXReader::GetOrdinal(std::string_view name) const {
  const int ordinal = cursor_->Layout().Ordinal(name);
  if (ordinal < 0) {
    throw Exception("Column " + std::string(name) + " not found");
  }
  return ordinal;
}

int TDBXReader::GetColumnType(int column) const {
  ColumnName(column);  // range check
  return cursor_->Layout().Columns()[static_cast<std::size_t>(column)].dbxType;
}

int TDBXReader::GetColumnSubType(int column) const {
  ColumnName(column);
  return cursor_->Layout().Columns()[static_cast<std::size_t>(column)].dbxSubType;
}

void TDBXReader::Read(int column, Value& value) const {
  ColumnName(column);
  value.column = &cursor_->Layout().Columns()[static_cast<std::size_t>(column)];
  value.field = cursor_->Field(column);
  if (value.field.kind == db::FieldKind::Blob) {
    value.blobBytes = cursor_->ReadBlob(value.field);
    value.field.kind = db::FieldKind::Text;
    value.field.text = value.blobBytes;
  }
}

bool TDBXReader::IsNull(int column) const {
  ColumnName(column);
  return cursor_->Field(column).kind == db::FieldKind::Null;
}

std::int32_t TDBXReader::GetInt32(int column) const {
  Value v;
  Read(column, v);
  return db::ToInt32(v.field, *v.column);
}

std::int64_t TDBXReader::GetInt64(int column) const {
  Value v;
  Read(column, v);
  return db::ToInt64(v.field, *v.column);
}

bool TDBXReader::GetBoolean(int column) const {
  Value v;
  Read(column, v);
  return db::ToBoolean(v.field, *v.column);
}

double TDBXReader::GetDouble(int column) const {
  Value v;
  Read(column, v);
  return db::ToDouble(v.field, *v.column);
}

double TDBXReader::GetDateTime(int column) const {
  Value v;
  Read(column, v);
  return db::ToDateTime(v.field, *v.column);
}

std::string TDBXReader::GetString(int column) const {
  Value v;
  Read(column, v);
  if (!v.blobBytes.empty()) {
    return std::move(v.blobBytes);  // spare a copy of a big text
  }
  return db::ToString(v.field, *v.column);
}

std::vector<std::uint8_t> TDBXReader::GetBytes(int column) const {
  Value v;
  Read(column, v);
  switch (v.field.kind) {
    case db::FieldKind::Null:
      return {};
    case db::FieldKind::Text:
      return {v.field.text.begin(), v.field.text.end()};
    default:
      throw Exception("Column " + v.column->name + " (" + db::SqlTypeName(*v.column) +
                      ") cannot be read as bytes");
  }
}

}  // namespace zo
