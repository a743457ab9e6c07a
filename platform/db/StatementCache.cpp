#include "platform/db/StatementCache.h"

#include <cstdlib>
#include <string>

namespace zo::db {

StatementCache::Entry StatementCache::Take(const std::string& key, bool& found) {
  const auto it = index_.find(key);
  found = it != index_.end();
  if (!found) return {};
  Entry entry = std::move(it->second->second);
  order_.erase(it->second);
  index_.erase(it);
  return entry;
}

void StatementCache::Give(const std::string& key, Entry entry) noexcept {
  if (capacity_ == 0 || index_.count(key) > 0) return;  // `entry` frees its statement
  try {
    order_.emplace_front(key, std::move(entry));
    index_.emplace(key, order_.begin());
  } catch (...) {
    if (!order_.empty() && index_.count(order_.front().first) == 0) order_.pop_front();
    return;
  }
  while (index_.size() > capacity_) {
    index_.erase(order_.back().first);
    order_.pop_back();
  }
}

void StatementCache::Return(PreparedStatement& prepared) noexcept {
  if (prepared.cacheKey.empty() || !prepared.statement) {
    prepared.statement.Reset();
    return;
  }
  Give(prepared.cacheKey, Entry{std::move(prepared.statement), std::move(prepared.input),
                                std::move(prepared.output), std::move(prepared.message)});
}

void StatementCache::Clear() noexcept {
  index_.clear();
  order_.clear();
}

std::size_t DefaultStatementCacheSize() {
  constexpr std::size_t kDefault = 100;
  const char* setting = std::getenv("ZO_STATEMENT_CACHE_SIZE");
  if (setting == nullptr || *setting == '\0') return kDefault;
  char* end = nullptr;
  const unsigned long value = std::strtoul(setting, &end, 10);
  return *end == '\0' ? static_cast<std::size_t>(value) : kDefault;
}

}  // namespace zo::db
