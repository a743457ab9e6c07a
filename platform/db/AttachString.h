#pragma once

#include <string>

#include <zo/platform/db/ConnectionParams.h>

namespace zo {

// The string Firebird attaches to, from the connection parameters:
// - `Database` alone: a plain path opens through the embedded engine, a relative one from
//   `baseDirectory` (the current directory when that is empty); "host:/path" or
//   "host/port:/path" goes to that server over TCP.
// - with `Server` (host or host/port) and a `Database` that names no server itself:
//   "Server:" + path, where a relative `Database` is first joined to `ServerRoot`, the
//   directory on that server that holds the databases.
// Throws zo::Exception when `Database` is empty.
std::string AttachString(const TConnectionParams& params, const std::string& baseDirectory = "");

}  // namespace zo
