#include "platform/rpc/JsonRpc.h"

#include <exception>

#include <zo/core/Exceptions.h>
#include <zo/core/RemoteErrors.h>
#include <zo/platform/rpc/RpcError.h>
#include <zo/platform/rpc/RpcSession.h>

namespace zo::rpc {

using nlohmann::json;

namespace {

bool IsValidId(const json& id) { return id.is_string() || id.is_number() || id.is_null(); }

Rejected Reject(const json& id, int code, const std::string& message) {
  return {ErrorResponse(IsValidId(id) ? id : json(nullptr), code, message)};
}

// `message` is taken apart: its params move into the request rather than being copied.
Incoming ParseRequest(json& message) {
  const json id = Member(message, "id");
  if (Member(message, "jsonrpc") != "2.0") {
    return Reject(id, codes::kInvalidRequest, "Invalid request: \"jsonrpc\" must be \"2.0\"");
  }
  if (!message.at("method").is_string()) {
    return Reject(id, codes::kInvalidRequest, "Invalid request: \"method\" must be a string");
  }
  if (!IsValidId(id)) {
    return Reject(nullptr, codes::kInvalidRequest,
                  "Invalid request: \"id\" must be a string, a number or null");
  }
  Request request;
  request.id = id;
  request.notification = !message.contains("id");
  request.method = message.at("method").get<std::string>();
  const auto params = message.find("params");
  if (params != message.end() && !params->is_null()) {
    if (!params->is_object()) {
      return Reject(id, codes::kInvalidParams,
                    "Invalid params: \"params\" must be an object of named parameters");
    }
    request.params = std::move(*params);
  }
  return request;
}

Incoming ParseAnswer(const json& message) {
  const json& id = message.at("id");
  if (!id.is_string()) {
    return Reject(nullptr, codes::kInvalidRequest, "Invalid response: unknown \"id\"");
  }
  Answer answer;
  answer.id = id.get<std::string>();
  if (message.contains("error")) {
    answer.failed = true;
    const json& error = message.at("error");
    answer.errorMessage = error.is_object() && Member(error, "message").is_string()
                              ? error.at("message").get<std::string>()
                              : std::string("Callback failed on the client");
  } else {
    answer.result = message.at("result");
  }
  return answer;
}

}  // namespace

json Member(const json& object, const char* key) {
  const auto it = object.find(key);
  return it == object.end() ? json() : *it;
}

bool NestsDeeperThan(std::string_view text, std::size_t limit) {
  std::size_t depth = 0;
  bool inString = false;
  bool escaped = false;
  for (const char c : text) {
    if (inString) {
      if (escaped) {
        escaped = false;
      } else if (c == '\\') {
        escaped = true;
      } else if (c == '"') {
        inString = false;
      }
    } else if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      if (++depth > limit) return true;
    } else if ((c == ']' || c == '}') && depth > 0) {
      --depth;
    }
  }
  return false;
}

Incoming ParseIncoming(std::string_view text, std::size_t maxDepth) {
  if (NestsDeeperThan(text, maxDepth)) {
    return Reject(nullptr, codes::kInvalidRequest,
                  "Invalid request: arrays and objects nested deeper than " +
                      std::to_string(maxDepth) + " levels");
  }
  json message = json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (message.is_discarded()) return Reject(nullptr, codes::kParseError, "Parse error");
  if (message.is_array()) {
    return Reject(nullptr, codes::kInvalidRequest, "Batch requests are not supported");
  }
  if (!message.is_object()) return Reject(nullptr, codes::kInvalidRequest, "Invalid request");
  if (message.contains("method")) return ParseRequest(message);
  if (message.contains("id") && (message.contains("result") || message.contains("error"))) {
    return ParseAnswer(message);
  }
  return Reject(Member(message, "id"), codes::kInvalidRequest, "Invalid request");
}

std::string Serialize(const json& message) {
  return message.dump(-1, ' ', false, json::error_handler_t::replace);
}

// Written as the envelope object would dump (members in key order, no spaces), without
// copying a possibly large result into that object first.
std::string ResultResponse(const json& id, const json& result) {
  std::string text = "{\"id\":";
  text += Serialize(id);
  text += ",\"jsonrpc\":\"2.0\",\"result\":";
  text += Serialize(result);
  text += '}';
  return text;
}

std::string ErrorResponse(const json& id, int code, const std::string& message, const json& data) {
  json error = {{"code", code}, {"message", message}};
  if (!data.is_null()) error["data"] = data;
  return Serialize({{"jsonrpc", "2.0"}, {"id", id}, {"error", std::move(error)}});
}

std::string CallbackRequest(const std::string& id, const json& command) {
  return Serialize(
      {{"jsonrpc", "2.0"}, {"id", id}, {"method", "callback"}, {"params", {{"command", command}}}});
}

ErrorInfo DescribeCurrentException() {
  try {
    throw;
  } catch (const EAbort& e) {
    return {codes::kAborted, e.what(), {{"aborted", true}}};
  } catch (const EMethodNotFound& e) {
    return {codes::kMethodNotFound, e.what(), nullptr};
  } catch (const EInvalidParams& e) {
    return {codes::kInvalidParams, e.what(), nullptr};
  } catch (const Exception& e) {
    return {codes::kApplication, e.what(), nullptr};
  } catch (const std::exception& e) {
    return {codes::kInternalError, e.what(), nullptr};
  } catch (...) {
    return {codes::kInternalError, "Unknown error", nullptr};
  }
}

}  // namespace zo::rpc
