#include <zo/server/RemoteMethodTable.h>

#include <nlohmann/json.hpp>

namespace zo {

void TRemoteMethodTable::Register(const std::string& name, TRemoteMethod method) {
  FMethods[name] = std::move(method);
}

const TRemoteMethodTable::TRemoteMethod* TRemoteMethodTable::Find(const std::string& name) const {
  const auto it = FMethods.find(name);
  return it == FMethods.end() ? nullptr : &it->second;
}

std::vector<std::string> TRemoteMethodTable::Names() const {
  std::vector<std::string> names;
  for (const auto& [name, method] : FMethods) names.push_back(name);
  return names;
}

}  // namespace zo
