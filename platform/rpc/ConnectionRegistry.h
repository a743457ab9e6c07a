#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>

namespace zo::rpc {

// An open socket, as far as shutting the server down is concerned.
class IConnection {
 public:
  virtual ~IConnection() = default;
  // Closes the socket; thread-safe (it hands the work to the connection's own strand).
  virtual void Shutdown() = 0;
};

// The open connections, so that Stop can close them and wait for them to be gone.
class ConnectionRegistry {
 public:
  void Add(const std::shared_ptr<IConnection>& connection);
  void Remove(const IConnection* connection);  // from the connection's destructor
  void ShutdownAll();
  bool WaitEmpty(std::chrono::milliseconds timeout);

 private:
  std::mutex mutex_;
  std::condition_variable empty_;
  std::map<const IConnection*, std::weak_ptr<IConnection>> connections_;
};

}  // namespace zo::rpc
