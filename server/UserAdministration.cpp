// Remote methods that manage users' roles and passwords (the parts of USUARIOS that are not
// TUser properties).
#include <fmt/format.h>

#include <zo/core/User.h>
#include <zo/platform/db/DBXCommand.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/DBXReader.h>
#include <zo/platform/db/SQLConnection.h>
#include <zo/server/CustomServerModule.h>
#include <zo/server/RemoteCondition.h>
#include <zo/server/UserPasswords.h>

namespace zo {
namespace {

constexpr size_t kMaxPasswordBytes = 1024;

void ExpectUser(TDBXConnection& connection, int32_t id) {
  auto cmd = connection.CreateCommand();
  cmd->SetText(fmt::format("select count(*) from {} where ID = {}", kUsersTable, id));
  auto reader = cmd->ExecuteQuery();
  if (!reader->Next() || reader->GetInt32(0) == 0) {
    throw Exception(fmt::format("Usuário inexistente: {}", id));
  }
}

}  // namespace

std::string TZoCustomServerModule::GetUserRole(int32_t id) {
  Demand({"GetUserRole", TAccessKind::akRead, &TUser::StaticType(), {"Papel"}, {id}});
  return RoleName(LoadUserRole(SQLConnection()->DBXConnection(), id));
}

void TZoCustomServerModule::SetUserRole(int32_t id, const std::string& ARole) {
  const auto role = ParseRole(ARole);
  Demand({"SetUserRole", TAccessKind::akUpdate, &TUser::StaticType(), {"Papel"}, {id}});
  if (!role) {
    throw Exception(
        fmt::format("Papel desconhecido \"{}\" (use \"admin\" ou \"\")", ShownToken(ARole)));
  }
  TDBXConnection& connection = SQLConnection()->DBXConnection();
  ExpectUser(connection, id);
  if (*role == TUserRole::urOrdinary && LoadUserRole(connection, id) == TUserRole::urAdmin &&
      CountAdmins(connection) <= 1) {
    const std::string reason = "o último administrador não pode deixar de ser administrador";
    Refused(TRefusalKind::rkAuthorization, "SetUserRole", reason);
    throw EAccessDenied("Acesso negado: " + reason);
  }
  EnsureRoleColumn(connection);
  StoreUserRole(connection, id, *role);
  if (fUser != nullptr && fUser->GetCodigo() == id) fUserRole = *role;
}

void TZoCustomServerModule::SetUserPassword(int32_t id, const std::string& APassword) {
  Demand({"SetUserPassword", TAccessKind::akUpdate, &TUser::StaticType(), {"Senha"}, {id}});
  if (APassword.empty()) throw Exception("A senha não pode ser vazia");
  if (APassword.size() > kMaxPasswordBytes) {
    throw Exception(fmt::format("A senha passa de {} bytes", kMaxPasswordBytes));
  }
  TDBXConnection& connection = SQLConnection()->DBXConnection();
  ExpectUser(connection, id);
  StorePasswordHash(connection, id, HashPassword(APassword));
}

}  // namespace zo
