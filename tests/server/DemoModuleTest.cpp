// The demo application's module: the products' rule and the totals action.

#include <fmt/format.h>

#include <zo/platform/db/SQLConnection.h>
#include "tests/server/ServerTestSupport.h"
#include "tests/support/RecordingCallback.h"

namespace zo::testing {
namespace {

using nlohmann::json;

class DemoModuleTest : public ModuleTest {
 protected:
  DemoModuleTest() {
    WriteDefaultConf();
    module = MakeModule();
  }
  json Call(const std::string& method, const json& params, TZoCallback* callback = nullptr) {
    return module->CallMethod(method, params, callback);
  }
  TSQLConnection& Sql() { return *module->SQLConnection(); }

  std::unique_ptr<TRecordingModule> module;
};

TEST_F(DemoModuleTest, ProductsMustBeSellable) {
  const auto produto = [](double preco, int64_t estoque, const std::string& codigo) {
    return ObjectJson("DemoClasses.TProduto", {{"Descricao", "Caneta"},
                                               {"Preco", preco},
                                               {"Estoque", estoque},
                                               {"CodigoBarras", codigo}});
  };
  const std::string precoZero = "O preço do produto \"Caneta\" deve ser maior que zero";
  const std::string semEstoque = "O estoque do produto \"Caneta\" não pode ser negativo";
  const auto codigoRuim = [](const std::string& codigo) {
    return "Código de barras inválido: \"" + codigo + "\" (8 a 14 dígitos)";
  };
  const struct {
    json obj;
    std::string message;
  } cases[] = {
      {produto(0, 1, ""), precoZero},
      {produto(1, -1, ""), semEstoque},
      {produto(1, 0, "1234567"), codigoRuim("1234567")},
      {produto(1, 0, "1234567A"), codigoRuim("1234567A")},
      {produto(1, 0, ""), ""},
      {produto(1, 0, "12345678"), ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(MessageOf([&] { Call("Validate", {{"jObj", c.obj}}); }), c.message) << c.obj;
  }
}

TEST_F(DemoModuleTest, RecalcularTotaisFixesWrongTotalsAndCanBeCancelled) {
  ExecuteSql(Sql(), "insert into CLIENTES(ID, NOME) values(1, 'Ana')");
  ExecuteSql(Sql(), "insert into PRODUTOS(ID, DESCRICAO, PRECO) values(1, 'Caneta', 10)");
  ExecuteSql(Sql(), "insert into PEDIDOS(ID, NUMERO, CLIENTE_ID, TOTAL) values(1, 101, 1, 0)");
  ExecuteSql(Sql(), "insert into PEDIDOS(ID, NUMERO, CLIENTE_ID, TOTAL) values(2, 102, 1, 7)");
  const char* item =
      "insert into ITENS_PEDIDO(ID, PEDIDO_ID, PRODUTO_ID, QUANTIDADE, PRECO_UNITARIO) "
      "values({}, {}, 1, {}, {})";
  ExecuteSql(Sql(), fmt::format(fmt::runtime(item), 1, 1, 2, 10));
  ExecuteSql(Sql(), fmt::format(fmt::runtime(item), 2, 1, 1, 5.5));
  ExecuteSql(Sql(), fmt::format(fmt::runtime(item), 3, 2, 1, 7));
  const auto total = [&](int id) {
    return std::stod(
        QueryString(Sql(), fmt::format("select TOTAL from PEDIDOS where ID = {}", id)));
  };

  RecordingCallback cancelling;
  cancelling.cancelWhen = [](const json& command) {
    return command.at("type") == "ZoCore.TWaitScreenCommandJob" &&
           command.at("fields").at("Text") == "Pedido 102";
  };
  EXPECT_THROW(Call("RecalcularTotais", json::object(), &cancelling), EAbort);
  EXPECT_EQ(total(1), 0) << "a cancelled run changes nothing";
  EXPECT_FALSE(Sql().DBXConnection().InTransaction());

  RecordingCallback callback;
  EXPECT_EQ(Call("RecalcularTotais", json::object(), &callback), 1);
  EXPECT_EQ(total(1), 25.5);
  EXPECT_EQ(total(2), 7);
  EXPECT_EQ(callback.Positions().back(), 100);
  EXPECT_EQ(Call("RecalcularTotais", json::object()), 0) << "no callback: runs quietly";
}

}  // namespace
}  // namespace zo::testing
