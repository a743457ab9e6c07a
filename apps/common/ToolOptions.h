#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

// The command-line conventions of the programs (zo-server, zo-schema, zo-client and the same
// programs of other applications): CLI11 options that may also come from the environment
// (PROGRAM_OPTION, e.g. ZO_SERVER_LOG_LEVEL) and from a configuration file (--config FILE,
// "option = value" lines); the command line beats the environment, which beats the file.
namespace zo::tools {

// The name the program was started by, without its directory: the prefix of its messages.
std::string ProgramName(const char* argv0);

// "zo-server" -> "ZO_SERVER_".
std::string EnvironmentPrefix(const std::string& program);

// Adds --version (ZoServer's version) and --config FILE, and names the program in the help.
void AddCommonOptions(CLI::App& app, const std::string& program);

// Gives every long option of `app` without a variable of its own the variable PREFIX + its
// name in capitals with '-' as '_'. Call after the options are added.
void AddEnvironment(CLI::App& app, const std::string& prefix);

// Parses the command line and the environment, then the configuration file, if --config
// named one. Throws CLI::Error (help, version and usage errors alike).
void Parse(CLI::App& app, int argc, const char* const* argv);
// The same for arguments in reverse order, as CLI11 takes them in a vector.
void Parse(CLI::App& app, std::vector<std::string> reversedArgs);

// Parses; nullopt when the program is to go on, else its exit code: 0 after printing help
// or the version on `out`, `usageExit` after printing "PROGRAM: message" on `err`.
std::optional<int> ParseOrExit(CLI::App& app, int argc, const char* const* argv,
                               const std::string& program, int usageExit, std::ostream& out,
                               std::ostream& err);

}  // namespace zo::tools
