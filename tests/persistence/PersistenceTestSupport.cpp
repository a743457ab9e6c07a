#include "tests/persistence/PersistenceTestSupport.h"

#include <mutex>

#include <zo/core/ClassBuilder.h>
#include <zo/core/Exceptions.h>

namespace zo::testing {

using demo::TCidade;
using demo::TCliente;
using demo::TPedido;

void RegisterTestClasses() {
  demo::RegisterDemoClasses();
  static std::once_flag once;
  std::call_once(once, [] {
    DefineClass<TPessoa>("Tests", Annotation("PESSOAS"))
        .Key("ID")
        .Prop("Nome", &TPessoa::Nome, Annotation("NOME").Size(60))
        .Prop("Idade", &TPessoa::Idade, Annotation("IDADE"))
        .Prop("Ativo", &TPessoa::Ativo, Annotation("ATIVO"));
    DefineClass<TAmostra>("Tests", Annotation("AMOSTRAS"))
        .Key("ID")
        .Prop("Inteiro", &TAmostra::Inteiro, Annotation("INTEIRO"))
        .Prop("Grande", &TAmostra::Grande, Annotation("GRANDE"))
        .Prop("Real", &TAmostra::Real, Annotation("REAL_"))
        .Prop("Data", &TAmostra::Data, Annotation("DATA"))
        .Prop("DataHora", &TAmostra::DataHora, Annotation("DATA_HORA"))
        .Prop("Hora", &TAmostra::Hora, Annotation("HORA"))
        .Prop("Logico", &TAmostra::Logico, Annotation("LOGICO"))
        .Prop("Situacao", &TAmostra::Situacao, Annotation("SITUACAO"))
        .Prop("Letra", &TAmostra::Letra, Annotation("LETRA"))
        .Prop("Caractere", &TAmostra::Caractere, Annotation("CARACTERE"))
        .Prop("Texto", &TAmostra::Texto, Annotation("TEXTO").Size(40))
        .Prop("Memo", &TAmostra::Memo, Annotation("MEMO").Skill(TPropertySkill::psTextBlob))
        .Prop("Ref", &TAmostra::Ref, Annotation("REF_ID"))
        .Prop("Cidade", &TAmostra::Cidade, Annotation("CIDADE_ID"))
        .Prop("Anexo", &TAmostra::Anexo, Annotation("ANEXO"));
    DefineClass<TLinha>("Tests", Annotation("LINHAS"))
        .Key("ID")
        .Prop("Texto", &TLinha::Texto, Annotation("TEXTO").Size(40));
    DefineClass<TNota>("Tests", Annotation("NOTAS"))
        .Key("ID")
        .Prop("Linhas", &TNota::Linhas, Annotation("NOTA_ID").Host<TNota>());
    DefineClass<TVolume>("Tests", Annotation("VOLUMES"))
        .Key("ID")
        .Prop("Parada", &TVolume::Parada, Annotation("PARADA_ID").References<TParada>())
        .Prop("Peso", &TVolume::Peso, Annotation("PESO"));
    DefineClass<TParada>("Tests", Annotation("PARADAS"))
        .Key("ID")
        .Prop("Rota", &TParada::Rota, Annotation("ROTA_ID").References<TRota>())
        .Prop("Cliente", &TParada::Cliente, Annotation("CLIENTE_ID"))
        .Prop("Endereco", &TParada::Endereco,
              Annotation("END").Skill(TPropertySkill::psEmbedded).Host<TParada>())
        .Prop("Volumes", &TParada::Volumes, Annotation("PARADA_ID").Host<TParada>());
    DefineClass<TRota>("Tests", Annotation("ROTAS"))
        .Key("ID")
        .Prop("Nome", &TRota::Nome, Annotation("NOME").Size(40))
        .Prop("Paradas", &TRota::Paradas, Annotation("ROTA_ID").Host<TRota>());
    DefineClass<TFantasma>("Tests", Annotation("FANTASMAS"))
        .Key("ID")
        .Prop("Linhas", &TFantasma::Linhas, Annotation("FANTASMA_ID").Host<TFantasma>());
  });
}

namespace {

const char* const kTestTables[] = {
    "CREATE TABLE PESSOAS (ID INTEGER NOT NULL PRIMARY KEY, NOME VARCHAR(60), IDADE INTEGER, "
    "ATIVO SMALLINT)",
    "CREATE SEQUENCE GEN_PESSOAS",
    "CREATE TABLE AMOSTRAS (ID INTEGER NOT NULL PRIMARY KEY, INTEIRO INTEGER, GRANDE BIGINT, "
    "REAL_ DOUBLE PRECISION, DATA DATE, DATA_HORA TIMESTAMP, HORA TIME, LOGICO SMALLINT, "
    "SITUACAO SMALLINT, LETRA CHAR(1), CARACTERE CHAR(1), TEXTO VARCHAR(40), "
    "MEMO BLOB SUB_TYPE 1 SEGMENT SIZE 4096 CHARACTER SET ISO8859_1, REF_ID INTEGER, "
    "CIDADE_ID INTEGER, ANEXO BLOB SUB_TYPE 0)",
    "CREATE SEQUENCE GEN_AMOSTRAS",
    "CREATE TABLE NOTAS (ID INTEGER NOT NULL PRIMARY KEY)",
    "CREATE TABLE LINHAS (ID INTEGER NOT NULL PRIMARY KEY, TEXTO VARCHAR(40))",
    "CREATE TABLE ROTAS (ID INTEGER NOT NULL PRIMARY KEY, NOME VARCHAR(40))",
    "CREATE TABLE PARADAS (ID INTEGER NOT NULL PRIMARY KEY, ROTA_ID INTEGER, CLIENTE_ID INTEGER, "
    "END_RUA VARCHAR(80), END_NUMERO INTEGER, END_BAIRRO VARCHAR(60), "
    "END_OBS BLOB SUB_TYPE 1 SEGMENT SIZE 4096 CHARACTER SET ISO8859_1)",
    "CREATE INDEX IX_PARADAS_ROTA ON PARADAS (ROTA_ID)",
    "CREATE TABLE VOLUMES (ID INTEGER NOT NULL PRIMARY KEY, PARADA_ID INTEGER, PESO DOUBLE "
    "PRECISION)",
};

}  // namespace

PersistenceTest::PersistenceTest() {
  RegisterTestClasses();
  sql_ = db_.Connect();
  for (const char* ddl : kTestTables) ExecuteSqlCmd(Conn(), ddl);
  sql_->SetTrace([this](const std::string& statement) { trace_.push_back(statement); });
}

std::vector<std::string> PersistenceTest::TakeTrace() { return std::exchange(trace_, {}); }

std::string PersistenceTest::Scalar(const std::string& sql) {
  const auto reader = GetReader(Conn(), sql);
  const std::string value = reader->Reader().Next() ? reader->Reader().GetString(0) : "";
  // The helper's own statement is not part of what a test observes.
  if (!trace_.empty() && trace_.back() == sql) trace_.pop_back();
  return value;
}

int32_t PersistenceTest::InsertCidade(const std::string& nome, const std::string& uf) {
  TCidade cidade;
  cidade.Nome = nome;
  cidade.UF = uf;
  return InsertDataObject(Conn(), cidade);
}

int32_t PersistenceTest::InsertProduto(const std::string& descricao, double preco) {
  demo::TProduto produto;
  produto.Descricao = descricao;
  produto.Preco = preco;
  return InsertDataObject(Conn(), produto);
}

std::unique_ptr<TPedido> PersistenceTest::NewPedido(int32_t clienteId, int32_t produtoId,
                                                    int itens) {
  auto pedido = std::make_unique<TPedido>();
  pedido->Numero = 1000 + clienteId;
  pedido->Cliente = Get<TCliente>(clienteId);
  pedido->Data = TDateTime::FromParts(2024, 5, 1, 13, 45, 10, 250);
  pedido->DataEntrega = TDate::FromYMD(2024, 5, 3);
  pedido->HoraEntrega = TTime::FromHMS(9, 30);
  pedido->Status = demo::TStatusPedido::spFaturado;
  for (int i = 0; i < itens; ++i) {
    auto& item = pedido->Itens.AddNew();
    item.Produto = produtoId;
    item.Quantidade = i + 1;
    item.PrecoUnitario = 2.5;
  }
  return pedido;
}

}  // namespace zo::testing
