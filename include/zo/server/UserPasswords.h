#pragma once

#include <zo/Export.h>

#include <cstdint>
#include <optional>
#include <string>

namespace zo {

class TDBXConnection;

// Passwords of application users. The hash lives in USUARIOS beside the mapped columns, in a
// column that is not a TUser property, so it never travels to clients. Stored form:
//   pbkdf2-sha256$<iterations>$<salt, hex>$<derived key, hex>
inline constexpr const char* kUsersTable = "USUARIOS";
inline constexpr const char* kPasswordHashColumn = "SENHA_HASH";
inline constexpr int kDefaultPasswordIterations = 120000;

ZO_EXPORT std::string HashPassword(const std::string& password, int iterations = kDefaultPasswordIterations);
// Constant-time check of a password against a stored hash; false for a malformed hash.
ZO_EXPORT bool VerifyPassword(const std::string& password, const std::string& storedHash);
// The work of one password check at the default cost, against a hash no password matches:
// for an unknown customer or login, so that every refusal takes as long as a wrong password.
ZO_EXPORT void SpendPasswordCheck(const std::string& password);

// Adds the hash column to USUARIOS when it is missing (an existing database made by the
// creation script has no such column yet).
ZO_EXPORT void EnsurePasswordColumn(TDBXConnection& connection);
ZO_EXPORT void StorePasswordHash(TDBXConnection& connection, int32_t userId, const std::string& hash);
// The stored hash of a login; nullopt when the login is unknown or has no password. The login
// must already have passed IsValidLogin.
ZO_EXPORT std::optional<std::string> LoadPasswordHash(TDBXConnection& connection, const std::string& login);

// Untrusted identifiers, checked before they reach a path or a statement text.
// A customer identifier: 1 to 64 letters, digits, '_' and '-' (never a path).
ZO_EXPORT bool IsValidCustomerId(const std::string& customerId);
// A login: 1 to 60 characters of letters, digits, '.', '_', '-' and '@' (never a quote).
ZO_EXPORT bool IsValidLogin(const std::string& login);

}  // namespace zo
