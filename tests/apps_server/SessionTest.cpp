// Tenants and session lifetimes: each customer reaches only its own database, every method
// works over both transports, and a session that ends (idle HTTP token, closed socket) takes its
// module and database connection with it.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>

#include <zo/core/Exceptions.h>
#include "tests/apps_server/Deployment.h"
#include "tests/support/DemoDatabase.h"

namespace zo::testing {
namespace {

using namespace std::chrono_literals;

json City(const std::string& nome) {
  return {{"type", "DemoClasses.TCidade"}, {"fields", {{"Nome", nome}, {"UF", "TT"}}}};
}

int CountNamed(Remote& remote, const std::string& prefix) {
  return remote
      .Call("GetCount", {{"AClassName", "TCidade"}, {"ACondition", "Nome like '" + prefix + "%'"}})
      .get<int>();
}

class ServerTenants : public LiveServerTest {
 protected:
  static void SetUpTestSuite() { StartServer({}); }
  static void TearDownTestSuite() { StopServer(); }
};

TEST_F(ServerTenants, EachCustomerSeesOnlyItsOwnDatabase) {
  const auto acme = std::make_unique<Remote>(Live(), "ws", kAcme);
  const auto beta = std::make_unique<Remote>(Live(), "http", kBeta);
  EXPECT_EQ(acme->Call("GetCurrentDataBase"), "CustomersDB/ACME/ZO.FDB");
  EXPECT_EQ(beta->Call("GetCurrentDataBase"), "CustomersDB/BETA/ZO.FDB");
  EXPECT_EQ(acme->Call("Get", {{"AClassName", "TUser"}, {"id", 1}})["fields"]["Login"], "ana");
  EXPECT_EQ(beta->Call("Get", {{"AClassName", "TUser"}, {"id", 1}})["fields"]["Login"], "rui");
  EXPECT_EQ(CountNamed(*beta, "Campinas"), 0);  // ACME's sample data

  // Rows land with their own customer.
  acme->Call("Insert", {{"jObj", City("TenantACME")}});
  EXPECT_EQ(CountNamed(*acme, "TenantACME"), 1);
  EXPECT_EQ(CountNamed(*beta, "TenantACME"), 0);
}

// The module's methods over WebSocket and over HTTP alike: parameters, results and errors.
TEST_F(ServerTenants, EveryWriteAndAnActionWorkOverBothTransports) {
  for (const std::string transport : {"ws", "http"}) {
    const auto remote = std::make_unique<Remote>(Live(), transport, kAcme);
    const auto get = [&](int id) {
      return remote->Call("Get", {{"AClassName", "TCidade"}, {"id", id}});
    };
    const std::string nome = "Recife-" + transport;
    const int id = remote->Call("Insert", {{"jObj", City(nome)}});
    json city = get(id);
    EXPECT_EQ(city["type"], "DemoClasses.TCidade");
    EXPECT_EQ(city["fields"]["Nome"], nome);
    EXPECT_TRUE(get(99999).is_null());
    // Update stores only when the client asks for a callback.
    city["fields"]["Nome"] = nome + "Antigo";
    EXPECT_TRUE(remote->Call("Update", {{"jObj", city}}).is_null());
    EXPECT_EQ(get(id)["fields"]["Nome"], nome);
    EXPECT_TRUE(remote->Call("Update", {{"jObj", city}, {"Callback", true}}).is_null());
    EXPECT_EQ(get(id)["fields"]["Nome"], nome + "Antigo");
    EXPECT_TRUE(remote->Call("Delete", {{"AClassName", "TCidade"}, {"id", id}}).is_null());
    EXPECT_TRUE(get(id).is_null());

    EXPECT_TRUE(remote->Call("RecalcularTotais", {{"Callback", true}}).is_number());
    const auto& commands = remote->Commands();  // HTTP has no way back
    EXPECT_EQ(transport == "ws",
              std::any_of(commands.begin(), commands.end(),
                          [](const json& c) {
                            return c["type"] == "ZoCore.TWaitScreenCommandTitle" &&
                                   c["fields"]["Text"] == "Recalculando totais dos pedidos";
                          }))
        << json(commands);
    EXPECT_STREQ(ErrorOf([&] {
                   remote->Call("GetRecords", {{"ProviderName", "dspNada"}});
                 }).what(),
                 "Provedor não encontrado: dspNada");
    EXPECT_TRUE(remote->Call("Release").is_null());
  }
}

// A server with a one-second idle timeout for HTTP sessions and the debug log, which tells when
// a session is closed.
class ServerSessionEnd : public LiveServerTest {
 protected:
  static void SetUpTestSuite() {
    StartServer({.seedAcme = false, .serverArgs = {"--idle-timeout", "1", "--log-level", "debug"}});
  }
  static void TearDownTestSuite() { StopServer(); }

  // Embedded Firebird lets one process at a time hold a database file: this process can open
  // the customer's database only once the server has let go of it.
  static std::string OpenFromHere(const Customer& customer) {
    try {
      OpenConnection((Live().Root() / "CustomersDB" / customer.id / "ZO.FDB").string())->Close();
      return "";
    } catch (const std::exception& e) {
      return e.what();
    }
  }
  // The session's end is logged just before its module goes: give the module a moment.
  static std::string OpenFromHereSoon(const Customer& customer) {
    std::string error = OpenFromHere(customer);
    for (int i = 0; i < 100 && !error.empty(); ++i) {
      std::this_thread::sleep_for(50ms);
      error = OpenFromHere(customer);
    }
    return error;
  }
};

TEST_F(ServerSessionEnd, IdleHttpSessionsExpireAndClosedSocketsEndWithTheirModules) {
  const auto http = Live().ConnectHttp(kAcme);
  const json params = {{"AClassName", "TUser"}};
  EXPECT_EQ(http->Call("GetCount", params), 1);
  EXPECT_NE(OpenFromHere(kAcme), "") << "the session's module holds the database";
  // WebSocket sessions live as long as their socket, however idle.
  const auto ws = Live().ConnectWs(kBeta);

  EXPECT_TRUE(Live().Server().WaitForLog("session closed (expired): customer=ACME user=ana", 10s))
      << Live().Server().Log();
  const rpc::RpcError expired = ErrorOf([&] { http->Call("GetCount", params); });
  EXPECT_EQ(expired.Code(), rpc::codes::kNotConnected);
  EXPECT_STREQ(expired.what(), "Unknown or expired session");
  EXPECT_EQ(OpenFromHereSoon(kAcme), "") << "the expired module must have closed its connection";
  EXPECT_EQ(ws->Call("GetCount", params), 1);
  EXPECT_EQ(Live().ConnectHttp(kAcme)->Call("GetCount", params), 1);  // a new session opens it

  EXPECT_NE(OpenFromHere(kBeta), "");
  ws->Close();
  EXPECT_TRUE(Live().Server().WaitForLog(
      "session closed (closed by the client): customer=BETA user=rui", 10s))
      << Live().Server().Log();
  EXPECT_EQ(OpenFromHereSoon(kBeta), "");
}

}  // namespace
}  // namespace zo::testing
