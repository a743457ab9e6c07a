#pragma once

#include <zo/Export.h>

#include <string>

namespace zo {

// The application root: the directory the customers' files and the default "conn.conf" are
// found in. Set once at start-up; unset, the process's current directory.
ZO_EXPORT void SetApplicationRoot(const std::string& root);
ZO_EXPORT std::string ApplicationRoot();

// A customer's files, named as users and configuration files see them: relative to the
// application root ("CustomersDB/ACME/conn.conf"), whatever the process's current directory.
// Reading the names touches no file; WriteConfigurationIfMissing is the one step that writes.
class ZO_EXPORT TCustomerFiles {
 public:
  explicit TCustomerFiles(std::string customerID) : FCustomerID(std::move(customerID)) {}

  const std::string& CustomerID() const { return FCustomerID; }
  // "CustomersDB/<id>"; empty without a customer.
  std::string Dir() const;
  // The customer's "conn.conf" in its directory; without a customer, the default "conn.conf".
  std::string ConfigurationFilename() const;
  // The customer's database: "ZO.FDB" in its directory.
  std::string DefaultDataBase() const;
  // The file name part of `name` inside the customer's directory (any directory it names is
  // dropped; without a customer the bare file name).
  std::string DataBaseNamed(const std::string& name) const;

  // Gives a customer its "conn.conf" when it has none yet: the default file with "Database"
  // set to DefaultDataBase(). Raises when the default file cannot be read or the customer's
  // directory does not exist. Nothing to do without a customer.
  void WriteConfigurationIfMissing() const;

  // `path` as the file system must see it: a relative path is taken from the application root
  // (when one was set; an empty path stays empty).
  static std::string Resolve(const std::string& path);
  // The directory a connection opens a relative database from: the application root when one
  // was set, else empty (the current directory).
  static std::string BaseDirectory();
  // The default "conn.conf".
  static const char* DefaultConfiguration();

 private:
  std::string FCustomerID;
};

}  // namespace zo
