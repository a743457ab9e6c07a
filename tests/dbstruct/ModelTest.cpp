// The structure model: the merged column list of a table, and its DDL texts.

#include <gtest/gtest.h>

#include <utility>

#include <zo/core/Exceptions.h>
#include <zo/dbstruct/DBStructClasses.h>

#include "tests/dbstruct/StructBuilders.h"

namespace zo {
namespace {

using namespace zo::testing;  // NOLINT(google-build-using-namespace)
using Strings = std::vector<std::string>;

TEST(DBStructModel, AllColumnsMergesExtendedTablesAndSortsOrdinally) {
  // Upper-casing is ASCII only, so "ação" keeps its accented lower-case letters: the ordinal
  // comparison puts them after their upper-case forms, and "_" after the letters.
  auto table = MakeTable("t");
  const TColumnStruct& own = AddColumn(*table, "B", TDBRType::dbsInteger);
  AddColumn(*table, "ação", TDBRType::dbsInteger);
  AddColumn(*table, "a_", TDBRType::dbsInteger);
  auto first = MakeTable("e1");
  for (const char* name : {"C", "B", "AÇÃO", "ab"}) AddColumn(*first, name, TDBRType::dbsInteger);
  auto second = MakeTable("e2");
  AddColumn(*second, "C", TDBRType::dbsInteger);
  table->AddExtendedTable(first.get());
  EXPECT_EQ(Names(table->GetAllColumns()), (Strings{"AB", "A_", "AÇÃO", "AçãO", "B", "C"}));
  EXPECT_EQ(table->GetAllColumns()[4], &own);
  EXPECT_EQ(table->FindColumn("C"), nullptr);  // own columns only

  // Only own names are excluded: a column that two extended tables hold is taken twice.
  table->AddExtendedTable(second.get());
  EXPECT_EQ(Names(table->GetAllColumns()), (Strings{"AB", "A_", "AÇÃO", "AçãO", "B", "C", "C"}));

  AddForeignKey(*table, "FK_Z", "a", "x", "id");
  AddForeignKey(*first, "FK_Z", "b", "y", "id");
  AddForeignKey(*first, "FK_A", "c", "y", "id");
  EXPECT_EQ(Names(table->GetAllForeignKeys()), (Strings{"FK_Z", "FK_A"}));  // not sorted
}

// The DDL texts of the structure model, character for character.
using TUDFMechanism = TUDFArgument::TUDFMechanism;

TEST(DBStructDDL, ColumnTypeTexts) {
  const std::pair<TDBRType, const char*> cases[] = {
      {TDBRType::dbsChar, "CHAR"},
      {TDBRType::dbsString, "VARCHAR(60)  CHARACTER SET ISO8859_1"},
      {TDBRType::dbsFloat, "DOUBLE PRECISION"},
      {TDBRType::dbsInteger, "INTEGER"},
      {TDBRType::dbsEnum, "SMALLINT"},
      {TDBRType::dbsDate, "DATE"},
      {TDBRType::dbsDateTime, "TIMESTAMP"},
      {TDBRType::dbsTime, "TIME"},
      {TDBRType::dbsTextBlob, "BLOB SUB_TYPE 1 SEGMENT SIZE 4096 CHARACTER SET ISO8859_1"},
      {TDBRType::dbsBinBlob, "BLOB SUB_TYPE 0 SEGMENT SIZE 16384"},
  };
  TColumnStruct column;
  column.SetSize(60);
  for (const auto& [type, text] : cases) {
    column.SetTypeData(type);
    EXPECT_EQ(column.GetTypeString(), text);
  }
  column.setName("nome");
  column.SetTypeData(TDBRType::dbsString);
  column.SetRequired(true);
  EXPECT_EQ(column.getDDL(), "NOME VARCHAR(60)  CHARACTER SET ISO8859_1 NOT NULL");
}

TEST(DBStructDDL, ConstraintIndexAndSequenceStatements) {
  // The constraint and index texts are read back from Firebird in the catalog reader's tests.
  auto table = MakeTable("pedido", "id");
  EXPECT_EQ(table->PrimaryKey()->getDDL(),
            "ALTER TABLE PEDIDO ADD CONSTRAINT PK_PEDIDO PRIMARY KEY (ID);");

  // The sequence element has no semicolon; the table's generator text has both.
  TGeneratorStruct generator;
  generator.setName("gen_pedido");
  EXPECT_EQ(generator.getDDL(), "CREATE SEQUENCE GEN_PEDIDO");
  EXPECT_EQ(table->GetGeneratorDDL(),
            "CREATE SEQUENCE GEN_PEDIDO; ALTER SEQUENCE GEN_PEDIDO RESTART WITH 0;");

  TIndiceStruct loose;
  loose.setName("ix_solto");
  try {
    (void)loose.getDDL();
    ADD_FAILURE() << "an index without table has no text";
  } catch (const Exception& e) {
    EXPECT_STREQ(e.what(),
                 "Erro ao obter DDL do índice: IX_SOLTO. TIndiceStruct IX_SOLTO não pertence a "
                 "uma tabela");
  }
  EXPECT_THROW((void)table->getDDL(), Exception);  // a table's text is GetDDL
}

TEST(DBStructDDL, TableTextInNormalAndExternalMode) {
  auto table = MakeTable("t");
  AddColumn(*table, "foto", TDBRType::dbsTextBlob);
  EXPECT_EQ(table->GetDDL(true), "CREATE TABLE T$ EXTERNAL 'EXTERNAL_FILENAME' (\r\n);\r\n");
  AddColumn(*table, "b", TDBRType::dbsInteger);
  EXPECT_EQ(table->GetDDL(true),
            "CREATE TABLE T$ EXTERNAL 'EXTERNAL_FILENAME' (\r\n   B INTEGER\r\n);\r\n");

  // Own and inherited columns, sorted; every line but the last column's ends in a comma.
  auto base = MakeTable("base");
  AddColumn(*base, "a", TDBRType::dbsDate, 0, true);
  table->AddExtendedTable(base.get());
  EXPECT_EQ(table->GetDDL(false),
            "CREATE TABLE T (\r\n"
            "   A DATE NOT NULL,\r\n"
            "   B INTEGER,\r\n"
            "   FOTO BLOB SUB_TYPE 1 SEGMENT SIZE 4096 CHARACTER SET ISO8859_1\r\n"
            ");\r\n");
}

TEST(DBStructDDL, ExtendedTableAddsOnlyItsOwnNonKeyColumnsUnsorted) {
  auto table = MakeTable("cliente", "id");
  table->SetIsExtendedTable(true);
  AddColumn(*table, "telefone", TDBRType::dbsString, 20);
  AddColumn(*table, "ativo", TDBRType::dbsEnum, 0, true);
  auto base = MakeTable("pessoa");
  AddColumn(*base, "nome", TDBRType::dbsString, 60);
  table->AddExtendedTable(base.get());
  EXPECT_EQ(table->GetDDL(false),
            "ALTER TABLE CLIENTE ADD TELEFONE VARCHAR(20)  CHARACTER SET ISO8859_1;\r\n"
            "ALTER TABLE CLIENTE ADD ATIVO SMALLINT NOT NULL;\r\n");
}

std::string FunctionDDL(TUDFMechanism mechanism, bool freeIt, std::vector<int32_t> types) {
  TUDFMethod method;
  method.setName("f");
  method.SetEntryPoint("f_x");
  method.SetModuleName("udflib");
  method.SetReturnMechanism(mechanism);
  method.SetFreeIt(freeIt);
  for (const int32_t type : types) method.AddArgument(MakeArgument(type, 80));
  return method.getDDL();
}

TEST(DBStructDDL, ExternalFunctionDeclaration) {
  // The by-value form with parameters is read back from Firebird in the catalog reader's tests.
  const std::string entry = "ENTRY_POINT 'f_x' MODULE_NAME 'udflib';\r\n";
  const std::string head = "DECLARE EXTERNAL FUNCTION F\r\n";
  EXPECT_EQ(FunctionDDL(TUDFMechanism::trmByReference, true, {40}),
            head + "RETURNS CSTRING(80) FREE IT \r\n" + entry);
  EXPECT_EQ(FunctionDDL(TUDFMechanism::trmByReference, false, {8}),
            head + "RETURNS INTEGER \r\n" + entry);
  EXPECT_EQ(FunctionDDL(TUDFMechanism::trmByDescriptor, false, {37}),
            head + "RETURNS VARCHAR(80) BY DESCRIPTOR\r\n" + entry);
  EXPECT_EQ(FunctionDDL(TUDFMechanism::trmByValue, false, {}), head + entry);
  // By blob descriptor gives no mechanism text: the last parameter line stands in for it.
  EXPECT_EQ(FunctionDDL(TUDFMechanism::trmByBlobDescriptor, false, {261, 14, 7}),
            head + "CHAR(80),\r\nSMALLINT\r\nRETURNS BLOB SMALLINT\r\n" + entry);
  EXPECT_EQ(FunctionDDL(TUDFMechanism::trmByBlobDescriptor, true, {261}),
            head + "RETURNS BLOB \r\n" + entry);
  EXPECT_EQ(MakeArgument(10, 80)->getDDL(), "");  // unknown type code
}

}  // namespace
}  // namespace zo
