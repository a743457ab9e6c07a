#include <zo/platform/rpc/RpcHttpClient.h>

#include <optional>
#include <variant>

#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http.hpp>

#include "platform/rpc/BlockingIo.h"
#include "platform/rpc/ClientProtocol.h"
#include "platform/rpc/ClientTls.h"
#include "platform/rpc/JsonRpc.h"

namespace zo::rpc {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using nlohmann::json;
using error_code = boost::system::error_code;

namespace {

// The failures of a kept-alive connection that the server closed while it sat idle.
bool IsStale(const error_code& error) {
  return error == http::error::end_of_stream || error == net::error::connection_reset ||
         error == net::error::broken_pipe || error == net::error::eof ||
         error == net::ssl::error::stream_truncated;
}

}  // namespace

class RpcHttpClient::Impl {
 public:
  explicit Impl(RpcClientOptions options)
      : options_(std::move(options)), tls_(client_tls::MakeContext(options_)) {}

  void Open(const std::string& host, std::uint16_t port, const std::string& path) {
    stream_.reset();
    host_ = host;
    port_ = port;
    path_ = path;
  }

  Response Post(const std::string& body) {
    if (host_.empty()) throw Exception("No server: call Open first");
    for (int attempt = 0;; ++attempt) {
      const bool reused = stream_.has_value();
      if (!reused) OpenSocket();
      std::optional<Response> response;
      const error_code error = Exchange(body, response);
      if (!error) return *response;
      stream_.reset();
      if (!(reused && attempt == 0 && IsStale(error))) {
        throw Exception("Request to " + host_ + ":" + std::to_string(port_) + path_ +
                        " failed: " + error.message());
      }
    }
  }

  json Call(const std::string& method, const json& params) {
    const Response response = Post(client_protocol::RequestText(++lastId_, method, params));
    if (response.status == static_cast<int>(http::status::no_content)) return nullptr;
    const json message = NestsDeeperThan(response.body, client_protocol::kMaxDepth)
                             ? json()
                             : json::parse(response.body, nullptr, /*allow_exceptions=*/false);
    if (!message.is_object()) {
      throw Exception("HTTP " + std::to_string(response.status) +
                      " from the server: " + response.body.substr(0, 200));
    }
    return client_protocol::ResultOf(message);
  }

  json Connect(const json& credentials) {
    token_.clear();
    json result = Call("connect", credentials);
    const json token = Member(result, "session");
    if (!token.is_string()) throw Exception("The server's \"connect\" returned no session token");
    token_ = token.get<std::string>();
    return result;
  }

  void Disconnect() {
    if (token_.empty()) return;
    try {
      Call("disconnect", json::object());
    } catch (const RpcError&) {
      // Already expired on the server: the session is gone all the same.
    }
    token_.clear();
  }

  const std::string& Token() const { return token_; }
  void SetToken(std::string token) { token_ = std::move(token); }

 private:
  void OpenSocket() {
    net::ip::tcp::resolver resolver(io_);
    error_code error;
    const auto endpoints = resolver.resolve(host_, std::to_string(port_), error);
    if (tls_) {
      stream_.emplace(std::in_place_type<client_tls::TlsStream>, io_, *tls_);
    } else {
      stream_.emplace(std::in_place_type<beast::tcp_stream>, io_);
    }
    if (!error) {
      error = Await(options_.connectTimeout, [&](auto handler) {
        Tcp().async_connect(endpoints, std::move(handler));
      });
    }
    if (!error) Tcp().socket().set_option(net::ip::tcp::no_delay(true), error);
    if (!error && tls_) {
      auto& tls = std::get<client_tls::TlsStream>(*stream_);
      client_tls::PrepareHandshake(tls, host_);
      error = Await(options_.connectTimeout, [&](auto handler) {
        tls.async_handshake(net::ssl::stream_base::client, std::move(handler));
      });
    }
    if (error) {
      stream_.reset();
      throw Exception("Cannot connect to " + host_ + ":" + std::to_string(port_) + ": " +
                      error.message());
    }
  }

  error_code Exchange(const std::string& body, std::optional<Response>& response) {
    http::request<http::string_body> request{http::verb::post, path_, 11};
    request.set(http::field::host, host_ + ":" + std::to_string(port_));
    request.set(http::field::content_type, "application/json");
    if (!token_.empty()) request.set("X-Zo-Session", token_);
    request.keep_alive(true);
    request.body() = body;
    request.prepare_payload();
    error_code error = Await(options_.timeout, [&](auto handler) {
      std::visit([&](auto& stream) { http::async_write(stream, request, std::move(handler)); },
                 *stream_);
    });
    if (error) return error;
    http::response_parser<http::string_body> parser;
    parser.body_limit(options_.maxMessageSize);
    error = Await(options_.timeout, [&](auto handler) {
      std::visit(
          [&](auto& stream) { http::async_read(stream, buffer_, parser, std::move(handler)); },
          *stream_);
    });
    if (error) return error;
    auto& message = parser.get();
    response = Response{static_cast<int>(message.result_int()), std::move(message.body())};
    if (!message.keep_alive()) stream_.reset();
    return {};
  }

  template <class Start>
  error_code Await(std::chrono::milliseconds timeout, Start&& start) {
    try {
      return AwaitOperation(io_, timeout, std::forward<Start>(start), [this] { Tcp().close(); });
    } catch (const Exception&) {
      stream_.reset();
      throw;
    }
  }

  beast::tcp_stream& Tcp() {
    return std::visit([](auto& stream) -> beast::tcp_stream& { return beast::get_lowest_layer(stream); },
                      *stream_);
  }

  RpcClientOptions options_;
  net::io_context io_;
  std::unique_ptr<net::ssl::context> tls_;  // null without TLS
  // The kept-alive connection, if any.
  std::optional<std::variant<beast::tcp_stream, client_tls::TlsStream>> stream_;
  beast::flat_buffer buffer_;
  std::string host_;
  std::uint16_t port_ = 0;
  std::string path_;
  std::int64_t lastId_ = 0;
  std::string token_;
};

RpcHttpClient::RpcHttpClient(RpcClientOptions options) : impl_(std::make_unique<Impl>(options)) {}
RpcHttpClient::~RpcHttpClient() = default;

void RpcHttpClient::Open(const std::string& host, std::uint16_t port, const std::string& path) {
  impl_->Open(host, port, path);
}

json RpcHttpClient::Connect(const json& credentials) { return impl_->Connect(credentials); }

json RpcHttpClient::Call(const std::string& method, const json& params) {
  return impl_->Call(method, params);
}

void RpcHttpClient::Disconnect() { impl_->Disconnect(); }
const std::string& RpcHttpClient::SessionToken() const { return impl_->Token(); }
void RpcHttpClient::SetSessionToken(std::string token) { impl_->SetToken(std::move(token)); }

RpcHttpClient::Response RpcHttpClient::Post(const std::string& body) { return impl_->Post(body); }

}  // namespace zo::rpc
