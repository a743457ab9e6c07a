// Throughput and latency of the application server: N WebSocket clients, each inserting a demo
// order (two items) and reading it back, for a fixed time. Runs the built zo-server on a
// loopback port, first over the embedded engine, then over a Firebird server on loopback when
// /usr/sbin/firebird is installed.
//
//   server_bench [--seconds S] [--clients 1,4,16]

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <zo/platform/rpc/RpcClient.h>

extern char** environ;

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr const char* kCustomer = "BENCH";
constexpr const char* kLogin = "bench";
constexpr const char* kPassword = "bench-pw";
constexpr const char* kFirebird = "/usr/sbin/firebird";
constexpr const char* kSysdbaFile = "/etc/firebird/3.0/SYSDBA.password";

std::string ReadText(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void WriteText(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

// A child process; killed and reaped by the destructor if it still runs.
class Child {
 public:
  Child(const std::vector<std::string>& argv, const fs::path& cwd, const fs::path& input,
        const fs::path& output) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const std::string in = input.empty() ? "/dev/null" : input.string();
    const std::string out = output.empty() ? "/dev/null" : output.string();
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, in.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    if (!cwd.empty()) posix_spawn_file_actions_addchdir_np(&actions, cwd.c_str());
    std::vector<std::string> words = argv;
    std::vector<char*> args;
    for (auto& word : words) args.push_back(word.data());
    args.push_back(nullptr);
    const int error = posix_spawn(&pid_, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("cannot start " + argv[0]);
  }
  ~Child() {
    if (code_) return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  bool Running() {
    int status = 0;
    if (!code_ && ::waitpid(pid_, &status, WNOHANG) == pid_) {
      code_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return !code_;
  }
  std::optional<int> Stop(std::chrono::seconds grace) {
    if (Running()) ::kill(pid_, SIGTERM);
    for (const auto end = Clock::now() + grace; Running() && Clock::now() < end;) {
      std::this_thread::sleep_for(20ms);
    }
    return code_;
  }
  int Wait(std::chrono::seconds limit) {
    for (const auto end = Clock::now() + limit; Running();) {
      if (Clock::now() > end) throw std::runtime_error("a child process did not finish in time");
      std::this_thread::sleep_for(20ms);
    }
    return *code_;
  }

 private:
  pid_t pid_ = 0;
  std::optional<int> code_;
};

void RunTool(const std::vector<std::string>& argv, const fs::path& cwd, const fs::path& input) {
  const fs::path log = cwd / "tool.log";
  Child tool(argv, cwd, input, log);
  if (tool.Wait(120s) != 0) throw std::runtime_error(argv[1] + " failed:\n" + ReadText(log));
}

// A temporary application root with the bench customer and the demo's sample data.
class Root {
 public:
  Root() {
    char pattern[] = "/tmp/zo-server-bench-XXXXXX";
    if (::mkdtemp(pattern) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
    WriteText(path_ / "password", std::string(kPassword) + "\n");
    RunTool({ZO_SCHEMA_BIN, "customer", "add", kCustomer, "--root", path_.string(), "--user",
             kLogin, "--password-stdin"},
            path_, path_ / "password");
    RunTool({ZO_SCHEMA_BIN, "apply", "--db", Database().string(), ZO_DEMO_DATA_SQL}, path_, {});
  }
  ~Root() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  Root(const Root&) = delete;
  Root& operator=(const Root&) = delete;

  const fs::path& Path() const { return path_; }
  fs::path Database() const { return path_ / "CustomersDB" / kCustomer / "ZO.FDB"; }
  fs::path CustomerConf() const { return path_ / "CustomersDB" / kCustomer / "conn.conf"; }

 private:
  fs::path path_;
};

int FreePort() {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  int port = 0;
  if (::bind(fd, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
      ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
    port = ntohs(address.sin_port);
  }
  ::close(fd);
  return port;
}

bool Accepts(int port) {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const bool ok = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  ::close(fd);
  return ok;
}

// zo-server on a port of its own choosing, serving `root`.
class ZoServer {
 public:
  explicit ZoServer(const Root& root)
      : output_(root.Path() / "server.out"),
        child_({ZO_SERVER_BIN, "--root", root.Path().string(), "--port", "0", "--log-level",
                "error", "--workers", "16"},
               {}, {}, output_) {
    static const std::regex kListening(R"(listening on ws://[^:\s]+:(\d+)/zo)");
    for (const auto end = Clock::now() + 30s; Clock::now() < end && child_.Running();) {
      std::smatch match;
      const std::string text = ReadText(output_);
      if (std::regex_search(text, match, kListening)) {
        port_ = static_cast<std::uint16_t>(std::stoi(match[1].str()));
        return;
      }
      std::this_thread::sleep_for(20ms);
    }
    throw std::runtime_error("zo-server did not start:\n" + ReadText(output_));
  }
  ~ZoServer() {
    const auto code = child_.Stop(30s);
    if (code != 0) std::cerr << "warning: zo-server did not stop cleanly\n";
  }
  ZoServer(const ZoServer&) = delete;
  ZoServer& operator=(const ZoServer&) = delete;
  std::uint16_t Port() const { return port_; }

 private:
  fs::path output_;
  Child child_;
  std::uint16_t port_ = 0;
};

// A Firebird server on a free loopback port, as the SQL layer's tests run one.
class FirebirdServer {
 public:
  FirebirdServer()
      : port_(FreePort()), child_({kFirebird, "-p", std::to_string(port_)}, {}, {}, {}) {
    for (const auto end = Clock::now() + 10s; Clock::now() < end && child_.Running();) {
      if (Accepts(port_)) return;
      std::this_thread::sleep_for(50ms);
    }
    throw std::runtime_error("the Firebird server did not start listening");
  }
  ~FirebirdServer() { child_.Stop(10s); }
  FirebirdServer(const FirebirdServer&) = delete;
  FirebirdServer& operator=(const FirebirdServer&) = delete;
  int Port() const { return port_; }

 private:
  int port_;
  Child child_;
};

std::string SysdbaPassword() {
  std::ifstream in(kSysdbaFile);
  for (std::string line; std::getline(in, line);) {
    if (line.rfind("ISC_PASSWORD=", 0) != 0) continue;
    std::string value = line.substr(13);
    if (value.size() >= 2 && value.front() == '"') value = value.substr(1, value.size() - 2);
    return value;
  }
  return {};
}

json Order(int numero) {
  const auto item = [](int produto, double quantidade, double preco) {
    return json{
        {"type", "DemoClasses.TItemPedido"},
        {"fields", {{"Produto", produto}, {"Quantidade", quantidade}, {"PrecoUnitario", preco}}}};
  };
  return {{"type", "DemoClasses.TPedido"},
          {"fields",
           {{"Numero", numero},
            {"Cliente", {{"type", "DemoClasses.TCliente"}, {"fields", {{"Codigo", 1}}}}},
            {"Status", 0},
            {"Total", 32.5},
            {"Itens", {item(1, 2, 5), item(2, 3, 7.5)}}}}};
}

using Micros = std::chrono::duration<double, std::micro>;

struct ClientResult {
  std::vector<double> insertUs;
  std::vector<double> getUs;
  std::string error;
};

// One client: connects, warms up with one order, waits for the start signal, then inserts and
// reads orders until the deadline.
void RunClient(std::uint16_t port, int index, const std::atomic<bool>& go,
               const Clock::time_point& end, ClientResult& result) {
  try {
    zo::rpc::RpcClientOptions options;
    options.timeout = 30s;
    zo::rpc::RpcClient client(options);
    client.Open("127.0.0.1", port);
    client.Connect({{"customer", kCustomer}, {"user", kLogin}, {"password", kPassword}});
    int numero = index * 1000000;
    const auto roundTrip = [&](ClientResult* record) {
      const auto t0 = Clock::now();
      const int id = client.Call("Insert", {{"jObj", Order(++numero)}}).get<int>();
      const auto t1 = Clock::now();
      const json order = client.Call("Get", {{"AClassName", "TPedido"}, {"id", id}});
      const auto t2 = Clock::now();
      if (!order.is_object()) throw std::runtime_error("order " + std::to_string(id) + " lost");
      if (record) {
        record->insertUs.push_back(Micros(t1 - t0).count());
        record->getUs.push_back(Micros(t2 - t1).count());
      }
    };
    roundTrip(nullptr);
    while (!go) std::this_thread::yield();
    while (Clock::now() < end) roundTrip(&result);
  } catch (const std::exception& e) {
    result.error = e.what();
  }
}

double Percentile(std::vector<double> values, double p) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const auto rank = static_cast<std::size_t>(p * static_cast<double>(values.size() - 1) + 0.5);
  return values[std::min(rank, values.size() - 1)];
}

void RunLoad(const std::string& variant, std::uint16_t port, int clients,
             std::chrono::seconds duration) {
  std::vector<ClientResult> results(clients);
  std::atomic<bool> go{false};
  Clock::time_point end = Clock::now() + 24h;
  std::vector<std::thread> threads;
  for (int i = 0; i < clients; ++i) {
    threads.emplace_back(RunClient, port, i + 1, std::cref(go), std::cref(end),
                         std::ref(results[i]));
  }
  // Every client connects and warms up before the clock starts.
  std::this_thread::sleep_for(std::chrono::milliseconds(200 + 50 * clients));
  const auto start = Clock::now();
  end = start + duration;
  go = true;
  for (auto& thread : threads) thread.join();
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();

  ClientResult all;
  int failed = 0;
  for (const auto& r : results) {
    all.insertUs.insert(all.insertUs.end(), r.insertUs.begin(), r.insertUs.end());
    all.getUs.insert(all.getUs.end(), r.getUs.begin(), r.getUs.end());
    if (!r.error.empty()) {
      ++failed;
      std::cerr << "client error: " << r.error << "\n";
    }
  }
  const auto orders = all.insertUs.size();
  std::cout
      << fmt::format(
             "{:<9} {:>7} {:>7} {:>10.1f} {:>11.1f} {:>9.2f} {:>9.2f} {:>9.2f} {:>9.2f} {:>6}",
             variant, clients, orders, static_cast<double>(orders) / seconds,
             static_cast<double>(2 * orders) / seconds, Percentile(all.insertUs, 0.5) / 1000,
             Percentile(all.insertUs, 0.99) / 1000, Percentile(all.getUs, 0.5) / 1000,
             Percentile(all.getUs, 0.99) / 1000, failed)
      << std::endl;
}

void PrintHeader() {
  std::cout << fmt::format("{:<9} {:>7} {:>7} {:>10} {:>11} {:>9} {:>9} {:>9} {:>9} {:>6}",
                           "database", "clients", "orders", "orders/s", "calls/s", "ins p50",
                           "ins p99", "get p50", "get p99", "failed")
            << "\n"
            << std::string(96, '-') << "   (latencies in ms)" << std::endl;
}

void RunSeries(const std::string& variant, const Root& root, const std::vector<int>& clients,
               std::chrono::seconds duration) {
  const ZoServer server(root);
  for (const int n : clients) RunLoad(variant, server.Port(), n, duration);
}

// The customer's connection goes through the Firebird server; the database file stays where
// it is, named relative to the application root.
void PointAtServer(const Root& root, int port, const std::string& password) {
  WriteText(root.CustomerConf(),
            fmt::format("User_Name=SYSDBA\nPassword={}\nSQLDialect=3\nCharSet=UTF8\n"
                        "Database=CustomersDB/{}/ZO.FDB\nServer=127.0.0.1/{}\nServerRoot={}\n",
                        password, kCustomer, port, root.Path().string()));
}

struct Options {
  std::chrono::seconds duration{5};
  std::vector<int> clients{1, 4, 16};
};

Options Parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string name = argv[i];
    const std::string value = argv[i + 1];
    if (name == "--seconds") {
      options.duration = std::chrono::seconds(std::max(1, std::stoi(value)));
    } else if (name == "--clients") {
      options.clients.clear();
      std::stringstream list(value);
      for (std::string n; std::getline(list, n, ',');) {
        options.clients.push_back(std::clamp(std::stoi(n), 1, 256));
      }
    } else {
      throw std::runtime_error("unknown option " + name);
    }
  }
  return options;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const Options options = Parse(argc, argv);
    std::cout << "zo-server: WebSocket clients inserting a demo order (2 items) and reading it "
                 "back, "
              << options.duration.count() << " s per row, " << std::thread::hardware_concurrency()
              << " cores shared by clients and server\n\n";
    const Root root;
    PrintHeader();
    RunSeries("embedded", root, options.clients, options.duration);

    const std::string password = SysdbaPassword();
    if (!fs::exists(kFirebird) || password.empty()) {
      std::cout << "server    skipped: " << kFirebird << " or " << kSysdbaFile
                << " is missing (package firebird3.0-server)" << std::endl;
      return 0;
    }
    const FirebirdServer firebird;
    PointAtServer(root, firebird.Port(), password);
    RunSeries("server", root, options.clients, options.duration);
    return 0;
  } catch (const std::exception& e) {
    std::cerr << "server_bench: " << e.what() << std::endl;
    return 1;
  }
}
