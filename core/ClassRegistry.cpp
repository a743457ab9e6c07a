#include <zo/core/ClassRegistry.h>

#include <map>
#include <mutex>
#include <string>

namespace zo {
namespace {

struct Registry {
  std::mutex mutex;  // start-up may define classes from several libraries' initialisers
  std::map<std::string, TDataObjectClass, std::less<>> byName;
  std::vector<TDataObjectClass> inOrder;
};

Registry& TheRegistry() {
  static Registry registry;
  return registry;
}

}  // namespace

void RegisterClass(TDataObjectClass cls) {
  auto& r = TheRegistry();
  std::lock_guard lock(r.mutex);
  if (r.byName.emplace(cls->QualifiedName(), cls).second) r.inOrder.push_back(cls);
  r.byName.emplace(cls->Name(), cls);
}

TDataObjectClass FindClass(std::string_view name) {
  auto& r = TheRegistry();
  std::lock_guard lock(r.mutex);
  const auto it = r.byName.find(name);
  return it == r.byName.end() ? nullptr : it->second;
}

std::vector<TDataObjectClass> RegisteredClasses() {
  auto& r = TheRegistry();
  std::lock_guard lock(r.mutex);
  return r.inOrder;
}

}  // namespace zo
