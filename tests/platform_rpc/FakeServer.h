#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <zo/platform/rpc/RpcClient.h>
#include <zo/platform/rpc/RpcHttpClient.h>
#include <zo/platform/rpc/RpcServer.h>

namespace zo::rpc::testing {

// What the fake sessions did, shared with the test that watches them.
class Journal {
 public:
  void Record(const std::string& event);
  void CountSession(int delta);  // +1 when a session is made, -1 when it goes
  int Live();
  // Waits (at most `timeout`) until `condition` holds; it is checked under the journal's lock.
  bool WaitUntil(const std::function<bool()>& condition,
                 std::chrono::milliseconds timeout = std::chrono::seconds(3));
  bool WaitForEvent(const std::string& event);
  bool WaitForLive(int sessions);

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> events_;
  int live_ = 0;
};

// Sessions of a fake application: "Echo" returns its params, "Sleep" {ms} sleeps, "Fail"
// {message} throws zo::Exception, "Abort" zo::EAbort, "Crash" std::runtime_error, "Add" {a, b}
// checks its params, "Progress" {steps} sends one callback command per step and stops when the
// client answers true, "Who" tells customer and user. Password "secret" opens a session.
class FakeFactory : public IRpcSessionFactory {
 public:
  std::unique_ptr<IRpcSession> Connect(const nlohmann::json& params,
                                       const ClientInfo& client) override;
  Journal journal;
};

// A server on a port picked by the system, logging at debug level into nothing.
class TestServer {
 public:
  explicit TestServer(RpcServerOptions options = {});
  ~TestServer();

  Journal& journal() { return factory_->journal; }
  std::uint16_t Port() const { return server_->Port(); }
  // A WebSocket client, opened; connected as ACME/ana unless `connect` is false.
  std::unique_ptr<RpcClient> Client(bool connect = true);
  std::unique_ptr<RpcHttpClient> HttpClient(bool connect = true);

 private:
  std::shared_ptr<FakeFactory> factory_;
  std::unique_ptr<RpcServer> server_;
};

inline const nlohmann::json kCredentials = {
    {"user", "ana"}, {"customer", "ACME"}, {"password", "secret"}};

// The error a call fails with; fails the test when the call succeeds.
template <class Call>
RpcError ErrorOf(Call&& call) {
  try {
    call();
  } catch (const RpcError& error) {
    return error;
  }
  throw std::runtime_error("the call was expected to fail");
}

}  // namespace zo::rpc::testing
