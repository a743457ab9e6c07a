// Objects written and read back: every property kind, the NULL rules, text large objects,
// embedded and hosted members, compositions (nested ones are the lists tests').

#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>

#include "tests/persistence/PersistenceTestSupport.h"

namespace zo::testing {
namespace {

using demo::TCidade;
using demo::TCliente;
using demo::TClienteVIP;
using demo::TEndereco;
using demo::TProduto;

class ReadWriteTest : public PersistenceTest {};

TEST_F(ReadWriteTest, EveryPropertyKindSurvivesARoundTrip) {
  const int32_t cidadeId = InsertCidade("Olinda", "PE");
  TAmostra a;
  a.Inteiro = -5;
  a.Grande = 5'000'000'000;
  a.Real = 3.25;
  a.Data = TDate::FromYMD(2024, 2, 29);
  a.DataHora = TDateTime::FromParts(2024, 2, 29, 23, 59, 58, 125);
  a.Hora = TTime::FromHMS(7, 8, 9, 10);
  a.Logico = true;
  a.Situacao = TSituacao::sVelha;
  a.Letra = 'x';
  a.Caractere = U'ç';
  a.Texto = "ação";
  a.Memo = "memória";
  a.Ref = 99;
  a.Cidade = Get<TCidade>(cidadeId);
  const int32_t id = InsertDataObject(Conn(), a);
  TMemoryStream anexo(std::string("\x00\x01\xFF bytes", 9));
  SetBlobData(Conn(), id, "Anexo", &TAmostra::StaticType(), &anexo);

  const auto b = Get<TAmostra>(id);
  EXPECT_EQ(b->Codigo, id);
  EXPECT_EQ(b->Inteiro, -5);
  EXPECT_EQ(b->Grande, 5'000'000'000);
  EXPECT_EQ(b->Real, 3.25);
  EXPECT_EQ(b->Data, a.Data);
  EXPECT_EQ(b->DataHora.ToIso(), "2024-02-29 23:59:58.125");
  EXPECT_EQ(b->Hora.ToIso(), "07:08:09.010");
  EXPECT_TRUE(b->Logico);
  EXPECT_EQ(b->Situacao, TSituacao::sVelha);
  EXPECT_EQ(b->Letra, 'x');
  EXPECT_EQ(b->Caractere, U'ç');
  EXPECT_EQ(b->Texto, "ação");
  EXPECT_EQ(b->Memo, "memória");
  EXPECT_EQ(b->Ref, 99);
  ASSERT_NE(b->Cidade, nullptr);
  EXPECT_EQ(b->Cidade->Nome, "Olinda");
  EXPECT_EQ(b->Cidade->GetParent(), b.get()) << "a composition hangs under its owner";
  ASSERT_NE(b->Anexo, nullptr);
  EXPECT_EQ(dynamic_cast<TMemoryStream&>(*b->Anexo).Bytes(), anexo.Bytes());
}

TEST_F(ReadWriteTest, NullColumnsReadAsEmptyValues) {
  ExecuteSqlCmd(Conn(), "INSERT INTO AMOSTRAS (ID) VALUES (5)");
  // An object that already holds values: each NULL column must clear its property.
  TAmostra a;
  a.Inteiro = 1;
  a.Real = 2;
  a.Data = TDate::FromYMD(2000, 1, 1);
  a.DataHora = TDateTime::FromParts(2000, 1, 1, 1);
  a.Hora = TTime::FromHMS(1, 0);
  a.Logico = true;
  a.Texto = "x";
  a.Memo = "y";
  a.Ref = 4;
  a.Cidade = std::make_unique<TCidade>();
  a.Anexo = std::make_unique<TMemoryStream>(std::string("z"));
  TDataObjectInfoDB& info = *GetObjectInfoDB(&TAmostra::StaticType());
  const auto reader = GetReader(Conn(), info.GenerateSelectCode(5));
  ASSERT_TRUE(reader->Reader().Next());
  ReaderToObject(Conn(), reader->Reader(), info, a, true);

  EXPECT_EQ(a.Ref, -1) << "a NULL reference is -1";
  EXPECT_FALSE(a.Logico);
  EXPECT_EQ(a.Real, 0);
  EXPECT_TRUE(a.Data.IsZero());
  EXPECT_TRUE(a.DataHora.IsZero());
  EXPECT_TRUE(a.Hora.IsZero());
  EXPECT_EQ(a.Inteiro, 0);
  EXPECT_EQ(a.Texto, "");
  EXPECT_EQ(a.Memo, "");
  EXPECT_EQ(a.Cidade, nullptr);
  EXPECT_EQ(a.Anexo, nullptr);
}

TEST_F(ReadWriteTest, TextLargeObjectsKeepLatin1Text) {
  TProduto p;
  p.Descricao = "Café";
  p.FichaTecnica = "ação";
  const auto id = InsertDataObject(Conn(), p);
  EXPECT_EQ(Get<TProduto>(id)->FichaTecnica, "ação");

  // Longer than one 16384-byte chunk, and a chunk boundary inside a two-byte character.
  std::string longText = "x";
  while (longText.size() < 40000) longText += "ação, é só começar. ";
  p.FichaTecnica = longText;
  p.Codigo = -1;
  p.CodigoBarras = "2";
  const auto longId = InsertDataObject(Conn(), p);
  EXPECT_EQ(Get<TProduto>(longId)->FichaTecnica, longText);

  p.FichaTecnica = "preço 10€";
  p.Codigo = -1;
  p.CodigoBarras = "3";
  const auto euroId = InsertDataObject(Conn(), p);
  EXPECT_EQ(Get<TProduto>(euroId)->FichaTecnica, "preço 10?") << "outside Latin-1: lost";
}

TEST_F(ReadWriteTest, EmbeddedMemberLivesInItsOwnersRowUnderAPrefix) {
  const int32_t cidadeId = InsertCidade();
  TCliente c;
  c.Nome = "Ana";
  c.Cidade = Get<TCidade>(cidadeId);
  c.Endereco = std::make_unique<TEndereco>();
  c.Endereco->Rua = "Rua da Aurora";
  c.Endereco->Numero = 42;
  c.Endereco->Obs = "perto da ponte, à esquerda";
  c.Foto = std::make_unique<TBitmap>(std::string("PNG"));
  const int32_t id = InsertDataObject(Conn(), c);

  EXPECT_EQ(
      Scalar(fmt::format("SELECT END_RUA || '/' || END_NUMERO FROM CLIENTES WHERE ID = {}", id)),
      "Rua da Aurora/42");
  EXPECT_EQ(Scalar(fmt::format("SELECT FOTO FROM CLIENTES WHERE ID = {}", id)), "")
      << "a picture is inserted as NULL";

  const auto read = Get<TCliente>(id);
  EXPECT_EQ(read->Foto, nullptr) << "pictures are never read";
  ASSERT_NE(read->Cidade, nullptr);
  EXPECT_EQ(read->Cidade->Codigo, cidadeId);
  ASSERT_NE(read->Endereco, nullptr);
  EXPECT_EQ(read->Endereco->Codigo, id) << "a hosted member has its host's identifier";
  EXPECT_EQ(read->Endereco->Rua, "Rua da Aurora");
  EXPECT_EQ(read->Endereco->Numero, 42);
  EXPECT_EQ(read->Endereco->Obs, "perto da ponte, à esquerda");

  // A class merged into its parent's table reads and writes there too.
  TClienteVIP vip;
  vip.Nome = "Bia";
  vip.DescontoVIP = 7.5;
  vip.Gerente = "Caio";
  const int32_t vipId = InsertDataObject(Conn(), vip);
  const auto readVip = Get<TClienteVIP>(vipId);
  EXPECT_EQ(readVip->Gerente, "Caio");
  EXPECT_EQ(Count("SELECT COUNT(*) FROM CLIENTES"), 2);
}

// Updates that write only what changed, binary large objects, and the failure messages a
// user can meet.

class UpdateTest : public PersistenceTest {
 protected:
  std::vector<std::string> Updates() {
    std::vector<std::string> updates;
    for (const auto& s : TakeTrace()) {
      if (s.starts_with("update") || s.starts_with("UPDATE")) updates.push_back(s);
    }
    return updates;
  }
};

TEST_F(UpdateTest, OnlyChangedColumnsAreWritten) {
  TCliente c;
  c.Nome = "Ana";
  c.Email = "ana@example.com";
  c.Endereco = std::make_unique<TEndereco>();
  c.Endereco->Rua = "Rua A";
  const int32_t id = InsertDataObject(Conn(), c);
  TakeTrace();

  UpdateDataObject(Conn(), &c);
  EXPECT_TRUE(Updates().empty()) << "nothing changed, nothing written";

  c.Nome = "Ana Maria";
  c.Endereco->Numero = 12;
  UpdateDataObject(Conn(), &c);
  EXPECT_EQ(Updates(), (std::vector<std::string>{
                           fmt::format("update CLIENTES set NOME = 'Ana Maria' where ID = {}", id),
                           fmt::format("update CLIENTES set END_NUMERO = 12 where ID = {}", id),
                       }));
  const auto read = Get<TCliente>(id);
  EXPECT_EQ(read->Nome, "Ana Maria");
  EXPECT_EQ(read->Endereco->Numero, 12);
  EXPECT_EQ(read->Endereco->Rua, "Rua A");
}

TEST_F(UpdateTest, GivenIdentifierIsKeptAndTheGeneratorUntouched) {
  TCidade cidade;
  cidade.Codigo = 25;
  cidade.Nome = "Caruaru";
  cidade.UF = "PE";
  EXPECT_EQ(InsertDataObject(Conn(), cidade), 25);
  EXPECT_EQ(Scalar("SELECT GEN_ID(GEN_CIDADES, 0) FROM RDB$DATABASE"), "0");
  EXPECT_EQ(Get<TCidade>(25)->Nome, "Caruaru");
}

TEST_F(UpdateTest, BinaryStreamsAreWrittenInChunksAndReadBackWhole) {
  const int32_t id = InsertProduto("Foto");
  EXPECT_EQ(GetBlobData(Conn(), id, "Imagem", &TProduto::StaticType()), nullptr) << "NULL";
  EXPECT_EQ(GetBlobData(Conn(), id + 1, "Imagem", &TProduto::StaticType()), nullptr) << "no row";

  for (const size_t size : {size_t{0}, size_t{16384}, size_t{40000}}) {
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 31 + size);
    TMemoryStream stream(bytes);
    stream.SetPosition(size / 2);  // written from the start whatever the position
    TakeTrace();
    SetBlobData(Conn(), id, "Imagem", &TProduto::StaticType(), &stream);
    const auto updates = Updates();
    ASSERT_EQ(updates.size(), 1 + (size + 16383) / 16384) << size;
    EXPECT_EQ(updates[0], fmt::format("UPDATE PRODUTOS SET IMAGEM = '' WHERE ID = {}", id));
    const auto read = GetBlobData(Conn(), id, "Imagem", &TProduto::StaticType());
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->Bytes(), bytes) << size;
    EXPECT_EQ(read->Position(), 0);
  }
  EXPECT_EQ(Get<TProduto>(id)->Imagem, nullptr) << "binary large objects are not read with the row";

  SetBlobData(Conn(), id, "Imagem", &TProduto::StaticType(), nullptr);
  EXPECT_EQ(Updates(), (std::vector<std::string>{
                           fmt::format("UPDATE PRODUTOS SET IMAGEM = NULL WHERE ID = {}", id)}))
      << "an absent stream makes the column NULL";
  EXPECT_EQ(GetBlobData(Conn(), id, "Imagem", &TProduto::StaticType()), nullptr);
  EXPECT_FALSE(Conn().InTransaction()) << "committed";
}

class ErrorsTest : public PersistenceTest {};

TEST_F(ErrorsTest, ReadingFailures) {
  EXPECT_EQ(MessageOf([&] { GetDataObject(Conn(), 77, &TCidade::StaticType()); }),
            "Objeto inexistente no repositório. ID: 77. Classe: TCidade");
  EXPECT_EQ(MessageOf([&] { GetDataObject(Conn(), 1, nullptr); }),
            "Método: getDataObject, erro: DataObjecClass nulo");

  const std::string message = MessageOf([&] { GetReader(Conn(), "select * from NADA"); });
  EXPECT_TRUE(message.starts_with("Sentença inválida: select * from NADA\r\n")) << message;
  EXPECT_NE(message.find("NADA", 30), std::string::npos) << "followed by Firebird's text";

  const int32_t id = InsertCidade();
  const auto reader =
      GetReader(Conn(), fmt::format("select ID, NOME from CIDADES where ID = {}", id));
  ASSERT_TRUE(reader->Reader().Next());
  TCidade cidade;
  EXPECT_EQ(MessageOf([&] {
              ReaderToObject(Conn(), reader->Reader(), *GetObjectInfoDB(&TCidade::StaticType()),
                             cidade, true);
            }),
            "Campo \"UF\" não encontrado no reader. Classe \"TCidade\"");

  ExecuteSqlCmd(Conn(), "INSERT INTO AMOSTRAS (ID, CIDADE_ID) VALUES (1, 123)");
  EXPECT_EQ(MessageOf([&] { GetDataObject(Conn(), 1, &TAmostra::StaticType()); }),
            "Erro ao atribuir valor na propriedade \"Cidade\" da classe \"TAmostra\".\r\n"
            "Objeto inexistente no repositório. ID: 123. Classe: TCidade");
}

TEST_F(ErrorsTest, WritingFailuresNameTheObject) {
  TCidade cidade;
  cidade.Codigo = 25;
  cidade.Nome = "Caruaru";
  cidade.UF = "PE";
  InsertDataObject(Conn(), cidade);
  // A duplicate is told by the database's error code and named, not passed on as its text.
  std::string message = MessageOf([&] { InsertDataObject(Conn(), cidade); });
  EXPECT_EQ(message,
            "Falha na inclusão do objeto\r\nO valor da propriedade \"Codigo\" da classe "
            "\"TCidade\" já está em uso por outro objeto\r\nTipo = TCidade\r\nCódigo: 25");

  TCidade semNome;
  semNome.UF = "PE";
  message = MessageOf([&] { InsertDataObject(Conn(), semNome); });
  EXPECT_TRUE(message.starts_with("Falha na inclusão do objeto\r\nO valor da propriedade \"Nome\""))
      << message;
  EXPECT_TRUE(message.ends_with("\r\nTipo = TCidade\r\nCódigo: 1"))
      << "the drawn identifier stays with the object: " << message;

  cidade.Codigo = 999;
  EXPECT_EQ(MessageOf([&] { UpdateDataObject(Conn(), &cidade); }),
            "Falha na atualização do objeto\r\n"
            "Objeto inexistente no repositório. ID: 999. Classe: TCidade\r\n"
            "Tipo = TCidade\r\nCódigo: 999");
  cidade.Codigo = -1;
  EXPECT_EQ(MessageOf([&] { UpdateDataObject(Conn(), &cidade); }),
            "Falha na atualização do objeto\r\n"
            "O objeto ainda não foi gravado (Código -1): não há registro para atualizar\r\n"
            "Tipo = TCidade\r\nCódigo: -1");
  EXPECT_NO_THROW(UpdateDataObject(Conn(), nullptr));
  EXPECT_EQ(MessageOf([] { RaiseDataObjectError(nullptr, "x"); }), "Objeto nulo");

  EXPECT_EQ(MessageOf([&] { DeleteDataObject(Conn(), 1, &TFantasma::StaticType()); }),
            "Tabela inexistente: FANTASMAS");
}

}  // namespace
}  // namespace zo::testing
