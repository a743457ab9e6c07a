#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>

namespace zo::rpc {

// The transport's own counters for /metrics. Updated from the network and worker threads;
// Render takes a consistent enough snapshot for a scrape (each value is read once).
class ServerMetrics {
 public:
  // One finished call. `code` is 0 for success, else the JSON-RPC error code it got.
  // `sessionKnewMethod` is false when the call was refused before any session looked at the
  // method name (no session yet, server stopping): such names are the client's invention and
  // are not kept as labels.
  void CountCall(const std::string& method, int code, std::chrono::steady_clock::duration duration,
                 bool sessionKnewMethod);

  void WsOpened() { ++wsConnections_; }
  void WsClosed() { --wsConnections_; }
  void CallbackWaitStarted() { ++callbacksWaiting_; }
  void CallbackWaitEnded() { --callbacksWaiting_; }
  void BytesIn(std::size_t n) { bytesIn_ += n; }
  void BytesOut(std::size_t n) { bytesOut_ += n; }

  // Appends every family in Prometheus text format.
  void Render(std::string& out, std::size_t httpSessions) const;

  static const char* OutcomeOf(int code);

 private:
  // Upper bounds of the latency buckets, in seconds; +Inf is implicit.
  static constexpr std::array<double, 11> kBuckets{0.001, 0.0025, 0.005, 0.01, 0.025, 0.05,
                                                   0.1,   0.25,   0.5,   1.0,  5.0};
  // More distinct method names than this are counted under "other": a session may serve
  // methods by whatever name a client sends, and the scrape must stay bounded.
  static constexpr std::size_t kMaxMethods = 200;

  void RenderCalls(std::string& out) const;
  void RenderLatency(std::string& out) const;

  mutable std::mutex mutex_;
  std::map<std::pair<std::string, std::string>, std::uint64_t> calls_;  // (method, outcome)
  std::set<std::string> knownMethods_;
  std::array<std::uint64_t, kBuckets.size()> bucketCounts_{};  // not cumulative
  std::uint64_t latencyCount_ = 0;
  double latencySum_ = 0;
  std::uint64_t loginFailures_ = 0;

  std::atomic<std::int64_t> wsConnections_{0};
  std::atomic<std::int64_t> callbacksWaiting_{0};
  std::atomic<std::uint64_t> bytesIn_{0};
  std::atomic<std::uint64_t> bytesOut_{0};
};

}  // namespace zo::rpc
