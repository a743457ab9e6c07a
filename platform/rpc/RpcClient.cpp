#include <zo/platform/rpc/RpcClient.h>

#include <optional>
#include <variant>

#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/beast/websocket/ssl.hpp>

#include "platform/rpc/BlockingIo.h"
#include "platform/rpc/ClientProtocol.h"
#include "platform/rpc/ClientTls.h"
#include "platform/rpc/JsonRpc.h"

namespace zo::rpc {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace websocket = beast::websocket;
using nlohmann::json;
using error_code = boost::system::error_code;

namespace {
using PlainWs = websocket::stream<beast::tcp_stream>;
using TlsWs = websocket::stream<client_tls::TlsStream>;
}  // namespace

class RpcClient::Impl {
 public:
  explicit Impl(RpcClientOptions options)
      : options_(std::move(options)), tls_(client_tls::MakeContext(options_)) {}

  void Open(const std::string& host, std::uint16_t port, const std::string& path) {
    Close();
    if (tls_) {
      ws_.emplace(std::in_place_type<TlsWs>, io_, *tls_);
    } else {
      ws_.emplace(std::in_place_type<PlainWs>, io_);
    }
    const auto endpoints = Resolve(host, port);
    auto error = Await(options_.connectTimeout, [&](auto handler) {
      With([&](auto& ws) { beast::get_lowest_layer(ws).async_connect(endpoints, std::move(handler)); });
    });
    if (!error) {
      With([&](auto& ws) {
        beast::get_lowest_layer(ws).socket().set_option(net::ip::tcp::no_delay(true), error);
        ws.read_message_max(options_.maxMessageSize);
      });
    }
    if (!error && tls_) {
      auto& tls = std::get<TlsWs>(*ws_).next_layer();
      client_tls::PrepareHandshake(tls, host);
      error = Await(options_.connectTimeout, [&](auto handler) {
        tls.async_handshake(net::ssl::stream_base::client, std::move(handler));
      });
    }
    if (!error) {
      error = Await(options_.connectTimeout, [&](auto handler) {
        With([&](auto& ws) {
          ws.async_handshake(host + ":" + std::to_string(port), path, std::move(handler));
        });
      });
    }
    if (error) {
      ws_.reset();
      throw Exception("Cannot open " + host + ":" + std::to_string(port) + path + ": " +
                      error.message());
    }
  }

  json Call(const std::string& method, const json& params) {
    const std::int64_t id = ++lastId_;
    SendText(client_protocol::RequestText(id, method, params));
    for (;;) {
      const json message = client_protocol::ParseMessage(ReceiveText());
      if (message.contains("method")) {
        AnswerRequest(message);
        continue;
      }
      const json replyId = Member(message, "id");
      // An error without an id answers a request the server could not even read: ours.
      if (replyId == id || (replyId.is_null() && message.contains("error"))) {
        return client_protocol::ResultOf(message);
      }
      // Anything else answers a request abandoned earlier: skip it.
    }
  }

  void SetCallbackHandler(CallbackHandler handler) { handler_ = std::move(handler); }

  void Close() {
    if (!ws_) return;
    if (IsOpen()) {
      try {
        Await(options_.connectTimeout, [&](auto handler) {
          With([&](auto& ws) { ws.async_close(websocket::close_code::normal, std::move(handler)); });
        });
      } catch (const Exception&) {
        // The server did not answer the close: the socket is dropped below anyway.
      }
    }
    ws_.reset();
  }

  bool IsOpen() const {
    return ws_ && std::visit([](const auto& ws) { return ws.is_open(); }, *ws_);
  }

  void SendText(const std::string& text) {
    RequireOpen();
    const auto error = Await(options_.timeout, [&](auto handler) {
      With([&](auto& ws) {
        ws.text(true);
        ws.async_write(net::buffer(text), std::move(handler));
      });
    });
    if (error) Fail(error);
  }

  std::string ReceiveText() {
    RequireOpen();
    beast::flat_buffer buffer;
    const auto error = Await(options_.timeout, [&](auto handler) {
      With([&](auto& ws) { ws.async_read(buffer, std::move(handler)); });
    });
    if (error) Fail(error);
    return beast::buffers_to_string(buffer.data());
  }

 private:
  net::ip::tcp::resolver::results_type Resolve(const std::string& host, std::uint16_t port) {
    net::ip::tcp::resolver resolver(io_);
    error_code error;
    auto endpoints = resolver.resolve(host, std::to_string(port), error);
    if (error) throw Exception("Cannot resolve " + host + ": " + error.message());
    return endpoints;
  }

  // Runs `f` on the open WebSocket, whichever stream it runs on.
  template <class F>
  void With(F&& f) {
    std::visit(f, *ws_);
  }

  template <class Start>
  error_code Await(std::chrono::milliseconds timeout, Start&& start) {
    try {
      return AwaitOperation(io_, timeout, std::forward<Start>(start), [this] {
        With([](auto& ws) { beast::get_lowest_layer(ws).close(); });
      });
    } catch (const Exception&) {
      ws_.reset();  // timed out: the connection is unusable
      throw;
    }
  }

  void RequireOpen() const {
    if (!IsOpen()) throw Exception("Not connected to the server");
  }

  [[noreturn]] void Fail(const error_code& error) {
    std::string message = "Connection to the server lost: " + error.message();
    if (error == websocket::error::closed) {
      websocket::close_reason reason;
      With([&](auto& ws) { reason = ws.reason(); });
      message =
          "Connection closed by the server (" + std::to_string(reason.code) +
          (reason.reason.empty() ? ""
                                 : ": " + std::string(reason.reason.data(), reason.reason.size())) +
          ")";
    }
    ws_.reset();
    throw Exception(message);
  }

  // A request from the server in the middle of a call: a callback command, or something this
  // client does not know (answered "method not found" so that the server need not wait).
  void AnswerRequest(const json& request) {
    const json id = Member(request, "id");
    json answer = {{"jsonrpc", "2.0"}, {"id", id}};
    if (Member(request, "method") != "callback") {
      answer["error"] = {{"code", codes::kMethodNotFound}, {"message", "Unknown method"}};
    } else {
      try {
        answer["result"] =
            handler_ ? handler_(Member(Member(request, "params"), "command")) : json(false);
      } catch (const std::exception& e) {
        answer["error"] = {{"code", codes::kApplication}, {"message", e.what()}};
      }
    }
    if (!id.is_null()) SendText(Serialize(answer));
  }

  RpcClientOptions options_;
  net::io_context io_;
  std::unique_ptr<net::ssl::context> tls_;  // null without TLS
  std::optional<std::variant<PlainWs, TlsWs>> ws_;
  CallbackHandler handler_;
  std::int64_t lastId_ = 0;
};

RpcClient::RpcClient(RpcClientOptions options) : impl_(std::make_unique<Impl>(options)) {}

RpcClient::~RpcClient() {
  try {
    impl_->Close();
  } catch (...) {
    // A destructor does not throw; the socket is closed whatever happened.
  }
}

void RpcClient::Open(const std::string& host, std::uint16_t port, const std::string& path) {
  impl_->Open(host, port, path);
}

json RpcClient::Connect(const json& credentials) { return impl_->Call("connect", credentials); }

json RpcClient::Call(const std::string& method, const json& params) {
  return impl_->Call(method, params);
}

void RpcClient::SetCallbackHandler(CallbackHandler handler) {
  impl_->SetCallbackHandler(std::move(handler));
}

void RpcClient::Close() { impl_->Close(); }
bool RpcClient::IsOpen() const { return impl_->IsOpen(); }
void RpcClient::SendText(const std::string& text) { impl_->SendText(text); }
std::string RpcClient::ReceiveText() { return impl_->ReceiveText(); }

}  // namespace zo::rpc
