// The default authorization policy, seen from an ordinary user and from an administrator of
// the same database, and the fields a client can never set.

#include <gtest/gtest.h>

#include <zo/platform/db/DBXCommand.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/server/UserPasswords.h>
#include <zo/server/UserRoles.h>

#include "tests/server/ServerTestSupport.h"
#include "tests/support/DemoDatabase.h"
#include "tests/support/RecordingCallback.h"

namespace zo::testing {
namespace {

using nlohmann::json;

class AuthorizationTest : public ModuleTest {
 protected:
  AuthorizationTest() {
    WriteDefaultConf();
    const auto setup = OpenConnection(db.Path());
    EnsurePasswordColumn(setup->DBXConnection());
    EnsureRoleColumn(setup->DBXConnection());
    ExecuteSql(*setup,
               "insert into USUARIOS(ID, LOGIN, NOME, PAPEL) values(1, 'chefe', 'Chefe', 'admin')");
    ExecuteSql(*setup, "insert into USUARIOS(ID, LOGIN, NOME) values(2, 'ana', 'Ana')");
    ExecuteSql(*setup, "alter sequence GEN_USUARIOS restart with 10");
    admin = MakeModule("", "chefe");
    user = MakeModule("", "ana");
  }
  // Login:role of every user, to see that refused calls changed nothing.
  std::string Users() {
    return QueryString(*admin->SQLConnection(),
                       "select list(ID || ':' || LOGIN || ':' || coalesce(PAPEL, ''), ',') from "
                       "(select * from USUARIOS order by ID)");
  }
  // The message of a call ("" when it succeeds).
  std::string Outcome(TRecordingModule& module, const std::string& method, const json& params) {
    return MessageOf([&] { module.CallMethod(method, params, &callback); });
  }
  static json UserJson(int id, const std::string& login) {
    return ObjectJson("ZoCore.TUser", {{"Codigo", id}, {"Login", login}, {"Nome", login}});
  }

  RecordingCallback callback;
  std::unique_ptr<TRecordingModule> admin;
  std::unique_ptr<TRecordingModule> user;
};

struct Case {
  std::string method;
  json params;
  bool allowed;
};

TEST_F(AuthorizationTest, OrdinaryUsersReadNamesAndChangeOnlyTheirOwnPassword) {
  const std::string before = Users();
  const Case cases[] = {
      {"Get", {{"AClassName", "TUser"}, {"id", 1}}, true},
      {"GetByCondition", {{"AClassName", "TUser"}, {"ACondition", "Login = 'chefe'"}}, true},
      {"GetStrList", {{"AClassName", "TUser"}, {"AProperties", "Login,Nome"}}, true},
      {"GetCount", {{"AClassName", "TUser"}}, true},
      {"GetUserRole", {{"id", 2}}, true},
      {"SetUserPassword", {{"id", 2}, {"APassword", "nova"}}, true},
      {"Insert",
       {{"jObj", ObjectJson("DemoClasses.TCidade", {{"Nome", "Natal"}, {"UF", "RN"}})}},
       true},
      {"Insert", {{"jObj", UserJson(-1, "intruso")}}, false},
      {"Update", {{"jObj", UserJson(1, "ana2")}, {"Callback", true}}, false},
      {"Update", {{"jObj", UserJson(2, "chefe2")}, {"Callback", true}}, false},
      {"Delete", {{"AClassName", "TUser"}, {"id", 1}}, false},
      {"DeleteArray", {{"AClassName", "TUser"}, {"jArray", {1, 2}}}, false},
      {"SetUserRole", {{"id", 2}, {"ARole", "admin"}}, false},
      {"SetUserPassword", {{"id", 1}, {"APassword", "minha"}}, false},
      {"GetUserRole", {{"id", 1}}, false},
  };
  for (const auto& [method, params, allowed] : cases) {
    const std::string message = Outcome(*user, method, params);
    if (allowed) {
      EXPECT_EQ(message, "") << method << " " << params;
    } else {
      EXPECT_TRUE(message.starts_with("Acesso negado: ")) << method << " " << message;
    }
  }
  EXPECT_EQ(Users(), before);
  const auto hash = LoadPasswordHash(user->SQLConnection()->DBXConnection(), "ana");
  ASSERT_TRUE(hash.has_value());
  EXPECT_TRUE(VerifyPassword("nova", *hash));
}

TEST_F(AuthorizationTest, AdministratorsManageUsersButKeepTheLastAdministrator) {
  EXPECT_EQ(Outcome(*admin, "Update", {{"jObj", UserJson(2, "ana.souza")}, {"Callback", true}}),
            "");
  const int zeca = admin->CallMethod("Insert", {{"jObj", UserJson(-1, "zeca")}}, nullptr);
  EXPECT_EQ(Outcome(*admin, "SetUserPassword", {{"id", zeca}, {"APassword", "z"}}), "");
  EXPECT_EQ(Users(), "1:chefe:admin,2:ana.souza:," + std::to_string(zeca) + ":zeca:");

  const std::string lastAdmin = "Acesso negado: o último administrador";
  EXPECT_TRUE(Outcome(*admin, "SetUserRole", {{"id", 1}, {"ARole", ""}}).starts_with(lastAdmin));
  EXPECT_TRUE(
      Outcome(*admin, "Delete", {{"AClassName", "TUser"}, {"id", 1}}).starts_with(lastAdmin));
  EXPECT_TRUE(Outcome(*admin, "DeleteArray", {{"AClassName", "TUser"}, {"jArray", {1, zeca}}})
                  .starts_with(lastAdmin));
  EXPECT_EQ(Users(), "1:chefe:admin,2:ana.souza:," + std::to_string(zeca) + ":zeca:");

  // With a second administrator the first may step down, and the second then stays.
  EXPECT_EQ(Outcome(*admin, "SetUserRole", {{"id", 2}, {"ARole", "admin"}}), "");
  EXPECT_EQ(Outcome(*admin, "SetUserRole", {{"id", 1}, {"ARole", ""}}), "");
  EXPECT_FALSE(admin->IsAdmin());
  EXPECT_TRUE(Outcome(*admin, "Delete", {{"AClassName", "TUser"}, {"id", zeca}})
                  .starts_with("Acesso negado: "));
  EXPECT_EQ(Outcome(*admin, "SetUserRole", {{"id", 2}, {"ARole", "chefe"}}).substr(0, 15),
            "Acesso negado: ");
  EXPECT_EQ(Users(), "1:chefe:,2:ana.souza:admin," + std::to_string(zeca) + ":zeca:");
}

TEST_F(AuthorizationTest, KeysStampsAndAuthorsAreTheServers) {
  // A remote insert always makes a new record: the key sent is ignored.
  const int id = user->CallMethod(
      "Insert",
      {{"jObj", ObjectJson("DemoClasses.TCidade", {{"Codigo", 999}, {"Nome", "X"}, {"UF", "PE"}})}},
      nullptr);
  EXPECT_NE(id, 999);
  EXPECT_EQ(QueryString(*user->SQLConnection(), "select count(*) from CIDADES where ID = 999"),
            "0");
  // Nor do the keys of list items: a stored item of another record is never taken over.
  const auto categoria = [](const std::string& nome, json filhas) {
    return ObjectJson("DemoClasses.TCategoria", {{"Nome", nome}, {"Filhas", std::move(filhas)}});
  };
  const int mae = user->CallMethod(
      "Insert", {{"jObj", categoria("Mãe", {categoria("Filha", json::array())})}}, nullptr);
  const std::string filha =
      QueryString(*user->SQLConnection(), "select ID from CATEGORIAS where NOME = 'Filha'");
  json roubo = categoria("Outra", json::array());
  roubo["fields"]["Filhas"].push_back(
      ObjectJson("DemoClasses.TCategoria", {{"Codigo", std::stoi(filha)}, {"Nome", "Roubada"}}));
  user->CallMethod("Insert", {{"jObj", roubo}}, nullptr);
  EXPECT_EQ(QueryString(*user->SQLConnection(),
                        "select PAI_ID || NOME from CATEGORIAS where ID = " + filha),
            std::to_string(mae) + "Filha");

  const json cliente = ObjectJson("DemoClasses.TCliente", {{"Nome", "Bia"}, {"Email", "b@x"}});
  const int clienteId = user->CallMethod("Insert", {{"jObj", cliente}}, nullptr);
  const auto stored = [&] {
    return QueryString(*user->SQLConnection(),
                       "select USUARIO_ID || ' ' || DATAHORA_INC from CLIENTES where ID = " +
                           std::to_string(clienteId));
  };
  const std::string original = stored();
  json forged = user->CallMethod("Get", {{"AClassName", "TCliente"}, {"id", clienteId}}, nullptr);
  forged["fields"]["Nome"] = "Bia Lima";
  forged["fields"]["UserID"] = 1;
  forged["fields"]["DataHoraInclusao"] = "2001-01-01T00:00:00.000";
  user->CallMethod("Update", {{"jObj", forged}}, &callback);
  EXPECT_EQ(stored(), original);
  EXPECT_EQ(QueryString(*user->SQLConnection(),
                        "select NOME from CLIENTES where ID = " + std::to_string(clienteId)),
            "Bia Lima");
}

TEST(UserPasswordsTest, HashesVerifyOnlyTheirOwnPassword) {
  const std::string hash = zo::HashPassword("s3nh@ forte", 1000);
  EXPECT_TRUE(zo::VerifyPassword("s3nh@ forte", hash));
  EXPECT_FALSE(zo::VerifyPassword("s3nh@ Forte", hash));
  EXPECT_NE(zo::HashPassword("s3nh@ forte", 1000), hash) << "every hash has its own salt";
  EXPECT_FALSE(zo::VerifyPassword("x", "pbkdf2-sha256$1000$zz$00"));
  EXPECT_FALSE(zo::VerifyPassword("x", ""));
  EXPECT_FALSE(zo::VerifyPassword("x", "md5$1$00$00"));
}

TEST(UserPasswordsTest, UntrustedIdentifiersAreChecked) {
  for (const char* ok : {"ACME", "cliente_01", "a-b"}) EXPECT_TRUE(zo::IsValidCustomerId(ok));
  for (const char* bad : {"", "..", "../x", "a/b", "a b", "ação", "a\\b"}) {
    EXPECT_FALSE(zo::IsValidCustomerId(bad)) << bad;
  }
  for (const char* ok : {"ana", "ana.silva@acme.com", "joao_2"}) EXPECT_TRUE(zo::IsValidLogin(ok));
  for (const char* bad : {"", "x' or '1'='1", "a;b", "a b", std::string(61, 'a').c_str()}) {
    EXPECT_FALSE(zo::IsValidLogin(bad)) << bad;
  }
}

}  // namespace
}  // namespace zo::testing
