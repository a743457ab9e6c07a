#include "apps/zo-server/ModuleSession.h"

#include <filesystem>
#include <utility>

#include <nlohmann/json.hpp>

#include <zo/core/Exceptions.h>
#include <zo/platform/db/SQLConnection.h>
#include <zo/server/UserPasswords.h>

namespace zo::app {
namespace {

// A slow call's trace shows its first statements; a call may run thousands.
constexpr std::size_t kMaxStatementTexts = 50;

std::string TextParam(const nlohmann::json& params, const char* name) {
  if (!params.is_object() || !params.contains(name)) {
    throw rpc::InvalidParams(std::string("Parâmetro obrigatório ausente: ") + name);
  }
  // Told apart from a missing one: a client that sends a number must not go looking for a
  // parameter it did send.
  if (!params.at(name).is_string()) {
    throw rpc::InvalidParams(std::string("Parâmetro ") + name + ": esperado texto");
  }
  return params.at(name).get<std::string>();
}

}  // namespace

TModuleSession::TModuleSession(std::unique_ptr<TZoCustomServerModule> module, std::string customer,
                               std::string user, std::shared_ptr<TServerProbe> probe,
                               bool keepStatementTexts)
    : module_(std::move(module)),
      customer_(std::move(customer)),
      user_(std::move(user)),
      probe_(std::move(probe)),
      keepStatementTexts_(keepStatementTexts) {
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
  } catch (const EMethodNotFound& e) {
    throw rpc::MethodNotFound(e.what());
  } catch (const EInvalidParams& e) {
    throw rpc::InvalidParams(e.what());
  }
}

TModuleSessionFactory::TModuleSessionFactory(TModuleClass moduleClass,
                                             std::unique_ptr<IAuthenticator> authenticator,
                                             std::shared_ptr<TServerProbe> probe)
    : authenticator_(std::move(authenticator)), probe_(std::move(probe)) {
  serverClass_.SetModuleClass(std::move(moduleClass));
}

std::unique_ptr<rpc::IRpcSession> TModuleSessionFactory::Connect(const nlohmann::json& params,
                                                                 const rpc::ClientInfo& client) {
  const std::string customer = TextParam(params, "customer");
  const std::string user = TextParam(params, "user");
  const std::string password = TextParam(params, "password");
  if (!IsValidCustomerId(customer)) throw Exception("Identificador de cliente inválido");
  // An unknown customer is answered like a wrong password: before it has logged in, a client
  // must not learn who the customers of this server are.
  const std::string refused = "Usuário ou senha inválidos";
  if (!IsValidLogin(user)) throw Exception(refused);
  const auto customerDir = TZoCustomServerModule::GetCustomerDir(customer);
  if (!std::filesystem::is_directory(customerDir)) throw Exception(refused);
  if (!authenticator_->Authenticate(customer, user, password)) throw Exception(refused);
  TModuleCreateArgs args;
  args.username = user;
  args.customerID = customer;
  auto module = serverClass_.CreateModule(args);
  TCreateInstanceEventObject event;
  event.connectionData["userid"] = user;
  event.connectionData["peer"] = client.peer;
  event.serverClassInstance = module.get();
  serverClass_.CreateInstance(event);
  return std::make_unique<TModuleSession>(std::move(module), customer, user, probe_,
                                          keepStatementTexts_);
}

}  // namespace zo::app
