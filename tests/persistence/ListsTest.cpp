// Aggregated lists: written with their references, synchronised on update, loaded, deleted
// before their owner; nested-set trees.
#include <zo/core/Exceptions.h>
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

TEST_F(ListsTest, ChildrenAreInsertedWithTheirReferenceAndReadBack) {
  auto pedido = NewPedido(clienteId_, produtoId_, 3);
  const int32_t id = InsertDataObject(Conn(), *pedido);
  for (const auto& item : pedido->Itens) {
    EXPECT_GE(item->Codigo, 0) << "each child got an identifier";
    EXPECT_EQ(static_cast<TItemPedido&>(*item).Pedido, id);
  }
  EXPECT_EQ(Count(fmt::format("SELECT COUNT(*) FROM ITENS_PEDIDO WHERE PEDIDO_ID = {}", id)), 3);

  auto read = Get<TPedido>(id);
  ASSERT_EQ(read->Itens.Count(), 3u);
  EXPECT_EQ(read->Itens[2]->Quantidade, 3);
  EXPECT_EQ(read->Itens[0]->GetParent(), read.get());

  // Loading a list again appends: there is no identity map.
  LoadAggregatedList(Conn(), *read, TPedido::StaticType().FindProperty("Itens"));
  EXPECT_EQ(read->Itens.Count(), 6u);
}

// Every object of a graph takes the next value of its table's generator, in writing order and
// none ahead; the key statement stays prepared (one per generator, however many objects).
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
  }
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
