#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <zo/platform/rpc/RpcSession.h>

namespace zo::rpc {

enum class LogLevel { kOff, kError, kWarning, kInfo, kDebug };
// kJson: every line is the members of one JSON object without its braces, starting with
// "level"; the sink wraps them, adding its own time (zo-server's does). The default sink adds
// the braces alone.
enum class LogFormat { kText, kJson };
using LogSink = std::function<void(const std::string& line)>;

// Whether the application can serve, for GET /health.
struct Readiness {
  bool ready = false;
  std::string detail;  // for the operator: names nothing beyond customer identifiers
};

// What the application adds to GET /health and GET /metrics.
class IServerProbe {
 public:
  virtual ~IServerProbe() = default;
  // Appends the application's own metric families in Prometheus text format. Called on a
  // network thread: must be quick and touch no database.
  virtual void AppendMetrics(std::string& out) const = 0;
  // Called on a worker thread; may open a database.
  virtual Readiness CheckReadiness() = 0;
};

struct RpcServerOptions {
  std::string address = "127.0.0.1";
  std::uint16_t port = 0;  // 0: the system picks a free port; Port() tells which
  unsigned workers = 8;    // threads running calls; a call waiting on a callback holds one
  // Threads running "connect" only, so that a login never waits behind running calls.
  unsigned connectWorkers = 4;
  unsigned ioThreads = 1;  // threads running the sockets
  std::chrono::milliseconds httpSessionIdle = std::chrono::minutes(30);
  std::size_t maxMessageSize = 16 * 1024 * 1024;  // bytes, per WebSocket message or HTTP body
  std::size_t maxJsonDepth = 64;  // nesting levels of arrays and objects in one message
  std::chrono::milliseconds callbackTimeout = std::chrono::seconds(30);  // 0: no limit
  // Calls that may talk to their WebSocket client ("Callback": true) at the same time, over
  // all clients; 0: workers - workers / 4. Kept below `workers`, so that a few workers always
  // remain for the other calls.
  unsigned maxCallbackCalls = 0;
  // Calls one client may have queued or running; a WebSocket client that reaches it is not
  // read until its calls catch up, an HTTP session gets -32006.
  unsigned maxQueuedCalls = 32;
  // A WebSocket client that sends nothing for half this time is pinged, and closed when
  // nothing arrives within it; 0: never.
  std::chrono::milliseconds pingTimeout = std::chrono::minutes(2);
  // Values of the Origin header accepted on the WebSocket upgrade and on HTTP requests, e.g.
  // "https://app.example.com"; empty: any. A request without Origin (not from a browser) is
  // always accepted.
  std::vector<std::string> allowedOrigins;
  // PEM files: when set, the port speaks TLS only (wss:// and https://).
  std::string tlsCertificateFile;
  std::string tlsKeyFile;
  std::chrono::milliseconds stopTimeout = std::chrono::seconds(30);     // Stop's wait for calls
  LogLevel logLevel = LogLevel::kInfo;
  LogFormat logFormat = LogFormat::kText;
  // Calls that take at least this long are logged at kWarning with their statements; 0: off.
  std::chrono::milliseconds slowCall{0};
  LogSink logSink;  // empty: one line at a time to stderr
  std::shared_ptr<IServerProbe> probe;  // empty: /health answers for the transport alone
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
