#pragma once

#include <chrono>
#include <optional>
#include <string>

#include <boost/asio/io_context.hpp>
#include <boost/system/error_code.hpp>

#include <zo/core/Exceptions.h>

namespace zo::rpc {

// Runs one asynchronous operation of a synchronous client to completion on the client's own
// io_context, which gives the blocking clients timeouts that Beast's synchronous calls lack.
// `start` receives the completion handler. On timeout `abandon` drops the connection (which
// completes the operation) and zo::Exception is thrown; otherwise the operation's error code
// is returned. A zero timeout waits for ever.
template <class Start, class Abandon>
boost::system::error_code AwaitOperation(boost::asio::io_context& io,
                                         std::chrono::milliseconds timeout, Start&& start,
                                         Abandon&& abandon) {
  std::optional<boost::system::error_code> result;
  start([&result](const boost::system::error_code& error, auto&&...) { result = error; });
  io.restart();
  if (timeout.count() > 0) {
    io.run_for(timeout);
  } else {
    io.run();
  }
  if (result) return *result;
  abandon();
  io.restart();
  io.run();  // lets the abandoned operation complete before its buffers go away
  throw Exception("No answer from the server within " + std::to_string(timeout.count()) + " ms");
}

}  // namespace zo::rpc
