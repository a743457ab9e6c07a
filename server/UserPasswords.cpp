#include <zo/server/UserPasswords.h>

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <fmt/format.h>

#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>
#include <zo/platform/db/DBXCommand.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/DBXReader.h>

namespace zo {
namespace {

constexpr size_t kSaltBytes = 16;
constexpr size_t kKeyBytes = 32;

std::vector<uint8_t> Derive(const std::string& password, const std::vector<uint8_t>& salt,
                            int iterations) {
  std::vector<uint8_t> key(kKeyBytes);
  if (PKCS5_PBKDF2_HMAC(password.data(), static_cast<int>(password.size()), salt.data(),
                        static_cast<int>(salt.size()), iterations, EVP_sha256(),
                        static_cast<int>(key.size()), key.data()) != 1) {
    throw Exception("Falha ao calcular o hash da senha");
  }
  return key;
}

std::optional<std::vector<uint8_t>> FromHex(const std::string& hex) {
  if (hex.size() % 2 != 0) return std::nullopt;
  std::vector<uint8_t> out(hex.size() / 2);
  for (size_t i = 0; i < out.size(); ++i) {
    unsigned value = 0;
    for (size_t k = 0; k < 2; ++k) {
      const char c = hex[2 * i + k];
      const int digit = (c >= '0' && c <= '9')   ? c - '0'
                        : (c >= 'A' && c <= 'F') ? c - 'A' + 10
                        : (c >= 'a' && c <= 'f') ? c - 'a' + 10
                                                 : -1;
      if (digit < 0) return std::nullopt;
      value = value * 16 + static_cast<unsigned>(digit);
    }
    out[i] = static_cast<uint8_t>(value);
  }
  return out;
}

bool AllOf(const std::string& s, size_t maxLength, const char* extra) {
  if (s.empty() || s.size() > maxLength) return false;
  for (const char c : s) {
    const bool alnum = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (!alnum && std::string_view(extra).find(c) == std::string_view::npos) return false;
  }
  return true;
}

std::unique_ptr<TDBXReader> Query(TDBXConnection& connection, const std::string& sql) {
  auto cmd = connection.CreateCommand();
  cmd->SetText(sql);
  return cmd->ExecuteQuery();
}

void Execute(TDBXConnection& connection, const std::string& sql) {
  auto cmd = connection.CreateCommand();
  cmd->SetText(sql);
  cmd->ExecuteUpdate();
}

}  // namespace

std::string HashPassword(const std::string& password, int iterations) {
  std::vector<uint8_t> salt(kSaltBytes);
  if (RAND_bytes(salt.data(), static_cast<int>(salt.size())) != 1) {
    throw Exception("Falha ao gerar o sal da senha");
  }
  const auto key = Derive(password, salt, iterations);
  return fmt::format("pbkdf2-sha256${}${}${}", iterations, text::HexUpper(salt.data(), salt.size()),
                     text::HexUpper(key.data(), key.size()));
}

bool VerifyPassword(const std::string& password, const std::string& storedHash) {
  const auto parts = text::Split(storedHash, '$');
  if (parts.size() != 4 || parts[0] != "pbkdf2-sha256") return false;
  const int iterations = text::StrToIntDef(parts[1], 0);
  const auto salt = FromHex(parts[2]);
  const auto expected = FromHex(parts[3]);
  if (iterations <= 0 || !salt || !expected || expected->size() != kKeyBytes) return false;
  const auto actual = Derive(password, *salt, iterations);
  return CRYPTO_memcmp(actual.data(), expected->data(), kKeyBytes) == 0;
}

void SpendPasswordCheck(const std::string& password) {
  // Made once, at the cost real hashes have; its salt is random, so no password is known to
  // match it, and the answer is thrown away anyway.
  static const std::string kDummy = HashPassword(std::string(), kDefaultPasswordIterations);
  static_cast<void>(VerifyPassword(password, kDummy));
}

void EnsurePasswordColumn(TDBXConnection& connection) {
  auto reader = Query(connection, fmt::format("select count(*) from RDB$RELATION_FIELDS where "
                                              "RDB$RELATION_NAME = '{}' and RDB$FIELD_NAME = '{}'",
                                              kUsersTable, kPasswordHashColumn));
  const bool exists = reader->Next() && reader->GetInt32(0) > 0;
  reader.reset();
  if (!exists) {
    Execute(connection,
            fmt::format("ALTER TABLE {} ADD {} VARCHAR(200)", kUsersTable, kPasswordHashColumn));
  }
}

void StorePasswordHash(TDBXConnection& connection, int32_t userId, const std::string& hash) {
  // The hash is hex and '$' only: safe as a literal.
  Execute(connection, fmt::format("update {} set {} = '{}' where ID = {}", kUsersTable,
                                  kPasswordHashColumn, hash, userId));
}

std::optional<std::string> LoadPasswordHash(TDBXConnection& connection, const std::string& login) {
  if (!IsValidLogin(login)) return std::nullopt;
  auto reader = Query(connection, fmt::format("select {} from {} where LOGIN = '{}'",
                                              kPasswordHashColumn, kUsersTable, login));
  if (!reader->Next() || reader->IsNull(0)) return std::nullopt;
  return reader->GetString(0);
}

bool IsValidCustomerId(const std::string& customerId) { return AllOf(customerId, 64, "_-"); }

bool IsValidLogin(const std::string& login) { return AllOf(login, 60, "._-@"); }

}  // namespace zo
