// Aggregated lists: written with their references, synchronised on update, loaded (with their
// items' members and lists), deleted before their owner; nested-set trees.
#include <zo/core/Exceptions.h>
#include <zo/platform/json/JSONMarshal.h>

#include <nlohmann/json.hpp>
#include "tests/persistence/PersistenceTestSupport.h"

namespace zo::testing {
namespace {

using demo::TCategoria;
using demo::TCliente;
using demo::TItemPedido;
using demo::TPedido;

class ListsTest : public PersistenceTest {
 protected:
  ListsTest() {
    TCliente cliente;
    cliente.Nome = "Ana";
    clienteId_ = InsertDataObject(Conn(), cliente);
    produtoId_ = InsertProduto("Caneta");
  }
  std::string ItemRows(int32_t pedidoId) {
    return Scalar(fmt::format(
        "SELECT LIST(ID || ':' || CAST(QUANTIDADE AS INTEGER), ' ') FROM (SELECT * FROM "
        "ITENS_PEDIDO WHERE PEDIDO_ID = {} ORDER BY ID)",
        pedidoId));
  }
  // The statements that changed something, in order.
  std::vector<std::string> Writes() {
    std::vector<std::string> writes;
    for (const auto& s : TakeTrace()) {
      if (!s.starts_with("select") && !s.starts_with("SELECT") && !s.starts_with("execute")) {
        writes.push_back(s);
      }
    }
    return writes;
  }

  int32_t clienteId_ = 0;
  int32_t produtoId_ = 0;
};

// Every object of a graph takes the next value of its table's generator, in writing order and
// none ahead, and its list items refer to it; the key statement stays prepared (one per generator,
// however many objects).
TEST_F(ListsTest, AGraphsKeysComeFromEachTablesGeneratorInOrder) {
  ExecuteSqlCmd(Conn(), "ALTER SEQUENCE GEN_PEDIDOS RESTART WITH 40");
  ExecuteSqlCmd(Conn(), "ALTER SEQUENCE GEN_ITENS_PEDIDO RESTART WITH 7");
  struct Case {
    bool inTransaction;
    int32_t order;
    std::vector<int32_t> items;
  };
  for (const Case& c : {Case{false, 41, {8, 9, 10}}, Case{true, 42, {11, 12, 13}}}) {
    auto pedido = NewPedido(clienteId_, produtoId_, 3);
    auto transaction = c.inTransaction ? StartTransaction(Conn()) : nullptr;
    EXPECT_EQ(InsertDataObject(Conn(), *pedido), c.order);
    if (transaction) CommitTransaction(Conn(), transaction);
    std::vector<int32_t> items;
    for (const auto& item : pedido->Itens) items.push_back(item->Codigo);
    EXPECT_EQ(items, c.items) << c.inTransaction;
    EXPECT_EQ(ItemRows(c.order), fmt::format("{}:1 {}:2 {}:3", c.items[0], c.items[1], c.items[2]));
    EXPECT_EQ(static_cast<TItemPedido&>(*pedido->Itens[2]).Pedido, c.order);
  }
  // Loading a list again appends: there is no identity map.
  auto read = Get<TPedido>(42);
  LoadAggregatedList(Conn(), *read, TPedido::StaticType().FindProperty("Itens"));
  EXPECT_EQ(read->Itens.Count(), 6u);
  EXPECT_EQ(Scalar("SELECT GEN_ID(GEN_ITENS_PEDIDO, 0) FROM RDB$DATABASE"), "13");
  EXPECT_EQ(Count("SELECT COUNT(*) FROM MON$STATEMENTS WHERE MON$ATTACHMENT_ID = "
                  "CURRENT_CONNECTION AND MON$SQL_TEXT STARTING WITH 'select gen_id(GEN_'"),
            2);

  // Without a generator the failure reads exactly as Novocodigo's own.
  TFantasma fantasma;
  const std::string message = MessageOf([&] { InsertDataObject(Conn(), fantasma); });
  EXPECT_TRUE(message.starts_with(
      "Falha na inclusão do objeto\r\nImpossível novo código\rSentença inválida: execute block "
      "returns (Result integer) as begin Result = gen_id(GEN_FANTASMAS, 1); suspend; end;"))
      << message;
}

// A stop of a route as stored: its identifier, its client (0: none), its street and the
// weights of its volumes, inserted in this order.
struct TStopRow {
  int32_t id;
  int32_t cliente;
  std::string rua;
  std::vector<double> pesos;
};

TEST_F(ListsTest, ListItemsAreReadWithOneStatementPerListKeepingOrderAndNesting) {
  const auto newCliente = [&](const char* nome, int32_t cidadeId) {
    TCliente cliente;
    cliente.Nome = nome;
    cliente.Cidade = Get<demo::TCidade>(cidadeId);
    cliente.Endereco = std::make_unique<demo::TEndereco>();
    cliente.Endereco->Rua = std::string("Rua de ") + nome;
    return InsertDataObject(Conn(), cliente);
  };
  const int32_t recife = InsertCidade("Recife", "PE");
  const int32_t ana = newCliente("Ana", recife);
  const int32_t bia = newCliente("Bia", InsertCidade("Natal", "RN"));
  const int32_t caio = newCliente("Caio", recife);
  const struct {
    const char* name;
    std::vector<TStopRow> stops;
    size_t statements;
  } cases[] = {
      {"no stops", {}, 2},  // the route, its stops
      // ... the client on its own (with city and address), the stop's volumes
      {"one stop", {{7, ana, "Rua A", {1.5}}}, 6},
      // ... the clients in one, their cities in one, one per stop for its volumes. Not in the
      // identifiers' order; three stops share a city, two a client, one has none.
      {"many stops",
       {{30, ana, "Rua B", {}},
        {10, 0, "", {2, 3, 1}},
        {20, bia, "Rua C", {4}},
        {40, ana, "Rua D", {5}},
        {50, caio, "Rua E", {}}},
       9},
  };
  int32_t rotaId = 0;
  int32_t volumeId = 0;
  const TJSONMarshal marshal;
  const auto insertRoute = [&](int32_t id, const std::vector<TStopRow>& stops) {
    ExecuteSqlCmd(Conn(), fmt::format("INSERT INTO ROTAS (ID) VALUES ({})", id));
    for (const auto& stop : stops) {
      ExecuteSqlCmd(Conn(),
                    fmt::format("INSERT INTO PARADAS (ID, ROTA_ID, CLIENTE_ID, END_RUA, "
                                "END_NUMERO, END_OBS) VALUES ({}, {}, {}, '{}', {}, "
                                "'obs {}')",
                                stop.id, id, stop.cliente ? std::to_string(stop.cliente) : "NULL",
                                stop.rua, stop.id, stop.id));
      for (const double peso : stop.pesos) {
        ExecuteSqlCmd(Conn(), fmt::format("INSERT INTO VOLUMES (ID, PARADA_ID, PESO) VALUES "
                                          "({}, {}, {})",
                                          ++volumeId, stop.id, peso));
      }
    }
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    insertRoute(++rotaId, c.stops);
    TakeTrace();
    const auto rota = Get<TRota>(rotaId);
    EXPECT_EQ(TakeTrace().size(), c.statements);

    ASSERT_EQ(rota->Paradas.Count(), c.stops.size());
    for (size_t i = 0; i < c.stops.size(); ++i) {
      const TStopRow& stop = c.stops[i];
      const TParada& parada = *rota->Paradas[i];
      EXPECT_EQ(parada.Codigo, stop.id) << "the database's order";
      EXPECT_EQ(parada.GetParent(), rota.get());
      EXPECT_EQ(parada.Rota, rotaId);
      ASSERT_NE(parada.Endereco, nullptr);
      EXPECT_EQ(parada.Endereco->Codigo, stop.id);
      EXPECT_EQ(parada.Endereco->Rua, stop.rua);
      EXPECT_EQ(parada.Endereco->Numero, stop.id);
      EXPECT_EQ(parada.Endereco->Obs, fmt::format("obs {}", stop.id));
      EXPECT_EQ(parada.Cliente != nullptr, stop.cliente != 0);
      if (parada.Cliente) {
        EXPECT_EQ(parada.Cliente->Codigo, stop.cliente);
        EXPECT_EQ(parada.Cliente->GetParent(), &parada);
        ASSERT_NE(parada.Cliente->Cidade, nullptr);
        EXPECT_EQ(parada.Cliente->Cidade->GetParent(), parada.Cliente.get());
      }
      std::vector<double> pesos;
      for (size_t v = 0; v < parada.Volumes.Count(); ++v) {
        pesos.push_back(parada.Volumes[v]->Peso);
        EXPECT_EQ(parada.Volumes[v]->GetParent(), &parada);
      }
      EXPECT_EQ(pesos, stop.pesos);
      // The same object as one read on its own, by its identifier.
      EXPECT_EQ(marshal.Marshal(parada),
                marshal.Marshal(*GetDataObject(Conn(), stop.id, &TParada::StaticType())));
    }
  }

  // A missing member fails the list's read as it fails the stop's own read.
  insertRoute(++rotaId, {{90, ana, "", {}}, {91, 123, "", {}}});
  const std::string message =
      "Erro ao atribuir valor na propriedade \"Cliente\" da classe \"TParada\".\r\n"
      "Objeto inexistente no repositório. ID: 123. Classe: TCliente";
  EXPECT_EQ(MessageOf([&] { GetDataObject(Conn(), 91, &TParada::StaticType()); }), message);
  EXPECT_EQ(MessageOf([&] { GetDataObject(Conn(), rotaId, &TRota::StaticType()); }), message);
}

TEST_F(ListsTest, UpdateSynchronisesTheList) {
  auto pedido = NewPedido(clienteId_, produtoId_, 3);
  const int32_t id = InsertDataObject(Conn(), *pedido);
  const int32_t first = pedido->Itens[0]->Codigo;
  const int32_t third = pedido->Itens[2]->Codigo;
  pedido->Itens[0]->Quantidade = 10;
  pedido->Itens.Extract(1);  // leaves the list: its row must go
  pedido->Itens.AddNew().Produto = produtoId_;
  pedido->Itens[2]->Quantidade = 4;
  TakeTrace();
  UpdateDataObject(Conn(), pedido.get());

  const int32_t added = pedido->Itens[2]->Codigo;
  EXPECT_GT(added, third);
  EXPECT_EQ(ItemRows(id), fmt::format("{}:10 {}:3 {}:4", first, third, added));
  EXPECT_EQ(Scalar(fmt::format("SELECT PEDIDO_ID FROM ITENS_PEDIDO WHERE ID = {}", added)),
            std::to_string(id));
  for (const auto& write : Writes()) {
    EXPECT_FALSE(write.starts_with("update PEDIDOS")) << "the order itself did not change";
  }
}

TEST_F(ListsTest, TreeNodeThatLeavesItsParentIsDetached) {
  TCategoria raiz;
  raiz.Nome = "Raiz";
  raiz.Filhas.AddNew().Nome = "A";
  raiz.Filhas.AddNew().Nome = "B";
  const int32_t raizId = InsertDataObject(Conn(), raiz);
  const int32_t b = raiz.Filhas[1]->Codigo;
  EXPECT_EQ(raiz.Filhas[1]->Pai, raizId);

  raiz.Filhas.Extract(1);
  UpdateDataObject(Conn(), &raiz);
  EXPECT_EQ(Scalar(fmt::format("SELECT NOME || ':' || COALESCE(PAI_ID, 'null') FROM CATEGORIAS "
                               "WHERE ID = {}",
                               b)),
            "B:null")
      << "a node of a tree of one class is cut loose, not deleted";
  EXPECT_EQ(Get<TCategoria>(raizId)->Filhas.Count(), 1u);
}

TEST_F(ListsTest, NestedTreeRowsComeInLeftBoundOrder) {
  ExecuteSqlCmd(Conn(), std::vector<std::string>{
                            "INSERT INTO CATEGORIAS (ID, NOME, LFT, RGT) VALUES (1, 'Raiz', 1, 6)",
                            "INSERT INTO CATEGORIAS (ID, NOME, LFT, RGT) VALUES (2, 'B', 4, 5)",
                            "INSERT INTO CATEGORIAS (ID, NOME, LFT, RGT) VALUES (3, 'A', 2, 3)",
                            "INSERT INTO CATEGORIAS (ID, NOME, LFT, RGT) VALUES (4, 'Fora', 7, 8)",
                        });
  TakeTrace();
  EXPECT_EQ(GetNestedTree(Conn(), &TCategoria::StaticType(), "  "), nullptr);
  EXPECT_TRUE(TakeTrace().empty()) << "a blank condition issues no query";

  const auto tree = GetNestedTree(Conn(), &TCategoria::StaticType(), "lft >= 1 and rgt <= 6");
  EXPECT_EQ(TakeTrace().back(),
            "SELECT * from CATEGORIAS WHERE   LFT >= 1 AND  RGT <= 6   order by lft asc");
  std::vector<std::string> names;
  TDBXReader& rows = tree->Reader();
  while (rows.Next()) names.push_back(rows.GetString(rows.GetOrdinal("NOME")));
  EXPECT_EQ(names, (std::vector<std::string>{"Raiz", "A", "B"}));
}

TEST_F(ListsTest, DeleteRemovesListRowsFirst) {
  auto pedido = NewPedido(clienteId_, produtoId_, 2);
  const int32_t id = InsertDataObject(Conn(), *pedido);
  TakeTrace();
  DeleteDataObject(Conn(), id, &TPedido::StaticType());
  EXPECT_EQ(Writes(), (std::vector<std::string>{
                          fmt::format("delete from ITENS_PEDIDO where PEDIDO_ID = {}", id),
                          fmt::format("delete from PEDIDOS where ID = {}", id),
                      }));
  EXPECT_EQ(Count("SELECT COUNT(*) FROM ITENS_PEDIDO"), 0);
  EXPECT_EQ(Count("SELECT COUNT(*) FROM PEDIDOS"), 0);
}

TEST_F(ListsTest, ListWithoutReferenceBackToItsMasterRaises) {
  ExecuteSqlCmd(Conn(), "INSERT INTO NOTAS (ID) VALUES (1)");
  EXPECT_EQ(MessageOf([&] { GetDataObject(Conn(), 1, &TNota::StaticType()); }),
            "Não há referência para a classe mestre \"TNota\" na classe agregada \"TLinha\"");
  EXPECT_EQ(FindMasterReference(&TLinha::StaticType(), &TNota::StaticType(), "NOTA_ID"), nullptr);
}

}  // namespace
}  // namespace zo::testing
