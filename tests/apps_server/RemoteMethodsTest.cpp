// Every remote method of the demo application, called over WebSocket and over HTTP on a running
// zo-server, with the results read back through the server.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/apps_server/Remote.h"

namespace zo::testing {
namespace {

class ServerRemoteMethods : public LiveServerTest,
                            public ::testing::WithParamInterface<std::string> {
 protected:
  static void SetUpTestSuite() { StartServer({}); }
  static void TearDownTestSuite() { StopServer(); }

  void SetUp() override {
    LiveServerTest::SetUp();
    remote_ = ConnectRemote(Live(), GetParam(), kAcme);
  }

  json Call(const std::string& method, const json& params = json::object()) {
    return remote_->Call(method, params);
  }
  json Get(const std::string& className, int id) {
    return Call("Get", {{"AClassName", className}, {"id", id}});
  }
  int Count(const std::string& className, const std::string& condition) {
    return Call("GetCount", {{"AClassName", className}, {"ACondition", condition}}).get<int>();
  }
  // Names differ per transport: both runs share the suite's database. No blanks: condition
  // values cannot hold them.
  std::string Named(const std::string& name) const { return name + "-" + GetParam(); }

  std::unique_ptr<Remote> remote_;
};

json City(const std::string& nome, const std::string& uf) {
  return {{"type", "DemoClasses.TCidade"}, {"fields", {{"Nome", nome}, {"UF", uf}}}};
}

// An order of customer 1 (sample data) with two items of the sample products 1 and 2.
json Order(int numero) {
  const auto item = [](int produto, double quantidade, double preco) {
    return json{
        {"type", "DemoClasses.TItemPedido"},
        {"fields", {{"Produto", produto}, {"Quantidade", quantidade}, {"PrecoUnitario", preco}}}};
  };
  return {{"type", "DemoClasses.TPedido"},
          {"fields",
           {{"Numero", numero},
            {"Cliente", {{"type", "DemoClasses.TCliente"}, {"fields", {{"Codigo", 1}}}}},
            {"DataEntrega", "2026-03-05"},
            {"Status", 1},
            {"Total", 0},
            {"Itens", {item(1, 2, 5), item(2, 3, 7.5)}}}}};
}

TEST_P(ServerRemoteMethods, CityGoesThroughEveryReadAndWrite) {
  const std::string uf = GetParam() == "ws" ? "WS" : "HT";
  const std::string condition = "UF = '" + uf + "'";
  const int first = Call("Insert", {{"jObj", City(Named("Recife"), uf)}}).get<int>();
  const int second = Call("Insert", {{"jObj", City(Named("Olinda"), uf)}}).get<int>();
  const int third = Call("Insert", {{"jObj", City(Named("Caruaru"), uf)}}).get<int>();
  EXPECT_GT(first, 0);
  EXPECT_LT(first, second);
  EXPECT_LT(second, third);

  json city = Get("TCidade", first);
  EXPECT_EQ(city["type"], "DemoClasses.TCidade");
  EXPECT_EQ(city["fields"]["Codigo"], first);
  EXPECT_EQ(city["fields"]["Nome"], Named("Recife"));
  EXPECT_TRUE(Get("TCidade", 99999).is_null());

  const json found = Call("GetByCondition", {{"AClassName", "TCidade"},
                                             {"ACondition", "Nome = '" + Named("Olinda") + "'"}});
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0]["fields"]["Codigo"], second);
  EXPECT_EQ(Count("TCidade", condition), 3);
  EXPECT_EQ(Call("GetStrList", {{"AClassName", "TCidade"},
                                {"AProperties", "Nome,UF"},
                                {"ACondition", "Codigo = " + std::to_string(first)}}),
            "|" + std::to_string(first) + "=" + Named("Recife") + "," + uf + "| ");

  const auto next = [&](int current, int tipo) {
    return Call("GetNextID", {{"currentID", current},
                              {"AClassName", "TCidade"},
                              {"ATipoNext", tipo},
                              {"ACondition", condition}})
        .get<int>();
  };
  EXPECT_EQ(next(0, 0), first);
  EXPECT_EQ(next(first, 2), second);
  EXPECT_EQ(next(third, 1), second);
  EXPECT_EQ(next(0, 3), third);
  EXPECT_EQ(next(third, 2), third);  // no row after the last: the current one

  // Update stores only when the client asks for a callback.
  city["fields"]["Nome"] = Named("RecifeAntigo");
  EXPECT_TRUE(Call("Update", {{"jObj", city}}).is_null());
  EXPECT_EQ(Get("TCidade", first)["fields"]["Nome"], Named("Recife"));
  EXPECT_TRUE(Call("Update", {{"jObj", city}, {"Callback", true}}).is_null());
  EXPECT_EQ(Get("TCidade", first)["fields"]["Nome"], Named("RecifeAntigo"));

  EXPECT_TRUE(Call("Delete", {{"AClassName", "TCidade"}, {"id", first}}).is_null());
  EXPECT_TRUE(Get("TCidade", first).is_null());
  // Identifiers may come as numbers or as their text.
  Call(
      "DeleteArray",
      {{"AClassName", "TCidade"}, {"jArray", {second, std::to_string(third)}}, {"Callback", true}});
  EXPECT_EQ(Count("TCidade", condition), 0);
}

TEST_P(ServerRemoteMethods, OrderWithItemsActionAndDataSet) {
  const int numero = GetParam() == "ws" ? 7001 : 7002;
  const int id = Call("Insert", {{"jObj", Order(numero)}}).get<int>();
  const json order = Get("TPedido", id);
  ASSERT_TRUE(order.is_object());
  const json& fields = order["fields"];
  EXPECT_EQ(fields["Numero"], numero);
  EXPECT_EQ(fields["Cliente"]["fields"]["Nome"], "Mercadinho da Ana");
  EXPECT_EQ(fields["DataEntrega"], "2026-03-05");
  EXPECT_EQ(fields["Status"], 1);
  EXPECT_GT(fields["UserID"].get<int>(), 0);  // stamped with the connected user
  ASSERT_EQ(fields["Itens"].size(), 2u);
  EXPECT_EQ(fields["Itens"][1]["fields"]["Pedido"], id);
  EXPECT_EQ(fields["Itens"][1]["fields"]["Quantidade"], 3.0);

  const json changed = Call("RecalcularTotais", {{"Callback", true}});
  EXPECT_GE(changed.get<int>(), 1);
  EXPECT_DOUBLE_EQ(Get("TPedido", id)["fields"]["Total"].get<double>(), 2 * 5 + 3 * 7.5);
  if (GetParam() == "ws") {
    const auto& commands = remote_->Commands();
    EXPECT_TRUE(std::any_of(commands.begin(), commands.end(), [](const json& command) {
      return ShortType(command) == "TWaitScreenCommandTitle" &&
             command["fields"]["Text"] == "Recalculando totais dos pedidos";
    })) << json(commands);
  }

  EXPECT_STREQ(ErrorOf([&] {
                 Call("GetRecords", {{"ProviderName", "dspNada"}});
               }).what(),
               "Provedor não encontrado: dspNada");
  EXPECT_TRUE(Call("Release").is_null());
}

INSTANTIATE_TEST_SUITE_P(Transports, ServerRemoteMethods, ::testing::Values("ws", "http"),
                         [](const auto& info) { return info.param; });

}  // namespace
}  // namespace zo::testing
