// The name=value parameter list and how its keys choose what Firebird attaches to.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <zo/core/Exceptions.h>
#include <zo/platform/db/ConnectionParams.h>
#include "platform/db/AttachString.h"

#include "tests/support/TempDir.h"

namespace zo::testing {
namespace {

TEST(SqlConnectionParams, LoadsEitherLineEndingAndSavesNewlines) {
  const TempDir dir;
  const auto file = dir.Path() / "conn.conf";
  WriteText(
      file,
      "DriverName=Firebird\r\nDatabase=CustomersDB/ACME/ZO.FDB\r\nUser_Name=SYSDBA\nPassword=a=b");
  TConnectionParams params;
  params.LoadFromFile(file);
  ASSERT_EQ(params.Count(), 4u);
  EXPECT_EQ(params.Values("database"), "CustomersDB/ACME/ZO.FDB");  // no CR left behind
  EXPECT_EQ(params.Values("PASSWORD"), "a=b");  // the value is everything after the first '='
  EXPECT_EQ(params.Values("RoleName"), "");

  params.SetValue("user_name", "ZO");        // replaces in place, whatever the case
  params.SetValue("ServerCharSet", "UTF8");  // appends
  params.SaveToFile(file);
  EXPECT_EQ(ReadText(file),
            "DriverName=Firebird\nDatabase=CustomersDB/ACME/ZO.FDB\nuser_name=ZO\nPassword=a=b\n"
            "ServerCharSet=UTF8\n");
  // Only the file itself is left: the temporary was renamed into place.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()),
                          std::filesystem::directory_iterator()),
            1);
  TConnectionParams reloaded;
  reloaded.LoadFromFile(file);
  EXPECT_EQ(reloaded.Lines(), params.Lines());
}

TEST(SqlConnectionParams, MissingFileIsAClearError) {
  const TempDir dir;
  const auto file = dir.Path() / "conn.conf";
  TConnectionParams params({"Database=kept"});
  try {
    params.LoadFromFile(file);
    FAIL() << "no error";
  } catch (const Exception& e) {
    EXPECT_NE(std::string(e.what()).find(file.string()), std::string::npos) << e.what();
  }
  EXPECT_EQ(params.Values("Database"), "kept");  // a failed load changes nothing
  EXPECT_THROW(params.SaveToFile(dir.Path() / "no-such-dir" / "conn.conf"), Exception);
}

TEST(SqlConnectionParams, AttachStringChoosesEmbeddedOrServer) {
  const auto attach = [](std::vector<std::string> lines) {
    return AttachString(TConnectionParams(std::move(lines)));
  };
  EXPECT_EQ(attach({"Database=CustomersDB/ACME/ZO.FDB"}), "CustomersDB/ACME/ZO.FDB");
  const TConnectionParams embedded({"Database=CustomersDB/ACME/ZO.FDB"});
  EXPECT_EQ(AttachString(embedded, "/srv/zo"), "/srv/zo/CustomersDB/ACME/ZO.FDB")
      << "a relative embedded database opens from the base directory";
  EXPECT_EQ(AttachString(TConnectionParams({"Database=/abs/ZO.FDB"}), "/srv/zo"), "/abs/ZO.FDB");
  EXPECT_EQ(AttachString(TConnectionParams({"Database=db1:/x.fdb"}), "/srv/zo"), "db1:/x.fdb");
  EXPECT_EQ(attach({"Database=db1:/srv/zo.fdb"}), "db1:/srv/zo.fdb");
  EXPECT_EQ(attach({"Server=db1/3051", "ServerRoot=/srv/zo", "Database=CustomersDB/ACME/ZO.FDB"}),
            "db1/3051:/srv/zo/CustomersDB/ACME/ZO.FDB");
  EXPECT_EQ(attach({"Server=db1", "ServerRoot=/srv/zo/", "Database=ZO.FDB"}), "db1:/srv/zo/ZO.FDB");
  EXPECT_EQ(attach({"Server=db1", "ServerRoot=/srv/zo", "Database=/abs/ZO.FDB"}),
            "db1:/abs/ZO.FDB");
  EXPECT_EQ(attach({"Server=db1", "ServerRoot=D:\\zo", "Database=ACME\\ZO.FDB"}),
            "db1:D:\\zo\\ACME\\ZO.FDB");
  EXPECT_EQ(attach({"Server=db1", "Database=ZO.FDB"}), "db1:ZO.FDB");
  // A Database that names its own server wins over Server.
  EXPECT_EQ(attach({"Server=db1", "Database=db2/3050:/x.fdb"}), "db2/3050:/x.fdb");
  EXPECT_THROW(attach({"Server=db1"}), Exception);
}

}  // namespace
}  // namespace zo::testing
