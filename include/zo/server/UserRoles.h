#pragma once

#include <zo/Export.h>

#include <cstdint>
#include <optional>
#include <string>

namespace zo {

class TDBXConnection;

// The role of an application user, kept in USUARIOS beside the mapped columns (like the
// password hash, it is not a TUser property, so no client can write it through Update).
// A row whose role is NULL or empty is an ordinary user; "admin" is an administrator.
inline constexpr const char* kRoleColumn = "PAPEL";
inline constexpr const char* kAdminRoleName = "admin";

enum class TUserRole { urOrdinary, urAdmin };

ZO_EXPORT std::string RoleName(TUserRole role);  // "" or "admin"
// "admin" (any case) or ""/"usuario"; nullopt for anything else.
ZO_EXPORT std::optional<TUserRole> ParseRole(const std::string& name);

// Adds the role column to USUARIOS when it is missing (databases made before roles existed).
ZO_EXPORT void EnsureRoleColumn(TDBXConnection& connection);
ZO_EXPORT bool HasRoleColumn(TDBXConnection& connection);
// The role of user `userId`; an ordinary user when the row, or the role column, is missing.
ZO_EXPORT TUserRole LoadUserRole(TDBXConnection& connection, int32_t userId);
ZO_EXPORT void StoreUserRole(TDBXConnection& connection, int32_t userId, TUserRole role);
// How many administrators the customer has (0 without the role column).
ZO_EXPORT int32_t CountAdmins(TDBXConnection& connection);

}  // namespace zo
