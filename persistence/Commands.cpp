// Running statements and bracketing work in transactions.
#include <zo/core/Exceptions.h>
#include <zo/platform/db/DatabaseError.h>
#include "persistence/PersistenceDetail.h"
#include <zo/persistence/Transactions.h>

namespace zo {
namespace {

// The statement's start is enough to recognise it; the dots are added even when whole.
std::string WithStatement(const std::string& message, const std::string& statement) {
  return message + "\r\n" + detail::Utf8Left(statement, 256) + "...";
}

}  // namespace

void ExecuteSqlCmd(TDBXConnection& connection, const std::string& statement) {
  try {
    const auto command = connection.CreateCommand();
    command->SetText(statement);
    command->ExecuteUpdate();  // rows a statement returns are discarded by the command
  } catch (const EDatabaseError& e) {
    // The codes travel on, so that callers can tell what kind of failure it was.
    throw EDatabaseError(WithStatement(e.what(), statement), e);
  } catch (const std::exception& e) {
    throw Exception(WithStatement(e.what(), statement));
  }
}

void ExecuteSqlCmd(TDBXConnection& connection, const std::vector<std::string>& statements) {
  for (const std::string& statement : statements) ExecuteSqlCmd(connection, statement);
}

std::unique_ptr<TZoReader> GetReader(TDBXConnection& connection, const std::string& sql) {
  auto reader = std::make_unique<TZoReader>(connection.CreateCommand());
  try {
    reader->Command().SetText(sql);
    reader->SetReader(reader->Command().ExecuteQuery());
  } catch (const std::exception& e) {
    throw Exception("Sentença inválida: " + sql + "\r\n" + e.what());
  }
  return reader;
}

std::unique_ptr<TDBXTransaction> StartTransaction(TDBXConnection& connection) {
  // The connection's transactions are read-committed.
  return connection.BeginTransaction();
}

void CommitTransaction(TDBXConnection& connection, std::unique_ptr<TDBXTransaction>& transaction) {
  connection.CommitFreeAndNil(transaction);
}

void RollbackTransaction(TDBXConnection& connection,
                         std::unique_ptr<TDBXTransaction>& transaction) {
  connection.RollbackFreeAndNil(transaction);
}

std::string IdArrayToStr(const std::vector<int32_t>& ids, char delimiter) {
  std::string text;
  for (size_t i = 0; i < ids.size(); ++i) {
    if (i > 0) text += delimiter;
    text += std::to_string(ids[i]);
  }
  return text;
}

}  // namespace zo
