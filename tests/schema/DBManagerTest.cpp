// The comparison of two hand-built models into a migration script (new tables, in their four
// passes, are the migrations run on Firebird).
#include <gtest/gtest.h>

#include <zo/core/Text.h>
#include <zo/schema/DBManager.h>
#include "tests/dbstruct/StructBuilders.h"

namespace zo {
namespace {

using namespace zo::testing;  // NOLINT(google-build-using-namespace)

constexpr const char* kVarchar60 = "VARCHAR(60)  CHARACTER SET ISO8859_1";

// A normal table of `module` made from class `cls`, with key ID.
TTableStruct& Table(TModuleStruct& module, std::string_view name, std::string cls) {
  TTableStruct& table = module.AddNormalTable(MakeTable(name, "ID"));
  table.SetSourceClass(std::move(cls));
  return table;
}

TTableStruct& Extension(TModuleStruct& module, std::string_view name, std::string cls) {
  TTableStruct& table = module.AddExtendedTable(MakeTable(name, "ID"));
  table.SetSourceClass(std::move(cls));
  table.SetIsExtendedTable(true);
  return table;
}

class DBManagerTest : public ::testing::Test {
 protected:
  // The script; every line of it ends in "\r\n" (text::JoinLines of the expected lines).
  std::string Script() {
    manager.SetCurrentStruct(&current);
    manager.SetNewStruct(&wanted);
    return manager.MakeScript();
  }

  TModuleStruct current;  // the database
  TModuleStruct wanted;   // the classes
  TDataBaseManager manager;
};

TEST_F(DBManagerTest, ColumnTypeChanges) {
  TTableStruct& now = Table(current, "T", "TT");
  TTableStruct& later = Table(wanted, "T", "TT");
  const auto both = [&](std::string_view name, TDBRType before, int32_t sizeBefore, TDBRType after,
                        int32_t sizeAfter) {
    AddColumn(now, name, before, sizeBefore);
    AddColumn(later, name, after, sizeAfter);
  };
  both("GROWN", TDBRType::dbsString, 40, TDBRType::dbsString, 60);
  both("SHRUNK", TDBRType::dbsString, 60, TDBRType::dbsString, 40);
  both("SAME", TDBRType::dbsString, 60, TDBRType::dbsString, 60);
  both("TO_DATE", TDBRType::dbsInteger, 0, TDBRType::dbsDate, 0);
  both("TO_TEXT", TDBRType::dbsChar, 0, TDBRType::dbsString, 60);
  both("SIZED_INT", TDBRType::dbsInteger, 4, TDBRType::dbsInteger, 8);  // size counts for strings
  // Nullability is not compared.
  AddColumn(now, "NOW_REQUIRED", TDBRType::dbsFloat, 0, true);
  AddColumn(later, "NOW_REQUIRED", TDBRType::dbsFloat, 0, false);
  EXPECT_EQ(Script(),
            text::JoinLines({"ALTER TABLE T ALTER GROWN TYPE " + std::string(kVarchar60) + ";",
                             "ALTER TABLE T ALTER TO_DATE TYPE DATE;",
                             "ALTER TABLE T ALTER TO_TEXT TYPE " + std::string(kVarchar60) + ";"}));
}

// Tables pair by class even when the database's table has another name: additions name the
// classes' table, and so do drops of columns.
TEST_F(DBManagerTest, ColumnsAddedAndDroppedOnTheClassesTable) {
  TTableStruct& now = Table(current, "OLD_NAME", "tcliente");
  AddColumn(now, "nome", TDBRType::dbsString, 60);
  AddColumn(now, "GONE", TDBRType::dbsInteger);
  TTableStruct& later = Table(wanted, "CLIENTES", "TCliente");
  AddColumn(later, "NOME", TDBRType::dbsString, 60);
  AddColumn(later, "NOVO", TDBRType::dbsString, 60, true);
  EXPECT_EQ(Script(), text::JoinLines({"ALTER TABLE CLIENTES ADD NOVO " + std::string(kVarchar60) +
                                           " NOT NULL;",
                                       "ALTER TABLE CLIENTES DROP GONE;"}));
}

TEST_F(DBManagerTest, ForeignKeys) {
  Table(current, "R", "TR");
  Table(wanted, "R", "TR");
  TTableStruct& now = Table(current, "T", "TT");
  TTableStruct& later = Table(wanted, "T", "TT");
  for (TTableStruct* t : {&now, &later}) {
    AddColumn(*t, "R_ID", TDBRType::dbsInteger);
    AddColumn(*t, "S_ID", TDBRType::dbsInteger);
  }
  // Same column and target under another name: the old name goes, the new one comes.
  AddForeignKey(now, "FK_OLD", "R_ID", "R", "ID");
  AddForeignKey(later, "FK_NEW", "R_ID", "R", "ID");
  // Present under the new name and also under an old one: only the old one goes.
  AddForeignKey(now, "FK_S", "S_ID", "R", "ID");
  AddForeignKey(now, "FK_S_OLD", "S_ID", "R", "ID");
  AddForeignKey(later, "FK_S", "S_ID", "R", "ID");
  // A key of the database that the classes lack is left alone.
  AddForeignKey(now, "FK_EXTRA", "S_ID", "T", "ID");
  EXPECT_EQ(
      Script(),
      text::JoinLines({"ALTER TABLE T DROP CONSTRAINT FK_OLD;",
                       "ALTER TABLE T ADD CONSTRAINT FK_NEW FOREIGN KEY (R_ID) REFERENCES R (ID);",
                       "ALTER TABLE T DROP CONSTRAINT FK_S_OLD;"}));
}

TEST_F(DBManagerTest, VanishedTablesAreDroppedAfterTheColumnDrops) {
  TTableStruct& gone = Table(current, "GONE", "TGone");
  AddForeignKey(gone, "FK_GONE_A", "A_ID", "A", "ID");
  AddForeignKey(gone, "FK_GONE_B", "B_ID", "B", "ID");
  TTableStruct& nameless = Table(current, "NAMELESS", "TNameless");
  nameless.PrimaryKey()->setName("");
  AddColumn(Table(current, "KEPT", "TKept"), "OLD", TDBRType::dbsInteger);
  Table(wanted, "KEPT", "TKept");
  EXPECT_EQ(
      Script(),
      text::JoinLines({"ALTER TABLE KEPT DROP OLD;", "ALTER TABLE GONE DROP CONSTRAINT PK_GONE;",
                       "ALTER TABLE GONE DROP CONSTRAINT FK_GONE_A;",
                       "ALTER TABLE GONE DROP CONSTRAINT FK_GONE_B;", "DROP TABLE GONE;",
                       "ALTER TABLE NAMELESS DROP CONSTRAINT ;", "DROP TABLE NAMELESS;"}));
}

TEST_F(DBManagerTest, ExtendedTablesKnownToTheDatabase) {
  Table(current, "T", "TT");
  Table(wanted, "T", "TT");
  TTableStruct& now = Extension(current, "T", "TX");
  AddColumn(now, "LONG", TDBRType::dbsString, 60);
  AddColumn(now, "GONE", TDBRType::dbsInteger);
  AddForeignKey(now, "FK_X_OLD", "R_ID", "R", "ID");
  TTableStruct& later = Extension(wanted, "T", "TX");
  AddColumn(later, "LONG", TDBRType::dbsString, 80);
  AddColumn(later, "NEW", TDBRType::dbsDate);
  AddForeignKey(later, "FK_X", "R_ID", "R", "ID");  // no duplicate check here
  // An extended table the classes no longer have is kept.
  Extension(current, "T", "TGoneToo");
  EXPECT_EQ(
      Script(),
      text::JoinLines({"ALTER TABLE T ALTER LONG TYPE VARCHAR(80)  CHARACTER SET ISO8859_1;",
                       "ALTER TABLE T ADD NEW DATE;",
                       "ALTER TABLE T ADD CONSTRAINT FK_X FOREIGN KEY (R_ID) REFERENCES R (ID);",
                       "ALTER TABLE T DROP GONE;"}));
}

// An extension the database does not know: its columns are added unless another class of the
// same table has them, and its keys are looked up in the last table the column search reached.
class UnknownExtensionTest : public DBManagerTest {
 protected:
  void SetUp() override {
    for (TModuleStruct* model : {&current, &wanted}) {
      AddColumn(Table(*model, "T", "TT"), "A", TDBRType::dbsInteger);
    }
  }
  TTableStruct& Extension(std::string_view cls) {
    TTableStruct& table = wanted.AddExtendedTable(MakeTable("T"));
    table.SetSourceClass(std::string(cls));
    table.SetIsExtendedTable(true);
    return table;
  }
};

TEST_F(UnknownExtensionTest, KeysAreLookedUpWhereTheColumnSearchEnded) {
  TTableStruct& x = Extension("TX");
  AddColumn(x, "B", TDBRType::dbsInteger);
  AddColumn(x, "A", TDBRType::dbsInteger);  // found in the host: the search ends there
  AddForeignKey(x, "FK_X", "B", "R", "ID");
  // A second extension comes last among the tables named T: B's search and its own column's
  // search end on it, so its key is found there and not written.
  TTableStruct& y = Extension("TY");
  AddColumn(y, "C", TDBRType::dbsInteger);
  AddForeignKey(y, "FK_Y", "C", "R", "ID");
  EXPECT_EQ(Script(),
            text::JoinLines({"ALTER TABLE T ADD B INTEGER;",
                             "ALTER TABLE T ADD CONSTRAINT FK_X FOREIGN KEY (B) REFERENCES R (ID);",
                             "ALTER TABLE T ADD C INTEGER;"}));
}

TEST_F(UnknownExtensionTest, WithoutColumnsEveryKeyIsWritten) {
  AddForeignKey(Extension("TX"), "FK_X", "A", "R", "ID");
  EXPECT_EQ(
      Script(),
      text::JoinLines({"ALTER TABLE T ADD CONSTRAINT FK_X FOREIGN KEY (A) REFERENCES R (ID);"}));
}

// Unique constraints come last, once every column they need exists; a column that already
// has one, under any name, gets none, and the database's own are never dropped. (New tables'
// ones are checked by the migrations run on Firebird.)
TEST_F(DBManagerTest, MissingUniqueConstraintsAreAddedLast) {
  TTableStruct& now = Table(current, "T", "TT");
  TTableStruct& later = Table(wanted, "T", "TT");
  for (TTableStruct* table : {&now, &later}) AddColumn(*table, "CODE", TDBRType::dbsInteger);
  AddColumn(later, "EMAIL", TDBRType::dbsInteger);
  AddUnique(now, "OLD_NAME", "CODE");
  AddUnique(now, "NOT_IN_CLASSES", "ID");
  AddUnique(later, "TCODE", "CODE");
  AddUnique(later, "TEMAIL", "EMAIL");
  AddUnique(Extension(wanted, "T", "TX"), "TVIP", "VIP");
  EXPECT_EQ(Script(), text::JoinLines({"ALTER TABLE T ADD EMAIL INTEGER;",
                                       "ALTER TABLE T ADD CONSTRAINT TEMAIL UNIQUE (EMAIL);",
                                       "ALTER TABLE T ADD CONSTRAINT TVIP UNIQUE (VIP);"}));
}

}  // namespace
}  // namespace zo
