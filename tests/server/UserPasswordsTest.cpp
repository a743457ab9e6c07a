#include <gtest/gtest.h>

#include <zo/platform/db/DBXCommand.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/server/UserPasswords.h>
#include "tests/support/DemoDatabase.h"

namespace {

TEST(UserPasswordsTest, HashesVerifyOnlyTheirOwnPassword) {
  const std::string hash = zo::HashPassword("s3nh@ forte", 1000);
  EXPECT_TRUE(zo::VerifyPassword("s3nh@ forte", hash));
  EXPECT_FALSE(zo::VerifyPassword("s3nh@ Forte", hash));
  EXPECT_NE(zo::HashPassword("s3nh@ forte", 1000), hash) << "every hash has its own salt";
  EXPECT_FALSE(zo::VerifyPassword("x", "pbkdf2-sha256$1000$zz$00"));
  EXPECT_FALSE(zo::VerifyPassword("x", ""));
  EXPECT_FALSE(zo::VerifyPassword("x", "md5$1$00$00"));
}

TEST(UserPasswordsTest, UntrustedIdentifiersAreChecked) {
  for (const char* ok : {"ACME", "cliente_01", "a-b"}) EXPECT_TRUE(zo::IsValidCustomerId(ok));
  for (const char* bad : {"", "..", "../x", "a/b", "a b", "ação", "a\\b"}) {
    EXPECT_FALSE(zo::IsValidCustomerId(bad)) << bad;
  }
  for (const char* ok : {"ana", "ana.silva@acme.com", "joao_2"}) EXPECT_TRUE(zo::IsValidLogin(ok));
  for (const char* bad : {"", "x' or '1'='1", "a;b", "a b", std::string(61, 'a').c_str()}) {
    EXPECT_FALSE(zo::IsValidLogin(bad)) << bad;
  }
}

TEST(UserPasswordsTest, HashColumnIsAddedOnceAndStoresPerUser) {
  zo::testing::DemoDatabase db;
  auto conn = db.Connect();
  auto& dbx = conn->DBXConnection();
  zo::EnsurePasswordColumn(dbx);
  zo::EnsurePasswordColumn(dbx);  // a second time changes nothing
  auto cmd = dbx.CreateCommand();
  cmd->SetText("insert into USUARIOS(ID, LOGIN, NOME) values(1, 'ana', 'Ana')");
  cmd->ExecuteUpdate();
  EXPECT_FALSE(zo::LoadPasswordHash(dbx, "ana").has_value()) << "no password set yet";
  zo::StorePasswordHash(dbx, 1, zo::HashPassword("pw", 1000));
  const auto stored = zo::LoadPasswordHash(dbx, "ana");
  ASSERT_TRUE(stored.has_value());
  EXPECT_TRUE(zo::VerifyPassword("pw", *stored));
  EXPECT_FALSE(zo::LoadPasswordHash(dbx, "bia").has_value());
  EXPECT_FALSE(zo::LoadPasswordHash(dbx, "ana' or ''='").has_value());
}

}  // namespace
