#include "platform/rpc/ClientTls.h"

#include <openssl/ssl.h>

#include <boost/asio/ip/address.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>

#include <zo/core/Exceptions.h>

namespace zo::rpc::client_tls {

namespace ssl = boost::asio::ssl;

std::unique_ptr<ssl::context> MakeContext(const RpcClientOptions& options) {
  if (!options.tls) return nullptr;
  auto context = std::make_unique<ssl::context>(ssl::context::tls_client);
  context->set_options(ssl::context::default_workarounds | ssl::context::no_sslv2 |
                       ssl::context::no_sslv3 | ssl::context::no_tlsv1 |
                       ssl::context::no_tlsv1_1);
  context->set_verify_mode(ssl::verify_peer);
  boost::system::error_code error;
  if (options.caFile.empty()) {
    context->set_default_verify_paths(error);
  } else {
    context->load_verify_file(options.caFile, error);
  }
  if (error) {
    throw Exception("Cannot load the trusted certificates " +
                    (options.caFile.empty() ? std::string("of the system") : options.caFile) +
                    ": " + error.message());
  }
  return context;
}

void PrepareHandshake(TlsStream& stream, const std::string& host) {
  boost::system::error_code notAnAddress;
  boost::asio::ip::make_address(host, notAnAddress);
  // Server Name Indication carries host names only, never addresses.
  if (notAnAddress) SSL_set_tlsext_host_name(stream.native_handle(), host.c_str());
  stream.set_verify_callback(ssl::host_name_verification(host));
}

}  // namespace zo::rpc::client_tls
