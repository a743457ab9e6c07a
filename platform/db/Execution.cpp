#include "platform/db/Execution.h"

#include <algorithm>
#include <cctype>

#include "platform/db/Cursor.h"
#include "platform/db/Session.h"
#include "platform/db/StatementText.h"
#include <zo/platform/db/DatabaseError.h>

namespace zo::db {
namespace {

// Prepared per execution: Firebird 3 keeps no statement cache and the texts carry their
// values inline, so a prepared statement would rarely be reused.
fb::Statement Prepare(Session& session, Firebird::ITransaction* transaction,
                      const std::string& sql) {
  CheckStatementText(sql);
  fb::Status status;
  try {
    return fb::Statement(session.Attachment()->prepare(
        status.Throwing(), transaction, static_cast<unsigned>(sql.size()), sql.c_str(),
        session.Dialect(), Firebird::IStatement::PREPARE_PREFETCH_METADATA));
  } catch (const EDatabaseError& e) {
    throw EDatabaseError(WithTrueEndPosition(e.what(), sql), e.ErrorCode());
  }
}

std::string FirstWord(const std::string& sql) {
  const auto isWordChar = [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
  };
  auto it = std::find_if_not(sql.begin(), sql.end(),
                             [](char c) { return std::isspace(static_cast<unsigned char>(c)); });
  std::string word;
  for (; it != sql.end() && isWordChar(*it); ++it) {
    word += static_cast<char>(std::toupper(static_cast<unsigned char>(*it)));
  }
  return word;
}

// Whether the statement returns rows through a cursor (a SELECT, a selectable EXECUTE BLOCK).
// Firebird knows, but asking costs an engine call of about a microsecond on the embedded
// engine, several percent of a key lookup; so texts whose first word settles it are not
// asked about. Anything else (EXECUTE, a leading comment, ...) is.
bool HasCursor(fb::Statement& statement, const std::string& sql) {
  const std::string first = FirstWord(sql);
  if (first == "SELECT" || first == "WITH") {
    return true;
  }
  if (first == "INSERT" || first == "UPDATE" || first == "DELETE" || first == "MERGE") {
    return false;  // with RETURNING these give one row, without a cursor
  }
  fb::Status status;
  return statement->getFlags(status.Throwing()) & Firebird::IStatement::FLAG_HAS_CURSOR;
}

void Commit(fb::Transaction& transaction) {
  transaction.EndWith([](Firebird::ITransaction* t, fb::ThrowStatus* s) { t->commit(s); });
}

// Runs the statement and throws away whatever it returns. Without output metadata Firebird
// still executes a statement that has output (EXECUTE PROCEDURE, RETURNING) and drops it.
void ExecuteDiscarding(fb::Statement& statement, Firebird::ITransaction* transaction,
                       const std::string& sql) {
  fb::Status status;
  auto* s = status.Throwing();
  if (HasCursor(statement, sql)) {
    fb::ResultSet rows(statement->openCursor(s, transaction, nullptr, nullptr, nullptr, 0));
    rows.EndWith([](Firebird::IResultSet* r, fb::ThrowStatus* st) { r->close(st); });
    return;
  }
  statement->execute(s, transaction, nullptr, nullptr, nullptr, nullptr);
}

}  // namespace

std::unique_ptr<Cursor> RunQuery(const std::shared_ptr<Session>& session, const std::string& sql) {
  session->Trace(sql);
  Firebird::ITransaction* const active = session->ExplicitTransaction();
  Firebird::ITransaction* const prepareIn = active ? active : session->ReadTransaction();
  fb::Statement statement = Prepare(*session, prepareIn, sql);
  const bool hasCursor = HasCursor(statement, sql);
  if (active || hasCursor) {
    return std::make_unique<Cursor>(session, std::move(statement), prepareIn, hasCursor);
  }
  // EXECUTE PROCEDURE or ... RETURNING outside a transaction: auto-commit. Its one row is
  // already in the cursor's buffer when the commit happens.
  fb::Transaction autoCommit = session->StartWriteTransaction();
  auto cursor = std::make_unique<Cursor>(session, std::move(statement), autoCommit.get(), false);
  session->EndCursors(autoCommit.get(), "The statement's transaction has ended");
  Commit(autoCommit);
  return cursor;
}

std::int64_t RunUpdate(Session& session, const std::string& sql, bool countRows) {
  session.Trace(sql);
  Firebird::ITransaction* const active = session.ExplicitTransaction();
  fb::Transaction autoCommit;
  if (!active) {
    autoCommit = session.StartWriteTransaction();
  }
  Firebird::ITransaction* const transaction = active ? active : autoCommit.get();
  fb::Statement statement = Prepare(session, transaction, sql);
  ExecuteDiscarding(statement, transaction, sql);
  std::int64_t changed = -1;
  if (countRows) {
    fb::Status status;
    changed = static_cast<std::int64_t>(statement->getAffectedRecords(status.Throwing()));
  }
  statement.Reset();
  if (autoCommit) {
    Commit(autoCommit);
  }
  return changed;
}

}  // namespace zo::db
