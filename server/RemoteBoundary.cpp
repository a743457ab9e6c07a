// What the module does to everything a client sends before it reaches a DAO: conditions
// through the strict grammar, server-owned fields put back, database names kept to plain
// file names of the customer's directory.
#include <algorithm>

#include <zo/core/Attributes.h>
#include <zo/core/DataObjectList.h>
#include <zo/core/Exceptions.h>
#include <zo/core/User.h>
#include <zo/dao/GenericDAO.h>
#include <zo/persistence/ZoServerUtils.h>
#include <zo/platform/db/SQLConnection.h>
#include <zo/server/CustomServerModule.h>
#include <zo/server/RemoteCondition.h>

namespace zo {

std::string TZoCustomServerModule::CheckedCondition(const std::string& method, TDataObjectClass cls,
                                                    const std::string& condition) {
  if (cls == nullptr) throw Exception("Parâmetro 'Atype' não pode ser nulo");
  TCheckedCondition checked;
  try {
    checked = CheckRemoteCondition(*cls, condition);
  } catch (const ERefusedCondition& e) {
    Refused(TRefusalKind::rkCondition, method, e.what());
    throw;
  }
  // A condition reads what it compares: a count over a hidden column would reveal it.
  if (!checked.properties.empty()) {
    Demand({method, TAccessKind::akRead, cls, checked.properties, {}});
  }
  return checked.text;
}

std::string TZoCustomServerModule::KeyName(TDataObjectClass cls) {
  const TRttiProperty* key = cls->KeyProperty();
  return key != nullptr ? key->Name() : "Codigo";
}

void TZoCustomServerModule::ForgetClientKeys(TBaseDataObject& obj) {
  obj.SetCodigo(-1);
  for (const TRttiProperty* prop : obj.ClassType()->Properties()) {
    if (!IsAgregation(prop)) continue;
    // The object came from the client's JSON: no deeper than the message was.
    if (auto* list = dynamic_cast<TDataObjectList*>(prop->GetObject(obj))) {
      for (const auto& item : *list) {
        if (item != nullptr) ForgetClientKeys(*item);
      }
    }
  }
}

void TZoCustomServerModule::KeepServerOwnedFields(TGenericDAO& dao, TBaseDataObject& obj) const {
  auto* stamped = dynamic_cast<TUserObject*>(&obj);
  if (stamped == nullptr || dao.SQLConnection() == nullptr) return;
  std::unique_ptr<TBaseDataObject> stored;
  try {
    stored = GetDataObject(dao.SQLConnection()->DBXConnection(), obj.GetCodigo(), obj.ClassType());
  } catch (const std::exception&) {
    return;  // no stored row: the update itself reports that
  }
  const auto& original = static_cast<const TUserObject&>(*stored);
  stamped->UserID = original.UserID;
  stamped->DataHoraInclusao = original.DataHoraInclusao;
}

void TZoCustomServerModule::CheckRemoteDataBaseName(const std::string& name) const {
  if (name.empty()) return;
  constexpr size_t kMaxName = 64;
  const bool plainChars = std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.';
  });
  if (plainChars && name.size() <= kMaxName && name.front() != '.' &&
      name.find("..") == std::string::npos) {
    return;
  }
  Refused(TRefusalKind::rkDatabaseName, "SetCurrentDataBase",
          "nome recusado: \"" + ShownToken(name) + "\"");
  throw Exception(kDatabaseUnavailable);
}

}  // namespace zo
