#pragma once

#include <string>
#include <vector>

namespace zo {

// One statement of an SQL script, without its terminator, and the index (from 0) of the script
// line it starts on.
struct TScriptStatement {
  std::string text;
  int lineIndex = 0;
};

// Splits a script into statements the way Firebird's isql does: statements end at the current
// terminator (";" until a "SET TERM <new> <old>" changes it); terminators inside quoted
// strings, quoted identifiers and comments do not count; comments between statements are
// dropped; a trailing statement without terminator is kept. SET TERM lines themselves are not
// returned. An unterminated string or comment throws zo::Exception.
std::vector<TScriptStatement> SplitScript(const std::vector<std::string>& lines);
std::vector<TScriptStatement> SplitScript(const std::string& script);

}  // namespace zo
