#include "platform/rpc/HttpConnection.h"

#include <chrono>

#include <boost/asio/post.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include "platform/rpc/HttpRpc.h"
#include "platform/rpc/JsonRpc.h"
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

}  // namespace

HttpConnection::HttpConnection(net::ip::tcp::socket socket, ServerContext& server)
    : stream_(std::move(socket)), server_(server), client_{PeerOf(stream_.socket()), "http"} {}

HttpConnection::~HttpConnection() { server_.connections.Remove(this); }

void HttpConnection::Run() {
  // Requests and answers are small messages that must go out at once, not wait for Nagle.
  error_code ignored;
  stream_.socket().set_option(net::ip::tcp::no_delay(true), ignored);
  server_.connections.Add(shared_from_this());
  Read();
}

void HttpConnection::Shutdown() {
  net::post(stream_.get_executor(), [self = shared_from_this()] {
    error_code ignored;
    self->stream_.socket().shutdown(net::ip::tcp::socket::shutdown_both, ignored);
    self->stream_.close();
  });
}

void HttpConnection::Read() {
  parser_.emplace();
  parser_->body_limit(server_.options.maxMessageSize);
  stream_.expires_after(kIdleTimeout);
  http::async_read(
      stream_, buffer_, *parser_,
      [self = shared_from_this()](const error_code& error, std::size_t) { self->OnRead(error); });
}

void HttpConnection::OnRead(const error_code& error) {
  if (!error) return Route();
  if (error == http::error::body_limit) return RefuseOversized();
  if (error == http::error::end_of_stream) {  // the client is done with the connection
    error_code ignored;
    stream_.socket().shutdown(net::ip::tcp::socket::shutdown_send, ignored);
    return;
  }
  if (error.category() == make_error_code(http::error::bad_target).category() &&
      error != http::error::partial_message) {
    return Respond(http::status::bad_request, "Bad request\n", true);
  }
  // Otherwise reset, timeout or shutdown: the connection just ends.
}

void HttpConnection::Route() {
  const Request& request = parser_->get();
  const std::string_view path = PathOf(request.target());
  if (beast::websocket::is_upgrade(request)) {
    if (path == "/zo") return Upgrade();
    return Respond(http::status::not_found, "Not found\n", true);
  }
  if (ServeStaticFile()) return;
  if (path != "/zo/rpc") return Respond(http::status::not_found, "Not found\n");
  if (request.method() != http::verb::post) {
    return Respond(http::status::method_not_allowed, "Use POST\n");
  }
  ServeRpc();
}

void HttpConnection::Upgrade() {
  stream_.expires_never();  // the WebSocket keeps its own time
  std::make_shared<WsConnection>(std::move(stream_), server_, client_)->Run(parser_->release());
}

void HttpConnection::ServeRpc() {
  stream_.expires_never();  // a call may legitimately take long
  const Request& request = parser_->get();
  const auto token = request.find("X-Zo-Session");
  HandleHttpRpc(server_, request.body(),
                token == request.end() ? std::string() : std::string(token->value()), client_,
                [self = shared_from_this()](std::string body) {
                  net::post(self->stream_.get_executor(), [self, body = std::move(body)]() mutable {
                    const auto status = body.empty() ? http::status::no_content : http::status::ok;
                    self->Respond(status, std::move(body));
                  });
                });
}

void HttpConnection::Respond(http::status status, std::string body, bool close) {
  const Request& request = parser_->get();
  const unsigned version = request.version() == 10 ? 10 : 11;  // 0 when the request was garbage
  auto response = std::make_shared<http::response<http::string_body>>(status, version);
  response->set(http::field::server, "ZoServer");
  const bool json = !body.empty() && body.front() == '{';
  response->set(http::field::content_type, json ? "application/json" : "text/plain");
  if (status == http::status::method_not_allowed) response->set(http::field::allow, "POST");
  response->keep_alive(!close && request.keep_alive());
  response->body() = std::move(body);
  response->prepare_payload();
  stream_.expires_after(kIdleTimeout);
  http::async_write(stream_, *response,
                    [self = shared_from_this(), response](const error_code& error, std::size_t) {
                      self->OnWritten(response->need_eof(), error);
                    });
}

// Answers a request under the static path; false when the request is not one.
bool HttpConnection::ServeStaticFile() {
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
  stream_.expires_after(kIdleTimeout);
  http::async_write(stream_, *response,
                    [self = shared_from_this(), response](const error_code& error, std::size_t) {
                      self->OnWritten(response->need_eof(), error);
                    });
  return true;
}

void HttpConnection::OnWritten(bool close, const error_code& error) {
  if (error) return;
  if (close) return DrainAndClose();
  Read();
}

void HttpConnection::RefuseOversized() {
  server_.log.Write(LogLevel::kInfo, "rpc http " + client_.peer + " request body too large");
  const std::string limit = std::to_string(server_.options.maxMessageSize);
  Respond(http::status::payload_too_large,
          ErrorResponse(nullptr, codes::kMessageTooLarge,
                        "Message too large: the limit is " + limit + " bytes"),
          true);
}

void HttpConnection::DrainAndClose() {
  if (drain_.empty()) {
    error_code ignored;
    stream_.socket().shutdown(net::ip::tcp::socket::shutdown_send, ignored);
    stream_.expires_after(kDrainTimeout);
    drain_.resize(64 * 1024);
  }
  stream_.async_read_some(net::buffer(drain_),
                          [self = shared_from_this()](const error_code& error, std::size_t size) {
                            self->drained_ += size;
                            if (error || self->drained_ > kDrainLimit) return self->stream_.close();
                            self->DrainAndClose();
                          });
}

}  // namespace zo::rpc
