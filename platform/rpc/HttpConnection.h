#pragma once

#include <memory>
#include <optional>
#include <string>

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include "platform/rpc/ConnectionRegistry.h"
#include "platform/rpc/Streams.h"
#include <zo/platform/rpc/RpcSession.h>

namespace zo::rpc {

struct ServerContext;

// One accepted TCP connection speaking HTTP/1.1, over PlainStream or TlsStream: serves
// "POST /zo/rpc" (keep-alive, one request at a time) and hands a WebSocket upgrade at "/zo"
// over to a WsConnection.
template <class Stream>
class HttpConnection : public IConnection,
                       public std::enable_shared_from_this<HttpConnection<Stream>> {
 public:
  HttpConnection(boost::asio::ip::tcp::socket socket, ServerContext& server);
  ~HttpConnection() override;
  void Run();
  void Shutdown() override;

 private:
  using Request = boost::beast::http::request<boost::beast::http::string_body>;

  void Handshake();
  void Read();
  bool OriginAllowed() const;
  void OnRead(const boost::system::error_code& error, std::size_t bytes);
  void Route();
  void Upgrade();
  void ServeRpc();
  void ServeOps(std::string_view path);
  // An empty `contentType` means JSON for a body that starts with '{', else plain text.
  void Respond(boost::beast::http::status status, std::string body, bool close = false,
               std::string contentType = {});
  bool ServeStaticFile();
  void OnWritten(bool close, const boost::system::error_code& error);
  void RefuseOversized();
  void DrainAndClose();

  ClientInfo client_;
  Stream stream_;
  boost::beast::flat_buffer buffer_;
  std::optional<boost::beast::http::request_parser<boost::beast::http::string_body>> parser_;
  ServerContext& server_;
  std::string drain_;  // scratch space for the bytes discarded before closing
  std::size_t drained_ = 0;
};

}  // namespace zo::rpc
