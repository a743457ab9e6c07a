// zo-server's log in JSON: one object a line, one line per call, and slow calls with their
// statements.

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "tests/apps_server/Deployment.h"

namespace zo::testing {
namespace {

using namespace std::chrono_literals;

TEST(ServerLog, JsonLinesRecordEachCallAndTheStatementsOfSlowOnes) {
  Deployment deployment({.customers = {kAcme}, .seedAcme = true,
                         .serverArgs = {"--log-format", "json", "--slow-ms", "1"}});
  auto client = deployment.ConnectWs(kAcme);
  client->Call("DeleteArray", {{"AClassName", "TCidade"}, {"jArray", CityBatchIds(0)}});
  EXPECT_EQ(ErrorOf([&] { client->Call("Get", {{"AClassName", "TNada"}, {"id", 1}}); }).Code(),
            -32000);
  ASSERT_TRUE(deployment.Server().WaitForLog(R"("method":"Get")", 10s)) << deployment.Server().Log();

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

}  // namespace
}  // namespace zo::testing
