#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"

namespace zo::testing {

struct ToolResult {
  int exitCode = -1;
  std::string out;
  std::string err;
};

// Runs zo-schema of the demo (or `binary`) in `cwd` with `input` on stdin; ZO_SCHEMA_PASSWORD
// is set only through `env` ("NAME=value" entries). Collects its exit code and both outputs.
inline ToolResult RunSchema(const std::vector<std::string>& args, const std::filesystem::path& cwd,
                            const std::string& input = "", std::vector<std::string> env = {},
                            const std::string& binary = ZO_SCHEMA_BIN) {
  const TempDir io;
  WriteText(io.File("in"), input);
  env.insert(env.begin(), "ZO_SCHEMA_PASSWORD");
  const int code = RunTool(binary, args, {cwd, io.File("in"), io.File("out"), io.File("err"), env},
                           std::chrono::minutes(2));
  return {code, ReadText(io.File("out")), ReadText(io.File("err"))};
}

// The test build of zo-schema over changed demo classes.
inline ToolResult RunChangedSchema(const std::vector<std::string>& args,
                                   const std::filesystem::path& cwd) {
  return RunSchema(args, cwd, "", {}, ZO_SCHEMA_CHANGED_BIN);
}

}  // namespace zo::testing
