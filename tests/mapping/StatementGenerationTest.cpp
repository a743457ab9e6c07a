#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include <zo/core/ClassBuilder.h>
#include <zo/core/Exceptions.h>
#include <zo/core/WaitScreen.h>
#include "examples/demo/DemoClasses.h"
#include <zo/mapping/ObjectInfoCache.h>

namespace {

using namespace demo;
using zo::GetObjectInfoDB;

// A class whose only property is its key.
class TSoChave : public zo::TBaseDataObject {
  ZO_DATA_CLASS(TSoChave, zo::TBaseDataObject)
};

class StatementGenerationTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    RegisterDemoClasses();
    static std::once_flag once;
    std::call_once(
        once, [] { zo::DefineClass<TSoChave>("Tests", zo::Annotation("SO_CHAVE")).Key("ID"); });
  }
};

TEST_F(StatementGenerationTest, InsertAndSelectTemplates) {
  const auto* cidade = GetObjectInfoDB(&TCidade::StaticType());
  EXPECT_EQ(cidade->SqlInsTpl(), "insert into CIDADES(ID,NOME,UF,COD_IBGE) values(%s)");
  EXPECT_EQ(cidade->SqlSelTpl(), "select ID,NOME,UF,COD_IBGE from CIDADES where ID = %d");
  EXPECT_EQ(cidade->GenerateSelectCode(12),
            "select ID,NOME,UF,COD_IBGE from CIDADES where ID = 12");

  // Embedded member and text blob left out of the insert list; the bitmap inserted but never
  // selected; the key first in both.
  const auto* cliente = GetObjectInfoDB(&TCliente::StaticType());
  EXPECT_EQ(cliente->SqlInsTpl(),
            "insert into CLIENTES(ID,USUARIO_ID,DATAHORA_INC,DATAHORA_ALT,NOME,EMAIL,TIPO,ATIVO,"
            "DATA_CADASTRO,LIMITE_CREDITO,CIDADE_ID,Foto) values(%s)");
  EXPECT_EQ(cliente->SqlSelTpl(),
            "select ID,USUARIO_ID,DATAHORA_INC,DATAHORA_ALT,NOME,EMAIL,TIPO,ATIVO,DATA_CADASTRO,"
            "LIMITE_CREDITO,CIDADE_ID,OBSERVACOES from CLIENTES where ID = %d");

  // Binary blob in neither list; lists have no column.
  const auto* produto = GetObjectInfoDB(&TProduto::StaticType());
  EXPECT_EQ(produto->SqlSelTpl().find("IMAGEM"), std::string::npos);
  EXPECT_EQ(GetObjectInfoDB(&TPedido::StaticType())->SqlSelTpl().find("Itens"), std::string::npos);

  const auto* soChave = GetObjectInfoDB(&TSoChave::StaticType());
  EXPECT_EQ(soChave->SqlInsTpl(), "insert into SO_CHAVE(ID) values(%s)");
  EXPECT_EQ(soChave->SqlSelTpl(), "select ID from SO_CHAVE where ID = %d");
  // The metadata is the core's metadata too, with the key rules of the server.
  const zo::TDataObjectInfo& core = *soChave;
  EXPECT_EQ(core.KeyProperty(), TSoChave::StaticType().KeyProperty());
  EXPECT_EQ(core.GetKeyName(), "ID");
}

TEST_F(StatementGenerationTest, EachPlacementOfAClassIsItsOwnEntry) {
  auto* own = GetObjectInfoDB(&TEndereco::StaticType());
  EXPECT_EQ(own->GetTableName(), "TEndereco") << "no class annotation: the class name";
  auto* hosted = GetObjectInfoDB(&TEndereco::StaticType(), &TCliente::StaticType(), "END");
  EXPECT_EQ(hosted, GetObjectInfoDB(&TEndereco::StaticType(), &TCliente::StaticType(), "END"));
  EXPECT_EQ(&hosted->Mapping(), &own->Mapping()) << "one mapping per class";
  EXPECT_EQ(hosted->GetTableName(), "CLIENTES");
  EXPECT_EQ(hosted->HostKeyName(), "ID");
  EXPECT_EQ(hosted->SqlInsTpl(), "insert into CLIENTES(ID,END_RUA,END_NUMERO,END_BAIRRO) values(%s)");
  EXPECT_EQ(hosted->SqlSelTpl(),
            "select ID,END_RUA,END_NUMERO,END_BAIRRO,END_OBS from CLIENTES where ID = %d");
  // Asking with a host changes nothing for those who ask without one.
  EXPECT_EQ(GetObjectInfoDB(&TEndereco::StaticType()), own);
  EXPECT_EQ(own->GetTableName(), "TEndereco");
  EXPECT_EQ(own->SqlInsTpl(), "insert into TEndereco(ID,RUA,NUMERO,BAIRRO) values(%s)");
  EXPECT_EQ(GetObjectInfoDB(&TEndereco::StaticType(), nullptr, "END"), own)
      << "a prefix without a host is ignored";
}

TEST_F(StatementGenerationTest, ThreadsAskingForOneClassAtDifferentPlacementsAgree) {
  // Each thread asks for the same class, half of them hosted, many times over, and checks every
  // answer at once: none may see another's placement.
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &wrong] {
      for (int i = 0; i < 2000; ++i) {
        const bool hostedAsk = (t + i) % 2 == 0;
        const auto* info =
            hostedAsk ? GetObjectInfoDB(&TEndereco::StaticType(), &TCliente::StaticType(), "END")
                      : GetObjectInfoDB(&TEndereco::StaticType());
        const bool right = hostedAsk ? info->GetTableName() == "CLIENTES" &&
                                           info->GenerateSelectCode(1).find("END_RUA") !=
                                               std::string::npos
                                     : info->GetTableName() == "TEndereco" &&
                                           info->FieldPrefix().empty();
        if (!right) ++wrong;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
}

TEST_F(StatementGenerationTest, FieldDeclarations) {
  const auto* info = GetObjectInfoDB(&TCliente::StaticType());
  const auto& t = TCliente::StaticType();
  EXPECT_EQ(info->GetFieldDecl(t.FindProperty("Nome"), ""), "NOME VARCHAR(100) NOT NULL");
  EXPECT_EQ(info->GetFieldDecl(t.FindProperty("Nome"), "X"), "X_NOME VARCHAR(100)")
      << "a prefixed column is never NOT NULL";
  EXPECT_EQ(info->GetFieldDecl(t.FindProperty("Codigo"), ""), "ID INTEGER NOT NULL");
  EXPECT_EQ(info->GetFieldDecl(t.FindProperty("UserID"), ""), "USUARIO_ID INTEGER");
  EXPECT_EQ(info->GetFieldDecl(t.FindProperty("Tipo"), ""), "TIPO SMALLINT");
  EXPECT_EQ(info->GetFieldDecl(t.FindProperty("DataCadastro"), ""), "DATA_CADASTRO DATE");
  EXPECT_EQ(info->GetFieldDecl(t.FindProperty("DataHoraInclusao"), ""), "DATAHORA_INC TIMESTAMP");
  EXPECT_EQ(info->GetFieldDecl(t.FindProperty("Observacoes"), ""),
            "OBSERVACOES BLOB SUB_TYPE 1 SEGMENT SIZE 4096 CHARACTER SET ISO8859_1");
  const auto* produto = GetObjectInfoDB(&TProduto::StaticType());
  const auto& p = TProduto::StaticType();
  EXPECT_EQ(produto->GetFieldDecl(p.FindProperty("Imagem"), ""),
            "IMAGEM BLOB SUB_TYPE 0 SEGMENT SIZE 16384");
  EXPECT_EQ(produto->GetFieldDecl(p.FindProperty("Unidade"), ""), "UNIDADE CHAR");
  EXPECT_EQ(produto->GetFieldDecl(p.FindProperty("Preco"), ""), "PRECO DOUBLE PRECISION");
}

TEST_F(StatementGenerationTest, InsertStatementCarriesLiterals) {
  TCidade c;
  c.Codigo = 3;
  c.Nome = "Sant'Ana";
  c.UF = "SP";
  c.CodigoIBGE = 3550308;
  EXPECT_EQ(GetObjectInfoDB(&TCidade::StaticType())->GenerateInsertCode(c),
            "insert into CIDADES(ID,NOME,UF,COD_IBGE) values(3,'Sant''Ana','SP',3550308)");
  TCliente cli;
  cli.Codigo = 8;
  cli.Nome = "100% Ana";
  cli.Foto = std::make_unique<zo::TBitmap>(std::string("PNG"));
  // No e-mail: NULL in the unique column, so that customers without one never collide.
  EXPECT_EQ(GetObjectInfoDB(&TCliente::StaticType())->GenerateInsertCode(cli),
            "insert into CLIENTES(ID,USUARIO_ID,DATAHORA_INC,DATAHORA_ALT,NOME,EMAIL,TIPO,ATIVO,"
            "DATA_CADASTRO,LIMITE_CREDITO,CIDADE_ID,Foto) "
            "values(8,NULL,NULL,NULL,'100% Ana',NULL,0,1,NULL,0,NULL,NULL)");
}

TEST_F(StatementGenerationTest, UpdateWritesOrdinaryColumnsThenTextBlobChunks) {
  const auto* info = GetObjectInfoDB(&TCliente::StaticType());
  const auto& t = TCliente::StaticType();
  TCliente c;
  c.Codigo = 7;
  c.Nome = "Ana";
  c.Observacoes = "ação";
  std::vector<std::string> cmds;
  info->GenerateUpdateCode(c, {t.FindProperty("Nome"), t.FindProperty("Observacoes")}, cmds);
  ASSERT_EQ(cmds.size(), 3u);
  EXPECT_EQ(cmds[0], "update CLIENTES set NOME = 'Ana' where ID = 7");
  EXPECT_EQ(cmds[1], "update CLIENTES set OBSERVACOES = '' where ID = 7");
  EXPECT_EQ(cmds[2], "update CLIENTES set OBSERVACOES = OBSERVACOES || x'61E7E36F' WHERE ID = 7")
      << "text goes as Latin-1 bytes";

  cmds.clear();
  c.Observacoes = std::string(16385, 'a');
  info->GenerateUpdateCode(c, {t.FindProperty("Observacoes")}, cmds);
  ASSERT_EQ(cmds.size(), 3u);
  std::string fullChunk;
  for (int i = 0; i < 16384; ++i) fullChunk += "61";
  EXPECT_EQ(cmds[1],
            "update CLIENTES set OBSERVACOES = OBSERVACOES || x'" + fullChunk + "' WHERE ID = 7");
  EXPECT_EQ(cmds[2], "update CLIENTES set OBSERVACOES = OBSERVACOES || x'61' WHERE ID = 7");

  cmds.clear();
  c.Observacoes.clear();
  info->GenerateUpdateCode(c, {t.FindProperty("Observacoes")}, cmds);
  EXPECT_EQ(cmds.size(), 1u) << "an empty text only clears the column";

  try {
    info->GenerateUpdateCode(c, {}, cmds);
    FAIL();
  } catch (const zo::Exception& e) {
    EXPECT_STREQ(e.what(), "Lista vazia");
  }
}

TEST_F(StatementGenerationTest, EmbeddedMemberUpdatesUsePrefixAndHostKey) {
  const auto* info = GetObjectInfoDB(&TEndereco::StaticType(), &TCliente::StaticType(), "END");
  const auto& t = TEndereco::StaticType();
  TEndereco e;
  e.Codigo = 5;
  e.Rua = "Rua A";
  e.Obs = "x";
  std::vector<std::string> cmds;
  info->GenerateUpdateCode(e, {t.FindProperty("Rua"), t.FindProperty("Obs")}, cmds);
  ASSERT_EQ(cmds.size(), 3u);
  EXPECT_EQ(cmds[0], "update CLIENTES set END_RUA = 'Rua A' where ID = 5");
  EXPECT_EQ(cmds[1], "update CLIENTES set END_OBS = '' where ID = 5");
  EXPECT_EQ(cmds[2], "update CLIENTES set END_OBS = END_OBS || x'78' WHERE ID = 5");
}

TEST_F(StatementGenerationTest, ChangedPropertiesIncludeAReplacedComposition) {
  const auto* info = GetObjectInfoDB(&TPedido::StaticType());
  TPedido stored;
  TPedido edited;
  stored.Codigo = edited.Codigo = 1;
  stored.Numero = edited.Numero = 10;
  stored.Cliente = std::make_unique<TCliente>();
  stored.Cliente->Codigo = 3;
  edited.Cliente = std::make_unique<TCliente>();
  edited.Cliente->Codigo = 3;
  EXPECT_TRUE(info->GetChangedProperties(nullptr, &stored, edited).empty());

  edited.Cliente->Codigo = 4;
  edited.Status = TStatusPedido::spFaturado;
  auto changed = info->GetChangedProperties(nullptr, &stored, edited);
  ASSERT_EQ(changed.size(), 2u);
  EXPECT_EQ(changed[0]->Name(), "Cliente");
  EXPECT_EQ(changed[1]->Name(), "Status");

  edited.Cliente.reset();
  edited.Status = stored.Status;
  changed = info->GetChangedProperties(nullptr, &stored, edited);
  ASSERT_EQ(changed.size(), 1u);
  EXPECT_EQ(changed[0]->Name(), "Cliente");
}

TEST_F(StatementGenerationTest, QuickCreateStatementAndTableNameChecks) {
  TCidade c;
  EXPECT_EQ(GetObjectInfoDB(&TCidade::StaticType())->GenerateCreateCode(c),
            "CREATE TABLE CIDADES (ID INTEGER,NOME VARCHAR(256),UF VARCHAR(256),COD_IBGE );");
  EXPECT_EQ(zo::GetAttributeTableName(&TPedido::StaticType()), "PEDIDOS");
  EXPECT_THROW(zo::GetAttributeTableName(&TEndereco::StaticType()), zo::Exception);
  EXPECT_THROW(zo::GetAttributeTableName(nullptr), zo::Exception);
  EXPECT_THROW(GetObjectInfoDB(&zo::TWaitScreenCommandGo::StaticType())->GetKeyName(),
               zo::Exception);
}

}  // namespace
