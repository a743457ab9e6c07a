#include "server/RemoteDispatch.h"

#include <memory>
#include <utility>

#include <nlohmann/json.hpp>

#include <zo/core/Exceptions.h>
#include <zo/core/RemoteErrors.h>
#include <zo/core/Streams.h>
#include "platform/json/Base64.h"
#include <zo/server/CustomServerModule.h>
#include <zo/server/RemoteParams.h>

namespace zo {
namespace {

using remote::IntParam;
using remote::ObjectParam;
using remote::Param;
using remote::StringParam;
using json = nlohmann::json;
using TModule = TZoCustomServerModule;

json DeleteArray(TModule& m, const json& p, TZoCallback* callback) {
  const auto& ids = Param(p, "jArray");
  if (!ids.is_array() && !ids.is_null()) throw EInvalidParams("Parâmetro jArray: esperado lista");
  m.DeleteArray(StringParam(p, "AClassName"), ids, callback);
  return nullptr;
}

json GetBlobData(TModule& m, const json& p, TZoCallback*) {
  const auto stream = m.GetBlobData(StringParam(p, "AClassName"), IntParam(p, "id"),
                                    StringParam(p, "APropertyName"));
  if (!stream) return nullptr;
  return base64::Encode(stream->Bytes());
}

json SetBlobData(TModule& m, const json& p, TZoCallback*) {
  std::unique_ptr<TMemoryStream> stream;
  const auto& data = Param(p, "AStream");
  if (data.is_string()) {
    auto bytes = base64::Decode(data.get<std::string>());
    if (!bytes) throw EInvalidParams("Parâmetro AStream: base64 inválido");
    stream = std::make_unique<TMemoryStream>(std::move(*bytes));
  } else if (!data.is_null()) {
    throw EInvalidParams("Parâmetro AStream: esperado texto base64");
  }
  m.SetBlobData(StringParam(p, "AClassName"), IntParam(p, "id"), StringParam(p, "APropertyName"),
                stream.get());
  return nullptr;
}

json GetRecords(TModule& m, const json& p, TZoCallback*) {
  const std::string name = StringParam(p, "ProviderName");
  m.Demand({"GetRecords", TAccessKind::akAction, nullptr, {name}, {}});
  const TDataSetProvider* provider = m.FindProvider(name);
  if (provider == nullptr) throw Exception("Provedor não encontrado: " + name);
  return provider->GetRecords();
}

}  // namespace

const TRemoteDispatcher& TRemoteDispatcher::BuiltIn() {
  static const TRemoteDispatcher dispatcher;
  return dispatcher;
}

TRemoteDispatcher::THandler TRemoteDispatcher::Find(const std::string& method) const {
  const auto it = fHandlers.find(method);
  return it == fHandlers.end() ? nullptr : it->second;
}

// One line per method; the longer handlers are named functions above.
TRemoteDispatcher::TRemoteDispatcher()
    : fHandlers{
          {"Insert",
           [](TModule& m, const json& p, TZoCallback* cb) -> json {
             return m.Insert(ObjectParam(p, "jObj"), cb);
           }},
          {"Update",
           [](TModule& m, const json& p, TZoCallback* cb) -> json {
             m.Update(ObjectParam(p, "jObj"), cb);
             return nullptr;
           }},
          {"Delete",
           [](TModule& m, const json& p, TZoCallback* cb) -> json {
             m.Delete(StringParam(p, "AClassName"), IntParam(p, "id"), cb);
             return nullptr;
           }},
          {"DeleteArray", DeleteArray},
          {"Get",
           [](TModule& m, const json& p, TZoCallback*) -> json {
             return m.Get(StringParam(p, "AClassName"), IntParam(p, "id"));
           }},
          {"GetByCondition",
           [](TModule& m, const json& p, TZoCallback*) -> json {
             return m.GetByCondition(StringParam(p, "AClassName"),
                                     StringParam(p, "ACondition", false));
           }},
          {"GetCount",
           [](TModule& m, const json& p, TZoCallback*) -> json {
             return m.GetCount(StringParam(p, "AClassName"), StringParam(p, "ACondition", false));
           }},
          {"GetBlobData", GetBlobData},
          {"SetBlobData", SetBlobData},
          {"GetNextID",
           [](TModule& m, const json& p, TZoCallback*) -> json {
             return m.GetNextID(IntParam(p, "currentID"), StringParam(p, "AClassName"),
                                IntParam(p, "ATipoNext"), StringParam(p, "ACondition", false));
           }},
          {"GetStrList",
           [](TModule& m, const json& p, TZoCallback*) -> json {
             return m.GetStrList(StringParam(p, "AClassName"), StringParam(p, "AProperties"),
                                 StringParam(p, "ACondition", false));
           }},
          {"Validate",
           [](TModule& m, const json& p, TZoCallback*) -> json {
             m.Validate(ObjectParam(p, "jObj"));
             return nullptr;
           }},
          {"GetRecords", GetRecords},
          {"SetCurrentDataBase",
           [](TModule& m, const json& p, TZoCallback*) -> json {
             m.Demand({"SetCurrentDataBase", TAccessKind::akAction, nullptr, {}, {}});
             m.SetCurrentDataBaseRemote(StringParam(p, "DataBaseName"));
             return nullptr;
           }},
          {"GetUserRole",
           [](TModule& m, const json& p, TZoCallback*) -> json {
             return m.GetUserRole(IntParam(p, "id"));
           }},
          {"SetUserRole",
           [](TModule& m, const json& p, TZoCallback*) -> json {
             m.SetUserRole(IntParam(p, "id"), StringParam(p, "ARole"));
             return nullptr;
           }},
          {"SetUserPassword",
           [](TModule& m, const json& p, TZoCallback*) -> json {
             m.SetUserPassword(IntParam(p, "id"), StringParam(p, "APassword"));
             return nullptr;
           }},
          {"GetCurrentDataBase",
           [](TModule& m, const json&, TZoCallback*) -> json { return m.GetCurrentDataBase(); }},
          {"GetClasses",
           [](TModule& m, const json&, TZoCallback*) -> json { return m.GetClasses(); }},
          {"GetActions",
           [](TModule& m, const json&, TZoCallback*) -> json { return m.GetActions(); }},
          {"GetSchema", [](TModule& m, const json&, TZoCallback*) -> json { return m.GetSchema(); }},
          {"Release",
           [](TModule& m, const json&, TZoCallback*) -> json {
             m.Release();
             return nullptr;
           }},
      } {}

}  // namespace zo
