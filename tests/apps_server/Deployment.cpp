#include "tests/apps_server/Deployment.h"

#include <signal.h>

#include <regex>
#include <stdexcept>
#include <thread>

#include <fmt/format.h>

namespace zo::testing {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

using Clock = std::chrono::steady_clock;

constexpr auto kToolTimeout = 120s;
constexpr auto kPoll = 20ms;
constexpr auto kStartTimeout = 30s;
constexpr auto kStopGrace = 15s;

// The demo's sample data, then the batch of cities, in one script: one attachment, one commit.
std::string SeedScript() {
  return ReadText(ZO_DEMO_DATA_SQL) +
         fmt::format(
             "\nSET TERM ^ ;\n"
             "EXECUTE BLOCK AS\n"
             "  DECLARE i INTEGER = 0;\n"
             "BEGIN\n"
             "  WHILE (i < {0}) DO BEGIN\n"
             "    INSERT INTO CIDADES (ID, NOME, UF, COD_IBGE)\n"
             "      VALUES (100001 + :i, 'Lote cidade ' || :i, 'ZA', 0);\n"
             "    i = i + 1;\n"
             "  END\n"
             "END^\n"
             "SET TERM ; ^\n",
             kBatchSize);
}

void ExpectToolSucceeded(int code, const fs::path& errors, const std::string& what) {
  if (code != 0) {
    throw std::runtime_error(what + " failed (" + std::to_string(code) + "):\n" + ReadText(errors));
  }
}

// Provisions every customer at once (each is its own process and database file). The root's
// conn.conf and CustomersDB exist beforehand, so the runs do not race to create them.
void AddCustomers(const fs::path& root, const fs::path& io,
                  const std::vector<Customer>& customers) {
  WriteText(root / "conn.conf",
            "User_Name=SYSDBA\nPassword=masterkey\nSQLDialect=3\nCharSet=UTF8\n");
  fs::create_directories(root / "CustomersDB");
  std::vector<std::unique_ptr<ChildProcess>> runs;
  for (const auto& customer : customers) {
    const fs::path password = io / (customer.id + ".pw");
    WriteText(password, customer.password + "\n");
    runs.push_back(std::make_unique<ChildProcess>(
        ZO_SCHEMA_BIN,
        std::vector<std::string>{"customer", "add", customer.id, "--root", root.string(), "--user",
                                 customer.login, "--password-stdin"},
        ChildStreams{io, password, {}, io / (customer.id + ".err")}));
  }
  for (std::size_t i = 0; i < runs.size(); ++i) {
    const auto code = runs[i]->Wait(kToolTimeout);
    ExpectToolSucceeded(code.value_or(-1), io / (customers[i].id + ".err"),
                        "zo-schema customer add " + customers[i].id);
  }
}

void Seed(const fs::path& root, const fs::path& io, const Customer& customer) {
  WriteText(io / "seed.sql", SeedScript());
  const fs::path database = root / "CustomersDB" / customer.id / "ZO.FDB";
  const int code = RunTool(ZO_SCHEMA_BIN, {"apply", "--db", database.string(), "seed.sql"},
                           ChildStreams{io, {}, {}, io / "seed.err"}, kToolTimeout);
  ExpectToolSucceeded(code, io / "seed.err", "zo-schema apply");
}

}  // namespace

Deployment::Deployment(const DeploymentOptions& options) {
  const TempDir io;
  AddCustomers(Root(), io.Path(), options.customers);
  if (options.seedAcme) Seed(Root(), io.Path(), kAcme);
  server_ = std::make_unique<ZoServerProcess>(Root(), options.serverArgs);
}

rpc::RpcClientOptions ClientOptions() {
  rpc::RpcClientOptions options;
  options.timeout = 30s;
  options.connectTimeout = 5s;
  return options;
}

json Credentials(const Customer& customer) {
  return {{"customer", customer.id}, {"user", customer.login}, {"password", customer.password}};
}

std::unique_ptr<rpc::RpcClient> Deployment::OpenWs() const {
  auto client = std::make_unique<rpc::RpcClient>(ClientOptions());
  client->Open("127.0.0.1", Port());
  return client;
}

std::unique_ptr<rpc::RpcClient> Deployment::ConnectWs(const Customer& customer) const {
  auto client = OpenWs();
  client->Connect(Credentials(customer));
  return client;
}

std::unique_ptr<rpc::RpcHttpClient> Deployment::OpenHttp() const {
  auto client = std::make_unique<rpc::RpcHttpClient>(ClientOptions());
  client->Open("127.0.0.1", Port());
  return client;
}

std::unique_ptr<rpc::RpcHttpClient> Deployment::ConnectHttp(const Customer& customer) const {
  auto client = OpenHttp();
  client->Connect(Credentials(customer));
  return client;
}

rpc::RpcError ErrorOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const rpc::RpcError& error) {
    return error;
  }
  ADD_FAILURE() << "the call succeeded; an error was expected";
  return rpc::RpcError(0, "no error");
}

std::unique_ptr<Deployment> LiveServerTest::deployment_;

void LiveServerTest::StartServer(const DeploymentOptions& options) {
  try {
    deployment_ = std::make_unique<Deployment>(options);
  } catch (const std::exception& e) {
    ADD_FAILURE() << e.what();
  }
}

void LiveServerTest::StopServer() {
  if (!deployment_) return;
  auto& server = deployment_->Server();
  // A client waiting for messages when the server stops is told it is going away (1001).
  const auto bystander = deployment_->ConnectWs(kAcme);
  std::string closed;
  std::thread reader([&] {
    try {
      closed = "unexpected message: " + bystander->ReceiveText();
    } catch (const std::exception& e) {
      closed = e.what();
    }
  });
  std::this_thread::sleep_for(100ms);  // the reader is blocked in its read by now
  const auto code = server.Stop();
  reader.join();
  EXPECT_EQ(code, 0) << "SIGTERM must stop zo-server cleanly. Log:\n" << server.Log();
  EXPECT_NE(server.Output().find("stopped"), std::string::npos) << server.Output();
  EXPECT_NE(closed.find("(1001"), std::string::npos) << closed;
  deployment_.reset();
}

ZoServerProcess::ZoServerProcess(const std::filesystem::path& root,
                                 const std::vector<std::string>& extraArgs)
    : outputFile_(io_.Path() / "server.out"),
      logFile_(io_.Path() / "server.log"),
      process_(
          ZO_SERVER_BIN,
          [&] {
            std::vector<std::string> args{"--root", root.string(), "--port", "0"};
            args.insert(args.end(), extraArgs.begin(), extraArgs.end());
            return args;
          }(),
          ChildStreams{{}, {}, outputFile_, logFile_}) {
  port_ = WaitUntilListening();
}

ZoServerProcess::~ZoServerProcess() {
  if (process_.Running()) Stop();
}

std::uint16_t ZoServerProcess::WaitUntilListening() {
  // The first line names the port: "... listening on ws://127.0.0.1:PORT/zo and ...".
  static const std::regex kListening(R"(listening on wss?://[^:\s]+:(\d+)/zo)");
  const auto deadline = Clock::now() + kStartTimeout;
  while (Clock::now() < deadline) {
    std::smatch match;
    const std::string output = Output();
    if (std::regex_search(output, match, kListening)) {
      return static_cast<std::uint16_t>(std::stoi(match[1].str()));
    }
    if (!process_.Running()) break;
    std::this_thread::sleep_for(kPoll);
  }
  throw std::runtime_error("zo-server did not start listening.\nstdout:\n" + Output() + "\nlog:\n" +
                           Log());
}

std::optional<int> ZoServerProcess::Stop() {
  process_.Signal(SIGTERM);
  return process_.Wait(std::chrono::duration_cast<std::chrono::milliseconds>(kStopGrace));
}

int ZoServerProcess::CountInLog(const std::string& text) const {
  const std::string log = Log();
  int count = 0;
  for (auto at = log.find(text); at != std::string::npos; at = log.find(text, at + text.size())) {
    ++count;
  }
  return count;
}

bool ZoServerProcess::WaitForLog(const std::string& text, std::chrono::milliseconds timeout,
                                 int times) const {
  const auto deadline = Clock::now() + timeout;
  for (;;) {
    if (CountInLog(text) >= times) return true;
    if (Clock::now() >= deadline) return false;
    std::this_thread::sleep_for(kPoll);
  }
}

Remote::Remote(const Deployment& deployment, const std::string& transport,
               const Customer& customer) {
  if (transport == "http") {
    http_ = deployment.ConnectHttp(customer);
    return;
  }
  ws_ = deployment.ConnectWs(customer);
  ws_->SetCallbackHandler([this](const json& command) {
    commands_.push_back(command);
    return json(false);
  });
}

json Remote::Call(const std::string& method, const json& params) {
  return ws_ ? ws_->Call(method, params) : http_->Call(method, params);
}

}  // namespace zo::testing
