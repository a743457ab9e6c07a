#include <csignal>

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>

#include <zo/platform/rpc/RpcServer.h>

namespace zo::rpc {

void RunUntilTerminated(RpcServer& server) {
  boost::asio::io_context io;
  boost::asio::signal_set signals(io, SIGINT, SIGTERM);
  signals.async_wait([](const boost::system::error_code&, int) {});
  io.run();  // returns once the signal's handler has run
  server.Stop();
}

}  // namespace zo::rpc
