#pragma once

// Internal to platform/db: turns the connection parameters into what Firebird's attach call
// takes.

#include <string>
#include <vector>

#include <zo/platform/db/ConnectionParams.h>

namespace zo::db {

struct ConnectOptions {
  std::string attachString;
  std::vector<unsigned char> dpb;
  unsigned dialect = 3;
};

// Maps Database/Server/ServerRoot (see AttachString), User_Name, Password, RoleName,
// ServerCharSet or CharSet (lc_ctype, default UTF8) and SQLDialect (default 3). Other keys are
// left for whoever reads them. A relative embedded Database opens from `baseDirectory` (empty:
// the current directory).
ConnectOptions BuildConnectOptions(const TConnectionParams& params,
                                   const std::string& baseDirectory = "");

}  // namespace zo::db
