#pragma once

#include <functional>
#include <string>
#include <string_view>

#include <boost/beast/http/status.hpp>
#include <boost/beast/http/verb.hpp>

namespace zo::rpc {

struct ServerContext;

struct OpsResponse {
  boost::beast::http::status status;
  std::string contentType;
  std::string body;
};

// The operator's endpoints beside the remote-method paths: GET /health (live and ready),
// /health/live (the process answers) and /metrics (Prometheus text). Returns false when `path`
// is none of them; otherwise `respond` gets the answer, possibly later and from a worker
// thread (the readiness check may open a database).
bool ServeOpsRoute(ServerContext& server, std::string_view path, boost::beast::http::verb method,
                   std::function<void(OpsResponse)> respond);

}  // namespace zo::rpc
