#include <zo/core/DebugOutput.h>

#include <mutex>

namespace zo {
namespace {

struct Sink {
  std::mutex mutex;
  std::function<void(const std::string&)> write;
};

Sink& TheSink() {
  static Sink sink;
  return sink;
}

}  // namespace

void OutputDebugString(const std::string& text) {
  auto& sink = TheSink();
  std::lock_guard lock(sink.mutex);
  if (sink.write) sink.write(text);
}

void SetDebugOutput(std::function<void(const std::string&)> sink) {
  auto& s = TheSink();
  std::lock_guard lock(s.mutex);
  s.write = std::move(sink);
}

}  // namespace zo
