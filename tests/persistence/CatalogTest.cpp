// Catalog questions, single values, generators and statements.
#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>
#include "tests/persistence/PersistenceTestSupport.h"

namespace zo::testing {
namespace {

class CatalogTest : public PersistenceTest {};

TEST_F(CatalogTest, TablesAndColumnsAreFoundWhateverTheCase) {
  EXPECT_TRUE(TableExists(Conn(), "pessoas"));
  EXPECT_FALSE(TableExists(Conn(), "NADA"));
  EXPECT_FALSE(TableExists(Conn(), "RDB$RELATIONS")) << "user tables only";
  EXPECT_TRUE(ColumnExists(Conn(), "pessoas", "idade"));
  EXPECT_FALSE(ColumnExists(Conn(), "PESSOAS", "PESO"));
  EXPECT_NO_THROW(CheckTableExist(Conn(), "Cidades"));
  EXPECT_EQ(MessageOf([&] { CheckTableExist(Conn(), "NADA"); }), "Tabela inexistente: NADA");
}

TEST_F(CatalogTest, PrimaryKeyColumnsComeInKeyOrder) {
  ExecuteSqlCmd(Conn(),
                "CREATE TABLE DUPLA (A INTEGER NOT NULL, B INTEGER NOT NULL, C INTEGER, "
                "CONSTRAINT PK_DUPLA PRIMARY KEY (B, A))");
  EXPECT_EQ(GetPrimaryKey(Conn(), "dupla"), "B,A");
  EXPECT_EQ(GetPrimaryKey(Conn(), "CIDADES"), "ID");
  EXPECT_EQ(MessageOf([&] { GetPrimaryKey(Conn(), "NADA"); }), "Tabela inexistente: NADA");
}

TEST_F(CatalogTest, NovocodigoDrawsFromTheTablesGenerator) {
  EXPECT_EQ(Novocodigo(Conn(), "PESSOAS"), 1);
  EXPECT_EQ(Novocodigo(Conn(), "PESSOAS"), 2);
  ExecuteSqlCmd(Conn(), "ALTER SEQUENCE GEN_PESSOAS RESTART WITH 41");
  EXPECT_EQ(Novocodigo(Conn(), "PESSOAS"), 42);

  const std::string message = MessageOf([&] { Novocodigo(Conn(), "NADA"); });
  EXPECT_TRUE(message.starts_with("Impossível novo código\rSentença inválida: execute block "))
      << message;
  EXPECT_NE(message.find("GEN_NADA"), std::string::npos) << message;
}

TEST_F(CatalogTest, SingleValuesComeTypedByColumn) {
  ExecuteSqlCmd(Conn(),
                "INSERT INTO CIDADES (ID, NOME, UF, COD_IBGE) VALUES (7, 'São Paulo', 'SP', 12)");
  ExecuteSqlCmd(Conn(),
                "INSERT INTO AMOSTRAS (ID, GRANDE, REAL_, DATA, LOGICO, ANEXO) "
                "VALUES (3, 5000000000, 2.5, '1900-01-01', 1, x'00')");
  EXPECT_EQ(GetValueFromField(Conn(), 7, "CIDADES", "NOME"), TVariant(std::string("São Paulo")));
  EXPECT_EQ(GetValueFromField(Conn(), 7, "CIDADES", "COD_IBGE"), TVariant(int32_t{12}));
  EXPECT_EQ(GetValueFromField(Conn(), 3, "AMOSTRAS", "GRANDE"), TVariant(int64_t{5000000000}));
  EXPECT_EQ(GetValueFromField(Conn(), 3, "AMOSTRAS", "REAL_"), TVariant(2.5));
  EXPECT_EQ(GetValueFromField(Conn(), 3, "AMOSTRAS", "DATA"), TVariant(2.0)) << "days";
  EXPECT_EQ(GetValueFromField(Conn(), 3, "AMOSTRAS", "INTEIRO"), TVariant()) << "NULL";
  EXPECT_EQ(GetValueFromField(Conn(), 8, "CIDADES", "NOME"), TVariant()) << "no row";
  EXPECT_EQ(MessageOf([&] { GetValueFromField(Conn(), 3, "AMOSTRAS", "ANEXO"); }),
            "Tipo não reconhecido");
  EXPECT_EQ(MessageOf([&] { GetValueFromField(Conn(), 3, "NADA", "X"); }),
            "Tabela inexistente: NADA");
  EXPECT_EQ(GetValueFromFieldByCondition(Conn(), "CIDADES", "ID", "UF = 'SP'"),
            TVariant(int32_t{7}));
}

TEST_F(CatalogTest, CountTranslatesItsCondition) {
  ExecuteSqlCmd(Conn(), std::vector<std::string>{
                            "INSERT INTO PESSOAS VALUES (1, 'Ana', 17, 1)",
                            "INSERT INTO PESSOAS VALUES (2, 'Bia', 30, 0)",
                            "INSERT INTO PESSOAS VALUES (3, 'Caio', 45, 1)",
                        });
  EXPECT_EQ(GetCount(Conn(), &TPessoa::StaticType(), ""), 3);
  EXPECT_EQ(GetCount(Conn(), &TPessoa::StaticType(), "Idade between 18 and 50 and Ativo = 1"), 1);
  EXPECT_EQ(GetCount(Conn(), &TPessoa::StaticType(), "not Ativo = 1"), 1);
  EXPECT_EQ(GetMax(Conn(), TPessoa::StaticType().FindProperty("Idade"), ""), 0);
}

TEST_F(CatalogTest, FailedStatementNamesItsFirst256Characters) {
  const std::string shortSql = "delete from NADA";
  std::string message = MessageOf([&] { ExecuteSqlCmd(Conn(), shortSql); });
  EXPECT_TRUE(message.ends_with("\r\n" + shortSql + "...")) << message;
  EXPECT_NE(message.find("NADA"), message.rfind("\r\n")) << "Firebird's text comes first";

  // 300 characters, some of two bytes: the cut counts characters and never splits one.
  const std::string longSql = "update PESSOAS set NOME = '" + std::string(150, 'a') + "' where " +
                              text::ReplaceAll(std::string(120, '.'), ".", "ç") + " = 1";
  message = MessageOf([&] { ExecuteSqlCmd(Conn(), longSql); });
  const std::string tail = message.substr(message.rfind("\r\n") + 2);
  EXPECT_EQ(tail, "update PESSOAS set NOME = '" + std::string(150, 'a') + "' where " +
                      text::ReplaceAll(std::string(256 - 27 - 150 - 8, '.'), ".", "ç") + "...");

  ExecuteSqlCmd(Conn(), "CREATE TABLE T1 (ID INTEGER)");
  EXPECT_THROW(ExecuteSqlCmd(Conn(), std::vector<std::string>{"INSERT INTO T1 VALUES (1)", "",
                                                              "INSERT INTO T1 VALUES (2)"}),
               Exception)
      << "an empty line is run too, and fails";
  EXPECT_EQ(Scalar("SELECT LIST(ID) FROM T1"), "1") << "the first failure stops the run";
}

}  // namespace
}  // namespace zo::testing
