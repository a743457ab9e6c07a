#include "tests/script/ScriptTestSupport.h"

#include <fstream>

#include "tests/support/DemoDatabase.h"

namespace zo::testing {

CurrentDirectory::CurrentDirectory(const std::filesystem::path& path)
    : previous_(std::filesystem::current_path()) {
  std::filesystem::current_path(path);
}

CurrentDirectory::~CurrentDirectory() { std::filesystem::current_path(previous_); }

std::vector<std::string> ReadLines(const std::string& path) {
  std::ifstream in(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

void WriteFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

int UserTableCount(TSQLConnection& connection) {
  return QueryInt(connection,
                  "select count(*) from RDB$RELATIONS where coalesce(RDB$SYSTEM_FLAG, 0) = 0");
}

}  // namespace zo::testing
