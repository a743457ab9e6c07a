#pragma once

#include <string>
#include <string_view>
#include <variant>

#include <nlohmann/json.hpp>

namespace zo::rpc {

// A JSON-RPC 2.0 request from the client. Params are always an object (named parameters);
// absent params read as an empty object.
struct Request {
  nlohmann::json id;          // string, number or null
  bool notification = false;  // no "id" member: run, but send no response
  std::string method;
  nlohmann::json params = nlohmann::json::object();
};

// The client's answer to a server-to-client request (a callback).
struct Answer {
  std::string id;
  nlohmann::json result;
  bool failed = false;  // the client answered with an error
  std::string errorMessage;
};

// A message that cannot be handled: the error response to send back, ready to go.
struct Rejected {
  std::string response;
};

using Incoming = std::variant<Request, Answer, Rejected>;

// Classifies one message received from a client. A message nested deeper than `maxDepth`
// levels of arrays and objects is rejected before it is parsed.
Incoming ParseIncoming(std::string_view text, std::size_t maxDepth);

// True when arrays and objects in `text` nest deeper than `limit`. A linear scan that keeps no
// stack, so that hostile input cannot exhaust the thread's: the JSON values built from a
// message are copied and compared recursively, and must therefore stay shallow.
bool NestsDeeperThan(std::string_view text, std::size_t limit);

std::string ResultResponse(const nlohmann::json& id, const nlohmann::json& result);
std::string ErrorResponse(const nlohmann::json& id, int code, const std::string& message,
                          const nlohmann::json& data = nullptr);
std::string CallbackRequest(const std::string& id, const nlohmann::json& command);

// The JSON-RPC error that stands for an exception thrown by a session.
struct ErrorInfo {
  int code;
  std::string message;
  nlohmann::json data;
};
// Call only inside a catch block: describes the exception being handled.
ErrorInfo DescribeCurrentException();

// The member `key` of an object, or null when it is absent (or `object` is no object).
nlohmann::json Member(const nlohmann::json& object, const char* key);

// Serialises for the wire; invalid UTF-8 (say, from a database message in another character
// set) is replaced instead of failing the response.
std::string Serialize(const nlohmann::json& message);

}  // namespace zo::rpc
