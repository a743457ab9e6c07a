#pragma once

#include <optional>
#include <string>
#include <vector>

#include <zo/platform/script/ScriptParser.h>

namespace zo {
class TDBXConnection;
}

namespace zo::schematool {

// A unique constraint a script adds on a column that already repeats a value.
struct TRepeatedValue {
  std::string table;
  std::string column;
  std::string constraint;
  std::string value;  // one of the repeated values, as text
};

// The first unique constraint of one column that the script adds (ALTER TABLE t ADD
// CONSTRAINT c UNIQUE (col)) on an existing column whose rows repeat a non-null value. The
// database would refuse the constraint; found before the script runs, nothing is changed.
std::optional<TRepeatedValue> FindRepeatedUniqueValue(
    TDBXConnection& connection, const std::vector<TScriptStatement>& statements);

}  // namespace zo::schematool
