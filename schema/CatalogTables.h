#pragma once

#include <set>
#include <string>

#include <zo/dbstruct/DBStructClasses.h>

// The tables part of the catalog reader (see CatalogReader.h). Internal to schema/.
namespace zo {
class TDBXConnection;
}

namespace zo::catalog {

// Adds the user tables of the database to `module`: normal tables ordered so that a table
// comes before the tables it references (so dropping vanished tables in list order never
// trips over a reference between them), then one extended table per merged class of
// `expected` whose host table exists. `ignoredColumns` holds upper-case "TABLE.COLUMN" names.
void ReadTables(TDBXConnection& connection, const TModuleStruct* expected,
                const std::set<std::string>& ignoredColumns, TModuleStruct& module);

}  // namespace zo::catalog
