#include "platform/rpc/CallbackChannel.h"

#include <zo/core/Exceptions.h>

#include "platform/rpc/ServerMetrics.h"

namespace zo::rpc {

using nlohmann::json;

namespace {

class ChannelCallback : public TZoCallback {
 public:
  explicit ChannelCallback(std::shared_ptr<CallbackChannel> channel)
      : channel_(std::move(channel)) {}
  json Execute(const json& value) override { return channel_->Request(value); }

 private:
  std::shared_ptr<CallbackChannel> channel_;
};

class DroppingCallback : public TZoCallback {
 public:
  json Execute(const json&) override { return false; }
};

}  // namespace

CallbackChannel::CallbackChannel(Sender send, std::chrono::milliseconds timeout,
                                 ServerMetrics* metrics)
    : send_(std::move(send)), timeout_(timeout), metrics_(metrics) {}

std::string CallbackChannel::NextId() { return "cb-" + std::to_string(++counter_); }

json CallbackChannel::Request(const json& command) {
  std::string id;
  std::future<json> answer;
  {
    const std::lock_guard lock(mutex_);
    if (closed_) throw EAbort();
    id = NextId();
    answer = pending_[id].get_future();
  }
  if (!send_(CallbackRequest(id, command))) {
    Forget(id);
    throw EAbort();
  }
  if (metrics_ != nullptr) metrics_->CallbackWaitStarted();
  const bool answered = Answered(answer);
  if (metrics_ != nullptr) metrics_->CallbackWaitEnded();
  if (!answered) {
    // The client is connected but silent: give up, so the call ends and its work rolls back.
    Forget(id);
    throw EAbort();
  }
  return answer.get();
}

void CallbackChannel::Forget(const std::string& id) {
  const std::lock_guard lock(mutex_);
  pending_.erase(id);
}

bool CallbackChannel::Answered(std::future<json>& answer) const {
  if (timeout_.count() == 0) {
    answer.wait();
    return true;
  }
  return answer.wait_for(timeout_) == std::future_status::ready;
}

void CallbackChannel::Resolve(const Answer& answer) {
  auto node = [&] {
    const std::lock_guard lock(mutex_);
    return pending_.extract(answer.id);
  }();
  if (node.empty()) return;
  if (answer.failed) {
    node.mapped().set_exception(std::make_exception_ptr(Exception(answer.errorMessage)));
  } else {
    node.mapped().set_value(answer.result);
  }
}

void CallbackChannel::Close() {
  std::map<std::string, std::promise<json>> broken;
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    broken.swap(pending_);
  }
  for (auto& [id, promise] : broken) promise.set_exception(std::make_exception_ptr(EAbort()));
}

std::unique_ptr<TZoCallback> CallbackChannel::MakeCallback() {
  return std::make_unique<ChannelCallback>(shared_from_this());
}

std::unique_ptr<TZoCallback> MakeDroppingCallback() { return std::make_unique<DroppingCallback>(); }

}  // namespace zo::rpc
