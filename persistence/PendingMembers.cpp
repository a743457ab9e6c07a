// Composed members that several objects read together refer to: one statement per class, with
// the identifiers in an IN list, instead of one statement per member.
#include <fmt/format.h>
#include <fmt/printf.h>

#include <algorithm>
#include <map>
#include <memory>
#include <unordered_map>

#include <zo/core/Exceptions.h>
#include <zo/persistence/ZoServerUtils.h>
#include "persistence/RowReading.h"

namespace zo::detail {
namespace {

// Firebird takes at most 1500 values in an IN list.
constexpr size_t kIdsPerStatement = 500;

void Store(const TPendingMember& wanted, std::unique_ptr<TBaseDataObject> member) {
  member->SetParent(wanted.owner);
  wanted.property->SetObject(*wanted.owner, std::move(member));
}

using TWanted = std::vector<const TPendingMember*>;

// Reads one member for every entry that names the row: the row is read once and copied into a
// fresh instance per entry, as separate reads would give.
void ReadMembersFromRow(TDBXConnection& connection, TDBXReader& row, TDataObjectInfoDB& info,
                        const TRowRead& read, int32_t id, const TWanted& wanted) {
  for (const TPendingMember* entry : wanted) {
    try {
      auto member = entry->property->PropertyClass()->Create();
      ReadRowInto(connection, row, info, *member, read.hostedInRow, nullptr);
      LoadLists(connection, info, *member, true);
      member->SetCodigo(id);
      Store(*entry, std::move(member));
    } catch (const std::exception& e) {
      throw Exception(AssignmentError(entry->property, *entry->owner, e.what()));
    }
  }
}

// Reads the rows of `ids` (at most kIdsPerStatement) and the members they are wanted for;
// removes the identifiers found from `byId`.
void ReadChunk(TDBXConnection& connection, TDataObjectInfoDB& info, const TRowRead& read,
               const std::vector<int32_t>& ids, std::unordered_map<int32_t, TWanted>& byId) {
  const std::string key = info.GetKeyName();
  const std::string sql =
      fmt::sprintf("select %s from %s where %s in (%s)", read.columns, info.GetTableName(), key,
                   fmt::format("{}", fmt::join(ids, ",")));
  std::unique_ptr<TZoReader> reader;
  try {
    reader = GetReader(connection, sql);
  } catch (const std::exception& e) {
    const TPendingMember& first = *byId.at(ids.front()).front();
    throw Exception(AssignmentError(first.property, *first.owner, e.what()));
  }
  TDBXReader& row = reader->Reader();
  int keyOrdinal = -1;
  while (row.Next()) {
    if (keyOrdinal < 0) keyOrdinal = row.GetOrdinal(key);
    const int32_t id = row.GetInt32(keyOrdinal);
    const auto it = byId.find(id);
    if (it == byId.end()) continue;
    ReadMembersFromRow(connection, row, info, read, id, it->second);
    byId.erase(it);
  }
}

void LoadClass(TDBXConnection& connection, TDataObjectClass cls, const TWanted& wanted) {
  std::vector<int32_t> ids;
  std::unordered_map<int32_t, TWanted> byId;
  for (const TPendingMember* entry : wanted) {
    TWanted& same = byId[entry->id];
    if (same.empty()) ids.push_back(entry->id);
    same.push_back(entry);
  }
  TDataObjectInfoDB& info = *GetObjectInfoDB(cls);
  const TRowRead read = RowReadOf(info);
  for (size_t first = 0; first < ids.size(); first += kIdsPerStatement) {
    const size_t last = std::min(ids.size(), first + kIdsPerStatement);
    ReadChunk(connection, info, read, std::vector<int32_t>(ids.begin() + first, ids.begin() + last),
              byId);
  }
  // A member whose row is missing fails as its own read would have.
  for (const TPendingMember* entry : wanted) {
    if (!byId.contains(entry->id)) continue;
    const std::string missing = fmt::sprintf(
        "Objeto inexistente no repositório. ID: %d. Classe: %s", entry->id, cls->Name());
    throw Exception(AssignmentError(entry->property, *entry->owner, missing));
  }
}

}  // namespace

void LoadPendingMembers(TDBXConnection& connection, const std::vector<TPendingMember>& pending) {
  std::vector<TDataObjectClass> classes;
  std::map<TDataObjectClass, TWanted> byClass;
  for (const TPendingMember& entry : pending) {
    const TDataObjectClass cls = entry.property->PropertyClass();
    if (byClass[cls].empty()) classes.push_back(cls);
    byClass[cls].push_back(&entry);
  }
  for (const TDataObjectClass cls : classes) {
    const TWanted& wanted = byClass[cls];
    if (wanted.size() == 1) {
      // A single member is read as a composition always is.
      const TPendingMember& entry = *wanted.front();
      try {
        Store(entry, GetDataObject(connection, entry.id, cls));
      } catch (const std::exception& e) {
        throw Exception(AssignmentError(entry.property, *entry.owner, e.what()));
      }
    } else {
      LoadClass(connection, cls, wanted);
    }
  }
}

}  // namespace zo::detail
