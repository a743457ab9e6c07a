#include "apps/zo-server/ModuleSession.h"

#include <filesystem>
#include <thread>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "apps/zo-server/EngineErrors.h"
#include <zo/core/Exceptions.h>
#include <zo/core/RemoteErrors.h>
#include <zo/platform/db/SQLConnection.h>
#include <zo/server/Refusals.h>
#include <zo/server/RemoteParams.h>
#include <zo/server/UserPasswords.h>

namespace zo::app {
namespace {

// A slow call's trace shows its first statements; a call may run thousands.
constexpr std::size_t kMaxStatementTexts = 50;

// One message for every wrong part of a login, so that the answer tells nothing about which
// part was wrong, nor who the customers are.
constexpr const char* kRefusedLogin = "Usuário ou senha inválidos";

void Log(const rpc::LogSink& log, const std::string& line) {
  if (log) log(line);
}

}  // namespace

TModuleSession::TModuleSession(std::unique_ptr<TZoCustomServerModule> module, std::string customer,
                               std::string user, std::shared_ptr<TServerProbe> probe,
                               bool keepStatementTexts, rpc::LogSink log)
    : module_(std::move(module)),
      customer_(std::move(customer)),
      user_(std::move(user)),
      probe_(std::move(probe)),
      keepStatementTexts_(keepStatementTexts),
      log_(std::move(log)) {
  probe_->Adjust(customer_, 1, 0);
  UpdateAttachment();
}

TModuleSession::~TModuleSession() {
  module_.reset();  // detaches before the gauges say so
  probe_->Adjust(customer_, -1, attached_ ? -1 : 0);
}

void TModuleSession::UpdateAttachment() {
  const TSQLConnection* connection = module_->SQLConnection();
  const bool attached = connection != nullptr && connection->Connected();
  if (attached != attached_) probe_->Adjust(customer_, 0, attached ? 1 : -1);
  attached_ = attached;
}

rpc::StatementTrace TModuleSession::TakeStatementTrace() { return std::exchange(trace_, {}); }

nlohmann::json TModuleSession::Call(const std::string& method, const nlohmann::json& params,
                                    TZoCallback* callback) {
  // Counts the statements of this call on the connection it starts with; afterwards the
  // connection is left untraced and the gauges are brought up to date.
  struct CallScope {
    TModuleSession& session;
    TSQLConnection* connection;
    ~CallScope() {
      if (connection != nullptr) connection->SetTrace(nullptr);
      session.UpdateAttachment();
    }
  } const scope{*this, module_->SQLConnection()};
  trace_ = {0, {}};
  if (scope.connection != nullptr) {
    scope.connection->SetTrace([this](const std::string& sql) {
      ++trace_.count;
      if (keepStatementTexts_ && trace_.texts.size() < kMaxStatementTexts) {
        trace_.texts.push_back(sql);
      }
    });
  }
  try {
    return module_->CallMethod(method, params, callback);
  } catch (const EMethodNotFound&) {
    throw;  // its message names what the client sent, never the server's files
  } catch (const EInvalidParams&) {
    throw;
  } catch (const EAbort&) {
    throw;
  } catch (const std::exception& e) {
    if (!NamesServerFiles(e.what())) throw;
    Log(log_, fmt::format("error: {}/{} {}: {}", customer_, user_, method, e.what()));
    throw Exception(kDatabaseUnavailable);
  }
}

TModuleSessionFactory::TModuleSessionFactory(TModuleClass moduleClass,
                                             std::unique_ptr<IAuthenticator> authenticator,
                                             std::shared_ptr<TServerProbe> probe,
                                             rpc::LogSink log, TLoginThrottleOptions throttle)
    : authenticator_(std::move(authenticator)),
      probe_(std::move(probe)),
      log_(std::move(log)),
      throttle_(throttle) {
  serverClass_.SetModuleClass(std::move(moduleClass));
}

void TModuleSessionFactory::PadLikeAKnownCustomer(
    std::chrono::steady_clock::time_point start) const {
  const auto target = start + std::chrono::microseconds(knownCustomerMicros_.load());
  if (target > std::chrono::steady_clock::now()) std::this_thread::sleep_until(target);
}

void TModuleSessionFactory::RememberKnownCustomerCost(std::chrono::steady_clock::duration cost) {
  const long long sample = std::chrono::duration_cast<std::chrono::microseconds>(cost).count();
  const long long previous = knownCustomerMicros_.load();
  knownCustomerMicros_.store(previous == 0 ? sample : (previous * 7 + sample) / 8);
}

bool TModuleSessionFactory::CheckPassword(const std::string& customer, const std::string& user,
                                          const std::string& password) {
  const auto start = std::chrono::steady_clock::now();
  // An unknown customer or a login that cannot exist costs the same check as a wrong
  // password, and as long as opening a customer's database: timing must not tell them apart.
  if (!IsValidLogin(user) ||
      !std::filesystem::is_directory(
          TCustomerFiles::Resolve(TZoCustomServerModule::GetCustomerDir(customer)))) {
    SpendPasswordCheck(password);
    PadLikeAKnownCustomer(start);
    return false;
  }
  const bool accepted = authenticator_->Authenticate(customer, user, password);
  RememberKnownCustomerCost(std::chrono::steady_clock::now() - start);
  return accepted;
}

std::unique_ptr<rpc::IRpcSession> TModuleSessionFactory::Connect(const nlohmann::json& params,
                                                                 const rpc::ClientInfo& client) {
  const std::string customer = remote::StringParam(params, "customer");
  const std::string user = remote::StringParam(params, "user");
  const std::string password = remote::StringParam(params, "password");
  const std::string address = AddressOfPeer(client.peer);
  const std::string login = customer + "/" + user;
  const auto refuse = [&](const std::string& detail) {
    ReportRefusal({TRefusalKind::rkLogin, customer, user, "connect", address + ": " + detail});
  };
  if (const long long wait = throttle_.WaitSeconds(address, login); wait > 0) {
    refuse("aguardando depois de falhas repetidas");
    throw Exception(fmt::format("Muitas tentativas de acesso; tente de novo em {} s", wait));
  }
  if (!IsValidCustomerId(customer)) {
    throttle_.Failed(address, login);
    refuse("identificador de cliente inválido");
    throw Exception("Identificador de cliente inválido");
  }
  bool accepted = false;
  try {
    accepted = CheckPassword(customer, user, password);
  } catch (const std::exception& e) {
    Log(log_, fmt::format("error: connect {}/{}: {}", customer, user, e.what()));
    throw Exception(kDatabaseUnavailable);
  }
  if (!accepted) {
    throttle_.Failed(address, login);
    refuse("senha, login ou cliente errado");
    throw Exception(kRefusedLogin);
  }
  throttle_.Succeeded(login);
  TModuleCreateArgs args;
  args.username = user;
  args.customerID = customer;
  std::unique_ptr<TZoCustomServerModule> module;
  try {
    module = serverClass_.CreateModule(args);
  } catch (const std::exception& e) {
    if (!NamesServerFiles(e.what())) throw;
    Log(log_, fmt::format("error: connect {}/{}: {}", customer, user, e.what()));
    throw Exception(kDatabaseUnavailable);
  }
  TCreateInstanceEventObject event;
  event.connectionData["userid"] = user;
  event.connectionData["peer"] = client.peer;
  event.serverClassInstance = module.get();
  serverClass_.CreateInstance(event);
  return std::make_unique<TModuleSession>(std::move(module), customer, user, probe_,
                                          keepStatementTexts_, log_);
}

}  // namespace zo::app
