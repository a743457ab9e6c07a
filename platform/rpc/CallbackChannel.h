#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include <nlohmann/json.hpp>

#include <zo/dao/ZoCallback.h>
#include "platform/rpc/JsonRpc.h"

namespace zo::rpc {

class ServerMetrics;

// The server-to-client requests of one WebSocket client: a worker sends one and waits on a
// future; the connection's read loop fulfils it when the answer with that id arrives, and
// breaks every wait when the socket closes.
class CallbackChannel : public std::enable_shared_from_this<CallbackChannel> {
 public:
  // Queues one message on the socket; false when the socket is gone.
  using Sender = std::function<bool(std::string)>;

  // `timeout`: how long a request waits for its answer; zero waits for ever.
  // `metrics` (optional) counts the calls waiting for an answer.
  CallbackChannel(Sender send, std::chrono::milliseconds timeout, ServerMetrics* metrics = nullptr);

  // Sends `command` and blocks for the client's answer. Throws zo::EAbort when the socket
  // closes or no answer comes in time, and zo::Exception when the client answers an error.
  nlohmann::json Request(const nlohmann::json& command);
  // Called by the read loop; an answer nobody waits for (any more) is ignored.
  void Resolve(const Answer& answer);
  // The socket closed: fails the waits in progress and every later request.
  void Close();

  // The callback handed to a session call.
  std::unique_ptr<TZoCallback> MakeCallback();

 private:
  std::string NextId();
  void Forget(const std::string& id);
  bool Answered(std::future<nlohmann::json>& answer) const;  // false: timed out

  Sender send_;
  std::chrono::milliseconds timeout_;
  ServerMetrics* const metrics_;
  std::mutex mutex_;
  std::map<std::string, std::promise<nlohmann::json>> pending_;
  std::uint64_t counter_ = 0;
  bool closed_ = false;
};

// The callback of a client that cannot receive requests (HTTP): drops every command and
// answers false, "carry on".
std::unique_ptr<TZoCallback> MakeDroppingCallback();

}  // namespace zo::rpc
