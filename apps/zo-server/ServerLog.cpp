#include "apps/zo-server/ServerLog.h"

#include <memory>

#include <nlohmann/json.hpp>
#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/stdout_sinks.h>

namespace zo::app {

rpc::LogSink MakeServerLog(const rpc::LogFormat format) {
  auto logger = std::make_shared<spdlog::logger>(
      "zo-server", std::make_shared<spdlog::sinks::stderr_sink_mt>());
  // The transport filters by its own level; every line that reaches here is written.
  logger->set_level(spdlog::level::trace);
  logger->flush_on(spdlog::level::trace);
  logger->set_pattern(format == rpc::LogFormat::kJson
                          ? R"({"time":"%Y-%m-%dT%H:%M:%S.%e%z",%v})"
                          : "%Y-%m-%d %H:%M:%S %v");
  return [logger](const std::string& line) { logger->info(std::string_view(line)); };
}

rpc::LogSink MakeApplicationLog(rpc::LogSink serverLog, const rpc::LogFormat format) {
  if (format == rpc::LogFormat::kText) return serverLog;
  return [serverLog = std::move(serverLog)](const std::string& line) {
    std::string level = "info";
    std::string message = line;
    for (const char* prefix : {"error", "warning", "debug"}) {
      const std::string marker = std::string(prefix) + ": ";
      if (line.starts_with(marker)) {
        level = prefix;
        message = line.substr(marker.size());
        break;
      }
    }
    const std::string object = nlohmann::json{{"level", level}, {"msg", message}}.dump(
        -1, ' ', false, nlohmann::json::error_handler_t::replace);
    serverLog(object.substr(1, object.size() - 2));
  };
}

}  // namespace zo::app
