#include <zo/server/ZoServer.h>

#include <zo/core/DebugOutput.h>
#include <zo/core/Exceptions.h>

namespace zo {

std::unique_ptr<TZoCustomServerModule> TZoServerClass::CreateModule(const TModuleClass& moduleClass,
                                                                    const TModuleCreateArgs& args) {
  if (!moduleClass) throw Exception("Classe de módulo não atribuída");
  auto module = moduleClass(args);
  module->AfterConstruction();
  return module;
}

void TZoServerClass::CreateInstance(TCreateInstanceEventObject& event) {
  const auto it = event.connectionData.find("userid");
  OutputDebugString(it == event.connectionData.end() ? std::string() : it->second);
}

}  // namespace zo
