// zo-server with the operator's certificate: wss:// and https:// for clients that trust it,
// nothing for the others; and pings that free a client which stopped answering.

#include <gtest/gtest.h>

#include <thread>

#include <zo/core/Exceptions.h>
#include "tests/apps_server/Deployment.h"

namespace zo::testing {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

// A self-signed certificate for 127.0.0.1, made by the openssl tool.
void MakeCertificate(const fs::path& dir) {
  const int code = RunTool("/usr/bin/openssl",
                           {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj",
                            "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout",
                            (dir / "key.pem").string(), "-out", (dir / "cert.pem").string()},
                           {dir, {}, {}, dir / "openssl.err"}, 60s);
  ASSERT_EQ(code, 0) << ReadText(dir / "openssl.err");
}

TEST(ServerTls, ServesTrustingClientsOnlyAndPingsSilentOnesAway) {
  const TempDir certs;
  ASSERT_NO_FATAL_FAILURE(MakeCertificate(certs.Path()));
  const fs::path cert = certs.Path() / "cert.pem";
  Deployment live({.customers = {kAcme},
                   .seedAcme = false,
                   .serverArgs = {"--tls-cert", cert.string(), "--tls-key",
                                  (certs.Path() / "key.pem").string(), "--ping-timeout", "2",
                                  "--log-level", "debug"}});
  EXPECT_NE(live.Server().Output().find("listening on wss://"), std::string::npos);

  auto options = ClientOptions();
  options.tls = true;
  options.caFile = cert.string();
  rpc::RpcClient ws(options);
  ws.Open("127.0.0.1", live.Port());
  ws.Connect(Credentials(kAcme));
  EXPECT_EQ(ws.Call("GetCount", {{"AClassName", "TUser"}}), 1);
  rpc::RpcHttpClient http(options);
  http.Open("127.0.0.1", live.Port());
  http.Connect(Credentials(kAcme));
  EXPECT_EQ(http.Call("GetCount", {{"AClassName", "TUser"}}), 1);

  // A client that does not trust the certificate, and one that speaks plain text, get nowhere.
  auto untrusting = ClientOptions();
  untrusting.tls = true;
  EXPECT_THROW(rpc::RpcClient(untrusting).Open("127.0.0.1", live.Port()), Exception);
  EXPECT_THROW(live.ConnectWs(kAcme), Exception);
  EXPECT_THROW(live.ConnectHttp(kAcme), Exception);

  // `ws` reads nothing now, as a vanished client would: the server pings it after a second
  // and drops it, with its session, after two.
  EXPECT_TRUE(live.Server().WaitForLog("ended: The socket was closed due to a timeout", 10s))
      << live.Server().Log();
  EXPECT_THROW(ws.Call("GetCount", {{"AClassName", "TUser"}}), Exception);
  EXPECT_EQ(http.Call("GetCount", {{"AClassName", "TUser"}}), 1);
}

}  // namespace
}  // namespace zo::testing
