#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include <zo/platform/rpc/RpcError.h>

namespace zo::rpc {

struct RpcClientOptions {
  // How long to wait for each message from the server (an answer, or the next callback
  // request of a running call); zero waits for ever. On expiry the connection is dropped.
  std::chrono::milliseconds timeout{0};
  std::chrono::milliseconds connectTimeout = std::chrono::seconds(10);
  std::size_t maxMessageSize = 64 * 1024 * 1024;
  // TLS (wss://, https://): the server's certificate is checked against `caFile` (PEM), or
  // against the system's trusted authorities when it is empty, and must name the host.
  bool tls = false;
  std::string caFile;
};

// A synchronous WebSocket client of the remote-method server: one call at a time, from one
// thread. A server error comes back as RpcError, whose message is the server's verbatim.
class RpcClient {
 public:
  // Answers one callback command of a running call; returning true asks the server to cancel
  // the call. An exception is reported to the server as the callback's error.
  using CallbackHandler = std::function<nlohmann::json(const nlohmann::json& command)>;

  explicit RpcClient(RpcClientOptions options = {});
  ~RpcClient();  // closes the connection
  RpcClient(const RpcClient&) = delete;
  RpcClient& operator=(const RpcClient&) = delete;

  // Opens the WebSocket; throws zo::Exception when the server cannot be reached.
  void Open(const std::string& host, std::uint16_t port, const std::string& path = "/zo");
  // The "connect" call: {"user", "customer", "password"}.
  nlohmann::json Connect(const nlohmann::json& credentials);
  // Runs `method`, answering the callback requests that arrive meanwhile (false when no
  // handler is set). Pass "Callback": true in `params` to receive them.
  nlohmann::json Call(const std::string& method,
                      const nlohmann::json& params = nlohmann::json::object());
  void SetCallbackHandler(CallbackHandler handler);
  // Closes politely (the server then destroys the session). Idempotent.
  void Close();
  bool IsOpen() const;

  // Raw messages, for tools and tests that speak the protocol themselves.
  void SendText(const std::string& text);
  std::string ReceiveText();

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace zo::rpc
