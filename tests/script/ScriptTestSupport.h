#pragma once

#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <zo/platform/db/SQLConnection.h>
#include "tests/support/DemoDatabase.h"
#include "tests/support/TempDir.h"

namespace zo::testing {

// A test run inside a fresh temporary directory (the runner's log and conn.conf live in the
// current directory).
class InTempDirTest : public ::testing::Test {
 protected:
  const TempDir& Dir() const { return dir_; }

 private:
  TempDir dir_;
  CurrentDirectory inDir_{dir_.Path()};
};

// Lines of a text file ("" when it is missing).
inline std::vector<std::string> ReadLines(const std::string& path) {
  std::ifstream in(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// Tables made by users (not Firebird's own).
inline int UserTableCount(TSQLConnection& connection) {
  return QueryInt(connection,
                  "select count(*) from RDB$RELATIONS where coalesce(RDB$SYSTEM_FLAG, 0) = 0");
}

}  // namespace zo::testing
