#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"

namespace zo::testing {

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
