// The process-wide metadata cache.
//
// Readers never lock: the entries reachable from the cache are immutable, and the cache itself
// is an immutable snapshot (key -> entry) published through an atomic pointer. A miss takes
// the mutex, builds the entry once (re-checking under the mutex), and publishes a new snapshot
// holding the old keys plus the new one. Old snapshots are kept until the process ends, since
// a reader may still be looking at one; the entries are few (classes times the placements
// they are used at), so that costs little.
#include <zo/mapping/ObjectInfoCache.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include <zo/core/Exceptions.h>

namespace zo {
namespace {

struct TInfoKey {
  TDataObjectClass cls;
  TDataObjectClass hostClass;
  std::string prefix;
  bool operator==(const TInfoKey&) const = default;
};

struct TInfoKeyHash {
  size_t operator()(const TInfoKey& k) const {
    const size_t h = std::hash<const void*>()(k.cls) * 31 + std::hash<const void*>()(k.hostClass);
    return h * 31 + std::hash<std::string>()(k.prefix);
  }
};

using TSnapshot = std::unordered_map<TInfoKey, TDataObjectInfoDB*, TInfoKeyHash>;

class TInfoCache {
 public:
  TInfoCache() {
    auto first = std::make_unique<TSnapshot>();
    first->reserve(200);
    FCurrent.store(first.get(), std::memory_order_release);
    FSnapshots.push_back(std::move(first));
  }

  TDataObjectInfoDB* Get(const TInfoKey& key) {
    if (TDataObjectInfoDB* found = Find(*FCurrent.load(std::memory_order_acquire), key)) {
      return found;
    }
    const std::lock_guard<std::mutex> lock(FBuilding);
    if (TDataObjectInfoDB* found = Find(*FCurrent.load(std::memory_order_relaxed), key)) {
      return found;
    }
    return Build(key);
  }

 private:
  static TDataObjectInfoDB* Find(const TSnapshot& snapshot, const TInfoKey& key) {
    const auto it = snapshot.find(key);
    return it == snapshot.end() ? nullptr : it->second;
  }

  // Called with FBuilding held.
  TDataObjectInfoDB* Build(const TInfoKey& key) {
    const TSnapshot& current = *FCurrent.load(std::memory_order_relaxed);
    std::vector<std::unique_ptr<TDataObjectInfoDB>> made;
    const TInfoKey ownKey{key.cls, nullptr, {}};
    const auto own = current.find(ownKey);
    std::shared_ptr<const TClassMapping> mapping;
    if (own != current.end()) {
      mapping = own->second->SharedMapping();
    } else {
      mapping = std::make_shared<const TClassMapping>(key.cls);
      made.push_back(std::make_unique<TDataObjectInfoDB>(mapping, TPlacement{}));
    }
    if (key.hostClass != nullptr) {
      made.push_back(
          std::make_unique<TDataObjectInfoDB>(mapping, TPlacement{key.hostClass, key.prefix}));
    }

    auto next = std::make_unique<TSnapshot>(current);
    if (own == current.end()) next->emplace(ownKey, made.front().get());
    next->emplace(key, made.back().get());
    TDataObjectInfoDB* const result = made.back().get();
    for (auto& entry : made) FEntries.push_back(std::move(entry));
    FCurrent.store(next.get(), std::memory_order_release);
    FSnapshots.push_back(std::move(next));
    return result;
  }

  std::atomic<const TSnapshot*> FCurrent{nullptr};
  std::mutex FBuilding;
  // Owned here, appended under FBuilding, never removed while the process runs.
  std::vector<std::unique_ptr<TSnapshot>> FSnapshots;
  std::vector<std::unique_ptr<TDataObjectInfoDB>> FEntries;
};

TInfoCache& Cache() {
  static TInfoCache cache;
  return cache;
}

}  // namespace

TDataObjectInfoDB* GetObjectInfoDB(TDataObjectClass cls, TDataObjectClass hostClass,
                                   const std::string& prefix) {
  if (cls == nullptr) throw Exception("Método: getObjectInfoDB, erro: classe nula");
  // Without a host the class sits in its own table, whatever prefix was passed.
  return Cache().Get(hostClass == nullptr ? TInfoKey{cls, nullptr, {}}
                                          : TInfoKey{cls, hostClass, prefix});
}

std::string GetTableName(TDataObjectClass cls) {
  if (cls == nullptr || cls->Annotations().empty()) return {};
  return cls->Annotations().front().GetName();
}

std::string GetAttributeTableName(TDataObjectClass cls) {
  if (cls == nullptr) throw Exception("Método getAttributeTableName. Erro: Tipo inválido");
  if (cls->Annotations().empty()) throw Exception("Falta Atributo para o nome da tabela");
  const std::string& name = cls->Annotations().front().GetName();
  if (name.empty()) {
    throw Exception("Método getAttributeTableName. Erro: O Nome do atributo não pode ser vazio");
  }
  return name;
}

}  // namespace zo
