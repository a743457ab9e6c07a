#pragma once

#include <cstdint>
#include <string>

#include <zo/dbstruct/DBStructClasses.h>

// Firebird's description of a field (RDB$FIELDS and the argument tables) turned into the
// structure model's column type or into SQL type text. Internal to schema/.
namespace zo::catalog {

// RDB$FIELD_TYPE codes.
enum TFieldTypeCode : int32_t {
  ftSmallint = 7,
  ftInteger = 8,
  ftFloat = 10,
  ftDFloat = 11,
  ftDate = 12,
  ftTime = 13,
  ftChar = 14,
  ftBigint = 16,
  ftBoolean = 23,
  ftDouble = 27,
  ftTimestamp = 35,
  ftVarchar = 37,
  ftCString = 40,
  ftBlobId = 45,
  ftBlob = 261,
};

struct TCatalogField {
  int32_t type = 0;
  int32_t subType = 0;
  int32_t scale = 0;      // negative for NUMERIC and DECIMAL
  int32_t precision = 0;  // digits of NUMERIC and DECIMAL
  int32_t length = 0;     // characters of a text type
};

// The model's type of a column and its size (the characters of a string, otherwise 0).
struct TModelColumnType {
  TDBRType type;
  int32_t size;
};

TModelColumnType ModelColumnType(const TCatalogField& field);

// The type as a declaration writes it: "INTEGER", "VARCHAR(10)", "NUMERIC(15,2)", "BLOB
// SUB_TYPE 1". Empty for a code Firebird 3 does not declare.
std::string SqlTypeText(const TCatalogField& field);

// Whether the type's text carries a length (CHAR, VARCHAR, CSTRING).
bool HasLength(int32_t fieldType);

}  // namespace zo::catalog
