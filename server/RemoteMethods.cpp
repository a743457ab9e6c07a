// Calls the module's remote methods by name, with JSON-RPC named parameters.
#include <nlohmann/json.hpp>

#include <zo/core/Exceptions.h>
#include <zo/dao/GenericDAO.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/SQLConnection.h>
#include "platform/json/Base64.h"
#include <zo/server/CustomServerModule.h>
#include <zo/server/RemoteParams.h>

namespace zo {

using remote::IntParam;
using remote::ObjectParam;
using remote::Param;
using remote::StringParam;

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

nlohmann::json TZoCustomServerModule::Dispatch(const std::string& method, const nlohmann::json& p,
                                               TZoCallback* callback) {
  if (const TRemoteMethod* extra = fExtraMethods.Find(method)) {
    Demand({method, TAccessKind::akAction, nullptr, {}, {}});
    return (*extra)(p, callback);
  }
  if (method == "Insert") return Insert(ObjectParam(p, "jObj"), callback);
  if (method == "Update") {
    Update(ObjectParam(p, "jObj"), callback);
    return nullptr;
  }
  if (method == "Delete") {
    Delete(StringParam(p, "AClassName"), IntParam(p, "id"), callback);
    return nullptr;
  }
  if (method == "DeleteArray") {
    const auto& ids = Param(p, "jArray");
    if (!ids.is_array() && !ids.is_null()) throw EInvalidParams("Parâmetro jArray: esperado lista");
    DeleteArray(StringParam(p, "AClassName"), ids, callback);
    return nullptr;
  }
  if (method == "Get") return Get(StringParam(p, "AClassName"), IntParam(p, "id"));
  if (method == "GetByCondition") {
    return GetByCondition(StringParam(p, "AClassName"), StringParam(p, "ACondition", false));
  }
  if (method == "GetCount") {
    return GetCount(StringParam(p, "AClassName"), StringParam(p, "ACondition", false));
  }
  if (method == "GetBlobData") {
    const auto stream = GetBlobData(StringParam(p, "AClassName"), IntParam(p, "id"),
                                    StringParam(p, "APropertyName"));
    if (!stream) return nullptr;
    return base64::Encode(stream->Bytes());
  }
  if (method == "SetBlobData") {
    std::unique_ptr<TMemoryStream> stream;
    const auto& data = Param(p, "AStream");
    if (data.is_string()) {
      auto bytes = base64::Decode(data.get<std::string>());
      if (!bytes) throw EInvalidParams("Parâmetro AStream: base64 inválido");
      stream = std::make_unique<TMemoryStream>(std::move(*bytes));
    } else if (!data.is_null()) {
      throw EInvalidParams("Parâmetro AStream: esperado texto base64");
    }
    SetBlobData(StringParam(p, "AClassName"), IntParam(p, "id"), StringParam(p, "APropertyName"),
                stream.get());
    return nullptr;
  }
  if (method == "GetNextID") {
    return GetNextID(IntParam(p, "currentID"), StringParam(p, "AClassName"),
                     IntParam(p, "ATipoNext"), StringParam(p, "ACondition", false));
  }
  if (method == "GetStrList") {
    return GetStrList(StringParam(p, "AClassName"), StringParam(p, "AProperties"),
                      StringParam(p, "ACondition", false));
  }
  if (method == "Validate") {
    Validate(ObjectParam(p, "jObj"));
    return nullptr;
  }
  if (method == "GetRecords") {
    const std::string name = StringParam(p, "ProviderName");
    Demand({method, TAccessKind::akAction, nullptr, {name}, {}});
    const TDataSetProvider* provider = FindProvider(name);
    if (provider == nullptr) throw Exception("Provedor não encontrado: " + name);
    return provider->GetRecords();
  }
  if (method == "SetCurrentDataBase") {
    Demand({method, TAccessKind::akAction, nullptr, {}, {}});
    SetCurrentDataBaseRemote(StringParam(p, "DataBaseName"));
    return nullptr;
  }
  if (method == "GetUserRole") return GetUserRole(IntParam(p, "id"));
  if (method == "SetUserRole") {
    SetUserRole(IntParam(p, "id"), StringParam(p, "ARole"));
    return nullptr;
  }
  if (method == "SetUserPassword") {
    SetUserPassword(IntParam(p, "id"), StringParam(p, "APassword"));
    return nullptr;
  }
  if (method == "GetCurrentDataBase") return GetCurrentDataBase();
  if (method == "GetClasses") return GetClasses();
  if (method == "GetActions") return GetActions();
  if (method == "GetSchema") return GetSchema();
  if (method == "Release") {
    Release();
    return nullptr;
  }
  throw EMethodNotFound("Método desconhecido: " + method);
}

}  // namespace zo
