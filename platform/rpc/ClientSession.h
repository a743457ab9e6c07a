#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include "platform/rpc/AccessLog.h"
#include "platform/rpc/JsonRpc.h"
#include <zo/platform/rpc/RpcSession.h>

namespace zo::rpc {

class CallbackChannel;
class SerialQueue;
struct ServerContext;

// One client, whatever its transport: its session once "connect" succeeded, and the queue that
// runs its calls on the workers one at a time, in arrival order. Every use of the session,
// including its destruction, happens on that queue.
class ClientSession : public std::enable_shared_from_this<ClientSession> {
 public:
  // Sends one response text to the client; called on a worker thread.
  using Reply = std::function<void(std::string response)>;

  // `channel` carries callbacks to a WebSocket client; null for HTTP, whose calls get a
  // callback that drops the commands. `connectResult` is what a successful "connect" returns.
  // `callEnded` runs on a worker after each request has been handled (the connection's cue
  // to read again when it paused for the queue to drain).
  ClientSession(ServerContext& server, ClientInfo info, std::shared_ptr<CallbackChannel> channel,
                nlohmann::json connectResult, std::function<void()> callEnded = {});
  ~ClientSession();

  // Queues one request; `reply` is not called for notifications.
  void Submit(Request request, Reply reply);
  // Ends the client: calls still queued are refused, the session is destroyed after the
  // running call. Idempotent.
  void Close(const std::string& reason);

  const ClientInfo& Info() const { return info_; }
  bool Connected() const { return connected_; }
  // For the HTTP idle sweep: calls queued or running, and when the last one ended.
  bool Busy() const { return pending_ > 0; }
  // Requests queued or running; at the server's maxQueuedCalls the client is Saturated().
  int Pending() const { return pending_; }
  bool Saturated() const;
  std::chrono::steady_clock::time_point LastActivity() const;
  void Touch();

 private:
  void Run(const Request& request, const Reply& reply);
  void RunConnect(const Request& request, const Reply& reply);
  void RunCall(const Request& request, const Reply& reply);
  void DestroySession(const std::string& reason);
  // Counts the call and writes its access-log line. `sessionSawMethod` is false for calls
  // refused before a session looked at them.
  void Finish(CallRecord& record, std::chrono::steady_clock::time_point start,
              bool sessionSawMethod);

  ServerContext& server_;
  const ClientInfo info_;
  const std::shared_ptr<CallbackChannel> channel_;
  const nlohmann::json connectResult_;
  const std::function<void()> callEnded_;
  const std::shared_ptr<SerialQueue> queue_;
  std::unique_ptr<IRpcSession> session_;  // touched only by tasks of queue_
  std::atomic<bool> connected_{false};    // session_ is set, for threads other than the queue's
  std::atomic<bool> closed_{false};
  std::atomic<int> pending_{0};
  std::atomic<std::chrono::steady_clock::rep> lastActivity_;
};

}  // namespace zo::rpc
