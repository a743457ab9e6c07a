#pragma once

// Internal to platform/db: what is checked in a statement text before the engine sees it, and
// what is corrected in the engine's answer about it.

#include <string>

namespace zo::db {

// Refuses a text holding a NUL byte: the engine would read the statement only up to it and
// answer with a syntax error about a statement nobody wrote.
void CheckStatementText(const std::string& sql);

// The engine reports a statement that ends inside a quoted literal as "Unexpected end of
// command - line L, column C" with L and C read from a position it never set (numbers in the
// billions that change from run to run). The end of the statement is where the command ended,
// so that is the position put in their place. Other messages are returned as they are.
std::string WithTrueEndPosition(const std::string& message, const std::string& sql);

}  // namespace zo::db
