// zo-schema script: the creation script of the application's classes.

#include "apps/zo-schema/Files.h"
#include "apps/zo-schema/SchemaModel.h"
#include "apps/zo-schema/ToolContext.h"

namespace zo::schematool {
namespace {

int Run(const TCommandLine& args, const TToolContext& context) {
  args.ExpectPositional({});
  const std::string script = CreationScript(context.app);
  if (const auto output = args.Value("output")) {
    WriteTextFile(*output, script);
    context.err << "Script de criação gravado em " << *output << "\n";
  } else {
    context.out << script;
  }
  return kExitOk;
}

}  // namespace

TCommand ScriptCommand() {
  return {"script",
          "imprime o script de criação das classes da aplicação",
          "Uso: {prog} script [--output ARQUIVO]\n"
          "\n"
          "Imprime o script de criação do banco de dados das classes da aplicação\n"
          "(tabelas, chaves primárias, chaves estrangeiras, sequências).\n"
          "\n"
          "  --output ARQUIVO  grava o script no arquivo em vez da saída padrão\n",
          {{"output", true}},
          &Run};
}

}  // namespace zo::schematool
