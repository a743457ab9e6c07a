// Every DDL text of a hand-built model runs on a new embedded Firebird database, and the catalog
// then holds what the model describes.
#include <gtest/gtest.h>

#include <zo/dbstruct/DBStructClasses.h>
#include "tests/dbstruct/StructBuilders.h"
#include "tests/support/DemoDatabase.h"

namespace zo {
namespace {

using namespace zo::testing;  // NOLINT(google-build-using-namespace)

template <class T>
std::unique_ptr<T> Statement(std::string_view name, std::string text) {
  auto element = std::make_unique<T>();
  element->setName(name);
  element->SetStatement(std::move(text));
  return element;
}

// Two tables with keys, a foreign key, a unique constraint and an index, an extension of the
// first table, a procedure, a trigger and an external function.
std::unique_ptr<TModuleStruct> MakeModule() {
  auto module = std::make_unique<TModuleStruct>();
  TTableStruct& cliente = module->AddNormalTable(MakeTable("cliente", "id"));
  AddColumn(cliente, "nome", TDBRType::dbsString, 60, true);
  AddColumn(cliente, "email", TDBRType::dbsString, 80);
  AddColumn(cliente, "nascimento", TDBRType::dbsDate);
  AddColumn(cliente, "letra", TDBRType::dbsChar);
  AddColumn(cliente, "observacao", TDBRType::dbsTextBlob);
  AddUnique(cliente, "uq_cliente_email", "email");

  TTableStruct& pedido = module->AddNormalTable(MakeTable("pedido", "id"));
  AddColumn(pedido, "cliente_id", TDBRType::dbsInteger, 0, true);
  AddColumn(pedido, "data", TDBRType::dbsDateTime);
  AddColumn(pedido, "hora", TDBRType::dbsTime);
  AddColumn(pedido, "valor", TDBRType::dbsFloat);
  AddColumn(pedido, "situacao", TDBRType::dbsEnum);
  AddColumn(pedido, "anexo", TDBRType::dbsBinBlob);
  AddForeignKey(pedido, "fk_pedido_cliente", "cliente_id", "cliente", "id");
  AddIndex(pedido, "ix_pedido_data", "DATA");

  TTableStruct& vip = module->AddExtendedTable(MakeTable("cliente", "id"));
  vip.SetIsExtendedTable(true);
  AddColumn(vip, "desconto", TDBRType::dbsFloat);

  module->AddProcedure(Statement<TStoredProcedure>(
      "total_cliente",
      "CREATE PROCEDURE TOTAL_CLIENTE (CLIENTE INTEGER) RETURNS (TOTAL DOUBLE PRECISION) AS\n"
      "BEGIN\n  SELECT SUM(VALOR) FROM PEDIDO WHERE CLIENTE_ID = :CLIENTE INTO :TOTAL;\n"
      "  SUSPEND;\nEND"));
  module->AddTrigger(Statement<TTrigger>(
      "pedido_bi",
      "CREATE TRIGGER PEDIDO_BI FOR PEDIDO ACTIVE BEFORE INSERT POSITION 0 AS\n"
      "BEGIN\n  IF (NEW.ID < 0) THEN NEW.ID = NEXT VALUE FOR GEN_PEDIDO;\nEND"));
  TUDFMethod& udf = module->AddUDF(std::make_unique<TUDFMethod>());
  udf.setName("f");
  udf.SetEntryPoint("f_x");
  udf.SetModuleName("udflib");
  udf.SetReturnMechanism(TUDFArgument::TUDFMechanism::trmByValue);
  for (const int32_t type : {8, 40, 8}) udf.AddArgument(MakeArgument(type, 80));
  return module;
}

// The texts in the order a creation script puts them, plus a few rows through the insert head.
std::string CreationScript(const TModuleStruct& module) {
  const TTableStruct& cliente = *module.FindTable("CLIENTE");
  const TTableStruct& pedido = *module.FindTable("PEDIDO");
  TGeneratorStruct generator;
  generator.setName("gen_avulso");
  std::string script;
  for (const auto& table : module.NormalTables()) script += table->GetDDL(false);
  script += cliente.GetDDL(true);
  for (const auto& table : module.NormalTables()) script += table->PrimaryKey()->getDDL() + "\r\n";
  script += pedido.ForeignKeys()[0]->getDDL() + "\r\n";
  script += module.ExtendedTables()[0]->GetDDL(false);
  script += cliente.Uniques()[0]->getDDL() + "\r\n" + pedido.Indices()[0]->getDDL() + "\r\n";
  for (const auto& table : module.NormalTables()) script += table->GetGeneratorDDL() + "\r\n";
  script += generator.getDDL() + ";\r\n";  // the element's text has no semicolon of its own
  script += module.UDFS()[0]->getDDL() + "SET TERM ^ ;\r\n";
  script += module.Procedures()[0]->getDDL() + "^\r\n" + module.Triggers()[0]->getDDL() + "^\r\n";
  script += "SET TERM ; ^\r\n";
  script += cliente.GetInsertSQL(false) + " (1, 'ana@x.com', 'A', '2000-01-02', 'Ana');\r\n";
  for (const char* valor : {"12.5", "7.5"}) {
    script +=
        pedido.GetInsertSQL(false) + " (-1, 1, '2024-05-06 10:00', '10:00', 1, " + valor + ");\r\n";
  }
  return script;
}

TEST(DBStructFirebird, ModelTextsCreateTheDescribedDatabase) {
  const TempDir dir;
  CreateEmptyDatabase(dir.File("model.fdb"));
  const auto conn = OpenConnection(dir.File("model.fdb"));
  const auto module = MakeModule();
  ASSERT_NO_THROW(RunScript(*conn, CreationScript(*module)));

  // Each catalog question as one sorted list of user objects.
  const auto list = [&](const std::string& select, const std::string& from) {
    return QueryString(*conn, "SELECT LIST(X, ' ') FROM (SELECT TRIM(" + select + ") AS X FROM " +
                                  from + " ORDER BY 1)");
  };
  const std::string user = " WHERE RDB$SYSTEM_FLAG = 0";
  EXPECT_EQ(list("RDB$RELATION_NAME", "RDB$RELATIONS" + user), "CLIENTE CLIENTE$ PEDIDO");
  EXPECT_EQ(list("RDB$CONSTRAINT_NAME) || ':' || TRIM(RDB$CONSTRAINT_TYPE",
                 "RDB$RELATION_CONSTRAINTS WHERE RDB$RELATION_NAME IN ('CLIENTE', 'PEDIDO') AND "
                 "RDB$CONSTRAINT_TYPE <> 'NOT NULL'"),
            "FK_PEDIDO_CLIENTE:FOREIGN KEY PK_CLIENTE:PRIMARY KEY PK_PEDIDO:PRIMARY KEY "
            "UQ_CLIENTE_EMAIL:UNIQUE");
  EXPECT_EQ(list("i.RDB$INDEX_NAME) || ':' || TRIM(s.RDB$FIELD_NAME",
                 "RDB$INDICES i JOIN RDB$INDEX_SEGMENTS s ON s.RDB$INDEX_NAME = i.RDB$INDEX_NAME"
                 " WHERE i.RDB$SYSTEM_FLAG = 0"),
            "FK_PEDIDO_CLIENTE:CLIENTE_ID IX_PEDIDO_DATA:DATA PK_CLIENTE:ID PK_PEDIDO:ID "
            "UQ_CLIENTE_EMAIL:EMAIL");
  EXPECT_EQ(list("RDB$GENERATOR_NAME", "RDB$GENERATORS" + user),
            "GEN_AVULSO GEN_CLIENTE GEN_PEDIDO");
  EXPECT_EQ(list("RDB$PROCEDURE_NAME", "RDB$PROCEDURES" + user), "TOTAL_CLIENTE");
  EXPECT_EQ(list("RDB$TRIGGER_NAME) || ':' || TRIM(RDB$RELATION_NAME", "RDB$TRIGGERS" + user),
            "PEDIDO_BI:PEDIDO");
  EXPECT_EQ(list("RDB$FUNCTION_NAME) || ':' || TRIM(RDB$MODULE_NAME", "RDB$FUNCTIONS" + user),
            "F:udflib");
  EXPECT_EQ(list("RDB$FIELD_NAME", "RDB$RELATION_FIELDS WHERE RDB$RELATION_NAME = 'CLIENTE'"),
            "DESCONTO EMAIL ID LETRA NASCIMENTO NOME OBSERVACAO");
  // The procedure sums the two rows the trigger numbered 1 and 2, read through the select head.
  EXPECT_EQ(QueryString(*conn, "SELECT CAST(TOTAL AS INTEGER) FROM TOTAL_CLIENTE(1)"), "20");
  EXPECT_EQ(QueryString(*conn, "SELECT COUNT(*) || ' ' || MAX(ID) FROM (" +
                                   module->FindTable("PEDIDO")->GetSelectSQL("tb", false) + ")"),
            "2 2");
}

}  // namespace
}  // namespace zo
