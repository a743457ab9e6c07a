// The remote methods as a client reaches them: by name, with JSON in and out, over a real
// demo database; their events, log lines and messages, the asymmetries clients rely on, and
// what the demo application adds (the products' rule and the totals action).

#include <fmt/format.h>

#include <zo/core/DebugOutput.h>
#include <zo/dao/GenericDAO.h>
#include <zo/persistence/ZoServerUtils.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/DBXTransaction.h>
#include <zo/platform/db/SQLConnection.h>
#include "examples/demo/DemoClasses.h"
#include "tests/server/ServerTestSupport.h"
#include "tests/support/RecordingCallback.h"

namespace zo::testing {
namespace {

using nlohmann::json;

constexpr const char* kNotRegistered = "Classe não registrada \"TNada\"";
constexpr const char* kNoDAOFor =
    "Método: TZoCustomServerModule.getDAO. Não há associação para a classe ";

// A DAO that notes the callback each insert finds and the identifiers DeleteArray receives.
class TSpyDAO : public TGenericDAO {
 public:
  using TGenericDAO::TGenericDAO;
  int32_t Insert(TBaseDataObject& obj) override {
    insertSaw.push_back(CallBack());
    return TGenericDAO::Insert(obj);
  }
  void DeleteArray(const std::vector<int32_t>& ids, TDataObjectClass) override {
    deleteArrayIds = ids;
  }
  std::vector<const TZoCallback*> insertSaw;
  std::vector<int32_t> deleteArrayIds;
};

class RemoteMethodsTest : public ModuleTest {
 protected:
  RemoteMethodsTest() {
    WriteDefaultConf();
    module = MakeModule();
    module->events.clear();
  }

  json Call(const std::string& method, const json& params, TZoCallback* callback = nullptr) {
    return module->CallMethod(method, params, callback);
  }
  std::string Fails(const std::string& method, const json& params,
                    TZoCallback* callback = nullptr) {
    return MessageOf([&] { Call(method, params, callback); });
  }
  int32_t InsertCidade(const std::string& nome, const std::string& uf,
                       TZoCallback* with = nullptr) {
    return Call("Insert",
                {{"jObj", ObjectJson("DemoClasses.TCidade", {{"Nome", nome}, {"UF", uf}})}}, with)
        .get<int32_t>();
  }
  TSQLConnection& Sql() { return *module->SQLConnection(); }
  json Produto(int32_t codigo, const std::string& descricao, double preco) {
    return ObjectJson("DemoClasses.TProduto",
                      {{"Codigo", codigo}, {"Descricao", descricao}, {"Preco", preco}});
  }

  RecordingCallback callback;
  std::unique_ptr<TRecordingModule> module;
};

TEST_F(RemoteMethodsTest, WritesAndReadsFireTheirEventsAndLogTheirLines) {
  std::vector<std::string> debug;
  SetDebugOutput([&](const std::string& line) { debug.push_back(line); });
  // The values that travel are the end-to-end tests' concern; here, what each call fires.
  const int32_t id = InsertCidade("Recife", "PE", &callback);
  ASSERT_GT(id, 0);
  json read = Call("Get", {{"AClassName", "TCidade"}, {"id", id}});
  EXPECT_EQ(read.at("fields").at("Codigo"), id);
  EXPECT_EQ(debug, std::vector<std::string>{db.Path()}) << "Get names the database it reads";
  SetDebugOutput(nullptr);

  read["fields"]["Nome"] = "Recife Antigo";
  EXPECT_EQ(Call("Update", {{"jObj", read}}, &callback), nullptr);
  EXPECT_EQ(Call("Delete", {{"AClassName", "TCidade"}, {"id", id}}, &callback), nullptr);
  EXPECT_EQ(Call("Validate", {{"jObj", Produto(-1, "Caneta", 2.5)}}), nullptr);
  // The DAO reports a missing row as an error; Get answers null and logs it.
  EXPECT_EQ(Call("Get", {{"AClassName", "TCidade"}, {"id", id}}), nullptr);

  EXPECT_EQ(module->events,
            (std::vector<TModuleEvent>{meINSERT, meGET, meUPDATE, meDELETE, meVALIDATE}));
  const std::string n = std::to_string(id);
  EXPECT_EQ(
      module->log,
      (std::vector<LogLine>{{"Insert(" + n + ", DemoClasses.TCidade)", TTipoLogger::tlInclusao, 0},
                            {"Update(" + n + ", DemoClasses.TCidade)", TTipoLogger::tlAlteracao, 0},
                            {"Delete(" + n + ", TCidade)", TTipoLogger::tlExclusao, 0},
                            {"Objeto inexistente no repositório. ID: " + n + ". Classe: TCidade",
                             TTipoLogger::tlConsulta, 567}}));
  EXPECT_EQ(module->DefaultDAO()->CallBack(), nullptr) << "no DAO keeps a finished call's callback";
}

TEST_F(RemoteMethodsTest, InsertKeepsTheCallbackWhenNoneIsGivenAndDeleteArrayReadsText) {
  TSpyDAO spy(module->SQLConnection());
  const TDataObjectClass cidade = &demo::TCidade::StaticType();
  ASSERT_TRUE(module->UnLinkDataClassFromDAO(cidade, nullptr));
  module->LinkDataClassToDAO(cidade, &spy);
  RecordingCallback application;  // one the application gave the DAO itself

  spy.SetCallBack(&application);
  InsertCidade("Natal", "RN");
  InsertCidade("Caicó", "RN", &callback);
  EXPECT_EQ(spy.insertSaw, (std::vector<const TZoCallback*>{&application, &callback}));

  // DeleteArray reads each element's text; what is not a number becomes -1.
  module->log.clear();
  Call("DeleteArray",
       {{"AClassName", "TCidade"}, {"jArray", json::parse(R"(["7", 8, "x", 2.5, null])")}},
       &callback);
  EXPECT_EQ(spy.deleteArrayIds, (std::vector<int32_t>{7, 8, -1, -1, -1}));
  Call("DeleteArray", {{"AClassName", "TCidade"}, {"jArray", nullptr}});
  EXPECT_TRUE(spy.deleteArrayIds.empty()) << "no array is an empty one";
  EXPECT_EQ(module->events, (std::vector<TModuleEvent>{meINSERT, meINSERT, meDELETE, meDELETE}));
  EXPECT_TRUE(module->log.empty());
}

TEST_F(RemoteMethodsTest, LookupFailuresRaiseTheirMessages) {
  EXPECT_EQ(Fails("Insert", {{"jObj", nullptr}}),
            "Método: TZoCustomServerModule.getClass. Objeto inválido");
  const json endereco = ObjectJson("DemoClasses.TEndereco", {{"Rua", "Rua da Aurora"}});
  for (const char* method : {"Insert", "Update", "Validate"}) {
    EXPECT_EQ(Fails(method, {{"jObj", endereco}}, &callback), std::string(kNoDAOFor) + "TEndereco")
        << method;
  }
  const json byName = {{"AClassName", "TNada"}, {"id", 1},
                       {"jArray", {1}},         {"ACondition", ""},
                       {"currentID", 1},        {"ATipoNext", 0},
                       {"AProperties", "Nome"}, {"APropertyName", "Imagem"},
                       {"AStream", nullptr}};
  for (const char* method : {"Delete", "DeleteArray", "Get", "GetByCondition", "GetBlobData",
                             "SetBlobData", "GetNextID", "GetStrList"}) {
    EXPECT_EQ(Fails(method, byName), kNotRegistered) << method;
  }
  EXPECT_EQ(Fails("GetCount", byName), "Item not found");
  EXPECT_TRUE(module->log.empty()) << "lookups fail before anything is logged";
  EXPECT_TRUE(module->events.empty());
}

TEST_F(RemoteMethodsTest, FailedWritesLogAndReraiseAndAFailedReadAnswersNull) {
  // Insert: the class and the first 400 characters of the message, never half a character.
  std::string descricao;
  for (int i = 0; i < 600; ++i) descricao += "ã";
  const std::string message = "O preço do produto \"" + descricao + "\" deve ser maior que zero";
  EXPECT_EQ(Fails("Insert", {{"jObj", Produto(-1, descricao, 0)}}), message);
  std::string first400 = "O preço do produto \"";
  for (int i = 0; i < 400 - 20; ++i) first400 += "ã";
  ASSERT_EQ(module->log.size(), 1u);
  EXPECT_EQ(module->log[0],
            (LogLine{"DemoClasses.TProduto: " + first400, TTipoLogger::tlInclusao, 1}));

  // Update: its own pattern, with the message.
  const int32_t caneta = Call("Insert", {{"jObj", Produto(-1, "Caneta", 2.5)}}).get<int32_t>();
  module->log.clear();
  EXPECT_EQ(Fails("Update", {{"jObj", Produto(caneta, "Caneta", -1)}}, &callback),
            "O preço do produto \"Caneta\" deve ser maior que zero");
  EXPECT_EQ(module->log,
            (std::vector<LogLine>{{fmt::format("Update({}, DemoClasses.TProduto): O preço do "
                                               "produto \"Caneta\" deve ser maior que zero",
                                               caneta),
                                   TTipoLogger::tlAlteracao, 1}}));

  // Delete: the line has no room for the message.
  const int32_t recife = InsertCidade("Recife", "PE");
  ExecuteSql(Sql(),
             fmt::format("insert into CLIENTES(ID, NOME, CIDADE_ID) values(1, 'Ana', {})", recife));
  module->log.clear();
  module->events.clear();
  EXPECT_EQ(Fails("Delete", {{"AClassName", "TCidade"}, {"id", recife}}, &callback),
            "O registro está associado a outro registro. Não é possível sua exclusão");
  EXPECT_EQ(module->log, (std::vector<LogLine>{{fmt::format("Delete({}, TCidade)", recife),
                                                TTipoLogger::tlExclusao, 1}}));
  EXPECT_TRUE(module->events.empty());

  // Get: a failure reads as a missing object; only the log tells them apart.
  Call("SetCurrentDataBase", {{"DataBaseName", ""}});
  const std::string cause =
      MessageOf([&] { module->DefaultDAO()->Get(recife, &demo::TCidade::StaticType()); });
  ASSERT_NE(cause, "");
  module->log.clear();
  EXPECT_EQ(Call("Get", {{"AClassName", "TCidade"}, {"id", recife}}), nullptr);
  EXPECT_EQ(module->log, (std::vector<LogLine>{{cause, TTipoLogger::tlConsulta, 567}}));
  EXPECT_TRUE(module->events.empty());
}

TEST_F(RemoteMethodsTest, RegistryKeepsTheFirstBindingAndUnlinkingLeavesTheName) {
  const TDataObjectClass cidade = &demo::TCidade::StaticType();
  TGenericDAO other(module->SQLConnection());
  module->LinkDataClassToDAO(cidade, &other);
  EXPECT_EQ(module->GetDAO(cidade), module->DefaultDAO());
  EXPECT_EQ(module->GetDAO("TNada"), module->DefaultDAO()) << "unknown names use the default";

  EXPECT_TRUE(module->UnLinkDataClassFromDAO(cidade, &other));
  EXPECT_FALSE(module->UnLinkDataClassFromDAO(cidade, nullptr));
  EXPECT_EQ(module->GetClass("TCidade"), cidade);
  EXPECT_EQ(MessageOf([&] { module->GetDAO("TCidade"); }), std::string(kNoDAOFor) + "TCidade");
  EXPECT_EQ(Fails("Get", {{"AClassName", "TCidade"}, {"id", 1}}),
            std::string(kNoDAOFor) + "TCidade")
      << "a name without a binding is an error, not a null answer";
  EXPECT_EQ(Call("GetCount", {{"AClassName", "TCidade"}}), 0) << "counting needs only the name";

  module->LinkDataClassToDAO(cidade, &other);
  EXPECT_EQ(module->GetDAO("TCidade"), &other);
}

// Public, and stricter than DeleteArray's own reading (which turns junk into -1).
TEST_F(RemoteMethodsTest, IdentifierArraysReadEachElementsText) {
  EXPECT_TRUE(TZoCustomServerModule::UnSerializeIdArray(nullptr).empty());
  EXPECT_EQ(TZoCustomServerModule::UnSerializeIdArray(json::parse(R"(["1", 2, " 3"])")),
            (std::vector<int32_t>{1, 2, 3}));
  EXPECT_EQ(MessageOf([] { TZoCustomServerModule::UnSerializeIdArray(json::parse(R"(["x"])")); }),
            "'x' is not a valid integer value");
}

TEST_F(RemoteMethodsTest, AFailedCallRollsBackWhatItLeftOpen) {
  std::unique_ptr<TDBXTransaction> leftOpen;
  module->RegisterMethod("Falha", [&](const json&, TZoCallback*) -> json {
    auto& connection = Sql().DBXConnection();
    leftOpen = StartTransaction(connection);
    ExecuteSqlCmd(connection, "insert into CIDADES(ID, NOME, UF) values(99, 'Fantasma', 'XX')");
    throw Exception("falhou no meio");
  });
  EXPECT_EQ(Fails("Falha", json::object()), "falhou no meio");
  EXPECT_FALSE(Sql().DBXConnection().InTransaction());
  EXPECT_FALSE(leftOpen->Active());
  EXPECT_EQ(Call("GetCount", {{"AClassName", "TCidade"}}), 0);
}

// A price of zero is the failed writes' case above.
TEST_F(RemoteMethodsTest, ProductsMustBeSellable) {
  const auto codigoRuim = [](const std::string& codigo) {
    return "Código de barras inválido: \"" + codigo + "\" (8 a 14 dígitos)";
  };
  const struct {
    int64_t estoque;
    std::string codigo;
    std::string message;
  } cases[] = {
      {-1, "", "O estoque do produto \"Caneta\" não pode ser negativo"},
      {0, "1234567", codigoRuim("1234567")},
      {0, "1234567A", codigoRuim("1234567A")},
      {0, "", ""},
      {0, "12345678", ""},
  };
  for (const auto& c : cases) {
    const json produto = ObjectJson("DemoClasses.TProduto", {{"Descricao", "Caneta"},
                                                             {"Preco", 1},
                                                             {"Estoque", c.estoque},
                                                             {"CodigoBarras", c.codigo}});
    EXPECT_EQ(MessageOf([&] { Call("Validate", {{"jObj", produto}}); }), c.message) << produto;
  }
}

TEST_F(RemoteMethodsTest, RecalcularTotaisFixesWrongTotalsAndCanBeCancelled) {
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

  EXPECT_EQ(Call("RecalcularTotais", json::object(), &callback), 1);
  EXPECT_EQ(total(1), 25.5);
  EXPECT_EQ(total(2), 7);
  ASSERT_FALSE(callback.Positions().empty());
  EXPECT_EQ(callback.Positions().back(), 100) << "progress reaches the end";
  EXPECT_EQ(Call("RecalcularTotais", json::object()), 0) << "no callback: runs quietly";
}

}  // namespace
}  // namespace zo::testing
