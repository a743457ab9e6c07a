#include "apps/zo-schema/Customer.h"

#include "apps/zo-schema/Files.h"
#include "apps/zo-schema/SchemaModel.h"
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

// The first user, inserted through the SQL layer with an identifier drawn from its table's
// sequence, and its password hash.
void AddFirstUser(const fs::path& database, const TNewCustomer& customer) {
  TSQLConnection connection;
  connection.Params().SetValue("Database", database.string());
  connection.Params().SetValue("User_Name", "SYSDBA");
  connection.Params().SetValue("Password", "pelicanos");
  connection.Open();
  TDBXConnection& dbx = connection.DBXConnection();
  TDataObjectInfoDB* info = GetObjectInfoDB(&TUser::StaticType());
  auto transaction = dbx.BeginTransaction();
  auto next = dbx.CreateCommand();
  next->SetText("select next value for GEN_" + info->GetTableName() + " from RDB$DATABASE");
  auto reader = next->ExecuteQuery();
  reader->Next();
  TUser user;
  user.SetCodigo(reader->GetInt32(0));
  reader.reset();
  user.Login = customer.login;
  user.Nome = customer.userName.empty() ? customer.login : customer.userName;
  auto insert = dbx.CreateCommand();
  insert->SetText(info->GenerateInsertCode(user));
  insert->ExecuteUpdate();
  StorePasswordHash(dbx, user.GetCodigo(), HashPassword(customer.password));
  // Someone must be able to manage the others: the first user is the administrator.
  StoreUserRole(dbx, user.GetCodigo(), TUserRole::urAdmin);
  dbx.CommitFreeAndNil(transaction);
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
    return "identificador de cliente inválido: \"" + customer.id +
           "\" (use de 1 a 64 letras, dígitos, '_' ou '-')";
  }
  if (!IsValidLogin(customer.login)) {
    return "login inválido: \"" + customer.login +
           "\" (use de 1 a 60 letras, dígitos, '.', '_', '-' ou '@')";
  }
  return std::nullopt;
}

fs::path AddCustomer(const SchemaToolApp& app, const TNewCustomer& customer) {
  if (const auto problem = InvalidCustomerArgument(customer)) throw Exception(*problem);
  if (customer.password.empty()) throw Exception("a senha não pode ser vazia");
  if (!HasUsersTable(app)) {
    throw Exception("as classes da aplicação não incluem a tabela de usuários (TUser)");
  }
  const fs::path customers = customer.root / kCustomersDir;
  const fs::path target = customers / customer.id;
  if (fs::exists(target) && !customer.replace) {
    throw Exception("o cliente " + customer.id + " já existe em " + target.string() +
                    "; use --replace para recriá-lo (o banco de dados atual será perdido)");
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
