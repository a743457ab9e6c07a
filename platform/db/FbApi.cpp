#include "platform/db/FbApi.h"

#include <array>

#include <zo/platform/db/DatabaseError.h>

namespace zo::fb {

Firebird::IMaster* Master() {
  static Firebird::IMaster* const master = Firebird::fb_get_master_interface();
  return master;
}

Firebird::IUtil* Util() {
  static Firebird::IUtil* const util = Master()->getUtilInterface();
  return util;
}

std::string FormatStatus(Firebird::IStatus* status) {
  std::array<char, 8192> buffer{};
  const unsigned length = Util()->formatStatus(buffer.data(), buffer.size(), status);
  std::string text(buffer.data(), std::min<std::size_t>(length, buffer.size()));
  // Firebird ends the text with a newline on some paths; the message should not.
  while (!text.empty() && (text.back() == '\n' || text.back() == '\0')) {
    text.pop_back();
  }
  return text;
}

void ThrowStatus::checkException(ThrowStatus* status) {
  if (!status->dirty || !(status->getState() & Firebird::IStatus::STATE_ERRORS)) {
    return;
  }
  throw EDatabaseError(FormatStatus(status), status->getErrors());
}

namespace {

// Set when this thread's pool is gone: objects destroyed later in the thread's (or the
// program's) exit, such as a static connection, still get statuses, just unpooled. A plain
// bool has no destructor, so it stays readable until the thread ends.
thread_local bool statusPoolGone = false;

// Creating a status costs an allocation, about as much as a few engine calls, and every
// statement needs several; so each thread keeps a few for reuse.
class StatusPool {
 public:
  StatusPool() { free_.reserve(kKeep); }
  ~StatusPool() {
    statusPoolGone = true;
    for (Firebird::IStatus* status : free_) {
      status->dispose();
    }
  }
  StatusPool(const StatusPool&) = delete;
  StatusPool& operator=(const StatusPool&) = delete;

  Firebird::IStatus* Acquire() {
    if (free_.empty()) {
      return Master()->getStatus();
    }
    Firebird::IStatus* status = free_.back();
    free_.pop_back();
    return status;
  }

  void Release(Firebird::IStatus* status) noexcept {
    if (free_.size() < kKeep) {
      status->init();
      free_.push_back(status);  // within the reserved capacity: cannot throw
    } else {
      status->dispose();
    }
  }

 private:
  static constexpr std::size_t kKeep = 8;
  std::vector<Firebird::IStatus*> free_;
};

thread_local StatusPool statusPool;

Firebird::IStatus* AcquireStatus() {
  return statusPoolGone ? Master()->getStatus() : statusPool.Acquire();
}

void ReleaseStatus(Firebird::IStatus* status) noexcept {
  if (statusPoolGone) {
    status->dispose();
  } else {
    statusPool.Release(status);
  }
}

}  // namespace

Status::Status() : status_(AcquireStatus()), throwing_(status_), checking_(status_) {}

Status::~Status() { ReleaseStatus(status_); }

bool Status::Failed() const { return status_->getState() & Firebird::IStatus::STATE_ERRORS; }

ParamBlock::ParamBlock(unsigned kind) {
  Status status;
  builder_ = Util()->getXpbBuilder(status.Throwing(), kind, nullptr, 0);
}

ParamBlock::~ParamBlock() { builder_->dispose(); }

ParamBlock& ParamBlock::Tag(unsigned char tag) {
  Status status;
  builder_->insertTag(status.Throwing(), tag);
  return *this;
}

ParamBlock& ParamBlock::Int(unsigned char tag, int value) {
  Status status;
  builder_->insertInt(status.Throwing(), tag, value);
  return *this;
}

ParamBlock& ParamBlock::String(unsigned char tag, const std::string& value) {
  Status status;
  builder_->insertString(status.Throwing(), tag, value.c_str());
  return *this;
}

std::vector<unsigned char> ParamBlock::Bytes() {
  Status status;
  const unsigned length = builder_->getBufferLength(status.Throwing());
  const unsigned char* data = builder_->getBuffer(status.Throwing());
  return {data, data + length};
}

}  // namespace zo::fb
