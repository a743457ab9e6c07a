#pragma once

#include <zo/Export.h>

#include <functional>
#include <map>
#include <memory>
#include <string>

#include <zo/server/Components.h>
#include <zo/server/CustomServerModule.h>

// The package entry of the library: the server class that makes one module per client.
namespace zo {

// A class reference to a module class: makes a module of that class.
using TModuleClass =
    std::function<std::unique_ptr<TZoCustomServerModule>(const TModuleCreateArgs& args)>;

template <class TModule>
TModuleClass ModuleClassOf() {
  return [](const TModuleCreateArgs& args) -> std::unique_ptr<TZoCustomServerModule> {
    return std::make_unique<TModule>(args);
  };
}

// What the remote-method server knows of a connecting client.
struct ZO_EXPORT TCreateInstanceEventObject {
  std::map<std::string, std::string> connectionData;  // the client's per-connection values
  TZoCustomServerModule* serverClassInstance = nullptr;
};

class ZO_EXPORT TZoServerClass : public TComponent {
 public:
  const TModuleClass& ModuleClass() const { return fModuleClass; }
  void SetModuleClass(TModuleClass moduleClass) { fModuleClass = std::move(moduleClass); }

  // Makes a module of `moduleClass` and brings it up (providers, connection, user). A
  // failure to open the customer's database leaves nothing behind.
  std::unique_ptr<TZoCustomServerModule> CreateModule(const TModuleClass& moduleClass,
                                                      const TModuleCreateArgs& args);
  std::unique_ptr<TZoCustomServerModule> CreateModule(const TModuleCreateArgs& args) {
    return CreateModule(fModuleClass, args);
  }
  // Called when a client's module is created: writes the client's "userid" to the debug log.
  virtual void CreateInstance(TCreateInstanceEventObject& event);

 private:
  TModuleClass fModuleClass;
};

}  // namespace zo
