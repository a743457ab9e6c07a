#include <gtest/gtest.h>

#include <future>
#include <string>

#include "FakeServer.h"
#include <zo/platform/rpc/RpcError.h>

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

}  // namespace
}  // namespace zo::rpc::testing
