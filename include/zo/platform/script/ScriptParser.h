#pragma once

#include <zo/Export.h>

#include <string>
#include <vector>

#include <zo/core/Exceptions.h>

namespace zo {

// One statement of an SQL script, without its terminator, and the index (from 0) of the script
// line it starts on.
struct ZO_EXPORT TScriptStatement {
  std::string text;
  int lineIndex = 0;
};

// A script that cannot be split: the text of the statement being read and the index (from 0)
// of the line it starts on, for the script component's parse-error event.
class ZO_EXPORT EScriptParseError : public Exception {
 public:
  EScriptParseError(const std::string& message, std::string statementText, int lineIndex)
      : Exception(message), statementText_(std::move(statementText)), lineIndex_(lineIndex) {}
  const std::string& StatementText() const { return statementText_; }
  int LineIndex() const { return lineIndex_; }

 private:
  std::string statementText_;
  int lineIndex_;
};

// Splits a script into statements the way Firebird's isql does: statements end at the current
// terminator (";" until a "SET TERM <new> <old>" changes it); terminators inside quoted
// strings, quoted identifiers and comments do not count; comments between statements are
// dropped; a trailing statement without terminator is kept. SET TERM lines themselves are not
// returned. An unterminated string or comment, or a SET TERM without a new terminator, throws
// EScriptParseError.
ZO_EXPORT std::vector<TScriptStatement> SplitScript(const std::vector<std::string>& lines);
ZO_EXPORT std::vector<TScriptStatement> SplitScript(const std::string& script);

}  // namespace zo
