#include "platform/db/ColumnLayout.h"

#include <algorithm>

#include <zo/platform/db/DataTypes.h>

namespace zo::db {
namespace {

constexpr unsigned kCharSetOctets = 1;
constexpr unsigned kCharSetUnicodeFss = 3;
constexpr unsigned kCharSetUtf8 = 4;

int TextType(const Column& c, bool fixed) {
  if (c.charSet == kCharSetOctets) {
    return fixed ? TDBXDataTypes::BytesType : TDBXDataTypes::VarBytesType;
  }
  const bool unicode = c.charSet == kCharSetUtf8 || c.charSet == kCharSetUnicodeFss;
  return unicode ? TDBXDataTypes::WideStringType : TDBXDataTypes::AnsiStringType;
}

int IntegerType(const Column& c, int plainType) {
  return c.scale < 0 ? TDBXDataTypes::BcdType : plainType;
}

void Classify(Column& c) {
  c.dbxSubType = TDBXSubDataTypes::NoSubType;
  switch (c.sqlType) {
    case SQL_TEXT:
      c.dbxType = TextType(c, true);
      c.dbxSubType = TDBXSubDataTypes::FixedSubType;
      break;
    case SQL_VARYING:
      c.dbxType = TextType(c, false);
      break;
    case SQL_SHORT:
      c.dbxType = IntegerType(c, TDBXDataTypes::Int16Type);
      break;
    case SQL_LONG:
      c.dbxType = IntegerType(c, TDBXDataTypes::Int32Type);
      break;
    case SQL_INT64:
      c.dbxType = IntegerType(c, TDBXDataTypes::Int64Type);
      break;
    case SQL_FLOAT:
      c.dbxType = TDBXDataTypes::SingleType;
      break;
    case SQL_DOUBLE:
    case SQL_D_FLOAT:
      c.dbxType = TDBXDataTypes::DoubleType;
      break;
    case SQL_TYPE_DATE:
      c.dbxType = TDBXDataTypes::DateType;
      break;
    case SQL_TYPE_TIME:
      c.dbxType = TDBXDataTypes::TimeType;
      break;
    case SQL_TIMESTAMP:
      c.dbxType = TDBXDataTypes::TimeStampType;
      break;
    case SQL_BOOLEAN:
      c.dbxType = TDBXDataTypes::BooleanType;
      break;
    case SQL_BLOB:
      c.dbxType = TDBXDataTypes::BlobType;
      c.dbxSubType = c.subType == isc_blob_text ? TDBXSubDataTypes::MemoSubType
                                                : TDBXSubDataTypes::BinarySubType;
      break;
    case SQL_ARRAY:
      c.dbxType = TDBXDataTypes::ArrayType;
      break;
    default:
      c.dbxType = TDBXDataTypes::UnknownType;
      break;
  }
}

bool SameIgnoringCase(std::string_view a, std::string_view b) {
  // Callers mostly ask with the name as the select list spells it: that needs no folding.
  if (a.size() != b.size()) return false;
  if (a == b) return true;
  return std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
    const auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; };
    return lower(x) == lower(y);
  });
}

}  // namespace

ColumnLayout::ColumnLayout(Firebird::IStatement* statement) {
  fb::Status status;
  auto* s = status.Throwing();
  metadata_ = fb::Ref<Firebird::IMessageMetadata>(statement->getOutputMetadata(s));
  Firebird::IMessageMetadata* const metadata = metadata_.get();
  if (metadata == nullptr) {
    return;
  }
  const unsigned count = metadata->getCount(s);
  columns_.reserve(count);
  for (unsigned i = 0; i < count; ++i) {
    Column c;
    c.name = metadata->getAlias(s, i);
    c.sqlType = metadata->getType(s, i) & ~1u;
    c.subType = metadata->getSubType(s, i);
    c.scale = metadata->getScale(s, i);
    c.length = metadata->getLength(s, i);
    c.charSet = metadata->getCharSet(s, i);
    c.offset = metadata->getOffset(s, i);
    c.nullOffset = metadata->getNullOffset(s, i);
    Classify(c);
    columns_.push_back(std::move(c));
  }
  messageLength_ = metadata->getMessageLength(s);
}

int ColumnLayout::Ordinal(std::string_view name) const {
  const auto it = std::find_if(columns_.begin(), columns_.end(),
                               [name](const Column& c) { return SameIgnoringCase(c.name, name); });
  return it == columns_.end() ? -1 : static_cast<int>(it - columns_.begin());
}

std::string SqlTypeName(const Column& c) {
  switch (c.sqlType) {
    case SQL_TEXT:
      return "CHAR";
    case SQL_VARYING:
      return "VARCHAR";
    case SQL_SHORT:
      return c.scale < 0 ? "NUMERIC" : "SMALLINT";
    case SQL_LONG:
      return c.scale < 0 ? "NUMERIC" : "INTEGER";
    case SQL_INT64:
      return c.scale < 0 ? "NUMERIC" : "BIGINT";
    case SQL_FLOAT:
      return "FLOAT";
    case SQL_DOUBLE:
    case SQL_D_FLOAT:
      return "DOUBLE PRECISION";
    case SQL_TYPE_DATE:
      return "DATE";
    case SQL_TYPE_TIME:
      return "TIME";
    case SQL_TIMESTAMP:
      return "TIMESTAMP";
    case SQL_BOOLEAN:
      return "BOOLEAN";
    case SQL_BLOB:
      return c.subType == isc_blob_text ? "BLOB SUB_TYPE TEXT" : "BLOB";
    case SQL_ARRAY:
      return "ARRAY";
    case SQL_NULL:
      return "NULL";
    default:
      return "type " + std::to_string(c.sqlType);
  }
}

}  // namespace zo::db
