#include <zo/schematool/SchemaTool.h>

#include <algorithm>
#include <iostream>

#include "apps/zo-schema/ToolContext.h"
#include <zo/core/Text.h>
#include <zo/version.h>

namespace zo::schematool {
namespace {

std::vector<TCommand> AllCommands() {
  return {ScriptCommand(), CreateCommand(), CustomerCommand(),
          DiffCommand(),   ApplyCommand(),  UserCommand()};
}

std::string WithProgram(const std::string& text, const SchemaToolApp& app) {
  return text::ReplaceAll(text, "{prog}", app.programName);
}

void PrintGeneralHelp(std::ostream& out, const SchemaToolApp& app) {
  out << "Uso: " << app.programName << " COMANDO [OPÇÕES]\n\n"
      << "Manutenção dos bancos de dados da aplicação (módulo " << app.moduleName << ").\n\n"
      << "Comandos:\n";
  for (const auto& command : AllCommands()) {
    out << "  " << command.name << std::string(10 - command.name.size(), ' ') << command.summary
        << "\n";
  }
  out << "\n"
      << app.programName << " COMANDO --help mostra as opções de cada comando.\n"
      << app.programName << " --version mostra a versão.\n\n"
      << "Códigos de saída: 0 sucesso, 1 erro de uso (nada foi feito), 2 falha ou recusa.\n";
}

int RunCommand(const TCommand& command, const std::vector<std::string>& args,
               const TToolContext& context) {
  const TCommandLine commandLine(args, command.options);
  if (commandLine.Has("help")) {
    context.out << WithProgram(command.help, context.app);
    return kExitOk;
  }
  return command.run(commandLine, context);
}

}  // namespace

int RunSchemaTool(int argc, char** argv, const SchemaToolApp& app) {
  const std::vector<std::string> args(argv + std::min(argc, 1), argv + argc);
  const TToolContext context{app, std::cout, std::cerr};
  if (args.empty() || args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
    PrintGeneralHelp(args.empty() ? std::cerr : std::cout, app);
    return args.empty() ? kExitUsage : kExitOk;
  }
  if (args[0] == "--version") {
    std::cout << app.programName << " (ZoServer) " << ZO_VERSION_STRING << "\n";
    return kExitOk;
  }
  const auto commands = AllCommands();
  const auto command = std::find_if(commands.begin(), commands.end(),
                                    [&](const TCommand& c) { return c.name == args[0]; });
  try {
    if (command == commands.end()) throw EUsageError("comando desconhecido: " + args[0]);
    if (app.registerClasses) app.registerClasses();
    return RunCommand(*command, {args.begin() + 1, args.end()}, context);
  } catch (const EUsageError& e) {
    std::cerr << app.programName << ": " << e.what() << "\n"
              << "Use '" << app.programName << " "
              << (command == commands.end() ? std::string("--help") : args[0] + " --help")
              << "' para ver o uso.\n";
    return kExitUsage;
  } catch (const std::exception& e) {
    std::cerr << app.programName << ": erro: " << e.what() << "\n";
    return kExitFailure;
  }
}

}  // namespace zo::schematool
