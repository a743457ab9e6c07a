#include "apps/zo-server/ServerOptions.h"

#include <filesystem>
#include <iostream>
#include <map>

#include "apps/common/ToolOptions.h"

namespace zo::app {

namespace {

namespace fs = std::filesystem;

const std::map<std::string, rpc::LogLevel> kLevels{{"off", rpc::LogLevel::kOff},
                                                   {"error", rpc::LogLevel::kError},
                                                   {"warning", rpc::LogLevel::kWarning},
                                                   {"info", rpc::LogLevel::kInfo},
                                                   {"debug", rpc::LogLevel::kDebug}};
const std::map<std::string, rpc::LogFormat> kFormats{{"text", rpc::LogFormat::kText},
                                                     {"json", rpc::LogFormat::kJson}};

void AddOptions(CLI::App& cli, ServerOptions& o) {
  cli.add_option("--port", o.port, "TCP port (0 picks a free one)")
      ->capture_default_str()
      ->check(CLI::Range(0, 65535));
  cli.add_option("--bind", o.bind, "address to listen on")->capture_default_str();
  cli.add_option("--root", o.root,
                 "application root holding conn.conf and CustomersDB/ "
                 "(default: the directory of the executable)")
      ->type_name("DIR");
  cli.add_option("--idle-timeout", o.idleTimeoutSeconds,
                 "HTTP sessions expire after this idle time, in seconds")
      ->capture_default_str()
      ->check(CLI::Range(1, 7 * 24 * 3600));
  cli.add_option("--workers", o.workers, "threads running calls")
      ->capture_default_str()
      ->check(CLI::Range(1, 256));
  cli.add_option("--callback-timeout", o.callbackTimeoutSeconds,
                 "seconds a client has to answer a progress message before its call is "
                 "cancelled")
      ->capture_default_str()
      ->check(CLI::Range(1, 24 * 3600));
  cli.add_option("--max-message", o.maxMessageBytes, "largest accepted message, in bytes")
      ->capture_default_str()
      ->check(CLI::Range(std::size_t{1024}, std::size_t{1} << 30));
  // Kept as names here and turned into levels after parsing: the help lists the names only.
  cli.add_option("--log-level", o.logLevelName, "how much to log")
      ->capture_default_str()
      ->check(CLI::IsMember({"off", "error", "warning", "info", "debug"}))
      ->type_name("LEVEL");
  cli.add_option("--log-format", o.logFormatName, "json: one object a line")
      ->capture_default_str()
      ->check(CLI::IsMember({"text", "json"}))
      ->type_name("FORMAT");
  cli.add_option("--slow-ms", o.slowMs,
                 "log calls that take at least this many milliseconds with their statements "
                 "(0: off)")
      ->capture_default_str()
      ->check(CLI::Range(0, 24 * 3600 * 1000));
  cli.add_option("--max-callback-calls", o.maxCallbackCalls,
                 "calls talking to their clients at once, over all clients "
                 "(default workers - workers/4)")
      ->check(CLI::Range(1, 256));
  cli.add_option("--max-queued-calls", o.maxQueuedCalls, "calls one client may have waiting")
      ->capture_default_str()
      ->check(CLI::Range(1, 100000));
  cli.add_option("--ping-timeout", o.pingTimeoutSeconds,
                 "close WebSocket clients silent this many seconds, pinging them half-way "
                 "(0: never)")
      ->capture_default_str()
      ->check(CLI::Range(0, 24 * 3600));
  cli.add_option("--allow-origin", o.allowedOrigins,
                 "comma-separated Origin values accepted from browsers (default: any)")
      ->delimiter(',')
      ->type_name("LIST");
  auto* cert = cli.add_option("--tls-cert", o.tlsCert,
                              "PEM certificate chain: serve wss:// and https:// only")
                   ->type_name("FILE");
  auto* key = cli.add_option("--tls-key", o.tlsKey, "PEM private key of --tls-cert")
                  ->type_name("FILE");
  cert->needs(key);
  key->needs(cert);
  cli.add_option("--console-dir", o.consoleDir,
                 "the browser console's files, served at /console/ "
                 "(default: console/ beside the executable, else the installed "
                 "share/zoserver/console)")
      ->check(CLI::ExistingDirectory)
      ->type_name("DIR");
}

}  // namespace

std::optional<ServerOptions> ParseServerOptions(int argc, char** argv,
                                                const std::string& applicationName,
                                                int& exitCode) {
  const std::string program = tools::ProgramName(argc > 0 ? argv[0] : nullptr);
  CLI::App cli("Serves the application \"" + applicationName +
               "\" to remote clients over WebSocket (ws://HOST:PORT/zo) and HTTP "
               "(POST http://HOST:PORT/zo/rpc), JSON-RPC 2.0; GET /health and GET /metrics "
               "for the operator.");
  cli.footer("Every option may also come from the environment (" +
             tools::EnvironmentPrefix(program) +
             "LOG_LEVEL=debug) or from the --config file (log-level = debug); the command line "
             "wins over the environment, which wins over the file.\n"
             "Exit codes: 0 stopped by SIGTERM or Ctrl-C, 1 bad options, 2 failure to start.");
  ServerOptions options;
  tools::AddCommonOptions(cli, program);
  AddOptions(cli, options);
  tools::AddEnvironment(cli, tools::EnvironmentPrefix(program));
  const auto exit = tools::ParseOrExit(cli, argc, argv, program, 1, std::cout, std::cerr);
  if (exit) {
    exitCode = *exit;
    return std::nullopt;
  }
  // Before the server changes to the application root.
  if (!options.consoleDir.empty()) options.consoleDir = fs::absolute(options.consoleDir).string();
  options.logLevel = kLevels.at(options.logLevelName);
  options.logFormat = kFormats.at(options.logFormatName);
  return options;
}

}  // namespace zo::app
