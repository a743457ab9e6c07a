#include "apps/zo-schema/SequenceResets.h"

#include <regex>

#include <zo/core/Text.h>
#include <zo/platform/db/DBXConnection.h>

namespace zo::schematool {
namespace {

std::string Identifier(const std::string& name) {
  if (name.size() >= 2 && name.front() == '"' && name.back() == '"') {
    return name.substr(1, name.size() - 2);
  }
  return text::UpperCase(name);
}

}  // namespace

std::set<std::string> RestartedSequences(const std::vector<TScriptStatement>& statements) {
  static const std::regex patterns[] = {
      std::regex(R"(^\s*ALTER\s+(?:SEQUENCE|GENERATOR)\s+("[^"]+"|\S+)\s+RESTART\b)",
                 std::regex::icase),
      std::regex(R"(^\s*SET\s+GENERATOR\s+("[^"]+"|\S+)\s+TO\b)", std::regex::icase),
      std::regex(
          R"(^\s*(?:RECREATE|CREATE\s+OR\s+ALTER)\s+(?:SEQUENCE|GENERATOR)\s+("[^"]+"|[^\s;]+))",
          std::regex::icase),
  };
  std::set<std::string> names;
  for (const auto& statement : statements) {
    for (const auto& pattern : patterns) {
      std::smatch match;
      if (std::regex_search(statement.text, match, pattern)) names.insert(Identifier(match[1]));
    }
  }
  return names;
}

std::set<std::string> ExistingSequences(TDBXConnection& connection,
                                        const std::set<std::string>& names) {
  auto command = connection.CreateCommand();
  command->SetText(
      "select trim(RDB$GENERATOR_NAME) from RDB$GENERATORS where coalesce(RDB$SYSTEM_FLAG, 0) = 0");
  auto reader = command->ExecuteQuery();
  std::set<std::string> existing;
  while (reader->Next()) {
    const std::string name = reader->GetString(0);
    if (names.count(name) > 0) existing.insert(name);
  }
  return existing;
}

}  // namespace zo::schematool
