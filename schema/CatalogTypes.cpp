#include "schema/CatalogTypes.h"

#include <fmt/format.h>

namespace zo::catalog {
namespace {

bool IsScaled(const TCatalogField& field) {
  return (field.type == ftSmallint || field.type == ftInteger || field.type == ftBigint) &&
         field.scale < 0;
}

// The digits of a NUMERIC whose precision the catalog left empty (databases of old versions).
int32_t DefaultPrecision(int32_t fieldType) {
  return fieldType == ftSmallint ? 4 : fieldType == ftInteger ? 9 : 18;
}

}  // namespace

// The classes' columns come out of the generator as INTEGER (int64 properties included),
// SMALLINT (enumerations and Booleans), DOUBLE PRECISION, the three date types, CHAR, VARCHAR
// and the two blobs; every other catalog type maps onto the nearest of those, so that a
// database column that holds what its property needs compares as unchanged. A BIGINT is an
// integer (a class never asks for it to be narrowed), a native BOOLEAN an enumeration, a
// NUMERIC a float, a CHAR(n) longer than one character a string of n.
TModelColumnType ModelColumnType(const TCatalogField& field) {
  if (IsScaled(field)) return {TDBRType::dbsFloat, 0};
  switch (field.type) {
    case ftSmallint:
    case ftBoolean:
      return {TDBRType::dbsEnum, 0};
    case ftInteger:
    case ftBigint:
      return {TDBRType::dbsInteger, 0};
    case ftFloat:
    case ftDFloat:
    case ftDouble:
      return {TDBRType::dbsFloat, 0};
    case ftDate:
      return {TDBRType::dbsDate, 0};
    case ftTime:
      return {TDBRType::dbsTime, 0};
    case ftTimestamp:
      return {TDBRType::dbsDateTime, 0};
    case ftChar:
      if (field.length == 1) return {TDBRType::dbsChar, 0};
      return {TDBRType::dbsString, field.length};
    case ftVarchar:
    case ftCString:
      return {TDBRType::dbsString, field.length};
    case ftBlob:
      return {field.subType == 1 ? TDBRType::dbsTextBlob : TDBRType::dbsBinBlob, 0};
    default:
      return {TDBRType::dbsBinBlob, 0};
  }
}

std::string SqlTypeText(const TCatalogField& field) {
  if (IsScaled(field)) {
    const int32_t precision = field.precision > 0 ? field.precision : DefaultPrecision(field.type);
    return fmt::format("{}({},{})", field.subType == 2 ? "DECIMAL" : "NUMERIC", precision,
                       -field.scale);
  }
  switch (field.type) {
    case ftSmallint:
      return "SMALLINT";
    case ftInteger:
      return "INTEGER";
    case ftBigint:
      return "BIGINT";
    case ftFloat:
      return "FLOAT";
    case ftDFloat:
    case ftDouble:
      return "DOUBLE PRECISION";
    case ftDate:
      return "DATE";
    case ftTime:
      return "TIME";
    case ftTimestamp:
      return "TIMESTAMP";
    case ftBoolean:
      return "BOOLEAN";
    case ftChar:
      return fmt::format("CHAR({})", field.length);
    case ftVarchar:
      return fmt::format("VARCHAR({})", field.length);
    case ftCString:
      return fmt::format("CSTRING({})", field.length);
    case ftBlob:
      return fmt::format("BLOB SUB_TYPE {}", field.subType);
    default:
      return "";
  }
}

bool HasLength(int32_t fieldType) {
  return fieldType == ftChar || fieldType == ftVarchar || fieldType == ftCString;
}

}  // namespace zo::catalog
