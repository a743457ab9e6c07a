#include <zo/schema/CatalogReader.h>

#include <algorithm>
#include <limits>

#include <zo/core/Text.h>
#include "schema/CatalogQuery.h"
#include "schema/CatalogRoutines.h"
#include "schema/CatalogTables.h"

namespace zo {

std::unique_ptr<TModuleStruct> ReadDatabaseStruct(TDBXConnection& connection,
                                                  const TModuleStruct* expected,
                                                  const TCatalogReadOptions& options) {
  std::set<std::string> ignoredColumns;
  for (const auto& name : options.ignoredColumns) ignoredColumns.insert(text::UpperCase(name));

  auto module = std::make_unique<TModuleStruct>();
  catalog::ReadTables(connection, expected, ignoredColumns, *module);
  catalog::ReadProcedures(connection, *module);
  catalog::ReadTriggers(connection, *module);
  catalog::ReadExternalFunctions(connection, *module);
  return module;
}

TOwnedStructs<TGeneratorStruct> ReadSequences(TDBXConnection& connection) {
  TOwnedStructs<TGeneratorStruct> sequences;
  catalog::ForEachRow(connection,
                      "select rdb$generator_name from rdb$generators "
                      "where coalesce(rdb$system_flag, 0) = 0 order by rdb$generator_name",
                      [&](const TDBXReader& row) {
                        auto sequence = std::make_unique<TGeneratorStruct>();
                        sequence->setName(catalog::NameAt(row, 0));
                        sequences.push_back(std::move(sequence));
                      });
  for (auto& sequence : sequences) {
    // A quoted name keeps a lower-case or unusual sequence name intact.
    const std::string quoted = "\"" + text::ReplaceAll(sequence->Name(), "\"", "\"\"") + "\"";
    catalog::ForEachRow(connection, "select gen_id(" + quoted + ", 0) from rdb$database",
                        [&](const TDBXReader& row) {
                          const int64_t value = std::clamp<int64_t>(
                              row.GetInt64(0), std::numeric_limits<int32_t>::min(),
                              std::numeric_limits<int32_t>::max());
                          sequence->SetValue(static_cast<int32_t>(value));
                        });
  }
  return sequences;
}

}  // namespace zo
