// zo-schema diff: the migration script from a live database to the application's classes.

#include <filesystem>

#include "apps/zo-schema/Files.h"
#include "apps/zo-schema/SchemaModel.h"
#include "apps/zo-schema/ToolContext.h"
#include <zo/platform/db/SQLConnection.h>
#include <zo/schema/CatalogReader.h>
#include <zo/schema/DBManager.h>
#include <zo/server/UserPasswords.h>
#include <zo/server/UserRoles.h>

namespace zo::schematool {
namespace {

namespace fs = std::filesystem;

std::string MigrationScript(const SchemaToolApp& app, const std::string& database) {
  TSQLConnection connection;
  connection.Params().SetValue("Database", database);
  connection.Params().SetValue("User_Name", "SYSDBA");
  connection.Params().SetValue("Password", "pelicanos");
  connection.Open();
  const auto expected = ExpectedStruct(app);
  // The password hash and the role are kept beside the mapped columns of the users' table,
  // outside the classes: the comparison must not see them as columns to drop.
  TCatalogReadOptions options;
  options.ignoredColumns.insert(std::string(kUsersTable) + "." + kPasswordHashColumn);
  options.ignoredColumns.insert(std::string(kUsersTable) + "." + kRoleColumn);
  const auto current = ReadDatabaseStruct(connection.DBXConnection(), expected.get(), options);
  connection.Close();
  TDataBaseManager manager;
  manager.SetCurrentStruct(current.get());
  manager.SetNewStruct(expected.get());
  return manager.MakeScript();
}

int Run(const TCommandLine& args, const TToolContext& context) {
  args.ExpectPositional({});
  const std::string database = args.Required("db");
  if (IsLocalDatabase(database) && !fs::exists(database)) {
    context.err << "erro: banco de dados não encontrado: " << database << "\n";
    return kExitFailure;
  }
  const std::string script = MigrationScript(context.app, database);
  if (const auto output = args.Value("output")) {
    WriteTextFile(*output, script);
    context.err << "Script de migração gravado em " << *output
                << (script.empty() ? " (vazio: o banco já está de acordo com as classes)" : "")
                << "\n";
  } else {
    context.out << script;
  }
  return kExitOk;
}

}  // namespace

TCommand DiffCommand() {
  return {"diff",
          "imprime o script de migração do banco de dados para as classes",
          "Uso: {prog} diff --db ARQUIVO [--output ARQUIVO]\n"
          "\n"
          "Compara o banco de dados com as classes da aplicação e imprime o script que o\n"
          "põe de acordo com elas (tabelas novas, colunas novas ou alargadas, chaves).\n"
          "Um script vazio quer dizer que não há nada a mudar. Rode-o com 'apply'.\n"
          "\n"
          "  --db ARQUIVO      o banco de dados\n"
          "  --output ARQUIVO  grava o script no arquivo em vez da saída padrão\n",
          {{"db", true}, {"output", true}},
          &Run};
}

}  // namespace zo::schematool
