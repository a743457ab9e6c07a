// Every remote method of the demo application, called over WebSocket and over HTTP on a running
// zo-server, with the results read back through the server.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/json/Base64.h"
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
  int CampinasId() {
    return Call("GetByCondition", {{"AClassName", "TCidade"}, {"ACondition", "Nome = 'Campinas'"}})
        .at(0)["fields"]["Codigo"]
        .get<int>();
  }

  std::unique_ptr<Remote> remote_;
};

json City(const std::string& nome, const std::string& uf) {
  return {{"type", "DemoClasses.TCidade"}, {"fields", {{"Nome", nome}, {"UF", uf}}}};
}

json Product(const std::string& descricao, const std::string& codigoBarras, double preco) {
  return {{"type", "DemoClasses.TProduto"},
          {"fields",
           {{"Descricao", descricao},
            {"CodigoBarras", codigoBarras},
            {"Preco", preco},
            {"Estoque", 3}}}};
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

std::string Base64(const std::vector<std::uint8_t>& bytes) { return base64::Encode(bytes); }

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

TEST_P(ServerRemoteMethods, ProductRulesAndLargeObjects) {
  const rpc::RpcError refused = ErrorOf([&] {
    Call("Validate", {{"jObj", Product(Named("Brinde"), "", 0)}});
  });
  EXPECT_EQ(refused.Code(), rpc::codes::kApplication);
  EXPECT_EQ(std::string(refused.what()),
            "O preço do produto \"" + Named("Brinde") + "\" deve ser maior que zero");
  EXPECT_STREQ(ErrorOf([&] {
                 Call("Validate", {{"jObj", Product(Named("Chá"), "12ab", 3)}});
               }).what(),
               "Código de barras inválido: \"12ab\" (8 a 14 dígitos)");
  EXPECT_TRUE(Call("Validate", {{"jObj", Product(Named("Chá"), "78900001", 3)}}).is_null());

  // The products' DAO validates on Insert too, and nothing is stored.
  ErrorOf([&] { Call("Insert", {{"jObj", Product(Named("Brinde"), "", 0)}}); });
  EXPECT_EQ(Count("TProduto", "Descricao = '" + Named("Brinde") + "'"), 0);

  const std::string barcode = GetParam() == "ws" ? "7890000000011" : "7890000000028";
  const int id = Call("Insert", {{"jObj", Product(Named("Chá-mate"), barcode, 6.5)}}).get<int>();
  const auto blob = [&](const std::string& property) {
    return Call("GetBlobData",
                {{"AClassName", "TProduto"}, {"id", id}, {"APropertyName", property}});
  };
  const auto setBlob = [&](const std::string& property, const json& data) {
    Call("SetBlobData",
         {{"AClassName", "TProduto"}, {"id", id}, {"APropertyName", property}, {"AStream", data}});
  };
  EXPECT_TRUE(blob("Imagem").is_null());

  // Every byte value, over several of the column's 16 KiB segments.
  std::vector<std::uint8_t> image(70000);
  for (std::size_t i = 0; i < image.size(); ++i)
    image[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
  setBlob("Imagem", Base64(image));
  EXPECT_EQ(blob("Imagem"), Base64(image));
  // A text large object holds the bytes as they come (ASCII here: the column is Latin-1).
  const std::string sheet = "Ficha tecnica: erva-mate, 500 g";
  setBlob("FichaTecnica", Base64({sheet.begin(), sheet.end()}));
  EXPECT_EQ(blob("FichaTecnica"), Base64({sheet.begin(), sheet.end()}));
  EXPECT_EQ(Get("TProduto", id)["fields"]["FichaTecnica"], sheet);
  // No stream empties the column; it does not make it null.
  setBlob("Imagem", nullptr);
  EXPECT_EQ(blob("Imagem"), "");
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

  const json rows = Call("GetRecords", {{"ProviderName", "dspCidades"}});
  ASSERT_TRUE(rows.is_array());
  const json campinas = {{"ID", std::to_string(CampinasId())}, {"NOME", "Campinas"}, {"UF", "SP"}};
  EXPECT_NE(std::find(rows.begin(), rows.end(), campinas), rows.end());
  EXPECT_STREQ(ErrorOf([&] {
                 Call("GetRecords", {{"ProviderName", "dspNada"}});
               }).what(),
               "Provedor não encontrado: dspNada");
}

TEST_P(ServerRemoteMethods, DatabaseSwitchStaysInTheCustomerDirectory) {
  const std::string own = "CustomersDB/ACME/ZO.FDB";
  const int campinas = CampinasId();
  EXPECT_EQ(Call("GetCurrentDataBase"), own);
  // Another customer's file is refused, and the client goes on with its own.
  EXPECT_STREQ(ErrorOf([&] {
                 Call("SetCurrentDataBase", {{"DataBaseName", "CustomersDB/BETA/ZO.FDB"}});
               }).what(),
               "base de dados indisponível");
  EXPECT_EQ(Call("GetCurrentDataBase"), own);
  EXPECT_EQ(Count("TCidade", "Nome = 'Campinas'"), 1);

  // An empty name closes this client's connection, and no other client's.
  Call("SetCurrentDataBase", {{"DataBaseName", ""}});
  EXPECT_EQ(ErrorOf([&] { Count("TCidade", ""); }).Code(), rpc::codes::kApplication);
  EXPECT_TRUE(Get("TCidade", campinas).is_null());  // Get answers null on any failure
  const auto other = ConnectRemote(Live(), GetParam(), kAcme);
  EXPECT_EQ(other->Call("Get", {{"AClassName", "TCidade"}, {"id", campinas}})["fields"]["Nome"],
            "Campinas");

  Call("SetCurrentDataBase", {{"DataBaseName", "ZO.FDB"}});
  EXPECT_EQ(Get("TCidade", campinas)["fields"]["Nome"], "Campinas");
  EXPECT_TRUE(Call("Release").is_null());
}

INSTANTIATE_TEST_SUITE_P(Transports, ServerRemoteMethods, ::testing::Values("ws", "http"),
                         [](const auto& info) { return info.param; });

}  // namespace
}  // namespace zo::testing
