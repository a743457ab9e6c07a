#include <zo/server/ClassDAORegistry.h>

#include <algorithm>

#include <fmt/printf.h>

#include <zo/core/Exceptions.h>

namespace zo {

void TClassDAORegistry::Link(TDataObjectClass cls, TGenericDAO* dao) {
  FClassByName.emplace(cls->Name(), cls);
  FDAOByClass.emplace(cls, dao);
}

bool TClassDAORegistry::UnLink(TDataObjectClass cls) { return FDAOByClass.erase(cls) > 0; }

void TClassDAORegistry::Clear() {
  FClassByName.clear();
  FDAOByClass.clear();
}

TDataObjectClass TClassDAORegistry::Class(const std::string& name) const {
  const TDataObjectClass cls = FindClass(name);
  if (cls == nullptr) throw Exception("Classe não registrada \"" + name + "\"");
  return cls;
}

TDataObjectClass TClassDAORegistry::FindClass(const std::string& name) const {
  const auto it = FClassByName.find(name);
  return it == FClassByName.end() ? nullptr : it->second;
}

TGenericDAO* TClassDAORegistry::DAO(TDataObjectClass cls) const {
  const auto it = FDAOByClass.find(cls);
  if (it == FDAOByClass.end()) {
    throw Exception(
        fmt::sprintf("Método: TZoCustomServerModule.getDAO. Não há associação para a classe %s",
                     cls ? cls->Name() : std::string()));
  }
  return it->second;
}

std::vector<TGenericDAO*> TClassDAORegistry::DistinctDAOs(TGenericDAO* first) const {
  std::vector<TGenericDAO*> daos;
  if (first != nullptr) daos.push_back(first);
  for (const auto& [cls, dao] : FDAOByClass) {
    if (dao != nullptr && std::find(daos.begin(), daos.end(), dao) == daos.end()) {
      daos.push_back(dao);
    }
  }
  return daos;
}

}  // namespace zo
