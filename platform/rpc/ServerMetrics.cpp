#include "platform/rpc/ServerMetrics.h"

#include <fmt/format.h>

#include <zo/platform/rpc/PrometheusText.h>
#include <zo/platform/rpc/RpcError.h>

namespace zo::rpc {

namespace prom = prometheus;

const char* ServerMetrics::OutcomeOf(int code) {
  switch (code) {
    case 0: return "ok";
    case codes::kAborted: return "aborted";
    case codes::kMethodNotFound: return "method_not_found";
    case codes::kInvalidParams: return "invalid_params";
    case codes::kInternalError: return "internal_error";
    case codes::kNotConnected: return "no_session";
    case codes::kAlreadyConnected: return "already_connected";
    case codes::kShuttingDown: return "shutting_down";
    case codes::kBusy: return "busy";
    default: return "error";
  }
}

void ServerMetrics::CountCall(const std::string& method, int code,
                              std::chrono::steady_clock::duration duration,
                              bool sessionKnewMethod) {
  const double seconds = std::chrono::duration<double>(duration).count();
  const std::lock_guard lock(mutex_);
  std::string label = "other";
  if (sessionKnewMethod && code != codes::kMethodNotFound) {
    const auto known = knownMethods_.find(method);
    if (known != knownMethods_.end()) {
      label = method;
    } else if (knownMethods_.size() < kMaxMethods) {
      knownMethods_.insert(method);
      label = method;
    }
  }
  ++calls_[{label, OutcomeOf(code)}];
  if (method == "connect" && code != 0) ++loginFailures_;
  std::size_t bucket = 0;
  while (bucket < kBuckets.size() && seconds > kBuckets[bucket]) ++bucket;
  if (bucket < kBuckets.size()) ++bucketCounts_[bucket];
  ++latencyCount_;
  latencySum_ += seconds;
}

void ServerMetrics::RenderCalls(std::string& out) const {
  prom::AppendFamily(out, "zo_rpc_calls_total", "Remote-method calls by method and outcome.",
                     "counter");
  for (const auto& [key, count] : calls_) {
    prom::AppendSample(out, "zo_rpc_calls_total", {{"method", key.first}, {"outcome", key.second}},
                       static_cast<double>(count));
  }
  prom::AppendFamily(out, "zo_rpc_login_failures_total", "Refused connect calls.", "counter");
  prom::AppendSample(out, "zo_rpc_login_failures_total", {}, static_cast<double>(loginFailures_));
}

void ServerMetrics::RenderLatency(std::string& out) const {
  const char* name = "zo_rpc_call_duration_seconds";
  prom::AppendFamily(out, name, "Time from the start of a call to its answer.", "histogram");
  std::uint64_t cumulative = 0;
  const std::string bucket = std::string(name) + "_bucket";
  for (std::size_t i = 0; i < kBuckets.size(); ++i) {
    cumulative += bucketCounts_[i];
    const std::string le = fmt::format("{}", kBuckets[i]);
    prom::AppendSample(out, bucket, {{"le", le}}, static_cast<double>(cumulative));
  }
  prom::AppendSample(out, bucket, {{"le", "+Inf"}}, static_cast<double>(latencyCount_));
  prom::AppendSample(out, std::string(name) + "_sum", {}, latencySum_);
  prom::AppendSample(out, std::string(name) + "_count", {}, static_cast<double>(latencyCount_));
}

void ServerMetrics::Render(std::string& out, std::size_t httpSessions) const {
  {
    const std::lock_guard lock(mutex_);
    RenderCalls(out);
    RenderLatency(out);
  }
  const auto gauge = [&out](const char* name, const char* help, const char* type, double value) {
    prom::AppendFamily(out, name, help, type);
    prom::AppendSample(out, name, {}, value);
  };
  gauge("zo_rpc_callbacks_waiting", "Calls waiting for a client's answer to a callback.", "gauge",
        static_cast<double>(callbacksWaiting_.load()));
  gauge("zo_rpc_http_sessions", "Open sessions of the HTTP path.", "gauge",
        static_cast<double>(httpSessions));
  gauge("zo_rpc_websocket_connections", "Open WebSocket connections.", "gauge",
        static_cast<double>(wsConnections_.load()));
  gauge("zo_rpc_received_bytes_total", "Bytes read from clients.", "counter",
        static_cast<double>(bytesIn_.load()));
  gauge("zo_rpc_sent_bytes_total", "Bytes written to clients.", "counter",
        static_cast<double>(bytesOut_.load()));
}

}  // namespace zo::rpc
