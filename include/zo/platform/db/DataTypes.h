#pragma once

#include <zo/Export.h>

namespace zo {

// Column type codes reported by TDBXReader::GetColumnType, with the values of dbExpress's
// TDBXDataTypes so code written against that layer switches on the same numbers.
struct ZO_EXPORT TDBXDataTypes {
  static constexpr int UnknownType = 0;      // SQL NULL literal, unsupported types
  static constexpr int AnsiStringType = 1;   // CHAR/VARCHAR on a single-byte connection set
  static constexpr int DateType = 2;         // DATE
  static constexpr int BlobType = 3;         // BLOB; the subtype says text or binary
  static constexpr int BooleanType = 4;      // BOOLEAN
  static constexpr int Int16Type = 5;        // SMALLINT
  static constexpr int Int32Type = 6;        // INTEGER
  static constexpr int DoubleType = 7;       // DOUBLE PRECISION
  static constexpr int BcdType = 8;          // NUMERIC/DECIMAL with a scale
  static constexpr int BytesType = 9;        // CHAR(n) CHARACTER SET OCTETS
  static constexpr int TimeType = 10;        // TIME
  static constexpr int DateTimeType = 11;    // (not produced: Firebird timestamps are 24)
  static constexpr int VarBytesType = 15;    // VARCHAR(n) CHARACTER SET OCTETS
  static constexpr int Int64Type = 18;       // BIGINT
  static constexpr int ArrayType = 21;       // ARRAY (not readable through this layer)
  static constexpr int TimeStampType = 24;   // TIMESTAMP
  static constexpr int WideStringType = 26;  // CHAR/VARCHAR on a UTF8 connection
  static constexpr int SingleType = 27;      // FLOAT
};

// Column subtypes reported by TDBXReader::GetColumnSubType (dbExpress TDBXSubDataTypes).
struct ZO_EXPORT TDBXSubDataTypes {
  static constexpr int NoSubType = 0;
  static constexpr int MemoSubType = 22;    // text blob (BLOB SUB_TYPE TEXT)
  static constexpr int BinarySubType = 23;  // binary blob (any other blob subtype)
  static constexpr int FixedSubType = 31;   // CHAR (fixed length) rather than VARCHAR
};

}  // namespace zo
