#pragma once

#include <string>
#include <vector>

#include <zo/platform/db/ConnectionParams.h>
#include "platform/db/CreateDatabase.h"

namespace zo {

// The database component's parameter list holds either connection parameters, as name=value
// lines ("user_name=sysdba", "password=...", "lc_ctype=UTF8"), or the clauses of a database
// creation, as keyword and value ("user \"SYSDBA\"", "password \"...\"", "page_size 8192",
// "default character set ISO8859_1"). These turn either form into what the SQL layer takes.

// The creation options of a clause list. Databases are made with the default character set
// ISO8859_1 unless a clause names another. Throws zo::Exception on a clause it does not know.
TCreateDatabaseOptions CreationOptions(const std::vector<std::string>& params);

// The parameters to attach to `databaseName` with: name=value lines are passed on as they
// are (lc_ctype becoming the SQL layer's CharSet), creation clauses give the user name and
// password, and the dialect is always stated.
TConnectionParams AttachParams(const std::string& databaseName, int sqlDialect,
                               const std::vector<std::string>& params);

}  // namespace zo
