#pragma once

#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>

namespace zo::rpc {

// The two byte streams a connection may run on: plain TCP, or TLS over TCP when the server was
// given a certificate. Connections are templates over these, instantiated for both.
using PlainStream = boost::beast::tcp_stream;
using TlsStream = boost::beast::ssl_stream<boost::beast::tcp_stream>;

template <class Stream>
inline constexpr bool kIsTls = std::is_same_v<Stream, TlsStream>;

}  // namespace zo::rpc
