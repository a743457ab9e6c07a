// The built server driven as an attacker would: conditions that try to reach other tables,
// users that try to take over others, database names that probe the server's files, NULs,
// broken and oversized input. Each attack fails with a clear error, changes nothing, and a
// client that was connected all along goes on being served.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include <zo/core/Exceptions.h>

#include "tests/apps_server/Deployment.h"

namespace zo::testing {
namespace {

namespace codes = rpc::codes;

namespace fs = std::filesystem;

const Customer kZeca{kAcme.id, "zeca", "s3nha do Zeca"};
constexpr int kMaxMessage = 256 * 1024;

class ServerAttacks : public LiveServerTest {
 protected:
  static void SetUpTestSuite() {
    StartServer({.seedAcme = false, .serverArgs = {"--max-message", std::to_string(kMaxMessage)}});
  }
  static void TearDownTestSuite() { StopServer(); }

  void SetUp() override {
    LiveServerTest::SetUp();
    witness_ = Live().ConnectWs(kBeta);
    acme_ = Live().ConnectWs(kAcme);  // ACME's first user: its administrator
    before_ = Snapshot();
  }
  void TearDown() override {
    if (!witness_) return;
    EXPECT_EQ(witness_->Call("GetCount", {{"AClassName", "TUser"}}), 1)
        << "the other client must still be served";
    EXPECT_EQ(Snapshot(), before_) << "an attack must change nothing";
  }

  // ACME's users and cities as the administrator sees them.
  std::string Snapshot() {
    return acme_->Call("GetStrList", {{"AClassName", "TUser"}, {"AProperties", "Login,Nome"}})
               .get<std::string>() +
           acme_->Call("GetCount", {{"AClassName", "TCidade"}}).dump();
  }
  rpc::RpcError Refusal(const std::string& method, const json& params) {
    return ErrorOf([&] { acme_->Call(method, params); });
  }
  // The message of an application error.
  std::string AcmeError(const std::string& method, const json& params) {
    const rpc::RpcError error = Refusal(method, params);
    EXPECT_EQ(error.Code(), codes::kApplication) << method << " " << params;
    return error.what();
  }
  rpc::RpcError ConnectError(const json& credentials) {
    return ErrorOf([&] { Live().OpenWs()->Connect(credentials); });
  }

  std::unique_ptr<rpc::RpcClient> witness_;
  std::unique_ptr<rpc::RpcClient> acme_;
  std::string before_;
};

TEST_F(ServerAttacks, InjectedConditionsAreRefusedByEveryMethodThatTakesOne) {
  // One attack of each family per method; the grammar's own tests name every token.
  const std::vector<std::string> attacks = {
      "Codigo = 0/**/union/**/select/**/ID,SENHA_HASH/**/from/**/USUARIOS",
      "Nome = '' || (select first 1 SENHA_HASH from USUARIOS)",
      std::string("Nome = 'x\0' or 1=1 --'", 22),
  };
  const std::vector<std::pair<std::string, json>> methods = {
      {"GetByCondition", {{"AClassName", "TCidade"}}},
      {"GetCount", {{"AClassName", "TCidade"}}},
      {"GetNextID", {{"AClassName", "TCidade"}, {"currentID", 0}, {"ATipoNext", 3}}},
      {"GetStrList", {{"AClassName", "TCidade"}, {"AProperties", "Nome"}}},
  };
  const int logged = Live().Server().CountInLog("warning: refused condition");
  for (const auto& [method, base] : methods) {
    for (const auto& attack : attacks) {
      json params = base;
      params["ACondition"] = attack;
      const std::string message = AcmeError(method, params);
      EXPECT_TRUE(message.starts_with("Condição recusada em \"")) << method << ": " << message;
      EXPECT_EQ(message.find("pbkdf2"), std::string::npos) << message;
    }
  }
  // Property lists and class names are checked the same way.
  for (const std::string properties : {"SENHA_HASH", "Nome,ID from USUARIOS --", "Nome||UF"}) {
    EXPECT_TRUE(AcmeError("GetStrList", {{"AClassName", "TUser"}, {"AProperties", properties}})
                    .starts_with("Propriedade recusada"))
        << properties;
  }
  EXPECT_EQ(AcmeError("GetCount", {{"AClassName", "USUARIOS where 1=1 --"}}), "Item not found");
  EXPECT_TRUE(Live().Server().WaitForLog("warning: refused condition", std::chrono::seconds(5),
                                         logged + 15));
}

// Every refusal is the module's own test; here the server acts as the user who logged in and
// logs what it refused, naming who asked for what.
TEST_F(ServerAttacks, AnOrdinaryUserCannotMakeItselfAdministrator) {
  const int zeca = acme_->Call(
      "Insert",
      {{"jObj", {{"type", "ZoCore.TUser"}, {"fields", {{"Login", "zeca"}, {"Nome", "Zeca"}}}}}});
  acme_->Call("SetUserPassword", {{"id", zeca}, {"APassword", kZeca.password}});
  const auto attacker = Live().ConnectWs(kZeca);
  const std::string refused = ErrorOf([&] {
                                attacker->Call("SetUserRole", {{"id", zeca}, {"ARole", "admin"}});
                              }).what();
  EXPECT_TRUE(refused.starts_with("Acesso negado: ")) << refused;
  EXPECT_TRUE(Live().Server().WaitForLog("warning: refused authorization ACME/zeca SetUserRole: ",
                                         std::chrono::seconds(5)));
  acme_->Call("Delete", {{"AClassName", "TUser"}, {"id", zeca}});
}

TEST_F(ServerAttacks, NulsAndBrokenDatabasesGetClearAnswers) {
  const json city = {{"type", "DemoClasses.TCidade"},
                     {"fields", {{"Nome", std::string("Re\0cife", 7)}, {"UF", "PE"}}}};
  EXPECT_NE(AcmeError("Insert", {{"jObj", city}}).find("caractere nulo (U+0000)"),
            std::string::npos);

  // A customer whose database file is broken: the client hears no path, the log has it.
  const auto ghost = Live().Root() / "CustomersDB" / "GHOST";
  std::filesystem::create_directories(ghost);
  std::ofstream(ghost / "ZO.FDB") << "not a database";
  std::filesystem::copy_file(Live().Root() / "CustomersDB" / "ACME" / "conn.conf",
                             ghost / "conn.conf");
  const rpc::RpcError error = ErrorOf([&] {
    Live().OpenWs()->Connect(Credentials({"GHOST", "ana", "x"}));
  });
  EXPECT_STREQ(error.what(), "base de dados indisponível");
  EXPECT_TRUE(Live().Server().WaitForLog("GHOST/ZO.FDB", std::chrono::seconds(5)));
  std::filesystem::remove_all(ghost);
}

TEST_F(ServerAttacks, RepeatedLoginFailuresAreSlowedDown) {
  const Customer guess{kAcme.id, "ghost", "palpite"};
  for (int i = 0; i < 6; ++i) {
    EXPECT_STREQ(ErrorOf([&] { Live().OpenWs()->Connect(Credentials(guess)); }).what(),
                 "Usuário ou senha inválidos");
  }
  const std::string waiting = ErrorOf([&] { Live().OpenWs()->Connect(Credentials(guess)); }).what();
  EXPECT_TRUE(waiting.starts_with("Muitas tentativas de acesso; tente de novo em ")) << waiting;
  EXPECT_NO_THROW(Live().ConnectWs(kAcme)) << "other logins from the address go on";
}

json CityWith(const json& fields) { return {{"type", "DemoClasses.TCidade"}, {"fields", fields}}; }

// Invalid UTF-8 is a parse error too; the session goes on.
TEST_F(ServerAttacks, MalformedJsonIsAParseErrorAndTheConnectionGoesOn) {
  const auto http = Live().ConnectHttp(kAcme);
  for (const std::string body : {"{\"jsonrpc\": \"2.0\", \"id\": 1, ", "\x01\xff",
                                 "{\"jsonrpc\": \"2.0\", \"id\": 1, \"method\": \"Get\xff\"}"}) {
    const auto response = http->Post(body);
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(json::parse(response.body)["error"]["code"], codes::kParseError) << response.body;
  }
  EXPECT_EQ(http->Call("GetCount", {{"AClassName", "TCidade"}}), 0);
}

TEST_F(ServerAttacks, UnknownMethodsAndWrongArgumentTypesAreRefusedBeforeAnythingRuns) {
  for (const std::string method : {"get", "DropDatabase", ""}) {
    const rpc::RpcError error = Refusal(method, json::object());
    EXPECT_EQ(error.Code(), codes::kMethodNotFound) << method;
    EXPECT_EQ(std::string(error.what()), "Método desconhecido: " + method);
  }
  const auto blob = [](const json& stream) {
    return json{
        {"AClassName", "TProduto"}, {"id", 1}, {"APropertyName", "Imagem"}, {"AStream", stream}};
  };
  const struct {
    std::string method;
    json params;
    std::string message;  // "" when only the code is checked
  } cases[] = {
      {"Get", {{"AClassName", "TCidade"}, {"id", "3"}}, "Parâmetro id: esperado número inteiro"},
      {"Get", {{"AClassName", "TCidade"}, {"id", 3000000000LL}}, ""},
      {"Get", {{"AClassName", "TCidade"}, {"id", 3.5}}, ""},
      {"Delete", {{"AClassName", "TCidade"}}, "Parâmetro obrigatório ausente: id"},
      {"GetCount", {{"AClassName", 5}}, "Parâmetro AClassName: esperado texto"},
      {"GetCount", json::array({"TCidade"}), ""},
      {"Insert", {{"jObj", json::array({1})}}, "Parâmetro jObj: esperado objeto JSON"},
      {"Insert", {{"jObj", "{\"type\": \"TCidade\"}"}}, ""},
      {"DeleteArray", {{"AClassName", "TCidade"}, {"jArray", {{"id", 3}}}}, ""},
      {"SetBlobData", blob(5), ""},
      {"SetBlobData", blob("%%%"), "Parâmetro AStream: base64 inválido"},
  };
  for (const auto& c : cases) {
    const rpc::RpcError error = Refusal(c.method, c.params);
    EXPECT_EQ(error.Code(), codes::kInvalidParams) << c.method << " " << c.params;
    if (!c.message.empty()) {
      EXPECT_EQ(std::string(error.what()), c.message);
    }
  }

  // The object itself is checked field by field (every message is the unmarshaller's own test).
  EXPECT_EQ(AcmeError("Insert", {{"jObj", CityWith({{"Nome", 5}, {"UF", "PE"}})}}),
            "Campo \"Nome\" da classe \"TCidade\": esperado texto, veio número");

  const rpc::RpcError connect = ConnectError({{"customer", 5}, {"user", "ana"}, {"password", "x"}});
  EXPECT_EQ(connect.Code(), codes::kInvalidParams);
  EXPECT_STREQ(connect.what(), "Parâmetro customer: esperado texto");
  EXPECT_STREQ(ConnectError({{"customer", "ACME"}, {"user", "ana"}}).what(),
               "Parâmetro obrigatório ausente: password");
}

// The limit is the one given on the command line.
TEST_F(ServerAttacks, OversizedMessagesAreRefused) {
  const json big = {{"jsonrpc", "2.0"},
                    {"id", 1},
                    {"method", "Insert"},
                    {"params", {{"jObj", CityWith({{"Nome", std::string(kMaxMessage, 'x')}})}}}};
  const auto http = Live().ConnectHttp(kAcme);
  const auto response = http->Post(big.dump());
  EXPECT_EQ(response.status, 413);
  EXPECT_EQ(json::parse(response.body)["error"]["code"], codes::kMessageTooLarge);
  // Just under the limit is served: Validate reads the object and names what is wrong in it.
  const json fits = {{"jObj", CityWith({{"Nome", std::string(kMaxMessage - 200, 'x')}})}};
  EXPECT_STREQ(ErrorOf([&] { http->Call("Validate", fits); }).what(),
               "O valor da propriedade \"Nome\" da classe \"TCidade\" excede o tamanho máximo "
               "de 60 caracteres");
}

std::set<std::string> Tree(const fs::path& root) {
  std::set<std::string> entries;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    entries.insert(fs::relative(entry.path(), root).string());
  }
  return entries;
}

TEST_F(ServerAttacks, HostileCustomerIdsAndLoginsAreRefused) {
  const auto tree = Tree(Live().Root());
  const auto rootConf = ReadText(Live().Root() / "conn.conf");
  const auto as = [](const std::string& customer, const std::string& login,
                     const std::string& password) {
    return json{{"customer", customer}, {"user", login}, {"password", password}};
  };
  for (const std::string customer :
       {"../BETA", "..", ".", "ACME/../BETA", "/tmp", "ACME\\..\\BETA", "", "ACME\n", "ACME "}) {
    const rpc::RpcError error = ConnectError(as(customer, kAcme.login, kAcme.password));
    EXPECT_EQ(error.Code(), codes::kApplication) << customer;
    EXPECT_STREQ(error.what(), "Identificador de cliente inválido") << customer;
  }

  // A quote in the login, a wrong password, a user of another customer, a customer that does
  // not exist: one message for all, so that the answer tells nothing about which part was
  // wrong, nor who the customers are.
  for (const json& credentials :
       {as("NOPE", kAcme.login, kAcme.password), as("ACME", "ana' or '1'='1", kAcme.password),
        as("ACME", "ana'--", "x"), as("ACME", "ana\"", kAcme.password),
        as("ACME", "", kAcme.password), as("ACME", "ana", "s3nha da ana"), as("ACME", "ana", ""),
        as("ACME", "zeca", "x"), as("BETA", kAcme.login, kAcme.password)}) {
    EXPECT_STREQ(ConnectError(credentials).what(), "Usuário ou senha inválidos") << credentials;
  }
  // A refused connect leaves the socket free to try again.
  const auto client = Live().OpenWs();
  ErrorOf([&] { client->Connect(as("ACME", "ana", "errada")); });
  EXPECT_EQ(client->Connect(Credentials(kAcme)), json::object());

  EXPECT_EQ(Tree(Live().Root()), tree) << "nothing may be created outside the customers";
  EXPECT_EQ(ReadText(Live().Root() / "conn.conf"), rootConf);
}

}  // namespace
}  // namespace zo::testing
