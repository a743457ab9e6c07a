#pragma once

#include <zo/Export.h>

#include <memory>
#include <string>
#include <vector>

#include <zo/core/Object.h>
#include <zo/platform/db/SQLConnection.h>

namespace zo {

class TIBTransaction;

// The database component scripts run against: a database name (a file path for the embedded
// engine, or "host[/port]:/path"), its SQL dialect, a parameter list, and the attachment.
//
// The parameter list holds connection parameters (name=value: "user_name=...",
// "password=...") for Open, or creation clauses ("user \"SYSDBA\"", "password \"...\"",
// "page_size 8192", "default character set X") for CreateDatabase; see IBDatabaseParams.h.
//
//   TIBDatabase db;
//   db.SetDatabaseName("/data/ZO.FDB");
//   db.Params() = {"user \"SYSDBA\"", "password \"secret\""};
//   db.CreateDatabase();  // the new database is left open
class ZO_EXPORT TIBDatabase : public TObject {
 public:
  TIBDatabase();
  ~TIBDatabase() override;

  const std::string& DatabaseName() const { return databaseName_; }
  // Throws zo::Exception while connected: the attachment would no longer match the name.
  void SetDatabaseName(std::string name);
  int SQLDialect() const { return sqlDialect_; }
  void SetSQLDialect(int dialect) { sqlDialect_ = dialect; }
  // There is no interactive login here; the switch is kept for callers that set it.
  bool LoginPrompt() const { return loginPrompt_; }
  void SetLoginPrompt(bool prompt) { loginPrompt_ = prompt; }
  std::vector<std::string>& Params() { return params_; }
  const std::vector<std::string>& Params() const { return params_; }

  // Creates the database file from the creation clauses (dialect 3 only; default character
  // set ISO8859_1 unless a clause says otherwise) and attaches to it. Fails with Firebird's
  // text when the file exists.
  void CreateDatabase();
  // Attaches with the parameter list. No-op when already open.
  void Open();
  // Rolls back any transaction still active and detaches. Never throws.
  void Close() noexcept;
  bool Connected() const;

  // The transaction scripts use when they are given none. Not owned. Setting a transaction
  // that has no database yet makes this one its database.
  TIBTransaction* DefaultTransaction() const { return defaultTransaction_; }
  void SetDefaultTransaction(TIBTransaction* transaction);

  // The open attachment; throws zo::Exception when closed.
  TSQLConnection& Connection();

 private:
  void Attach();

  std::string databaseName_;
  int sqlDialect_ = 3;
  bool loginPrompt_ = false;
  std::vector<std::string> params_;
  TIBTransaction* defaultTransaction_ = nullptr;
  std::unique_ptr<TSQLConnection> connection_;
};

}  // namespace zo
