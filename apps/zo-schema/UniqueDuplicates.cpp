#include "apps/zo-schema/UniqueDuplicates.h"

#include <regex>

#include <zo/core/Text.h>
#include <zo/platform/db/DBXConnection.h>

namespace zo::schematool {
namespace {

// Names as the database stores them: quoted ones as written, others upper-cased.
std::string Identifier(const std::string& name) {
  if (name.size() >= 2 && name.front() == '"' && name.back() == '"') {
    return name.substr(1, name.size() - 2);
  }
  return text::UpperCase(name);
}

std::string Quoted(const std::string& identifier) {
  return "\"" + text::ReplaceAll(identifier, "\"", "\"\"") + "\"";
}

std::string Literal(const std::string& value) {
  return "'" + text::ReplaceAll(value, "'", "''") + "'";
}

bool ColumnExists(TDBXConnection& connection, const std::string& table, const std::string& column) {
  auto command = connection.CreateCommand();
  command->SetText("select 1 from RDB$RELATION_FIELDS where RDB$RELATION_NAME = " + Literal(table) +
                   " and RDB$FIELD_NAME = " + Literal(column));
  return command->ExecuteQuery()->Next();
}

std::optional<std::string> RepeatedValue(TDBXConnection& connection, const std::string& table,
                                         const std::string& column) {
  if (!ColumnExists(connection, table, column)) return std::nullopt;  // added by the script
  auto command = connection.CreateCommand();
  const std::string quoted = Quoted(column);
  command->SetText("select first 1 " + quoted + " from " + Quoted(table) + " where " + quoted +
                   " is not null group by " + quoted + " having count(*) > 1");
  auto reader = command->ExecuteQuery();
  if (!reader->Next()) return std::nullopt;
  return reader->GetString(0);
}

}  // namespace

std::optional<TRepeatedValue> FindRepeatedUniqueValue(
    TDBXConnection& connection, const std::vector<TScriptStatement>& statements) {
  static const std::regex pattern(
      R"(^\s*ALTER\s+TABLE\s+("[^"]+"|\S+)\s+ADD\s+CONSTRAINT\s+("[^"]+"|\S+)\s+UNIQUE\s*\(\s*("[^"]+"|[^\s,)]+)\s*\))",
      std::regex::icase);
  for (const auto& statement : statements) {
    std::smatch match;
    if (!std::regex_search(statement.text, match, pattern)) continue;
    const std::string table = Identifier(match[1]);
    const std::string column = Identifier(match[3]);
    if (auto value = RepeatedValue(connection, table, column)) {
      return TRepeatedValue{table, column, Identifier(match[2]), std::move(*value)};
    }
  }
  return std::nullopt;
}

}  // namespace zo::schematool
