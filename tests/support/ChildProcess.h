#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/TempDir.h"

namespace zo::testing {

// Where a child's standard streams go; an empty path means /dev/null.
struct ChildStreams {
  std::filesystem::path cwd{};  // empty: the test's own directory
  std::filesystem::path input{};
  std::filesystem::path output{};
  std::filesystem::path errors{};
  // Changes to the inherited environment: "NAME=value" sets a variable, a bare "NAME" drops it.
  std::vector<std::string> env{};
};

// A child process that never outlives its guard: the destructor kills and reaps it if it is
// still running, so a failed assertion cannot leave a server holding a port or a database.
class ChildProcess {
 public:
  ChildProcess(const std::string& binary, const std::vector<std::string>& args,
               const ChildStreams& streams);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  bool Running();
  pid_t Pid() const { return pid_; }
  void Signal(int signal) const;
  // The exit code once the child has ended within `timeout` (128 + N when signal N killed
  // it); nullopt while it still runs.
  std::optional<int> Wait(std::chrono::milliseconds timeout);

 private:
  bool Reap(bool block);

  pid_t pid_ = 0;
  std::optional<int> exitCode_;
};

// Runs a tool to its end (at most `timeout`, then it is killed) and returns its exit code.
int RunTool(const std::string& binary, const std::vector<std::string>& args,
            const ChildStreams& streams, std::chrono::milliseconds timeout);

}  // namespace zo::testing
