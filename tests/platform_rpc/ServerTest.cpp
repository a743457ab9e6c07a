#include <gtest/gtest.h>

#include <future>
#include <string>

#include "FakeServer.h"
#include "platform/rpc/RpcError.h"

namespace zo::rpc::testing {
namespace {

using nlohmann::json;
using namespace std::chrono_literals;

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

TEST(ServerTest, EveryCallIsAccessLoggedOnOneLine) {
  TestServer server;
  auto client = server.Client();
  client->Call("Echo");
  const std::string longMessage = std::string(98, 'x') + "çé\r\nrest";
  EXPECT_THROW(client->Call("Fail", {{"message", longMessage}}), RpcError);

  const auto calls = server.AccessLines(3);
  ASSERT_EQ(calls.size(), 3u);  // connect, Echo, Fail
  EXPECT_NE(calls[0].find("customer=ACME user=ana method=connect"), std::string::npos);
  EXPECT_NE(calls[1].find("method=Echo"), std::string::npos);
  EXPECT_EQ(calls[1].substr(calls[1].size() - 3), " ok");
  // The first 100 characters (not bytes) of the message, still on one line.
  EXPECT_EQ(calls[2].substr(calls[2].find("error: ")), "error: " + std::string(98, 'x') + "çé");
  EXPECT_EQ(calls[2].rfind("rpc ws 127.0.0.1:", 0), 0u);
}

}  // namespace
}  // namespace zo::rpc::testing
