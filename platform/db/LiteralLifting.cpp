#include "platform/db/LiteralLifting.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <string_view>

namespace zo::db {
namespace {

enum class TokenType { Word, QuotedName, Number, InexactNumber, String, Symbol };

struct Token {
  TokenType type;
  std::size_t begin;
  std::size_t end;
  std::string upper;  // words and symbols, upper-cased
};

bool IsWordStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_'; }
bool IsWordChar(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '$';
}
bool IsDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

// Position after the quoted text starting at `at` (doubled quotes inside), or npos.
std::size_t EndOfQuoted(const std::string& sql, std::size_t at, char quote) {
  for (std::size_t i = at + 1; i < sql.size(); ++i) {
    if (sql[i] != quote) continue;
    if (i + 1 < sql.size() && sql[i + 1] == quote) {
      ++i;
      continue;
    }
    return i + 1;
  }
  return std::string::npos;
}

// Splits the text into tokens, skipping blanks and comments. Nothing when unsure.
std::optional<std::vector<Token>> Scan(const std::string& sql) {
  std::vector<Token> tokens;
  std::size_t i = 0;
  while (i < sql.size()) {
    const char c = sql[i];
    const char next = i + 1 < sql.size() ? sql[i + 1] : '\0';
    if (std::isspace(static_cast<unsigned char>(c))) {
      ++i;
    } else if (c == '-' && next == '-') {
      i = sql.find('\n', i);
    } else if (c == '/' && next == '*') {
      const std::size_t close = sql.find("*/", i + 2);
      if (close == std::string::npos) return std::nullopt;
      i = close + 2;
    } else if (c == '\'' || c == '"') {
      const std::size_t end = EndOfQuoted(sql, i, c);
      if (end == std::string::npos) return std::nullopt;
      tokens.push_back({c == '\'' ? TokenType::String : TokenType::QuotedName, i, end, {}});
      i = end;
    } else if (IsDigit(c) || (c == '.' && IsDigit(next))) {
      std::size_t end = i;
      while (end < sql.size() && (IsDigit(sql[end]) || sql[end] == '.')) ++end;
      TokenType type = TokenType::Number;
      if (end < sql.size() && (IsWordChar(sql[end]))) {
        type = TokenType::InexactNumber;  // 1E5, 0x1F, ...: left as written
        while (end < sql.size() &&
               (IsWordChar(sql[end]) || sql[end] == '.' ||
                ((sql[end] == '-' || sql[end] == '+') &&
                 std::toupper(static_cast<unsigned char>(sql[end - 1])) == 'E')))
          ++end;
      }
      if (std::count(sql.begin() + static_cast<std::ptrdiff_t>(i),
                     sql.begin() + static_cast<std::ptrdiff_t>(end), '.') > 1)
        type = TokenType::InexactNumber;
      tokens.push_back({type, i, end, {}});
      i = end;
    } else if (IsWordStart(c)) {
      std::size_t end = i;
      std::string upper;
      while (end < sql.size() && IsWordChar(sql[end]))
        upper += static_cast<char>(std::toupper(static_cast<unsigned char>(sql[end++])));
      if (upper == "Q" && end < sql.size() && sql[end] == '\'') return std::nullopt;
      tokens.push_back({TokenType::Word, i, end, std::move(upper)});
      i = end;
    } else if (c == '?' || c == ':') {
      return std::nullopt;  // parameters already there (or a PSQL variable)
    } else {
      static const std::set<std::string_view> kPairs = {"<=", ">=", "<>", "!=", "^=", "~=", "||"};
      const std::size_t length = kPairs.count(std::string_view(sql).substr(i, 2)) ? 2 : 1;
      tokens.push_back({TokenType::Symbol, i, i + length, sql.substr(i, length)});
      i += length;
    }
  }
  return tokens;
}

bool IsComparison(const Token& t) {
  static const std::set<std::string> kOps = {"=", "<>", "!=", "^=", "~=", "<", ">", "<=", ">="};
  return t.type == TokenType::Symbol && kOps.count(t.upper) > 0;
}

// What may follow a lifted literal: the end of its operand, nothing that would combine it.
bool EndsOperand(const std::vector<Token>& tokens, std::size_t next) {
  if (next == tokens.size()) return true;
  const Token& t = tokens[next];
  if (t.type == TokenType::Symbol) return t.upper == ")" || t.upper == "," || t.upper == ";";
  static const std::set<std::string> kClauses = {"AND",    "OR",    "ORDER",     "GROUP",
                                                 "HAVING", "ROWS",  "RETURNING", "WHERE",
                                                 "PLAN",   "UNION", "FOR",       "MATCHING"};
  return t.type == TokenType::Word && kClauses.count(t.upper) > 0;
}

std::string Unquote(std::string_view quoted) {
  std::string value;
  for (std::size_t i = 1; i + 1 < quoted.size(); ++i) {
    value += quoted[i];
    if (quoted[i] == '\'') ++i;  // the second of a doubled quote
  }
  return value;
}

// Paren and select-list context while walking the tokens.
struct Scope {
  bool list = false;        // opened right after VALUES or IN
  bool selectList = false;  // between SELECT and its FROM, nested parentheses included
};

}  // namespace

StatementKind ClassifyStatement(const std::string& sql) {
  const auto tokens = Scan(sql);
  if (!tokens || tokens->empty() || (*tokens)[0].type != TokenType::Word) {
    return StatementKind::MetadataChanging;  // unreadable: assume the worst
  }
  static const std::set<std::string> kData = {"SELECT", "WITH",   "INSERT",
                                              "UPDATE", "DELETE", "MERGE"};
  const std::string& first = (*tokens)[0].upper;
  if (kData.count(first)) return StatementKind::Data;
  if (first == "EXECUTE" && tokens->size() > 1) {
    const std::string& second = (*tokens)[1].upper;
    if (second == "PROCEDURE") return StatementKind::Procedural;
    if (second == "BLOCK") {
      // Dynamic SQL inside a block may change metadata.
      for (std::size_t i = 2; i + 1 < tokens->size(); ++i) {
        if ((*tokens)[i].upper == "EXECUTE" && (*tokens)[i + 1].upper == "STATEMENT")
          return StatementKind::MetadataChanging;
      }
      return StatementKind::Procedural;
    }
  }
  return StatementKind::MetadataChanging;
}

std::optional<LiftedStatement> LiftLiterals(const std::string& sql) {
  const auto scanned = Scan(sql);
  if (!scanned) return std::nullopt;
  const std::vector<Token>& tokens = *scanned;
  LiftedStatement lifted;
  std::vector<Scope> scopes(1);
  std::size_t copied = 0;  // sql[0, copied) is already in lifted.text
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    const Token& t = tokens[i];
    if (t.type == TokenType::Symbol && t.upper == "(") {
      const bool afterListWord =
          i > 0 && (tokens[i - 1].upper == "VALUES" || tokens[i - 1].upper == "IN");
      scopes.push_back({afterListWord, scopes.back().selectList});  // IIF(A = 1, ...) too
      continue;
    }
    if (t.type == TokenType::Symbol && t.upper == ")") {
      if (scopes.size() > 1) scopes.pop_back();
      continue;
    }
    if (t.type == TokenType::Word) {
      if (t.upper == "SELECT") scopes.back().selectList = true;
      if (t.upper == "FROM") scopes.back().selectList = false;
      continue;
    }
    if (t.type != TokenType::Number && t.type != TokenType::String) continue;
    if (scopes.back().selectList) continue;
    // A sign right after the operator belongs to the number.
    std::size_t start = i;
    if (t.type == TokenType::Number && i >= 2 && tokens[i - 1].type == TokenType::Symbol &&
        (tokens[i - 1].upper == "-" || tokens[i - 1].upper == "+") &&
        tokens[i - 1].end == t.begin) {
      start = i - 1;
    }
    if (start == 0) continue;
    const Token& before = tokens[start - 1];
    const bool listItem = before.type == TokenType::Symbol &&
                          (before.upper == "(" || before.upper == ",") && scopes.back().list;
    if (!(IsComparison(before) || listItem) || !EndsOperand(tokens, i + 1)) continue;
    const std::string_view written =
        std::string_view(sql).substr(tokens[start].begin, t.end - tokens[start].begin);
    lifted.text.append(sql, copied, tokens[start].begin - copied);
    lifted.text += '?';
    copied = t.end;
    if (t.type == TokenType::Number) {
      std::string value(written);
      value.erase(
          std::remove_if(value.begin(), value.end(),
                         [](char ch) { return std::isspace(static_cast<unsigned char>(ch)); }),
          value.end());
      lifted.literals.push_back({Literal::Type::Number, std::move(value)});
    } else {
      lifted.literals.push_back({Literal::Type::String, Unquote(written)});
    }
  }
  lifted.text.append(sql, copied);
  return lifted;
}

}  // namespace zo::db
