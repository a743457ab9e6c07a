#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include <zo/server/UserRoles.h>

namespace zo::schematool {

// The users of one customer database, managed from the command line (the server offers the
// same to administrators). Every change keeps at least one administrator once there is one.
class TUserAdmin {
 public:
  explicit TUserAdmin(const std::string& database);
  ~TUserAdmin();
  TUserAdmin(const TUserAdmin&) = delete;
  TUserAdmin& operator=(const TUserAdmin&) = delete;

  // Returns the new user's identifier; refuses a login that exists.
  int32_t Add(const std::string& login, const std::string& name, const std::string& password,
              TUserRole role);
  void SetPassword(const std::string& login, const std::string& password);
  void SetRole(const std::string& login, TUserRole role);
  void Remove(const std::string& login);

 private:
  struct TImpl;
  int32_t IdOf(const std::string& login) const;  // throws for an unknown login
  void KeepAnAdmin(const std::string& login, const char* what) const;
  std::unique_ptr<TImpl> impl_;
};

// The database of customer `id` under the application root `root`.
std::filesystem::path CustomerDatabase(const std::filesystem::path& root, const std::string& id);

}  // namespace zo::schematool
