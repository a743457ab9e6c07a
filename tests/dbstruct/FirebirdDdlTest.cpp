// Every DDL text of a hand-built model runs on a new embedded Firebird database (through the
// isql-fb tool), and the catalog then holds what the model describes.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include <zo/dbstruct/DBStructClasses.h>
#include "tests/dbstruct/StructBuilders.h"
#include "tests/support/TempDir.h"

namespace zo {
namespace {

using namespace zo::testing;  // NOLINT(google-build-using-namespace)

struct TIsqlRun {
  int exitCode;
  std::string output;  // the non-empty lines without trailing blanks, each ended by "\n"
};

// Runs a script through isql-fb, which stops at the first failing statement.
TIsqlRun RunIsql(const std::string& scriptFile, const std::string& script) {
  std::ofstream(scriptFile, std::ios::binary) << script;
  FILE* pipe = popen(("isql-fb -q -bail -i '" + scriptFile + "' 2>&1").c_str(), "r");
  if (!pipe) return {-1, "cannot run isql-fb"};
  std::string raw;
  std::array<char, 4096> buffer{};
  while (const size_t read = fread(buffer.data(), 1, buffer.size(), pipe)) {
    raw.append(buffer.data(), read);
  }
  TIsqlRun run{pclose(pipe), ""};
  std::istringstream stream(raw);
  for (std::string line; std::getline(stream, line);) {
    line.erase(line.find_last_not_of(" \r\t") + 1);
    if (!line.empty()) run.output += line + "\n";
  }
  return run;
}

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
std::string CreationScript(const TModuleStruct& module, const std::string& database) {
  const TTableStruct& cliente = *module.FindTable("CLIENTE");
  const TTableStruct& pedido = *module.FindTable("PEDIDO");
  TGeneratorStruct generator;
  generator.setName("gen_avulso");
  std::string script = "CREATE DATABASE '" + database + "' DEFAULT CHARACTER SET ISO8859_1;\r\n";
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
  return script + "COMMIT;\r\n";
}

std::string CatalogQuery(const TTableStruct& pedido, const std::string& database) {
  const std::string userRelations =
      " IN (SELECT RDB$RELATION_NAME FROM RDB$RELATIONS WHERE RDB$SYSTEM_FLAG = 0)";
  return "CONNECT '" + database + "';\nSET HEADING OFF;\n" +
         "SELECT 'REL ' || TRIM(RDB$RELATION_NAME) FROM RDB$RELATIONS WHERE RDB$SYSTEM_FLAG = 0"
         " ORDER BY 1;\n"
         "SELECT 'CON ' || TRIM(RDB$CONSTRAINT_NAME) || ' ' || TRIM(RDB$CONSTRAINT_TYPE) || ' ' ||"
         " TRIM(RDB$RELATION_NAME) FROM RDB$RELATION_CONSTRAINTS WHERE RDB$CONSTRAINT_TYPE IN"
         " ('PRIMARY KEY', 'FOREIGN KEY', 'UNIQUE') AND RDB$RELATION_NAME" +
         userRelations +
         " ORDER BY 1;\n"
         "SELECT 'IDX ' || TRIM(i.RDB$INDEX_NAME) || ' ' || TRIM(i.RDB$RELATION_NAME) || ' ' ||"
         " TRIM(s.RDB$FIELD_NAME) FROM RDB$INDICES i JOIN RDB$INDEX_SEGMENTS s"
         " ON s.RDB$INDEX_NAME = i.RDB$INDEX_NAME WHERE i.RDB$SYSTEM_FLAG = 0 ORDER BY 1;\n"
         "SELECT 'GEN ' || TRIM(RDB$GENERATOR_NAME) FROM RDB$GENERATORS"
         " WHERE RDB$SYSTEM_FLAG = 0 ORDER BY 1;\n"
         "SELECT 'PRC ' || TRIM(RDB$PROCEDURE_NAME) FROM RDB$PROCEDURES WHERE RDB$SYSTEM_FLAG = "
         "0;\n"
         "SELECT 'TRG ' || TRIM(RDB$TRIGGER_NAME) || ' ' || TRIM(RDB$RELATION_NAME)"
         " FROM RDB$TRIGGERS WHERE RDB$SYSTEM_FLAG = 0;\n"
         "SELECT 'FUN ' || TRIM(RDB$FUNCTION_NAME) || ' ' || TRIM(RDB$MODULE_NAME)"
         " FROM RDB$FUNCTIONS WHERE RDB$SYSTEM_FLAG = 0;\n"
         "SELECT 'COL ' || TRIM(RDB$FIELD_NAME) FROM RDB$RELATION_FIELDS"
         " WHERE RDB$RELATION_NAME = 'CLIENTE' ORDER BY 1;\n"
         "SELECT 'TOT ' || CAST(TOTAL AS INTEGER) FROM TOTAL_CLIENTE(1);\n"
         "SELECT 'SEL ' || COUNT(*) || ' ' || MAX(ID) FROM (" +
         pedido.GetSelectSQL("tb", false) + ");\n";
}

TEST(DBStructFirebird, ModelTextsCreateTheDescribedDatabase) {
  ASSERT_EQ(std::system("command -v isql-fb > /dev/null 2>&1"), 0)
      << "isql-fb is missing: scripts/bootstrap.sh installs firebird3.0-utils";
  const TempDir dir;
  const std::string database = dir.File("model.fdb");
  const auto module = MakeModule();

  const TIsqlRun creation = RunIsql(dir.File("create.sql"), CreationScript(*module, database));
  ASSERT_EQ(creation.exitCode, 0) << creation.output;
  EXPECT_EQ(creation.output, "");

  const TIsqlRun query =
      RunIsql(dir.File("query.sql"), CatalogQuery(*module->FindTable("PEDIDO"), database));
  ASSERT_EQ(query.exitCode, 0) << query.output;
  EXPECT_EQ(query.output,
            "REL CLIENTE\nREL CLIENTE$\nREL PEDIDO\n"
            "CON FK_PEDIDO_CLIENTE FOREIGN KEY PEDIDO\n"
            "CON PK_CLIENTE PRIMARY KEY CLIENTE\n"
            "CON PK_PEDIDO PRIMARY KEY PEDIDO\n"
            "CON UQ_CLIENTE_EMAIL UNIQUE CLIENTE\n"
            "IDX FK_PEDIDO_CLIENTE PEDIDO CLIENTE_ID\n"
            "IDX IX_PEDIDO_DATA PEDIDO DATA\n"
            "IDX PK_CLIENTE CLIENTE ID\n"
            "IDX PK_PEDIDO PEDIDO ID\n"
            "IDX UQ_CLIENTE_EMAIL CLIENTE EMAIL\n"
            "GEN GEN_AVULSO\nGEN GEN_CLIENTE\nGEN GEN_PEDIDO\n"
            "PRC TOTAL_CLIENTE\n"
            "TRG PEDIDO_BI PEDIDO\n"
            "FUN F udflib\n"
            "COL DESCONTO\nCOL EMAIL\nCOL ID\nCOL LETRA\nCOL NASCIMENTO\nCOL NOME\nCOL OBSERVACAO\n"
            "TOT 20\n"     // the procedure sums the two rows the trigger numbered
            "SEL 2 2\n");  // ... 1 and 2, read back through the select head
}

}  // namespace
}  // namespace zo
