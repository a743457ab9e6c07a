#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <string>

#include "apps/zo-server/ServerProbe.h"
#include "apps/zo-server/LoginThrottle.h"
#include <zo/appserver/Authenticator.h>
#include <zo/platform/rpc/RpcServer.h>
#include <zo/platform/rpc/RpcSession.h>
#include <zo/server/ZoServer.h>

namespace zo::app {

// One client's server module behind the remote-method transport.
class TModuleSession : public rpc::IRpcSession {
 public:
  TModuleSession(std::unique_ptr<TZoCustomServerModule> module, std::string customer,
                 std::string user, std::shared_ptr<TServerProbe> probe, bool keepStatementTexts,
                 rpc::LogSink log);
  ~TModuleSession() override;
  TModuleSession(const TModuleSession&) = delete;
  TModuleSession& operator=(const TModuleSession&) = delete;
  nlohmann::json Call(const std::string& method, const nlohmann::json& params,
                      TZoCallback* callback) override;
  std::string Customer() const override { return customer_; }
  std::string User() const override { return user_; }
  rpc::StatementTrace TakeStatementTrace() override;

 private:
  // Tells the probe whether the module's database is attached now (a call may have switched
  // databases or closed the connection).
  void UpdateAttachment();

  std::unique_ptr<TZoCustomServerModule> module_;
  std::string customer_;
  std::string user_;
  std::shared_ptr<TServerProbe> probe_;
  bool attached_ = false;
  const bool keepStatementTexts_;
  rpc::StatementTrace trace_;
  rpc::LogSink log_;
};

// Turns a "connect" into a module: checks the untrusted identifiers (so that no customer id
// escapes CustomersDB and no login can alter the user look-up), that the customer exists,
// and the password, then asks the server class for the module. Failed logins are throttled
// per address and per login (TLoginThrottle); every failure costs one password check.
class TModuleSessionFactory : public rpc::IRpcSessionFactory {
 public:
  TModuleSessionFactory(TModuleClass moduleClass, std::unique_ptr<IAuthenticator> authenticator,
                        std::shared_ptr<TServerProbe> probe, rpc::LogSink log,
                        TLoginThrottleOptions throttle = {});
  std::unique_ptr<rpc::IRpcSession> Connect(const nlohmann::json& params,
                                            const rpc::ClientInfo& client) override;
  // Sessions keep the texts of their calls' first statements, for the slow-call log.
  void KeepStatementTexts(bool keep) { keepStatementTexts_ = keep; }

 private:
  bool CheckPassword(const std::string& customer, const std::string& user,
                     const std::string& password);

  // A refusal without a database to open (unknown customer, impossible login) is drawn out to
  // what checks against a real customer took lately, so that its answer comes no sooner.
  void PadLikeAKnownCustomer(std::chrono::steady_clock::time_point start) const;
  void RememberKnownCustomerCost(std::chrono::steady_clock::duration cost);

  TZoServerClass serverClass_;
  std::unique_ptr<IAuthenticator> authenticator_;
  std::shared_ptr<TServerProbe> probe_;
  bool keepStatementTexts_ = false;
  rpc::LogSink log_;
  TLoginThrottle throttle_;
  std::atomic<long long> knownCustomerMicros_{0};  // moving average
};

}  // namespace zo::app
