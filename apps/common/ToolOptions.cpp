#include "apps/common/ToolOptions.h"

#include <cctype>
#include <filesystem>
#include <fstream>

#include <zo/version.h>

namespace zo::tools {

namespace {

constexpr const char* kConfigOption = "--config";

std::string Trim(const std::string& text) {
  const auto begin = text.find_first_not_of(" \t\r");
  if (begin == std::string::npos) return "";
  const auto end = text.find_last_not_of(" \t\r");
  return text.substr(begin, end - begin + 1);
}

std::string Unquote(const std::string& value) {
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
      value.back() == value.front()) {
    return value.substr(1, value.size() - 2);
  }
  return value;
}

// A file or line the program cannot use; the message names the file, the line and the key.
class ConfigError : public CLI::ParseError {
 public:
  explicit ConfigError(const std::string& message)
      : CLI::ParseError("ConfigError", message, CLI::ExitCodes::ConfigError) {}
};

// The option a configuration key sets, or null: "port" and "log-level" name --port and
// --log-level; --config, --help and --version cannot be set from a file.
CLI::Option* OptionOfKey(CLI::App& app, const std::string& key) {
  if (key.empty() || key == "config" || key == "help" || key == "version") return nullptr;
  return app.get_option_no_throw("--" + key);
}

// Sets one option from the file unless the command line or the environment set it already.
void ApplyEntry(CLI::App& app, const std::string& where, const std::string& key,
                const std::string& value) {
  CLI::Option* option = OptionOfKey(app, key);
  if (option == nullptr) throw ConfigError(where + ": unknown key \"" + key + "\"");
  if (option->count() > 0) return;
  try {
    option->add_result(value);
    option->run_callback();
  } catch (const CLI::Error& e) {
    throw ConfigError(where + ": bad value for \"" + key + "\": " + e.what());
  }
}

void ApplyConfigFile(CLI::App& app, const std::string& path) {
  std::ifstream in(path);
  if (!in) throw ConfigError("cannot read the configuration file " + path);
  std::string text;
  for (int number = 1; std::getline(in, text); ++number) {
    const std::string line = Trim(text);
    if (line.empty() || line.front() == '#' || line.front() == ';') continue;
    const std::string where = path + " line " + std::to_string(number);
    const auto equals = line.find('=');
    if (equals == std::string::npos) {
      throw ConfigError(where + ": expected \"key = value\", found \"" + line + "\"");
    }
    ApplyEntry(app, where, Trim(line.substr(0, equals)), Unquote(Trim(line.substr(equals + 1))));
  }
}

void ApplyConfigOption(CLI::App& app) {
  const CLI::Option* config = app.get_option(kConfigOption);
  if (config->count() > 0) ApplyConfigFile(app, config->as<std::string>());
}

}  // namespace

std::string ProgramName(const char* argv0) {
  const std::string name = argv0 == nullptr ? "" : std::filesystem::path(argv0).filename().string();
  return name.empty() ? "zo" : name;
}

std::string EnvironmentPrefix(const std::string& program) {
  std::string prefix;
  for (const char c : program) {
    prefix += std::isalnum(static_cast<unsigned char>(c))
                  ? static_cast<char>(std::toupper(static_cast<unsigned char>(c)))
                  : '_';
  }
  return prefix + "_";
}

void AddCommonOptions(CLI::App& app, const std::string& program) {
  app.name(program);
  app.set_version_flag("--version", std::string(program) + " " + ZO_VERSION_STRING,
                       "print the version and exit");
  app.add_option(kConfigOption, "file of \"option = value\" lines (# starts a comment)")
      ->type_name("FILE");
  app.get_formatter()->column_width(30);
}

void AddEnvironment(CLI::App& app, const std::string& prefix) {
  for (CLI::Option* option : app.get_options()) {
    const auto& names = option->get_lnames();
    if (names.empty() || !option->get_envname().empty() || names.front() == "help" ||
        names.front() == "version") {
      continue;
    }
    std::string variable = prefix;
    for (const char c : names.front()) {
      variable += c == '-' ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    option->envname(variable);
  }
}

void Parse(CLI::App& app, int argc, const char* const* argv) {
  app.parse(argc, argv);
  ApplyConfigOption(app);
}

void Parse(CLI::App& app, std::vector<std::string> reversedArgs) {
  app.parse(reversedArgs);
  ApplyConfigOption(app);
}

std::optional<int> ParseOrExit(CLI::App& app, int argc, const char* const* argv,
                               const std::string& program, int usageExit, std::ostream& out,
                               std::ostream& err) {
  try {
    Parse(app, argc, argv);
    return std::nullopt;
  } catch (const CLI::CallForHelp&) {
    out << app.help();
    return 0;
  } catch (const CLI::CallForAllHelp&) {
    out << app.help("", CLI::AppFormatMode::All);
    return 0;
  } catch (const CLI::CallForVersion& e) {
    out << e.what() << "\n";
    return 0;
  } catch (const CLI::Error& e) {
    err << program << ": " << e.what() << "\n(" << program << " --help lists the options)\n";
    return usageExit;
  }
}

}  // namespace zo::tools
