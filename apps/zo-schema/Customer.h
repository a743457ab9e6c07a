#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include <zo/schematool/SchemaTool.h>

namespace zo::schematool {

struct TNewCustomer {
  std::string id;
  std::filesystem::path root;  // the application root, holding conn.conf and CustomersDB
  std::string login;
  std::string userName;  // the first user's display name
  std::string password;
  bool replace = false;  // an existing customer is rebuilt (its database is lost)
};

// Why the customer's identifier or login cannot be used (they end up in paths and
// statements), or nullopt when both are fine.
std::optional<std::string> InvalidCustomerArgument(const TNewCustomer& customer);

// Provisions a customer under root/CustomersDB/<id>: its conn.conf (from root/conn.conf,
// made with defaults when missing, "Database" pointing at the customer's ZO.FDB), its
// database and its first user with a password. Everything is built under a staging name and
// renamed into place; a failure leaves nothing behind. Returns the customer's directory.
// Throws zo::Exception on refusal (existing customer without `replace`) or failure.
std::filesystem::path AddCustomer(const SchemaToolApp& app, const TNewCustomer& customer);

// The lines of a default root conn.conf.
inline constexpr const char* kDefaultConnConf =
    "User_Name=SYSDBA\n"
    "Password=masterkey\n"
    "SQLDialect=3\n"
    "CharSet=UTF8\n";

}  // namespace zo::schematool
