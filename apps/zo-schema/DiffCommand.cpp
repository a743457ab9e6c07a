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
    context.err << context.app.programName << ": error: database not found: " << database << "\n";
    return kExitFailure;
  }
  const std::string script = MigrationScript(context.app, database);
  if (const auto output = args.Value("output")) {
    WriteTextFile(*output, script);
    context.err << "Migration script written to " << *output
                << (script.empty() ? " (empty: the database already matches the classes)" : "")
                << "\n";
  } else {
    context.out << script;
  }
  return kExitOk;
}

}  // namespace

TCommand DiffCommand() {
  return {"diff",
          "prints the script that migrates the database to the classes",
          "Usage: {prog} diff --db FILE [--output FILE]\n"
          "\n"
          "Compares the database with the application's classes and prints the script that\n"
          "brings it in line with them (new tables, new or widened columns, keys).\n"
          "An empty script means there is nothing to change. Run it with 'apply'.\n"
          "\n"
          "  --db FILE      the database\n"
          "  --output FILE  writes the script to the file instead of standard output\n",
          {{"db", true}, {"output", true}},
          &Run};
}

}  // namespace zo::schematool
