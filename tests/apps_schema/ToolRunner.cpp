#include "tests/apps_schema/ToolRunner.h"

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "tests/support/TempDir.h"

namespace zo::testing {
namespace {

std::string Quote(const std::string& s) {
  std::string quoted = "'";
  for (const char c : s) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

}  // namespace

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

ToolResult RunTool(const std::string& binary, const std::vector<std::string>& args,
                   const std::filesystem::path& cwd, const std::string& input, const ToolEnv& env) {
  const TempDir io;
  std::ofstream(io.File("in"), std::ios::binary) << input;
  std::string command = "cd " + Quote(cwd.string()) + " && env -u ZO_SCHEMA_PASSWORD";
  for (const auto& [name, value] : env) command += " " + name + "=" + Quote(value);
  command += " " + Quote(binary);
  for (const auto& arg : args) command += " " + Quote(arg);
  command +=
      " <" + Quote(io.File("in")) + " >" + Quote(io.File("out")) + " 2>" + Quote(io.File("err"));
  const int status = std::system(command.c_str());
  ToolResult result;
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  result.out = ReadFile(io.File("out"));
  result.err = ReadFile(io.File("err"));
  return result;
}

}  // namespace zo::testing
