// The generic DAO against real demo databases: deletion rules and their progress, navigation,
// string lists, user stamps and the transaction around each write.
#include <chrono>
#include <thread>

#include <zo/core/User.h>
#include <zo/dao/GenericDAO.h>
#include "tests/dao/DaoTestSupport.h"

namespace zo::testing {
namespace {

using demo::TCategoria;
using demo::TCidade;
using demo::TCliente;
using demo::TPedido;

const TDataObjectClass kCidade = &TCidade::StaticType();

class GenericDaoTest : public DaoTest {
 protected:
  GenericDaoTest() : dao_(sql_.get()) { dao_.SetCallBack(&callback_); }

  std::string DeleteArrayMessage(const std::vector<int32_t>& ids, TDataObjectClass cls = kCidade) {
    return MessageOf([&] { dao_.DeleteArray(ids, cls); });
  }

  TGenericDAO dao_;
};

// ---- Deletion ---------------------------------------------------------------------------

TEST_F(GenericDaoTest, ReferencedRecordIsRefusedAndKept) {
  InsertCidades(1, 2);
  ReferenceCidade(1);

  EXPECT_EQ(MessageOf([&] { dao_.Delete(1, kCidade); }),
            "O registro está associado a outro registro. Não é possível sua exclusão");
  EXPECT_EQ(Count("CIDADES WHERE ID = 1"), 1);
  EXPECT_FALSE(Conn().InTransaction()) << "rolled back before the message left";
  EXPECT_EQ(callback_.Kinds(),
            (std::vector<std::string>{"TWaitScreenCommandTitle", "TWaitScreenCommandGo"}));
  EXPECT_EQ(callback_.Positions(), std::vector<int>{0});

  dao_.Delete(2, kCidade);
  EXPECT_EQ(CommittedCount("CIDADES"), 1);
}

TEST_F(GenericDaoTest, DeleteArrayCommitsWhatItCanAndCountsTheRefused) {
  InsertCidades(1, 4);
  ReferenceCidade(2);
  ReferenceCidade(4);

  EXPECT_EQ(DeleteArrayMessage({1, 2, 3}),
            "1 de 3 registros não foram excluídos por estarem vinculados a outros registros");
  EXPECT_EQ(CommittedCount("CIDADES"), 2) << "1 and 3 are gone for good, 2 and 4 stay";
  EXPECT_EQ(Count("CIDADES WHERE ID IN (2, 4)"), 2);

  EXPECT_EQ(
      DeleteArrayMessage({2, 4}),
      "Não é possível excluir. Os registros selecionados estão vinculados a outros registros");
  EXPECT_EQ(CommittedCount("CIDADES"), 2);

  callback_.received.clear();
  dao_.DeleteArray({}, kCidade);
  EXPECT_TRUE(callback_.received.empty()) << "an empty array does nothing at all";
}

// A record's list rows are deleted before the record: when the record itself is refused, its
// savepoint gives them back.
TEST_F(GenericDaoTest, RefusedRecordKeepsItsListRows) {
  TCategoria raiz;
  raiz.Nome = "Raiz";
  raiz.Filhas.AddNew().Nome = "A";
  raiz.Filhas.AddNew().Nome = "B";
  const int32_t raizId = InsertDataObject(Conn(), raiz);
  TCategoria solta;
  solta.Nome = "Solta";
  const int32_t soltaId = InsertDataObject(Conn(), solta);
  Exec(fmt::format("INSERT INTO PRODUTOS (ID, DESCRICAO, CATEGORIA_ID) VALUES (1, 'P', {})",
                   raizId));

  EXPECT_EQ(DeleteArrayMessage({raizId, soltaId}, &TCategoria::StaticType()),
            "1 de 2 registros não foram excluídos por estarem vinculados a outros registros");
  EXPECT_EQ(CommittedCount(fmt::format("CATEGORIAS WHERE PAI_ID = {}", raizId)), 2);
  EXPECT_EQ(CommittedCount("CATEGORIAS"), 3) << "Solta went, Raiz and its children stayed";
}

// Inserts 1,000 cities: the step is 0.1 percent, so most records move no whole percent.
class DeleteProgressTest : public GenericDaoTest {
 protected:
  DeleteProgressTest() { InsertCidades(1, kRecords); }

  static std::vector<int32_t> Ids() {
    std::vector<int32_t> ids(kRecords);
    for (int i = 0; i < kRecords; ++i) ids[i] = i + 1;
    return ids;
  }

  static constexpr int kRecords = 1000;
};

TEST_F(DeleteProgressTest, ClientCancelAbortsSilentlyAndDeletesNothing) {
  callback_.cancelWhen = [](const nlohmann::json& command) {
    return command["fields"].value("Position", 0) >= 50;
  };
  EXPECT_THROW(dao_.DeleteArray(Ids(), kCidade), EAbort);
  EXPECT_FALSE(Conn().InTransaction());
  EXPECT_EQ(Count("CIDADES"), kRecords);
  EXPECT_EQ(callback_.Positions().back(), 50) << "stopped at the answer";
}

// ---- Navigation and lists ---------------------------------------------------------------

TEST_F(GenericDaoTest, NavigationMovesWithinTheConditionAndStaysAtTheEnds) {
  for (const auto& [id, uf] : {std::pair{3, "PE"}, {5, "SP"}, {8, "PE"}, {10, "SP"}}) {
    Exec(fmt::format("INSERT INTO CIDADES (ID, NOME, UF) VALUES ({}, 'C{}', '{}')", id, id, uf));
  }
  const auto next = [&](int current, TTipoNext tipo, const std::string& condition = "") {
    return dao_.GetNextID(current, kCidade, tipo, condition);
  };
  EXPECT_EQ(next(5, tnFirst), 3);
  EXPECT_EQ(next(5, tnPrevious), 3);
  EXPECT_EQ(next(5, tnNext), 8);
  EXPECT_EQ(next(5, tnLast), 10);
  EXPECT_EQ(next(3, tnPrevious), 3) << "nothing before the first: stays in place";
  EXPECT_EQ(next(10, tnNext), 10) << "nothing after the last: stays in place";

  const std::string sp = "UF = 'SP'";
  EXPECT_EQ(next(8, tnFirst, sp), 5);
  EXPECT_EQ(next(5, tnPrevious, sp), 5);
  EXPECT_EQ(next(5, tnNext, sp), 10);
  EXPECT_EQ(next(8, tnPrevious, sp), 5) << "from a record outside the condition";
  EXPECT_EQ(next(3, tnLast, sp), 10);
  EXPECT_EQ(next(3, tnLast, "UF = 'RJ'"), 3) << "an empty set leaves navigation in place";

  EXPECT_NE(MessageOf([&] { next(5, static_cast<TTipoNext>(4)); }).find("Sentença inválida"),
            std::string::npos);
}

TEST_F(GenericDaoTest, StringListAndSingleField) {
  Exec("INSERT INTO CIDADES (ID, NOME, UF) VALUES (7, 'A', 'B')");
  Exec("INSERT INTO CIDADES (ID, NOME, UF) VALUES (9, 'C', 'D')");

  EXPECT_EQ(dao_.GetStrList(kCidade, "Nome,UF", ""), "|7=A,B| |9=C,D| ");
  EXPECT_EQ(dao_.GetStrList(kCidade, "Nome, \"UF\"", "UF = 'D'"), "|9=C,D| ");
  EXPECT_EQ(dao_.GetStrList(kCidade, "Nome", "UF = 'X'"), "");
  const std::string failure = MessageOf([&] { dao_.GetStrList(kCidade, "Nome,Estado", ""); });
  EXPECT_TRUE(failure.starts_with("Erro- getStrList\r\nTCidade\r\nNome,Estado\r\nPropriedade"))
      << failure;

  EXPECT_EQ(dao_.GetString("NOME", "CIDADES", 9), "C");
  EXPECT_EQ(MessageOf([&] { dao_.GetString("NOME", "CIDADES", 8); }),
            "Campo NOME não encontrado na tabela CIDADES");
}

// ---- Writes -----------------------------------------------------------------------------

TEST_F(GenericDaoTest, UserObjectsCarryWhoWroteThemAndWhen) {
  TUser user;
  user.Login = "ana";
  InsertDataObject(Conn(), user);
  dao_.SetUser(&user);

  TCliente cliente;
  cliente.Nome = "Bia";
  cliente.Email = "bia@example.com";
  const int32_t id = dao_.Insert(cliente);
  EXPECT_EQ(cliente.UserID, user.Codigo);
  EXPECT_NE(cliente.DataHoraInclusao.value, 0);
  EXPECT_EQ(cliente.DataHoraInclusao, cliente.DataHoraAlteracao) << "one clock reading";
  auto stored = StaticCastOwned<TCliente>(dao_.Get(id, &TCliente::StaticType()));
  EXPECT_EQ(stored->UserID, user.Codigo);
  EXPECT_EQ(stored->DataHoraInclusao, stored->DataHoraAlteracao);

  std::this_thread::sleep_for(std::chrono::milliseconds(5));
  stored->Nome = "Beatriz";
  dao_.Update(*stored);
  const auto updated = StaticCastOwned<TCliente>(dao_.Get(id, &TCliente::StaticType()));
  EXPECT_EQ(updated->DataHoraInclusao, cliente.DataHoraInclusao);
  EXPECT_GT(updated->DataHoraAlteracao.value, updated->DataHoraInclusao.value);

  dao_.SetUser(nullptr);
  TCliente anonimo;
  anonimo.Nome = "Caio";
  anonimo.Email = "caio@example.com";
  dao_.Insert(anonimo);
  EXPECT_EQ(anonimo.UserID, -1);
  EXPECT_EQ(anonimo.DataHoraInclusao.value, 0) << "no user, no stamp";
}

TEST_F(GenericDaoTest, FailedWriteLeavesNothingBehind) {
  Exec("INSERT INTO CLIENTES (ID, NOME) VALUES (1, 'Ana')");
  TPedido pedido;
  pedido.Numero = 1;
  pedido.Cliente = StaticCastOwned<TCliente>(dao_.Get(1, &TCliente::StaticType()));
  pedido.Itens.AddNew().Produto = 404;  // no such product: the item's insert fails
  EXPECT_THROW(dao_.Insert(pedido), Exception);
  EXPECT_FALSE(Conn().InTransaction());
  EXPECT_EQ(Count("PEDIDOS"), 0) << "the order went back with its item";

  TGenericDAO unconnected(nullptr);
  EXPECT_EQ(MessageOf([&] { unconnected.Get(1, kCidade); }), "Conexão não atribuída: TGenericDAO");
}

}  // namespace
}  // namespace zo::testing
