#include <zo/schematool/SchemaTool.h>

#include <algorithm>
#include <cctype>
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

std::string EnvironmentVariable(const std::string& program, const std::string& option) {
  std::string name;
  for (const char c : program + "_" + option) {
    name += c == '-' ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  return name;
}

std::string WithProgram(const std::string& text, const SchemaToolApp& app) {
  return text::ReplaceAll(text, "{prog}", app.programName);
}

void PrintGeneralHelp(std::ostream& out, const SchemaToolApp& app) {
  out << "Usage: " << app.programName << " COMMAND [OPTIONS]\n\n"
      << "Maintains the application's databases (module " << app.moduleName << ").\n\n"
      << "Commands:\n";
  for (const auto& command : AllCommands()) {
    out << "  " << command.name << std::string(10 - command.name.size(), ' ') << command.summary
        << "\n";
  }
  out << "\n"
      << app.programName << " COMMAND --help shows the options of each command; "
      << app.programName << " --version its version.\n"
      << "Every option may also come from the environment (" << app.programName
      << " apply --db: " << EnvironmentVariable(app.programName, "db")
      << ") or from a --config file (db = FILE).\n\n"
      << "Exit codes: 0 success, 1 usage error (nothing was done), 2 failure or refusal.\n";
}

int RunCommand(const TCommand& command, const std::vector<std::string>& args,
               const TToolContext& context) {
  const TCommandLine commandLine(args, command.options, context.app.programName);
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
  if (!args.empty() && args[0] == "--version") {
    std::cout << app.programName << " " << ZO_VERSION_STRING << "\n";
    return kExitOk;
  }
  if (args.empty() || args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
    PrintGeneralHelp(args.empty() ? std::cerr : std::cout, app);
    return args.empty() ? kExitUsage : kExitOk;
  }
  const auto commands = AllCommands();
  const auto command = std::find_if(commands.begin(), commands.end(),
                                    [&](const TCommand& c) { return c.name == args[0]; });
  try {
    if (command == commands.end()) throw EUsageError("unknown command: " + args[0]);
    if (app.registerClasses) app.registerClasses();
    return RunCommand(*command, {args.begin() + 1, args.end()}, context);
  } catch (const EUsageError& e) {
    std::cerr << app.programName << ": " << e.what() << "\n"
              << "'" << app.programName << " "
              << (command == commands.end() ? std::string("--help") : args[0] + " --help")
              << "' shows the usage.\n";
    return kExitUsage;
  } catch (const std::exception& e) {
    std::cerr << app.programName << ": error: " << e.what() << "\n";
    return kExitFailure;
  }
}

}  // namespace zo::schematool
