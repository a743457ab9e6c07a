#include "platform/db/FieldValue.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include <zo/core/Dates.h>
#include <zo/core/Exceptions.h>

namespace zo::db {
namespace {

// Firebird counts dates from 1858-11-17 and times in 1/10000 s; the layer counts days from
// 1899-12-30 with millisecond resolution (the fraction is the time of day).
constexpr int kFirebirdDayOf18991230 = 15018;
constexpr double kMsPerDay = 86400000.0;

template <class T>
T Load(const unsigned char* at) {
  T value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

double DaysOf(ISC_DATE date) { return static_cast<double>(date - kFirebirdDayOf18991230); }
double FractionOf(ISC_TIME time) { return (time / 10) / kMsPerDay; }

std::string_view TextOf(const Column& c, const unsigned char* at) {
  if (c.sqlType == SQL_VARYING) {
    return {reinterpret_cast<const char*>(at + 2), Load<std::uint16_t>(at)};
  }
  std::string_view text(reinterpret_cast<const char*>(at), c.length);
  if (c.charSet != 1) {  // Firebird pads CHAR with spaces; OCTETS is binary and kept whole
    text = text.substr(0, text.find_last_not_of(' ') + 1);
  }
  return text;
}

[[noreturn]] void Impossible(const Column& c, const char* wanted) {
  throw Exception("Column " + c.name + " (" + SqlTypeName(c) + ") cannot be read as " + wanted);
}

std::int64_t PowerOfTen(int exponent) {
  std::int64_t p = 1;
  while (exponent-- > 0) {
    p *= 10;
  }
  return p;
}

std::string Trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) {
    return {};
  }
  return std::string(text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1));
}

std::int64_t ParseInteger(std::string_view text) {
  const std::string trimmed = Trimmed(text);
  std::int64_t value = 0;
  const char* end = trimmed.data() + trimmed.size();
  const auto [ptr, ec] = std::from_chars(trimmed.data(), end, value);
  if (trimmed.empty() || ec != std::errc() || ptr != end) {
    throw Exception("'" + std::string(text) + "' is not a valid integer value");
  }
  return value;
}

double ParseDouble(std::string_view text) {
  const std::string trimmed = Trimmed(text);
  double value = 0;
  const char* end = trimmed.data() + trimmed.size();
  const auto [ptr, ec] = std::from_chars(trimmed.data(), end, value);
  if (trimmed.empty() || ec != std::errc() || ptr != end) {
    throw Exception("'" + std::string(text) + "' is not a valid floating point value");
  }
  return value;
}

std::string DecimalText(std::int64_t value, int scale) {
  if (scale >= 0) {
    return std::to_string(value) + std::string(static_cast<std::size_t>(scale), '0');
  }
  const std::size_t places = static_cast<std::size_t>(-scale);
  // Work on the magnitude as unsigned so that INT64_MIN has one.
  const std::uint64_t magnitude =
      value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
  std::string digits = std::to_string(magnitude);
  if (digits.size() <= places) {
    digits.insert(0, places - digits.size() + 1, '0');
  }
  digits.insert(digits.size() - places, 1, '.');
  return (value < 0 ? "-" : "") + digits;
}

std::string DoubleText(double value) {
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

}  // namespace

FieldValue Decode(const Column& c, const unsigned char* row) {
  FieldValue v;
  if (Load<short>(row + c.nullOffset) != 0) {
    return v;  // FieldKind::Null
  }
  const unsigned char* at = row + c.offset;
  v.scale = c.scale;
  switch (c.sqlType) {
    case SQL_TEXT:
    case SQL_VARYING:
      v.kind = FieldKind::Text;
      v.text = TextOf(c, at);
      v.binary = c.charSet == 1;
      break;
    case SQL_SHORT:
      v.kind = FieldKind::Integer;
      v.integer = Load<std::int16_t>(at);
      break;
    case SQL_LONG:
      v.kind = FieldKind::Integer;
      v.integer = Load<std::int32_t>(at);
      break;
    case SQL_INT64:
      v.kind = FieldKind::Integer;
      v.integer = Load<std::int64_t>(at);
      break;
    case SQL_FLOAT:
      v.kind = FieldKind::Float;
      v.number = Load<float>(at);
      break;
    case SQL_DOUBLE:
    case SQL_D_FLOAT:
      v.kind = FieldKind::Float;
      v.number = Load<double>(at);
      break;
    case SQL_TYPE_DATE:
      v.kind = FieldKind::Date;
      v.number = DaysOf(Load<ISC_DATE>(at));
      break;
    case SQL_TYPE_TIME:
      v.kind = FieldKind::Time;
      v.number = FractionOf(Load<ISC_TIME>(at));
      break;
    case SQL_TIMESTAMP: {
      const auto ts = Load<ISC_TIMESTAMP>(at);
      v.kind = FieldKind::TimeStamp;
      v.number = DaysOf(ts.timestamp_date) + FractionOf(ts.timestamp_time);
      break;
    }
    case SQL_BOOLEAN:
      v.kind = FieldKind::Boolean;
      v.boolean = Load<FB_BOOLEAN>(at) != 0;
      break;
    case SQL_BLOB:
      v.kind = FieldKind::Blob;
      v.blobId = Load<ISC_QUAD>(at);
      v.binary = c.subType != isc_blob_text;
      break;
    default:
      v.kind = FieldKind::Other;
      break;
  }
  return v;
}

std::int64_t ToInt64(const FieldValue& v, const Column& c) {
  switch (v.kind) {
    case FieldKind::Null:
      return 0;
    case FieldKind::Integer: {
      if (v.scale == 0) {
        return v.integer;
      }
      const std::int64_t divisor = PowerOfTen(-v.scale);
      if (v.scale > 0 || v.integer % divisor != 0) {
        Impossible(c, "an integer (it has a fraction; read it as a double)");
      }
      return v.integer / divisor;
    }
    case FieldKind::Float:
      if (std::trunc(v.number) != v.number || std::fabs(v.number) > 9.2e18) {
        Impossible(c, "an integer (it has a fraction or is too large)");
      }
      return static_cast<std::int64_t>(v.number);
    case FieldKind::Boolean:
      return v.boolean ? 1 : 0;
    case FieldKind::Text:
      if (!v.binary) {
        return ParseInteger(v.text);
      }
      [[fallthrough]];
    default:
      Impossible(c, "an integer");
  }
}

std::int32_t ToInt32(const FieldValue& v, const Column& c) {
  const std::int64_t value = ToInt64(v, c);
  if (value < std::numeric_limits<std::int32_t>::min() ||
      value > std::numeric_limits<std::int32_t>::max()) {
    throw Exception("Column " + c.name + ": value " + std::to_string(value) +
                    " does not fit in a 32-bit integer");
  }
  return static_cast<std::int32_t>(value);
}

double ToDouble(const FieldValue& v, const Column& c) {
  switch (v.kind) {
    case FieldKind::Null:
      return 0;
    case FieldKind::Integer:
      return v.scale < 0
                 ? static_cast<double>(v.integer) / static_cast<double>(PowerOfTen(-v.scale))
                 : static_cast<double>(v.integer * PowerOfTen(v.scale));
    case FieldKind::Float:
    case FieldKind::Date:
    case FieldKind::Time:
    case FieldKind::TimeStamp:
      return v.number;
    case FieldKind::Boolean:
      return v.boolean ? 1 : 0;
    case FieldKind::Text:
      if (!v.binary) {
        return ParseDouble(v.text);
      }
      [[fallthrough]];
    default:
      Impossible(c, "a floating point number");
  }
}

bool ToBoolean(const FieldValue& v, const Column& c) {
  switch (v.kind) {
    case FieldKind::Null:
      return false;
    case FieldKind::Boolean:
      return v.boolean;
    case FieldKind::Integer:
      return v.integer != 0;
    case FieldKind::Float:
      return v.number != 0;
    case FieldKind::Text: {
      const std::string text = Trimmed(v.text);
      if (text == "1" || text == "true" || text == "True" || text == "TRUE") {
        return true;
      }
      if (text == "0" || text == "false" || text == "False" || text == "FALSE") {
        return false;
      }
      throw Exception("'" + std::string(v.text) + "' is not a valid boolean value");
    }
    default:
      Impossible(c, "a boolean");
  }
}

double ToDateTime(const FieldValue& v, const Column& c) {
  switch (v.kind) {
    case FieldKind::Null:
      return 0;
    case FieldKind::Date:
    case FieldKind::Time:
    case FieldKind::TimeStamp:
    case FieldKind::Float:
      return v.number;
    case FieldKind::Text:
      if (!v.binary) {
        return dates::ParseIso(Trimmed(v.text));
      }
      [[fallthrough]];
    default:
      Impossible(c, "a date");
  }
}

std::string ToString(const FieldValue& v, const Column& c) {
  switch (v.kind) {
    case FieldKind::Null:
      return {};
    case FieldKind::Integer:
      return DecimalText(v.integer, v.scale);
    case FieldKind::Float:
      return DoubleText(v.number);
    case FieldKind::Date:
      return dates::FormatDate(v.number);
    case FieldKind::Time:
      return dates::FormatTime(v.number);
    case FieldKind::TimeStamp:
      return dates::FormatDateTime(v.number);
    case FieldKind::Boolean:
      return v.boolean ? "True" : "False";
    case FieldKind::Text:
      return std::string(v.text);
    default:
      Impossible(c, "text");
  }
}

}  // namespace zo::db
