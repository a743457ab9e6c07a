// zo-schema apply: runs a script on a database with the script runner.

#include <filesystem>
#include <fstream>

#include "apps/zo-schema/Files.h"
#include "apps/zo-schema/SchemaModel.h"
#include "apps/zo-schema/SequenceResets.h"
#include "apps/zo-schema/ToolContext.h"
#include "apps/zo-schema/UniqueDuplicates.h"
#include <zo/schema/DBScriptRunner.h>

namespace zo::schematool {
namespace {

namespace fs = std::filesystem;

// The statement's first line, blanks collapsed, cut to fit a progress line.
std::string Summary(const std::string& statement) {
  std::string line = statement.substr(0, statement.find('\n'));
  std::string result;
  for (const char c : line) {
    if (c == ' ' || c == '\t') {
      if (!result.empty() && result.back() != ' ') result += ' ';
    } else {
      result += c;
    }
  }
  constexpr size_t kWidth = 70;
  if (result.size() > kWidth || line.size() < statement.size()) {
    result = result.substr(0, std::min(result.size(), kWidth)) + " ...";
  }
  return result;
}

std::string Join(const std::set<std::string>& names) {
  std::string result;
  for (const auto& name : names) result += (result.empty() ? "" : ", ") + name;
  return result;
}

// The runner appends to the log but never creates it.
void EnsureLogExists() {
  if (!fs::exists(kScriptErrorLogFile)) std::ofstream(kScriptErrorLogFile, std::ios::app);
}

int Run(const TCommandLine& args, const TToolContext& context) {
  args.ExpectPositional({"SCRIPT"});
  const std::string database = args.Required("db");
  if (IsLocalDatabase(database) && !fs::exists(database)) {
    context.err << context.app.programName << ": error: database not found: " << database << "\n";
    return kExitFailure;
  }
  TSQLScriptRunner runner;
  runner.setDatabaseFile(database);
  runner.getSQLScript() = ScriptLines(ReadTextFile(args.Positional()[0]));
  TIBScript& script = runner.IBScript();
  const std::vector<TScriptStatement> statements = script.ValidateScript();

  const auto restarted = RestartedSequences(statements);
  if (!restarted.empty() && !args.Has("allow-sequence-reset")) {
    runner.IBDataBase().Open();
    const auto existing =
        ExistingSequences(runner.IBDataBase().Connection().DBXConnection(), restarted);
    if (!existing.empty()) {
      context.err << context.app.programName
                  << ": error: the script restarts sequences the database already has ("
                  << Join(existing)
                  << "); the next identifiers would repeat those already used. Is it a creation "
                     "script? Use --allow-sequence-reset to run it anyway.\n";
      return kExitFailure;
    }
  }

  // The database would refuse such a constraint with an error the runner tolerates as a
  // duplicate: the column would silently stay without it.
  runner.IBDataBase().Open();
  if (const auto repeated =
          FindRepeatedUniqueValue(runner.IBDataBase().Connection().DBXConnection(), statements)) {
    context.err << context.app.programName << ": error: column " << repeated->column
                << " of table " << repeated->table << " repeats values (for example '"
                << repeated->value << "'); the unique constraint " << repeated->constraint
                << " cannot be made. Correct the data and run the script again; nothing was "
                   "applied.\n";
    return kExitFailure;
  }

  EnsureLogExists();
  TScriptStatement current;
  int currentIndex = 0;
  int tolerated = 0;
  script.SetOnStatement([&](TObject*, int index, int count, const TScriptStatement& statement) {
    current = statement;
    currentIndex = index;
    context.err << "[" << index + 1 << "/" << count << "] " << Summary(statement.text) << "\n";
  });
  // The runner's own handler decides and logs; this only counts what it let through.
  script.SetOnError([&](TObject* sender, const std::string& error, const std::string& sqlText,
                        int lineIndex, bool& ignore) {
    runner.OnScriptError(sender, error, sqlText, lineIndex, ignore);
    ++tolerated;
  });
  try {
    script.ExecuteScript();
  } catch (const std::exception& e) {
    context.err << context.app.programName << ": error in statement " << currentIndex + 1 << "/"
                << statements.size() << " (script line " << current.lineIndex + 1
                << "): " << e.what() << "\n";
    return kExitFailure;
  }
  context.err << "Script applied: " << statements.size() << " statements";
  if (tolerated > 0) {
    context.err << ", " << tolerated << " tolerated error(s) logged in " << kScriptErrorLogFile;
  }
  context.err << "\n";
  return kExitOk;
}

}  // namespace

TCommand ApplyCommand() {
  return {"apply",
          "runs an SQL script on the database, statement by statement",
          "Usage: {prog} apply --db FILE [--allow-sequence-reset] SCRIPT\n"
          "\n"
          "Runs SCRIPT (\"-\" reads standard input) on the database, statement by\n"
          "statement, showing the progress. Errors for objects that already exist and for\n"
          "duplicate values (\"already exists\", \"attempt to store duplicate value\") are\n"
          "tolerated and logged in ScriptErrorLog.txt in the current directory; any other\n"
          "error stops the script. DDL is committed after each statement; the rest at the\n"
          "end of the script or at COMMIT.\n"
          "A script that adds a unique constraint on a column that already repeats a value\n"
          "is not run: the message names the table, the column and one repeated value.\n"
          "\n"
          "  --db FILE                the database\n"
          "  --allow-sequence-reset   runs even a script that restarts sequences the\n"
          "                           database already has (a creation script on a database\n"
          "                           in use): identifiers start over and collide with the\n"
          "                           existing ones\n",
          {{"db", true}, {"allow-sequence-reset", false}},
          &Run};
}

}  // namespace zo::schematool
