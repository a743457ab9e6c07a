// The built server driven as an attacker would: conditions that try to reach other tables,
// users that try to take over others, database names that probe the server's files, NULs.
// Each attack fails with a clear error, changes nothing, and another client is still served.

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "tests/apps_server/Remote.h"

namespace zo::testing {
namespace {

namespace codes = rpc::codes;

const Customer kZeca{kAcme.id, "zeca", "s3nha do Zeca"};

class ServerAttacks : public LiveServerTest {
 protected:
  static void SetUpTestSuite() { StartServer({.seedAcme = false, .serverArgs = {}}); }
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
  std::string AcmeError(const std::string& method, const json& params) {
    const rpc::RpcError error = ErrorOf([&] { acme_->Call(method, params); });
    EXPECT_EQ(error.Code(), codes::kApplication) << method << " " << params;
    return error.what();
  }

  std::unique_ptr<rpc::RpcClient> witness_;
  std::unique_ptr<rpc::RpcClient> acme_;
  std::string before_;
};

TEST_F(ServerAttacks, InjectedConditionsAreRefusedByEveryMethodThatTakesOne) {
  const std::vector<std::string> attacks = {
      "Codigo = 0/**/union/**/select/**/ID,SENHA_HASH/**/from/**/USUARIOS",  // comments
      "Codigo = 1/**/or/**/1=1",
      "Codigo\t=\t0\tor\t1=1",                                                  // tabs
      "Codigo = (select first 1 ID from USUARIOS where SENHA_HASH like 'p%')",  // subquery
      "Codigo = 0 union select ID, SENHA_HASH from USUARIOS",                   // union
      "Nome = '' || (select first 1 SENHA_HASH from USUARIOS)",                 // concatenation
      "Nome = ''||SENHA_HASH||''",
      "Codigo = cast((select count(*) from USUARIOS) as integer)",  // casts
      "Codigo = 1 or 1 = 1",                                        // tautology
      std::string("Nome = 'x\0' or 1=1 --'", 22),                   // NUL
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
                                         logged + 43));
}

TEST_F(ServerAttacks, AnOrdinaryUserCannotTakeOverOtherUsers) {
  // The administrator makes an ordinary user with a password.
  const int zeca = acme_->Call(
      "Insert",
      {{"jObj", {{"type", "ZoCore.TUser"}, {"fields", {{"Login", "zeca"}, {"Nome", "Zeca"}}}}}});
  acme_->Call("SetUserPassword", {{"id", zeca}, {"APassword", kZeca.password}});
  const auto attacker = Live().ConnectWs(kZeca);
  const json ana = attacker->Call("GetByCondition",
                                  {{"AClassName", "TUser"}, {"ACondition", "Login = 'ana'"}})[0];
  json renamed = ana;
  renamed["fields"]["Login"] = "zeca";
  const std::vector<std::pair<std::string, json>> attacks = {
      {"Update", {{"jObj", renamed}, {"Callback", true}}},
      {"Delete", {{"AClassName", "TUser"}, {"id", ana["fields"]["Codigo"]}}},
      {"DeleteArray", {{"AClassName", "TUser"}, {"jArray", {ana["fields"]["Codigo"]}}}},
      {"Insert",
       {{"jObj", {{"type", "ZoCore.TUser"}, {"fields", {{"Login", "mole"}, {"Nome", "M"}}}}}}},
      {"SetUserRole", {{"id", zeca}, {"ARole", "admin"}}},
      {"SetUserPassword", {{"id", ana["fields"]["Codigo"]}, {"APassword", "minha agora"}}},
  };
  for (const auto& [method, params] : attacks) {
    const rpc::RpcError error = ErrorOf([&] { attacker->Call(method, params); });
    EXPECT_TRUE(std::string(error.what()).starts_with("Acesso negado: ")) << method << error.what();
  }
  EXPECT_NO_THROW(Live().ConnectWs(kAcme)) << "ana still logs in with her own password";
  EXPECT_GE(Live().Server().CountInLog("warning: refused authorization ACME/zeca"), 6);
  acme_->Call("Delete", {{"AClassName", "TUser"}, {"id", zeca}});
}

TEST_F(ServerAttacks, DatabaseNamesTellNothingAboutTheServersFiles) {
  for (const std::string name : {"/etc/hostname", "/etc/no-such-file", "..", "../BETA/ZO.FDB",
                                 "CustomersDB/BETA/ZO.FDB", "conn.conf", "ZO.FDB\n"}) {
    EXPECT_EQ(AcmeError("SetCurrentDataBase", {{"DataBaseName", name}}),
              "base de dados indisponível")
        << name;
    EXPECT_EQ(acme_->Call("GetCurrentDataBase"), "CustomersDB/ACME/ZO.FDB");
    EXPECT_NO_THROW(acme_->Call("GetCount", {{"AClassName", "TCidade"}})) << "still usable";
  }
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

}  // namespace
}  // namespace zo::testing
