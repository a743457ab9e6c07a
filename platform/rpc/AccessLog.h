#pragma once

#include <chrono>
#include <mutex>
#include <string>

#include <zo/platform/rpc/RpcServer.h>

namespace zo::rpc {

// What the access log records of one call.
struct CallRecord {
  const ClientInfo& client;
  const std::string& method;
  std::string customer{};
  std::string user{};
  std::chrono::steady_clock::duration duration{};
  int code = 0;         // 0: success; else the JSON-RPC error code
  std::string error{};  // the error message when code != 0
  StatementTrace statements{};
};

// The server's log: filters by level, formats as text or JSON members, and serialises the
// sink, so that a sink supplied by the application need not be thread-safe.
class Logger {
 public:
  Logger(LogLevel level, LogFormat format, LogSink sink);
  bool Enabled(LogLevel level) const;
  void Write(LogLevel level, const std::string& message) const;
  // The call's access-log line at kInfo and, when it took at least `slow` (and `slow` is not
  // zero), a second entry at kWarning with its statements. Nothing is formatted unless written.
  void WriteCall(const CallRecord& record, std::chrono::milliseconds slow) const;

 private:
  void Emit(const std::string& line) const;

  LogLevel level_;
  LogFormat format_;
  LogSink sink_;
  mutable std::mutex mutex_;
};

// Text: one line, e.g.
// `rpc ws 127.0.0.1:40112 customer=ACME user=ana method=Save 3.201 ms statements=4 ok`.
std::string FormatAccessLine(const CallRecord& record);

}  // namespace zo::rpc
