#include "apps/zo-schema/Users.h"

#include <fmt/format.h>

#include <zo/core/Exceptions.h>
#include <zo/core/User.h>
#include <zo/mapping/ObjectInfoCache.h>
#include <zo/platform/db/DBXCommand.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/DBXReader.h>
#include <zo/platform/db/SQLConnection.h>
#include <zo/server/UserPasswords.h>

namespace zo::schematool {

struct TUserAdmin::TImpl {
  TSQLConnection connection;
  TDBXConnection& Dbx() { return connection.DBXConnection(); }
};

namespace {

void Execute(TDBXConnection& connection, const std::string& sql) {
  auto cmd = connection.CreateCommand();
  cmd->SetText(sql);
  cmd->ExecuteUpdate();
}

void CheckLogin(const std::string& login) {
  if (!IsValidLogin(login)) {
    throw Exception("login inválido: \"" + login +
                    "\" (use de 1 a 60 letras, dígitos, '.', '_', '-' ou '@')");
  }
}

void CheckPassword(const std::string& password) {
  if (password.empty()) throw Exception("a senha não pode ser vazia");
}

}  // namespace

std::filesystem::path CustomerDatabase(const std::filesystem::path& root, const std::string& id) {
  if (!IsValidCustomerId(id)) throw Exception("identificador de cliente inválido: \"" + id + "\"");
  const auto database = root / "CustomersDB" / id / "ZO.FDB";
  if (!std::filesystem::exists(database)) {
    throw Exception("o cliente " + id + " não existe em " + root.string());
  }
  return database;
}

TUserAdmin::TUserAdmin(const std::string& database) : impl_(std::make_unique<TImpl>()) {
  impl_->connection.Params().SetValue("Database", database);
  impl_->connection.Params().SetValue("User_Name", "SYSDBA");
  impl_->connection.Params().SetValue("Password", "masterkey");
  impl_->connection.Open();
  // Databases made before roles existed get the column on first use.
  EnsureRoleColumn(impl_->Dbx());
}

TUserAdmin::~TUserAdmin() = default;

int32_t TUserAdmin::IdOf(const std::string& login) const {
  CheckLogin(login);
  auto cmd = impl_->Dbx().CreateCommand();
  cmd->SetText(fmt::format("select ID from {} where LOGIN = '{}'", kUsersTable, login));
  auto reader = cmd->ExecuteQuery();
  if (!reader->Next()) throw Exception("usuário inexistente: " + login);
  return reader->GetInt32(0);
}

void TUserAdmin::KeepAnAdmin(const std::string& login, const char* what) const {
  TDBXConnection& dbx = impl_->Dbx();
  if (LoadUserRole(dbx, IdOf(login)) == TUserRole::urAdmin && CountAdmins(dbx) <= 1) {
    throw Exception(fmt::format("{} é o último administrador: não pode {}", login, what));
  }
}

int32_t TUserAdmin::Add(const std::string& login, const std::string& name,
                        const std::string& password, TUserRole role) {
  CheckLogin(login);
  CheckPassword(password);
  TDBXConnection& dbx = impl_->Dbx();
  {
    auto cmd = dbx.CreateCommand();
    cmd->SetText(fmt::format("select count(*) from {} where LOGIN = '{}'", kUsersTable, login));
    auto reader = cmd->ExecuteQuery();
    if (reader->Next() && reader->GetInt32(0) > 0) throw Exception("o login já existe: " + login);
  }
  TDataObjectInfoDB* info = GetObjectInfoDB(&TUser::StaticType());
  auto transaction = dbx.BeginTransaction();
  auto next = dbx.CreateCommand();
  next->SetText("select next value for GEN_" + info->GetTableName() + " from RDB$DATABASE");
  auto reader = next->ExecuteQuery();
  reader->Next();
  TUser user;
  user.SetCodigo(reader->GetInt32(0));
  reader.reset();
  user.Login = login;
  user.Nome = name.empty() ? login : name;
  Execute(dbx, info->GenerateInsertCode(user));
  StorePasswordHash(dbx, user.GetCodigo(), HashPassword(password));
  StoreUserRole(dbx, user.GetCodigo(), role);
  dbx.CommitFreeAndNil(transaction);
  return user.GetCodigo();
}

void TUserAdmin::SetPassword(const std::string& login, const std::string& password) {
  CheckPassword(password);
  StorePasswordHash(impl_->Dbx(), IdOf(login), HashPassword(password));
}

void TUserAdmin::SetRole(const std::string& login, TUserRole role) {
  if (role == TUserRole::urOrdinary) KeepAnAdmin(login, "deixar de ser administrador");
  StoreUserRole(impl_->Dbx(), IdOf(login), role);
}

void TUserAdmin::Remove(const std::string& login) {
  KeepAnAdmin(login, "ser removido");
  Execute(impl_->Dbx(), fmt::format("delete from {} where ID = {}", kUsersTable, IdOf(login)));
}

}  // namespace zo::schematool
