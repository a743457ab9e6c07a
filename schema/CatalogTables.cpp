#include "schema/CatalogTables.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "schema/CatalogQuery.h"
#include "schema/CatalogTypes.h"
#include <zo/schema/DBManager.h>

namespace zo::catalog {
namespace {

// Persistent user tables only: views, external and temporary tables are not the classes'.
constexpr const char* kTablesSql =
    "select r.rdb$relation_name from rdb$relations r "
    "where coalesce(r.rdb$system_flag, 0) = 0 and r.rdb$view_blr is null "
    "and coalesce(r.rdb$relation_type, 0) = 0";

// NOT NULL comes from the column or from its domain.
constexpr const char* kColumnsSql =
    "select rf.rdb$relation_name, rf.rdb$field_name, f.rdb$field_type, f.rdb$field_sub_type, "
    "f.rdb$field_scale, f.rdb$field_precision, "
    "coalesce(f.rdb$character_length, f.rdb$field_length), "
    "iif(coalesce(rf.rdb$null_flag, 0) = 1 or coalesce(f.rdb$null_flag, 0) = 1, 1, 0) "
    "from rdb$relation_fields rf "
    "join rdb$fields f on f.rdb$field_name = rf.rdb$field_source "
    "order by rf.rdb$relation_name, rf.rdb$field_position";

// A unique constraint over several columns says nothing of any one of them alone, and the
// model holds one column a constraint: only one-column ones are read.
constexpr const char* kKeysSql =
    "select rc.rdb$relation_name, rc.rdb$constraint_name, rc.rdb$constraint_type, "
    "s.rdb$field_name from rdb$relation_constraints rc "
    "join rdb$indices i on i.rdb$index_name = rc.rdb$index_name "
    "join rdb$index_segments s on s.rdb$index_name = rc.rdb$index_name "
    "and s.rdb$field_position = 0 "
    "where rc.rdb$constraint_type = 'PRIMARY KEY' "
    "or (rc.rdb$constraint_type = 'UNIQUE' and i.rdb$segment_count = 1) "
    "order by rc.rdb$relation_name, rc.rdb$constraint_name";

// In index order, which is the order the keys were made in.
constexpr const char* kForeignKeysSql =
    "select rc.rdb$relation_name, rc.rdb$constraint_name, s.rdb$field_name, "
    "uq.rdb$relation_name, us.rdb$field_name from rdb$relation_constraints rc "
    "join rdb$ref_constraints ref on ref.rdb$constraint_name = rc.rdb$constraint_name "
    "join rdb$relation_constraints uq on uq.rdb$constraint_name = ref.rdb$const_name_uq "
    "join rdb$indices i on i.rdb$index_name = rc.rdb$index_name "
    "join rdb$index_segments s on s.rdb$index_name = rc.rdb$index_name "
    "and s.rdb$field_position = 0 "
    "join rdb$index_segments us on us.rdb$index_name = uq.rdb$index_name "
    "and us.rdb$field_position = 0 "
    "where rc.rdb$constraint_type = 'FOREIGN KEY' "
    "order by rc.rdb$relation_name, i.rdb$index_id";

// Indices made on their own, not the ones behind constraints; expression indices have no
// segment and drop out.
constexpr const char* kIndicesSql =
    "select i.rdb$relation_name, i.rdb$index_name, s.rdb$field_name from rdb$indices i "
    "join rdb$index_segments s on s.rdb$index_name = i.rdb$index_name "
    "and s.rdb$field_position = 0 "
    "where coalesce(i.rdb$system_flag, 0) = 0 and not exists (select 1 from "
    "rdb$relation_constraints rc where rc.rdb$index_name = i.rdb$index_name) "
    "order by i.rdb$relation_name, i.rdb$index_id";

constexpr const char* kSequencesSql =
    "select rdb$generator_name from rdb$generators where coalesce(rdb$system_flag, 0) = 0";

std::string Qualified(const std::string& table, const std::string& element) {
  return table + "." + element;
}

std::unique_ptr<TColumnStruct> CopyColumn(const TColumnStruct& source) {
  auto column = std::make_unique<TColumnStruct>();
  column->setName(source.Name());
  column->SetTypeData(source.TypeData());
  column->SetSize(source.Size());
  column->SetRequired(source.Required());
  return column;
}

// The columns of one merged class, held back until the key column can lead them.
struct TMergedTable {
  std::unique_ptr<TTableStruct> table;
  std::vector<std::unique_ptr<TColumnStruct>> columns;
};

class TTableAssembly {
 public:
  TTableAssembly(const TModuleStruct* expected, const std::set<std::string>& ignoredColumns)
      : expected_(expected), ignored_(ignoredColumns) {}

  void Read(TDBXConnection& connection) {
    ReadNames(connection);
    PrepareMergedTables();
    ReadColumns(connection);
    ReadKeys(connection);
    CompleteMergedTables();
    ReadForeignKeys(connection);
    ReadIndices(connection);
    ReadSequenceFlags(connection);
    NameSourceClasses();
    LinkDependencies();
  }

  void MoveInto(TModuleStruct& module) {
    for (TTableStruct* table : DropSafeOrder()) {
      module.AddNormalTable(std::move(tables_.at(table->Name())));
    }
    for (auto& merged : merged_) module.AddExtendedTable(std::move(merged.table));
  }

 private:
  TTableStruct* Find(const std::string& name) const {
    const auto it = tables_.find(name);
    return it == tables_.end() ? nullptr : it->second.get();
  }

  // The first normal table of the expected model with that name, or null.
  const TTableStruct* ExpectedNormalTable(const std::string& name) const {
    if (expected_ == nullptr) return nullptr;
    for (const auto& table : expected_->NormalTables()) {
      if (table->Name() == name) return table.get();
    }
    return nullptr;
  }

  bool IsIgnored(const std::string& table, const std::string& column) const {
    return ignored_.contains(Qualified(table, column));
  }

  // The merged class a column of `table` belongs to, or null.
  TMergedTable* MergedOwner(const std::string& table, const std::string& column) const {
    const auto it = mergedColumns_.find(Qualified(table, column));
    return it == mergedColumns_.end() ? nullptr : it->second;
  }

  // Where a constraint or index on `column` goes: its merged class's table or its own.
  TTableStruct& Owner(TTableStruct& table, const std::string& column) const {
    const TMergedTable* merged = MergedOwner(table.Name(), column);
    return merged ? *merged->table : table;
  }

  void ReadNames(TDBXConnection& connection) {
    ForEachRow(connection, kTablesSql, [&](const TDBXReader& row) {
      auto table = std::make_unique<TTableStruct>();
      table->setName(NameAt(row, 0));
      tables_.emplace(table->Name(), std::move(table));
    });
  }

  // A merged class whose host exists claims its own columns (the first class claiming a
  // column keeps it) and its foreign keys.
  void PrepareMergedTables() {
    if (expected_ == nullptr) return;
    for (const auto& wanted : expected_->ExtendedTables()) {
      if (Find(wanted->Name()) == nullptr) continue;
      TMergedTable& merged = merged_.emplace_back();
      merged.table = std::make_unique<TTableStruct>();
      merged.table->setName(wanted->Name());
      merged.table->SetSourceClass(wanted->SourceClass());
      merged.table->SetIsExtendedTable(true);
      const std::string key = wanted->PrimaryKey() ? wanted->PrimaryKey()->KeyName() : "";
      const TTableStruct* host = ExpectedNormalTable(wanted->Name());
      for (const auto& column : wanted->Columns()) {
        // The key, and a column the host's class has as well, stay with the host.
        if (column->Name() == key || (host && host->FindColumn(column->Name()))) continue;
        mergedColumns_.emplace(Qualified(wanted->Name(), column->Name()), &merged);
      }
      for (const auto& foreignKey : wanted->ForeignKeys()) {
        mergedKeys_.emplace(Qualified(wanted->Name(), foreignKey->Name()), &merged);
      }
    }
  }

  void ReadColumns(TDBXConnection& connection) {
    ForEachRow(connection, kColumnsSql, [&](const TDBXReader& row) {
      TTableStruct* table = Find(NameAt(row, 0));
      const std::string name = NameAt(row, 1);
      if (table == nullptr || IsIgnored(table->Name(), name)) return;
      const TCatalogField field{IntAt(row, 2), IntAt(row, 3), IntAt(row, 4), IntAt(row, 5),
                                IntAt(row, 6)};
      const TModelColumnType type = ModelColumnType(field);
      auto column = std::make_unique<TColumnStruct>();
      column->setName(name);
      column->SetTypeData(type.type);
      column->SetSize(type.size);
      column->SetRequired(IntAt(row, 7) != 0);
      if (TMergedTable* merged = MergedOwner(table->Name(), name)) {
        merged->columns.push_back(std::move(column));
      } else {
        table->AddColumn(std::move(column));
      }
    });
  }

  void ReadKeys(TDBXConnection& connection) {
    ForEachRow(connection, kKeysSql, [&](const TDBXReader& row) {
      TTableStruct* table = Find(NameAt(row, 0));
      const std::string column = NameAt(row, 3);
      if (table == nullptr || IsIgnored(table->Name(), column)) return;
      if (NameAt(row, 2) == "PRIMARY KEY") {
        table->PrimaryKey()->setName(NameAt(row, 1));
        table->PrimaryKey()->setKeyName(column);
        return;
      }
      auto unique = std::make_unique<TUniqueStruct>();
      unique->setName(NameAt(row, 1));
      unique->setKeyName(column);
      Owner(*table, column).AddUnique(std::move(unique));
    });
  }

  // A merged class's table starts with a copy of its host's key column and shares its key.
  void CompleteMergedTables() {
    for (TMergedTable& merged : merged_) {
      const TTableStruct& host = *Find(merged.table->Name());
      const TDBSPrimaryKey& hostKey = *host.PrimaryKey();
      if (const TColumnStruct* key = host.FindColumn(hostKey.KeyName())) {
        merged.table->AddColumn(CopyColumn(*key));
      }
      merged.table->PrimaryKey()->setName(hostKey.Name());
      merged.table->PrimaryKey()->setKeyName(hostKey.KeyName());
      for (auto& column : merged.columns) merged.table->AddColumn(std::move(column));
      merged.columns.clear();
    }
  }

  void ReadForeignKeys(TDBXConnection& connection) {
    ForEachRow(connection, kForeignKeysSql, [&](const TDBXReader& row) {
      TTableStruct* table = Find(NameAt(row, 0));
      const std::string name = NameAt(row, 1);
      const std::string column = NameAt(row, 2);
      if (table == nullptr || IsIgnored(table->Name(), column)) return;
      auto key = std::make_unique<TForeignKeyStruct>();
      key->setName(name);
      key->setKeyName(column);
      key->setRefTableName(NameAt(row, 3));
      key->setRefKeyName(NameAt(row, 4));
      const auto claimed = mergedKeys_.find(Qualified(table->Name(), name));
      TTableStruct& owner =
          claimed != mergedKeys_.end() ? *claimed->second->table : Owner(*table, column);
      owner.AddForeignKey(std::move(key));
    });
  }

  void ReadIndices(TDBXConnection& connection) {
    ForEachRow(connection, kIndicesSql, [&](const TDBXReader& row) {
      TTableStruct* table = Find(NameAt(row, 0));
      const std::string column = NameAt(row, 2);
      if (table == nullptr || IsIgnored(table->Name(), column)) return;
      TTableStruct& owner = Owner(*table, column);
      auto index = std::make_unique<TIndiceStruct>();
      index->setName(NameAt(row, 1));
      index->SetColumn(column);
      owner.AddIndex(std::move(index));
      if (TColumnStruct* indexed = owner.FindColumn(column)) indexed->SetIndexed(true);
    });
  }

  void ReadSequenceFlags(TDBXConnection& connection) {
    std::unordered_set<std::string> sequences;
    ForEachRow(connection, kSequencesSql,
               [&](const TDBXReader& row) { sequences.insert(NameAt(row, 0)); });
    for (auto& [name, table] : tables_) {
      table->SetHasGenerator(sequences.contains(table->GetGeneratorName()));
    }
  }

  // The class of the expected normal table of the same name. A table no class claims is named
  // after itself, and marked when that name happens to be some other table's class, so that
  // it is never paired with that class.
  std::string SourceClassOf(const std::string& tableName) const {
    if (const TTableStruct* wanted = ExpectedNormalTable(tableName)) return wanted->SourceClass();
    if (TDataBaseManager::findTableStructByClassname(tableName, expected_) != nullptr) {
      return "<" + tableName + ">";
    }
    return tableName;
  }

  void NameSourceClasses() {
    for (auto& [name, table] : tables_) table->SetSourceClass(SourceClassOf(name));
  }

  static void Link(TTableStruct& from, TTableStruct& to) {
    if (std::find(from.ThisDepends().begin(), from.ThisDepends().end(), &to) ==
        from.ThisDepends().end()) {
      from.AddThisDepends(&to);
      to.AddDependsThis(&from);
    }
  }

  void LinkDependencies() {
    const auto linkKeys = [&](TTableStruct& table) {
      for (const auto& key : table.ForeignKeys()) {
        if (TTableStruct* referenced = Find(key->RefTableName())) Link(table, *referenced);
      }
    };
    for (auto& [name, table] : tables_) linkKeys(*table);
    for (auto& merged : merged_) linkKeys(*merged.table);
  }

  // Name order, except that the tables referencing a table come before it.
  std::vector<TTableStruct*> DropSafeOrder() const {
    std::vector<TTableStruct*> order;
    std::unordered_set<const TTableStruct*> seen;
    const std::function<void(TTableStruct*)> visit = [&](TTableStruct* table) {
      if (!seen.insert(table).second) return;
      for (TTableStruct* dependent : table->DependsThis()) {
        if (dependent != table && !dependent->IsExtendedTable()) visit(dependent);
      }
      order.push_back(table);
    };
    for (const auto& [name, table] : tables_) visit(table.get());
    return order;
  }

  const TModuleStruct* expected_;
  const std::set<std::string>& ignored_;
  std::map<std::string, std::unique_ptr<TTableStruct>> tables_;
  // A deque keeps the addresses the column and key maps point at.
  std::deque<TMergedTable> merged_;
  std::unordered_map<std::string, TMergedTable*> mergedColumns_;
  std::unordered_map<std::string, TMergedTable*> mergedKeys_;
};

}  // namespace

void ReadTables(TDBXConnection& connection, const TModuleStruct* expected,
                const std::set<std::string>& ignoredColumns, TModuleStruct& module) {
  TTableAssembly assembly(expected, ignoredColumns);
  assembly.Read(connection);
  assembly.MoveInto(module);
}

}  // namespace zo::catalog
