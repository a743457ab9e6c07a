#pragma once

// Internal to platform/db: one field of a fetched row, decoded from the row buffer, and the
// conversions the reader's typed getters apply to it.

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/db/ColumnLayout.h"

namespace zo::db {

enum class FieldKind { Null, Integer, Float, Date, Time, TimeStamp, Boolean, Text, Blob, Other };

struct FieldValue {
  FieldKind kind = FieldKind::Null;
  std::int64_t integer = 0;  // Integer: the stored value; the number is integer * 10^scale
  int scale = 0;
  double number = 0;  // Float; Date/Time/TimeStamp as days since 1899-12-30
  bool boolean = false;
  std::string_view text;  // Text: the bytes (CHAR padding already trimmed)
  ISC_QUAD blobId{};      // Blob: to be read through the cursor
  bool binary = false;    // Text/Blob holding bytes rather than characters
};

// Decodes column `column` of `row` (a buffer laid out as the column says).
FieldValue Decode(const Column& column, const unsigned char* row);

// Conversions; each throws zo::Exception naming the column when the value cannot be given as
// the requested type. NULL converts to 0, false, "" and 0 days.
std::int64_t ToInt64(const FieldValue& value, const Column& column);
std::int32_t ToInt32(const FieldValue& value, const Column& column);
double ToDouble(const FieldValue& value, const Column& column);
bool ToBoolean(const FieldValue& value, const Column& column);
double ToDateTime(const FieldValue& value, const Column& column);
std::string ToString(const FieldValue& value, const Column& column);

}  // namespace zo::db
