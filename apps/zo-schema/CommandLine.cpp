#include "apps/zo-schema/CommandLine.h"

#include <algorithm>

namespace zo::schematool {
namespace {

const TOption* Find(const std::vector<TOption>& options, std::string_view name) {
  const auto it = std::find_if(options.begin(), options.end(),
                               [&](const TOption& o) { return o.name == name; });
  return it == options.end() ? nullptr : &*it;
}

}  // namespace

TCommandLine::TCommandLine(const std::vector<std::string>& args,
                           const std::vector<TOption>& options) {
  bool optionsEnded = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (optionsEnded || arg == "-" || !arg.starts_with("-")) {
      positional_.push_back(arg);
      continue;
    }
    if (arg == "--") {
      optionsEnded = true;
      continue;
    }
    if (arg == "-h" || arg == "--help") {
      values_["help"] = "";
      continue;
    }
    const auto eq = arg.find('=');
    const std::string name = arg.substr(2, eq == std::string::npos ? std::string::npos : eq - 2);
    const TOption* option = arg.starts_with("--") ? Find(options, name) : nullptr;
    if (option == nullptr) throw EUsageError("opção desconhecida: " + arg);
    if (values_.count(name) > 0) throw EUsageError("opção repetida: --" + name);
    if (!option->takesValue) {
      if (eq != std::string::npos) throw EUsageError("a opção --" + name + " não leva valor");
      values_[name] = "";
    } else if (eq != std::string::npos) {
      values_[name] = arg.substr(eq + 1);
    } else if (i + 1 < args.size()) {
      values_[name] = args[++i];
    } else {
      throw EUsageError("falta o valor da opção --" + name);
    }
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
  if (!value || value->empty()) throw EUsageError("falta a opção --" + std::string(name));
  return *value;
}

void TCommandLine::ExpectPositional(const std::vector<std::string>& names) const {
  if (positional_.size() < names.size()) {
    throw EUsageError("falta o argumento " + names[positional_.size()]);
  }
  if (positional_.size() > names.size()) {
    throw EUsageError("argumento a mais: " + positional_[names.size()]);
  }
}

}  // namespace zo::schematool
