// The structure model: names, look-ups and the derived lists of a table.
#include <gtest/gtest.h>

#include <zo/core/Exceptions.h>
#include <zo/dbstruct/DBStructClasses.h>
#include "tests/dbstruct/StructBuilders.h"

namespace zo {
namespace {

using namespace zo::testing;  // NOLINT(google-build-using-namespace)
using Strings = std::vector<std::string>;

template <class T>
std::unique_ptr<T> Named(std::string_view name) {
  auto element = std::make_unique<T>();
  element->setName(name);
  return element;
}

TEST(DBStructModel, LookupsFollowTheirCaseRules) {
  TModuleStruct module;
  TTableStruct& cliente = module.AddNormalTable(MakeTable("cliente", "id"));
  const TTableStruct& extended = module.AddExtendedTable(MakeTable("cliente_ext"));
  module.AddExtendedTable(MakeTable("cliente"));
  module.AddProcedure(Named<TStoredProcedure>("proc_x"));
  module.AddTrigger(Named<TTrigger>("trg_x"));
  module.AddUDF(Named<TUDFMethod>("f_x"));
  EXPECT_EQ(module.FindTable("cliente"), &cliente);  // normal tables first
  EXPECT_EQ(module.FindTable("Cliente_Ext"), &extended);
  EXPECT_EQ(module.FindSP("proc_x"), nullptr);
  EXPECT_NE(module.FindSP("PROC_X"), nullptr);
  EXPECT_EQ(module.FindTrigger("trg_x"), nullptr);
  EXPECT_EQ(module.FindUDFMethod("F_X"), module.UDFS()[0].get());

  const TForeignKeyStruct& fk = AddForeignKey(cliente, "fk1", " cidade_id", "cidade", "Id");
  EXPECT_EQ(fk.KeyName(), " CIDADE_ID");  // upper-cased, never trimmed
  EXPECT_EQ(cliente.FindForeignKey("Fk1"), &fk);
  EXPECT_EQ(cliente.FindFKForTable("CIDADE").size(), 1U);
  EXPECT_TRUE(cliente.FindFKForTable("cidade").empty());
  EXPECT_EQ(cliente.FindColumn("Id"), cliente.Columns()[0].get());
  const TIndiceStruct& index = AddIndex(cliente, "ix_nome", "nome");
  EXPECT_EQ(index.Column(), "nome");  // stored as given
  EXPECT_EQ(cliente.FindIndexForColumn("NOME"), &index);
  EXPECT_EQ(cliente.FindIndexForColumn("nome"), nullptr);
}

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

TEST(DBStructModel, AllDependsThisWalksDepthFirstAndEndsOnCycles) {
  auto a = MakeTable("a");
  auto b = MakeTable("b");
  auto c = MakeTable("c");
  auto d = MakeTable("d");
  EXPECT_TRUE(a->GetAllDependsThis().empty());
  a->AddDependsThis(b.get());
  a->AddDependsThis(c.get());
  a->AddDependsThis(a.get());  // a self-reference is not followed
  b->AddDependsThis(d.get());
  b->AddDependsThis(a.get());  // back to the start
  d->AddDependsThis(c.get());
  EXPECT_EQ(Names(a->GetAllDependsThis()), (Strings{"C", "B", "D"}));
  EXPECT_EQ(Names(b->GetAllDependsThis()), (Strings{"A", "C", "D"}));
}

TEST(DBStructModel, FieldListPrefixesAllButTheUndistinctKey) {
  auto table = MakeTable("t", "id");
  AddColumn(*table, "nome", TDBRType::dbsString, 60);
  AddColumn(*table, "foto", TDBRType::dbsTextBlob);
  EXPECT_EQ(table->GetFieldList("tb", true, false), "Distinct(tb.ID), tb.NOME");
  EXPECT_EQ(table->GetFieldList("tb", false, true), "ID, tb.FOTO, tb.NOME");
  table->SetPrimaryKey(nullptr);
  EXPECT_EQ(table->GetFieldList("tb", true, true), "tb.FOTO, tb.ID, tb.NOME");
}

TEST(DBStructModel, ColumnConstraintsAndIndexedRule) {
  auto table = MakeTable("t", "id");
  const TColumnStruct& id = *table->Columns()[0];
  TColumnStruct& plain = AddColumn(*table, "plain", TDBRType::dbsInteger);
  AddUnique(*table, "uq_id", "id");
  AddForeignKey(*table, "fk_id", "id", "x", "id");
  EXPECT_EQ(Names(id.GetConstraints()), (Strings{"FK_ID", "UQ_ID", "PK_T"}));
  EXPECT_EQ(id.FindConstraint("pk_t"), table->PrimaryKey());
  EXPECT_TRUE(id.IsPrimaryKey() && id.HasForeignKeys() && id.Indexed());
  EXPECT_FALSE(plain.IsPrimaryKey() || plain.HasForeignKeys() || plain.Indexed());

  // The message pattern names the table too, which a loose column cannot supply: the
  // formatting error is what the caller gets.
  TColumnStruct loose;
  loose.setName("solta");
  EXPECT_TRUE(loose.GetConstraints().empty());
  try {
    (void)loose.GetIndexed();
    ADD_FAILURE() << "a column without table cannot answer";
  } catch (const Exception& e) {
    EXPECT_STREQ(e.what(), "argument not found");
  }
}

TEST(DBStructModel, ExternalFunctionsCompareSignaturesNotNames) {
  const auto makeMethod = [](std::string_view name, int32_t lastSize) {
    auto method = std::make_unique<TUDFMethod>();
    method->setName(name);
    method->SetModuleName("udflib");
    method->SetEntryPoint("f_x");
    method->AddArgument(MakeArgument(8)).setName(name);
    method->AddArgument(MakeArgument(40, lastSize));
    return method;
  };
  const auto f = makeMethod("f", 80);
  EXPECT_TRUE(f->IsEqual(*makeMethod("g", 80)));
  EXPECT_FALSE(f->IsEqual(*makeMethod("f", 81)));
  auto other = makeMethod("f", 80);
  other->SetFreeIt(true);
  EXPECT_FALSE(f->IsEqual(*other));
  other = makeMethod("f", 80);
  other->AddArgument(MakeArgument(8));
  EXPECT_FALSE(f->IsEqual(*other));
}

}  // namespace
}  // namespace zo
