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
    throw EUsageError("--db deve ser um arquivo local: " + database.string());
  }
  if (fs::exists(database) && !args.Has("replace")) {
    context.err << "erro: " << database.string()
                << " já existe; use --replace para substituí-lo (o banco atual será perdido)\n";
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
  context.err << "Banco de dados criado: " << database.string() << "\n";
  return kExitOk;
}

}  // namespace

TCommand CreateCommand() {
  return {"create",
          "cria um banco de dados novo com as tabelas das classes",
          "Uso: {prog} create --db ARQUIVO [--replace]\n"
          "\n"
          "Cria o banco de dados ARQUIVO (Firebird, embutido) com o script de criação das\n"
          "classes da aplicação, os dados iniciais da aplicação e a coluna de senhas dos\n"
          "usuários.\n"
          "\n"
          "  --db ARQUIVO  o arquivo do banco de dados a criar\n"
          "  --replace     substitui um arquivo que já exista (sem ela, o comando recusa)\n",
          {{"db", true}, {"replace", false}},
          &Run};
}

}  // namespace zo::schematool
