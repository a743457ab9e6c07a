// Catalog questions, single values, generators, statements and transactions.
#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>
#include "tests/persistence/PersistenceTestSupport.h"

namespace zo::testing {
namespace {

using demo::TCidade;

class CatalogTest : public PersistenceTest {};

TEST_F(CatalogTest, CatalogQuestionsFollowTheirCaseRules) {
  ExecuteSqlCmd(Conn(), std::vector<std::string>{
                            "CREATE INDEX IDX_PESSOAS_NOME ON PESSOAS (NOME)",
                            "CREATE TRIGGER TRG_PESSOAS FOR PESSOAS BEFORE INSERT AS BEGIN END",
                            "CREATE PROCEDURE PRC_NADA AS BEGIN END",
                            "CREATE FUNCTION DOBRO (X INTEGER) RETURNS INTEGER AS BEGIN "
                            "RETURN X * 2; END",
                        });
  EXPECT_TRUE(TableExists(Conn(), "PESSOAS"));
  EXPECT_TRUE(TableExists(Conn(), "pessoas"));
  EXPECT_FALSE(TableExists(Conn(), "NADA"));
  EXPECT_FALSE(TableExists(Conn(), "RDB$RELATIONS")) << "user tables only";

  EXPECT_TRUE(IndexExists(Conn(), "IDX_PESSOAS_NOME"));
  EXPECT_FALSE(IndexExists(Conn(), "idx_pessoas_nome"));
  EXPECT_TRUE(TriggerExists(Conn(), "TRG_PESSOAS"));
  EXPECT_FALSE(TriggerExists(Conn(), "trg_pessoas"));
  EXPECT_TRUE(StoredProcedureExists(Conn(), "prc_nada")) << "the name is upper-cased";
  EXPECT_FALSE(StoredProcedureExists(Conn(), "PRC_TUDO"));
  EXPECT_TRUE(UDFMethodExists(Conn(), "DOBRO"));
  EXPECT_FALSE(UDFMethodExists(Conn(), "dobro"));
  EXPECT_TRUE(GeneratorExists(Conn(), "GEN_PESSOAS"));
  EXPECT_FALSE(GeneratorExists(Conn(), "GEN_NADA"));
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

  EXPECT_EQ(GetFieldLength(Conn(), "CIDADES", "NOME"), 60);
  EXPECT_EQ(GetFieldLength(Conn(), "CIDADES", "PESO"), 0);
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

TEST_F(CatalogTest, ClosedOrNeverOpenedConnectionRaises) {
  TDBXConnection neverOpened;
  EXPECT_THROW(TableExists(neverOpened, "CIDADES"), Exception);
  EXPECT_THROW(GetDataObject(neverOpened, 1, &TCidade::StaticType()), Exception);

  TDBXConnection& closed = Conn();
  sql_->Close();
  EXPECT_EQ(MessageOf([&] { ExecuteSqlCmd(closed, "delete from CIDADES"); }),
            "The database connection is not open\r\ndelete from CIDADES...");
}

// 0 for a repeated primary or unique key, as the database reports it; -1 for anything else.
TEST_F(CatalogTest, FailureCodes) {
  ExecuteSqlCmd(Conn(), std::vector<std::string>{
                            "CREATE TABLE K (ID INTEGER NOT NULL PRIMARY KEY, U INTEGER UNIQUE, "
                            "I INTEGER, R INTEGER REFERENCES K (ID))",
                            "CREATE UNIQUE INDEX UX_K_I ON K (I)",
                            "INSERT INTO K VALUES (1, 1, 1, NULL)",
                        });
  const auto codeOf = [&](const std::string& sql) {
    try {
      ExecuteSqlCmd(Conn(), sql);
    } catch (const std::exception& e) {
      return GetCodeException(e);
    }
    return 99;
  };
  EXPECT_EQ(codeOf("INSERT INTO K VALUES (1, 2, 2, NULL)"), 0);   // primary key
  EXPECT_EQ(codeOf("INSERT INTO K VALUES (2, 1, 2, NULL)"), 0);   // unique constraint
  EXPECT_EQ(codeOf("INSERT INTO K VALUES (2, 2, 1, NULL)"), -1);  // a unique index: no key
  EXPECT_EQ(codeOf("INSERT INTO K VALUES (2, 2, 2, 9)"), -1);     // a foreign key
  EXPECT_EQ(GetCodeException(Exception("violation of PRIMARY or UNIQUE KEY constraint")), 0)
      << "an exception that is not the database's is judged by its text";
  EXPECT_EQ(GetCodeException(Exception("some other failure")), -1);
}

TEST(HelpersTest, StreamCopy) {

  std::vector<uint8_t> bytes(70000);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 7);
  TMemoryStream source(bytes);
  source.SetPosition(100);
  TMemoryStream target(std::string("xy"));
  target.SetPosition(2);
  CopyStreamToStream(source, target);
  EXPECT_EQ(source.Position(), 70000) << "neither stream is moved back";
  EXPECT_EQ(target.Position(), 2 + 69900);
  EXPECT_TRUE(std::equal(bytes.begin() + 100, bytes.end(), target.Bytes().begin() + 2));
}

}  // namespace
}  // namespace zo::testing
