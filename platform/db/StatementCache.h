#pragma once

// Internal to platform/db: the prepared statements one attachment keeps for reuse.

#include <cstddef>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/db/ColumnLayout.h"
#include "platform/db/FbHandles.h"
#include "platform/db/StatementInput.h"

namespace zo::db {

// A statement ready to run once: prepared (or taken from the cache) and, when it came from the
// cache, the message with its values. `cacheKey` empty: it was prepared for this execution only
// and is freed afterwards.
struct PreparedStatement {
  fb::Statement statement;
  std::string cacheKey;
  std::shared_ptr<const StatementInput> input;
  std::vector<unsigned char> message;
  std::shared_ptr<const ColumnLayout> output;  // read by the first cursor over the statement
  bool reused = false;                         // prepared before this execution

  Firebird::IMessageMetadata* InputMetadata() const { return input ? input->Metadata() : nullptr; }
  unsigned char* InputMessage() { return message.empty() ? nullptr : message.data(); }
};

// Least recently used first out, at most `capacity` entries; capacity 0 keeps nothing. A
// statement is taken out while it runs (a reader may keep it for a while), so two readers of the
// same text never share one; returning a second copy of a text already kept frees it. An entry
// without a statement records a text whose lifted form did not prepare. A taken entry keeps its
// place (and its key's storage) until it is given back, so running a kept statement allocates
// nothing here.
class StatementCache {
 public:
  struct Entry {
    fb::Statement statement;  // empty: the lifted text does not prepare
    std::shared_ptr<const StatementInput> input;
    std::shared_ptr<const ColumnLayout> output;  // null until a cursor has read it
    std::vector<unsigned char> message;          // the last run's, its storage reused
  };

  explicit StatementCache(std::size_t capacity) : capacity_(capacity) {}

  bool Enabled() const { return capacity_ > 0; }
  // Removes and returns the entry for `key`; an empty Entry with `found` false when none.
  Entry Take(const std::string& key, bool& found);
  void Give(const std::string& key, Entry entry) noexcept;
  // Gives back a statement that ran; one prepared for a single execution is freed.
  void Return(PreparedStatement& prepared) noexcept;
  // Frees every kept statement (metadata changed, or the attachment is ending).
  void Clear() noexcept;
  // Entries kept, taken ones included.
  std::size_t Size() const { return index_.size(); }

 private:
  struct Slot {
    Entry entry;
    bool taken = false;
  };
  using Order = std::list<std::pair<const std::string, Slot>>;
  std::size_t capacity_;
  Order order_;  // most recently given first
  // Keys are views of the strings in order_.
  std::unordered_map<std::string_view, Order::iterator> index_;
};

// The capacity a new connection's cache gets: ZO_STATEMENT_CACHE_SIZE when set (0 turns reuse
// off, for measuring), else 100.
std::size_t DefaultStatementCacheSize();

}  // namespace zo::db
