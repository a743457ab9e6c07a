// Throughput of the application server against the same work done in-process: N clients, each
// inserting a demo order (two items) and reading it back, for a fixed time per measurement.
// The server side runs the built zo-server on a loopback port with N WebSocket clients; the
// in-process side runs N threads in this program, each calling a module of its own directly
// (the same remote methods, JSON in and out, without transport, login or access log). Rounds
// alternate which side goes first; the program prints each side's median orders per second and
// the server's share of the in-process throughput as min / median / max over the rounds.
// Both sides use the embedded engine, on two customers' databases made alike.
//
//   server_bench [--seconds S] [--rounds R] [--clients 1,8,32] [--workers W]
//                [--forced-writes] [--firebird-server]
//
// Forced writes are turned off on both databases unless --forced-writes is given. zo-server
// runs with --workers W (default 16).
// --firebird-server also runs the server side once more through a Firebird server on loopback
// (/usr/sbin/firebird), printing orders per second and latencies.

#include <arpa/inet.h>
#include <fcntl.h>
#include <firebird/Interface.h>
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
#include <functional>
#include <iostream>
#include <iterator>
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
#include <zo/server/CustomerFiles.h>
#include <zo/server/ZoServer.h>
#include "examples/demo/DemoClasses.h"
#include "examples/demo/DemoModule.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr const char* kCustomer = "BENCH";            // served by zo-server
constexpr const char* kLocalCustomer = "BENCHLOCAL";  // used in-process
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

  pid_t Pid() const { return pid_; }
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

// Turns forced writes off on an embedded database: the comparison is of the server's own
// costs, which a commit's wait for the shared disk would drown.
void ForcedWritesOff(const fs::path& database) {
  using namespace Firebird;
  IMaster* master = fb_get_master_interface();
  IStatus* statusObject = master->getStatus();
  ThrowStatusWrapper status(statusObject);
  IProvider* provider = master->getDispatcher();
  try {
    IXpbBuilder* dpb =
        master->getUtilInterface()->getXpbBuilder(&status, IXpbBuilder::DPB, nullptr, 0);
    dpb->insertString(&status, isc_dpb_user_name, "SYSDBA");
    dpb->insertInt(&status, isc_dpb_force_write, 0);
    IAttachment* attachment =
        provider->attachDatabase(&status, database.c_str(), dpb->getBufferLength(&status),
                                 dpb->getBuffer(&status));
    dpb->dispose();
    attachment->detach(&status);
  } catch (const FbException& e) {
    char text[512];
    master->getUtilInterface()->formatStatus(text, sizeof text, e.getStatus());
    provider->release();
    statusObject->dispose();
    throw std::runtime_error("cannot turn forced writes off on " + database.string() + ": " + text);
  }
  provider->release();
  statusObject->dispose();
}

// A temporary application root with the bench customer and the demo's sample data.
class Root {
 public:
  explicit Root(bool forcedWrites) {
    char pattern[] = "/tmp/zo-server-bench-XXXXXX";
    if (::mkdtemp(pattern) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
    WriteText(path_ / "password", std::string(kPassword) + "\n");
    for (const char* customer : {kCustomer, kLocalCustomer}) {
      RunTool({ZO_SCHEMA_BIN, "customer", "add", customer, "--root", path_.string(), "--user",
               kLogin, "--password-stdin"},
              path_, path_ / "password");
      RunTool({ZO_SCHEMA_BIN, "apply", "--db", Database(customer).string(), ZO_DEMO_DATA_SQL},
              path_, {});
      if (!forcedWrites) ForcedWritesOff(Database(customer));
    }
  }
  ~Root() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  Root(const Root&) = delete;
  Root& operator=(const Root&) = delete;

  const fs::path& Path() const { return path_; }
  fs::path Database(const char* customer) const {
    return path_ / "CustomersDB" / customer / "ZO.FDB";
  }
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

// zo-server on a port of its own choosing, serving `root` with `workers` threads for calls.
class ZoServer {
 public:
  ZoServer(const Root& root, int workers)
      : output_(root.Path() / "server.out"),
        child_({ZO_SERVER_BIN, "--root", root.Path().string(), "--port", "0", "--log-level",
                "error", "--workers", std::to_string(workers)},
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
  pid_t Pid() const { return child_.Pid(); }

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

// What a process has spent so far: context switches of all its threads (voluntary ones are
// mostly waits on a futex or a socket, i.e. hand-offs between threads) and CPU time.
struct ProcessCounters {
  double voluntary = 0;
  double involuntary = 0;
  double cpuSeconds = 0;
  double systemSeconds = 0;  // the part of cpuSeconds spent in the kernel

  static ProcessCounters Of(pid_t pid) {
    ProcessCounters c;
    const fs::path proc = fs::path("/proc") / std::to_string(pid);
    std::error_code ignored;
    for (const auto& task : fs::directory_iterator(proc / "task", ignored)) {
      std::istringstream status(ReadText(task.path() / "status"));
      for (std::string line; std::getline(status, line);) {
        if (line.starts_with("voluntary_ctxt_switches:")) c.voluntary += std::stod(line.substr(24));
        if (line.starts_with("nonvoluntary_ctxt_switches:")) {
          c.involuntary += std::stod(line.substr(27));
        }
      }
    }
    // utime and stime: fields 14 and 15, counted after the command's closing parenthesis.
    const std::string stat = ReadText(proc / "stat");
    std::istringstream fields(stat.substr(stat.rfind(')') + 2));
    std::vector<std::string> values{std::istream_iterator<std::string>(fields), {}};
    if (values.size() > 13) {
      const double tick = static_cast<double>(::sysconf(_SC_CLK_TCK));
      c.systemSeconds = std::stod(values[12]) / tick;
      c.cpuSeconds = std::stod(values[11]) / tick + c.systemSeconds;
    }
    return c;
  }
  ProcessCounters operator-(const ProcessCounters& o) const {
    return {voluntary - o.voluntary, involuntary - o.involuntary, cpuSeconds - o.cpuSeconds,
            systemSeconds - o.systemSeconds};
  }
};

// Runs one remote method with named parameters and answers its result.
using Caller = std::function<json(const std::string& method, const json& params)>;
// Makes the caller of client `index`, on that client's thread.
using Connect = std::function<Caller(int index)>;

Caller WebSocketClient(std::uint16_t port) {
  zo::rpc::RpcClientOptions options;
  options.timeout = 30s;
  auto client = std::make_shared<zo::rpc::RpcClient>(options);
  client->Open("127.0.0.1", port);
  client->Connect({{"customer", kCustomer}, {"user", kLogin}, {"password", kPassword}});
  return [client](const std::string& method, const json& params) {
    return client->Call(method, params);
  };
}

// A module of its own, as zo-server makes one for each client after its login.
Caller InProcessClient() {
  zo::TZoServerClass serverClass;
  zo::TModuleCreateArgs args;
  args.username = kLogin;
  args.customerID = kLocalCustomer;
  std::shared_ptr<zo::TZoCustomServerModule> module =
      serverClass.CreateModule(zo::ModuleClassOf<demo::TDemoServerModule>(), args);
  return [module](const std::string& method, const json& params) {
    return module->CallMethod(method, params, nullptr);
  };
}

struct ClientResult {
  std::vector<double> insertUs;
  std::vector<double> getUs;
  std::string error;
};

// One client: connects, warms up with one order, waits for the start signal, then inserts and
// reads orders until the deadline.
void RunClient(const Connect& connect, int index, const std::atomic<bool>& go,
               const Clock::time_point& end, ClientResult& result) {
  try {
    const Caller call = connect(index);
    int numero = index * 1000000;
    const auto roundTrip = [&](ClientResult* record) {
      const auto t0 = Clock::now();
      const int id = call("Insert", {{"jObj", Order(++numero)}}).get<int>();
      const auto t1 = Clock::now();
      const json order = call("Get", {{"AClassName", "TPedido"}, {"id", id}});
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

struct Load {
  double ordersPerSecond = 0;
  ClientResult all;
  ProcessCounters server;  // what the watched process spent meanwhile (server or this one)
};

// `clients` clients for `duration`; a client that fails fails the measurement. `server`: the
// process whose counters are taken over the measured time (0: none); for the in-process side
// this program itself, whose threads then do all the work.
Load RunLoad(const Connect& connect, int clients, std::chrono::seconds duration,
             pid_t server = 0) {
  std::vector<ClientResult> results(clients);
  std::atomic<bool> go{false};
  Clock::time_point end = Clock::now() + 24h;
  std::vector<std::thread> threads;
  for (int i = 0; i < clients; ++i) {
    threads.emplace_back(RunClient, std::cref(connect), i + 1, std::cref(go), std::cref(end),
                         std::ref(results[i]));
  }
  // Every client connects and warms up before the clock starts.
  std::this_thread::sleep_for(std::chrono::milliseconds(200 + 50 * clients));
  const ProcessCounters before = server ? ProcessCounters::Of(server) : ProcessCounters{};
  const auto start = Clock::now();
  end = start + duration;
  go = true;
  std::this_thread::sleep_until(end);
  Load load;
  if (server) load.server = ProcessCounters::Of(server) - before;
  for (auto& thread : threads) thread.join();
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();

  for (const auto& r : results) {
    if (!r.error.empty()) throw std::runtime_error("client error: " + r.error);
    load.all.insertUs.insert(load.all.insertUs.end(), r.insertUs.begin(), r.insertUs.end());
    load.all.getUs.insert(load.all.getUs.end(), r.getUs.begin(), r.getUs.end());
  }
  load.ordersPerSecond = static_cast<double>(load.all.insertUs.size()) / seconds;
  return load;
}

double Median(std::vector<double> values) { return Percentile(std::move(values), 0.5); }

// Per number of clients, interleaved rounds of both sides; then the table of medians and of
// the server's share of the in-process throughput.
void Compare(const Root& root, const std::vector<int>& clients, int rounds,
             std::chrono::seconds duration, int workers) {
  const ZoServer server(root, workers);
  const Connect remote = [&](int) { return WebSocketClient(server.Port()); };
  const Connect local = [](int) { return InProcessClient(); };
  const auto columns = [&] { return std::vector<std::vector<double>>(clients.size()); };
  auto served = columns(), inProcess = columns(), share = columns(), switches = columns(),
       cpu = columns(), localCpu = columns();
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < clients.size(); ++i) {
      const bool serverFirst = (round + static_cast<int>(i)) % 2 == 0;
      Load s;
      Load p;
      for (int side = 0; side < 2; ++side) {
        if ((side == 0) == serverFirst) {
          s = RunLoad(remote, clients[i], duration, server.Pid());
        } else {
          p = RunLoad(local, clients[i], duration, ::getpid());
        }
      }
      const double calls =
          2 * s.ordersPerSecond * std::chrono::duration<double>(duration).count();
      served[i].push_back(s.ordersPerSecond);
      inProcess[i].push_back(p.ordersPerSecond);
      share[i].push_back(s.ordersPerSecond / p.ordersPerSecond);
      switches[i].push_back((s.server.voluntary + s.server.involuntary) / calls);
      cpu[i].push_back(s.server.cpuSeconds * 1e6 / calls);
      localCpu[i].push_back(p.server.cpuSeconds * 1e6 /
                            (2 * p.ordersPerSecond * std::chrono::duration<double>(duration).count()));
      std::cerr << fmt::format(
          "round {} clients {}: server {:.1f} in-process {:.1f} orders/s; server per call: "
          "{:.2f} voluntary + {:.2f} involuntary context switches, {:.0f} us CPU of which {:.0f} "
          "in the kernel (in-process {:.0f} us)\n",
          round + 1, clients[i], s.ordersPerSecond, p.ordersPerSecond, s.server.voluntary / calls,
          s.server.involuntary / calls, cpu[i].back(), s.server.systemSeconds * 1e6 / calls,
          localCpu[i].back());
    }
  }
  std::cout << fmt::format("{:>7} {:>9} {:>11} {:>24} {:>16} {:>11} {:>11}\n", "clients",
                           "server", "in-process", "share min / median / max", "server switches",
                           "server CPU", "in-process")
            << fmt::format("{:>7} {:>9} {:>11} {:>24} {:>16} {:>11} {:>11}\n", "", "orders/s",
                           "orders/s", "", "per call", "us/call", "CPU us/call")
            << std::string(97, '-') << "\n";
  for (std::size_t i = 0; i < clients.size(); ++i) {
    std::cout << fmt::format(
        "{:>7} {:>9.1f} {:>11.1f} {:>8.2f} / {:.2f} / {:.2f} {:>16.2f} {:>11.0f} {:>11.0f}\n",
        clients[i], Median(served[i]), Median(inProcess[i]),
        *std::min_element(share[i].begin(), share[i].end()), Median(share[i]),
        *std::max_element(share[i].begin(), share[i].end()), Median(switches[i]), Median(cpu[i]),
        Median(localCpu[i]));
  }
  std::cout << std::flush;
}

// The customer's connection goes through the Firebird server; the database file stays where
// it is, named relative to the application root.
void PointAtServer(const Root& root, int port, const std::string& password) {
  WriteText(root.CustomerConf(),
            fmt::format("User_Name=SYSDBA\nPassword={}\nSQLDialect=3\nCharSet=UTF8\n"
                        "Database=CustomersDB/{}/ZO.FDB\nServer=127.0.0.1/{}\nServerRoot={}\n",
                        password, kCustomer, port, root.Path().string()));
}

// zo-server's throughput and latencies with its databases on a Firebird server on loopback.
int RunThroughFirebirdServer(const Root& root, const std::vector<int>& clients,
                             std::chrono::seconds duration, int workers) {
  const std::string password = SysdbaPassword();
  if (!fs::exists(kFirebird) || password.empty()) {
    std::cerr << "server_bench: " << kFirebird << " or " << kSysdbaFile
              << " is missing (package firebird3.0-server)\n";
    return 1;
  }
  const FirebirdServer firebird;
  PointAtServer(root, firebird.Port(), password);
  const ZoServer server(root, workers);
  const Connect remote = [&](int) { return WebSocketClient(server.Port()); };
  std::cout << "\nthrough a Firebird server on loopback (latencies in ms)\n"
            << fmt::format("{:>7} {:>10} {:>9} {:>9} {:>9} {:>9}\n", "clients", "orders/s",
                           "ins p50", "ins p99", "get p50", "get p99");
  for (const int n : clients) {
    const Load load = RunLoad(remote, n, duration);
    std::cout << fmt::format("{:>7} {:>10.1f} {:>9.2f} {:>9.2f} {:>9.2f} {:>9.2f}\n", n,
                             load.ordersPerSecond, Percentile(load.all.insertUs, 0.5) / 1000,
                             Percentile(load.all.insertUs, 0.99) / 1000,
                             Percentile(load.all.getUs, 0.5) / 1000,
                             Percentile(load.all.getUs, 0.99) / 1000)
              << std::flush;
  }
  return 0;
}

struct Options {
  std::chrono::seconds duration{2};
  int rounds = 3;
  std::vector<int> clients{1, 8, 32};
  int workers = 16;
  bool firebirdServer = false;
  bool forcedWrites = false;
};

Options Parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string name = argv[i];
    if (name == "--firebird-server" || name == "--forced-writes") {
      (name == "--forced-writes" ? options.forcedWrites : options.firebirdServer) = true;
      continue;
    }
    if (i + 1 >= argc) throw std::runtime_error("option " + name + " needs a value");
    const std::string value = argv[++i];
    if (name == "--seconds") {
      options.duration = std::chrono::seconds(std::max(1, std::stoi(value)));
    } else if (name == "--rounds") {
      options.rounds = std::max(3, std::stoi(value));
    } else if (name == "--workers") {
      options.workers = std::clamp(std::stoi(value), 1, 256);
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
    std::cout << "Clients inserting a demo order (2 items) and reading it back, "
              << options.duration.count() << " s per measurement, " << options.rounds
              << " interleaved rounds, zo-server with " << options.workers
              << " workers, forced writes " << (options.forcedWrites ? "on" : "off")
              << ", " << std::thread::hardware_concurrency()
              << " cores shared by clients, server and engine\n\n";
    const Root root(options.forcedWrites);
    // The in-process side: demo classes registered, customer files resolved from the root.
    demo::RegisterDemoClasses();
    fs::current_path(root.Path());
    zo::SetApplicationRoot(root.Path().string());
    Compare(root, options.clients, options.rounds, options.duration, options.workers);
    return options.firebirdServer
               ? RunThroughFirebirdServer(root, options.clients, options.duration, options.workers)
               : 0;
  } catch (const std::exception& e) {
    std::cerr << "server_bench: " << e.what() << std::endl;
    return 1;
  }
}
