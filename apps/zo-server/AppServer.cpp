#include <zo/appserver/AppServer.h>

#include <ibase.h>  // fb_shutdown
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <optional>
#include <utility>
#include <string>

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>

#include "apps/zo-server/ModuleSession.h"
#include "apps/zo-server/RootLock.h"
#include "apps/zo-server/ServerOptions.h"
#include "apps/zo-server/ServerLog.h"
#include <zo/core/DebugOutput.h>
#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>
#include <zo/platform/db/ConnectionParams.h>
#include <zo/platform/rpc/RpcServer.h>
#include <zo/server/CustomServerModule.h>
#include <zo/server/Refusals.h>

namespace zo::app {
namespace {
namespace fs = std::filesystem;

std::string ExecutableDir() {
  std::error_code ec;
  const auto self = fs::read_symlink("/proc/self/exe", ec);
  return ec ? fs::current_path().string() : self.parent_path().string();
}

// Every refusal (condition, authorization, database name, login) as one warning line, and
// counted for /metrics.
void ObserveRefusals(const rpc::LogSink& log, bool logThem,
                     const std::shared_ptr<TServerProbe>& probe) {
  AddRefusalObserver([log, logThem, probe](const TRefusal& refusal) {
    if (refusal.kind == TRefusalKind::rkCondition) probe->CountRefusedCondition();
    if (refusal.kind == TRefusalKind::rkAuthorization) probe->CountRefusedAuthorization();
    if (!logThem) return;
    log("warning: refused " + RefusalKindName(refusal.kind) + " " + refusal.customer + "/" +
        refusal.user + " " + refusal.method + ": " + refusal.detail);
  });
}

// The console's files: --console-dir, else console/ beside the executable (a build tree), else
// where the install put it (share/zoserver/console next to bin/). Empty when there are none.
std::string ConsoleDir(const ServerOptions& options) {
  if (!options.consoleDir.empty()) return options.consoleDir;
  const fs::path exeDir = ExecutableDir();
  for (const fs::path& candidate : {exeDir / "console", exeDir / ZO_CONSOLE_FROM_BINDIR}) {
    std::error_code ec;
    if (fs::is_directory(candidate, ec)) return candidate.lexically_normal().string();
  }
  return {};
}

fs::path EnterRoot(const ServerOptions& options) {
  const fs::path root = fs::absolute(options.root.empty() ? ExecutableDir() : options.root);
  if (!fs::is_directory(root)) throw Exception("The application root does not exist: " + root.string());
  fs::current_path(root);
  SetApplicationRoot(root.string());
  if (!fs::exists("conn.conf")) {
    throw Exception("No conn.conf in the application root " + root.string() +
                    " (provision customers with zo-schema customer add)");
  }
  return root;
}

// Two servers on one root would fight over embedded database files, so the root is locked;
// when the root's conn.conf names a Firebird server, the databases are shared through it and
// several processes may serve the same root (see docs/operations.md).
std::optional<RootLock> LockEmbeddedRoot(const fs::path& root) {
  TConnectionParams params;
  params.LoadFromFile(root / "conn.conf");
  if (!text::Trim(params.Values("Server")).empty()) return std::nullopt;
  return std::optional<RootLock>(std::in_place, root);
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
      throw Exception("Cannot take over the shutdown of the Firebird client library");
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
  int exitCode = 0;
  const std::optional<ServerOptions> options = ParseServerOptions(argc, argv, app.name, exitCode);
  if (!options) return exitCode;
  try {
    // Declared before the server: shuts the engine down after every module has gone.
    const DatabaseEngineShutdown engineShutdown;
    const auto rootLock = LockEmbeddedRoot(EnterRoot(*options));
    if (app.registerClasses) app.registerClasses();
    const rpc::LogSink log = MakeServerLog(options->logFormat);
    const rpc::LogSink appLog = MakeApplicationLog(log, options->logFormat);
    if (options->logLevel == rpc::LogLevel::kDebug) {
      SetDebugOutput([appLog](const std::string& text) { appLog("debug: " + text); });
    }
    auto authenticator = app.makeAuthenticator ? app.makeAuthenticator()
                                               : std::make_unique<TUserTableAuthenticator>();
    const auto probe = std::make_shared<TServerProbe>();
    ObserveRefusals(appLog, options->logLevel != rpc::LogLevel::kOff, probe);
    auto factory = std::make_shared<TModuleSessionFactory>(
        app.moduleClass, std::move(authenticator), probe, appLog);
    factory->KeepStatementTexts(options->slowMs > 0);

    rpc::RpcServerOptions rpcOptions;
    rpcOptions.address = options->bind;
    rpcOptions.port = static_cast<std::uint16_t>(options->port);
    rpcOptions.workers = static_cast<unsigned>(options->workers);
    rpcOptions.httpSessionIdle = std::chrono::seconds(options->idleTimeoutSeconds);
    rpcOptions.callbackTimeout = std::chrono::seconds(options->callbackTimeoutSeconds);
    rpcOptions.maxMessageSize = options->maxMessageBytes;
    rpcOptions.logLevel = options->logLevel;
    rpcOptions.logFormat = options->logFormat;
    rpcOptions.slowCall = std::chrono::milliseconds(options->slowMs);
    rpcOptions.logSink = log;
    rpcOptions.probe = probe;
    rpcOptions.staticDir = ConsoleDir(*options);
    rpcOptions.maxCallbackCalls = static_cast<unsigned>(options->maxCallbackCalls);
    rpcOptions.maxQueuedCalls = static_cast<unsigned>(options->maxQueuedCalls);
    rpcOptions.pingTimeout = std::chrono::seconds(options->pingTimeoutSeconds);
    rpcOptions.allowedOrigins = options->allowedOrigins;
    rpcOptions.tlsCertificateFile = options->tlsCert;
    rpcOptions.tlsKeyFile = options->tlsKey;
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
                      : "console: http" + secure + "://" + options->bind + ":" +
                            std::to_string(server.Port()) + rpcOptions.staticPath + "\n")
              << "Ctrl-C stops the server." << std::endl;
    signalIo.run();  // returns once the signal's handler has run
    server.Stop();
    std::cout << "stopped" << std::endl;
    return 0;
  } catch (const std::exception& e) {
    std::cerr << fs::path(argc > 0 ? argv[0] : "zo-server").filename().string() << ": "
              << e.what() << std::endl;
    return 2;
  }
}

}  // namespace zo::app
