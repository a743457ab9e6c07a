#include <zo/appserver/Authenticator.h>

#include <zo/platform/db/SQLConnection.h>
#include <zo/server/CustomServerModule.h>
#include <zo/server/UserPasswords.h>

namespace zo::app {

bool TUserTableAuthenticator::Authenticate(const std::string& customerID, const std::string& login,
                                           const std::string& password) {
  auto connection = TZoCustomServerModule::CreateConnection(customerID);
  connection->Open();
  const auto stored = LoadPasswordHash(connection->DBXConnection(), login);
  connection->Close();
  // Unknown logins cost the same hash as known ones, so timing tells nothing.
  if (!stored) {
    SpendPasswordCheck(password);
    return false;
  }
  return VerifyPassword(password, *stored);
}

}  // namespace zo::app
