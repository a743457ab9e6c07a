#include "apps/zo-schema/Files.h"

#include <unistd.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include <zo/core/Exceptions.h>

namespace zo::schematool {

namespace fs = std::filesystem;

TCleanup::~TCleanup() {
  for (auto it = paths_.rbegin(); it != paths_.rend(); ++it) {
    std::error_code ec;
    fs::remove_all(*it, ec);
  }
}

fs::path StagingPath(const fs::path& path) {
  return path.parent_path() /
         ("." + path.filename().string() + ".novo-" + std::to_string(::getpid()));
}

std::string ReadTextFile(const std::string& path) {
  if (path == "-") {
    return std::string(std::istreambuf_iterator<char>(std::cin), {});
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) throw Exception("cannot read " + path);
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

void WriteTextFile(const fs::path& path, const std::string& content) {
  const fs::path staging = StagingPath(path);
  TCleanup cleanup;
  cleanup.Add(staging);
  {
    std::ofstream out(staging, std::ios::binary);
    out << content;
    out.close();
    if (!out) throw Exception("cannot write " + path.string());
  }
  fs::rename(staging, path);
  cleanup.Keep();
}

bool IsLocalDatabase(const std::string& database) {
  // "host:/path" and "host/port:/path" name a server.
  return database.find(':') == std::string::npos;
}

}  // namespace zo::schematool
