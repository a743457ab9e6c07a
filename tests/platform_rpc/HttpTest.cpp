#include <gtest/gtest.h>

#include <regex>
#include <string>

#include <zo/platform/rpc/RpcError.h>
#include "FakeServer.h"

namespace zo::rpc::testing {
namespace {

using nlohmann::json;
using namespace std::chrono_literals;

// Malformed bodies and oversized ones are the built server's tests, over the same transport.
TEST(HttpTest, OnlyAValidSessionTokenIsServedAndFailuresAreJsonRpcErrors) {
  TestServer server;
  auto client = server.HttpClient(/*connect=*/false);
  EXPECT_EQ(ErrorOf([&] { client->Call("Echo"); }).Code(), codes::kNotConnected);
  client->SetSessionToken(std::string(64, '0'));
  EXPECT_EQ(ErrorOf([&] { client->Call("Echo"); }).Code(), codes::kNotConnected);
  EXPECT_EQ(server.journal().Live(), 0);

  const json result = client->Connect(kCredentials);
  EXPECT_TRUE(
      std::regex_match(result.at("session").get<std::string>(), std::regex("[0-9a-f]{64}")));
  EXPECT_EQ(client->SessionToken(), result["session"]);
  EXPECT_EQ(client->Call("Echo", {{"x", "ü"}}), json({{"x", "ü"}}));
  EXPECT_EQ(client->Call("Who"), json({{"customer", "ACME"}, {"user", "ana"}}));
  EXPECT_TRUE(ErrorOf([&] { client->Call("Abort"); }).Aborted());
  EXPECT_EQ(ErrorOf([&] { client->Call("Nope"); }).Code(), codes::kMethodNotFound);

  // A second client has a session of its own.
  auto other = server.HttpClient();
  EXPECT_NE(other->SessionToken(), client->SessionToken());
  EXPECT_EQ(server.journal().Live(), 2);

  const std::string token = client->SessionToken();
  client->Disconnect();
  EXPECT_TRUE(server.journal().WaitForLive(1));
  client->SetSessionToken(token);
  EXPECT_EQ(ErrorOf([&] { client->Call("Echo"); }).Code(), codes::kNotConnected);
  RpcHttpClient lost;
  lost.Open("127.0.0.1", server.Port(), "/elsewhere");
  EXPECT_EQ(lost.Post("{}").status, 404);
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
