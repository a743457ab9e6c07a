#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <zo/platform/db/SQLConnection.h>
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

namespace zo::testing {

// Each test gets a copy of one template database (created once per program run, forced
// writes off) in its own temporary directory.
class SqlLayerTest : public ::testing::Test {
 protected:
  SqlLayerTest();

  // Sets the parameters for this test's database and opens `conn`.
  void Open(TSQLConnection& conn) const;
  const std::string& DatabasePath() const { return database_; }

  TempDir dir_;
  std::string database_;
  TSQLConnection conn_;
};

void Update(TSQLConnection& conn, const std::string& sql);
std::int64_t UpdateCounting(TSQLConnection& conn, const std::string& sql);
std::unique_ptr<TDBXReader> Query(TSQLConnection& conn, const std::string& sql);
// The first column of the first row as text.
std::string Scalar(TSQLConnection& conn, const std::string& sql);

// Creates a table holding every column type the reader handles, writes a row of values and a
// row of NULLs, and checks what comes back. Used for the embedded engine and the server.
void CheckRoundTripOfEveryType(TSQLConnection& conn);

}  // namespace zo::testing
