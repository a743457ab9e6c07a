// Progress messages of a long DeleteArray over WebSocket: their order, a cancel from the client,
// and a client that disappears while the server waits for its answer.

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <optional>
#include <thread>
#include <vector>

#include "tests/apps_server/Remote.h"

namespace zo::testing {
namespace {

using namespace std::chrono_literals;

class ServerCallbacks : public LiveServerTest {
 protected:
  static void SetUpTestSuite() { StartServer({}); }
  static void TearDownTestSuite() { StopServer(); }

  static json DeleteBatch(int batch) {
    return {{"AClassName", "TCidade"}, {"jArray", CityBatchIds(batch)}, {"Callback", true}};
  }
  // Read through a client of its own, as any other user of the server would see it.
  static int BatchCount(int batch) {
    return Live()
        .ConnectHttp(kAcme)
        ->Call("GetCount", {{"AClassName", "TCidade"}, {"ACondition", CityBatchCondition(batch)}})
        .get<int>();
  }
};

std::optional<int> Position(const json& command) {
  if (ShortType(command) != "TWaitScreenCommandGo") return std::nullopt;
  return command["fields"]["Position"].get<int>();
}

// A forked copy of this test program playing a client; killed and reaped if it outlives the
// test. It shares nothing with the test but the code: it ends with _exit, whatever happens.
class ForkedClient {
 public:
  explicit ForkedClient(const std::function<int()>& body) : pid_(::fork()) {
    if (pid_ == 0) {
      int code = 100;
      try {
        code = body();
      } catch (...) {
        code = 101;
      }
      ::_exit(code);
    }
  }
  ~ForkedClient() {
    if (pid_ <= 0 || exited_) return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  ForkedClient(const ForkedClient&) = delete;
  ForkedClient& operator=(const ForkedClient&) = delete;

  std::optional<int> Wait(std::chrono::milliseconds timeout) {
    if (pid_ <= 0) return std::nullopt;  // fork failed
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    int status = 0;
    while (::waitpid(pid_, &status, WNOHANG) != pid_) {
      if (std::chrono::steady_clock::now() >= deadline) return std::nullopt;
      std::this_thread::sleep_for(20ms);
    }
    exited_ = true;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t pid_;
  bool exited_ = false;
};

TEST_F(ServerCallbacks, LongDeleteArrayReportsProgressInOrder) {
  ASSERT_EQ(BatchCount(2), kBatchSize);
  const auto client = Live().ConnectWs(kAcme);
  std::vector<json> commands;
  client->SetCallbackHandler([&](const json& command) {
    commands.push_back(command);
    return json(false);
  });
  EXPECT_TRUE(client->Call("DeleteArray", DeleteBatch(2)).is_null());

  ASSERT_FALSE(commands.empty());
  EXPECT_EQ(ShortType(commands.front()), "TWaitScreenCommandTitle");
  EXPECT_EQ(commands.front()["fields"]["Text"], "Excluindo...");
  std::vector<int> positions;
  for (std::size_t i = 1; i < commands.size(); ++i) {
    const auto position = Position(commands[i]);
    ASSERT_TRUE(position) << commands[i];
    positions.push_back(*position);
  }
  // One message per whole percent, in order. The percent is a running sum of 100 / count, so
  // with 1,000 records it ends at 99 (99.99...), not 100.
  ASSERT_GE(positions.size(), 99u);
  EXPECT_LE(positions.front(), 1);
  for (std::size_t i = 1; i < positions.size(); ++i) {
    ASSERT_EQ(positions[i], positions[i - 1] + 1) << "after " << i << " positions";
  }
  EXPECT_GE(positions.back(), 99);
  EXPECT_EQ(BatchCount(2), 0);
}

TEST_F(ServerCallbacks, CancelInTheMiddleRollsTheWholeDeleteBack) {
  const auto client = Live().ConnectWs(kAcme);
  int last = -1;
  int afterCancel = 0;
  client->SetCallbackHandler([&](const json& command) {
    if (last >= 50) ++afterCancel;
    last = Position(command).value_or(last);
    return json(last >= 50);
  });
  const rpc::RpcError error = ErrorOf([&] { client->Call("DeleteArray", DeleteBatch(0)); });
  EXPECT_EQ(error.Code(), rpc::codes::kAborted);
  EXPECT_TRUE(error.Aborted());
  EXPECT_EQ(last, 50);
  EXPECT_EQ(afterCancel, 0) << "the call must stop at the cancel";

  // Nothing of the 500 records deleted before the cancel stays deleted, and the same client
  // goes on working.
  EXPECT_EQ(
      client->Call("GetCount", {{"AClassName", "TCidade"}, {"ACondition", CityBatchCondition(0)}}),
      kBatchSize);
  EXPECT_EQ(BatchCount(0), kBatchSize);
}

TEST_F(ServerCallbacks, ClientVanishingInACallbackEndsItsCallAndRollsBack) {
  const int abortedBefore = Live().Server().CountInLog("error: Operation aborted");
  const std::uint16_t port = Live().Port();
  ForkedClient vanishing([port] {
    rpc::RpcClient client(ClientOptions());
    client.Open("127.0.0.1", port);
    client.Connect(Credentials(kAcme));
    client.SetCallbackHandler([](const json& command) {
      // Gone without a word in the middle of the run: the kernel drops the socket.
      if (Position(command).value_or(0) >= 30) ::_exit(0);
      return json(false);
    });
    client.Call("DeleteArray", DeleteBatch(1));
    return 3;  // the call was not supposed to end here
  });
  ASSERT_EQ(vanishing.Wait(60s), 0);

  // The server notices, fails the waiting call and undoes its work.
  EXPECT_TRUE(Live().Server().WaitForLog("error: Operation aborted", 30s, abortedBefore + 1))
      << Live().Server().Log();
  EXPECT_EQ(BatchCount(1), kBatchSize);
  // Its transaction is gone too: another client deletes the same records without waiting.
  const auto other = Live().ConnectWs(kAcme);
  other->Call("DeleteArray", {{"AClassName", "TCidade"}, {"jArray", CityBatchIds(1)}});
  EXPECT_EQ(BatchCount(1), 0);
}

}  // namespace
}  // namespace zo::testing
