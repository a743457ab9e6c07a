#include "platform/db/StatementCache.h"

#include <cstdlib>
#include <string>
#include <tuple>
#include <utility>

namespace zo::db {

StatementCache::Entry StatementCache::Take(const std::string& key, bool& found) {
  const auto it = index_.find(key);
  found = it != index_.end() && !it->second->second.taken;
  if (!found) return {};
  Slot& slot = it->second->second;
  slot.taken = true;
  return std::move(slot.entry);
}

void StatementCache::Give(const std::string& key, Entry entry) noexcept {
  if (capacity_ == 0) return;
  if (const auto it = index_.find(key); it != index_.end()) {
    Slot& slot = it->second->second;
    if (!slot.taken) return;  // a second copy: `entry` frees its statement
    slot = Slot{std::move(entry), false};
    order_.splice(order_.begin(), order_, it->second);
    return;
  }
  try {
    order_.emplace_front(std::piecewise_construct, std::forward_as_tuple(key),
                         std::forward_as_tuple(Slot{std::move(entry), false}));
    index_.emplace(order_.front().first, order_.begin());
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
