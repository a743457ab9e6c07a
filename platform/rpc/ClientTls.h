#pragma once

#include <memory>
#include <string>

#include <boost/asio/ssl/context.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>

#include <zo/platform/rpc/RpcClient.h>

// The TLS side the two clients share.
namespace zo::rpc::client_tls {

using TlsStream = boost::beast::ssl_stream<boost::beast::tcp_stream>;

// A context that verifies the server against `options.caFile` (PEM), or against the system's
// trusted authorities when it is empty; null when `options.tls` is off. Throws zo::Exception
// when the file cannot be read.
std::unique_ptr<boost::asio::ssl::context> MakeContext(const RpcClientOptions& options);

// Prepares `stream` for the handshake with `host`: the name it announces (SNI) and the name
// (or address) the certificate must carry.
void PrepareHandshake(TlsStream& stream, const std::string& host);

}  // namespace zo::rpc::client_tls
