#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "apps/zo-schema/CommandLine.h"
#include <zo/schematool/SchemaTool.h>

namespace zo::schematool {

struct TToolContext {
  const SchemaToolApp& app;
  std::ostream& out;  // the command's product (scripts)
  std::ostream& err;  // messages and progress
};

// One command of the tool.
struct TCommand {
  std::string name;
  std::string summary;  // one line for the general help
  std::string help;     // the command's own help text
  std::vector<TOption> options;
  // Returns the exit code; failures may also leave as exceptions (EUsageError: exit 1,
  // anything else: exit 2).
  int (*run)(const TCommandLine& args, const TToolContext& context);
};

TCommand ScriptCommand();
TCommand CreateCommand();
TCommand CustomerCommand();
TCommand DiffCommand();
TCommand ApplyCommand();
TCommand UserCommand();

}  // namespace zo::schematool
