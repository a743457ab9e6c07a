#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <zo/platform/rpc/RpcServer.h>

namespace zo::app {

struct ServerOptions {
  std::string bind = "127.0.0.1";
  int port = 7070;
  std::string root;
  int idleTimeoutSeconds = 1800;
  int workers = 8;
  int callbackTimeoutSeconds = 30;
  std::size_t maxMessageBytes = 16 * 1024 * 1024;
  std::string logLevelName = "info";
  std::string logFormatName = "text";
  rpc::LogLevel logLevel = rpc::LogLevel::kInfo;  // from logLevelName
  rpc::LogFormat logFormat = rpc::LogFormat::kText;  // from logFormatName
  int slowMs = 0;
  // Protections against hostile clients (see docs/security.md).
  int maxCallbackCalls = 0;  // 0: workers - workers / 4
  int maxQueuedCalls = 32;
  int pingTimeoutSeconds = 120;  // 0: no pings
  std::vector<std::string> allowedOrigins;
  std::string tlsCert;
  std::string tlsKey;
  std::string consoleDir;  // absolute; empty: the console found beside the executable or installed
};

// Reads the options from the command line, the environment and a --config file. nullopt
// with `exitCode` set when the program is to end now (help, version: 0; bad options: 1, the
// message already written on stderr).
std::optional<ServerOptions> ParseServerOptions(int argc, char** argv,
                                                const std::string& applicationName,
                                                int& exitCode);

}  // namespace zo::app
