// Progress messages of a long DeleteArray over WebSocket, in order (a cancel's rollback is the
// DAO's own test).

#include <gtest/gtest.h>


#include <optional>
#include <vector>

#include "tests/apps_server/Remote.h"

namespace zo::testing {
namespace {

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

TEST_F(ServerCallbacks, LongDeleteArrayReportsProgressInOrder) {
  ASSERT_EQ(BatchCount(0), kBatchSize);
  const auto client = Live().ConnectWs(kAcme);
  std::vector<json> commands;
  client->SetCallbackHandler([&](const json& command) {
    commands.push_back(command);
    return json(false);
  });
  EXPECT_TRUE(client->Call("DeleteArray", DeleteBatch(0)).is_null());

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
  EXPECT_EQ(BatchCount(0), 0);
}

}  // namespace
}  // namespace zo::testing
