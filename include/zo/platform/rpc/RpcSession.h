#pragma once

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include <zo/core/RemoteErrors.h>
#include <zo/dao/ZoCallback.h>

// The seam between the remote-method transport and the application: the transport knows
// clients, messages and threads; the application knows what a method does.
namespace zo::rpc {

// Who is on the other end of a session, for the session's own records and the access log.
struct ClientInfo {
  std::string peer;       // "address:port"
  std::string transport;  // "ws" or "http"
};

// What one call did in the database.
struct StatementTrace {
  int count = -1;                  // -1: the session does not count statements
  std::vector<std::string> texts;  // the first statements' texts, when the session keeps them
};

// One connected client's server module. Created on "connect", destroyed when the WebSocket
// closes or the HTTP session expires; the destructor is the place to roll back whatever is
// still open. The transport never runs two calls of one session at the same time, and always
// runs them (and the destructor) on its worker threads, never on a network thread.
class IRpcSession {
 public:
  virtual ~IRpcSession() = default;
  // Runs one method. `callback` is non-null when params carried "Callback": true; it is valid
  // only during this call. Any exception becomes a JSON-RPC error whose message is the
  // exception's message verbatim: zo::EMethodNotFound -32601, zo::EInvalidParams -32602.
  virtual nlohmann::json Call(const std::string& method, const nlohmann::json& params,
                              TZoCallback* callback) = 0;
  virtual std::string Customer() const = 0;  // for the access log
  virtual std::string User() const = 0;      // for the access log
  // The database statements the last Call ran, for the access log; called right after it.
  virtual StatementTrace TakeStatementTrace() { return {}; }
};

class IRpcSessionFactory {
 public:
  virtual ~IRpcSessionFactory() = default;
  // Checks the credentials in `params` ("user", "customer", "password") and creates the
  // session; throws zo::Exception to refuse. Called on a worker thread, possibly from several
  // workers at once for different clients.
  virtual std::unique_ptr<IRpcSession> Connect(const nlohmann::json& params,
                                               const ClientInfo& client) = 0;
};

}  // namespace zo::rpc
