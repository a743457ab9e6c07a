#include "platform/rpc/OpsRoutes.h"

#include <nlohmann/json.hpp>

#include "platform/rpc/ServerContext.h"

namespace zo::rpc {

namespace http = boost::beast::http;

namespace {

constexpr const char* kJson = "application/json";

OpsResponse Health(bool live, const Readiness& readiness) {
  nlohmann::json body{{"live", live}, {"ready", readiness.ready}};
  if (!readiness.detail.empty()) body["detail"] = readiness.detail;
  body["status"] = readiness.ready ? "ok" : "unavailable";
  return {readiness.ready ? http::status::ok : http::status::service_unavailable, kJson,
          body.dump() + "\n"};
}

// Runs the application's check on a worker: it may wait for a database.
void CheckReadiness(ServerContext& server, const std::function<void(OpsResponse)>& respond) {
  if (server.stopping) return respond(Health(true, {false, "the server is stopping"}));
  if (!server.options.probe) return respond(Health(true, {true, ""}));
  const auto probe = server.options.probe;
  const bool queued = server.pool->Submit([probe, respond] {
    Readiness readiness;
    try {
      readiness = probe->CheckReadiness();
    } catch (const std::exception&) {
      readiness = {false, "the readiness check failed"};
    }
    respond(Health(true, readiness));
  });
  if (!queued) respond(Health(true, {false, "the server is stopping"}));
}

OpsResponse Metrics(ServerContext& server) {
  std::string out;
  server.metrics.Render(out, server.httpSessions.Size());
  if (server.options.probe) server.options.probe->AppendMetrics(out);
  return {http::status::ok, "text/plain; version=0.0.4; charset=utf-8", std::move(out)};
}

}  // namespace

bool ServeOpsRoute(ServerContext& server, std::string_view path, http::verb method,
                   std::function<void(OpsResponse)> respond) {
  if (path != "/health" && path != "/health/live" && path != "/metrics") return false;
  if (method != http::verb::get) {
    respond({http::status::method_not_allowed, "text/plain", "Use GET\n"});
  } else if (path == "/metrics") {
    respond(Metrics(server));
  } else if (path == "/health/live") {
    respond({http::status::ok, kJson, R"({"live":true,"status":"ok"})" "\n"});
  } else {
    CheckReadiness(server, respond);
  }
  return true;
}

}  // namespace zo::rpc
