#include <zo/schema/DBManager.h>

#include <unordered_map>

#include <fmt/printf.h>

#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>

namespace zo {
namespace {

// The tables of a model by class name, as findTableStructByClassname finds them (normal
// tables before extended ones, the first of a name wins), so that pairing thousands of tables
// stays linear.
class TClassIndex {
 public:
  explicit TClassIndex(const TModuleStruct& model) {
    for (const auto& table : model.NormalTables()) Add(*table);
    for (const auto& table : model.ExtendedTables()) Add(*table);
  }

  const TTableStruct* Find(std::string_view className) const {
    const auto it = tables_.find(text::LowerCase(className));
    return it == tables_.end() ? nullptr : it->second;
  }

 private:
  void Add(const TTableStruct& table) {
    tables_.emplace(text::LowerCase(table.SourceClass()), &table);
  }

  std::unordered_map<std::string, const TTableStruct*> tables_;
};

// An existing column is kept when its type is the wanted one and, for a string, when it is at
// least as long: strings are never shortened, so no data is cut.
bool KeepsColumn(const TColumnStruct& existing, const TColumnStruct& wanted) {
  if (existing.TypeData() != wanted.TypeData()) return false;
  return wanted.TypeData() != TDBRType::dbsString || existing.Size() >= wanted.Size();
}

// Adds the columns of `wanted` that `existing` lacks and retypes the ones that changed.
void CompareColumns(const TTableStruct& wanted, const TTableStruct& existing,
                    std::vector<std::string>& out) {
  for (const auto& column : wanted.Columns()) {
    const TColumnStruct* current = TDataBaseManager::findColumn(column->Name(), &existing);
    if (current == nullptr) {
      out.push_back(fmt::sprintf("ALTER TABLE %s ADD %s;", wanted.Name(), column->getDDL()));
    } else if (!KeepsColumn(*current, *column)) {
      out.push_back(fmt::sprintf("ALTER TABLE %s ALTER %s TYPE %s;", wanted.Name(), column->Name(),
                                 column->GetTypeString()));
    }
  }
}

// Drops the columns of `existing` that `wanted` no longer has, naming the wanted table.
void DropMissingColumns(const TTableStruct& existing, const TTableStruct& wanted,
                        std::vector<std::string>& out) {
  for (const auto& column : existing.Columns()) {
    if (TDataBaseManager::findColumn(column->Name(), &wanted) == nullptr) {
      out.push_back(fmt::sprintf("ALTER TABLE %s DROP %s;", wanted.Name(), column->Name()));
    }
  }
}

// A key the database holds under another name is dropped, and a missing key is created.
void CompareForeignKeys(const TTableStruct& wanted, const TTableStruct& existing,
                        std::vector<std::string>& out) {
  for (const auto& key : wanted.ForeignKeys()) {
    const bool present = TDataBaseManager::findFK(key->Name(), &existing) != nullptr;
    if (const auto* duplicate = TDataBaseManager::findDuplicateFK(*key, &existing)) {
      out.push_back(
          fmt::sprintf("ALTER TABLE %s DROP CONSTRAINT %s;", existing.Name(), duplicate->Name()));
    }
    if (!present) out.push_back(key->getDDL());
  }
}

// A table whose class is gone: its constraints, then the table.
void DropTable(const TTableStruct& table, std::vector<std::string>& out) {
  const std::string keyName = table.PrimaryKey() ? table.PrimaryKey()->Name() : std::string();
  out.push_back(fmt::sprintf("ALTER TABLE %s DROP CONSTRAINT %s;", table.Name(), keyName));
  for (const auto& key : table.ForeignKeys()) {
    out.push_back(fmt::sprintf("ALTER TABLE %s DROP CONSTRAINT %s;", table.Name(), key->Name()));
  }
  out.push_back(fmt::sprintf("DROP TABLE %s;", table.Name()));
}

// An extended table the database does not know as such: its columns are added unless another
// class of the same table already has them. The foreign keys are then checked against the
// last table the column search looked at (none when the table has no columns), which is the
// table itself whenever it comes last among the tables of its name.
void AddToSharedTable(const TTableStruct& extended, const TModuleStruct& wantedModel,
                      std::vector<std::string>& out) {
  const TConstTableRefs sharing =
      TDataBaseManager::findTableStructByTablename(extended.Name(), &wantedModel);
  const TTableStruct* lastExamined = nullptr;
  for (const auto& column : extended.Columns()) {
    bool found = false;
    for (const TTableStruct* other : sharing) {
      lastExamined = other;
      if (other == &extended) continue;
      if (TDataBaseManager::findColumn(column->Name(), other) != nullptr) {
        found = true;
        break;
      }
    }
    if (!found) {
      out.push_back(fmt::sprintf("ALTER TABLE %s ADD %s;", extended.Name(), column->getDDL()));
    }
  }
  for (const auto& key : extended.ForeignKeys()) {
    if (TDataBaseManager::findFK(key->Name(), lastExamined) == nullptr) {
      out.push_back(key->getDDL());
    }
  }
}

// A unique constraint is missing when the table holds none on its column, under any name.
bool HasUniqueOn(const TTableStruct& table, const std::string& column) {
  for (const auto& unique : table.Uniques()) {
    if (text::SameText(unique->KeyName(), column)) return true;
  }
  return false;
}

// The unique constraints of the classes that the database lacks: of new tables all, of
// existing ones those on a column without one. They come last, after every column exists.
void AddMissingUniques(const TModuleStruct& wantedModel, const TClassIndex& current,
                       std::vector<std::string>& out) {
  for (const auto* tables : {&wantedModel.NormalTables(), &wantedModel.ExtendedTables()}) {
    for (const auto& table : *tables) {
      const TTableStruct* existing = current.Find(table->SourceClass());
      // A merged class listed among the normal tables is never created: nothing to add to.
      if (existing == nullptr && tables == &wantedModel.NormalTables() &&
          table->IsExtendedTable()) {
        continue;
      }
      for (const auto& unique : table->Uniques()) {
        if (existing == nullptr || !HasUniqueOn(*existing, unique->KeyName())) {
          out.push_back(unique->getDDL());
        }
      }
    }
  }
}

void RequireModels(const TModuleStruct* current, const TModuleStruct* wanted) {
  if (current == nullptr || wanted == nullptr) {
    throw Exception("A comparação de estruturas precisa da estrutura atual e da nova");
  }
}

}  // namespace

std::string TDataBaseManager::MakeScript() const {
  std::vector<std::string> alterations;
  TConstTableRefs tablesToCreate;
  CompareNormalTables(alterations, tablesToCreate);
  CompareExtTables(alterations);

  std::vector<std::string> lines;
  for (const TTableStruct* table : tablesToCreate) lines.push_back(table->GetDDL(false));
  for (const TTableStruct* table : tablesToCreate) {
    if (table->PrimaryKey() != nullptr) lines.push_back(table->PrimaryKey()->getDDL());
  }
  for (const TTableStruct* table : tablesToCreate) {
    for (const auto& key : table->ForeignKeys()) lines.push_back(key->getDDL());
  }
  // Every new table gets its sequence, whether or not its key is fed by one.
  for (const TTableStruct* table : tablesToCreate) lines.push_back(table->GetGeneratorDDL());
  lines.insert(lines.end(), alterations.begin(), alterations.end());
  AddMissingUniques(*fNewStruct, TClassIndex(*fCurrentStruct), lines);
  return text::JoinLines(lines);
}

void TDataBaseManager::CompareNormalTables(std::vector<std::string>& alterations,
                                           TConstTableRefs& tablesToCreate) const {
  RequireModels(fCurrentStruct, fNewStruct);
  const TClassIndex current(*fCurrentStruct);
  const TClassIndex wanted(*fNewStruct);

  for (const auto& table : fNewStruct->NormalTables()) {
    if (const TTableStruct* existing = current.Find(table->SourceClass())) {
      CompareColumns(*table, *existing, alterations);
      CompareForeignKeys(*table, *existing, alterations);
    } else if (!table->IsExtendedTable()) {
      tablesToCreate.push_back(table.get());
    }
  }
  for (const auto& existing : fCurrentStruct->NormalTables()) {
    if (const TTableStruct* table = wanted.Find(existing->SourceClass())) {
      DropMissingColumns(*existing, *table, alterations);
    }
  }
  for (const auto& existing : fCurrentStruct->NormalTables()) {
    if (wanted.Find(existing->SourceClass()) == nullptr) DropTable(*existing, alterations);
  }
}

void TDataBaseManager::CompareExtTables(std::vector<std::string>& alterations) const {
  RequireModels(fCurrentStruct, fNewStruct);
  const TClassIndex current(*fCurrentStruct);
  const TClassIndex wanted(*fNewStruct);

  for (const auto& table : fNewStruct->ExtendedTables()) {
    const TTableStruct* existing = current.Find(table->SourceClass());
    if (existing == nullptr) {
      AddToSharedTable(*table, *fNewStruct, alterations);
      continue;
    }
    CompareColumns(*table, *existing, alterations);
    for (const auto& key : table->ForeignKeys()) {
      if (findFK(key->Name(), existing) == nullptr) alterations.push_back(key->getDDL());
    }
  }
  // Extended tables are never dropped: only columns their class no longer has.
  for (const auto& existing : fCurrentStruct->ExtendedTables()) {
    if (const TTableStruct* table = wanted.Find(existing->SourceClass())) {
      DropMissingColumns(*existing, *table, alterations);
    }
  }
}

const TTableStruct* TDataBaseManager::findTableStructByClassname(std::string_view className,
                                                                 const TModuleStruct* model) {
  if (model == nullptr) return nullptr;
  for (const auto* tables : {&model->NormalTables(), &model->ExtendedTables()}) {
    for (const auto& table : *tables) {
      if (text::SameText(table->SourceClass(), className)) return table.get();
    }
  }
  return nullptr;
}

TConstTableRefs TDataBaseManager::findTableStructByTablename(std::string_view tableName,
                                                             const TModuleStruct* model) {
  TConstTableRefs result;
  if (model == nullptr) return result;
  for (const auto* tables : {&model->NormalTables(), &model->ExtendedTables()}) {
    for (const auto& table : *tables) {
      if (text::SameText(table->Name(), tableName)) result.push_back(table.get());
    }
  }
  return result;
}

const TColumnStruct* TDataBaseManager::findColumn(std::string_view columnName,
                                                  const TTableStruct* table) {
  if (table == nullptr) return nullptr;
  for (const auto& column : table->Columns()) {
    if (text::SameText(column->Name(), columnName)) return column.get();
  }
  return nullptr;
}

const TForeignKeyStruct* TDataBaseManager::findFK(std::string_view name,
                                                  const TTableStruct* table) {
  if (table == nullptr) return nullptr;
  for (const auto& key : table->ForeignKeys()) {
    if (key->Name() == name) return key.get();
  }
  return nullptr;
}

const TForeignKeyStruct* TDataBaseManager::findDuplicateFK(const TForeignKeyStruct& key,
                                                           const TTableStruct* table) {
  if (table == nullptr) return nullptr;
  for (const auto& other : table->ForeignKeys()) {
    if (!text::SameText(other->Name(), key.Name()) && other->KeyName() == key.KeyName() &&
        other->RefTableName() == key.RefTableName() && other->RefKeyName() == key.RefKeyName()) {
      return other.get();
    }
  }
  return nullptr;
}

}  // namespace zo
