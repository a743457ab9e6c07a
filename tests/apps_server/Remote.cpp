#include "tests/apps_server/Remote.h"

namespace zo::testing {
namespace {

class WsRemote : public Remote {
 public:
  WsRemote(const Deployment& deployment, const Customer& customer)
      : client_(deployment.ConnectWs(customer)) {
    client_->SetCallbackHandler([this](const json& command) {
      commands_.push_back(command);
      return json(false);
    });
  }
  json Call(const std::string& method, const json& params) override {
    return client_->Call(method, params);
  }

 private:
  std::unique_ptr<rpc::RpcClient> client_;
};

class HttpRemote : public Remote {
 public:
  HttpRemote(const Deployment& deployment, const Customer& customer)
      : client_(deployment.ConnectHttp(customer)) {}
  json Call(const std::string& method, const json& params) override {
    return client_->Call(method, params);
  }

 private:
  std::unique_ptr<rpc::RpcHttpClient> client_;
};

}  // namespace

std::unique_ptr<Remote> ConnectRemote(const Deployment& deployment, const std::string& transport,
                                      const Customer& customer) {
  if (transport == "ws") return std::make_unique<WsRemote>(deployment, customer);
  return std::make_unique<HttpRemote>(deployment, customer);
}

std::string ShortType(const json& object) {
  const std::string type = object.value("type", "");
  return type.substr(type.rfind('.') + 1);
}

}  // namespace zo::testing
