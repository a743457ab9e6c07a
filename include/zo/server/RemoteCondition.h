#pragma once

#include <zo/Export.h>

#include <string>
#include <string_view>
#include <vector>

#include <zo/core/Exceptions.h>
#include <zo/core/Rtti.h>

namespace zo {

// A condition, property list or class name from a remote client that the server will not
// run. The message names the offending token.
class ZO_EXPORT ERefusedCondition : public Exception {
 public:
  using Exception::Exception;
};

// A client's condition, checked and rewritten in the form ParseCondition reads (one blank
// between tokens, property names as the class spells them), with the properties it reads.
struct ZO_EXPORT TCheckedCondition {
  std::string text;
  std::vector<std::string> properties;
};

// Checks a condition from a client against the only grammar the server accepts:
//   condition := term { (AND | OR) term }
//   term      := [NOT] property predicate
//   predicate := (= | <> | != | < | <= | > | >=) literal
//              | [NOT] (LIKE | CONTAINING | STARTING [WITH]) literal
//              | [NOT] BETWEEN literal AND literal
//              | IS [NOT] NULL
//   literal   := number (-12, 3.5) | 'text' (a quote inside is doubled) | NULL
// Tokens are separated by blanks; a text literal holds no blank and no control character.
// Anything else (comments, tabs, parentheses, subqueries, ||, casts, functions, dotted
// names, list properties) raises ERefusedCondition. A blank condition is accepted as "".
ZO_EXPORT TCheckedCondition CheckRemoteCondition(const TRttiType& type, const std::string& condition);

// Checks a client's property list ("Nome,UF") as GetStrList reads it: each item a property of
// the class with a column. Returns the names as the class spells them.
ZO_EXPORT std::vector<std::string> CheckRemoteProperties(const TRttiType& type, const std::string& list);

// A client's token as it may go into a message or a log line: at most 60 bytes, control
// bytes written as \xNN.
ZO_EXPORT std::string ShownToken(std::string_view token);

}  // namespace zo
