// Calls the module's remote methods by name: an application's own first, then the built-in
// ones (RemoteDispatch.h).
#include <nlohmann/json.hpp>

#include <zo/core/RemoteErrors.h>
#include <zo/dao/GenericDAO.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/SQLConnection.h>
#include <zo/server/CustomServerModule.h>
#include "server/RemoteDispatch.h"

namespace zo {

void TZoCustomServerModule::RegisterMethod(const std::string& name, TRemoteMethod method) {
  fExtraMethods.Register(name, std::move(method));
}

void TZoCustomServerModule::DropCallback(const TZoCallback* callback) noexcept {
  if (callback == nullptr) return;
  const auto drop = [callback](TGenericDAO* dao) {
    if (dao != nullptr && dao->CallBack() == callback) dao->SetCallBack(nullptr);
  };
  for (TGenericDAO* dao : fRegistry.DistinctDAOs(fGenericDAO.get())) drop(dao);
}

nlohmann::json TZoCustomServerModule::CallMethod(const std::string& method,
                                                 const nlohmann::json& params,
                                                 TZoCallback* callback) {
  // The transport destroys the callback when the call ends, yet Insert leaves a DAO's callback
  // in place when the next call brings none: a DAO must not keep a pointer to a dead one.
  struct CallbackScope {
    TZoCustomServerModule& module;
    const TZoCallback* callback;
    ~CallbackScope() { module.DropCallback(callback); }
  } scope{*this, callback};
  try {
    return Dispatch(method, params, callback);
  } catch (...) {
    // Whatever the failed call left open is undone before the client hears of it.
    if (SQLConnection() != nullptr && SQLConnection()->Connected()) {
      try {
        SQLConnection()->DBXConnection().RollbackAll();
      } catch (...) {
      }
    }
    throw;
  }
}

nlohmann::json TZoCustomServerModule::Dispatch(const std::string& method,
                                               const nlohmann::json& params,
                                               TZoCallback* callback) {
  if (const TRemoteMethod* extra = fExtraMethods.Find(method)) {
    Demand({method, TAccessKind::akAction, nullptr, {}, {}});
    return (*extra)(params, callback);
  }
  if (const auto builtIn = TRemoteDispatcher::BuiltIn().Find(method)) {
    return builtIn(*this, params, callback);
  }
  throw EMethodNotFound("Método desconhecido: " + method);
}

}  // namespace zo
