#include "platform/rpc/ClientSession.h"

#include <optional>

#include "platform/rpc/CallbackChannel.h"
#include <zo/platform/rpc/RpcError.h>
#include "platform/rpc/ServerContext.h"
#include "platform/rpc/WorkerPool.h"

namespace zo::rpc {

using nlohmann::json;
using Clock = std::chrono::steady_clock;

namespace {

constexpr const char* kCallbacksBusy =
    "The server is busy: too many calls are waiting for their clients' answers; try again later";

bool WantsCallback(const json& params) {
  const auto it = params.find("Callback");
  return it != params.end() && *it == true;
}

std::string StringParam(const json& params, const char* name) {
  const auto it = params.find(name);
  return it != params.end() && it->is_string() ? it->get<std::string>() : std::string();
}

}  // namespace

ClientSession::ClientSession(ServerContext& server, ClientInfo info,
                             std::shared_ptr<CallbackChannel> channel, json connectResult,
                             std::function<void()> callEnded)
    : server_(server),
      info_(std::move(info)),
      channel_(std::move(channel)),
      connectResult_(std::move(connectResult)),
      callEnded_(std::move(callEnded)),
      queue_(std::make_shared<SerialQueue>(server.pool)),
      lastActivity_(Clock::now().time_since_epoch().count()) {}

// A session whose destruction task never ran (the server stopped first) goes here.
ClientSession::~ClientSession() = default;

void ClientSession::Submit(Request request, Reply reply) {
  ++pending_;
  Touch();
  // A login runs on workers of its own, so that it never waits behind other clients' calls.
  auto pool = request.method == "connect" ? server_.connectPool : nullptr;
  queue_->Post(
      [self = shared_from_this(), request = std::move(request), reply = std::move(reply)] {
        self->Run(request, reply);
        self->Touch();
        --self->pending_;
        if (self->callEnded_) self->callEnded_();
      },
      std::move(pool));
}

bool ClientSession::Saturated() const {
  return pending_ >= static_cast<int>(server_.options.maxQueuedCalls);
}

void ClientSession::Close(const std::string& reason) {
  if (closed_.exchange(true)) return;
  queue_->Post([self = shared_from_this(), reason] { self->DestroySession(reason); });
}

Clock::time_point ClientSession::LastActivity() const {
  return Clock::time_point(Clock::duration(lastActivity_.load()));
}

void ClientSession::Touch() { lastActivity_ = Clock::now().time_since_epoch().count(); }

void ClientSession::Run(const Request& request, const Reply& reply) {
  const auto start = Clock::now();
  const auto refuse = [&](int code, const std::string& message) {
    CallRecord record{info_, request.method};
    record.code = code;
    record.error = message;
    Finish(record, start, code == codes::kAlreadyConnected);
    if (!request.notification) reply(ErrorResponse(request.id, code, message));
  };
  if (closed_) return refuse(codes::kNotConnected, "Session closed");
  if (server_.stopping) return refuse(codes::kShuttingDown, "The server is shutting down");
  if (request.method == "connect") {
    if (session_) return refuse(codes::kAlreadyConnected, "Already connected");
    return RunConnect(request, reply);
  }
  if (!session_) {
    return refuse(codes::kNotConnected, "Not connected: call \"connect\" first");
  }
  RunCall(request, reply);
}

void ClientSession::RunConnect(const Request& request, const Reply& reply) {
  const auto start = Clock::now();
  CallRecord record{info_, request.method, StringParam(request.params, "customer"),
                    StringParam(request.params, "user")};
  std::string response;
  try {
    session_ = server_.factory->Connect(request.params, info_);
    if (!session_) throw Exception("Connection refused");
    connected_ = true;
    record.customer = session_->Customer();
    record.user = session_->User();
    response = ResultResponse(request.id, connectResult_);
  } catch (...) {
    const ErrorInfo error = DescribeCurrentException();
    record.code = error.code;
    record.error = error.message;
    response = ErrorResponse(request.id, error.code, error.message, error.data);
  }
  Finish(record, start, true);
  if (!request.notification) reply(std::move(response));
}

void ClientSession::RunCall(const Request& request, const Reply& reply) {
  const auto start = Clock::now();
  CallRecord record{info_, request.method, session_->Customer(), session_->User()};
  std::unique_ptr<TZoCallback> callback;
  std::optional<CallLimit::Slot> slot;
  if (WantsCallback(request.params)) {
    if (channel_) {
      // This call may wait for its client: it needs one of the places kept for such calls.
      slot.emplace(server_.callbackCalls);
      if (!slot->Held()) {
        record.code = codes::kBusy;
        record.error = kCallbacksBusy;
        Finish(record, start, true);
        if (!request.notification) {
          reply(ErrorResponse(request.id, codes::kBusy, kCallbacksBusy));
        }
        return;
      }
      callback = channel_->MakeCallback();
    } else {
      callback = MakeDroppingCallback();
    }
  }
  std::string response;
  try {
    response =
        ResultResponse(request.id, session_->Call(request.method, request.params, callback.get()));
  } catch (...) {
    const ErrorInfo error = DescribeCurrentException();
    record.code = error.code;
    record.error = error.message;
    response = ErrorResponse(request.id, error.code, error.message, error.data);
  }
  record.customer = session_->Customer();
  record.user = session_->User();
  record.statements = session_->TakeStatementTrace();
  Finish(record, start, true);
  if (!request.notification) reply(std::move(response));
}

// Before the reply: a client that has its answer finds the call counted and logged.
void ClientSession::Finish(CallRecord& record, Clock::time_point start, bool sessionSawMethod) {
  record.duration = Clock::now() - start;
  server_.metrics.CountCall(record.method, record.code, record.duration, sessionSawMethod);
  server_.log.WriteCall(record, server_.options.slowCall);
}

void ClientSession::DestroySession(const std::string& reason) {
  if (!session_) return;
  if (server_.log.Enabled(LogLevel::kDebug)) {
    server_.log.Write(LogLevel::kDebug,
                      "rpc " + info_.transport + " " + info_.peer + " session closed (" + reason +
                          "): customer=" + session_->Customer() + " user=" + session_->User());
  }
  connected_ = false;
  session_.reset();
}

}  // namespace zo::rpc
