#include "apps/zo-schema/Customer.h"

#include "apps/zo-schema/Files.h"
#include "apps/zo-schema/SchemaModel.h"
#include "apps/zo-schema/Users.h"
#include <zo/core/Exceptions.h>
#include <zo/core/User.h>
#include <zo/mapping/ObjectInfoCache.h>
#include <zo/platform/db/ConnectionParams.h>
#include <zo/platform/db/SQLConnection.h>
#include <zo/server/UserPasswords.h>
#include <zo/server/UserRoles.h>

namespace zo::schematool {
namespace {

namespace fs = std::filesystem;

constexpr const char* kCustomersDir = "CustomersDB";
constexpr const char* kDatabaseFile = "ZO.FDB";

// The first user. Someone must be able to manage the others, so it is the administrator.
void AddFirstUser(const fs::path& database, const TNewCustomer& customer) {
  TUserAdmin(database.string())
      .Add(customer.login, customer.userName, customer.password, TUserRole::urAdmin);
}

void WriteCustomerConnConf(const fs::path& rootConf, const fs::path& target,
                           const std::string& id) {
  TConnectionParams params;
  params.LoadFromFile(rootConf);
  // Relative to the application root, where the server runs.
  params.SetValue("Database", (fs::path(kCustomersDir) / id / kDatabaseFile).string());
  params.SaveToFile(target);
}

}  // namespace

std::optional<std::string> InvalidCustomerArgument(const TNewCustomer& customer) {
  if (!IsValidCustomerId(customer.id)) {
    return "invalid customer identifier: \"" + customer.id +
           "\" (use 1 to 64 letters, digits, '_' or '-')";
  }
  if (!IsValidLogin(customer.login)) {
    return "invalid login: \"" + customer.login +
           "\" (use 1 to 60 letters, digits, '.', '_', '-' or '@')";
  }
  return std::nullopt;
}

fs::path AddCustomer(const SchemaToolApp& app, const TNewCustomer& customer) {
  if (const auto problem = InvalidCustomerArgument(customer)) throw Exception(*problem);
  if (customer.password.empty()) throw Exception("the password cannot be empty");
  if (!HasUsersTable(app)) {
    throw Exception("the application's classes do not include the users' table (TUser)");
  }
  const fs::path customers = customer.root / kCustomersDir;
  const fs::path target = customers / customer.id;
  if (fs::exists(target) && !customer.replace) {
    throw Exception("customer " + customer.id + " already exists in " + target.string() +
                    "; use --replace to recreate it (the current database will be lost)");
  }

  TCleanup cleanup;
  const fs::path rootConf = customer.root / "conn.conf";
  if (!fs::exists(rootConf)) {
    WriteTextFile(rootConf, kDefaultConnConf);
    cleanup.Add(rootConf);
  }
  if (!fs::exists(customers)) {
    fs::create_directories(customers);
    cleanup.Add(customers);
  }
  const fs::path staging = StagingPath(target);
  fs::remove_all(staging);
  fs::create_directory(staging);
  cleanup.Add(staging);

  WriteCustomerConnConf(rootConf, staging / "conn.conf", customer.id);
  BuildDatabase(app, (staging / kDatabaseFile).string());
  AddFirstUser(staging / kDatabaseFile, customer);

  if (fs::exists(target)) {
    // Swapped in two renames; the old customer comes back if the second one fails.
    const fs::path old = StagingPath(customers / (customer.id + ".antigo"));
    fs::rename(target, old);
    try {
      fs::rename(staging, target);
    } catch (...) {
      fs::rename(old, target);
      throw;
    }
    cleanup.Keep();
    fs::remove_all(old);
  } else {
    fs::rename(staging, target);
    cleanup.Keep();
  }
  return target;
}

}  // namespace zo::schematool
