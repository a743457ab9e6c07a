// Composed members that several objects read together refer to: one statement per class and
// level, with the identifiers in an IN list, instead of one statement per member.
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
constexpr size_t kIdsPerStatement = 512;

// The identifiers as an IN list, the last repeated up to a power of two: the prepared
// statements the connection keeps are per text with the values lifted out, so lists of any
// length share about ten of them instead of one per length.
std::string InList(const std::vector<int32_t>& ids) {
  size_t length = 1;
  while (length < ids.size()) length *= 2;
  std::vector<int32_t> padded = ids;
  padded.resize(length, ids.back());
  return fmt::format("{}", fmt::join(padded, ","));
}

void Store(const TPendingMember& wanted, std::unique_ptr<TBaseDataObject> member) {
  member->SetParent(wanted.owner);
  wanted.property->SetObject(*wanted.owner, std::move(member));
}

// A member that could not be read: its entry, and the message its own read would have raised.
// The caller of the level above adds its own "Erro ao atribuir valor" around it, so the message
// nests as reading member by member nests it.
struct TMemberFailure {
  size_t entry;
  std::string cause;
};

using TEntries = std::vector<size_t>;  // indices into one level's pending members

class TLevelReader {
 public:
  TLevelReader(TDBXConnection& connection, const std::vector<TPendingMember>& pending)
      : FConnection(connection), FPending(pending) {}

  // Throws TMemberFailure.
  void Run() {
    std::vector<TDataObjectClass> classes;
    std::map<TDataObjectClass, TEntries> byClass;
    for (size_t i = 0; i < FPending.size(); ++i) {
      const TDataObjectClass cls = FPending[i].property->PropertyClass();
      if (byClass[cls].empty()) classes.push_back(cls);
      byClass[cls].push_back(i);
    }
    for (const TDataObjectClass cls : classes) {
      const TEntries& entries = byClass[cls];
      if (entries.size() == 1) {
        ReadOnItsOwn(cls, entries.front());
      } else {
        ReadClass(cls, entries);
      }
    }
    ReadNextLevel();
    for (const auto& [entry, member, info] : FRead) {
      try {
        LoadLists(FConnection, *info, *member, true);
      } catch (const std::exception& e) {
        throw TMemberFailure{entry, e.what()};
      }
    }
  }

 private:
  struct TReadMember {
    size_t entry;
    TBaseDataObject* member;
    const TDataObjectInfoDB* info;
  };

  // A single member is read as a composition always is, with everything under it.
  void ReadOnItsOwn(TDataObjectClass cls, size_t entry) {
    const TPendingMember& wanted = FPending[entry];
    try {
      Store(wanted, GetDataObject(FConnection, wanted.id, cls));
    } catch (const std::exception& e) {
      throw TMemberFailure{entry, e.what()};
    }
  }

  void ReadClass(TDataObjectClass cls, const TEntries& entries) {
    std::vector<int32_t> ids;
    std::unordered_map<int32_t, TEntries> byId;
    for (const size_t entry : entries) {
      TEntries& same = byId[FPending[entry].id];
      if (same.empty()) ids.push_back(FPending[entry].id);
      same.push_back(entry);
    }
    TDataObjectInfoDB& info = *GetObjectInfoDB(cls);
    const TRowRead read = RowReadOf(info);
    for (size_t first = 0; first < ids.size(); first += kIdsPerStatement) {
      const size_t last = std::min(ids.size(), first + kIdsPerStatement);
      ReadChunk(info, read, std::vector<int32_t>(ids.begin() + first, ids.begin() + last), byId);
    }
    // A member whose row is missing fails as its own read would have.
    for (const size_t entry : entries) {
      if (!byId.contains(FPending[entry].id)) continue;
      throw TMemberFailure{entry, fmt::sprintf("Objeto inexistente no repositório. ID: %d. "
                                               "Classe: %s",
                                               FPending[entry].id, cls->Name())};
    }
  }

  // Reads the rows of `ids` and the members they are wanted for; removes the identifiers found
  // from `byId`.
  void ReadChunk(TDataObjectInfoDB& info, const TRowRead& read, const std::vector<int32_t>& ids,
                 std::unordered_map<int32_t, TEntries>& byId) {
    const std::string key = info.GetKeyName();
    const std::string sql = fmt::sprintf("select %s from %s where %s in (%s)", read.columns,
                                         info.GetTableName(), key, InList(ids));
    std::unique_ptr<TZoReader> reader;
    try {
      reader = GetReader(FConnection, sql);
    } catch (const std::exception& e) {
      throw TMemberFailure{byId.at(ids.front()).front(), e.what()};
    }
    TDBXReader& row = reader->Reader();
    int keyOrdinal = -1;
    while (row.Next()) {
      if (keyOrdinal < 0) keyOrdinal = row.GetOrdinal(key);
      const int32_t id = row.GetInt32(keyOrdinal);
      const auto it = byId.find(id);
      if (it == byId.end()) continue;
      // The row is read once and copied into a fresh instance per entry, as separate reads
      // would give.
      for (const size_t entry : it->second) ReadFromRow(row, info, read, entry);
      byId.erase(it);
    }
  }

  void ReadFromRow(TDBXReader& row, TDataObjectInfoDB& info, const TRowRead& read, size_t entry) {
    const TPendingMember& wanted = FPending[entry];
    try {
      auto member = wanted.property->PropertyClass()->Create();
      ReadRowInto(FConnection, row, info, *member, read.hostedInRow, &FNext);
      FNextOrigin.resize(FNext.size(), entry);
      member->SetCodigo(wanted.id);
      FRead.push_back({entry, member.get(), &info});
      Store(wanted, std::move(member));
    } catch (const std::exception& e) {
      throw TMemberFailure{entry, e.what()};
    }
  }

  // The members of the members just read, one level down.
  void ReadNextLevel() {
    if (FNext.empty()) return;
    try {
      TLevelReader(FConnection, FNext).Run();
    } catch (const TMemberFailure& f) {
      const TPendingMember& failed = FNext[f.entry];
      throw TMemberFailure{FNextOrigin[f.entry],
                           AssignmentError(failed.property, *failed.owner, f.cause)};
    }
  }

  TDBXConnection& FConnection;
  const std::vector<TPendingMember>& FPending;
  std::vector<TReadMember> FRead;
  std::vector<TPendingMember> FNext;
  std::vector<size_t> FNextOrigin;  // the entry of this level each of FNext hangs under
};

}  // namespace

void LoadPendingMembers(TDBXConnection& connection, const std::vector<TPendingMember>& pending) {
  try {
    TLevelReader(connection, pending).Run();
  } catch (const TMemberFailure& f) {
    throw Exception(AssignmentError(pending[f.entry].property, *pending[f.entry].owner, f.cause));
  }
}

}  // namespace zo::detail
