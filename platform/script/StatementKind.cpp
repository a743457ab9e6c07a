#include <zo/platform/script/StatementKind.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include <zo/core/Text.h>

namespace zo {
namespace {

std::vector<std::string> Words(const std::string& statement, size_t count) {
  std::vector<std::string> words;
  size_t i = 0;
  while (words.size() < count) {
    i = statement.find_first_not_of(" \t\r\n", i);
    if (i == std::string::npos) break;
    const size_t end = statement.find_first_of(" \t\r\n(", i);
    words.push_back(text::UpperCase(statement.substr(i, end == i ? 1 : end - i)));
    if (end == std::string::npos) break;
    i = end == i ? end + 1 : end;
  }
  return words;
}

bool OneOf(const std::string& word, std::initializer_list<std::string_view> choices) {
  return std::find(choices.begin(), choices.end(), word) != choices.end();
}

TParsedStatement Of(TIBParseKind kind) {
  TParsedStatement parsed;
  parsed.kind = kind;
  return parsed;
}

TParsedStatement Setting(TScriptSetting setting, std::string argument) {
  return {TIBParseKind::stmtSET, setting, std::move(argument)};
}

[[noreturn]] void Refuse(const std::string& message, const TScriptStatement& statement) {
  throw EScriptParseError(message, statement.text, statement.lineIndex);
}

// ON, OFF or nothing (meaning ON).
std::string Switch(const std::vector<std::string>& words, size_t at,
                   const TScriptStatement& statement) {
  if (words.size() <= at) return "ON";
  if (!OneOf(words[at], {"ON", "OFF"})) {
    Refuse("Valor inválido para " + words[1] + ": " + words[at], statement);
  }
  return words[at];
}

TParsedStatement ParseSet(const std::vector<std::string>& w, const TScriptStatement& statement) {
  using enum TScriptSetting;
  const std::string option = w.size() > 1 ? w[1] : "";
  // Firebird's own SET statements run on the server.
  if (OneOf(option, {"GENERATOR", "STATISTICS"})) return Of(TIBParseKind::stmtDDL);
  if (OneOf(option, {"DECFLOAT", "BIND", "SESSION", "STATEMENT", "TIME", "ROLE", "TRUSTED"})) {
    return Of(TIBParseKind::stmtDML);
  }
  if (OneOf(option, {"AUTODDL", "AUTO"})) {
    return Setting(AutoDDL, Switch(w, 2, statement));
  }
  if (option == "STATS") return Setting(Stats, Switch(w, 2, statement));
  if (option == "SQL" && w.size() == 4 && w[2] == "DIALECT" && OneOf(w[3], {"1", "2", "3"})) {
    return Setting(SqlDialect, w[3]);
  }
  if (option == "NAMES" && w.size() == 3) return Setting(Names, w[2]);
  if (OneOf(option, {"BAIL", "BLOB", "BLOBDISPLAY", "COUNT", "ECHO", "EXPLAIN", "HEADING",
                     "KEEP_TRAN_PARAMS", "LIST", "MAXROWS", "PLAN", "PLANONLY", "ROWCOUNT",
                     "SQLDA_DISPLAY", "WARNINGS", "WNG", "WIDTH"})) {
    return Setting(Display, w.size() > 2 ? w[2] : "");
  }
  if (option == "TRANSACTION") {
    Refuse("SET TRANSACTION não é aceito: o script controla a própria transação", statement);
  }
  Refuse("Comando SET desconhecido ou incompleto", statement);
}

}  // namespace

TParsedStatement ParseStatement(const TScriptStatement& statement) {
  const std::vector<std::string> w = Words(statement.text, 4);
  const std::string first = w.empty() ? "" : w[0];
  const std::string second = w.size() > 1 ? w[1] : "";

  if (first == "SET") return ParseSet(w, statement);
  if ((first == "CREATE" && OneOf(second, {"DATABASE", "SCHEMA"})) ||
      (first == "DROP" && second == "DATABASE") ||
      OneOf(first, {"CONNECT", "DISCONNECT", "INPUT", "OUTPUT", "SHOW", "EXIT", "QUIT", "SHELL",
                    "EDIT", "HELP", "BLOBDUMP", "BLOBVIEW", "COPY"})) {
    Refuse("Comando do isql não aceito em script: " + first + (second.empty() ? "" : " " + second),
           statement);
  }
  // COMMIT/ROLLBACK [WORK] [RETAIN] end the script's transaction; ROLLBACK TO SAVEPOINT is
  // ordinary work inside it.
  if (first == "COMMIT") return Of(TIBParseKind::stmtCOMMIT);
  if (first == "ROLLBACK" && (second.empty() || OneOf(second, {"WORK", "RETAIN"}))) {
    return Of(TIBParseKind::stmtROLLBACK);
  }
  if (OneOf(first,
            {"CREATE", "ALTER", "DROP", "RECREATE", "DECLARE", "COMMENT", "GRANT", "REVOKE"})) {
    return Of(TIBParseKind::stmtDDL);
  }
  return Of(TIBParseKind::stmtDML);
}

}  // namespace zo
