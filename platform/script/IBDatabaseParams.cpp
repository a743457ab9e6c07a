#include "platform/script/IBDatabaseParams.h"

#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>

namespace zo {
namespace {

// "user \"SYSDBA\"" -> {"USER", "SYSDBA"}; "default character set X" -> {"DEFAULT CHARACTER
// SET", "X"}: the last word is the value, quotes removed, the rest the keyword. An '=' counts
// as a blank, so "page_size=8192" reads like "page_size 8192".
struct Clause {
  std::string keyword;
  std::string value;
};

std::string Unquote(const std::string& s) {
  if (s.size() >= 2 && (s.front() == '"' || s.front() == '\'') && s.back() == s.front()) {
    return s.substr(1, s.size() - 2);
  }
  return s;
}

Clause SplitClause(const std::string& line) {
  const std::string t = text::Trim(text::ReplaceAll(line, "=", " "));
  const auto quote = t.find_first_of("\"'");
  const auto blank = t.find_last_of(" \t", quote == std::string::npos ? std::string::npos : quote);
  if (blank == std::string::npos) return {text::UpperCase(t), ""};
  const std::string keyword = text::Trim(t.substr(0, blank));
  std::string words;
  for (const auto& word : text::Split(keyword, ' ')) {
    if (word.empty()) continue;
    words += (words.empty() ? "" : " ") + text::UpperCase(word);
  }
  return {words, Unquote(text::Trim(t.substr(blank + 1)))};
}

}  // namespace

TCreateDatabaseOptions CreationOptions(const std::vector<std::string>& params) {
  TCreateDatabaseOptions options;
  options.defaultCharSet = "ISO8859_1";
  for (const auto& line : params) {
    if (text::Trim(line).empty()) continue;
    const Clause c = SplitClause(line);
    if (c.keyword == "USER" || c.keyword == "USER_NAME") {
      options.userName = c.value;
    } else if (c.keyword == "PASSWORD") {
      options.password = c.value;
    } else if (c.keyword == "PAGE_SIZE") {
      options.pageSize = text::StrToInt(c.value);
    } else if (c.keyword == "DEFAULT CHARACTER SET") {
      options.defaultCharSet = c.value;
    } else if (c.keyword == "LC_CTYPE" || c.keyword == "SET NAMES") {
      // The connection's character set: the SQL layer always talks UTF-8.
    } else {
      throw Exception("Parâmetro de criação do banco de dados desconhecido: " + line);
    }
  }
  return options;
}

TConnectionParams AttachParams(const std::string& databaseName, int sqlDialect,
                               const std::vector<std::string>& params) {
  TConnectionParams result;
  for (const auto& line : params) {
    if (text::Trim(line).empty()) continue;
    if (line.find('=') != std::string::npos) {
      const auto eq = line.find('=');
      if (text::SameText(text::Trim(line.substr(0, eq)), "lc_ctype")) {
        result.SetValue("CharSet", text::Trim(line.substr(eq + 1)));
      } else {
        result.Add(line);
      }
      continue;
    }
    const Clause c = SplitClause(line);
    if (c.keyword == "USER") result.SetValue("User_Name", c.value);
    if (c.keyword == "PASSWORD") result.SetValue("Password", c.value);
  }
  result.SetValue("Database", databaseName);
  result.SetValue("SQLDialect", std::to_string(sqlDialect));
  return result;
}

}  // namespace zo
