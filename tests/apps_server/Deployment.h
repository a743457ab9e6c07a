#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <zo/platform/rpc/RpcClient.h>
#include <zo/platform/rpc/RpcError.h>
#include <zo/platform/rpc/RpcHttpClient.h>
#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"

namespace zo::testing {

using nlohmann::json;

// zo-server on a port of its own choosing (--port 0), serving the application root `root`.
// The constructor returns once the server says where it listens, and throws otherwise.
class ZoServerProcess {
 public:
  ZoServerProcess(const std::filesystem::path& root, const std::vector<std::string>& extraArgs);
  ~ZoServerProcess();  // stops it (SIGTERM, then SIGKILL) if Stop() was not called
  ZoServerProcess(const ZoServerProcess&) = delete;
  ZoServerProcess& operator=(const ZoServerProcess&) = delete;

  std::uint16_t Port() const { return port_; }
  pid_t Pid() const { return process_.Pid(); }
  // SIGTERM and the exit code; nullopt when the server did not end within the grace time.
  std::optional<int> Stop();
  std::string Output() const { return ReadText(outputFile_); }
  std::string Log() const { return ReadText(logFile_); }
  // True once the server's log holds `text` at least `times` times; polls for at most
  // `timeout`.
  bool WaitForLog(const std::string& text, std::chrono::milliseconds timeout, int times = 1) const;
  int CountInLog(const std::string& text) const;

 private:
  std::uint16_t WaitUntilListening();

  TempDir io_;  // the server's stdout and log, kept apart from the application root
  std::filesystem::path outputFile_;
  std::filesystem::path logFile_;
  ChildProcess process_;
  std::uint16_t port_ = 0;
};

struct Customer {
  std::string id;
  std::string login;
  std::string password;
};

// Two tenants with a first user each. ACME also gets the demo's sample data and kBatchSize
// cities with identifiers 100001 onwards, for a long DeleteArray.
inline const Customer kAcme{"ACME", "ana", "s3nha da Ana"};
inline const Customer kBeta{"BETA", "rui", "s3nha do Rui"};
inline constexpr int kBatchSize = 1000;

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

// One connected client of either transport, so that a test can run the same calls over both.
class Remote {
 public:
  // `transport` is "ws" or "http".
  Remote(const Deployment& deployment, const std::string& transport, const Customer& customer);
  json Call(const std::string& method, const json& params = json::object());
  // The progress commands received so far (WebSocket only: HTTP has no way back).
  const std::vector<json>& Commands() const { return commands_; }

 private:
  std::unique_ptr<rpc::RpcClient> ws_;
  std::unique_ptr<rpc::RpcHttpClient> http_;
  std::vector<json> commands_;
};

}  // namespace zo::testing
