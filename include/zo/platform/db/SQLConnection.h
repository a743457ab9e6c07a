#pragma once

#include <zo/Export.h>

#include <filesystem>
#include <functional>
#include <string>

#include <zo/platform/db/ConnectionParams.h>
#include <zo/platform/db/DBXConnection.h>

namespace zo {

// A database connection configured by name=value parameters (see AttachString.h and
// ConnectOptions.h for the keys). Destroying it rolls back an open transaction and detaches.
//
//   TSQLConnection conn;
//   conn.LoadParamsFromFile("conn.conf");    // or conn.Params().SetValue("Database", path)
//   conn.Open();
//   auto cmd = conn.DBXConnection().CreateCommand();
class ZO_EXPORT TSQLConnection {
 public:
  using TraceFn = std::function<void(const std::string&)>;

  TSQLConnection();
  ~TSQLConnection();
  TSQLConnection(const TSQLConnection&) = delete;
  TSQLConnection& operator=(const TSQLConnection&) = delete;

  // Kept for the configuration's sake; the only driver is Firebird.
  const std::string& DriverName() const { return driverName_; }
  void SetDriverName(std::string name) { driverName_ = std::move(name); }
  // There is no interactive login: the flag is kept, credentials always come from Params.
  bool LoginPrompt() const { return loginPrompt_; }
  void SetLoginPrompt(bool prompt) { loginPrompt_ = prompt; }

  TConnectionParams& Params() { return params_; }
  const TConnectionParams& Params() const { return params_; }
  void LoadParamsFromFile(const std::filesystem::path& path) { params_.LoadFromFile(path); }
  // The directory a relative `Database` of the embedded engine is opened from, whatever the
  // process's current directory; empty (the default): the current directory. The parameter
  // itself keeps the text it was given.
  const std::string& BaseDirectory() const { return baseDirectory_; }
  void SetBaseDirectory(std::string directory) { baseDirectory_ = std::move(directory); }

  // Attaches (no-op when already open). Throws EDatabaseError with Firebird's text on failure.
  void Open();
  // Rolls back any explicit transaction and detaches. No-op when closed; never throws.
  void Close() noexcept;
  bool Connected() const;
  void SetConnected(bool connected);

  // The open connection's commands and transactions; throws zo::Exception when not open.
  TDBXConnection& DBXConnection();

  // Called with each statement text a command runs (queries and updates), before it runs.
  // Off when empty. Kept across Close/Open.
  void SetTrace(TraceFn trace);

 private:
  std::string driverName_ = "Firebird";
  bool loginPrompt_ = false;
  TConnectionParams params_;
  std::string baseDirectory_;
  TraceFn trace_;
  TDBXConnection dbx_;
};

}  // namespace zo
