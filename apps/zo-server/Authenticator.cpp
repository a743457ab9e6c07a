#include "apps/zo-server/Authenticator.h"

#include "platform/db/SQLConnection.h"
#include "server/CustomServerModule.h"
#include "server/UserPasswords.h"

namespace zo::app {

bool TUserTableAuthenticator::Authenticate(const std::string& customerID, const std::string& login,
                                           const std::string& password) {
  auto connection = TZoCustomServerModule::CreateConnection(customerID);
  connection->Open();
  const auto stored = LoadPasswordHash(connection->DBXConnection(), login);
  connection->Close();
  // Unknown logins cost the same hash as known ones, so timing tells nothing.
  static const std::string kDummy = HashPassword("", 1000);
  return VerifyPassword(password, stored.value_or(kDummy)) && stored.has_value();
}

}  // namespace zo::app
