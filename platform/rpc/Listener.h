#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

namespace zo::rpc {

struct ServerContext;

// Accepts TCP connections and hands each, on a strand of its own, to an HttpConnection (which
// upgrades it to a WebSocket when asked).
class Listener : public std::enable_shared_from_this<Listener> {
 public:
  Listener(boost::asio::io_context& io, ServerContext& server);
  // Binds and listens; throws zo::Exception. Returns the bound port.
  std::uint16_t Open(const std::string& address, std::uint16_t port);
  void Run();
  void Close();  // thread-safe

 private:
  void Accept();
  void OnAccept(const boost::system::error_code& error, boost::asio::ip::tcp::socket socket);

  boost::asio::io_context& io_;
  ServerContext& server_;
  boost::asio::ip::tcp::acceptor acceptor_;
  boost::asio::steady_timer retry_;  // pause after a failed accept
};

}  // namespace zo::rpc
