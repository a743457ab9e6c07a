#include "FakeServer.h"

#include <algorithm>
#include <stdexcept>
#include <thread>

namespace zo::rpc::testing {

using nlohmann::json;

void Journal::Record(const std::string& event) {
  const std::lock_guard lock(mutex_);
  events_.push_back(event);
  changed_.notify_all();
}

void Journal::CountSession(int delta) {
  const std::lock_guard lock(mutex_);
  live_ += delta;
  changed_.notify_all();
}

int Journal::Live() {
  const std::lock_guard lock(mutex_);
  return live_;
}

bool Journal::WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, timeout, condition);
}

bool Journal::WaitForEvent(const std::string& event) {
  return WaitUntil(
      [&] { return std::find(events_.begin(), events_.end(), event) != events_.end(); });
}

bool Journal::WaitForLive(int sessions) {
  return WaitUntil([&] { return live_ == sessions; });
}

namespace {

class FakeSession : public IRpcSession {
 public:
  FakeSession(Journal& journal, std::string customer, std::string user)
      : journal_(journal), customer_(std::move(customer)), user_(std::move(user)) {
    journal_.CountSession(1);
  }
  ~FakeSession() override { journal_.CountSession(-1); }

  json Call(const std::string& method, const json& params, TZoCallback* callback) override {
    journal_.Record("call " + method);
    if (method == "Echo") return params;
    if (method == "Who") return {{"customer", customer_}, {"user", user_}};
    if (method == "Sleep") {
      std::this_thread::sleep_for(std::chrono::milliseconds(params.at("ms").get<int>()));
      return params.at("ms");
    }
    if (method == "Fail") throw Exception(params.at("message").get<std::string>());
    if (method == "Abort") throw EAbort();
    if (method == "Crash") throw std::runtime_error("boom");
    if (method == "Add") {
      const auto number = [&](const char* name) {
        return params.contains(name) && params[name].is_number();
      };
      if (!number("a") || !number("b")) {
        throw EInvalidParams("Add needs numbers a and b");
      }
      return params["a"].get<int>() + params["b"].get<int>();
    }
    if (method == "Progress") return Progress(params.at("steps").get<int>(), callback);
    throw EMethodNotFound("Unknown method: " + method);
  }
  std::string Customer() const override { return customer_; }
  std::string User() const override { return user_; }

 private:
  json Progress(int steps, TZoCallback* callback) {
    if (!callback) throw EInvalidParams("Progress needs \"Callback\": true");
    try {
      for (int step = 0; step < steps; ++step) {
        if (callback->Execute({{"step", step}}) == true) throw EAbort();
      }
    } catch (const Exception& e) {
      journal_.Record("progress failed: " + e.Message());
      throw;
    }
    return steps;
  }

  Journal& journal_;
  std::string customer_;
  std::string user_;
};

}  // namespace

std::unique_ptr<IRpcSession> FakeFactory::Connect(const json& params, const ClientInfo&) {
  if (params.value("password", "") != "secret") throw Exception("Usuário ou senha inválidos");
  return std::make_unique<FakeSession>(journal, params.value("customer", ""),
                                       params.value("user", ""));
}

TestServer::TestServer(RpcServerOptions options) : factory_(std::make_shared<FakeFactory>()) {
  options.workers = std::max(options.workers, 4u);
  options.logLevel = LogLevel::kDebug;
  options.logSink = [](const std::string&) {};
  server_ = std::make_unique<RpcServer>(factory_, options);
  server_->Start();
}

TestServer::~TestServer() { server_->Stop(); }

namespace {
template <class Client>
std::unique_ptr<Client> Opened(std::uint16_t port, bool connect) {
  RpcClientOptions options;
  options.timeout = std::chrono::seconds(5);  // a hung server fails the test, not the run
  auto client = std::make_unique<Client>(options);
  client->Open("127.0.0.1", port);
  if (connect) client->Connect(kCredentials);
  return client;
}
}  // namespace

std::unique_ptr<RpcClient> TestServer::Client(bool connect) {
  return Opened<RpcClient>(Port(), connect);
}

std::unique_ptr<RpcHttpClient> TestServer::HttpClient(bool connect) {
  return Opened<RpcHttpClient>(Port(), connect);
}

}  // namespace zo::rpc::testing
