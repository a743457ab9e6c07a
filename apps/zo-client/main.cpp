// zo-client: a command-line client of the application server's remote methods.
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "apps/common/ToolOptions.h"
#include "apps/zo-client/ProgressBar.h"
#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>
#include "platform/json/Base64.h"
#include <zo/platform/rpc/RpcClient.h>
#include <zo/platform/rpc/RpcError.h>

namespace {

using nlohmann::json;

constexpr const char* kDescription =
    "A command-line client of the application server's remote methods.\n"
    "Usage: zo-client [OPTIONS] COMMAND [ARGS]";

constexpr const char* kCommands =
    R"(Commands (JSON results are printed on standard output):
  insert FILE|-                      insert the object in FILE (JSON); prints its identifier
  update FILE|-                      update the object in FILE
  validate FILE|-                    ask the server to validate the object in FILE
  delete CLASS ID                    delete one object
  delete-array CLASS ID [ID...]      delete several objects, with progress
  get CLASS ID                       one object (null when it does not exist)
  list CLASS [CONDITION]             the objects matching a condition over property names,
                                     e.g. "Nome = 'Ana' and Ativo = 1"
  count CLASS [CONDITION]            how many objects match
  next-id CLASS ID first|previous|next|last [CONDITION]
  str-list CLASS PROPERTIES [CONDITION]   "|id=values| " pairs, e.g. str-list TCidade Nome,UF
  blob-get CLASS ID PROPERTY FILE    save a binary property to FILE
  blob-set CLASS ID PROPERTY FILE    store FILE into a binary property
  records PROVIDER                   the rows a data-set provider serves (e.g. dspCidades)
  action NAME                        run a server action with progress (e.g. RecalcularTotais)
  call METHOD [PARAMS-JSON]          any remote method with raw JSON-RPC params
Ctrl-C during a long operation asks the server to cancel it (its changes are rolled back).
The password is best given in ZO_PASSWORD or the --config file: arguments are visible to
other users of the machine. Options may also come from the environment (ZO_CLIENT_HOST,
ZO_CLIENT_PORT) or from the --config file (port = 7070).
Exit codes: 0 ok, 1 usage error, 2 error reported by the server or the connection,
3 cancelled.
)";

struct ClientOptions {
  std::string host = "127.0.0.1";
  int port = 7070;
  std::string customer;
  std::string user;
  std::string password;
  bool tls = false;
  std::string caFile;
};

void AddOptions(CLI::App& cli, ClientOptions& o) {
  cli.add_option("--host", o.host, "server address")->capture_default_str();
  cli.add_option("--port", o.port, "server port")->capture_default_str()->check(
      CLI::Range(1, 65535));
  cli.add_flag("--tls", o.tls, "connect over TLS (wss://); the server's certificate must name HOST");
  cli.add_option("--ca", o.caFile, "trusted certificates (PEM) for --tls (default: the system's)")
      ->type_name("FILE");
  cli.add_option("--customer", o.customer, "customer identifier")->envname("ZO_CUSTOMER");
  cli.add_option("--user", o.user, "login")->envname("ZO_USER");
  cli.add_option("--password", o.password, "password")->envname("ZO_PASSWORD");
}

struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

std::string ReadFile(const std::string& path) {
  if (path == "-") return std::string(std::istreambuf_iterator<char>(std::cin), {});
  std::ifstream in(path, std::ios::binary);
  if (!in) throw zo::Exception("Cannot read the file " + path);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

json ReadJson(const std::string& path) {
  try {
    return json::parse(ReadFile(path));
  } catch (const json::parse_error& e) {
    throw zo::Exception("Invalid JSON in " + path + ": " + e.what());
  }
}

int32_t Id(const std::string& s) { return zo::text::StrToInt(s); }

void Need(const std::vector<std::string>& args, size_t min, size_t max = 99) {
  if (args.size() < min || args.size() > max) {
    throw UsageError("Wrong number of arguments for " + args[0]);
  }
}

std::string Optional(const std::vector<std::string>& args, size_t index) {
  return index < args.size() ? args[index] : std::string();
}

int TipoNext(const std::string& s) {
  static const std::map<std::string, int> kinds{
      {"first", 0}, {"previous", 1}, {"next", 2}, {"last", 3}};
  const auto it = kinds.find(s);
  if (it == kinds.end()) throw UsageError("Unknown direction (first, previous, next, last): " + s);
  return it->second;
}

// Builds the method name and params of a command.
std::pair<std::string, json> Request(const std::vector<std::string>& a) {
  const std::string& c = a[0];
  if (c == "insert" || c == "update") {
    Need(a, 2, 2);
    return {c == "insert" ? "Insert" : "Update", {{"jObj", ReadJson(a[1])}, {"Callback", true}}};
  }
  if (c == "validate") {
    Need(a, 2, 2);
    return {"Validate", {{"jObj", ReadJson(a[1])}}};
  }
  if (c == "delete") {
    Need(a, 3, 3);
    return {"Delete", {{"AClassName", a[1]}, {"id", Id(a[2])}, {"Callback", true}}};
  }
  if (c == "delete-array") {
    Need(a, 3);
    json ids = json::array();
    for (size_t i = 2; i < a.size(); ++i) ids.push_back(Id(a[i]));
    return {"DeleteArray", {{"AClassName", a[1]}, {"jArray", ids}, {"Callback", true}}};
  }
  if (c == "get") {
    Need(a, 3, 3);
    return {"Get", {{"AClassName", a[1]}, {"id", Id(a[2])}}};
  }
  if (c == "list" || c == "count") {
    Need(a, 2, 3);
    return {c == "list" ? "GetByCondition" : "GetCount",
            {{"AClassName", a[1]}, {"ACondition", Optional(a, 2)}}};
  }
  if (c == "next-id") {
    Need(a, 4, 5);
    return {"GetNextID",
            {{"AClassName", a[1]},
             {"currentID", Id(a[2])},
             {"ATipoNext", TipoNext(a[3])},
             {"ACondition", Optional(a, 4)}}};
  }
  if (c == "str-list") {
    Need(a, 3, 4);
    return {"GetStrList",
            {{"AClassName", a[1]}, {"AProperties", a[2]}, {"ACondition", Optional(a, 3)}}};
  }
  if (c == "blob-get") {
    Need(a, 5, 5);
    return {"GetBlobData", {{"AClassName", a[1]}, {"id", Id(a[2])}, {"APropertyName", a[3]}}};
  }
  if (c == "blob-set") {
    Need(a, 5, 5);
    const std::string bytes = ReadFile(a[4]);
    const auto* data = reinterpret_cast<const uint8_t*>(bytes.data());
    return {"SetBlobData",
            {{"AClassName", a[1]},
             {"id", Id(a[2])},
             {"APropertyName", a[3]},
             {"AStream", zo::base64::Encode({data, bytes.size()})}}};
  }
  if (c == "records") {
    Need(a, 2, 2);
    return {"GetRecords", {{"ProviderName", a[1]}}};
  }
  if (c == "action") {
    Need(a, 2, 2);
    return {a[1], {{"Callback", true}}};
  }
  if (c == "call") {
    Need(a, 2, 3);
    return {a[1], a.size() > 2 ? json::parse(a[2]) : json::object()};
  }
  throw UsageError("unknown command: " + c);
}

void SaveBlob(const json& result, const std::string& path) {
  if (result.is_null()) throw zo::Exception("The property is empty");
  const auto bytes = zo::base64::Decode(result.get<std::string>());
  if (!bytes) throw zo::Exception("The server answered invalid base64");
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes->data()),
            static_cast<std::streamsize>(bytes->size()));
  if (!out) throw zo::Exception("Cannot write the file " + path);
  std::cerr << bytes->size() << " bytes written to " << path << "\n";
}

volatile std::sig_atomic_t gInterrupts = 0;

extern "C" void OnInterrupt(int) {
  gInterrupts = gInterrupts + 1;
  if (gInterrupts > 1) std::_Exit(3);  // a second Ctrl-C leaves at once
}

}  // namespace

int main(int argc, char** argv) {
  const std::string program = zo::tools::ProgramName(argc > 0 ? argv[0] : nullptr);
  CLI::App cli(kDescription);
  ClientOptions options;
  zo::tools::AddCommonOptions(cli, program);
  AddOptions(cli, options);
  zo::tools::AddEnvironment(cli, zo::tools::EnvironmentPrefix(program));
  // Everything from the command on is the command's: its arguments may look like options.
  cli.prefix_command();
  cli.footer(kCommands);
  if (const auto exit = zo::tools::ParseOrExit(cli, argc, argv, program, 1, std::cout, std::cerr)) {
    return *exit;
  }
  const std::vector<std::string> command = cli.remaining();
  const auto& [host, port, customer, user, password, tls, caFile] = options;
  zo::rpc::RpcClientOptions clientOptions;
  clientOptions.tls = tls || !caFile.empty();
  clientOptions.caFile = caFile;
  try {
    if (command.empty()) throw UsageError("no command given");
    const auto [method, params] = Request(command);

    std::signal(SIGINT, OnInterrupt);
    zo::client::ProgressBar progress(std::cerr);
    zo::rpc::RpcClient client(clientOptions);
    client.SetCallbackHandler([&](const json& command) -> json {
      progress.Show(command);
      return gInterrupts > 0;  // true asks the server to cancel
    });
    client.Open(host, static_cast<uint16_t>(port));
    client.Connect({{"customer", customer}, {"user", user}, {"password", password}});
    const json result = client.Call(method, params);
    progress.Finish();
    if (command[0] == "blob-get") {
      SaveBlob(result, command[4]);
    } else {
      std::cout << result.dump(2) << std::endl;
    }
    client.Close();
    return 0;
  } catch (const UsageError& e) {
    std::cerr << program << ": " << e.what() << "\n(" << program << " --help lists the commands)\n";
    return 1;
  } catch (const zo::rpc::RpcError& e) {
    if (e.Aborted()) {
      std::cerr << "\n" << program << ": cancelled\n";
      return 3;
    }
    std::cerr << "\n" << program << ": " << e.what() << "\n";
    return 2;
  } catch (const std::exception& e) {
    std::cerr << "\n" << program << ": " << e.what() << "\n";
    return 2;
  }
}
