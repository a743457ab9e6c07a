#include "platform/db/LiteralLifting.h"

#include <cstdint>
#include <string_view>
#include <utility>

namespace zo::db {
namespace {

// Every statement the layer runs passes through here before the cache is asked, so the text is
// read once, token by token, without building a token list or upper-cased copies.

enum class TokenType { Word, QuotedName, Number, InexactNumber, String, Symbol, End };

// The words the reading depends on; any other word is Other. Clause: a word that ends an
// operand (AND, WHERE, ...).
enum class Keyword : std::uint8_t {
  Other,
  Select,
  From,
  Values,
  In,
  With,
  Insert,
  Update,
  Delete,
  Merge,
  Execute,
  Procedure,
  Block,
  Statement,
  Q,
  Clause
};

struct Token {
  TokenType type = TokenType::End;
  std::size_t begin = 0;
  std::size_t end = 0;
  Keyword word = Keyword::Other;  // Word
  char symbol[2] = {0, 0};        // Symbol: one or two characters
};

bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsAlpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsWordStart(char c) { return IsAlpha(c) || c == '_'; }
bool IsWordChar(char c) { return IsAlpha(c) || IsDigit(c) || c == '_' || c == '$'; }
char Upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

bool SameWord(std::string_view text, std::string_view upper) {
  if (text.size() != upper.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (Upper(text[i]) != upper[i]) return false;
  }
  return true;
}

Keyword KeywordOf(std::string_view w) {
  struct Entry {
    std::string_view upper;
    Keyword keyword;
  };
  static constexpr Entry kWords[] = {
      {"SELECT", Keyword::Select},       {"FROM", Keyword::From},
      {"VALUES", Keyword::Values},       {"IN", Keyword::In},
      {"WITH", Keyword::With},           {"INSERT", Keyword::Insert},
      {"UPDATE", Keyword::Update},       {"DELETE", Keyword::Delete},
      {"MERGE", Keyword::Merge},         {"EXECUTE", Keyword::Execute},
      {"PROCEDURE", Keyword::Procedure}, {"BLOCK", Keyword::Block},
      {"STATEMENT", Keyword::Statement}, {"Q", Keyword::Q},
      {"AND", Keyword::Clause},          {"OR", Keyword::Clause},
      {"ORDER", Keyword::Clause},        {"GROUP", Keyword::Clause},
      {"HAVING", Keyword::Clause},       {"ROWS", Keyword::Clause},
      {"RETURNING", Keyword::Clause},    {"WHERE", Keyword::Clause},
      {"PLAN", Keyword::Clause},         {"UNION", Keyword::Clause},
      {"FOR", Keyword::Clause},          {"MATCHING", Keyword::Clause},
  };
  if (w.size() > 9) return Keyword::Other;
  for (const Entry& e : kWords) {
    if (SameWord(w, e.upper)) return e.keyword;
  }
  return Keyword::Other;
}

// Position after the quoted text starting at `at` (doubled quotes inside), or npos.
std::size_t EndOfQuoted(std::string_view sql, std::size_t at, char quote) {
  for (std::size_t i = at + 1; i < sql.size(); ++i) {
    if (sql[i] != quote) continue;
    if (i + 1 < sql.size() && sql[i + 1] == quote) {
      ++i;
      continue;
    }
    return i + 1;
  }
  return std::string_view::npos;
}

// Hands out the text's tokens one at a time, skipping blanks and comments. A text it cannot
// read with certainty makes Next() return false.
class Scanner {
 public:
  explicit Scanner(std::string_view sql) : sql_(sql) {}

  bool Next(Token& t) {
    while (i_ < sql_.size()) {
      const char c = sql_[i_];
      const char next = i_ + 1 < sql_.size() ? sql_[i_ + 1] : '\0';
      if (IsSpace(c)) {
        ++i_;
      } else if (c == '-' && next == '-') {
        i_ = sql_.find('\n', i_);
      } else if (c == '/' && next == '*') {
        const std::size_t close = sql_.find("*/", i_ + 2);
        if (close == std::string_view::npos) return false;
        i_ = close + 2;
      } else if (c == '\'' || c == '"') {
        const std::size_t end = EndOfQuoted(sql_, i_, c);
        if (end == std::string_view::npos) return false;
        return Take(t, c == '\'' ? TokenType::String : TokenType::QuotedName, end);
      } else if (IsDigit(c) || (c == '.' && IsDigit(next))) {
        return Number(t);
      } else if (IsWordStart(c)) {
        std::size_t end = i_;
        while (end < sql_.size() && IsWordChar(sql_[end])) ++end;
        t.word = KeywordOf(sql_.substr(i_, end - i_));
        if (t.word == Keyword::Q && end < sql_.size() && sql_[end] == '\'') return false;
        return Take(t, TokenType::Word, end);
      } else if (c == '?' || c == ':') {
        return false;  // parameters already there (or a PSQL variable)
      } else {
        return Symbol(t, c, next);
      }
    }
    t.type = TokenType::End;
    t.begin = t.end = sql_.size();
    return true;
  }

 private:
  bool Take(Token& t, TokenType type, std::size_t end) {
    t.type = type;
    t.begin = i_;
    t.end = end;
    i_ = end;
    return true;
  }

  bool Number(Token& t) {
    std::size_t end = i_;
    int points = 0;
    for (; end < sql_.size() && (IsDigit(sql_[end]) || sql_[end] == '.'); ++end) {
      points += sql_[end] == '.';
    }
    TokenType type = points > 1 ? TokenType::InexactNumber : TokenType::Number;
    if (end < sql_.size() && IsWordChar(sql_[end])) {
      type = TokenType::InexactNumber;  // 1E5, 0x1F, ...: left as written
      while (end < sql_.size() &&
             (IsWordChar(sql_[end]) || sql_[end] == '.' ||
              ((sql_[end] == '-' || sql_[end] == '+') && Upper(sql_[end - 1]) == 'E')))
        ++end;
    }
    return Take(t, type, end);
  }

  bool Symbol(Token& t, char c, char next) {
    static constexpr std::string_view kPairs[] = {"<=", ">=", "<>", "!=", "^=", "~=", "||"};
    bool pair = false;
    for (const std::string_view p : kPairs) pair = pair || (p[0] == c && p[1] == next);
    t.symbol[0] = c;
    t.symbol[1] = pair ? next : '\0';
    return Take(t, TokenType::Symbol, i_ + (pair ? 2 : 1));
  }

  std::string_view sql_;
  std::size_t i_ = 0;
};

bool IsSymbol(const Token& t, char c) {
  return t.type == TokenType::Symbol && t.symbol[0] == c && t.symbol[1] == '\0';
}

bool IsComparison(const Token& t) {
  if (t.type != TokenType::Symbol) return false;
  const char a = t.symbol[0];
  const char b = t.symbol[1];
  if (b == '\0') return a == '=' || a == '<' || a == '>';
  return b == '=' ? a != '|' : (a == '<' && b == '>');  // <= >= != ^= ~=, <>
}

bool IsWord(const Token& t, Keyword k) { return t.type == TokenType::Word && t.word == k; }

// What may follow a lifted literal: the end of its operand, nothing that would combine it.
bool EndsOperand(const Token& t) {
  if (t.type == TokenType::End) return true;
  if (t.type == TokenType::Symbol) return IsSymbol(t, ')') || IsSymbol(t, ',') || IsSymbol(t, ';');
  return IsWord(t, Keyword::Clause);
}

std::string Unquote(std::string_view quoted) {
  std::string value;
  value.reserve(quoted.size());
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

StatementKind KindOf(const Token& first, const Token& second) {
  if (first.type != TokenType::Word) return StatementKind::MetadataChanging;
  switch (first.word) {
    case Keyword::Select:
    case Keyword::With:
    case Keyword::Insert:
    case Keyword::Update:
    case Keyword::Delete:
    case Keyword::Merge:
      return StatementKind::Data;
    case Keyword::Execute:
      if (IsWord(second, Keyword::Procedure) || IsWord(second, Keyword::Block))
        return StatementKind::Procedural;  // a block may still turn out to run dynamic SQL
      return StatementKind::MetadataChanging;
    default:
      return StatementKind::MetadataChanging;
  }
}

// A literal lifted once the token after it shows that it ends its operand.
struct Candidate {
  Literal::Type type;
  std::size_t begin;  // of the sign, for a signed number
  std::size_t end;
};

void Lift(const std::string& sql, const Candidate& c, std::size_t& copied,
          LiftedStatement& lifted) {
  const std::string_view written(sql.data() + c.begin, c.end - c.begin);
  lifted.text.append(sql, copied, c.begin - copied);
  lifted.text += '?';
  copied = c.end;
  lifted.literals.push_back(
      {c.type, c.type == Literal::Type::String ? Unquote(written) : std::string(written)});
}

// `lift`: build the lifted form of a data statement; `anyKind`: of any statement (reading on
// past what settles the kind).
StatementAnalysis Read(const std::string& sql, bool lift, bool anyKind) {
  StatementAnalysis reading{StatementKind::MetadataChanging, std::nullopt};
  Scanner scanner(sql);
  LiftedStatement lifted;
  if (lift) lifted.text.reserve(sql.size() + 8);
  std::vector<Scope> scopes;
  scopes.reserve(8);
  scopes.emplace_back();
  Token first;
  Token p2;  // the token before p1
  Token p1;  // the token before t
  Token t;
  bool block = false;  // EXECUTE BLOCK
  std::optional<Candidate> candidate;
  std::size_t copied = 0;  // sql[0, copied) is already in lifted.text
  for (std::size_t index = 0;; ++index, p2 = p1, p1 = t) {
    if (!scanner.Next(t)) {
      return {StatementKind::MetadataChanging, std::nullopt};  // unreadable: assume the worst
    }
    if (index == 0) {
      first = t;
    } else if (index == 1) {
      reading.kind = KindOf(first, t);
      if (reading.kind == StatementKind::MetadataChanging && !anyKind) return reading;
      block = reading.kind == StatementKind::Procedural && IsWord(t, Keyword::Block);
      lift = lift && (anyKind || reading.kind == StatementKind::Data);
    } else if (block && IsWord(p1, Keyword::Execute) && IsWord(t, Keyword::Statement)) {
      reading.kind = StatementKind::MetadataChanging;  // dynamic SQL may change metadata
      if (!anyKind) return reading;
    }
    if (candidate) {
      if (EndsOperand(t)) Lift(sql, *candidate, copied, lifted);
      candidate.reset();
    }
    if (t.type == TokenType::End) break;
    if (IsSymbol(t, '(')) {
      const bool afterListWord = IsWord(p1, Keyword::Values) || IsWord(p1, Keyword::In);
      const bool selectList = scopes.back().selectList;
      scopes.push_back({afterListWord, selectList});  // IIF(A = 1, ...) too
      continue;
    }
    if (IsSymbol(t, ')')) {
      if (scopes.size() > 1) scopes.pop_back();
      continue;
    }
    if (t.type == TokenType::Word) {
      if (t.word == Keyword::Select) scopes.back().selectList = true;
      if (t.word == Keyword::From) scopes.back().selectList = false;
      continue;
    }
    if (!lift || index == 0 || scopes.back().selectList) continue;
    if (t.type != TokenType::Number && t.type != TokenType::String) continue;
    // A sign right after the operator belongs to the number.
    const bool hasSign = t.type == TokenType::Number && index >= 2 &&
                         (IsSymbol(p1, '-') || IsSymbol(p1, '+')) && p1.end == t.begin;
    const Token& before = hasSign ? p2 : p1;
    const bool listItem = (IsSymbol(before, '(') || IsSymbol(before, ',')) && scopes.back().list;
    if (!(IsComparison(before) || listItem)) continue;
    candidate =
        Candidate{t.type == TokenType::String ? Literal::Type::String : Literal::Type::Number,
                  hasSign ? p1.begin : t.begin, t.end};
  }
  if (!lift || (!anyKind && reading.kind != StatementKind::Data)) return reading;
  lifted.text.append(sql, copied);
  reading.lifted = std::move(lifted);
  return reading;
}

}  // namespace

StatementAnalysis AnalyzeStatement(const std::string& sql, bool lift) {
  return Read(sql, lift, false);
}

StatementKind ClassifyStatement(const std::string& sql) { return Read(sql, false, false).kind; }

std::optional<LiftedStatement> LiftLiterals(const std::string& sql) {
  return Read(sql, true, true).lifted;
}

}  // namespace zo::db
