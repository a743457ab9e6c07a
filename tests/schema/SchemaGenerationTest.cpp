// The schema generator: DDL text per class, the structure model of a set of classes and the
// creation script printed from it.
#include <regex>

#include <gtest/gtest.h>

#include <zo/core/Exceptions.h>
#include <zo/dbstruct/DBStructClasses.h>
#include <zo/mapping/ClassSchema.h>
#include <zo/mapping/ServerClasses.h>
#include "tests/schema/SchemaTestClasses.h"
#include "tests/support/DemoDatabase.h"

namespace zo {
namespace {

using namespace schematest;  // NOLINT(google-build-using-namespace)
using Lines = std::vector<std::string>;

class SchemaGenerationTest : public ::testing::Test {
 protected:
  void SetUp() override { RegisterSchemaTestClasses(); }

  // One class's schema in a run of the module "teste".
  struct ClassInRun {
    explicit ClassInRun(TDataObjectClass cls) : mapping(cls), schema(mapping, context) {}
    const TSchemaContext context{.moduleName = "teste"};
    const TClassMapping mapping;
    const TClassSchema schema;
  };
  static std::unique_ptr<ClassInRun> Info(TDataObjectClass cls) {
    return std::make_unique<ClassInRun>(cls);
  }

  static std::unique_ptr<TModuleStruct> Module(const std::vector<TDataObjectClass>& classes) {
    return TDataObjectInfoDB::GenerateDataBaseStruct(HInstance, "teste", classes);
  }

  static std::string FailureOf(const std::vector<TDataObjectClass>& classes) {
    try {
      Module(classes);
    } catch (const Exception& e) {
      return e.what();
    }
    return "(no failure)";
  }
};

TEST_F(SchemaGenerationTest, ObjectDDLNamesThePrefixedTableAndTheUnprefixedKey) {
  // Asked of the class's metadata, which runs the schema with the default column types.
  const auto ddl = TDataObjectInfoDB(&TGenPrefixed::StaticType()).GenerateObjectDDL();
  EXPECT_EQ(ddl->Table(),
            "-- TGenPrefixed\r\nCREATE TABLE XX_PREFIXADA (\r\nID INTEGER NOT NULL,\r\n"
            "REF_ID INTEGER\r\n);");
  EXPECT_EQ(ddl->PrimaryKey(),
            "ALTER TABLE XX_PREFIXADA ADD CONSTRAINT PK_PREFIXADA PRIMARY KEY (ID);");
}

TEST_F(SchemaGenerationTest, ForeignKeyStatementsAreNumberedByTheirPlaceInTheList) {
  Lines keys{"(an earlier statement)"};
  Info(&TGenTwoRefs::StaticType())->schema.GenerateForeignKeys("T", keys);
  EXPECT_EQ(
      keys,
      (Lines{"(an earlier statement)",
             "ALTER TABLE T ADD CONSTRAINT FK_T_1 FOREIGN KEY (A_ID) REFERENCES REFS (ID);",
             "ALTER TABLE T ADD CONSTRAINT FK_T_2 FOREIGN KEY (B_ID) REFERENCES REFS (ID);"}));

  EXPECT_EQ(Info(&TGenTwoRefs::StaticType())->schema.GenerateObjectDDL()->ForeignKey(),
            "ALTER TABLE T ADD CONSTRAINT FK_T_0 FOREIGN KEY (A_ID) REFERENCES REFS (ID);\r\n"
            "ALTER TABLE T ADD CONSTRAINT FK_T_1 FOREIGN KEY (B_ID) REFERENCES REFS (ID);");
}

TEST_F(SchemaGenerationTest, ForeignKeyNameKeeps25CharactersOfTheTableName) {
  Lines keys;
  TDataObjectInfoDB(&TGenLongName::StaticType()).GenerateForeignKeys(kLongTableName, keys);
  EXPECT_EQ(keys, Lines{"ALTER TABLE PEDIDOS_DE_VENDA_DO_PERIODO ADD CONSTRAINT "
                        "FK_PEDIDOS_DE_VENDA_DO_PERIO_0 FOREIGN KEY (PAI_ID) REFERENCES "
                        "PEDIDOS_DE_VENDA_DO_PERIODO (ID);"});
}

TEST_F(SchemaGenerationTest, EmbeddedMemberColumnsArePrefixedAndNeverRequired) {
  const auto info = Info(&TGenOnlyEmbedded::StaticType());
  Lines fields;
  info->schema.GenerateFieldDefs(fields, false, "");
  EXPECT_EQ(fields, (Lines{"ID INTEGER NOT NULL,", "END_RUA VARCHAR(80),", "END_NUMERO INTEGER,",
                           "END_CIDADE_ID INTEGER,"}));
  // The member's key is made under the member's table name, which is appended to the name.
  Lines keys;
  info->schema.GenerateForeignKeys("SO_ENDERECO", keys);
  EXPECT_EQ(keys, Lines{"ALTER TABLE SO_ENDERECO ADD CONSTRAINT FK_SO_ENDERECO_0_TGenEndereco "
                        "FOREIGN KEY (END_CIDADE_ID) REFERENCES REFS (ID);"});

  const auto table = info->schema.GenerateDBSTable();
  ASSERT_EQ(table->Columns().size(), 4u);
  for (const auto& column : table->Columns()) {
    EXPECT_EQ(column->Required(), column->Name() == "ID") << column->Name();
  }
  ASSERT_EQ(table->ForeignKeys().size(), 1u);
  // Module part "TEST", then 7 characters of the prefix and the table without underscores.
  EXPECT_EQ(table->ForeignKeys()[0]->getDDL(),
            "ALTER TABLE SO_ENDERECO ADD CONSTRAINT TESTENDSOENDERECOREFS FOREIGN KEY "
            "(END_CIDADE_ID) REFERENCES REFS (ID);");
}

TEST_F(SchemaGenerationTest, ModelNamesAreCutToFirebirdIdentifiers) {
  const auto module = Module({&TGenLongName::StaticType()});
  const TTableStruct& table = *module->NormalTables().at(0);
  EXPECT_EQ(table.PrimaryKey()->Name(), "PK_PEDIDOS_DE_VENDA_DO_PERIODO");
  // "TEST" + the last 14 characters of the table name without underscores, twice, cut to 31.
  ASSERT_EQ(table.ForeignKeys().size(), 1u);
  EXPECT_EQ(table.ForeignKeys()[0]->Name(), "TESTVENDADOPERIODOVENDADOPERIOD");
  // 16 characters of the table name and 15 of the column name.
  ASSERT_EQ(table.Uniques().size(), 1u);
  EXPECT_EQ(table.Uniques()[0]->Name(), "PEDIDOS_DE_VENDACODIGO_DE_BARRA");
  EXPECT_EQ(table.Uniques()[0]->KeyName(), "CODIGO_DE_BARRAS_LONGO");
}

TEST_F(SchemaGenerationTest, AForeignKeyNameIsMadeOncePerModule) {
  const auto module =
      Module({&TGenRef::StaticType(), &TGenTwoRefs::StaticType(), &TGenTwoRefsPlus::StaticType()});
  // Both references of T give TESTTREFS: only the first is made.
  const TTableStruct& t = *module->NormalTables().at(1);
  ASSERT_EQ(t.ForeignKeys().size(), 1u);
  EXPECT_EQ(t.ForeignKeys()[0]->KeyName(), "A_ID");
  // The merged class repeats neither the inherited columns nor the inherited keys.
  ASSERT_EQ(module->ExtendedTables().size(), 1u);
  const TTableStruct& plus = *module->ExtendedTables()[0];
  ASSERT_EQ(plus.Columns().size(), 2u);
  EXPECT_EQ(plus.Columns()[0]->Name(), "ID");
  EXPECT_EQ(plus.Columns()[1]->Name(), "OBS");
  EXPECT_TRUE(plus.ForeignKeys().empty());
}

// The script with its date line replaced, after checking that line's form.
std::string WithoutDate(std::string script) {
  static const std::regex kDate("Data/Hora: \\d\\d/\\d\\d/\\d{4} \\d\\d:\\d\\d:\\d\\d\r\n");
  std::smatch match;
  EXPECT_TRUE(std::regex_search(script, match, kDate)) << script;
  return std::regex_replace(script, kDate, "Data/Hora: (date)\r\n");
}

TEST_F(SchemaGenerationTest, ScriptLayout) {
  const auto module =
      Module({&TGenRef::StaticType(), &TGenTwoRefs::StaticType(), &TGenTwoRefsPlus::StaticType()});
  EXPECT_EQ(WithoutDate(TDataObjectInfoDB::GenerateScriptDataBase(*module)),
            "/*******SCRIPT GERADO AUTOMATICAMENTE - TOLVERN INFORMATICA ********\r\n"
            "Data/Hora: (date)\r\n"
            "\r\n"
            "Classes de origem:\r\n"
            "  TGenRef(REFS)\r\n"
            "  TGenTwoRefs(T)\r\n"
            "  TGenTwoRefsPlus(T)\r\n"
            "*/\r\n"
            "\r\n"
            "/****************** TABELAS ********************/\r\n"
            "CREATE TABLE REFS (\r\n"
            "   ID INTEGER NOT NULL,\r\n"
            "   NOME VARCHAR(40)  CHARACTER SET ISO8859_1\r\n"
            ");\r\n"
            "\r\n"
            "CREATE TABLE T (\r\n"
            "   A_ID INTEGER,\r\n"
            "   B_ID INTEGER,\r\n"
            "   ID INTEGER NOT NULL\r\n"
            ");\r\n"
            "\r\n"
            "\r\n"
            "/**************** CHAVES PRIMARIAS ********************/\r\n"
            "ALTER TABLE REFS ADD CONSTRAINT PK_REFS PRIMARY KEY (ID);\r\n"
            "ALTER TABLE T ADD CONSTRAINT PK_T PRIMARY KEY (ID);\r\n"
            "\r\n"
            "/**************** CHAVES ESTRANGEIRAS ********************/\r\n"
            "ALTER TABLE T ADD CONSTRAINT TESTTREFS FOREIGN KEY (A_ID) REFERENCES REFS (ID);\r\n"
            "\r\n"
            "/****************** EXTENSÕES de TABELAS ********************/\r\n"
            "ALTER TABLE T ADD OBS VARCHAR(20)  CHARACTER SET ISO8859_1;\r\n"
            "\r\n"
            "/**************** CHAVES ESTRANGEIRAS EXTENDIDAS ********************/\r\n"
            "\r\n"
            "/**************** CHAVES UNICAS ********************/\r\n"
            "\r\n"
            "/**************** GERADORES ********************/\r\n"
            "CREATE SEQUENCE GEN_REFS; ALTER SEQUENCE GEN_REFS RESTART WITH 0;\r\n"
            "CREATE SEQUENCE GEN_T; ALTER SEQUENCE GEN_T RESTART WITH 0;\r\n"
            "\r\n");
}

TEST_F(SchemaGenerationTest, FailuresStopTheRunWithTheClassName) {
  const std::string missing = "Falta referência a uma classe no atributo da propriedade ";
  EXPECT_EQ(FailureOf({&TGenRef::StaticType(), &TGenBrokenRef::StaticType()}),
            "Erro na estrutura da Classe: TGenBrokenRef\r\n" + missing +
                "Broken da classe : TGenBrokenRef");
  // The cause becomes part of the format text: "%%" turns into "%", and "% d" asks for an
  // argument that is not there, so the formatting failure is what arrives.
  EXPECT_EQ(FailureOf({&TGenPercentRef::StaticType()}),
            "Erro na estrutura da Classe: TGenPercentRef\r\n" + missing +
                "Taxa% da classe : TGenPercentRef");
  const std::string bad = FailureOf({&TGenPercentBad::StaticType()});
  EXPECT_EQ(bad.find("Erro na estrutura"), std::string::npos) << bad;
  EXPECT_NE(bad, "(no failure)");
}

// Every name the generator makes for these classes (the 31-character ones included) is
// accepted by Firebird, and every statement of their script runs.
TEST_F(SchemaGenerationTest, ScriptOfTheTestClassesRunsOnFirebird) {
  const auto module = Module({&TGenRef::StaticType(), &TGenOnlyEmbedded::StaticType(),
                              &TGenTwoRefs::StaticType(), &TGenTwoRefsPlus::StaticType(),
                              &TGenLongName::StaticType(), &TGenPrefixed::StaticType()});
  testing::TempDir dir;
  const std::string path = dir.File("gen.fdb");
  testing::CreateEmptyDatabase(path);
  auto conn = testing::OpenConnection(path);
  ASSERT_NO_THROW(testing::RunScript(*conn, TDataObjectInfoDB::GenerateScriptDataBase(*module)));

  EXPECT_EQ(testing::QueryInt(*conn,
                              "select count(*) from rdb$relation_constraints where "
                              "rdb$constraint_name in ('TESTVENDADOPERIODOVENDADOPERIOD', "
                              "'TESTENDSOENDERECOREFS', 'PK_XX_PREFIXADA', "
                              "'PEDIDOS_DE_VENDACODIGO_DE_BARRA')"),
            4);
}

}  // namespace
}  // namespace zo
