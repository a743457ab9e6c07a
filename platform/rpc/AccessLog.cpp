#include "platform/rpc/AccessLog.h"

#include <cstdio>

#include <fmt/format.h>

namespace zo::rpc {

namespace {

constexpr std::size_t kMaxErrorChars = 100;

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

void WriteToStderr(const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); }

}  // namespace

Logger::Logger(LogLevel level, LogSink sink)
    : level_(level), sink_(sink ? std::move(sink) : LogSink(WriteToStderr)) {}

bool Logger::Enabled(LogLevel level) const {
  return level != LogLevel::kOff && static_cast<int>(level) <= static_cast<int>(level_);
}

void Logger::Write(LogLevel level, const std::string& line) const {
  if (!Enabled(level)) return;
  const std::lock_guard lock(mutex_);
  try {
    sink_(line);
  } catch (...) {
    // A failing log sink must not fail the call that is being logged.
  }
}

std::string FormatAccessLine(const CallRecord& record) {
  const double ms = std::chrono::duration<double, std::milli>(record.duration).count();
  return fmt::format(
      "rpc {} {} customer={} user={} method={} {:.3f} ms {}", record.client.transport,
      record.client.peer, record.customer, record.user, record.method, ms,
      record.code == 0 ? std::string("ok") : "error: " + LogExcerpt(record.error, kMaxErrorChars));
}

}  // namespace zo::rpc
