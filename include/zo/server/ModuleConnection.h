#pragma once

#include <zo/Export.h>

#include <memory>
#include <string>

#include <zo/server/CustomerFiles.h>

namespace zo {

class TSQLConnection;

// A module's database connection: made from the customer's files, owned here, and replaced
// only by a connection that has already opened.
class ZO_EXPORT TModuleConnection {
 public:
  TModuleConnection();
  ~TModuleConnection();
  TModuleConnection(const TModuleConnection&) = delete;
  TModuleConnection& operator=(const TModuleConnection&) = delete;

  // A new, unopened connection for the customer: the parameters of its "conn.conf" (written
  // first when it has none), with "Database" its own database whatever the file says.
  static std::unique_ptr<TSQLConnection> Create(const TCustomerFiles& files);
  // A new, unopened connection to the file `dataBaseName` names, inside the customer's
  // directory, with the parameters of the default "conn.conf" (only the path is the
  // customer's here).
  static std::unique_ptr<TSQLConnection> CreateForDataBase(const TCustomerFiles& files,
                                                          const std::string& dataBaseName);

  TSQLConnection* Get() const { return FConnection.get(); }
  void Replace(std::unique_ptr<TSQLConnection> connection);
  // Opens `candidate`; only once it is open is the current connection closed (errors
  // swallowed) and replaced. A candidate that does not open raises and changes nothing.
  void SwitchTo(std::unique_ptr<TSQLConnection> candidate);
  // Closes the connection, which is kept. Never raises.
  void Close() noexcept;
  // The "Database" parameter of the connection ("" without one).
  std::string CurrentDataBase() const;

 private:
  std::unique_ptr<TSQLConnection> FConnection;
};

}  // namespace zo
