#include "platform/db/AttachString.h"

#include <cctype>
#include <filesystem>

#include <zo/core/Exceptions.h>

namespace zo {
namespace {

bool IsDriveLetterPath(const std::string& path) {
  return path.size() >= 2 && path[1] == ':' && std::isalpha(static_cast<unsigned char>(path[0]));
}

// "host:/path", "host/port:C:\path": a colon that is not a drive letter's.
bool NamesServer(const std::string& database) {
  const auto colon = database.find(':');
  return colon != std::string::npos && !(colon == 1 && IsDriveLetterPath(database));
}

bool IsAbsolute(const std::string& path) {
  return (!path.empty() && (path[0] == '/' || path[0] == '\\')) || IsDriveLetterPath(path);
}

// Joins on the server's own separator: a root written with backslashes is a Windows server.
std::string JoinOnServer(const std::string& root, const std::string& relative) {
  const bool windows = root.find('\\') != std::string::npos && root.find('/') == std::string::npos;
  const char separator = windows ? '\\' : '/';
  if (root.back() == '/' || root.back() == '\\') {
    return root + relative;
  }
  return root + separator + relative;
}

}  // namespace

std::string AttachString(const TConnectionParams& params, const std::string& baseDirectory) {
  const std::string database = params.Values("Database");
  if (database.empty()) {
    throw Exception("Connection parameter Database is empty");
  }
  const std::string server = params.Values("Server");
  if (NamesServer(database)) {
    return database;
  }
  if (server.empty()) {
    const bool resolve = !baseDirectory.empty() && !IsAbsolute(database);
    return resolve ? (std::filesystem::path(baseDirectory) / database).string() : database;
  }
  const std::string root = params.Values("ServerRoot");
  const bool resolve = !root.empty() && !IsAbsolute(database);
  return server + ":" + (resolve ? JoinOnServer(root, database) : database);
}

}  // namespace zo
