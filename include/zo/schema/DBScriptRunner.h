#pragma once

#include <zo/Export.h>

#include <memory>
#include <string>
#include <vector>

#include <zo/core/Object.h>
#include <zo/platform/db/SQLConnection.h>
#include <zo/platform/script/IBDatabase.h>
#include <zo/platform/script/IBScript.h>
#include <zo/platform/script/IBTransaction.h>

namespace zo {

// Creates empty Firebird databases and prepares a script component to run SQL scripts on
// them, with error handlers that let a creation script run again over its own database: the
// errors such a rerun is bound to meet (objects that already exist, duplicate values) are
// skipped, every script error is logged to ScriptErrorLog.txt in the current directory, and
// any other error stops the script.
//
// The runner prepares and handles; the caller runs:
//
//   TSQLScriptRunner runner;
//   runner.setDatabaseFile("ZO.FDB");
//   runner.createDataBase();               // replaces an existing file
//   runner.getSQLScript() = scriptLines;
//   runner.IBScript().ExecuteScript();     // ScriptErrorLog.txt must already exist
class ZO_EXPORT TSQLScriptRunner : public TObject {
 public:
  TSQLScriptRunner();
  ~TSQLScriptRunner() override;

  // Deletes the file at DataBaseFile when there is one (an existing database is replaced
  // without warning) and creates an empty database there, dialect 3, default character set
  // ISO8859_1, owned by SYSDBA; the database is left open. The default transaction becomes
  // the one supplied through setIBTransaction (none unless a caller supplied it).
  void createDataBase();
  // A new, unopened connection configured from conn.conf in the current directory; the
  // caller owns it. Fails when the file cannot be read.
  std::unique_ptr<TSQLConnection> newDataBase() const;
  // Does nothing: the script is run through the script component (IBScript()).
  void execute();

  std::string getDatabaseFile() const;
  void setDatabaseFile(const std::string& fileName);
  // The script component's lines.
  std::vector<std::string>& getSQLScript();

  // Handlers bound to the script component's events.
  void parse(TObject* sender, TIBParseKind kind, const std::string& sqlText);
  // Raises "Erro ao executar script: <error>. <statement>. Linha<index>".
  void parseError(TObject* sender, const std::string& error, const std::string& sqlText,
                  int lineIndex);
  // Appends "Erro: <error> - Linha: <index> - Ignorado: True|False" to ScriptErrorLog.txt,
  // which must exist (a missing file raises EInOutError). The error is ignored when the
  // database reported it (the sender is the TIBScript, its ReportedError() says what kind) and
  // it is a unique violation whose text holds "attempt to store duplicate value", or an
  // existing object whose text holds "already exists"; any other error is raised again with
  // its text alone.
  void OnScriptError(TObject* sender, const std::string& error, const std::string& sqlText,
                     int lineIndex, bool& ignore);

  TIBDatabase& IBDataBase() { return *fIBDataBase; }
  TIBScript& IBScript() { return *fIBScript; }
  // The transaction createDataBase gives the database as its default; the runner owns it.
  void setIBTransaction(std::unique_ptr<TIBTransaction> transaction);

 private:
  std::unique_ptr<TIBDatabase> fIBDataBase;
  std::unique_ptr<TIBScript> fIBScript;  // bound to fIBDataBase
  std::unique_ptr<TIBTransaction> fIBTransaction;
};

// The log file cannot be opened (or written). The message is the platform's "I/O error %d"
// followed by the file and the system's reason.
class ZO_EXPORT EInOutError : public Exception {
 public:
  EInOutError(int errorCode, const std::string& message)
      : Exception(message), errorCode_(errorCode) {}
  int ErrorCode() const { return errorCode_; }

 private:
  int errorCode_;
};

// The runner's fixed settings.
inline constexpr const char* kScriptErrorLogFile = "ScriptErrorLog.txt";
inline constexpr const char* kRunnerConnectionFile = "conn.conf";
inline constexpr const char* kRunnerDriverName = "Firebird";

}  // namespace zo
