#pragma once

// What the module tests start from: a temporary application root that is also the current
// directory, holding a conn.conf and, on demand, customer directories with their own copy of
// a fresh demo database; and a demo module that records its events and log lines.

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <zo/server/ZoServer.h>
#include "examples/demo/DemoModule.h"
#include "tests/support/DemoDatabase.h"
#include "tests/support/MessageOf.h"

namespace zo::testing {

// One line handed to AddToDataBaseLog.
struct LogLine {
  std::string text;
  TTipoLogger tipo;
  int32_t erro;
  bool operator==(const LogLine&) const = default;
};
void PrintTo(const LogLine& line, std::ostream* os);

// The demo module with its log hook and module events recorded.
class TRecordingModule : public demo::TDemoServerModule {
 public:
  explicit TRecordingModule(const TModuleCreateArgs& args);
  void AddToDataBaseLog(const std::string& text, TTipoLogger tipo, int32_t erro) override;
  void ClearLog() override { ++clearLogCalls; }

  std::vector<LogLine> log;
  std::vector<TModuleEvent> events;
  int clearLogCalls = 0;
};

// A temporary application root made the current directory (and the application root) for the
// test's lifetime; both are restored afterwards.
class ModuleTest : public ::testing::Test {
 protected:
  ModuleTest();
  ~ModuleTest() override;

  const std::filesystem::path& Root() const { return root_.Path(); }
  // Writes Root()/relative with `content` exactly, making its directory.
  void WriteFile(const std::string& relative, const std::string& content) const;
  // The default conn.conf pointing at the demo database `db`.
  void WriteDefaultConf() const;
  // Root()/relative: a copy of a fresh demo database.
  void CopyDemoDatabase(const std::string& relative) const;
  // A demo module of `customer` for `user`, made the way the server makes one.
  std::unique_ptr<TRecordingModule> MakeModule(const std::string& customer = "",
                                               const std::string& user = "ana");

  DemoDatabase db;

 private:
  TempDir root_;
  CurrentDirectory inRoot_{root_.Path()};
};

// A data object's JSON for the wire: class and fields (the "id" is only for references).
nlohmann::json ObjectJson(const std::string& type, nlohmann::json fields);

}  // namespace zo::testing
