#include <zo/mapping/ObjectInfoCache.h>

#include <memory>
#include <unordered_map>

#include <zo/core/Exceptions.h>

namespace zo {
namespace {

using TInfoCache = std::unordered_map<TDataObjectClass, std::unique_ptr<TDataObjectInfoDB>>;

TInfoCache& FRttiInfoCache() {
  thread_local TInfoCache cache = [] {
    TInfoCache c;
    c.reserve(200);
    return c;
  }();
  return cache;
}

}  // namespace

TDataObjectInfoDB* GetObjectInfoDB(TDataObjectClass cls, TDataObjectClass hostClass,
                                   const std::string& prefix) {
  if (cls == nullptr) throw Exception("Método: getObjectInfoDB, erro: classe nula");
  auto& cache = FRttiInfoCache();
  const auto it = cache.find(cls);
  if (it != cache.end()) {
    if (hostClass != nullptr) {
      it->second->SetHostClass(hostClass);
      it->second->SetFieldPrefix(prefix);
      it->second->SetClass(cls);
    }
    return it->second.get();
  }
  auto info = std::make_unique<TDataObjectInfoDB>();
  if (hostClass != nullptr) {
    info->SetHostClass(hostClass);
    info->SetFieldPrefix(prefix);
  }
  info->SetClass(cls);
  return cache.emplace(cls, std::move(info)).first->second.get();
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
