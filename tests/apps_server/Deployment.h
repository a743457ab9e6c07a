#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <zo/platform/rpc/RpcClient.h>
#include <zo/platform/rpc/RpcError.h>
#include <zo/platform/rpc/RpcHttpClient.h>
#include "tests/apps_server/ServerProcess.h"
#include "tests/support/TempDir.h"

namespace zo::testing {

using nlohmann::json;

struct Customer {
  std::string id;
  std::string login;
  std::string password;
};

// Two tenants with a first user each. ACME also gets the demo's sample data and a batch
// of cities (see CityBatch).
inline const Customer kAcme{"ACME", "ana", "s3nha da Ana"};
inline const Customer kBeta{"BETA", "rui", "s3nha do Rui"};

// Cities inserted in ACME before the server starts, for the long DeleteArray runs: batch k
// holds kBatchSize cities with identifiers 100001 + k * kBatchSize onwards and UF "Z" + 'A'+k.
inline constexpr int kBatchSize = 1000;
inline constexpr int kBatches = 1;
std::vector<int> CityBatchIds(int batch);
std::string CityBatchCondition(int batch);  // "UF = 'ZA'" for batch 0

struct DeploymentOptions {
  std::vector<Customer> customers{kAcme, kBeta};
  bool seedAcme = true;
  std::vector<std::string> serverArgs;
};

// An application root with provisioned customers and a zo-server serving it.
class Deployment {
 public:
  explicit Deployment(const DeploymentOptions& options);

  const std::filesystem::path& Root() const { return root_.Path(); }
  ZoServerProcess& Server() { return *server_; }
  std::uint16_t Port() const { return server_->Port(); }

  // Clients that give up after a bounded wait instead of hanging the test.
  std::unique_ptr<rpc::RpcClient> OpenWs() const;
  std::unique_ptr<rpc::RpcClient> ConnectWs(const Customer& customer) const;
  std::unique_ptr<rpc::RpcHttpClient> OpenHttp() const;
  std::unique_ptr<rpc::RpcHttpClient> ConnectHttp(const Customer& customer) const;

 private:
  TempDir root_;
  std::unique_ptr<ZoServerProcess> server_;
};

json Credentials(const Customer& customer);
rpc::RpcClientOptions ClientOptions();

// The RpcError that `call` raises; a test failure (and code 0) when it raises none.
rpc::RpcError ErrorOf(const std::function<void()>& call);

// A suite's server, started once for all its tests and stopped gracefully at the end: the
// exit code of SIGTERM is checked there.
class LiveServerTest : public ::testing::Test {
 protected:
  static void StartServer(const DeploymentOptions& options);
  static void StopServer();
  static Deployment& Live() { return *deployment_; }

  void SetUp() override { ASSERT_NE(deployment_, nullptr) << "the suite's server did not start"; }

 private:
  static std::unique_ptr<Deployment> deployment_;
};

}  // namespace zo::testing
