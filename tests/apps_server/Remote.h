#pragma once

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/apps_server/Deployment.h"

namespace zo::testing {

// One connected client of either transport, so that a test can run the same calls over both.
class Remote {
 public:
  // `transport` is "ws" or "http".
  Remote(const Deployment& deployment, const std::string& transport, const Customer& customer);
  json Call(const std::string& method, const json& params = json::object());
  // The progress commands received so far (WebSocket only: HTTP has no way back).
  const std::vector<json>& Commands() const { return commands_; }

 private:
  std::unique_ptr<rpc::RpcClient> ws_;
  std::unique_ptr<rpc::RpcHttpClient> http_;
  std::vector<json> commands_;
};

inline std::unique_ptr<Remote> ConnectRemote(const Deployment& deployment,
                                             const std::string& transport,
                                             const Customer& customer) {
  return std::make_unique<Remote>(deployment, transport, customer);
}

// The class name of a data object's or a wait-screen command's JSON, without its unit.
std::string ShortType(const json& object);

}  // namespace zo::testing
