#include <zo/platform/script/ScriptParser.h>

#include <optional>

#include <zo/core/Text.h>

namespace zo {
namespace {

// Recognises "SET TERM <new> <old>" (the old terminator closes the command) and returns the
// new terminator: nullopt when the statement is something else, "" when the terminator is
// missing.
std::optional<std::string> SetTermArgument(const std::string& statement) {
  const std::string t = text::Trim(statement);
  const std::string upper = text::UpperCase(t);
  if (upper.rfind("SET TERM", 0) != 0 ||
      (upper.size() > 8 && static_cast<unsigned char>(upper[8]) > ' ')) {
    return std::nullopt;
  }
  const std::string rest = text::Trim(t.substr(8));
  const auto blank = rest.find_first_of(" \t\r\n");
  return blank == std::string::npos ? rest : rest.substr(0, blank);
}

class Splitter {
 public:
  explicit Splitter(const std::vector<std::string>& lines) : lines_(lines) {}

  std::vector<TScriptStatement> Run() {
    for (line_ = 0; line_ < static_cast<int>(lines_.size()); ++line_) {
      const std::string& s = lines_[line_];
      for (size_t i = 0; i < s.size(); ++i) i = Step(s, i);
      if (state_ == State::LineComment) state_ = State::Code;
      if (!current_.empty()) current_ += "\n";
    }
    if (state_ == State::SingleQuote || state_ == State::DoubleQuote) {
      throw EScriptParseError("Texto entre aspas sem fim no script", text::Trim(current_), start_);
    }
    if (state_ == State::BlockComment) {
      throw EScriptParseError("Comentário sem fim no script", text::Trim(current_),
                              current_.empty() ? commentStart_ : start_);
    }
    Emit();
    return std::move(statements_);
  }

 private:
  enum class State { Code, SingleQuote, DoubleQuote, BlockComment, LineComment };

  // Consumes the character at s[i] (or more); returns the index of the last one consumed.
  size_t Step(const std::string& s, size_t i) {
    const char c = s[i];
    const char next = i + 1 < s.size() ? s[i + 1] : '\0';
    switch (state_) {
      case State::SingleQuote:
      case State::DoubleQuote:
        Append(c);
        if (c == (state_ == State::SingleQuote ? '\'' : '"')) state_ = State::Code;
        return i;
      case State::BlockComment:
        if (c == '*' && next == '/') {
          state_ = State::Code;
          if (!current_.empty()) current_ += " ";
          return i + 1;
        }
        return i;
      case State::LineComment:
        return i;
      case State::Code:
        break;
    }
    if (c == '/' && next == '*') {
      state_ = State::BlockComment;
      commentStart_ = line_;
      return i + 1;
    }
    if (c == '-' && next == '-') {
      state_ = State::LineComment;
      return i + 1;
    }
    if (s.compare(i, terminator_.size(), terminator_) == 0) {
      Emit();
      return i + terminator_.size() - 1;
    }
    if (c == '\'') state_ = State::SingleQuote;
    if (c == '"') state_ = State::DoubleQuote;
    Append(c);
    return i;
  }

  void Append(char c) {
    if (current_.empty()) {
      if (static_cast<unsigned char>(c) <= ' ') return;
      start_ = line_;
    }
    current_ += c;
  }

  void Emit() {
    std::string statement = text::Trim(current_);
    current_.clear();
    if (statement.empty()) return;
    const std::optional<std::string> newTerminator = SetTermArgument(statement);
    if (newTerminator) {
      if (newTerminator->empty())
        throw EScriptParseError("SET TERM sem terminador", statement, start_);
      terminator_ = *newTerminator;
      return;
    }
    statements_.push_back({std::move(statement), start_});
  }

  const std::vector<std::string>& lines_;
  std::vector<TScriptStatement> statements_;
  std::string terminator_ = ";";
  std::string current_;
  State state_ = State::Code;
  int line_ = 0;
  int start_ = 0;
  int commentStart_ = 0;
};

}  // namespace

std::vector<TScriptStatement> SplitScript(const std::vector<std::string>& lines) {
  return Splitter(lines).Run();
}

std::vector<TScriptStatement> SplitScript(const std::string& script) {
  std::vector<std::string> lines = text::Split(script, '\n');
  for (auto& line : lines) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
  }
  return SplitScript(lines);
}

}  // namespace zo
