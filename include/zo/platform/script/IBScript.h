#pragma once

#include <zo/Export.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <zo/core/Object.h>
#include <zo/platform/script/ScriptParser.h>
#include <zo/platform/script/StatementKind.h>

namespace zo {

class EDatabaseError;
class TIBDatabase;
class TIBTransaction;

// Counts of the last run, kept while Statistics is on.
struct ZO_EXPORT TIBScriptStats {
  int executed = 0;  // statements that ran, isql settings included
  int ignored = 0;   // statements that failed and were skipped by the error event
  std::chrono::steady_clock::duration elapsed{};
};

// Runs an SQL script against a TIBDatabase statement by statement, the way Firebird's isql
// does: statements end at the terminator (SET TERM changes it; comments and quoted text do
// not count), DDL is committed as soon as it has run (SET AUTODDL OFF holds it back), other
// work stays in the transaction until COMMIT, the next committed DDL or the end of the
// script. isql's own settings (SET AUTODDL, SET SQL DIALECT, SET STATS, SET NAMES, display
// settings) are carried out by the component; commands meant for isql's prompt are parse
// errors.
//
// Errors. The whole script is split and classified before anything runs: a script that
// cannot be parsed fires OnParseError and runs nothing. The server's parser has the last
// word on each statement's syntax: a statement it rejects as a syntax error (SQL error code
// -104, e.g. "Token unknown") fires OnParseError too, when its turn comes. Any other failure
// of a statement fires OnError with an ignore flag: set, the statement is skipped (the
// server has already undone it) and the script goes on; left clear, the run stops with the
// error. A stopped run (an exception out of an event counts) rolls back the work not yet
// committed and rethrows; after OnParseError returns, the run stops with EScriptParseError.
// Without handlers, parse errors and failures simply stop the run.
//
// Transaction: Transaction(), else the database's DefaultTransaction(), else one of the
// component's own. It is started as needed and ended by the script: committed at the end,
// rolled back when the run stops. The database is opened when it is closed.
class ZO_EXPORT TIBScript : public TObject {
 public:
  using TParseEvent =
      std::function<void(TObject* sender, TIBParseKind kind, const std::string& sqlText)>;
  using TParseErrorEvent = std::function<void(TObject* sender, const std::string& error,
                                              const std::string& sqlText, int lineIndex)>;
  using TExecuteErrorEvent =
      std::function<void(TObject* sender, const std::string& error, const std::string& sqlText,
                         int lineIndex, bool& ignore)>;
  // Before each statement: its index (from 0) among `count` statements.
  using TStatementEvent =
      std::function<void(TObject* sender, int index, int count, const TScriptStatement& statement)>;

  TIBScript();
  ~TIBScript() override;

  TIBDatabase* Database() const { return database_; }
  void SetDatabase(TIBDatabase* database) { database_ = database; }
  TIBTransaction* Transaction() const { return transaction_; }
  void SetTransaction(TIBTransaction* transaction) { transaction_ = transaction; }

  // The script's lines; statements carry the index of the line they start on.
  std::vector<std::string>& Script() { return script_; }
  const std::vector<std::string>& Script() const { return script_; }

  bool Statistics() const { return statistics_; }
  void SetStatistics(bool on) { statistics_ = on; }
  const TIBScriptStats& Stats() const { return stats_; }

  void SetOnParse(TParseEvent handler) { onParse_ = std::move(handler); }
  void SetOnParseError(TParseErrorEvent handler) { onParseError_ = std::move(handler); }
  void SetOnError(TExecuteErrorEvent handler) { onError_ = std::move(handler); }
  void SetOnStatement(TStatementEvent handler) { onStatement_ = std::move(handler); }
  // While OnError runs: the database error being reported (its Category() tells what kind of
  // failure it was); nullptr when the failure is not the database's, and outside OnError.
  const EDatabaseError* ReportedError() const { return reportedError_; }

  // Splits and classifies the script without running it; reports parse errors as a run
  // would. The database is needed only to check SET SQL DIALECT against its dialect.
  std::vector<TScriptStatement> ValidateScript();
  void ExecuteScript();

 private:
  struct Step {
    TScriptStatement statement;
    TParsedStatement parsed;
  };

  std::vector<Step> Parse();
  void RunSteps(const std::vector<Step>& steps, TIBTransaction& transaction);
  void RunStep(const Step& step, TIBTransaction& transaction);
  // Runs a DDL or DML statement; false when it failed and the error event skipped it.
  bool RunStatement(const Step& step, TIBTransaction& transaction);
  void ApplySetting(const TParsedStatement& parsed);
  [[noreturn]] void ReportParseError(const std::string& error, const std::string& sqlText,
                                     int lineIndex);
  TIBTransaction& ChooseTransaction();

  TIBDatabase* database_ = nullptr;
  TIBTransaction* transaction_ = nullptr;
  std::unique_ptr<TIBTransaction> ownTransaction_;
  std::vector<std::string> script_;
  bool statistics_ = false;
  bool autoDDL_ = true;  // of the running script: SET AUTODDL changes it until the run ends
  TIBScriptStats stats_;
  const EDatabaseError* reportedError_ = nullptr;  // not owned: the exception being handled
  TParseEvent onParse_;
  TParseErrorEvent onParseError_;
  TExecuteErrorEvent onError_;
  TStatementEvent onStatement_;
};

}  // namespace zo
