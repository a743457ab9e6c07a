#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <nlohmann/json.hpp>

// What the two clients share: the shape of a request and the reading of a response.
namespace zo::rpc::client_protocol {

// Deeper than any answer of this server: the limit keeps a hostile server from exhausting the
// client's stack, as the server's own limit does for hostile clients.
inline constexpr std::size_t kMaxDepth = 256;

std::string RequestText(std::int64_t id, const std::string& method, const nlohmann::json& params);
// The text as JSON; throws zo::Exception when it is not.
nlohmann::json ParseMessage(const std::string& text);
// The result of a response, or RpcError for an error response.
nlohmann::json ResultOf(const nlohmann::json& response);

}  // namespace zo::rpc::client_protocol
