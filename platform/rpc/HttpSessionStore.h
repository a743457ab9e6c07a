#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace zo::rpc {

class ClientSession;

// The clients of the HTTP path, by session token. HTTP has no connection that lives as long as
// the client, so a session ends on "disconnect" or when it has been idle too long.
class HttpSessionStore {
 public:
  // A fresh token: 32 bytes from OpenSSL's generator, as 64 hex digits.
  static std::string NewToken();

  void Add(const std::string& token, std::shared_ptr<ClientSession> client);
  std::shared_ptr<ClientSession> Find(const std::string& token);  // null: unknown or expired
  std::shared_ptr<ClientSession> Remove(const std::string& token);
  // Removes and returns the clients idle for longer than `idle` (a call in progress counts as
  // activity).
  std::vector<std::shared_ptr<ClientSession>> TakeExpired(std::chrono::milliseconds idle);
  std::vector<std::shared_ptr<ClientSession>> TakeAll();
  std::size_t Size();

 private:
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<ClientSession>> clients_;
};

}  // namespace zo::rpc
