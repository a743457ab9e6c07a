#pragma once

#include <atomic>

namespace zo::rpc {

// A cap on how many calls of one kind run at once, over all clients; thread-safe. Used for
// the calls that may wait for their client's callback answers: each holds a worker for as
// long as its client takes to answer, so without a cap a few silent clients hold them all.
class CallLimit {
 public:
  explicit CallLimit(unsigned limit) : limit_(limit) {}

  // A place for one call, or none (then Held() is false); released by the destructor.
  class Slot {
   public:
    explicit Slot(CallLimit& limit) : limit_(limit.Take() ? &limit : nullptr) {}
    ~Slot() {
      if (limit_) limit_->count_.fetch_sub(1);
    }
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;
    bool Held() const { return limit_ != nullptr; }

   private:
    CallLimit* limit_;
  };

  unsigned Limit() const { return limit_; }

 private:
  bool Take() {
    unsigned current = count_.load();
    do {
      if (current >= limit_) return false;
    } while (!count_.compare_exchange_weak(current, current + 1));
    return true;
  }

  const unsigned limit_;
  std::atomic<unsigned> count_{0};
};

}  // namespace zo::rpc
