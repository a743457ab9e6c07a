#include <zo/server/UserRoles.h>

#include <fmt/format.h>

#include <zo/core/Text.h>
#include <zo/platform/db/DBXCommand.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/DBXReader.h>
#include <zo/server/UserPasswords.h>

namespace zo {
namespace {

// Statements built only from constants and integers: nothing a client sends reaches them.
int32_t Count(TDBXConnection& connection, const std::string& sql) {
  auto cmd = connection.CreateCommand();
  cmd->SetText(sql);
  auto reader = cmd->ExecuteQuery();
  return reader->Next() ? reader->GetInt32(0) : 0;
}

void Execute(TDBXConnection& connection, const std::string& sql) {
  auto cmd = connection.CreateCommand();
  cmd->SetText(sql);
  cmd->ExecuteUpdate();
}

}  // namespace

std::string RoleName(TUserRole role) { return role == TUserRole::urAdmin ? kAdminRoleName : ""; }

std::optional<TUserRole> ParseRole(const std::string& name) {
  if (text::SameText(name, kAdminRoleName)) return TUserRole::urAdmin;
  if (name.empty() || text::SameText(name, "usuario")) return TUserRole::urOrdinary;
  return std::nullopt;
}

bool HasRoleColumn(TDBXConnection& connection) {
  return Count(connection, fmt::format("select count(*) from RDB$RELATION_FIELDS where "
                                       "RDB$RELATION_NAME = '{}' and RDB$FIELD_NAME = '{}'",
                                       kUsersTable, kRoleColumn)) > 0;
}

void EnsureRoleColumn(TDBXConnection& connection) {
  if (!HasRoleColumn(connection)) {
    Execute(connection, fmt::format("ALTER TABLE {} ADD {} VARCHAR(20)", kUsersTable, kRoleColumn));
  }
}

TUserRole LoadUserRole(TDBXConnection& connection, int32_t userId) {
  if (!HasRoleColumn(connection)) return TUserRole::urOrdinary;
  return Count(connection, fmt::format("select count(*) from {} where ID = {} and {} = '{}'",
                                       kUsersTable, userId, kRoleColumn, kAdminRoleName)) > 0
             ? TUserRole::urAdmin
             : TUserRole::urOrdinary;
}

void StoreUserRole(TDBXConnection& connection, int32_t userId, TUserRole role) {
  Execute(connection, role == TUserRole::urAdmin
                          ? fmt::format("update {} set {} = '{}' where ID = {}", kUsersTable,
                                        kRoleColumn, kAdminRoleName, userId)
                          : fmt::format("update {} set {} = NULL where ID = {}", kUsersTable,
                                        kRoleColumn, userId));
}

int32_t CountAdmins(TDBXConnection& connection) {
  if (!HasRoleColumn(connection)) return 0;
  return Count(connection, fmt::format("select count(*) from {} where {} = '{}'", kUsersTable,
                                       kRoleColumn, kAdminRoleName));
}

}  // namespace zo
