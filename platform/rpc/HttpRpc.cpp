#include "platform/rpc/HttpRpc.h"

#include <variant>

#include "platform/rpc/ClientSession.h"
#include "platform/rpc/JsonRpc.h"
#include <zo/platform/rpc/RpcError.h>
#include "platform/rpc/ServerContext.h"

namespace zo::rpc {

namespace {

using Done = std::function<void(std::string)>;

void Connect(ServerContext& server, Request request, const ClientInfo& info, Done done) {
  if (request.notification) {
    return done(ErrorResponse(nullptr, codes::kInvalidRequest,
                              "\"connect\" needs an \"id\": its result holds the session token"));
  }
  const std::string token = HttpSessionStore::NewToken();
  auto client =
      std::make_shared<ClientSession>(server, info, nullptr, nlohmann::json{{"session", token}});
  // The token becomes usable only once the session exists, and before the client learns it.
  client->Submit(std::move(request), [&server, token, client, done](std::string response) {
    if (client->Connected()) server.httpSessions.Add(token, client);
    done(std::move(response));
  });
}

void Disconnect(ServerContext& server, const Request& request, const std::string& token,
                const Done& done) {
  const auto client = server.httpSessions.Remove(token);
  if (client) client->Close("disconnect");
  if (request.notification) return done("");
  done(client ? ResultResponse(request.id, true)
              : ErrorResponse(request.id, codes::kNotConnected, "Unknown or expired session"));
}

void Call(ServerContext& server, Request request, const std::string& token, const Done& done) {
  const auto client = server.httpSessions.Find(token);
  if (!client) {
    return done(request.notification ? std::string()
                                     : ErrorResponse(request.id, codes::kNotConnected,
                                                     "Unknown or expired session"));
  }
  // Several connections may share one session token: without a cap they could queue calls
  // without end.
  if (client->Saturated()) {
    return done(ErrorResponse(request.id, codes::kBusy,
                              "Too many calls queued for this session; try again later"));
  }
  const bool notification = request.notification;
  client->Submit(std::move(request), done);
  if (notification) done("");
}

}  // namespace

void HandleHttpRpc(ServerContext& server, const std::string& body, const std::string& token,
                   const ClientInfo& client, std::function<void(std::string)> done) {
  Incoming incoming = ParseIncoming(body, server.options.maxJsonDepth);
  if (const auto* rejected = std::get_if<Rejected>(&incoming)) return done(rejected->response);
  if (std::holds_alternative<Answer>(incoming)) {
    return done(ErrorResponse(nullptr, codes::kInvalidRequest,
                              "Invalid request: the HTTP path sends no requests to answer"));
  }
  auto& request = std::get<Request>(incoming);
  if (request.method == "connect") return Connect(server, std::move(request), client, done);
  if (request.method == "disconnect") return Disconnect(server, request, token, done);
  Call(server, std::move(request), token, done);
}

}  // namespace zo::rpc
