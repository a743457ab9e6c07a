#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <zo/platform/db/SQLConnection.h>
#include "tests/support/TempDir.h"

namespace zo::testing {

// Makes `path` the current directory for the object's lifetime.
class CurrentDirectory {
 public:
  explicit CurrentDirectory(const std::filesystem::path& path);
  ~CurrentDirectory();
  CurrentDirectory(const CurrentDirectory&) = delete;
  CurrentDirectory& operator=(const CurrentDirectory&) = delete;

 private:
  std::filesystem::path previous_;
};

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
std::vector<std::string> ReadLines(const std::string& path);
void WriteFile(const std::string& path, const std::string& content);

// Tables made by users (not Firebird's own).
int UserTableCount(TSQLConnection& connection);

}  // namespace zo::testing
