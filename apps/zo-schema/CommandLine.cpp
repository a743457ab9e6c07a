#include "apps/zo-schema/CommandLine.h"

#include <deque>

#include "apps/common/ToolOptions.h"

namespace zo::schematool {

namespace {

// Options whose value is a secret have no environment variable of the option name: the
// command reads its own (ZO_SCHEMA_PASSWORD), and only when no password option was given.
bool IsSecret(const std::string& name) { return name.find("password") != std::string::npos; }

}  // namespace

TCommandLine::TCommandLine(const std::vector<std::string>& args,
                           const std::vector<TOption>& options, const std::string& program) {
  CLI::App cli;
  cli.set_help_flag();  // each command prints its own help
  bool help = false;
  cli.add_flag("-h,--help", help);
  cli.add_option("--config", "file of \"option = value\" lines");
  // Stable addresses for CLI11 to write into.
  std::deque<std::string> texts;
  std::deque<bool> flags;
  std::vector<std::pair<const TOption*, CLI::Option*>> added;
  for (const TOption& option : options) {
    CLI::Option* cliOption =
        option.takesValue ? cli.add_option("--" + option.name, texts.emplace_back())
                          : cli.add_flag("--" + option.name, flags.emplace_back());
    added.emplace_back(&option, cliOption);
  }
  cli.add_option("arguments", positional_);
  if (!program.empty()) tools::AddEnvironment(cli, tools::EnvironmentPrefix(program));
  for (const auto& [option, cliOption] : added) {
    if (IsSecret(option->name)) cliOption->envname("");
  }
  try {
    tools::Parse(cli, std::vector<std::string>(args.rbegin(), args.rend()));
  } catch (const CLI::Error& e) {
    throw EUsageError(e.what());
  }
  if (help) values_["help"] = "";
  std::size_t text = 0, flag = 0;
  for (const auto& [option, cliOption] : added) {
    const bool set = option->takesValue ? cliOption->count() > 0 : flags[flag];
    if (set) values_[option->name] = option->takesValue ? texts[text] : "";
    option->takesValue ? ++text : ++flag;
  }
}

bool TCommandLine::Has(std::string_view name) const { return values_.count(name) > 0; }

std::optional<std::string> TCommandLine::Value(std::string_view name) const {
  const auto it = values_.find(name);
  if (it == values_.end()) return std::nullopt;
  return it->second;
}

std::string TCommandLine::Required(std::string_view name) const {
  const auto value = Value(name);
  if (!value || value->empty()) throw EUsageError("missing option --" + std::string(name));
  return *value;
}

void TCommandLine::ExpectPositional(const std::vector<std::string>& names) const {
  if (positional_.size() < names.size()) {
    throw EUsageError("missing argument " + names[positional_.size()]);
  }
  if (positional_.size() > names.size()) {
    throw EUsageError("unexpected argument: " + positional_[names.size()]);
  }
}

}  // namespace zo::schematool
