#pragma once

// Internal to platform/db: which statements may share a prepared statement, and the text they
// share (literal values replaced by parameters).

#include <optional>
#include <string>
#include <vector>

namespace zo::db {

enum class StatementKind {
  Data,              // SELECT, WITH, INSERT, UPDATE, DELETE, MERGE: may be kept prepared
  Procedural,        // EXECUTE PROCEDURE, EXECUTE BLOCK without dynamic SQL: run as given
  MetadataChanging,  // anything else (DDL, GRANT, EXECUTE BLOCK running EXECUTE STATEMENT, ...)
};

struct Literal {
  enum class Type { Number, String };
  Type type;
  std::string value;  // a number as written (sign included), a string without its quotes
};

struct LiftedStatement {
  std::string text;               // `?` where a literal was
  std::vector<Literal> literals;  // in parameter order
};

// Which literals are lifted: those whose parameter would be described by what they are
// compared with or stored into: operands of a comparison (=, <>, !=, <, >, <=, >=) and items of
// a VALUES or IN list, when nothing but a comparison, a list separator or a clause keyword
// follows. Literals anywhere else (a select list, arithmetic, function arguments, LIKE,
// FIRST/SKIP, ORDER BY 1, introducers such as _UTF8 'x' or x'41') stay in the text. A text the
// scanner cannot read with certainty (q'' strings, `?` or `:` already present, unterminated
// quotes or comments) is not lifted and counts as MetadataChanging: such a text runs exactly as
// given.
struct StatementAnalysis {
  StatementKind kind;
  std::optional<LiftedStatement> lifted;  // a Data statement's, when asked for
};

// Reads the text once for both answers; `lift` false spares building the lifted form.
StatementAnalysis AnalyzeStatement(const std::string& sql, bool lift);

StatementKind ClassifyStatement(const std::string& sql);
// The lifted form of any statement the scanner can read, whatever its kind.
std::optional<LiftedStatement> LiftLiterals(const std::string& sql);

}  // namespace zo::db
