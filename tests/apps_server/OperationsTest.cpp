// zo-server as an operator runs it: refusals at start-up, SIGTERM at any moment after the
// server has said that it listens, its JSON log, TLS, /health and /metrics.

#include <gtest/gtest.h>

#include <signal.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <numeric>
#include <regex>
#include <sstream>
#include <string>
#include <thread>

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>

#include <zo/core/Exceptions.h>
#include <zo/version.h>

#include "tests/apps_server/Deployment.h"
#include "tests/support/TempDir.h"

namespace zo::testing {
namespace {

using namespace std::chrono_literals;

TEST(ServerStartStop, RefusesToStartWithoutARootConfigurationOrWithBadOptions) {
  const TempDir root;
  const auto run = [&](const std::vector<std::string>& args) {
    return RunTool(ZO_SERVER_BIN, args, {{}, {}, {}, root.Path() / "err"}, 30s);
  };
  EXPECT_EQ(run({"--root", root.Path().string(), "--port", "0"}), 2);
  EXPECT_NE(ReadText(root.Path() / "err").find("conn.conf"), std::string::npos);
  EXPECT_EQ(run({"--port", "70000"}), 1);
  EXPECT_EQ(run({"--root"}), 1);
  EXPECT_EQ(run({"--verbose", "yes"}), 1);

  // A configuration file stops start-up at its first bad line, named with its key.
  const struct {
    std::string text;
    std::string message;
  } configs[] = {
      {"port = 0\n# comment\nprot = 7070\n", "line 3: unknown key \"prot\""},
      {"log-level = loud\n", "line 1: bad value for \"log-level\""},
      {"workers = 0\n", "line 1: bad value for \"workers\""},
      {"port 7070\n", "line 1: expected \"key = value\""},
  };
  for (const auto& config : configs) {
    std::ofstream(root.Path() / "zo.conf") << config.text;
    EXPECT_EQ(run({"--config", (root.Path() / "zo.conf").string()}), 1) << config.text;
    EXPECT_NE(ReadText(root.Path() / "err")
                  .find("zo-server: " + (root.Path() / "zo.conf").string() + " " + config.message),
              std::string::npos)
        << ReadText(root.Path() / "err");
  }
  EXPECT_EQ(RunTool(ZO_SERVER_BIN, {"--version"}, {{}, {}, root.Path() / "out", {}}, 30s), 0);
  EXPECT_EQ(ReadText(root.Path() / "out"), std::string("zo-server ") + ZO_VERSION_STRING + "\n");
}

// The reader of the announcement may signal at once: the server must already be listening for
// SIGTERM by then, or the signal's default action kills it.
TEST(ServerStartStop, SigtermRightAfterTheAnnouncementStopsCleanly) {
  const TempDir root;
  std::ofstream(root.Path() / "conn.conf") << "User_Name=SYSDBA\nPassword=masterkey\n";
  const auto output = root.Path() / "out";
  for (int attempt = 0; attempt < 25; ++attempt) {
    ChildProcess server(ZO_SERVER_BIN,
                        {"--root", root.Path().string(), "--port", "0", "--log-level", "off"},
                        {.output = output});
    // Read without pausing, so that the signal follows the line as closely as it can.
    const auto deadline = std::chrono::steady_clock::now() + 30s;
    while (ReadText(output).find("listening on ws://127.0.0.1:") == std::string::npos) {
      ASSERT_LT(std::chrono::steady_clock::now(), deadline) << ReadText(output);
    }
    server.Signal(SIGTERM);
    ASSERT_EQ(server.Wait(15s), 0) << "attempt " << attempt;
  }
}

// zo-server's log in JSON: one object a line, one line per call, and slow calls with their
// statements.

TEST(ServerLog, JsonLinesRecordEachCallAndTheStatementsOfSlowOnes) {
  Deployment deployment({.customers = {kAcme},
                         .seedAcme = true,
                         .serverArgs = {"--log-format", "json", "--slow-ms", "1"}});
  auto client = deployment.ConnectWs(kAcme);
  std::vector<int> batch(kBatchSize);
  std::iota(batch.begin(), batch.end(), 100001);
  client->Call("DeleteArray", {{"AClassName", "TCidade"}, {"jArray", batch}});
  EXPECT_EQ(ErrorOf([&] {
              client->Call("Get", {{"AClassName", "TNada"}, {"id", 1}});
            }).Code(),
            -32000);
  ASSERT_TRUE(deployment.Server().WaitForLog(R"("method":"Get")", 10s))
      << deployment.Server().Log();

  std::istringstream lines(deployment.Server().Log());
  json call, slow, failed;
  for (std::string line; std::getline(lines, line);) {
    json entry;
    ASSERT_NO_THROW(entry = json::parse(line)) << line;
    ASSERT_TRUE(entry.contains("time") && entry.contains("level")) << line;
    if (entry.value("method", "") == "DeleteArray") {
      (entry.value("event", "") == "slow_call" ? slow : call) = entry;
    }
    if (entry.value("method", "") == "Get") failed = entry;
  }
  EXPECT_EQ(call.value("customer", ""), "ACME");
  EXPECT_EQ(call.value("user", ""), "ana");
  EXPECT_EQ(call.value("outcome", ""), "ok");
  EXPECT_GT(call.value("ms", 0.0), 1.0);
  EXPECT_GE(call.value("statements", 0), kBatchSize);  // one DELETE a city at least
  EXPECT_EQ(slow.value("level", ""), "warning");
  ASSERT_TRUE(slow.contains("trace")) << slow.dump();
  EXPECT_EQ(slow["trace"].size(), 50u);  // the first statements only
  EXPECT_NE(slow["trace"][0].get<std::string>().find("CIDADES"), std::string::npos);
  EXPECT_EQ(failed.value("outcome", ""), "error");
  EXPECT_EQ(failed.value("code", 0), -32000);
  EXPECT_EQ(deployment.Server().Log().find(kAcme.password), std::string::npos);
}

// zo-server with the operator's certificate: wss:// and https:// for clients that trust it,
// nothing for the others; and pings that free a client which stopped answering.
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
  Deployment live(
      {.customers = {kAcme},
       .seedAcme = false,
       .serverArgs = {"--tls-cert", cert.string(), "--tls-key", (certs.Path() / "key.pem").string(),
                      "--ping-timeout", "2", "--log-level", "debug"}});
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

// GET /health and GET /metrics of zo-server, scraped around real calls over both transports.
namespace http = boost::beast::http;

struct HttpAnswer {
  int status = 0;
  std::string contentType;
  std::string body;
};

HttpAnswer Get(std::uint16_t port, const std::string& target) {
  boost::asio::io_context io;
  boost::asio::ip::tcp::socket socket(io);
  socket.connect({boost::asio::ip::make_address("127.0.0.1"), port});
  http::request<http::empty_body> request(http::verb::get, target, 11);
  request.set(http::field::host, "127.0.0.1");
  http::write(socket, request);
  boost::beast::flat_buffer buffer;
  http::response<http::string_body> response;
  http::read(socket, buffer, response);
  return {static_cast<int>(response.result_int()), std::string(response[http::field::content_type]),
          response.body()};
}

// Every sample of a scrape by its full name with labels, e.g.
// `zo_rpc_calls_total{method="connect",outcome="ok"}`.
std::map<std::string, double> Scrape(std::uint16_t port) {
  const auto answer = Get(port, "/metrics");
  EXPECT_EQ(answer.status, 200);
  EXPECT_NE(answer.contentType.find("version=0.0.4"), std::string::npos);
  std::map<std::string, double> samples;
  const std::regex line(R"(^([a-z_]+(\{[^}]*\})?) (\S+)$)");
  std::istringstream in(answer.body);
  for (std::string text; std::getline(in, text);) {
    std::smatch match;
    if (text.starts_with("#")) continue;
    EXPECT_TRUE(std::regex_match(text, match, line)) << text;
    if (!match.empty()) samples[match[1]] = std::stod(match[3]);
  }
  return samples;
}

TEST(OpsEndpoints, MetricsCountTheCallsAndTheClientsThatMadeThem) {
  Deployment deployment({.seedAcme = false, .serverArgs = {}});
  const auto port = deployment.Port();
  const auto before = Scrape(port);

  auto ws = deployment.ConnectWs(kAcme);
  auto http = deployment.ConnectHttp(kAcme);
  const std::string secretCondition = "NOME = 'condicao-secreta'";
  for (int i = 0; i < 3; ++i) {
    ws->Call("GetCount", {{"AClassName", "TCidade"}, {"ACondition", secretCondition}});
  }
  EXPECT_EQ(ErrorOf([&] { ws->Call("NoSuchMethod"); }).Code(), -32601);
  auto intruder = deployment.OpenHttp();
  EXPECT_EQ(ErrorOf([&] {
              intruder->Connect(
                  {{"customer", "ACME"}, {"user", "ana"}, {"password", "senha-errada-123"}});
            }).Code(),
            -32000);

  const auto after = Scrape(port);
  const auto delta = [&](const std::string& name) {
    const auto was = before.find(name);
    const auto now = after.find(name);
    return (now == after.end() ? 0 : now->second) - (was == before.end() ? 0 : was->second);
  };
  const std::map<std::string, double> expected{
      {R"(zo_rpc_calls_total{method="connect",outcome="ok"})", 2},
      {R"(zo_rpc_calls_total{method="connect",outcome="error"})", 1},
      {R"(zo_rpc_calls_total{method="GetCount",outcome="ok"})", 3},
      {R"(zo_rpc_calls_total{method="other",outcome="method_not_found"})", 1},
      {"zo_rpc_login_failures_total", 1},
      {"zo_rpc_call_duration_seconds_count", 7},
      {R"(zo_rpc_call_duration_seconds_bucket{le="+Inf"})", 7},
      {"zo_rpc_http_sessions", 1},
      {"zo_rpc_websocket_connections", 1},
      {R"(zo_open_modules{customer="ACME"})", 2},
      {R"(zo_database_attachments{customer="ACME"})", 2},
      {"zo_rpc_callbacks_waiting", 0},
  };
  for (const auto& [name, value] : expected) EXPECT_EQ(delta(name), value) << name;
  EXPECT_GT(delta("zo_rpc_received_bytes_total"), 0);
  EXPECT_GT(delta("zo_rpc_sent_bytes_total"), 0);

  const std::string body = Get(port, "/metrics").body;
  for (const std::string& secret : {kAcme.password, std::string("senha-errada-123"),
                                    std::string("condicao-secreta"), kAcme.login}) {
    EXPECT_EQ(body.find(secret), std::string::npos) << secret;
  }

  ws.reset();
  http->Disconnect();
  for (int i = 0; i < 100 && Scrape(port).count(R"(zo_open_modules{customer="ACME"})"); ++i) {
    std::this_thread::sleep_for(50ms);
  }
  const auto closed = Scrape(port);
  EXPECT_EQ(closed.count(R"(zo_open_modules{customer="ACME"})"), 0u);
  EXPECT_EQ(closed.at("zo_rpc_websocket_connections"), 0);
  EXPECT_EQ(closed.at("zo_rpc_http_sessions"), 0);
}

TEST(OpsEndpoints, HealthTellsWhetherACustomerDatabaseOpensAndOtherPathsAreShort404s) {
  Deployment deployment({.customers = {kAcme}, .seedAcme = false, .serverArgs = {}});
  const auto ready = Get(deployment.Port(), "/health");
  EXPECT_EQ(ready.status, 200);
  EXPECT_EQ(nlohmann::json::parse(ready.body).value("detail", ""),
            "database of customer ACME opened");
  EXPECT_EQ(Get(deployment.Port(), "/health/live").status, 200);
  const auto unknown = Get(deployment.Port(), "/zo/../etc/passwd");
  EXPECT_EQ(unknown.status, 404);
  EXPECT_LT(unknown.body.size(), 20u);

  // A root whose only customer's database is gone: alive, not ready, and the answer names no
  // path or database error.
  std::filesystem::remove(deployment.Root() / "CustomersDB" / "ACME" / "ZO.FDB");
  const auto broken = Get(deployment.Port(), "/health");
  EXPECT_EQ(broken.status, 503);
  const auto health = nlohmann::json::parse(broken.body);
  EXPECT_EQ(health.value("live", false), true);
  EXPECT_EQ(health.value("ready", true), false);
  EXPECT_EQ(health.value("status", ""), "unavailable");
  EXPECT_EQ(broken.body.find('/'), std::string::npos) << broken.body;
}

}  // namespace
}  // namespace zo::testing
