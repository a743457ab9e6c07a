#include <gtest/gtest.h>

#include <zo/platform/db/DBXCommand.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/DBXReader.h>
#include "tests/support/DemoDatabase.h"

namespace {

using zo::testing::DemoDatabase;

int Count(zo::TSQLConnection& conn, const std::string& sql) {
  auto cmd = conn.DBXConnection().CreateCommand();
  cmd->SetText(sql);
  auto reader = cmd->ExecuteQuery();
  EXPECT_TRUE(reader->Next());
  return reader->GetInt32(0);
}

TEST(CreationScriptTest, DemoScriptBuildsTheWholeSchema) {
  DemoDatabase db;
  auto conn = db.Connect();
  EXPECT_EQ(Count(*conn, "select count(*) from rdb$relations where rdb$system_flag = 0"), 7);
  EXPECT_EQ(Count(*conn, "select count(*) from rdb$generators where rdb$system_flag = 0"), 7);
  EXPECT_EQ(Count(*conn,
                  "select count(*) from rdb$relation_constraints "
                  "where rdb$constraint_type = 'FOREIGN KEY'"),
            8);
  EXPECT_EQ(Count(*conn,
                  "select count(*) from rdb$relation_fields where rdb$relation_name = 'CLIENTES' "
                  "and rdb$field_name in ('END_RUA', 'END_OBS', 'DESCONTO_VIP', 'GERENTE')"),
            4);
}

}  // namespace
