#pragma once

#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include <zo/platform/rpc/RpcClient.h>

namespace zo::rpc {

// A synchronous client of the HTTP path ("POST /zo/rpc"): no callbacks; the session token that
// "connect" returns is sent with every later request in the X-Zo-Session header.
class RpcHttpClient {
 public:
  struct Response {
    int status = 0;
    std::string body;
  };

  explicit RpcHttpClient(RpcClientOptions options = {});
  ~RpcHttpClient();
  RpcHttpClient(const RpcHttpClient&) = delete;
  RpcHttpClient& operator=(const RpcHttpClient&) = delete;

  // Remembers the server; the connection is made (and remade) as needed.
  void Open(const std::string& host, std::uint16_t port, const std::string& path = "/zo/rpc");
  // The "connect" call; keeps the session token it returns.
  nlohmann::json Connect(const nlohmann::json& credentials);
  nlohmann::json Call(const std::string& method,
                      const nlohmann::json& params = nlohmann::json::object());
  // Ends the session on the server and forgets the token.
  void Disconnect();
  const std::string& SessionToken() const;
  void SetSessionToken(std::string token);

  // One raw exchange, for tests and tools.
  Response Post(const std::string& body);

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace zo::rpc
