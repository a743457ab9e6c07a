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
    context.err << "Creation script written to " << *output << "\n";
  } else {
    context.out << script;
  }
  return kExitOk;
}

}  // namespace

TCommand ScriptCommand() {
  return {"script",
          "prints the creation script of the application's classes",
          "Usage: {prog} script [--output FILE]\n"
          "\n"
          "Prints the database creation script of the application's classes\n"
          "(tables, primary keys, foreign keys, sequences).\n"
          "\n"
          "  --output FILE  writes the script to the file instead of standard output\n",
          {{"output", true}},
          &Run};
}

}  // namespace zo::schematool
