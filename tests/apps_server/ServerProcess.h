#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
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

std::string ReadText(const std::filesystem::path& path);

// zo-server on a port of its own choosing (--port 0), serving the application root `root`.
// The constructor returns once the server says where it listens, and throws otherwise.
class ZoServerProcess {
 public:
  ZoServerProcess(const std::filesystem::path& root, const std::vector<std::string>& extraArgs);
  ~ZoServerProcess();  // stops it (SIGTERM, then SIGKILL) if Stop() was not called
  ZoServerProcess(const ZoServerProcess&) = delete;
  ZoServerProcess& operator=(const ZoServerProcess&) = delete;

  std::uint16_t Port() const { return port_; }
  pid_t Pid() const { return process_.Pid(); }
  // SIGTERM and the exit code; nullopt when the server did not end within the grace time.
  std::optional<int> Stop();
  std::string Output() const { return ReadText(outputFile_); }
  std::string Log() const { return ReadText(logFile_); }
  // True once the server's log holds `text` at least `times` times; polls for at most
  // `timeout`.
  bool WaitForLog(const std::string& text, std::chrono::milliseconds timeout, int times = 1) const;
  int CountInLog(const std::string& text) const;

 private:
  std::uint16_t WaitUntilListening();

  TempDir io_;  // the server's stdout and log, kept apart from the application root
  std::filesystem::path outputFile_;
  std::filesystem::path logFile_;
  ChildProcess process_;
  std::uint16_t port_ = 0;
};

}  // namespace zo::testing
