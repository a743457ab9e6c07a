#include "platform/rpc/HttpConnection.h"

#include <algorithm>
#include <chrono>

#include <boost/asio/post.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include "platform/rpc/HttpRpc.h"
#include "platform/rpc/JsonRpc.h"
#include "platform/rpc/OpsRoutes.h"
#include <zo/platform/rpc/RpcError.h>
#include "platform/rpc/ServerContext.h"
#include "platform/rpc/StaticFiles.h"
#include "platform/rpc/WsConnection.h"

namespace zo::rpc {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using error_code = boost::system::error_code;

namespace {

// How long a keep-alive connection may sit between requests.
constexpr auto kIdleTimeout = std::chrono::seconds(60);
// How long a client may take over the TLS handshake.
constexpr auto kHandshakeTimeout = std::chrono::seconds(10);
// After refusing a request, how much of its body is read and dropped (so that the client,
// still sending, gets to read the refusal instead of a connection reset), and for how long.
constexpr std::size_t kDrainLimit = 64 * 1024 * 1024;
constexpr auto kDrainTimeout = std::chrono::seconds(2);

std::string PeerOf(const net::ip::tcp::socket& socket) {
  error_code error;
  const auto endpoint = socket.remote_endpoint(error);
  if (error) return "?";
  return endpoint.address().to_string() + ":" + std::to_string(endpoint.port());
}

std::string_view PathOf(boost::beast::string_view target) {
  return std::string_view(target.data(), target.size()).substr(0, target.find('?'));
}

template <class Stream>
Stream MakeStream(net::ip::tcp::socket socket, ServerContext& server) {
  if constexpr (kIsTls<Stream>) {
    return Stream(std::move(socket), *server.tls);
  } else {
    return Stream(std::move(socket));
  }
}

}  // namespace

template <class Stream>
HttpConnection<Stream>::HttpConnection(net::ip::tcp::socket socket, ServerContext& server)
    : client_{PeerOf(socket), "http"},
      stream_(MakeStream<Stream>(std::move(socket), server)),
      server_(server) {}

template <class Stream>
HttpConnection<Stream>::~HttpConnection() {
  server_.connections.Remove(this);
}

template <class Stream>
void HttpConnection<Stream>::Run() {
  // Requests and answers are small messages that must go out at once, not wait for Nagle.
  error_code ignored;
  beast::get_lowest_layer(stream_).socket().set_option(net::ip::tcp::no_delay(true), ignored);
  server_.connections.Add(this->shared_from_this());
  if constexpr (kIsTls<Stream>) {
    Handshake();
  } else {
    Read();
  }
}

template <class Stream>
void HttpConnection<Stream>::Handshake() {
  if constexpr (kIsTls<Stream>) {
    beast::get_lowest_layer(stream_).expires_after(kHandshakeTimeout);
    stream_.async_handshake(net::ssl::stream_base::server, [self = this->shared_from_this()](
                                                               const error_code& error) {
      if (!error) return self->Read();
      self->server_.log.Write(LogLevel::kDebug, "rpc tls " + self->client_.peer +
                                                    " handshake failed: " + error.message());
    });
  }
}

template <class Stream>
void HttpConnection<Stream>::Shutdown() {
  net::post(stream_.get_executor(), [self = this->shared_from_this()] {
    auto& tcp = beast::get_lowest_layer(self->stream_);
    error_code ignored;
    tcp.socket().shutdown(net::ip::tcp::socket::shutdown_both, ignored);
    tcp.close();
  });
}

template <class Stream>
void HttpConnection<Stream>::Read() {
  parser_.emplace();
  parser_->body_limit(server_.options.maxMessageSize);
  beast::get_lowest_layer(stream_).expires_after(kIdleTimeout);
  http::async_read(stream_, buffer_, *parser_,
                   [self = this->shared_from_this()](const error_code& error, std::size_t bytes) {
                     self->OnRead(error, bytes);
                   });
}

template <class Stream>
void HttpConnection<Stream>::OnRead(const error_code& error, std::size_t bytes) {
  server_.metrics.BytesIn(bytes);
  if (!error) return Route();
  if (error == http::error::body_limit) return RefuseOversized();
  if (error == http::error::end_of_stream) {  // the client is done with the connection
    error_code ignored;
    beast::get_lowest_layer(stream_).socket().shutdown(net::ip::tcp::socket::shutdown_send,
                                                       ignored);
    return;
  }
  if (error.category() == make_error_code(http::error::bad_target).category() &&
      error != http::error::partial_message) {
    return Respond(http::status::bad_request, "Bad request\n", true);
  }
  // Otherwise reset, timeout or shutdown: the connection just ends.
}

// Browsers send the page's origin with WebSocket upgrades and cross-site POSTs; other clients
// send none. Without a list every origin is accepted.
template <class Stream>
bool HttpConnection<Stream>::OriginAllowed() const {
  const auto& allowed = server_.options.allowedOrigins;
  if (allowed.empty()) return true;
  const Request& request = parser_->get();
  const auto origin = request.find(http::field::origin);
  if (origin == request.end()) return true;
  const std::string value(origin->value());
  return std::find(allowed.begin(), allowed.end(), value) != allowed.end();
}

template <class Stream>
void HttpConnection<Stream>::Route() {
  const Request& request = parser_->get();
  const std::string_view path = PathOf(request.target());
  const bool upgrade = beast::websocket::is_upgrade(request);
  // The console's own files are public; what reaches the sessions is checked.
  if (!upgrade && ServeStaticFile()) return;
  if (!OriginAllowed()) {
    server_.log.Write(LogLevel::kInfo, "rpc http " + client_.peer + " origin refused: " +
                                           std::string(request[http::field::origin]));
    return Respond(http::status::forbidden, "Origin not allowed\n", upgrade);
  }
  if (upgrade) {
    if (path == "/zo") return Upgrade();
    return Respond(http::status::not_found, "Not found\n", true);
  }
  if (path != "/zo/rpc") return ServeOps(path);
  if (request.method() != http::verb::post) {
    return Respond(http::status::method_not_allowed, "Use POST\n");
  }
  ServeRpc();
}

template <class Stream>
void HttpConnection<Stream>::Upgrade() {
  beast::get_lowest_layer(stream_).expires_never();  // the WebSocket keeps its own time
  std::make_shared<WsConnection<Stream>>(std::move(stream_), server_, client_)
      ->Run(parser_->release());
}

template <class Stream>
void HttpConnection<Stream>::ServeOps(std::string_view path) {
  const auto respond = [self = this->shared_from_this()](OpsResponse response) {
    net::post(self->stream_.get_executor(), [self, response = std::move(response)]() mutable {
      self->Respond(response.status, std::move(response.body), false,
                    std::move(response.contentType));
    });
  };
  if (!ServeOpsRoute(server_, path, parser_->get().method(), respond)) {
    Respond(http::status::not_found, "Not found\n");
  }
}

template <class Stream>
void HttpConnection<Stream>::ServeRpc() {
  beast::get_lowest_layer(stream_).expires_never();  // a call may legitimately take long
  const Request& request = parser_->get();
  const auto token = request.find("X-Zo-Session");
  HandleHttpRpc(server_, request.body(),
                token == request.end() ? std::string() : std::string(token->value()), client_,
                [self = this->shared_from_this()](std::string body) {
                  net::post(self->stream_.get_executor(), [self, body = std::move(body)]() mutable {
                    const auto status = body.empty() ? http::status::no_content : http::status::ok;
                    self->Respond(status, std::move(body));
                  });
                });
}

template <class Stream>
void HttpConnection<Stream>::Respond(http::status status, std::string body, bool close,
                                     std::string contentType) {
  const Request& request = parser_->get();
  const unsigned version = request.version() == 10 ? 10 : 11;  // 0 when the request was garbage
  auto response = std::make_shared<http::response<http::string_body>>(status, version);
  response->set(http::field::server, "ZoServer");
  if (contentType.empty()) {
    contentType = !body.empty() && body.front() == '{' ? "application/json" : "text/plain";
  }
  response->set(http::field::content_type, contentType);
  if (status == http::status::method_not_allowed) {
    response->set(http::field::allow, PathOf(request.target()) == "/zo/rpc" ? "POST" : "GET");
  }
  response->keep_alive(!close && request.keep_alive());
  response->body() = std::move(body);
  response->prepare_payload();
  beast::get_lowest_layer(stream_).expires_after(kIdleTimeout);
  http::async_write(stream_, *response, [self = this->shared_from_this(), response](
                                            const error_code& error, std::size_t bytes) {
    self->server_.metrics.BytesOut(bytes);
    self->OnWritten(response->need_eof(), error);
  });
}

// Answers a request under the static path; false when the request is not one.
template <class Stream>
bool HttpConnection<Stream>::ServeStaticFile() {
  const auto& options = server_.options;
  if (options.staticDir.empty()) return false;
  const Request& request = parser_->get();
  const auto method = request.method_string();
  const auto target = request.target();
  auto reply = ServeStatic(options.staticDir, options.staticPath,
                           std::string_view(method.data(), method.size()),
                           std::string_view(target.data(), target.size()));
  if (!reply) return false;
  auto response = std::make_shared<http::response<http::string_body>>(
      static_cast<http::status>(reply->status), request.version() == 10 ? 10 : 11);
  response->set(http::field::server, "ZoServer");
  response->set(http::field::content_type, reply->contentType);
  response->set(http::field::cache_control, "no-cache");
  response->set("X-Content-Type-Options", "nosniff");
  response->set("Content-Security-Policy",
                "default-src 'self'; img-src 'self' data:; "
                "object-src 'none'; base-uri 'none'; frame-ancestors 'none'");
  if (!reply->location.empty()) response->set(http::field::location, reply->location);
  if (reply->status == 405) response->set(http::field::allow, "GET");
  response->keep_alive(request.keep_alive());
  response->body() = std::move(reply->body);
  response->prepare_payload();
  beast::get_lowest_layer(stream_).expires_after(kIdleTimeout);
  http::async_write(stream_, *response, [self = this->shared_from_this(), response](
                                            const error_code& error, std::size_t bytes) {
    self->server_.metrics.BytesOut(bytes);
    self->OnWritten(response->need_eof(), error);
  });
  return true;
}

template <class Stream>
void HttpConnection<Stream>::OnWritten(bool close, const error_code& error) {
  if (error) return;
  if (close) return DrainAndClose();
  Read();
}

template <class Stream>
void HttpConnection<Stream>::RefuseOversized() {
  server_.log.Write(LogLevel::kInfo, "rpc http " + client_.peer + " request body too large");
  const std::string limit = std::to_string(server_.options.maxMessageSize);
  Respond(http::status::payload_too_large,
          ErrorResponse(nullptr, codes::kMessageTooLarge,
                        "Message too large: the limit is " + limit + " bytes"),
          true);
}

template <class Stream>
void HttpConnection<Stream>::DrainAndClose() {
  auto& tcp = beast::get_lowest_layer(stream_);
  if (drain_.empty()) {
    error_code ignored;
    tcp.socket().shutdown(net::ip::tcp::socket::shutdown_send, ignored);
    tcp.expires_after(kDrainTimeout);
    drain_.resize(64 * 1024);
  }
  // The bytes are dropped as they come, below any TLS: there is nothing left to decrypt for.
  tcp.async_read_some(net::buffer(drain_), [self = this->shared_from_this()](
                                               const error_code& error, std::size_t size) {
    self->drained_ += size;
    if (error || self->drained_ > kDrainLimit) {
      return beast::get_lowest_layer(self->stream_).close();
    }
    self->DrainAndClose();
  });
}

template class HttpConnection<PlainStream>;
template class HttpConnection<TlsStream>;

}  // namespace zo::rpc
