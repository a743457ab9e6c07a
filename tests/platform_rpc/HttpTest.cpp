#include <gtest/gtest.h>

#include <future>
#include <regex>
#include <string>

#include <zo/platform/rpc/RpcError.h>
#include "FakeServer.h"

namespace zo::rpc::testing {
namespace {

using nlohmann::json;
using namespace std::chrono_literals;

TEST(HttpTest, ConnectCallAndDisconnectWithASessionToken) {
  TestServer server;
  auto client = server.HttpClient(/*connect=*/false);
  const json result = client->Connect(kCredentials);
  EXPECT_TRUE(
      std::regex_match(result.at("session").get<std::string>(), std::regex("[0-9a-f]{64}")));
  EXPECT_EQ(client->SessionToken(), result["session"]);
  EXPECT_EQ(client->Call("Echo", {{"x", "ü"}}), json({{"x", "ü"}}));
  EXPECT_EQ(client->Call("Who"), json({{"customer", "ACME"}, {"user", "ana"}}));

  // A second client has a session of its own.
  auto other = server.HttpClient();
  EXPECT_NE(other->SessionToken(), client->SessionToken());
  EXPECT_EQ(server.journal().Live(), 2);

  const std::string token = client->SessionToken();
  client->Disconnect();
  EXPECT_TRUE(server.journal().WaitForLive(1));
  client->SetSessionToken(token);
  EXPECT_EQ(ErrorOf([&] { client->Call("Echo"); }).Code(), codes::kNotConnected);
}

TEST(HttpTest, RequestsWithoutAValidTokenAreRefused) {
  TestServer server;
  auto client = server.HttpClient(/*connect=*/false);
  EXPECT_EQ(ErrorOf([&] { client->Call("Echo"); }).Code(), codes::kNotConnected);
  client->SetSessionToken(std::string(64, '0'));
  EXPECT_EQ(ErrorOf([&] { client->Call("Echo"); }).Code(), codes::kNotConnected);
  EXPECT_EQ(server.journal().Live(), 0);
}

// Malformed bodies and oversized ones are the built server's tests, over the same transport.
TEST(HttpTest, SessionFailuresAreJsonRpcErrors) {
  TestServer server;
  auto client = server.HttpClient();
  EXPECT_TRUE(ErrorOf([&] { client->Call("Abort"); }).Aborted());
  EXPECT_EQ(ErrorOf([&] { client->Call("Nope"); }).Code(), codes::kMethodNotFound);
  RpcHttpClient lost;
  lost.Open("127.0.0.1", server.Port(), "/elsewhere");
  EXPECT_EQ(lost.Post("{}").status, 404);
}

TEST(HttpTest, AnIdleSessionExpiresAndAnActiveOneDoesNot) {
  RpcServerOptions options;
  options.httpSessionIdle = 150ms;
  TestServer server(options);
  auto idle = server.HttpClient();
  auto active = server.HttpClient();

  // Calls keep `active` alive well past the idle time, and a running call counts as activity.
  EXPECT_EQ(active->Call("Sleep", {{"ms", 250}}), 250);
  for (int i = 0; i < 4; ++i) {
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(active->Call("Echo"), json::object());
  }
  EXPECT_TRUE(server.journal().WaitForLive(1));
  EXPECT_EQ(ErrorOf([&] { idle->Call("Echo"); }).Code(), codes::kNotConnected);
  EXPECT_EQ(active->Call("Echo"), json::object());
}

TEST(ServerTest, StopLetsARunningCallFinishThenDestroysEverySession) {
  TestServer server;
  auto running = server.Client();
  auto idle = server.Client();
  auto http = server.HttpClient();
  auto call = std::async(std::launch::async, [&] { return running->Call("Sleep", {{"ms", 300}}); });
  ASSERT_TRUE(server.journal().WaitForEvent("call Sleep"));

  server.Server().Stop();
  EXPECT_EQ(call.get(), 300);
  EXPECT_EQ(server.journal().Live(), 0);
  EXPECT_THROW(idle->Call("Echo"), Exception);
  RpcClient late;
  EXPECT_THROW(late.Open("127.0.0.1", server.Port()), Exception);
}

TEST(ServerTest, APortInUseIsReported) {
  TestServer first;
  RpcServerOptions options;
  options.port = first.Port();
  RpcServer second(std::make_shared<FakeFactory>(), options);
  EXPECT_THROW(second.Start(), Exception);
}

}  // namespace
}  // namespace zo::rpc::testing
