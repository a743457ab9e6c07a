// Hostile and broken input: each gets a clear error, changes nothing, and a client that was
// connected all along goes on being served.

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include <zo/core/Exceptions.h>
#include "tests/apps_server/Remote.h"

namespace zo::testing {
namespace {

namespace codes = rpc::codes;
namespace fs = std::filesystem;

constexpr int kMaxMessage = 256 * 1024;

class ServerBadInput : public LiveServerTest {
 protected:
  static void SetUpTestSuite() {
    StartServer({.serverArgs = {"--max-message", std::to_string(kMaxMessage)}});
  }
  static void TearDownTestSuite() { StopServer(); }

  void SetUp() override {
    LiveServerTest::SetUp();
    witness_ = Live().ConnectWs(kBeta);
    witnessCount_ = WitnessCount();
    acme_ = Live().ConnectWs(kAcme);
    cities_ = CityCount();
  }
  void TearDown() override {
    if (!witness_) return;
    EXPECT_EQ(WitnessCount(), witnessCount_) << "the other client must still be served";
    EXPECT_EQ(CityCount(), cities_) << "bad input must change nothing";
  }

  int WitnessCount() { return witness_->Call("GetCount", {{"AClassName", "TUser"}}).get<int>(); }
  int CityCount() {
    return Live().ConnectHttp(kAcme)->Call("GetCount", {{"AClassName", "TCidade"}}).get<int>();
  }
  rpc::RpcError AcmeError(const std::string& method, const json& params) {
    return ErrorOf([&] { acme_->Call(method, params); });
  }
  rpc::RpcError ConnectError(const json& credentials) {
    return ErrorOf([&] { Live().OpenWs()->Connect(credentials); });
  }

  std::unique_ptr<rpc::RpcClient> witness_;
  std::unique_ptr<rpc::RpcClient> acme_;
  int witnessCount_ = 0;
  int cities_ = 0;
};

json ReceiveJson(rpc::RpcClient& client) { return json::parse(client.ReceiveText()); }

json CityWith(const json& fields) { return {{"type", "DemoClasses.TCidade"}, {"fields", fields}}; }

TEST_F(ServerBadInput, MalformedJsonIsAParseErrorAndTheConnectionGoesOn) {
  acme_->SendText(R"({"jsonrpc": "2.0", "id": 1, "method": "GetCount", "params": )");
  const json reply = ReceiveJson(*acme_);
  EXPECT_EQ(reply["error"]["code"], codes::kParseError);
  EXPECT_TRUE(reply["id"].is_null());
  EXPECT_EQ(acme_->Call("GetCount", {{"AClassName", "TCidade"}}), cities_);

  const auto http = Live().ConnectHttp(kAcme);
  for (const std::string body : {"{\"jsonrpc\": \"2.0\", \"id\": 1, ", "\x01\xff",
                                 "{\"jsonrpc\": \"2.0\", \"id\": 1, \"method\": \"Get\xff\"}"}) {
    const auto response = http->Post(body);
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(json::parse(response.body)["error"]["code"], codes::kParseError) << response.body;
  }
  EXPECT_EQ(http->Call("GetCount", {{"AClassName", "TCidade"}}), cities_);
}

TEST_F(ServerBadInput, UnknownClassesAndMethodsAreNamedInTheError) {
  rpc::RpcError error = AcmeError("Get", {{"AClassName", "TNada"}, {"id", 1}});
  EXPECT_EQ(error.Code(), codes::kApplication);
  EXPECT_STREQ(error.what(), "Classe não registrada \"TNada\"");
  EXPECT_STREQ(AcmeError("GetCount", {{"AClassName", "TNada"}}).what(), "Item not found");
  EXPECT_STREQ(AcmeError("Insert", {{"jObj", {{"type", "DemoClasses.TNada"}}}}).what(),
               "Classe desconhecida no JSON: \"DemoClasses.TNada\"");
  // A registered class that the module never bound to a DAO.
  EXPECT_STREQ(AcmeError("Insert", {{"jObj", {{"type", "DemoClasses.TEndereco"}}}}).what(),
               "Método: TZoCustomServerModule.getDAO. Não há associação para a classe TEndereco");

  for (const std::string method : {"Nada", "get", "DropDatabase", ""}) {
    error = AcmeError(method, json::object());
    EXPECT_EQ(error.Code(), codes::kMethodNotFound) << method;
    EXPECT_EQ(std::string(error.what()), "Método desconhecido: " + method);
  }
  EXPECT_EQ(ErrorOf([&] { Live().ConnectHttp(kAcme)->Call("Nada"); }).Code(),
            codes::kMethodNotFound);
}

TEST_F(ServerBadInput, WrongArgumentTypesAreRefusedBeforeAnythingRuns) {
  const auto invalid = [&](const std::string& method, const json& params) {
    const rpc::RpcError error = AcmeError(method, params);
    EXPECT_EQ(error.Code(), codes::kInvalidParams) << method << " " << params;
    return std::string(error.what());
  };
  EXPECT_EQ(invalid("Get", {{"AClassName", "TCidade"}, {"id", "3"}}),
            "Parâmetro id: esperado número inteiro");
  invalid("Get", {{"AClassName", "TCidade"}, {"id", 3000000000LL}});
  invalid("Get", {{"AClassName", "TCidade"}, {"id", 3.5}});
  EXPECT_EQ(invalid("Delete", {{"AClassName", "TCidade"}}), "Parâmetro obrigatório ausente: id");
  EXPECT_EQ(invalid("GetCount", {{"AClassName", 5}}), "Parâmetro AClassName: esperado texto");
  EXPECT_EQ(invalid("Insert", {{"jObj", json::array({1})}}),
            "Parâmetro jObj: esperado objeto JSON");
  invalid("Insert", {{"jObj", "{\"type\": \"TCidade\"}"}});
  invalid("DeleteArray", {{"AClassName", "TCidade"}, {"jArray", {{"id", 3}}}});
  invalid("SetBlobData",
          {{"AClassName", "TProduto"}, {"id", 1}, {"APropertyName", "Imagem"}, {"AStream", 5}});
  EXPECT_EQ(
      invalid(
          "SetBlobData",
          {{"AClassName", "TProduto"}, {"id", 1}, {"APropertyName", "Imagem"}, {"AStream", "%%%"}}),
      "Parâmetro AStream: base64 inválido");
  invalid("GetCount", json::array({"TCidade"}));

  // The object itself is checked field by field.
  EXPECT_STREQ(AcmeError("Insert", {{"jObj", CityWith({{"Nome", 5}, {"UF", "PE"}})}}).what(),
               "Campo \"Nome\" da classe \"TCidade\": esperado texto, veio número");
  EXPECT_STREQ(AcmeError("Insert", {{"jObj", CityWith({{"Nome", "X"}, {"Bairro", "Y"}})}}).what(),
               "Campo desconhecido \"Bairro\" na classe \"TCidade\"");
  EXPECT_STREQ(AcmeError("Update", {{"jObj", nullptr}, {"Callback", true}}).what(),
               "Método: TZoCustomServerModule.getClass. Objeto inválido");

  const rpc::RpcError connect = ConnectError({{"customer", 5}, {"user", "ana"}, {"password", "x"}});
  EXPECT_EQ(connect.Code(), codes::kInvalidParams);
  EXPECT_STREQ(connect.what(), "Parâmetro customer: esperado texto");
  EXPECT_STREQ(ConnectError({{"customer", "ACME"}, {"user", "ana"}}).what(),
               "Parâmetro obrigatório ausente: password");
}

TEST_F(ServerBadInput, OversizedMessagesAreRefusedAndCloseOnlyTheirConnection) {
  const json big = {{"jsonrpc", "2.0"},
                    {"id", 1},
                    {"method", "Insert"},
                    {"params", {{"jObj", CityWith({{"Nome", std::string(kMaxMessage, 'x')}})}}}};
  acme_->SendText(big.dump());
  const json reply = ReceiveJson(*acme_);
  EXPECT_EQ(reply["error"]["code"], codes::kMessageTooLarge);
  EXPECT_TRUE(reply["id"].is_null());
  try {
    acme_->ReceiveText();
    ADD_FAILURE() << "the socket should have been closed";
  } catch (const Exception& e) {
    EXPECT_NE(std::string(e.what()).find("1009"), std::string::npos) << e.what();
  }

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

TEST_F(ServerBadInput, HostileCustomerIdsAndLoginsAreRefused) {
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

TEST_F(ServerBadInput, CallsBeforeConnectAreRefused) {
  const json params = {{"AClassName", "TCidade"}};
  EXPECT_EQ(ErrorOf([&] { Live().OpenWs()->Call("GetCount", params); }).Code(),
            codes::kNotConnected);

  const auto http = Live().OpenHttp();
  EXPECT_EQ(ErrorOf([&] { http->Call("GetCount", params); }).Code(), codes::kNotConnected);
  http->SetSessionToken(std::string(64, 'a'));
  EXPECT_EQ(ErrorOf([&] { http->Call("GetCount", params); }).Code(), codes::kNotConnected);

  http->Connect(Credentials(kAcme));
  const std::string token = http->SessionToken();
  EXPECT_EQ(http->Call("GetCount", params), cities_);
  http->Disconnect();
  http->SetSessionToken(token);
  EXPECT_EQ(ErrorOf([&] { http->Call("GetCount", params); }).Code(), codes::kNotConnected);
}

}  // namespace
}  // namespace zo::testing
