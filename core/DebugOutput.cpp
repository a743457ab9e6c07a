#include <zo/core/DebugOutput.h>

#include <atomic>
#include <mutex>

namespace zo {
namespace {

struct Sink {
  std::mutex mutex;
  std::function<void(const std::string&)> write;
  std::atomic<bool> active{false};  // mirrors write != nullptr, readable without the lock
};

Sink& TheSink() {
  static Sink sink;
  return sink;
}

}  // namespace

void OutputDebugString(const std::string& text) {
  auto& sink = TheSink();
  if (!sink.active.load(std::memory_order_acquire)) return;
  std::lock_guard lock(sink.mutex);
  if (sink.write) sink.write(text);
}

void SetDebugOutput(std::function<void(const std::string&)> sink) {
  auto& s = TheSink();
  std::lock_guard lock(s.mutex);
  s.write = std::move(sink);
  s.active.store(static_cast<bool>(s.write), std::memory_order_release);
}

bool DebugOutputActive() { return TheSink().active.load(std::memory_order_acquire); }

}  // namespace zo
