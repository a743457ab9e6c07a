// The module's authorization hook and its default policy: who may read and write the users'
// table. Every other class is open to every logged-in user unless an application says
// otherwise by overriding CheckAccess.
#include <algorithm>
#include <set>

#include <fmt/format.h>

#include <zo/core/Text.h>
#include <zo/core/User.h>
#include <zo/platform/db/SQLConnection.h>
#include <zo/server/CustomServerModule.h>

namespace zo {
namespace {

bool IsUserClass(TDataObjectClass cls) {
  return cls != nullptr && cls->InheritsFrom(&TUser::StaticType());
}

// What an ordinary user may read of any user.
bool IsPublicUserProperty(TDataObjectClass cls, const std::string& name) {
  const TRttiProperty* key = cls->KeyProperty();
  return text::SameText(name, "Login") || text::SameText(name, "Nome") ||
         (key != nullptr && text::SameText(name, key->Name()));
}

std::vector<std::string> ReadProperties(const TAccessRequest& request) {
  if (!request.properties.empty()) return request.properties;
  std::vector<std::string> all;
  for (const TRttiProperty* prop : request.cls->Properties()) all.push_back(prop->Name());
  return all;
}

}  // namespace

std::optional<std::string> TZoCustomServerModule::CheckAccess(const TAccessRequest& request) {
  if (IsUserClass(request.cls)) return CheckUserAccess(request);
  return std::nullopt;
}

std::optional<std::string> TZoCustomServerModule::CheckUserAccess(
    const TAccessRequest& request) const {
  if (IsAdmin()) return std::nullopt;
  const bool ownRecord =
      fUser != nullptr && request.ids.size() == 1 && request.ids[0] == fUser->GetCodigo();
  switch (request.kind) {
    case TAccessKind::akRead:
    case TAccessKind::akBlobRead: {
      if (ownRecord) return std::nullopt;
      for (const auto& name : ReadProperties(request)) {
        if (!IsPublicUserProperty(request.cls, name)) {
          return fmt::format("somente administradores leem \"{}\" de outros usuários ({})", name,
                             request.method);
        }
      }
      return std::nullopt;
    }
    default:
      // A user may change their own password, and nothing else of the users' table.
      if (request.method == "SetUserPassword" && ownRecord) return std::nullopt;
      return fmt::format("somente administradores alteram usuários ({} {})", request.method,
                         request.cls->Name());
  }
}

std::optional<std::string> TZoCustomServerModule::LastAdminRule(
    const TAccessRequest& request) const {
  if (request.kind != TAccessKind::akDelete || !IsUserClass(request.cls)) return std::nullopt;
  if (SQLConnection() == nullptr || !SQLConnection()->Connected()) return std::nullopt;
  TDBXConnection& connection = SQLConnection()->DBXConnection();
  const int32_t admins = CountAdmins(connection);
  if (admins == 0) return std::nullopt;
  const std::set<int32_t> ids(request.ids.begin(), request.ids.end());
  const auto doomed = std::count_if(ids.begin(), ids.end(), [&](int32_t id) {
    return LoadUserRole(connection, id) == TUserRole::urAdmin;
  });
  if (doomed >= admins) return std::string("o último administrador não pode ser excluído");
  return std::nullopt;
}

void TZoCustomServerModule::Demand(const TAccessRequest& request) {
  std::optional<std::string> refusal = CheckAccess(request);
  if (!refusal) refusal = LastAdminRule(request);
  if (!refusal) return;
  Refused(TRefusalKind::rkAuthorization, request.method, *refusal);
  throw EAccessDenied("Acesso negado: " + *refusal);
}

void TZoCustomServerModule::Refused(TRefusalKind kind, const std::string& method,
                                    const std::string& detail) const {
  ReportRefusal({kind, CustomerID(), fUsername, method, detail});
}

}  // namespace zo
