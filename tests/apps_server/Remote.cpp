#include "tests/apps_server/Remote.h"

namespace zo::testing {

Remote::Remote(const Deployment& deployment, const std::string& transport,
               const Customer& customer) {
  if (transport == "http") {
    http_ = deployment.ConnectHttp(customer);
    return;
  }
  ws_ = deployment.ConnectWs(customer);
  ws_->SetCallbackHandler([this](const json& command) {
    commands_.push_back(command);
    return json(false);
  });
}

json Remote::Call(const std::string& method, const json& params) {
  return ws_ ? ws_->Call(method, params) : http_->Call(method, params);
}

std::string ShortType(const json& object) {
  const std::string type = object.value("type", "");
  return type.substr(type.rfind('.') + 1);
}

}  // namespace zo::testing
