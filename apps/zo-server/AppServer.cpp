#include <zo/appserver/AppServer.h>

#include <ibase.h>  // fb_shutdown
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>

#include "apps/zo-server/ModuleSession.h"
#include "apps/zo-server/RootLock.h"
#include <zo/core/DebugOutput.h>
#include <zo/core/Exceptions.h>
#include <zo/version.h>
#include <zo/core/Text.h>
#include <zo/platform/rpc/RpcServer.h>
#include <zo/server/CustomServerModule.h>
#include <zo/server/Refusals.h>

namespace zo::app {
namespace {
namespace fs = std::filesystem;

struct Options {
  std::string bind = "127.0.0.1";
  int port = 7070;
  std::string root;
  int idleTimeoutSeconds = 1800;
  int workers = 8;
  int callbackTimeoutSeconds = 30;
  std::size_t maxMessageBytes = 16 * 1024 * 1024;
  rpc::LogLevel logLevel = rpc::LogLevel::kInfo;
  // Protections against hostile clients (see docs/security.md).
  int maxCallbackCalls = 0;  // 0: workers - workers / 4
  int maxQueuedCalls = 32;
  int pingTimeoutSeconds = 120;  // 0: no pings
  std::vector<std::string> allowedOrigins;
  std::string tlsCert;
  std::string tlsKey;
  std::string consoleDir;  // empty: "console" beside the executable, when it exists
};

void PrintHelp(const std::string& program, const TServerApplication& app) {
  std::cout << "Usage: " << program << " [options]\n"
            << "Serves the application \"" << app.name
            << "\" to remote clients over WebSocket (ws://HOST:PORT/zo)\n"
               "and HTTP (POST http://HOST:PORT/zo/rpc), JSON-RPC 2.0.\n\n"
               "Options:\n"
               "  --port N              TCP port (default 7070; 0 picks a free one)\n"
               "  --bind ADDRESS        address to listen on (default 127.0.0.1)\n"
               "  --root DIR            application root holding conn.conf and CustomersDB/\n"
               "                        (default: the directory of the executable)\n"
               "  --idle-timeout SECS   HTTP sessions expire after this idle time (default 1800)\n"
               "  --workers N           threads running calls (default 8)\n"
               "  --callback-timeout S  a client that does not answer a progress message in\n"
               "                        S seconds cancels its call (default 30)\n"
               "  --max-message BYTES   largest accepted message (default 16 MiB)\n"
               "  --log-level LEVEL     off, error, info or debug (default info)\n"
               "  --max-callback-calls N  calls talking to their clients at once, over all\n"
               "                        clients (default workers - workers/4)\n"
               "  --max-queued-calls N  calls one client may have waiting (default 32)\n"
               "  --ping-timeout SECS   close WebSocket clients silent this long, pinging\n"
               "                        them half-way (default 120; 0 never)\n"
               "  --allow-origin LIST   comma-separated Origin values accepted from browsers\n"
               "                        (default: any)\n"
               "  --tls-cert FILE       PEM certificate chain: serve wss:// and https:// only\n"
               "  --tls-key FILE        PEM private key of --tls-cert\n"
               "  --console-dir DIR     the browser console's files, served at /console/\n"
               "                        (default: console/ beside the executable)\n"
               "  --version             print the version and exit\n"
               "  --help                this text\n";
}

int ParseInt(const std::string& option, const std::string& value, int min, int max) {
  const int n = text::StrToIntDef(value, min - 1);
  if (n < min || n > max) {
    throw Exception("Valor inválido para " + option + ": \"" + value + "\"");
  }
  return n;
}

rpc::LogLevel ParseLevel(const std::string& value) {
  if (value == "off") return rpc::LogLevel::kOff;
  if (value == "error") return rpc::LogLevel::kError;
  if (value == "info") return rpc::LogLevel::kInfo;
  if (value == "debug") return rpc::LogLevel::kDebug;
  throw Exception("Valor inválido para --log-level: \"" + value + "\" (off, error, info, debug)");
}

// A comma-separated list, e.g. "https://a.example,https://b.example"; blanks are dropped.
std::vector<std::string> ParseList(const std::string& value) {
  std::vector<std::string> items;
  std::size_t start = 0;
  while (start <= value.size()) {
    const std::size_t end = std::min(value.find(',', start), value.size());
    const std::string item = text::Trim(value.substr(start, end - start));
    if (!item.empty()) items.push_back(item);
    start = end + 1;
  }
  return items;
}

// Returns nullopt when --help was asked for.
std::optional<Options> Parse(int argc, char** argv) {
  Options o;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--help" || arg == "-h") return std::nullopt;
    if (i + 1 >= argc) throw Exception("Opção desconhecida ou sem valor: " + arg);
    const std::string value = argv[++i];
    if (arg == "--port") {
      o.port = ParseInt(arg, value, 0, 65535);
    } else if (arg == "--bind") {
      o.bind = value;
    } else if (arg == "--root") {
      o.root = value;
    } else if (arg == "--idle-timeout") {
      o.idleTimeoutSeconds = ParseInt(arg, value, 1, 7 * 24 * 3600);
    } else if (arg == "--workers") {
      o.workers = ParseInt(arg, value, 1, 256);
    } else if (arg == "--callback-timeout") {
      o.callbackTimeoutSeconds = ParseInt(arg, value, 1, 24 * 3600);
    } else if (arg == "--max-message") {
      o.maxMessageBytes = static_cast<std::size_t>(ParseInt(arg, value, 1024, 1 << 30));
    } else if (arg == "--log-level") {
      o.logLevel = ParseLevel(value);
    } else if (arg == "--max-callback-calls") {
      o.maxCallbackCalls = ParseInt(arg, value, 1, 256);
    } else if (arg == "--max-queued-calls") {
      o.maxQueuedCalls = ParseInt(arg, value, 1, 100000);
    } else if (arg == "--ping-timeout") {
      o.pingTimeoutSeconds = ParseInt(arg, value, 0, 24 * 3600);
    } else if (arg == "--allow-origin") {
      const auto origins = ParseList(value);
      o.allowedOrigins.insert(o.allowedOrigins.end(), origins.begin(), origins.end());
    } else if (arg == "--tls-cert") {
      o.tlsCert = value;
    } else if (arg == "--tls-key") {
      o.tlsKey = value;
    } else if (arg == "--console-dir") {
      o.consoleDir = fs::absolute(value).string();  // before the change to the root
      if (!fs::is_directory(o.consoleDir)) {
        throw Exception("Diretório do console inexistente: " + o.consoleDir);
      }
    } else {
      throw Exception("Opção desconhecida: " + arg);
    }
  }
  if (o.tlsCert.empty() != o.tlsKey.empty()) {
    throw Exception("--tls-cert e --tls-key devem ser dados juntos");
  }
  return o;
}

std::string ExecutableDir() {
  std::error_code ec;
  const auto self = fs::read_symlink("/proc/self/exe", ec);
  return ec ? fs::current_path().string() : self.parent_path().string();
}

std::string Timestamp() {
  const auto now = std::chrono::system_clock::now();
  const std::time_t t = std::chrono::system_clock::to_time_t(now);
  std::tm local{};
  localtime_r(&t, &local);
  char buf[32];
  std::strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S", &local);
  return buf;
}

rpc::LogSink MakeLogSink() {
  auto mutex = std::make_shared<std::mutex>();
  return [mutex](const std::string& line) {
    std::lock_guard lock(*mutex);
    std::cerr << Timestamp() << " " << line << std::endl;
  };
}

// The console's directory: the option's, or console/ beside the executable when it exists.
std::string ConsoleDir(const Options& options) {
  if (!options.consoleDir.empty()) return options.consoleDir;
  const fs::path beside = fs::path(ExecutableDir()) / "console";
  std::error_code ec;
  return fs::is_directory(beside, ec) ? beside.string() : std::string();
}

// Every refusal (condition, authorization, database name, login) as one warning line.
void LogRefusals(const rpc::LogSink& log) {
  AddRefusalObserver([log](const TRefusal& refusal) {
    log("warning: refused " + RefusalKindName(refusal.kind) + " " + refusal.customer + "/" +
        refusal.user + " " + refusal.method + ": " + refusal.detail);
  });
}

fs::path EnterRoot(const Options& options) {
  const fs::path root = fs::absolute(options.root.empty() ? ExecutableDir() : options.root);
  if (!fs::is_directory(root)) throw Exception("Diretório raiz inexistente: " + root.string());
  fs::current_path(root);
  SetApplicationRoot(root.string());
  if (!fs::exists("conn.conf")) {
    throw Exception("Falta o arquivo conn.conf no diretório raiz " + root.string() +
                    " (crie os clientes com zo-schema customer add)");
  }
  return root;
}

// The database client library reacts to SIGINT and SIGTERM on its own: it shuts the engine
// down from a thread of its own while the server still finishes calls and closes modules, and
// the process then died of SIGSEGV now and then after a clean stop (exit 139). The library's
// shutdown on a signal is refused here; the server stops in order and then shuts the engine
// down itself, before the process unloads it.
class DatabaseEngineShutdown {
 public:
  DatabaseEngineShutdown() {
    ISC_STATUS_ARRAY status{};
    if (fb_shutdown_callback(status, RefuseSignal, fb_shut_confirmation, nullptr) != 0) {
      throw Exception("Não foi possível controlar o encerramento do Firebird");
    }
  }
  ~DatabaseEngineShutdown() { fb_shutdown(kTimeoutMs, kReasonServerStopped); }
  DatabaseEngineShutdown(const DatabaseEngineShutdown&) = delete;
  DatabaseEngineShutdown& operator=(const DatabaseEngineShutdown&) = delete;

 private:
  static int RefuseSignal(const int reason, const int /*mask*/, void* /*arg*/) {
    return reason == fb_shutrsn_signal ? 1 : 0;
  }
  static constexpr unsigned kTimeoutMs = 10000;
  static constexpr int kReasonServerStopped = 1;  // applications use positive reasons
};

}  // namespace

int RunAppServer(int argc, char** argv, const TServerApplication& app) {
  if (argc == 2 && std::string(argv[1]) == "--version") {
    std::cout << std::filesystem::path(argv[0]).filename().string() << " (ZoServer) "
              << ZO_VERSION_STRING << "\n";
    return 0;
  }
  std::optional<Options> options;
  try {
    options = Parse(argc, argv);
  } catch (const std::exception& e) {
    std::cerr << e.what() << "\n(" << argv[0] << " --help lists the options)\n";
    return 1;
  }
  if (!options) {
    PrintHelp(argv[0], app);
    return 0;
  }
  try {
    // Declared before the server: shuts the engine down after every module has gone.
    const DatabaseEngineShutdown engineShutdown;
    const RootLock rootLock(EnterRoot(*options));
    if (app.registerClasses) app.registerClasses();
    const rpc::LogSink log = MakeLogSink();
    if (options->logLevel == rpc::LogLevel::kDebug) {
      SetDebugOutput([log](const std::string& text) { log("debug: " + text); });
    }
    auto authenticator = app.makeAuthenticator ? app.makeAuthenticator()
                                               : std::make_unique<TUserTableAuthenticator>();
    if (options->logLevel != rpc::LogLevel::kOff) LogRefusals(log);
    auto factory =
        std::make_shared<TModuleSessionFactory>(app.moduleClass, std::move(authenticator), log);

    rpc::RpcServerOptions rpcOptions;
    rpcOptions.address = options->bind;
    rpcOptions.port = static_cast<std::uint16_t>(options->port);
    rpcOptions.workers = static_cast<unsigned>(options->workers);
    rpcOptions.httpSessionIdle = std::chrono::seconds(options->idleTimeoutSeconds);
    rpcOptions.callbackTimeout = std::chrono::seconds(options->callbackTimeoutSeconds);
    rpcOptions.maxMessageSize = options->maxMessageBytes;
    rpcOptions.logLevel = options->logLevel;
    rpcOptions.logSink = log;
    rpcOptions.maxCallbackCalls = static_cast<unsigned>(options->maxCallbackCalls);
    rpcOptions.maxQueuedCalls = static_cast<unsigned>(options->maxQueuedCalls);
    rpcOptions.pingTimeout = std::chrono::seconds(options->pingTimeoutSeconds);
    rpcOptions.allowedOrigins = options->allowedOrigins;
    rpcOptions.tlsCertificateFile = options->tlsCert;
    rpcOptions.tlsKeyFile = options->tlsKey;
    rpcOptions.staticDir = ConsoleDir(*options);
    // Caught from before the announcement on: whoever reads "listening" and at once sends
    // SIGTERM must get a graceful stop, not the signal's default death.
    boost::asio::io_context signalIo;
    boost::asio::signal_set signals(signalIo, SIGINT, SIGTERM);
    signals.async_wait([](const boost::system::error_code&, int) {});
    rpc::RpcServer server(factory, rpcOptions);
    server.Start();
    const std::string secure = options->tlsCert.empty() ? "" : "s";
    std::cout << app.name << " listening on ws" << secure << "://" << options->bind << ":"
              << server.Port() << "/zo and http" << secure << "://" << options->bind << ":"
              << server.Port() << "/zo/rpc\n"
              << "application root: " << ApplicationRoot() << "\n"
              << (rpcOptions.staticDir.empty()
                      ? std::string()
                      : "console: http://" + options->bind + ":" + std::to_string(server.Port()) +
                            rpcOptions.staticPath + "\n")
              << "Ctrl-C stops the server." << std::endl;
    signalIo.run();  // returns once the signal's handler has run
    server.Stop();
    std::cout << "stopped" << std::endl;
    return 0;
  } catch (const std::exception& e) {
    std::cerr << "zo-server: " << e.what() << std::endl;
    return 2;
  }
}

}  // namespace zo::app
