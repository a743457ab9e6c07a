#pragma once

#include <zo/Export.h>

// Single values read from the database: counts, new identifiers, one column of one row.

#include <cstdint>
#include <string>
#include <variant>

#include <zo/core/BaseDataObject.h>
#include <zo/core/Rtti.h>
#include <zo/platform/db/DBXConnection.h>

namespace zo {

// A single value read from a column. Empty (std::monostate) when no row matched or the column
// is NULL. Strings (text blobs included) are UTF-8; SMALLINT and INTEGER give int32_t, BIGINT
// int64_t, floating and scaled numbers double, DATE/TIME/TIMESTAMP double days since
// 1899-12-30.
using TVariant = std::variant<std::monostate, std::string, bool, int32_t, int64_t, double>;

ZO_EXPORT int32_t GetCount(TDBXConnection& connection, TDataObjectClass cls, const std::string& condition);
// Kept as an empty operation: always 0, without touching the database.
ZO_EXPORT int32_t GetMax(TDBXConnection& connection, const TRttiProperty* prop, const std::string& condition);
// A new identifier from the table's generator GEN_<table>.
ZO_EXPORT int32_t Novocodigo(TDBXConnection& connection, const std::string& table);
ZO_EXPORT TVariant GetValueFromField(TDBXConnection& connection, int32_t id, const std::string& table,
                           const std::string& column);
ZO_EXPORT void GetValueFromField2(TDBXConnection& connection, int32_t id, const std::string& table,
                        const std::string& column, TVariant& value);
// `condition` is SQL over column names and is used as given.
ZO_EXPORT TVariant GetValueFromFieldByCondition(TDBXConnection& connection, const std::string& table,
                                      const std::string& column, const std::string& condition);

}  // namespace zo
