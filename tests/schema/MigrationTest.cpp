// Migration scripts run on real databases: the catalog's model compared with the classes'
// model, the script run, and the database read again.
#include <gtest/gtest.h>

#include "examples/demo/DemoClasses.h"
#include <zo/mapping/ServerClasses.h>
#include <zo/platform/db/DBXCommand.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/DBXReader.h>
#include "tests/schema/MigrationSupport.h"
#include "tests/schema/SchemaTestClasses.h"
#include "tests/support/DemoDatabase.h"

namespace zo {
namespace {

using testing::MigrationScript;
using testing::RunScript;

std::unique_ptr<TModuleStruct> Model(const std::vector<TDataObjectClass>& classes) {
  schematest::RegisterSchemaTestClasses();
  return TDataObjectInfoDB::GenerateDataBaseStruct(HInstance, demo::kDemoModuleName, classes);
}

std::string Text(TSQLConnection& conn, const std::string& sql) {
  auto command = conn.DBXConnection().CreateCommand();
  command->SetText(sql);
  auto reader = command->ExecuteQuery();
  if (!reader->Next()) return "(no row)";
  return reader->IsNull(0) ? "(null)" : reader->GetString(0);
}

TEST(MigrationTest, AnEmptyDatabaseGetsTheWholeSchema) {
  testing::TempDir dir;
  const std::string path = dir.File("new.fdb");
  testing::CreateEmptyDatabase(path);
  auto conn = testing::OpenConnection(path);
  const auto expected = Model(demo::DemoTableClasses());

  const std::string script = MigrationScript(*conn, *expected);
  // The merged class's columns are added to the new host table at the end.
  EXPECT_NE(script.find("CREATE SEQUENCE GEN_ITENS_PEDIDO; ALTER SEQUENCE GEN_ITENS_PEDIDO "
                        "RESTART WITH 0;\r\nALTER TABLE CLIENTES ADD DESCONTO_VIP DOUBLE "
                        "PRECISION;\r\nALTER TABLE CLIENTES ADD GERENTE VARCHAR(60)  CHARACTER SET "
                        "ISO8859_1;\r\n"),
            std::string::npos)
      << script;
  ASSERT_NO_THROW(RunScript(*conn, script));
  EXPECT_EQ(MigrationScript(*conn, *expected), "");
}

// The classes moved on: a city's name grew and its state shrank, cities gained a column,
// products a reference, a class was added and the order items' class removed.
TEST(MigrationTest, ChangedClassesBringThePopulatedDatabaseAlong) {
  testing::DemoDatabase db;
  auto conn = db.Connect();
  RunScript(*conn,
            "INSERT INTO CIDADES (ID, NOME, UF) VALUES (1, 'Campinas', 'SP');\n"
            "INSERT INTO CATEGORIAS (ID, NOME) VALUES (1, 'Livros');\n"
            "INSERT INTO PRODUTOS (ID, DESCRICAO, CATEGORIA_ID) VALUES (1, 'Livro', 1);\n");
  const auto expected = Model(schematest::ChangedDemoClasses());

  const std::string script = MigrationScript(*conn, *expected);
  EXPECT_EQ(script,
            "CREATE TABLE FORNECEDORES_INTERNACIONAIS (\r\n"
            "   CIDADE_ID INTEGER,\r\n"
            "   ID INTEGER NOT NULL,\r\n"
            "   NOME VARCHAR(60)  CHARACTER SET ISO8859_1 NOT NULL\r\n"
            ");\r\n"
            "\r\n"
            "ALTER TABLE FORNECEDORES_INTERNACIONAIS ADD CONSTRAINT PK_FORNECEDORES_INTERNACIONAIS "
            "PRIMARY KEY (ID);\r\n"
            "ALTER TABLE FORNECEDORES_INTERNACIONAIS ADD CONSTRAINT DEMOINTERNACIONAISCIDADES "
            "FOREIGN KEY (CIDADE_ID) REFERENCES CIDADES (ID);\r\n"
            "CREATE SEQUENCE GEN_FORNECEDORES_INTERNACIONAIS; "
            "ALTER SEQUENCE GEN_FORNECEDORES_INTERNACIONAIS RESTART WITH 0;\r\n"
            "ALTER TABLE CIDADES ALTER NOME TYPE VARCHAR(80)  CHARACTER SET ISO8859_1;\r\n"
            "ALTER TABLE CIDADES ADD POPULACAO INTEGER;\r\n"
            "ALTER TABLE PRODUTOS ADD ORIGEM_ID INTEGER;\r\n"
            "ALTER TABLE PRODUTOS ADD CONSTRAINT DEMOPRODUTOSCIDADES FOREIGN KEY (ORIGEM_ID) "
            "REFERENCES CIDADES (ID);\r\n"
            "ALTER TABLE ITENS_PEDIDO DROP CONSTRAINT PK_ITENS_PEDIDO;\r\n"
            "ALTER TABLE ITENS_PEDIDO DROP CONSTRAINT DEMOITENSPEDIDOPEDIDOS;\r\n"
            "ALTER TABLE ITENS_PEDIDO DROP CONSTRAINT DEMOITENSPEDIDOPRODUTOS;\r\n"
            "DROP TABLE ITENS_PEDIDO;\r\n");
  ASSERT_NO_THROW(RunScript(*conn, script));

  EXPECT_EQ(MigrationScript(*conn, *expected), "");
  const auto read = ReadDatabaseStruct(conn->DBXConnection(), expected.get());
  const TTableStruct& cidades = *read->FindTable("CIDADES");
  EXPECT_EQ(cidades.FindColumn("UF")->Size(), 2);  // never shortened
  // The rows are still there; the new columns are empty.
  EXPECT_EQ(Text(*conn, "SELECT NOME || '/' || UF FROM CIDADES WHERE ID = 1"), "Campinas/SP");
  EXPECT_EQ(Text(*conn, "SELECT ORIGEM_ID FROM PRODUTOS WHERE ID = 1"), "(null)");
}

}  // namespace
}  // namespace zo
