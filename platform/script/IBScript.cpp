#include <zo/platform/script/IBScript.h>

#include <zo/core/Exceptions.h>
#include <zo/platform/db/DatabaseError.h>
#include <zo/platform/script/IBDatabase.h>
#include <zo/platform/script/IBTransaction.h>

namespace zo {
namespace {

void RollbackQuietly(TIBTransaction& transaction) noexcept {
  try {
    if (transaction.InTransaction()) transaction.Rollback();
  } catch (...) {
    // The run is already failing with a better error than this one.
  }
}

}  // namespace

TIBScript::TIBScript() = default;
TIBScript::~TIBScript() = default;

std::vector<TScriptStatement> TIBScript::ValidateScript() {
  std::vector<TScriptStatement> statements;
  for (auto& step : Parse()) statements.push_back(std::move(step.statement));
  return statements;
}

void TIBScript::ExecuteScript() {
  if (database_ == nullptr) throw Exception("Script sem banco de dados");
  const std::vector<Step> steps = Parse();
  database_->Open();
  TIBTransaction& transaction = ChooseTransaction();
  stats_ = {};
  autoDDL_ = true;
  // SET STATS in a script lasts as long as the script, as in an isql session.
  const bool statistics = statistics_;
  const auto started = std::chrono::steady_clock::now();
  try {
    RunSteps(steps, transaction);
    if (transaction.InTransaction()) transaction.Commit();
  } catch (...) {
    RollbackQuietly(transaction);
    statistics_ = statistics;
    throw;
  }
  if (statistics_) stats_.elapsed = std::chrono::steady_clock::now() - started;
  statistics_ = statistics;
}

std::vector<TIBScript::Step> TIBScript::Parse() {
  std::vector<TScriptStatement> statements;
  try {
    statements = SplitScript(script_);
  } catch (const EScriptParseError& e) {
    ReportParseError(e.what(), e.StatementText(), e.LineIndex());
  }
  std::vector<Step> steps;
  for (auto& statement : statements) {
    TParsedStatement parsed;
    try {
      parsed = ParseStatement(statement);
    } catch (const EScriptParseError& e) {
      ReportParseError(e.what(), e.StatementText(), e.LineIndex());
    }
    // The attachment's dialect is fixed when it is made: a script cannot switch it.
    const int dialect = database_ != nullptr ? database_->SQLDialect() : 3;
    if (parsed.setting == TScriptSetting::SqlDialect &&
        parsed.argument != std::to_string(dialect)) {
      ReportParseError("Dialeto SQL " + parsed.argument + " difere do banco de dados (" +
                           std::to_string(dialect) + ")",
                       statement.text, statement.lineIndex);
    }
    steps.push_back({std::move(statement), parsed});
  }
  return steps;
}

void TIBScript::ReportParseError(const std::string& error, const std::string& sqlText,
                                 int lineIndex) {
  if (onParseError_) onParseError_(this, error, sqlText, lineIndex);
  throw EScriptParseError(error, sqlText, lineIndex);
}

TIBTransaction& TIBScript::ChooseTransaction() {
  if (transaction_ != nullptr) return *transaction_;
  if (database_->DefaultTransaction() != nullptr) return *database_->DefaultTransaction();
  if (!ownTransaction_) ownTransaction_ = std::make_unique<TIBTransaction>();
  ownTransaction_->SetDefaultDatabase(database_);
  return *ownTransaction_;
}

void TIBScript::RunSteps(const std::vector<Step>& steps, TIBTransaction& transaction) {
  const int count = static_cast<int>(steps.size());
  for (int i = 0; i < count; ++i) {
    if (onStatement_) onStatement_(this, i, count, steps[i].statement);
    if (onParse_) onParse_(this, steps[i].parsed.kind, steps[i].statement.text);
    RunStep(steps[i], transaction);
  }
}

void TIBScript::RunStep(const Step& step, TIBTransaction& transaction) {
  bool ran = true;
  switch (step.parsed.kind) {
    case TIBParseKind::stmtSET:
      ApplySetting(step.parsed);
      break;
    case TIBParseKind::stmtCOMMIT:
      if (transaction.InTransaction()) transaction.Commit();
      break;
    case TIBParseKind::stmtROLLBACK:
      if (transaction.InTransaction()) transaction.Rollback();
      break;
    case TIBParseKind::stmtDDL:
    case TIBParseKind::stmtDML:
      ran = RunStatement(step, transaction);
      break;
  }
  if (statistics_) ++(ran ? stats_.executed : stats_.ignored);
}

bool TIBScript::RunStatement(const Step& step, TIBTransaction& transaction) {
  if (!transaction.InTransaction()) transaction.StartTransaction();
  bool executed = false;
  try {
    auto command = database_->Connection().DBXConnection().CreateCommand();
    command->SetText(step.statement.text);
    command->ExecuteUpdate();
    executed = true;
    if (step.parsed.kind == TIBParseKind::stmtDDL && autoDDL_) transaction.Commit();
    return true;
  } catch (const Exception& e) {
    const std::string error = e.what();
    const auto* failure = dynamic_cast<const EDatabaseError*>(&e);
    // The server's parser rejected the text ("Token unknown", "Unexpected end of command"...).
    // Other errors of the statement are execution errors.
    if (!executed && failure != nullptr && failure->Category() == DatabaseErrorCategory::Syntax) {
      ReportParseError(error, step.statement.text, step.statement.lineIndex);
    }
    bool ignore = false;
    if (onError_) {
      reportedError_ = failure;
      struct Forget {  // the exception ends with this handler; so does the pointer
        const EDatabaseError*& reported;
        ~Forget() { reported = nullptr; }
      } const forget{reportedError_};
      onError_(this, error, step.statement.text, step.statement.lineIndex, ignore);
    }
    if (!ignore) throw;
    // A failed statement is undone by the server; a failed commit leaves its work pending in
    // the transaction, so that goes too.
    if (executed) RollbackQuietly(transaction);
    return false;
  }
}

void TIBScript::ApplySetting(const TParsedStatement& parsed) {
  switch (parsed.setting) {
    case TScriptSetting::AutoDDL:
      autoDDL_ = parsed.argument == "ON";
      break;
    case TScriptSetting::Stats:
      statistics_ = parsed.argument == "ON";
      break;
    case TScriptSetting::SqlDialect:  // checked against the database before the run
    case TScriptSetting::Names:       // the attachment always talks UTF-8
    case TScriptSetting::Display:
    case TScriptSetting::None:
      break;
  }
}

}  // namespace zo
