#pragma once

#include <chrono>
#include <mutex>
#include <string>

#include <zo/platform/rpc/RpcServer.h>

namespace zo::rpc {

// The server's log: filters by level and serialises the sink, so that a sink supplied by the
// application need not be thread-safe.
class Logger {
 public:
  Logger(LogLevel level, LogSink sink);
  bool Enabled(LogLevel level) const;
  void Write(LogLevel level, const std::string& line) const;

 private:
  LogLevel level_;
  LogSink sink_;
  mutable std::mutex mutex_;
};

// What the access log records of one call.
struct CallRecord {
  const ClientInfo& client;
  const std::string& method;
  std::string customer{};
  std::string user{};
  std::chrono::steady_clock::duration duration{};
  int code = 0;          // 0: success; else the JSON-RPC error code
  std::string error{};   // the error message when code != 0
};

// One line, e.g. `rpc ws 127.0.0.1:40112 customer=ACME user=ana method=Save 3.201 ms ok`.
std::string FormatAccessLine(const CallRecord& record);

}  // namespace zo::rpc
