#include <zo/dbstruct/DBStructClasses.h>

#include <algorithm>
#include <set>
#include <stdexcept>

#include <fmt/printf.h>

#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>

namespace zo {

namespace {

// Takes ownership of `item`, parents it to `owner` and returns it.
template <class T>
T& Adopt(TOwnedStructs<T>& list, std::unique_ptr<T> item, TBaseDataObject* owner) {
  if (!item) throw std::invalid_argument("null structure element");
  item->SetParent(owner);
  list.push_back(std::move(item));
  return *list.back();
}

// First element of `list` that satisfies `match`, or nullptr.
template <class T, class Match>
T* FindFirst(const TOwnedStructs<T>& list, Match match) {
  const auto it = std::find_if(list.begin(), list.end(),
                               [&](const std::unique_ptr<T>& item) { return match(*item); });
  return it == list.end() ? nullptr : it->get();
}

template <class T>
T* FindByName(const TOwnedStructs<T>& list, std::string_view name) {
  return FindFirst(list, [&](const T& item) { return item.Name() == name; });
}

// Own elements first, then the elements of the extended tables whose names are not among the
// own ones. Only the own names are remembered, so a name that two extended tables share is
// taken from both.
template <class T, class OwnList>
std::vector<T*> MergeWithExtended(const TTableStruct& table, OwnList ownList) {
  std::vector<T*> result;
  std::set<std::string> ownNames;
  for (const auto& item : ownList(table)) {
    result.push_back(item.get());
    ownNames.insert(item->Name());
  }
  for (const TTableStruct* extended : table.ExtendedTables()) {
    for (const auto& item : ownList(*extended)) {
      if (!ownNames.contains(item->Name())) result.push_back(item.get());
    }
  }
  return result;
}

// What calling a text that a class does not provide raises.
constexpr const char* kAbstractError = "Abstract Error";

}  // namespace

// --- TBaseStruct and constraints ---

void TBaseStruct::setName(std::string_view value) { fName = text::UpperCase(value); }

TTableStruct* TBaseStruct::OwnerTable() const { return dynamic_cast<TTableStruct*>(GetParent()); }

void TConstraintStruct::setKeyName(std::string_view value) { fKeyName = text::UpperCase(value); }

void TForeignKeyStruct::setRefTableName(std::string_view value) {
  fRefTableName = text::UpperCase(value);
}

void TForeignKeyStruct::setRefKeyName(std::string_view value) {
  fRefKeyName = text::UpperCase(value);
}

// --- TColumnStruct ---

bool TColumnStruct::IsBlobType() const {
  return fTypeData == TDBRType::dbsTextBlob || fTypeData == TDBRType::dbsBinBlob;
}

bool TColumnStruct::IsPrimaryKey() const {
  const TTableStruct* table = OwnerTable();
  return table && table->PrimaryKey() && table->PrimaryKey()->KeyName() == Name();
}

std::vector<TConstraintStruct*> TColumnStruct::GetConstraints() const {
  std::vector<TConstraintStruct*> result;
  const TTableStruct* table = OwnerTable();
  if (!table) return result;
  for (const auto& key : table->ForeignKeys()) {
    if (key->KeyName() == Name()) result.push_back(key.get());
  }
  for (const auto& unique : table->Uniques()) {
    if (unique->KeyName() == Name()) result.push_back(unique.get());
  }
  if (table->PrimaryKey() && table->PrimaryKey()->KeyName() == Name()) {
    result.push_back(table->PrimaryKey());
  }
  return result;
}

TConstraintStruct* TColumnStruct::FindConstraint(std::string_view AConstraintName) const {
  const std::string wanted = text::UpperCase(AConstraintName);
  for (TConstraintStruct* constraint : GetConstraints()) {
    if (text::UpperCase(constraint->Name()) == wanted) return constraint;
  }
  return nullptr;
}

TUniqueStruct* TColumnStruct::GetUniqueStruct() const {
  const TTableStruct* table = OwnerTable();
  if (!table) return nullptr;
  return FindFirst(table->Uniques(),
                   [&](const TUniqueStruct& unique) { return unique.KeyName() == Name(); });
}

std::vector<TForeignKeyStruct*> TColumnStruct::GetForeignKeys() const {
  std::vector<TForeignKeyStruct*> result;
  const TTableStruct* table = OwnerTable();
  if (!table) return result;
  const std::string name = text::UpperCase(Name());
  for (const auto& key : table->ForeignKeys()) {
    if (text::UpperCase(key->KeyName()) == name) result.push_back(key.get());
  }
  return result;
}

bool TColumnStruct::HasForeignKeys() const { return !GetForeignKeys().empty(); }

bool TColumnStruct::GetIndexed() const {
  const TTableStruct* table = OwnerTable();
  if (!table) {
    // The message names the table too, which a column without one cannot supply: formatting
    // fails, and its error is what the caller gets.
    const std::string pattern = "Coluna %s da tabela %s não parentada: ";
    std::string message;
    try {
      message = fmt::sprintf(pattern, Name());
    } catch (const fmt::format_error& e) {
      message = e.what();
    }
    throw Exception(message);
  }
  if (fIndexed) return true;
  const std::string name = text::LowerCase(Name());
  const TDBSPrimaryKey* key = table->PrimaryKey();
  if (key && text::LowerCase(key->KeyName()) == name) return true;
  const TUniqueStruct* unique = GetUniqueStruct();
  return unique && text::LowerCase(unique->KeyName()) == name;
}

// --- TUDFArgument and TUDFMethod ---

bool TUDFArgument::IsEqual(const TUDFArgument& other) const {
  return fFieldType == other.fFieldType && fFieldSubType == other.fFieldSubType &&
         fMechanism == other.fMechanism && fSize == other.fSize;
}

TUDFArgument& TUDFMethod::AddArgument(std::unique_ptr<TUDFArgument> argument) {
  return Adopt(fArguments, std::move(argument), this);
}

bool TUDFMethod::IsEqual(const TUDFMethod& other) const {
  if (fModuleName != other.fModuleName || fEntryPoint != other.fEntryPoint ||
      fReturnMechanism != other.fReturnMechanism || fFreeIt != other.fFreeIt) {
    return false;
  }
  return std::equal(fArguments.begin(), fArguments.end(), other.fArguments.begin(),
                    other.fArguments.end(),
                    [](const auto& a, const auto& b) { return a->IsEqual(*b); });
}

// --- TTableStruct ---

TTableStruct::TTableStruct() : fPrimaryKey(std::make_unique<TDBSPrimaryKey>()) {
  fPrimaryKey->SetParent(this);
}

TTableStruct::~TTableStruct() = default;

std::string TTableStruct::getDDL() const { throw Exception(kAbstractError); }

void TTableStruct::SetPrimaryKey(std::unique_ptr<TDBSPrimaryKey> key) {
  if (key) key->SetParent(this);
  fPrimaryKey = std::move(key);
}

TColumnStruct& TTableStruct::AddColumn(std::unique_ptr<TColumnStruct> column) {
  return Adopt(fColumns, std::move(column), this);
}

TForeignKeyStruct& TTableStruct::AddForeignKey(std::unique_ptr<TForeignKeyStruct> key) {
  return Adopt(fForeignKeys, std::move(key), this);
}

TUniqueStruct& TTableStruct::AddUnique(std::unique_ptr<TUniqueStruct> unique) {
  return Adopt(fUniques, std::move(unique), this);
}

TIndiceStruct& TTableStruct::AddIndex(std::unique_ptr<TIndiceStruct> index) {
  return Adopt(fIndices, std::move(index), this);
}

TColumnStruct* TTableStruct::FindColumn(std::string_view AColumnName) const {
  return FindByName(fColumns, text::UpperCase(AColumnName));
}

TForeignKeyStruct* TTableStruct::FindForeignKey(std::string_view AForeignKeyName) const {
  return FindByName(fForeignKeys, text::UpperCase(AForeignKeyName));
}

TUniqueStruct* TTableStruct::FindUnique(std::string_view AUniqueName) const {
  return FindByName(fUniques, text::UpperCase(AUniqueName));
}

TIndiceStruct* TTableStruct::FindIndexForColumn(std::string_view AColumnName) const {
  return FindFirst(fIndices, [&](const TIndiceStruct& index) {
    return text::UpperCase(index.Column()) == AColumnName;
  });
}

std::vector<TForeignKeyStruct*> TTableStruct::FindFKForTable(std::string_view TableName) const {
  std::vector<TForeignKeyStruct*> result;
  for (const auto& key : fForeignKeys) {
    if (key->RefTableName() == TableName) result.push_back(key.get());
  }
  return result;
}

bool TTableStruct::HasDependencieFrom(std::string_view Tablename) const {
  return std::any_of(fThisDepends.begin(), fThisDepends.end(),
                     [&](const TTableStruct* table) { return table->Name() == Tablename; });
}

bool TTableStruct::HasBlobField() const {
  return std::any_of(fColumns.begin(), fColumns.end(),
                     [](const auto& column) { return column->IsBlobType(); });
}

std::vector<TColumnStruct*> TTableStruct::GetAllColumns() const {
  auto columns = MergeWithExtended<TColumnStruct>(
      *this, [](const TTableStruct& table) -> const auto& { return table.Columns(); });
  std::stable_sort(
      columns.begin(), columns.end(),
      [](const TColumnStruct* a, const TColumnStruct* b) { return a->Name() < b->Name(); });
  return columns;
}

std::vector<TForeignKeyStruct*> TTableStruct::GetAllForeignKeys() const {
  return MergeWithExtended<TForeignKeyStruct>(
      *this, [](const TTableStruct& table) -> const auto& { return table.ForeignKeys(); });
}

std::vector<TTableStruct*> TTableStruct::GetAllDependsThis() const {
  // Depth first, last pushed first; a table already seen (this one included) is skipped, so
  // cycles end, and a table's reference to itself is not followed.
  std::vector<const TTableStruct*> visited{this};
  std::vector<TTableStruct*> result;
  std::vector<TTableStruct*> stack;
  const auto pushDependents = [&stack](const TTableStruct& table) {
    for (TTableStruct* dependent : table.fDependsThis) {
      if (dependent->Name() != table.Name()) stack.push_back(dependent);
    }
  };
  pushDependents(*this);
  while (!stack.empty()) {
    TTableStruct* table = stack.back();
    stack.pop_back();
    if (std::find(visited.begin(), visited.end(), table) != visited.end()) continue;
    visited.push_back(table);
    result.push_back(table);
    pushDependents(*table);
  }
  return result;
}

std::string TTableStruct::GetFieldList(std::string_view Alias, bool UseDistinctID,
                                       bool IncludeBlobs) const {
  const std::string prefix = Alias.empty() ? std::string() : std::string(Alias) + ".";
  std::string list;
  if (fPrimaryKey) {
    // Without DISTINCT the key goes unprefixed.
    list = UseDistinctID ? "Distinct(" + prefix + fPrimaryKey->KeyName() + ")"
                         : fPrimaryKey->KeyName();
  }
  for (const TColumnStruct* column : GetAllColumns()) {
    if (fPrimaryKey && column->Name() == fPrimaryKey->KeyName()) continue;
    if (column->IsBlobType() && !IncludeBlobs) continue;
    if (!list.empty()) list += ", ";
    list += prefix + column->Name();
  }
  return list;
}

std::string TTableStruct::GetGeneratorName() const { return fmt::sprintf("GEN_%s", Name()); }

// --- TModuleStruct ---

TModuleStruct::TModuleStruct() = default;

TModuleStruct::~TModuleStruct() = default;

std::string TModuleStruct::getDDL() const { throw Exception(kAbstractError); }

TTableStruct& TModuleStruct::AddNormalTable(std::unique_ptr<TTableStruct> table) {
  return Adopt(fNormalTables, std::move(table), this);
}

TTableStruct& TModuleStruct::AddExtendedTable(std::unique_ptr<TTableStruct> table) {
  return Adopt(fExtendedTables, std::move(table), this);
}

TStoredProcedure& TModuleStruct::AddProcedure(std::unique_ptr<TStoredProcedure> procedure) {
  return Adopt(fProcedures, std::move(procedure), this);
}

TTrigger& TModuleStruct::AddTrigger(std::unique_ptr<TTrigger> trigger) {
  return Adopt(fTriggers, std::move(trigger), this);
}

TUDFMethod& TModuleStruct::AddUDF(std::unique_ptr<TUDFMethod> method) {
  return Adopt(fUDFS, std::move(method), this);
}

TTableStruct* TModuleStruct::FindTable(std::string_view Tablename) const {
  const std::string name = text::UpperCase(Tablename);
  TTableStruct* table = FindByName(fNormalTables, name);
  return table ? table : FindByName(fExtendedTables, name);
}

TStoredProcedure* TModuleStruct::FindSP(std::string_view SPName) const {
  return FindByName(fProcedures, SPName);
}

TTrigger* TModuleStruct::FindTrigger(std::string_view TriggerName) const {
  return FindByName(fTriggers, TriggerName);
}

TUDFMethod* TModuleStruct::FindUDFMethod(std::string_view UDFMethodName) const {
  return FindByName(fUDFS, UDFMethodName);
}

int32_t TModuleStruct::getCount() const {
  return static_cast<int32_t>(fNormalTables.size() + fExtendedTables.size());
}

}  // namespace zo
