#include "platform/rpc/HttpSessionStore.h"

#include <array>

#include <fmt/format.h>
#include <openssl/rand.h>

#include <zo/core/Exceptions.h>
#include "platform/rpc/ClientSession.h"

namespace zo::rpc {

std::string HttpSessionStore::NewToken() {
  std::array<unsigned char, 32> bytes{};
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
    throw Exception("Could not generate a session token");
  }
  std::string token;
  token.reserve(bytes.size() * 2);
  for (const unsigned char b : bytes) token += fmt::format("{:02x}", b);
  return token;
}

void HttpSessionStore::Add(const std::string& token, std::shared_ptr<ClientSession> client) {
  const std::lock_guard lock(mutex_);
  clients_[token] = std::move(client);
}

std::shared_ptr<ClientSession> HttpSessionStore::Find(const std::string& token) {
  const std::lock_guard lock(mutex_);
  const auto it = clients_.find(token);
  if (it == clients_.end()) return nullptr;
  it->second->Touch();
  return it->second;
}

std::shared_ptr<ClientSession> HttpSessionStore::Remove(const std::string& token) {
  const std::lock_guard lock(mutex_);
  auto node = clients_.extract(token);
  return node.empty() ? nullptr : std::move(node.mapped());
}

std::vector<std::shared_ptr<ClientSession>> HttpSessionStore::TakeExpired(
    std::chrono::milliseconds idle) {
  const auto deadline = std::chrono::steady_clock::now() - idle;
  std::vector<std::shared_ptr<ClientSession>> expired;
  const std::lock_guard lock(mutex_);
  for (auto it = clients_.begin(); it != clients_.end();) {
    if (!it->second->Busy() && it->second->LastActivity() < deadline) {
      expired.push_back(std::move(it->second));
      it = clients_.erase(it);
    } else {
      ++it;
    }
  }
  return expired;
}

std::vector<std::shared_ptr<ClientSession>> HttpSessionStore::TakeAll() {
  std::vector<std::shared_ptr<ClientSession>> all;
  const std::lock_guard lock(mutex_);
  for (auto& [token, client] : clients_) all.push_back(std::move(client));
  clients_.clear();
  return all;
}

std::size_t HttpSessionStore::Size() {
  const std::lock_guard lock(mutex_);
  return clients_.size();
}

}  // namespace zo::rpc
