#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include <zo/platform/rpc/RpcSession.h>

namespace zo::rpc {

enum class LogLevel { kOff, kError, kInfo, kDebug };
using LogSink = std::function<void(const std::string& line)>;

struct RpcServerOptions {
  std::string address = "127.0.0.1";
  std::uint16_t port = 0;  // 0: the system picks a free port; Port() tells which
  unsigned workers = 8;    // threads running calls; a call waiting on a callback holds one
  unsigned ioThreads = 1;  // threads running the sockets
  std::chrono::milliseconds httpSessionIdle = std::chrono::minutes(30);
  std::size_t maxMessageSize = 16 * 1024 * 1024;  // bytes, per WebSocket message or HTTP body
  std::chrono::milliseconds callbackTimeout = std::chrono::minutes(5);  // 0: no limit
  std::chrono::milliseconds stopTimeout = std::chrono::seconds(30);     // Stop's wait for calls
  LogLevel logLevel = LogLevel::kInfo;
  LogSink logSink;  // empty: one line at a time to stderr
  // Static files served to browsers with GET under staticPath (e.g. the console); empty: none.
  std::string staticDir;
  std::string staticPath = "/console/";
};

// The remote-method server: one TCP port serving WebSocket clients at "/zo" and HTTP clients
// at "POST /zo/rpc", each client with its own IRpcSession made by the factory.
class RpcServer {
 public:
  RpcServer(std::shared_ptr<IRpcSessionFactory> factory, RpcServerOptions options = {});
  ~RpcServer();  // stops the server if it is still running
  RpcServer(const RpcServer&) = delete;
  RpcServer& operator=(const RpcServer&) = delete;

  // Binds, listens and starts the threads; throws zo::Exception when the port cannot be bound.
  // A server is started once.
  void Start();
  // Graceful: stops accepting, lets running calls end (up to stopTimeout; queued calls that
  // have not started are answered "shutting down"), closes the sockets and destroys every
  // session. Idempotent.
  void Stop();
  std::uint16_t Port() const;  // the bound port, valid after Start()

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

// Blocks the calling thread until SIGINT or SIGTERM arrives, then stops `server` gracefully.
void RunUntilTerminated(RpcServer& server);

}  // namespace zo::rpc
