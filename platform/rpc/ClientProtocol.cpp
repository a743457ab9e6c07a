#include "platform/rpc/ClientProtocol.h"

#include "platform/rpc/JsonRpc.h"
#include <zo/platform/rpc/RpcError.h>

namespace zo::rpc::client_protocol {

using nlohmann::json;

std::string RequestText(std::int64_t id, const std::string& method, const json& params) {
  return Serialize({{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", params}});
}

json ParseMessage(const std::string& text) {
  if (NestsDeeperThan(text, kMaxDepth)) {
    throw Exception("The server sent a message nested deeper than " + std::to_string(kMaxDepth) +
                    " levels");
  }
  json message = json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (!message.is_object()) throw Exception("The server sent a message that is not JSON-RPC");
  return message;
}

json ResultOf(const json& response) {
  if (!response.contains("error")) return Member(response, "result");
  const json error = Member(response, "error");
  const json code = Member(error, "code");
  const json message = Member(error, "message");
  throw RpcError(code.is_number_integer() ? code.get<int>() : codes::kInternalError,
                 message.is_string() ? message.get<std::string>() : "Unknown error",
                 Member(error, "data"));
}

}  // namespace zo::rpc::client_protocol
