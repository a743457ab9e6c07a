#pragma once

#include <zo/Export.h>

// Questions to the Firebird catalog: keys, column lengths, whether an object exists.

#include <cstdint>
#include <string>

#include <zo/platform/db/DBXConnection.h>

namespace zo {

// The key columns in key order, joined by ",".
ZO_EXPORT std::string GetPrimaryKey(TDBXConnection& connection, const std::string& table);
// The declared length of the column in bytes; 0 when the catalog does not know the column.
ZO_EXPORT int32_t GetFieldLength(TDBXConnection& connection, const std::string& table,
                       const std::string& column);
ZO_EXPORT bool TableExists(TDBXConnection& connection, const std::string& name);  // any letter case
ZO_EXPORT bool StoredProcedureExists(TDBXConnection& connection, const std::string& name);
ZO_EXPORT bool UDFMethodExists(TDBXConnection& connection, const std::string& name);
ZO_EXPORT bool TriggerExists(TDBXConnection& connection, const std::string& name);  // exact name
ZO_EXPORT bool IndexExists(TDBXConnection& connection, const std::string& name);    // exact name
ZO_EXPORT bool GeneratorExists(TDBXConnection& connection, const std::string& name);
ZO_EXPORT bool ColumnExists(TDBXConnection& connection, const std::string& table, const std::string& column);
ZO_EXPORT void CheckTableExist(TDBXConnection& connection, const std::string& table);

}  // namespace zo
