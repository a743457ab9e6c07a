#include "apps/zo-server/LoginThrottle.h"

#include <algorithm>

namespace zo::app {

TLoginThrottle::Clock::duration TLoginThrottle::Wait(const TTable& table, const std::string& key,
                                                     int freeFailures,
                                                     Clock::time_point now) const {
  const auto it = table.find(key);
  if (it == table.end() || now - it->second.last >= options_.forgetAfter) return {};
  const int over = it->second.failures - freeFailures;
  if (over <= 0) return {};
  const auto wait = std::min<Clock::duration>(std::chrono::seconds(1LL << std::min(over - 1, 20)),
                                              options_.maxWait);
  const auto until = it->second.last + wait;
  return until > now ? until - now : Clock::duration{};
}

long long TLoginThrottle::WaitSeconds(const std::string& address, const std::string& login,
                                      Clock::time_point now) {
  std::lock_guard lock(mutex_);
  const auto wait = std::max(Wait(byAddress_, address, options_.freeFailuresPerAddress, now),
                             Wait(byLogin_, login, options_.freeFailuresPerLogin, now));
  if (wait <= Clock::duration{}) return 0;
  // Rounded up: "try again in 0 s" would be a lie.
  return std::chrono::ceil<std::chrono::seconds>(wait).count();
}

void TLoginThrottle::Count(TTable& table, const std::string& key, Clock::time_point now) {
  if (table.size() >= options_.maxKeys && table.find(key) == table.end()) {
    std::erase_if(table,
                  [&](const auto& item) { return now - item.second.last >= options_.forgetAfter; });
    if (table.size() >= options_.maxKeys) {
      table.erase(std::min_element(table.begin(), table.end(), [](const auto& a, const auto& b) {
        return a.second.last < b.second.last;
      }));
    }
  }
  TEntry& entry = table[key];
  if (now - entry.last >= options_.forgetAfter) entry.failures = 0;
  ++entry.failures;
  entry.last = now;
}

void TLoginThrottle::Failed(const std::string& address, const std::string& login,
                            Clock::time_point now) {
  std::lock_guard lock(mutex_);
  Count(byAddress_, address, now);
  Count(byLogin_, login, now);
}

void TLoginThrottle::Succeeded(const std::string& login) {
  std::lock_guard lock(mutex_);
  byLogin_.erase(login);
}

std::string AddressOfPeer(const std::string& peer) {
  if (peer.starts_with('[')) {
    const size_t close = peer.find(']');
    return close == std::string::npos ? peer : peer.substr(1, close - 1);
  }
  const size_t colon = peer.rfind(':');
  return colon == std::string::npos ? peer : peer.substr(0, colon);
}

}  // namespace zo::app
