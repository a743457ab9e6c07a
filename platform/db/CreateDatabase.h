#pragma once

#include <string>

namespace zo {

struct TCreateDatabaseOptions {
  std::string userName = "SYSDBA";
  std::string password = "masterkey";
  int pageSize = 8192;  // 8192 or 16384
  // Off only for throw-away databases (tests): each commit then skips its fsync.
  bool forcedWrites = true;
  std::string defaultCharSet = "ISO8859_1";
};

// Creates a new, empty database in SQL dialect 3 with the options' default character set
// (columns then store Latin-1 text; a connection still reads and writes UTF-8). `database` is
// a file path (embedded engine) or "host[/port]:/path" (a server). Fails with Firebird's text
// when the file exists.
void CreateDatabaseFile(const std::string& database, const TCreateDatabaseOptions& options = {});

}  // namespace zo
