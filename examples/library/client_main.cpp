// library-client: calls the library server over WebSocket with the installed RPC client.
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <zo/platform/rpc/RpcClient.h>
#include <zo/platform/rpc/RpcError.h>

namespace {

using nlohmann::json;

constexpr const char* kUsage =
    R"(Usage: library-client [--host HOST] [--port PORT] COMMAND [ARGS]

The customer, login and password come from ZO_CUSTOMER, ZO_USER and ZO_PASSWORD.

Commands (results on standard output):
  insert FILE|-      insert the object in FILE (JSON); prints its identifier
  get CLASS ID       prints the object as JSON (null when there is none)
  delete CLASS ID    deletes the object (and its aggregated lists)
  action NAME        runs a server action; its progress goes to standard error

Exit codes: 0 ok, 1 usage error, 2 error from the server or the connection.
)";

struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

std::string Env(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : value;
}

json ReadJson(const std::string& path) {
  std::ifstream file;
  if (path != "-") {
    file.open(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path);
  }
  std::istream& in = path == "-" ? std::cin : file;
  try {
    return json::parse(std::string(std::istreambuf_iterator<char>(in), {}));
  } catch (const json::parse_error& e) {
    throw std::runtime_error("invalid JSON in " + path + ": " + e.what());
  }
}

// A whole number from 1 to max, or a usage error naming what it was meant to be.
int Positive(const std::string& text, const std::string& what, int max = 2147483647) {
  std::size_t used = 0;
  long long value = 0;
  try {
    value = std::stoll(text, &used);
  } catch (const std::exception&) {
    used = 0;
  }
  if (used == 0 || used != text.size() || value < 1 || value > max) {
    throw UsageError("invalid " + what + ": " + text);
  }
  return static_cast<int>(value);
}

// The method and params of a command line.
std::pair<std::string, json> Request(const std::vector<std::string>& args) {
  const std::string& command = args[0];
  const auto expect = [&](std::size_t count) {
    if (args.size() != count) throw UsageError("wrong number of arguments for " + command);
  };
  if (command == "insert") {
    expect(2);
    return {"Insert", {{"jObj", ReadJson(args[1])}}};
  }
  if (command == "get") {
    expect(3);
    return {"Get", {{"AClassName", args[1]}, {"id", Positive(args[2], "identifier")}}};
  }
  if (command == "delete") {
    expect(3);
    return {"Delete", {{"AClassName", args[1]}, {"id", Positive(args[2], "identifier")}}};
  }
  if (command == "action") {
    expect(2);
    return {args[1], {{"Callback", true}}};  // asks for the wait-screen commands
  }
  throw UsageError("unknown command: " + command);
}

// One line per wait-screen command: "progress: 40% Computing fines - Loan 7".
class ProgressPrinter {
 public:
  void Show(const json& command) {
    const std::string type = command.value("type", "");
    const json fields = command.value("fields", json::object());
    if (type.ends_with("TWaitScreenCommandTitle")) title_ = fields.value("Text", "");
    if (type.ends_with("TWaitScreenCommandJob")) job_ = fields.value("Text", "");
    if (type.ends_with("TWaitScreenCommandGo")) percent_ = fields.value("Position", 0);
    std::string line = "progress: " + std::to_string(percent_) + "% " + title_;
    if (!job_.empty()) line += " - " + job_;
    // The server repeats unchanged states, and moves to 0% before it names the work.
    if (line != last_ && !title_.empty()) std::cerr << line << "\n";
    last_ = line;
  }

 private:
  std::string last_;
  std::string title_;
  std::string job_;
  int percent_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  std::string host = "127.0.0.1";
  int port = 7070;
  std::vector<std::string> command;
  try {
    for (int i = 1; i < argc; ++i) {
      const std::string arg = argv[i];
      if (!command.empty() || arg.rfind("--", 0) != 0) {
        command.push_back(arg);
      } else if (arg == "--help") {
        std::cout << kUsage;
        return 0;
      } else if (arg == "--host" && i + 1 < argc) {
        host = argv[++i];
      } else if (arg == "--port" && i + 1 < argc) {
        port = Positive(argv[++i], "port", 65535);
      } else {
        throw UsageError("unknown option or missing value: " + arg);
      }
    }
    if (command.empty()) throw UsageError("missing command");
    const auto [method, params] = Request(command);

    ProgressPrinter progress;
    zo::rpc::RpcClient client;
    client.SetCallbackHandler([&](const json& waitCommand) -> json {
      progress.Show(waitCommand);
      return false;  // true would ask the server to cancel
    });
    client.Open(host, static_cast<std::uint16_t>(port));
    client.Connect({{"customer", Env("ZO_CUSTOMER")},
                    {"user", Env("ZO_USER")},
                    {"password", Env("ZO_PASSWORD")}});
    std::cout << client.Call(method, params).dump(2) << std::endl;
    client.Close();
    return 0;
  } catch (const UsageError& e) {
    std::cerr << "library-client: " << e.what() << "\n(library-client --help lists the commands)\n";
    return 1;
  } catch (const std::exception& e) {
    std::cerr << "library-client: " << e.what() << "\n";
    return 2;
  }
}
