#pragma once

#include <atomic>
#include <deque>
#include <memory>
#include <optional>
#include <string>

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/websocket/stream.hpp>

#include "platform/rpc/ConnectionRegistry.h"
#include "platform/rpc/Streams.h"
#include <zo/platform/rpc/RpcSession.h>

namespace zo::rpc {

class CallbackChannel;
class ClientSession;
struct ServerContext;

// One WebSocket client at "/zo". Its read loop only parses and routes: requests go to the
// client's call queue on the workers, callback answers to the waiting worker. Everything sent
// goes through one write queue, one write at a time. A client with too many calls queued, or
// too many answers it has not read yet, is not read until they drain: the queue of one client
// stays bounded, whatever it sends.
template <class Stream>
class WsConnection : public IConnection,
                     public std::enable_shared_from_this<WsConnection<Stream>> {
 public:
  WsConnection(Stream stream, ServerContext& server, ClientInfo client);
  ~WsConnection() override;
  // Completes the handshake of `upgrade` and starts reading.
  void Run(boost::beast::http::request<boost::beast::http::string_body> upgrade);
  void Shutdown() override;
  void Send(std::string message);  // thread-safe; dropped once the client is gone or closing

 private:
  using CloseReason = boost::beast::websocket::close_reason;

  void OnAccept(const boost::system::error_code& error);
  void Read();
  bool Saturated() const;
  void ResumeReading();
  void OnRead(const boost::system::error_code& error);
  void OnMessage(std::string_view text);
  void RefuseOversized();
  void Write(std::string message);
  void WriteNext();
  void OnWritten(const boost::system::error_code& error);
  void CloseWhenFlushed(const CloseReason& reason);
  void StartClose(const CloseReason& reason);
  void End(const std::string& reason);

  boost::beast::websocket::stream<Stream> ws_;
  boost::beast::flat_buffer buffer_;
  ServerContext& server_;
  const ClientInfo info_;
  std::shared_ptr<CallbackChannel> channel_;
  std::shared_ptr<ClientSession> client_;
  std::deque<std::string> writes_;  // front() is being written
  std::optional<CloseReason> closeAfterWrites_;
  bool open_ = false;     // handshake done, socket usable, close not started
  bool closing_ = false;  // the closing handshake has started
  bool ended_ = false;    // callbacks failed and session closed
  bool counted_ = false;  // counted among the open WebSocket connections
  // Reading stopped until the client's queues drain. Written on the network thread; a worker
  // whose call ends reads it to tell whether the connection needs waking at all.
  std::atomic<bool> paused_{false};
  // While paused no read is pending, and maybe no write: nothing else would keep the
  // connection alive until its calls end.
  std::shared_ptr<WsConnection> keptWhilePaused_;
};

}  // namespace zo::rpc
