// zo-schema create: a new database from the classes' creation script.

#include <filesystem>

#include "apps/zo-schema/Files.h"
#include "apps/zo-schema/SchemaModel.h"
#include "apps/zo-schema/ToolContext.h"

namespace zo::schematool {
namespace {

namespace fs = std::filesystem;

int Run(const TCommandLine& args, const TToolContext& context) {
  args.ExpectPositional({});
  const fs::path database = args.Required("db");
  if (!IsLocalDatabase(database.string())) {
    throw EUsageError("--db must be a local file: " + database.string());
  }
  if (fs::exists(database) && !args.Has("replace")) {
    context.err << context.app.programName << ": error: " << database.string()
                << " already exists; use --replace to replace it (the current database will be "
                   "lost)\n";
    return kExitFailure;
  }
  // Built beside the target and renamed over it: a failure leaves the old file (or none)
  // and no half-made database.
  const fs::path staging = StagingPath(fs::absolute(database));
  TCleanup cleanup;
  cleanup.Add(staging);
  BuildDatabase(context.app, staging.string());
  fs::rename(staging, database);
  cleanup.Keep();
  context.err << "Database created: " << database.string() << "\n";
  return kExitOk;
}

}  // namespace

TCommand CreateCommand() {
  return {"create",
          "creates a new database with the tables of the classes",
          "Usage: {prog} create --db FILE [--replace]\n"
          "\n"
          "Creates the database FILE (Firebird, embedded) with the creation script of the\n"
          "application's classes, the application's initial data and the users' password\n"
          "column.\n"
          "\n"
          "  --db FILE     the database file to create\n"
          "  --replace     replaces an existing file (without it, the command refuses)\n",
          {{"db", true}, {"replace", false}},
          &Run};
}

}  // namespace zo::schematool
