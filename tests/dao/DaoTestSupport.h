#pragma once

// The fixture of the DAO and action tests: a fresh demo database, an open connection to it,
// and a client callback that records the wait-screen commands.

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <memory>
#include <string>

#include <zo/core/Exceptions.h>
#include <zo/persistence/ZoServerUtils.h>
#include "examples/demo/DemoClasses.h"
#include "tests/support/DemoDatabase.h"
#include "tests/support/MessageOf.h"
#include "tests/support/RecordingCallback.h"

namespace zo::testing {

class DaoTest : public ::testing::Test {
 protected:
  DaoTest() { demo::RegisterDemoClasses(); }

  TDBXConnection& Conn() { return sql_->DBXConnection(); }
  void Exec(const std::string& sql) { ExecuteSqlCmd(Conn(), sql); }
  int Count(const std::string& table) { return QueryInt(*sql_, "SELECT COUNT(*) FROM " + table); }
  // Seen from a second attachment: only committed rows count.
  int CommittedCount(const std::string& table) {
    return QueryInt(*db_.Connect(), "SELECT COUNT(*) FROM " + table);
  }

  // Cities `first` .. `first + n - 1` (state "PE"), in one transaction: plain inserts are
  // much faster than writing objects one by one.
  void InsertCidades(int first, int n) {
    auto tx = StartTransaction(Conn());
    for (int id = first; id < first + n; ++id) {
      Exec(
          fmt::format("INSERT INTO CIDADES (ID, NOME, UF) VALUES ({}, 'Cidade {}', 'PE')", id, id));
    }
    CommitTransaction(Conn(), tx);
  }
  // A customer living in the city: the city can no longer be deleted.
  void ReferenceCidade(int cidadeId) {
    Exec(fmt::format("INSERT INTO CLIENTES (ID, NOME, CIDADE_ID) VALUES ({}, 'Cliente {}', {})",
                     cidadeId, cidadeId, cidadeId));
  }

  DemoDatabase db_;
  std::unique_ptr<TSQLConnection> sql_ = db_.Connect();
  RecordingCallback callback_;
};

}  // namespace zo::testing
