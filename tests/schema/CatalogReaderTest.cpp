// The catalog reader on real embedded databases.

#include <gtest/gtest.h>

#include <zo/mapping/ServerClasses.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/SQLConnection.h>
#include <zo/schema/CatalogReader.h>
#include <zo/schema/DBManager.h>
#include "examples/demo/DemoClasses.h"

#include "tests/schema/SchemaTestClasses.h"
#include "tests/support/DemoDatabase.h"

namespace zo {
namespace {

using testing::QueryString;
using testing::RunScript;

std::unique_ptr<TModuleStruct> DemoModel() {
  demo::RegisterDemoClasses();
  return TDataObjectInfoDB::GenerateDataBaseStruct(HInstance, demo::kDemoModuleName,
                                                   demo::DemoTableClasses());
}

// The script that brings the database on `conn` to `expected`, as the schema tool makes it:
// the catalog's model compared with the classes' model.
std::string MigrationScript(TSQLConnection& conn, const TModuleStruct& expected,
                            const TCatalogReadOptions& options = {}) {
  const auto current = ReadDatabaseStruct(conn.DBXConnection(), &expected, options);
  TDataBaseManager manager;
  manager.SetCurrentStruct(current.get());
  manager.SetNewStruct(&expected);
  return manager.MakeScript();
}

// A fresh empty database in its own directory.
struct EmptyDatabase {
  testing::TempDir dir;
  std::unique_ptr<TSQLConnection> conn;
  explicit EmptyDatabase(const std::string& script = "") {
    const std::string path = dir.File("empty.fdb");
    testing::CreateEmptyDatabase(path);
    conn = testing::OpenConnection(path);
    if (!script.empty()) RunScript(*conn, script);
  }
};

TEST(CatalogReaderTest, FirebirdTypesMapOntoTheModel) {
  EmptyDatabase db(
      "CREATE DOMAIN D_OBRIGATORIO INTEGER NOT NULL;\n"
      "CREATE TABLE TIPOS (S SMALLINT, I INTEGER NOT NULL, B BIGINT, N NUMERIC(10,2), "
      "D DOUBLE PRECISION, F FLOAT, DT DATE, TM TIME, TS TIMESTAMP, C1 CHAR(1), C10 CHAR(10), "
      "V VARCHAR(30) CHARACTER SET UTF8, TXT BLOB SUB_TYPE 1, BIN BLOB, BO BOOLEAN, "
      "DOM D_OBRIGATORIO);");
  const auto read = ReadDatabaseStruct(db.conn->DBXConnection(), nullptr);
  ASSERT_EQ(read->NormalTables().size(), 1u);
  const TTableStruct& table = *read->NormalTables()[0];
  EXPECT_EQ(table.SourceClass(), "TIPOS");  // no class claims it
  EXPECT_FALSE(table.HasGenerator());

  struct Expected {
    const char* name;
    TDBRType type;
    int32_t size;
    bool required;
  };
  const Expected columns[] = {
      {"S", TDBRType::dbsEnum, 0, false},       {"I", TDBRType::dbsInteger, 0, true},
      {"B", TDBRType::dbsInteger, 0, false},    {"N", TDBRType::dbsFloat, 0, false},
      {"D", TDBRType::dbsFloat, 0, false},      {"F", TDBRType::dbsFloat, 0, false},
      {"DT", TDBRType::dbsDate, 0, false},      {"TM", TDBRType::dbsTime, 0, false},
      {"TS", TDBRType::dbsDateTime, 0, false},  {"C1", TDBRType::dbsChar, 0, false},
      {"C10", TDBRType::dbsString, 10, false},  {"V", TDBRType::dbsString, 30, false},
      {"TXT", TDBRType::dbsTextBlob, 0, false}, {"BIN", TDBRType::dbsBinBlob, 0, false},
      {"BO", TDBRType::dbsEnum, 0, false},      {"DOM", TDBRType::dbsInteger, 0, true},
  };
  ASSERT_EQ(table.Columns().size(), std::size(columns));
  for (size_t i = 0; i < std::size(columns); ++i) {
    const TColumnStruct& column = *table.Columns()[i];
    EXPECT_EQ(column.Name(), columns[i].name);  // in field-position order
    EXPECT_EQ(column.TypeData(), columns[i].type) << column.Name();
    EXPECT_EQ(column.Size(), columns[i].size) << column.Name();
    EXPECT_EQ(column.Required(), columns[i].required) << column.Name();
  }
}

TEST(CatalogReaderTest, KeysIndicesAndDependencies) {
  EmptyDatabase db(
      "CREATE TABLE AAA (ID INTEGER NOT NULL, CODIGO VARCHAR(10), NOME VARCHAR(20));\n"
      "ALTER TABLE AAA ADD CONSTRAINT PK_AAA PRIMARY KEY (ID);\n"
      "ALTER TABLE AAA ADD CONSTRAINT UQ_AAA_CODIGO UNIQUE (CODIGO);\n"
      "ALTER TABLE AAA ADD CONSTRAINT UQ_AAA_PAR UNIQUE (NOME, CODIGO);\n"
      "CREATE INDEX IX_AAA_NOME ON AAA (NOME);\n"
      "CREATE TABLE ZZZ (ID INTEGER NOT NULL, AAA_ID INTEGER);\n"
      "ALTER TABLE ZZZ ADD CONSTRAINT PK_ZZZ PRIMARY KEY (ID);\n"
      "ALTER TABLE ZZZ ADD CONSTRAINT FK_ZZZ_AAA FOREIGN KEY (AAA_ID) REFERENCES AAA (ID);\n"
      "CREATE SEQUENCE GEN_ZZZ;");
  const TModuleStruct nothing;
  const auto read = ReadDatabaseStruct(db.conn->DBXConnection(), &nothing);
  ASSERT_EQ(read->NormalTables().size(), 2u);
  // ZZZ references AAA, so it comes first.
  const TTableStruct& zzz = *read->NormalTables()[0];
  const TTableStruct& aaa = *read->NormalTables()[1];
  EXPECT_EQ(zzz.Name(), "ZZZ");
  EXPECT_TRUE(zzz.HasGenerator());
  EXPECT_FALSE(aaa.HasGenerator());
  EXPECT_EQ(zzz.ThisDepends(), TTableRefs{const_cast<TTableStruct*>(&aaa)});
  EXPECT_EQ(aaa.DependsThis(), TTableRefs{const_cast<TTableStruct*>(&zzz)});
  ASSERT_EQ(zzz.ForeignKeys().size(), 1u);
  EXPECT_EQ(zzz.ForeignKeys()[0]->getDDL(),
            "ALTER TABLE ZZZ ADD CONSTRAINT FK_ZZZ_AAA FOREIGN KEY (AAA_ID) REFERENCES AAA (ID);");
  ASSERT_EQ(aaa.Uniques().size(), 1u);  // of one column only
  EXPECT_EQ(aaa.Uniques()[0]->getDDL(),
            "ALTER TABLE AAA ADD CONSTRAINT UQ_AAA_CODIGO UNIQUE (CODIGO);");
  ASSERT_EQ(aaa.Indices().size(), 1u);  // the constraints' own indices are not listed
  EXPECT_EQ(aaa.Indices()[0]->getDDL(), "CREATE INDEX \"IX_AAA_NOME\" ON AAA (NOME);");
  EXPECT_TRUE(aaa.FindColumn("NOME")->Indexed());

  // Neither table has a class: the migration drops both, and Firebird accepts the order.
  TDataBaseManager manager;
  manager.SetCurrentStruct(read.get());
  manager.SetNewStruct(&nothing);
  ASSERT_NO_THROW(RunScript(*db.conn, manager.MakeScript()));
  EXPECT_TRUE(ReadDatabaseStruct(db.conn->DBXConnection(), &nothing)->NormalTables().empty());
}

// The demo database reads back as its classes' model, but for a column kept outside them.
TEST(CatalogReaderTest, ColumnsKeptOutsideTheClassesAreNeverDropped) {
  testing::DemoDatabase db;
  auto conn = db.Connect();
  RunScript(*conn, "ALTER TABLE USUARIOS ADD SENHA_HASH VARCHAR(128);");
  const auto expected = DemoModel();
  EXPECT_EQ(MigrationScript(*conn, *expected), "ALTER TABLE USUARIOS DROP SENHA_HASH;\r\n");
  TCatalogReadOptions options;
  options.ignoredColumns = {"usuarios.Senha_Hash"};
  EXPECT_EQ(MigrationScript(*conn, *expected, options), "");
}

TEST(CatalogReaderTest, MergedClassColumnsAreComparedOnTheirOwn) {
  testing::DemoDatabase db;
  auto conn = db.Connect();
  RunScript(*conn, "ALTER TABLE CLIENTES DROP GERENTE;");
  const auto expected = DemoModel();
  EXPECT_EQ(MigrationScript(*conn, *expected),
            "ALTER TABLE CLIENTES ADD GERENTE VARCHAR(60)  CHARACTER SET ISO8859_1;\r\n");
}

// A table no class claims but which bears the name of a class of another table is not
// mistaken for that class's table.
TEST(CatalogReaderTest, UnknownTableNamedLikeAClass) {
  testing::DemoDatabase db;
  auto conn = db.Connect();
  RunScript(*conn, "CREATE TABLE TCIDADE (ID INTEGER NOT NULL);");
  EXPECT_EQ(MigrationScript(*conn, *DemoModel()),
            "ALTER TABLE TCIDADE DROP CONSTRAINT ;\r\nDROP TABLE TCIDADE;\r\n");
}

constexpr const char* kRoutines =
    "CREATE TABLE T (ID INTEGER NOT NULL, NOME VARCHAR(20));\n"
    "SET TERM ^ ;\n"
    "CREATE PROCEDURE DOBRO (A INTEGER, S VARCHAR(10) NOT NULL) RETURNS (R NUMERIC(15,2)) AS\n"
    "BEGIN\n  R = A * 2;\n  SUSPEND;\nEND^\n"
    "CREATE PROCEDURE NADA AS\nBEGIN\nEND^\n"
    "CREATE TRIGGER T_BIU FOR T ACTIVE BEFORE INSERT OR UPDATE POSITION 5 AS\n"
    "BEGIN\n  NEW.NOME = UPPER(NEW.NOME);\nEND^\n"
    "CREATE TRIGGER T_AD FOR T INACTIVE AFTER DELETE POSITION 0 AS\nBEGIN\nEND^\n"
    "CREATE TRIGGER AO_CONECTAR ACTIVE ON CONNECT POSITION 0 AS\nBEGIN\nEND^\n"
    "SET TERM ; ^\n";
constexpr const char* kExternalsAndSequences =
    "DECLARE EXTERNAL FUNCTION F CSTRING(80), INTEGER RETURNS INTEGER BY VALUE "
    "ENTRY_POINT 'f_x' MODULE_NAME 'udflib';\n"
    "DECLARE EXTERNAL FUNCTION G CSTRING(80) RETURNS CSTRING(255) FREE_IT "
    "ENTRY_POINT 'g_x' MODULE_NAME 'udflib';\n"
    "CREATE SEQUENCE GEN_A;\nCREATE SEQUENCE GEN_B;\nALTER SEQUENCE GEN_B RESTART WITH 42;\n";

// What the catalog reader finds besides tables, as text.
std::vector<std::string> Statements(TDBXConnection& connection) {
  const auto module = ReadDatabaseStruct(connection, nullptr);
  std::vector<std::string> statements;
  for (const auto& p : module->Procedures()) statements.push_back(p->getDDL());
  for (const auto& t : module->Triggers()) statements.push_back(t->Table() + ": " + t->getDDL());
  for (const auto& u : module->UDFS()) statements.push_back(u->getDDL());
  for (const auto& s : ReadSequences(connection)) {
    statements.push_back(s->Name() + " = " + std::to_string(s->Value()));
  }
  return statements;
}

TEST(CatalogReaderTest, RoutinesExternalFunctionsAndSequences) {
  EmptyDatabase db(std::string(kRoutines) + kExternalsAndSequences);
  const std::vector<std::string> statements = Statements(db.conn->DBXConnection());
  EXPECT_EQ(
      statements,
      (std::vector<std::string>{
          "CREATE PROCEDURE DOBRO (A INTEGER, S VARCHAR(10) NOT NULL)\n"
          "RETURNS (R NUMERIC(15,2))\nAS\nBEGIN\n  R = A * 2;\n  SUSPEND;\nEND",
          "CREATE PROCEDURE NADA\nAS\nBEGIN\nEND",
          ": CREATE TRIGGER AO_CONECTAR ACTIVE ON CONNECT POSITION 0\nAS\nBEGIN\nEND",
          "T: CREATE TRIGGER T_AD FOR T INACTIVE AFTER DELETE POSITION 0\nAS\nBEGIN\nEND",
          "T: CREATE TRIGGER T_BIU FOR T ACTIVE BEFORE INSERT OR UPDATE POSITION 5\nAS\n"
          "BEGIN\n  NEW.NOME = UPPER(NEW.NOME);\nEND",
          "DECLARE EXTERNAL FUNCTION F\r\nCSTRING(80),\r\nINTEGER\r\nRETURNS INTEGER BY VALUE\r\n"
          "ENTRY_POINT 'f_x' MODULE_NAME 'udflib';\r\n",
          "DECLARE EXTERNAL FUNCTION G\r\nCSTRING(80)\r\nRETURNS CSTRING(255) FREE IT \r\n"
          "ENTRY_POINT 'g_x' MODULE_NAME 'udflib';\r\n",
          "GEN_A = 0", "GEN_B = 42"}));

  // The routines read back make the same ones on another database.
  const auto read = ReadDatabaseStruct(db.conn->DBXConnection(), nullptr);
  std::string script = "CREATE TABLE T (ID INTEGER NOT NULL, NOME VARCHAR(20));\nSET TERM ^ ;\n";
  for (const auto& p : read->Procedures()) script += p->getDDL() + "^\n";
  for (const auto& t : read->Triggers()) script += t->getDDL() + "^\n";
  EmptyDatabase copy(script + "SET TERM ; ^\n" + kExternalsAndSequences);
  EXPECT_EQ(Statements(copy.conn->DBXConnection()), statements);
}

// Migration scripts run on real databases: the catalog's model compared with the classes'
// model, the script run, and the database read again.

std::unique_ptr<TModuleStruct> Model(const std::vector<TDataObjectClass>& classes) {
  schematest::RegisterSchemaTestClasses();
  return TDataObjectInfoDB::GenerateDataBaseStruct(HInstance, demo::kDemoModuleName, classes);
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
  EXPECT_EQ(QueryString(*conn, "SELECT NOME || '/' || UF FROM CIDADES WHERE ID = 1"),
            "Campinas/SP");
  EXPECT_EQ(QueryString(*conn, "SELECT ORIGEM_ID IS NULL FROM PRODUTOS WHERE ID = 1"), "True");
}

}  // namespace
}  // namespace zo
