#pragma once

#include <functional>
#include <string>

#include <zo/platform/rpc/RpcSession.h>

namespace zo::rpc {

struct ServerContext;

// Handles the body of one "POST /zo/rpc". `token` is the request's X-Zo-Session header.
// `done` receives the response body (empty for a notification); it may run on a worker
// thread, after this function returned.
void HandleHttpRpc(ServerContext& server, const std::string& body, const std::string& token,
                   const ClientInfo& client, std::function<void(std::string)> done);

}  // namespace zo::rpc
