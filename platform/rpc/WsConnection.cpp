#include "platform/rpc/WsConnection.h"

#include <variant>

#include <boost/asio/post.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/beast/websocket/ssl.hpp>

#include "platform/rpc/CallbackChannel.h"
#include "platform/rpc/ClientSession.h"
#include "platform/rpc/JsonRpc.h"
#include <zo/platform/rpc/RpcError.h>
#include "platform/rpc/ServerContext.h"

namespace zo::rpc {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace websocket = beast::websocket;
using error_code = boost::system::error_code;

namespace {
// A read buffer grown past this by a large message is given back once the message is handled.
constexpr std::size_t kKeptBuffer = 64 * 1024;
}  // namespace

template <class Stream>
WsConnection<Stream>::WsConnection(Stream stream, ServerContext& server, ClientInfo client)
    : ws_(std::move(stream)), server_(server), info_{client.peer, "ws"} {}

template <class Stream>
WsConnection<Stream>::~WsConnection() {
  // Reached without End() only when the server stopped its network threads first.
  if (channel_) channel_->Close();
  if (client_) client_->Close("server stopped");
  server_.connections.Remove(this);
  if (counted_) server_.metrics.WsClosed();
}

template <class Stream>
void WsConnection<Stream>::Run(beast::http::request<beast::http::string_body> upgrade) {
  server_.connections.Add(this->shared_from_this());
  const std::weak_ptr<WsConnection> weak = this->weak_from_this();
  const auto send = [weak](std::string message) {
    const auto self = weak.lock();
    if (self) self->Send(std::move(message));
    return self != nullptr;
  };
  channel_ = std::make_shared<CallbackChannel>(send, server_.options.callbackTimeout,
                                               &server_.metrics);
  // Only a paused connection is woken when a call ends: the reply's own post is the one
  // hand-off back to the network thread that a call otherwise costs.
  const auto callEnded = [weak] {
    const auto self = weak.lock();
    if (self && self->paused_) {
      net::post(self->ws_.get_executor(), [self] { self->ResumeReading(); });
    }
  };
  client_ = std::make_shared<ClientSession>(server_, info_, channel_, nlohmann::json::object(),
                                            callEnded);

  // A client that sends nothing for half the ping timeout is pinged; one that still sends
  // nothing (not even the pong) by the timeout is gone, half-open, and is dropped with its
  // session. The handshake timeout also bounds the closing handshake.
  auto timeouts = websocket::stream_base::timeout::suggested(beast::role_type::server);
  if (server_.options.pingTimeout.count() > 0) {
    timeouts.idle_timeout = server_.options.pingTimeout;
    timeouts.keep_alive_pings = true;
  }
  ws_.set_option(timeouts);
  ws_.set_option(websocket::stream_base::decorator([](websocket::response_type& response) {
    response.set(beast::http::field::server, "ZoServer");
  }));
  ws_.read_message_max(0);  // the size limit is enforced by OnRead(), which can say why it closes
  ws_.async_accept(upgrade, [self = this->shared_from_this()](const error_code& error) {
    self->OnAccept(error);
  });
}

template <class Stream>
void WsConnection<Stream>::OnAccept(const error_code& error) {
  if (error) return End("handshake failed: " + error.message());
  open_ = true;
  counted_ = true;
  server_.metrics.WsOpened();
  server_.log.Write(LogLevel::kDebug, "rpc ws " + info_.peer + " connected");
  Read();
}

template <class Stream>
void WsConnection<Stream>::Shutdown() {
  net::post(ws_.get_executor(), [self = this->shared_from_this()] {
    // The session goes now, not after the closing handshake: a client that is not reading
    // would hold it up.
    self->End("server stopped");
    if (self->open_) return self->CloseWhenFlushed(websocket::close_code::going_away);
    if (!self->closing_) beast::get_lowest_layer(self->ws_).close();  // still in the handshake
  });
}

template <class Stream>
void WsConnection<Stream>::Send(std::string message) {
  net::post(ws_.get_executor(),
            [self = this->shared_from_this(), message = std::move(message)]() mutable {
              self->Write(std::move(message));
            });
}

template <class Stream>
void WsConnection<Stream>::Read() {
  // At most one byte beyond the limit is read: enough to know the message is too large.
  const std::size_t room = server_.options.maxMessageSize + 1 - buffer_.size();
  ws_.async_read_some(buffer_, room,
                      [self = this->shared_from_this()](const error_code& error, std::size_t bytes) {
                        self->server_.metrics.BytesIn(bytes);
                        self->OnRead(error);
                      });
}

template <class Stream>
bool WsConnection<Stream>::Saturated() const {
  return client_->Saturated() || writes_.size() >= server_.options.maxQueuedCalls;
}

template <class Stream>
void WsConnection<Stream>::ResumeReading() {
  if (!paused_ || !open_ || Saturated()) return;
  paused_ = false;
  const auto keep = std::move(keptWhilePaused_);  // the read holds it from now on
  Read();
}

template <class Stream>
void WsConnection<Stream>::OnRead(const error_code& error) {
  if (error) {
    open_ = false;
    return End(error == websocket::error::closed ? std::string("closed by the client")
                                                 : error.message());
  }
  if (buffer_.size() > server_.options.maxMessageSize) return RefuseOversized();
  if (!ws_.is_message_done()) {
    // The frame's header announces how much payload follows: a message that cannot fit is
    // refused now rather than after the client has sent (or failed to send) all of it.
    if (ws_.read_size_hint(1) > server_.options.maxMessageSize - buffer_.size()) {
      return RefuseOversized();
    }
    return Read();
  }
  const auto data = buffer_.data();
  OnMessage(std::string_view(static_cast<const char*>(data.data()), data.size()));
  buffer_.consume(buffer_.size());
  if (buffer_.capacity() > kKeptBuffer) buffer_ = beast::flat_buffer();
  if (Saturated()) {
    // ResumeReading() goes on once calls end or answers are written. Paused first, then asked
    // again: a call that ends in between either is seen here or sees the pause and wakes us.
    keptWhilePaused_ = this->shared_from_this();
    paused_ = true;
    if (Saturated()) return;
    paused_ = false;
    keptWhilePaused_.reset();
  }
  Read();
}

template <class Stream>
void WsConnection<Stream>::OnMessage(std::string_view text) {
  Incoming incoming = ParseIncoming(text, server_.options.maxJsonDepth);
  if (auto* request = std::get_if<Request>(&incoming)) {
    const std::weak_ptr<WsConnection> weak = this->weak_from_this();
    client_->Submit(std::move(*request), [weak](std::string response) {
      if (const auto self = weak.lock()) self->Send(std::move(response));
    });
  } else if (const auto* answer = std::get_if<Answer>(&incoming)) {
    channel_->Resolve(*answer);
  } else {
    Write(std::get<Rejected>(incoming).response);
  }
}

template <class Stream>
void WsConnection<Stream>::RefuseOversized() {
  const std::string limit = std::to_string(server_.options.maxMessageSize);
  server_.log.Write(LogLevel::kInfo, "rpc ws " + info_.peer + " message too large, closing");
  buffer_ = beast::flat_buffer();  // free it now
  Write(ErrorResponse(nullptr, codes::kMessageTooLarge,
                      "Message too large: the limit is " + limit + " bytes"));
  CloseWhenFlushed(CloseReason(websocket::close_code::too_big, "Message too large"));
}

template <class Stream>
void WsConnection<Stream>::Write(std::string message) {
  if (!open_ || closeAfterWrites_) return;  // closing: nothing new goes out
  writes_.push_back(std::move(message));
  if (writes_.size() == 1) WriteNext();
}

template <class Stream>
void WsConnection<Stream>::WriteNext() {
  ws_.text(true);
  ws_.async_write(net::buffer(writes_.front()),
                  [self = this->shared_from_this()](const error_code& error, std::size_t bytes) {
                    self->server_.metrics.BytesOut(bytes);
                    self->OnWritten(error);
                  });
}

template <class Stream>
void WsConnection<Stream>::OnWritten(const error_code& error) {
  writes_.pop_front();
  if (error) {
    writes_.clear();  // the read loop fails too, and ends the client
    return;
  }
  ResumeReading();
  if (!writes_.empty()) return WriteNext();
  if (closeAfterWrites_) StartClose(*closeAfterWrites_);
}

template <class Stream>
void WsConnection<Stream>::CloseWhenFlushed(const CloseReason& reason) {
  if (writes_.empty()) return StartClose(reason);
  closeAfterWrites_ = reason;
}

template <class Stream>
void WsConnection<Stream>::StartClose(const CloseReason& reason) {
  if (!open_) return;
  open_ = false;  // nothing more is queued: Beast allows no write once the close is sent
  closing_ = true;
  ws_.async_close(reason, [self = this->shared_from_this()](const error_code& error) {
    self->End(error ? error.message() : std::string("closed by the server"));
  });
}

template <class Stream>
void WsConnection<Stream>::End(const std::string& reason) {
  if (ended_) return;
  ended_ = true;
  const auto keep = std::move(keptWhilePaused_);  // no read resumes after the end
  if (channel_) channel_->Close();  // a call waiting for a callback answer fails now
  if (client_) client_->Close(reason);
  server_.log.Write(LogLevel::kDebug, "rpc ws " + info_.peer + " ended: " + reason);
}

template class WsConnection<PlainStream>;
template class WsConnection<TlsStream>;

}  // namespace zo::rpc
