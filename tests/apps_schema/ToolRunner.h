#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace zo::testing {

struct ToolResult {
  int exitCode = -1;
  std::string out;
  std::string err;
};

using ToolEnv = std::map<std::string, std::string>;

// Runs a built tool binary in `cwd` with `input` on stdin and `env` added to the environment
// (ZO_SCHEMA_PASSWORD is removed first); collects its exit code and both outputs.
ToolResult RunTool(const std::string& binary, const std::vector<std::string>& args,
                   const std::filesystem::path& cwd, const std::string& input = "",
                   const ToolEnv& env = {});

// zo-schema of the demo, and its test build over changed classes.
inline ToolResult RunSchema(const std::vector<std::string>& args, const std::filesystem::path& cwd,
                            const std::string& input = "", const ToolEnv& env = {}) {
  return RunTool(ZO_SCHEMA_BIN, args, cwd, input, env);
}
inline ToolResult RunChangedSchema(const std::vector<std::string>& args,
                                   const std::filesystem::path& cwd) {
  return RunTool(ZO_SCHEMA_CHANGED_BIN, args, cwd);
}

std::string ReadFile(const std::filesystem::path& path);

}  // namespace zo::testing
