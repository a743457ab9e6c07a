// Updates that write only what changed, binary large objects, and the failure messages a
// user can meet.
#include <zo/core/Exceptions.h>
#include "tests/persistence/PersistenceTestSupport.h"

namespace zo::testing {
namespace {

using demo::TCidade;
using demo::TCliente;
using demo::TEndereco;
using demo::TProduto;

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
