#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include <zo/core/Exceptions.h>

namespace zo::rpc {

// JSON-RPC error codes used on the wire. The first five are JSON-RPC 2.0's own; the others are
// in the range JSON-RPC leaves to servers (-32000 to -32099).
namespace codes {
inline constexpr int kParseError = -32700;      // the message is not JSON
inline constexpr int kInvalidRequest = -32600;  // JSON, but not a JSON-RPC 2.0 request
inline constexpr int kMethodNotFound = -32601;  // the session threw zo::EMethodNotFound
inline constexpr int kInvalidParams = -32602;   // params not an object, or zo::EInvalidParams
inline constexpr int kInternalError = -32603;   // an exception that is not a zo::Exception
inline constexpr int kApplication = -32000;     // a zo::Exception: message for the user
inline constexpr int kAborted = -32001;         // zo::EAbort; data {"aborted": true}
inline constexpr int kNotConnected = -32002;    // no session: "connect" first (or it expired)
inline constexpr int kAlreadyConnected = -32003;
inline constexpr int kShuttingDown = -32004;  // the server is stopping; call not run
inline constexpr int kMessageTooLarge = -32005;
inline constexpr int kBusy = -32006;  // too many calls queued or waiting; call not run
}  // namespace codes

// A JSON-RPC error received by a client. The message is the server's message verbatim, so a
// caller that only knows zo::Exception still shows the right text.
class RpcError : public zo::Exception {
 public:
  RpcError(int code, const std::string& message, nlohmann::json data = nullptr)
      : zo::Exception(message), code_(code), data_(std::move(data)) {}
  int Code() const { return code_; }
  const nlohmann::json& Data() const { return data_; }
  // True for the silent abort (zo::EAbort on the server): no error dialog is due.
  bool Aborted() const {
    return code_ == codes::kAborted ||
           (data_.is_object() && data_.contains("aborted") && data_.at("aborted") == true);
  }

 private:
  int code_;
  nlohmann::json data_;
};

}  // namespace zo::rpc
