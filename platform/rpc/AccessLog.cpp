#include "platform/rpc/AccessLog.h"

#include <cmath>
#include <cstdio>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "platform/rpc/JsonRpc.h"

namespace zo::rpc {

namespace {

constexpr std::size_t kMaxErrorChars = 100;
constexpr std::size_t kMaxStatementChars = 2000;

// The first `count` characters of UTF-8 `text`, never cutting a character in two, with line
// breaks and other control characters turned into spaces so that an entry stays on one line.
std::string LogExcerpt(const std::string& text, std::size_t count) {
  std::string out;
  std::size_t chars = 0;
  for (const char c : text) {
    const bool continuation = (static_cast<unsigned char>(c) & 0xC0) == 0x80;
    if (!continuation && chars++ == count) break;
    out += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
  }
  return out;
}

const char* LevelName(LogLevel level) {
  switch (level) {
    case LogLevel::kError: return "error";
    case LogLevel::kWarning: return "warning";
    case LogLevel::kDebug: return "debug";
    default: return "info";
  }
}

double Milliseconds(std::chrono::steady_clock::duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

// Dumps without the braces: the sink adds them with its own members.
std::string Members(const nlohmann::json& object) {
  const std::string text = object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  return text.substr(1, text.size() - 2);
}

nlohmann::json CallMembers(const CallRecord& record) {
  nlohmann::json members = nlohmann::json::object();
  members["level"] = "info";
  members["event"] = "call";
  members["transport"] = record.client.transport;
  members["peer"] = record.client.peer;
  members["customer"] = record.customer;
  members["user"] = record.user;
  members["method"] = record.method;
  members["ms"] = std::round(Milliseconds(record.duration) * 1000) / 1000;
  if (record.statements.count >= 0) members["statements"] = record.statements.count;
  members["outcome"] = record.code == 0 ? "ok" : "error";
  if (record.code != 0) {
    members["code"] = record.code;
    members["error"] = LogExcerpt(record.error, kMaxErrorChars);
  }
  return members;
}

std::string FormatSlowText(const CallRecord& record, std::chrono::milliseconds slow) {
  std::string line = fmt::format("slow call (over {} ms): {}", slow.count(),
                                 FormatAccessLine(record));
  for (std::size_t i = 0; i < record.statements.texts.size(); ++i) {
    line += fmt::format(" | {}: {}", i + 1,
                        LogExcerpt(record.statements.texts[i], kMaxStatementChars));
  }
  return line;
}

std::string FormatSlowJson(const CallRecord& record, std::chrono::milliseconds slow) {
  nlohmann::json members = CallMembers(record);
  members["level"] = "warning";
  members["event"] = "slow_call";
  members["slow_ms"] = slow.count();
  auto& texts = members["trace"] = nlohmann::json::array();
  for (const auto& text : record.statements.texts) {
    texts.push_back(LogExcerpt(text, kMaxStatementChars));
  }
  return Members(members);
}

void WriteToStderr(const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); }

}  // namespace

Logger::Logger(LogLevel level, LogFormat format, LogSink sink)
    : level_(level), format_(format) {
  if (sink) {
    sink_ = std::move(sink);
  } else if (format == LogFormat::kJson) {
    sink_ = [](const std::string& members) { WriteToStderr("{" + members + "}"); };
  } else {
    sink_ = WriteToStderr;
  }
}

bool Logger::Enabled(LogLevel level) const {
  return level != LogLevel::kOff && static_cast<int>(level) <= static_cast<int>(level_);
}

void Logger::Write(LogLevel level, const std::string& message) const {
  if (!Enabled(level)) return;
  if (format_ == LogFormat::kText) return Emit(message);
  Emit(Members({{"level", LevelName(level)}, {"msg", message}}));
}

void Logger::WriteCall(const CallRecord& record, std::chrono::milliseconds slow) const {
  const bool json = format_ == LogFormat::kJson;
  if (Enabled(LogLevel::kInfo)) Emit(json ? Members(CallMembers(record)) : FormatAccessLine(record));
  if (slow.count() > 0 && record.duration >= slow && Enabled(LogLevel::kWarning)) {
    Emit(json ? FormatSlowJson(record, slow) : FormatSlowText(record, slow));
  }
}

void Logger::Emit(const std::string& line) const {
  const std::lock_guard lock(mutex_);
  try {
    sink_(line);
  } catch (...) {
    // A failing log sink must not fail the call that is being logged.
  }
}

std::string FormatAccessLine(const CallRecord& record) {
  const std::string statements =
      record.statements.count >= 0 ? fmt::format(" statements={}", record.statements.count) : "";
  return fmt::format(
      "rpc {} {} customer={} user={} method={} {:.3f} ms{} {}", record.client.transport,
      record.client.peer, record.customer, record.user, record.method,
      Milliseconds(record.duration), statements,
      record.code == 0 ? std::string("ok") : "error: " + LogExcerpt(record.error, kMaxErrorChars));
}

}  // namespace zo::rpc
