// Switching the database over WebSocket and over HTTP on a running zo-server: a client stays in
// its own customer's directory and closing its connection leaves the other clients' alone.

#include <gtest/gtest.h>

#include <string>

#include "tests/apps_server/Remote.h"

namespace zo::testing {
namespace {

class ServerRemoteMethods : public LiveServerTest,
                            public ::testing::WithParamInterface<std::string> {
 protected:
  static void SetUpTestSuite() { StartServer({}); }
  static void TearDownTestSuite() { StopServer(); }

  void SetUp() override {
    LiveServerTest::SetUp();
    remote_ = ConnectRemote(Live(), GetParam(), kAcme);
  }

  json Call(const std::string& method, const json& params = json::object()) {
    return remote_->Call(method, params);
  }
  json Get(const std::string& className, int id) {
    return Call("Get", {{"AClassName", className}, {"id", id}});
  }
  int Count(const std::string& className, const std::string& condition) {
    return Call("GetCount", {{"AClassName", className}, {"ACondition", condition}}).get<int>();
  }
  int CampinasId() {
    return Call("GetByCondition", {{"AClassName", "TCidade"}, {"ACondition", "Nome = 'Campinas'"}})
        .at(0)["fields"]["Codigo"]
        .get<int>();
  }

  std::unique_ptr<Remote> remote_;
};

TEST_P(ServerRemoteMethods, DatabaseSwitchStaysInTheCustomerDirectory) {
  const std::string own = "CustomersDB/ACME/ZO.FDB";
  const int campinas = CampinasId();
  EXPECT_EQ(Call("GetCurrentDataBase"), own);
  // Another customer's existing file: only its name is used, inside ACME's own directory.
  Call("SetCurrentDataBase", {{"DataBaseName", "CustomersDB/BETA/ZO.FDB"}});
  EXPECT_EQ(Call("GetCurrentDataBase"), own);
  EXPECT_EQ(Count("TCidade", "Nome = 'Campinas'"), 1);

  // An empty name closes this client's connection, and no other client's.
  Call("SetCurrentDataBase", {{"DataBaseName", ""}});
  EXPECT_EQ(ErrorOf([&] { Count("TCidade", ""); }).Code(), rpc::codes::kApplication);
  EXPECT_TRUE(Get("TCidade", campinas).is_null());  // Get answers null on any failure
  const auto other = ConnectRemote(Live(), GetParam(), kAcme);
  EXPECT_EQ(other->Call("Get", {{"AClassName", "TCidade"}, {"id", campinas}})["fields"]["Nome"],
            "Campinas");

  Call("SetCurrentDataBase", {{"DataBaseName", "ZO.FDB"}});
  EXPECT_EQ(Get("TCidade", campinas)["fields"]["Nome"], "Campinas");
  EXPECT_TRUE(Call("Release").is_null());
}

INSTANTIATE_TEST_SUITE_P(Transports, ServerRemoteMethods, ::testing::Values("ws", "http"),
                         [](const auto& info) { return info.param; });

}  // namespace
}  // namespace zo::testing
