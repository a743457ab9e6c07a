// The same round trip through a Firebird server over TCP, with a server this test starts on a
// free loopback port and stops afterwards.
#include "platform/db/CreateDatabase.h"
#include "tests/platform_db/DbTestSupport.h"
#include "tests/support/FirebirdServer.h"

namespace zo::testing {
namespace {

TEST(SqlLayerServer, EveryTypeRoundTripsOverTcp) {
  const std::string password = SysdbaPassword();
  const FirebirdServer server;
  const TempDir dir;
  const std::string host = server.Host();
  TCreateDatabaseOptions options;
  options.password = password;
  options.forcedWrites = false;
  CreateDatabaseFile(host + ":" + dir.File("server.fdb"), options);

  TSQLConnection conn;
  conn.Params().SetValue("Server", host);
  conn.Params().SetValue("ServerRoot", dir.Path().string());
  conn.Params().SetValue("Database", "server.fdb");
  conn.Params().SetValue("User_Name", "SYSDBA");
  conn.Params().SetValue("Password", password);
  conn.Open();
  EXPECT_EQ(Scalar(conn,
                   "SELECT MON$REMOTE_PROTOCOL FROM MON$ATTACHMENTS "
                   "WHERE MON$ATTACHMENT_ID = CURRENT_CONNECTION"),
            "TCPv4");
  CheckRoundTripOfEveryType(conn);
  conn.Close();
}

}  // namespace
}  // namespace zo::testing
