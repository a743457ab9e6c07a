#pragma once

#include <string>

namespace zo::app {

// Checks a client's password before its module is created. Pluggable: an application may
// install its own (a directory service, single sign-on, ...).
class IAuthenticator {
 public:
  virtual ~IAuthenticator() = default;
  // True when `password` is the password of `login` in customer `customerID`. The customer
  // and login have already been checked as identifiers.
  virtual bool Authenticate(const std::string& customerID, const std::string& login,
                            const std::string& password) = 0;
};

// The default: the salted PBKDF2 hash stored with the user in the customer's USUARIOS table.
class TUserTableAuthenticator : public IAuthenticator {
 public:
  bool Authenticate(const std::string& customerID, const std::string& login,
                    const std::string& password) override;
};

}  // namespace zo::app
