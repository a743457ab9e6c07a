#pragma once

// Internal to platform/db: RAII owners for Firebird interfaces.
//
// Firebird's rule: detach, commit, rollback, close and free release the interface when they
// succeed; when they fail the interface is still ours and release() must drop it. Owned<>
// applies that rule in exactly one place, so no caller can get it wrong.

#include <utility>

#include "platform/db/FbApi.h"

namespace zo::fb {

template <class Itf, class EndCall>
class Owned {
 public:
  Owned() = default;
  explicit Owned(Itf* itf) : itf_(itf) {}
  ~Owned() { Reset(); }
  Owned(Owned&& other) noexcept : itf_(std::exchange(other.itf_, nullptr)) {}
  Owned& operator=(Owned&& other) noexcept {
    if (this != &other) {
      Reset();
      itf_ = std::exchange(other.itf_, nullptr);
    }
    return *this;
  }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;

  Itf* get() const { return itf_; }
  Itf* operator->() const { return itf_; }
  explicit operator bool() const { return itf_ != nullptr; }

  // Ends the interface with its own call (e.g. commit instead of the default rollback) and
  // throws on failure; on failure the interface stays owned, so the destructor still ends it.
  template <class Call>
  void EndWith(Call call) {
    Status status;
    call(itf_, status.Throwing());
    itf_ = nullptr;
  }

  // Ends the interface with the default call, never throwing.
  void Reset() noexcept {
    if (itf_ == nullptr) {
      return;
    }
    Status status;
    EndCall{}(itf_, status.Checking());
    if (status.Failed()) {
      itf_->release();
    }
    itf_ = nullptr;
  }

 private:
  Itf* itf_ = nullptr;
};

struct DetachCall {
  void operator()(Firebird::IAttachment* a, Firebird::CheckStatusWrapper* s) const { a->detach(s); }
};
struct RollbackCall {
  void operator()(Firebird::ITransaction* t, Firebird::CheckStatusWrapper* s) const {
    t->rollback(s);
  }
};
struct FreeCall {
  void operator()(Firebird::IStatement* st, Firebird::CheckStatusWrapper* s) const { st->free(s); }
};
struct CloseCall {
  template <class Itf>
  void operator()(Itf* itf, Firebird::CheckStatusWrapper* s) const {
    itf->close(s);
  }
};

using Attachment = Owned<Firebird::IAttachment, DetachCall>;
// A transaction nobody committed is rolled back: an exception can never leave one open.
using Transaction = Owned<Firebird::ITransaction, RollbackCall>;
using Statement = Owned<Firebird::IStatement, FreeCall>;
using ResultSet = Owned<Firebird::IResultSet, CloseCall>;
using Blob = Owned<Firebird::IBlob, CloseCall>;

// A plain counted reference (metadata, providers, or a second reference to a transaction).
template <class Itf>
class Ref {
 public:
  Ref() = default;
  explicit Ref(Itf* itf) : itf_(itf) {}  // adopts a reference
  static Ref Share(Itf* itf) {
    if (itf != nullptr) {
      itf->addRef();
    }
    return Ref(itf);
  }
  ~Ref() { Reset(); }
  Ref(Ref&& other) noexcept : itf_(std::exchange(other.itf_, nullptr)) {}
  Ref& operator=(Ref&& other) noexcept {
    if (this != &other) {
      Reset();
      itf_ = std::exchange(other.itf_, nullptr);
    }
    return *this;
  }
  Ref(const Ref&) = delete;
  Ref& operator=(const Ref&) = delete;

  Itf* get() const { return itf_; }
  Itf* operator->() const { return itf_; }
  explicit operator bool() const { return itf_ != nullptr; }
  void Reset() noexcept {
    if (itf_ != nullptr) {
      itf_->release();
      itf_ = nullptr;
    }
  }

 private:
  Itf* itf_ = nullptr;
};

}  // namespace zo::fb
