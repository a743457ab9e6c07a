// GET /health and GET /metrics of zo-server, scraped around real calls over both transports.

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <thread>

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>

#include "tests/apps_server/Deployment.h"

namespace zo::testing {
namespace {

using namespace std::chrono_literals;
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
  return {static_cast<int>(response.result_int()),
          std::string(response[http::field::content_type]), response.body()};
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
  EXPECT_EQ(ErrorOf([&] { intruder->Connect({{"customer", "ACME"}, {"user", "ana"},
                                             {"password", "senha-errada-123"}}); })
                .Code(),
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
  EXPECT_EQ(broken.body.find('/'), std::string::npos) << broken.body;
}

}  // namespace
}  // namespace zo::testing
