#pragma once

// The fixture of the DAO and action tests: a fresh demo database, an open connection with a
// statement trace, and a client callback that records the wait-screen commands.

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <zo/core/Exceptions.h>
#include <zo/persistence/ZoServerUtils.h>
#include "examples/demo/DemoClasses.h"
#include "tests/support/DemoDatabase.h"
#include "tests/support/MessageOf.h"
#include "tests/support/RecordingCallback.h"

namespace zo::testing {

class DaoTest : public ::testing::Test {
 protected:
  DaoTest() {
    demo::RegisterDemoClasses();
    sql_ = db_.Connect();
    sql_->SetTrace([this](const std::string& statement) { trace_.push_back(statement); });
  }

  TDBXConnection& Conn() { return sql_->DBXConnection(); }
  void Exec(const std::string& sql) { ExecuteSqlCmd(Conn(), sql); }

  // The first column of the first row as text ("" without a row); not traced.
  std::string Scalar(const std::string& sql) {
    const auto reader = GetReader(Conn(), sql);
    std::string value = reader->Reader().Next() ? reader->Reader().GetString(0) : "";
    trace_.pop_back();
    return value;
  }
  int Count(const std::string& table) { return std::stoi(Scalar("SELECT COUNT(*) FROM " + table)); }
  // Seen from a second attachment: only committed rows count.
  int CommittedCount(const std::string& table) {
    const auto other = db_.Connect();
    const auto reader = GetReader(other->DBXConnection(), "SELECT COUNT(*) FROM " + table);
    reader->Reader().Next();
    return reader->Reader().GetInt32(0);
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

  // Statements run since the last call that mention `table`, and forgets all of them.
  std::vector<std::string> TakeTrace(const std::string& table) {
    std::vector<std::string> matching;
    for (auto& s : std::exchange(trace_, {})) {
      if (s.find(table) != std::string::npos) matching.push_back(std::move(s));
    }
    return matching;
  }

  DemoDatabase db_;
  std::unique_ptr<TSQLConnection> sql_;
  std::vector<std::string> trace_;
  RecordingCallback callback_;
};

}  // namespace zo::testing
