// The strict grammar that conditions from remote clients must follow before they reach
// ParseCondition: property names of the class, a fixed set of operators, literal values.
#include <zo/server/RemoteCondition.h>

#include <fmt/format.h>

#include <zo/core/Attributes.h>
#include <zo/core/Text.h>

namespace zo {

std::string ShownToken(std::string_view token) {
  constexpr size_t kMaxShown = 60;
  std::string shown;
  for (const char c : token.substr(0, kMaxShown)) {
    const auto byte = static_cast<unsigned char>(c);
    shown += byte < 0x20 || byte == 0x7f ? fmt::format("\\x{:02X}", byte) : std::string(1, c);
  }
  if (token.size() > kMaxShown) shown += "...";
  return shown;
}

namespace {

// Longer conditions are refused: nothing a screen builds comes near, and the statement that
// carries one must stay far below the engine's limit.
constexpr size_t kMaxConditionBytes = 8192;

[[noreturn]] void Refuse(std::string_view token, const std::string& why) {
  throw ERefusedCondition(fmt::format("Condição recusada em \"{}\": {}", ShownToken(token), why));
}

bool IsControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7f;
}

// Splits at blanks. A quoted literal is one token; it must end with its closing quote and be
// followed by a blank or the end, so "'a'or'1'" is one (refused) token, never three.
std::vector<std::string> Tokens(const std::string& condition) {
  std::vector<std::string> tokens;
  size_t i = 0;
  while (i < condition.size()) {
    if (condition[i] == ' ') {
      ++i;
      continue;
    }
    const size_t start = i;
    if (condition[i] == '\'') {
      ++i;
      for (;;) {
        if (i >= condition.size()) Refuse(condition.substr(start), "texto sem aspa de fechamento");
        if (condition[i] == '\'') {
          if (i + 1 < condition.size() && condition[i + 1] == '\'') {
            i += 2;
            continue;
          }
          ++i;
          break;
        }
        ++i;
      }
    }
    while (i < condition.size() && condition[i] != ' ') ++i;
    tokens.push_back(condition.substr(start, i - start));
  }
  return tokens;
}

bool IsNumber(const std::string& token) {
  size_t i = token.starts_with('-') ? 1 : 0;
  const auto digits = [&] {
    const size_t from = i;
    while (i < token.size() && token[i] >= '0' && token[i] <= '9') ++i;
    return i > from;
  };
  if (!digits()) return false;
  if (i < token.size() && token[i] == '.') {
    ++i;
    if (!digits()) return false;
  }
  return i == token.size();
}

// 'text' with doubled quotes as the only escape; a lone quote inside ends the literal early,
// which Tokens already made part of a longer token that fails here.
bool IsText(const std::string& token) {
  if (token.size() < 2 || token.front() != '\'' || token.back() != '\'') return false;
  for (size_t i = 1; i + 1 < token.size(); ++i) {
    if (token[i] == '\'') {
      if (i + 2 >= token.size() || token[i + 1] != '\'') return false;
      ++i;
    }
  }
  return true;
}

class TConditionChecker {
 public:
  TConditionChecker(const TRttiType& type, std::vector<std::string> tokens)
      : type_(type), tokens_(std::move(tokens)) {}

  TCheckedCondition Check() {
    TCheckedCondition checked;
    while (true) {
      checked.text += Term(checked.properties);
      if (AtEnd()) return checked;
      const std::string connective = text::UpperCase(Next("AND ou OR"));
      if (connective != "AND" && connective != "OR") Refuse(Last(), "esperado AND ou OR");
      checked.text += " " + connective + " ";
    }
  }

 private:
  bool AtEnd() const { return i_ >= tokens_.size(); }
  const std::string& Last() const { return tokens_[i_ - 1]; }

  const std::string& Next(const char* expected) {
    if (AtEnd()) {
      Refuse(tokens_.empty() ? std::string() : tokens_.back(),
             fmt::format("a condição termina onde se esperava {}", expected));
    }
    return tokens_[i_++];
  }

  bool NextIs(const char* keyword) const {
    return !AtEnd() && text::SameText(tokens_[i_], keyword);
  }

  std::string Term(std::vector<std::string>& properties) {
    bool negated = false;
    if (NextIs("NOT")) {
      negated = true;
      ++i_;
    }
    const std::string property = Property(Next("uma propriedade"));
    if (std::find(properties.begin(), properties.end(), property) == properties.end()) {
      properties.push_back(property);
    }
    // "x NOT LIKE v" and "x IS NOT NULL" are written "NOT x LIKE v", "NOT x IS NULL": the
    // only negation ParseCondition knows is the one in front of a term.
    if (NextIs("NOT")) {
      negated = !negated;
      ++i_;
      if (!NextIs("LIKE") && !NextIs("CONTAINING") && !NextIs("STARTING") && !NextIs("BETWEEN")) {
        Refuse(AtEnd() ? Last() : tokens_[i_],
               "NOT só antecede LIKE, CONTAINING, STARTING ou BETWEEN");
      }
    }
    std::string predicate = Predicate(negated);
    return (negated ? "NOT " : "") + property + " " + predicate;
  }

  std::string Property(const std::string& token) {
    const TRttiProperty* prop = type_.FindProperty(token);
    // FindProperty ignores case only: a dotted or decorated name never matches.
    if (prop == nullptr) {
      Refuse(token, fmt::format("não é uma propriedade da classe {}", type_.Name()));
    }
    if (IsAgregation(prop)) Refuse(token, "uma lista não pode ser comparada");
    return prop->Name();
  }

  std::string Predicate(bool& negated) {
    const std::string op = text::UpperCase(Next("um operador"));
    if (op == "=" || op == "<>" || op == "!=" || op == "<" || op == "<=" || op == ">" ||
        op == ">=" || op == "LIKE" || op == "CONTAINING") {
      return op + " " + Literal();
    }
    if (op == "STARTING") {
      if (NextIs("WITH")) ++i_;  // optional in the engine's grammar; dropped for ParseCondition
      return op + " " + Literal();
    }
    if (op == "BETWEEN") {
      const std::string low = Literal();
      if (!text::SameText(Next("AND"), "AND")) Refuse(Last(), "esperado AND entre os limites");
      return op + " " + low + " AND " + Literal();
    }
    if (op == "IS") {
      if (NextIs("NOT")) {
        negated = !negated;
        ++i_;
      }
      if (!text::SameText(Next("NULL"), "NULL")) Refuse(Last(), "depois de IS só vem NULL");
      return "IS NULL";
    }
    Refuse(Last(),
           "operador não aceito (use =, <>, !=, <, <=, >, >=, LIKE, STARTING, "
           "CONTAINING, BETWEEN ou IS NULL)");
  }

  std::string Literal() {
    const std::string& token = Next("um valor");
    if (IsNumber(token)) return token;
    if (text::SameText(token, "NULL")) return "NULL";
    if (IsText(token)) {
      for (const char c : token) {
        if (IsControl(c)) Refuse(token, "caractere de controle dentro do texto");
      }
      return token;
    }
    if (token.starts_with('\'') && token.find(' ') == std::string::npos && token.size() > 1 &&
        token.back() == '\'') {
      Refuse(token, "aspa dentro do texto deve ser dobrada ('')");
    }
    Refuse(token, "esperado um valor literal: número, 'texto' ou NULL");
  }

  const TRttiType& type_;
  std::vector<std::string> tokens_;
  size_t i_ = 0;
};

}  // namespace

TCheckedCondition CheckRemoteCondition(const TRttiType& type, const std::string& condition) {
  if (condition.size() > kMaxConditionBytes) {
    Refuse(condition, fmt::format("condição maior que {} bytes", kMaxConditionBytes));
  }
  // Control characters (tab, NUL, line breaks) never separate tokens and never sit in a value.
  for (size_t i = 0; i < condition.size(); ++i) {
    if (IsControl(condition[i])) {
      const size_t from = condition.rfind(' ', i);
      const size_t start = from == std::string::npos ? 0 : from + 1;
      const size_t end = condition.find(' ', i);
      Refuse(condition.substr(start, end == std::string::npos ? end : end - start),
             "caractere de controle não é aceito");
    }
  }
  auto tokens = Tokens(condition);
  if (tokens.empty()) return {};
  for (const auto& token : tokens) {
    if (token.starts_with('\'') && token.find(' ') != std::string::npos) {
      Refuse(token, "um texto não pode conter espaço (use LIKE com _ no lugar)");
    }
  }
  return TConditionChecker(type, std::move(tokens)).Check();
}

std::vector<std::string> CheckRemoteProperties(const TRttiType& type, const std::string& list) {
  std::vector<std::string> names;
  std::string item;
  const auto flush = [&] {
    if (item.empty()) return;
    const TRttiProperty* prop = type.FindProperty(item);
    if (prop == nullptr) {
      throw ERefusedCondition(
          fmt::format("Propriedade recusada \"{}\": não é uma propriedade "
                      "da classe {}",
                      ShownToken(item), type.Name()));
    }
    if (IsAgregation(prop)) {
      throw ERefusedCondition(
          fmt::format("Propriedade recusada \"{}\": uma lista não tem coluna", ShownToken(item)));
    }
    names.push_back(prop->Name());
    item.clear();
  };
  for (const char c : list) {
    if (c == ',' || c == ' ') {
      flush();
    } else {
      item += c;
    }
  }
  flush();
  if (names.empty()) throw ERefusedCondition("Lista de propriedades vazia");
  return names;
}

}  // namespace zo
