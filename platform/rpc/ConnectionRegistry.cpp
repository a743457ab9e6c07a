#include "platform/rpc/ConnectionRegistry.h"

#include <vector>

namespace zo::rpc {

void ConnectionRegistry::Add(const std::shared_ptr<IConnection>& connection) {
  const std::lock_guard lock(mutex_);
  connections_.emplace(connection.get(), connection);
}

void ConnectionRegistry::Remove(const IConnection* connection) {
  const std::lock_guard lock(mutex_);
  connections_.erase(connection);
  if (connections_.empty()) empty_.notify_all();
}

void ConnectionRegistry::ShutdownAll() {
  std::vector<std::shared_ptr<IConnection>> open;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [key, weak] : connections_) {
      if (auto connection = weak.lock()) open.push_back(std::move(connection));
    }
  }
  // Outside the lock: a connection may finish (and deregister) while being shut down.
  for (const auto& connection : open) connection->Shutdown();
}

bool ConnectionRegistry::WaitEmpty(std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  return empty_.wait_for(lock, timeout, [this] { return connections_.empty(); });
}

}  // namespace zo::rpc
