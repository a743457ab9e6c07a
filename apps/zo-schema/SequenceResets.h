#pragma once

#include <set>
#include <string>
#include <vector>

#include <zo/platform/script/ScriptParser.h>

namespace zo {
class TDBXConnection;
}

namespace zo::schematool {

// The sequences a script sets back (ALTER SEQUENCE|GENERATOR x RESTART, SET GENERATOR x TO,
// RECREATE and CREATE OR ALTER SEQUENCE|GENERATOR), upper-cased unless quoted. A creation
// script restarts every sequence it creates.
std::set<std::string> RestartedSequences(const std::vector<TScriptStatement>& statements);

// Those of `names` that exist in the database.
std::set<std::string> ExistingSequences(TDBXConnection& connection,
                                        const std::set<std::string>& names);

}  // namespace zo::schematool
