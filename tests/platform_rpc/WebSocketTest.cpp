#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <zo/platform/rpc/RpcError.h>
#include "FakeServer.h"

namespace zo::rpc::testing {
namespace {

using nlohmann::json;
using namespace std::chrono_literals;

json Receive(RpcClient& client) { return json::parse(client.ReceiveText()); }

TEST(WebSocketTest, ConnectIsRequiredOnceRefusalsAreVerbatimAndCloseDestroysTheSession) {
  TestServer server;
  auto client = server.Client(/*connect=*/false);
  EXPECT_EQ(ErrorOf([&] { client->Call("Echo"); }).Code(), codes::kNotConnected);
  json wrong = kCredentials;
  wrong["password"] = "guess";
  const RpcError refused = ErrorOf([&] { client->Connect(wrong); });
  EXPECT_EQ(refused.Code(), codes::kApplication);
  EXPECT_STREQ(refused.what(), "Usuário ou senha inválidos");

  EXPECT_EQ(client->Connect(kCredentials), json::object());  // the same socket may try again
  EXPECT_EQ(ErrorOf([&] { client->Connect(kCredentials); }).Code(), codes::kAlreadyConnected);
  EXPECT_EQ(server.journal().Live(), 1);
  EXPECT_EQ(client->Call("Echo", {{"x", 1}, {"s", "ação"}}), json({{"x", 1}, {"s", "ação"}}));
  EXPECT_EQ(client->Call("Who"), json({{"customer", "ACME"}, {"user", "ana"}}));
  client->Close();
  EXPECT_TRUE(server.journal().WaitForLive(0));
}

TEST(WebSocketTest, MalformedMessagesGetStandardErrorsAndTheSocketStaysUsable) {
  TestServer server;
  auto client = server.Client();
  const auto errorOf = [&](const std::string& text) {
    client->SendText(text);
    return Receive(*client);
  };

  json reply = errorOf("{\"jsonrpc\": \"2.0\", \"id\": 1, ");
  EXPECT_EQ(reply["error"]["code"], codes::kParseError);
  EXPECT_TRUE(reply["id"].is_null());
  EXPECT_EQ(errorOf("[1, 2]")["error"], json({{"code", codes::kInvalidRequest},
                                              {"message", "Batch requests are not supported"}}));
  reply = errorOf(R"({"id": 8, "method": "Echo"})");  // no "jsonrpc"
  EXPECT_EQ(reply["error"]["code"], codes::kInvalidRequest);
  EXPECT_EQ(reply["id"], 8);
  reply = errorOf(R"({"jsonrpc": "2.0", "id": "p", "method": "Echo", "params": [1]})");
  EXPECT_EQ(reply["error"]["code"], codes::kInvalidParams);
  EXPECT_EQ(reply["id"], "p");

  // A notification runs without an answer: the next message answers the request after it.
  client->SendText(R"({"jsonrpc": "2.0", "method": "Echo", "params": {"n": 1}})");
  client->SendText(R"({"jsonrpc": "2.0", "id": 9, "method": "Echo", "params": {"n": 2}})");
  EXPECT_EQ(Receive(*client), json({{"jsonrpc", "2.0"}, {"id", 9}, {"result", {{"n", 2}}}}));
}

TEST(WebSocketTest, SessionFailuresBecomeJsonRpcErrors) {
  TestServer server;
  auto client = server.Client();

  RpcError error = ErrorOf([&] { client->Call("Nope"); });
  EXPECT_EQ(error.Code(), codes::kMethodNotFound);
  EXPECT_STREQ(error.what(), "Unknown method: Nope");

  EXPECT_EQ(ErrorOf([&] { client->Call("Add", {{"a", 1}}); }).Code(), codes::kInvalidParams);
  EXPECT_EQ(client->Call("Add", {{"a", 1}, {"b", 2}}), 3);

  const std::string message = "Não foi possível gravar:\r\n\"Cliente\" já existe";
  error = ErrorOf([&] { client->Call("Fail", {{"message", message}}); });
  EXPECT_EQ(error.Code(), codes::kApplication);
  EXPECT_EQ(error.Message(), message);
  EXPECT_FALSE(error.Aborted());

  error = ErrorOf([&] { client->Call("Crash"); });
  EXPECT_EQ(error.Code(), codes::kInternalError);
  EXPECT_STREQ(error.what(), "boom");

  error = ErrorOf([&] { client->Call("Abort"); });
  EXPECT_EQ(error.Code(), codes::kAborted);
  EXPECT_EQ(error.Data(), json({{"aborted", true}}));
  EXPECT_TRUE(error.Aborted());
}

TEST(WebSocketTest, CallbacksArriveInOrderWhileTheCallWaitsAndAnsweringTrueCancelsIt) {
  TestServer server;
  auto client = server.Client();
  std::vector<json> commands;
  client->SetCallbackHandler([&](const json& command) {
    commands.push_back(command);
    return command["step"] == 6;  // cancel at the seventh command
  });

  EXPECT_EQ(client->Call("Progress", {{"steps", 4}, {"Callback", true}}), 4);
  ASSERT_EQ(commands.size(), 4u);
  for (int step = 0; step < 4; ++step) EXPECT_EQ(commands[step], json({{"step", step}}));
  // Without "Callback": true the session gets no callback.
  EXPECT_EQ(ErrorOf([&] {
              client->Call("Progress", {{"steps", 1}});
            }).Code(),
            codes::kInvalidParams);

  commands.clear();
  const RpcError error = ErrorOf([&] {
    client->Call("Progress", {{"steps", 10}, {"Callback", true}});
  });
  EXPECT_TRUE(error.Aborted());
  EXPECT_EQ(commands.size(), 7u);
  EXPECT_EQ(client->Call("Echo", {{"after", true}}), json({{"after", true}}));
}

TEST(WebSocketTest, ClientVanishingDuringACallbackEndsTheCallAndTheSession) {
  TestServer server;
  auto client = server.Client();
  client->SendText(
      R"({"jsonrpc":"2.0","id":1,"method":"Progress","params":{"steps":3,"Callback":true}})");
  const json request = Receive(*client);
  EXPECT_EQ(request["method"], "callback");
  EXPECT_EQ(request["id"], "cb-1");
  EXPECT_EQ(request["params"], json({{"command", {{"step", 0}}}}));

  client.reset();  // never answers
  EXPECT_TRUE(server.journal().WaitForEvent("progress failed: Operation aborted"));
  EXPECT_TRUE(server.journal().WaitForLive(0));
}

TEST(WebSocketTest, AnUnansweredCallbackTimesOutAsAnAbort) {
  RpcServerOptions options;
  options.callbackTimeout = 150ms;
  TestServer server(options);
  auto client = server.Client();
  client->SendText(
      R"({"jsonrpc":"2.0","id":5,"method":"Progress","params":{"steps":3,"Callback":true}})");
  EXPECT_EQ(Receive(*client)["method"], "callback");

  const json reply = Receive(*client);  // no answer given: the call's own reply comes
  EXPECT_EQ(reply["id"], 5);
  EXPECT_EQ(reply["error"]["code"], codes::kAborted);
  // A late answer is ignored and the session carries on.
  client->SendText(R"({"jsonrpc":"2.0","id":"cb-1","result":false})");
  EXPECT_EQ(client->Call("Echo"), json::object());
}

// With room for two queued calls, reading stops behind the slow first call and must resume as
// each call ends; meanwhile another client is served at once.
TEST(WebSocketTest, OneClientsCallsRunInArrivalOrderWithoutStallingAnother) {
  RpcServerOptions options;
  options.maxQueuedCalls = 2;
  TestServer server(options);
  auto slow = server.Client();
  auto quick = server.Client();
  slow->SendText(R"({"jsonrpc":"2.0","id":1,"method":"Sleep","params":{"ms":500}})");
  for (int id = 2; id <= 20; ++id) {
    slow->SendText(R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":"Echo"})");
  }
  ASSERT_TRUE(server.journal().WaitForEvent("call Sleep"));

  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(quick->Call("Echo", {{"q", 1}}), json({{"q", 1}}));
  EXPECT_LT(std::chrono::steady_clock::now() - start, 400ms);
  for (int id = 1; id <= 20; ++id) EXPECT_EQ(Receive(*slow)["id"], id);
}

}  // namespace
}  // namespace zo::rpc::testing
