#include "platform/rpc/Listener.h"

#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>

#include <zo/core/Exceptions.h>
#include "platform/rpc/HttpConnection.h"
#include "platform/rpc/ServerContext.h"

namespace zo::rpc {

namespace net = boost::asio;
using tcp = net::ip::tcp;

Listener::Listener(net::io_context& io, ServerContext& server)
    : io_(io), server_(server), acceptor_(net::make_strand(io)), retry_(acceptor_.get_executor()) {}

std::uint16_t Listener::Open(const std::string& address, std::uint16_t port) {
  boost::system::error_code error;
  const auto ip = net::ip::make_address(address, error);
  if (error) throw Exception("Invalid bind address \"" + address + "\": " + error.message());
  const tcp::endpoint endpoint(ip, port);
  const auto check = [&](const char* step) {
    if (error) {
      throw Exception(std::string("Cannot ") + step + " " + address + ":" + std::to_string(port) +
                      ": " + error.message());
    }
  };
  acceptor_.open(endpoint.protocol(), error);
  check("open");
  acceptor_.set_option(net::socket_base::reuse_address(true), error);
  check("configure");
  acceptor_.bind(endpoint, error);
  check("bind");
  acceptor_.listen(net::socket_base::max_listen_connections, error);
  check("listen on");
  return acceptor_.local_endpoint().port();
}

void Listener::Run() { Accept(); }

void Listener::Close() {
  net::post(acceptor_.get_executor(), [self = shared_from_this()] {
    boost::system::error_code ignored;
    self->acceptor_.close(ignored);
    self->retry_.cancel();
  });
}

void Listener::Accept() {
  acceptor_.async_accept(
      net::make_strand(io_),
      [self = shared_from_this()](const boost::system::error_code& error, tcp::socket socket) {
        self->OnAccept(error, std::move(socket));
      });
}

void Listener::OnAccept(const boost::system::error_code& error, tcp::socket socket) {
  if (error == net::error::operation_aborted || !acceptor_.is_open()) return;  // closed
  if (error) {
    // Typically out of file descriptors: pause, then accept again, the condition may pass.
    server_.log.Write(LogLevel::kError, "rpc accept failed: " + error.message());
    retry_.expires_after(std::chrono::milliseconds(100));
    retry_.async_wait([self = shared_from_this()](const boost::system::error_code& waited) {
      if (!waited) self->Accept();
    });
    return;
  }
  if (!server_.stopping) {
    if (server_.tls) {
      std::make_shared<HttpConnection<TlsStream>>(std::move(socket), server_)->Run();
    } else {
      std::make_shared<HttpConnection<PlainStream>>(std::move(socket), server_)->Run();
    }
  }
  Accept();
}

}  // namespace zo::rpc
