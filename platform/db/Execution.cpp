#include "platform/db/Execution.h"

#include <algorithm>
#include <cctype>
#include <optional>

#include <zo/platform/db/DatabaseError.h>
#include "platform/db/Cursor.h"
#include "platform/db/LiteralLifting.h"
#include "platform/db/Session.h"
#include "platform/db/StatementText.h"

namespace zo::db {
namespace {

fb::Statement PrepareText(Session& session, Firebird::ITransaction* transaction,
                          const std::string& sql) {
  fb::Status status;
  return fb::Statement(session.Attachment()->prepare(
      status.Throwing(), transaction, static_cast<unsigned>(sql.size()), sql.c_str(),
      session.Dialect(), Firebird::IStatement::PREPARE_PREFETCH_METADATA));
}

// The text exactly as given, prepared for this execution only: errors name what the caller
// wrote.
PreparedStatement PrepareAsGiven(Session& session, Firebird::ITransaction* transaction,
                                 const std::string& sql) {
  try {
    return PreparedStatement{PrepareText(session, transaction, sql), {}, {}, {}, {}, false};
  } catch (const EDatabaseError& e) {
    throw EDatabaseError(WithTrueEndPosition(e.what(), sql), e);
  }
}

// A data statement with its literals lifted runs a kept prepared statement with the values as
// parameters; anything the lifting or the parameters' description cannot vouch for runs as
// given (see LiteralLifting.h and StatementInput.h).
PreparedStatement Prepare(Session& session, Firebird::ITransaction* transaction,
                          const std::string& sql) {
  CheckStatementText(sql);
  StatementAnalysis analysis = AnalyzeStatement(sql, session.KeepsStatements());
  if (analysis.kind == StatementKind::MetadataChanging) {
    session.MetadataChanging();
  }
  std::optional<LiftedStatement>& lifted = analysis.lifted;
  if (!lifted) {
    return PrepareAsGiven(session, transaction, sql);
  }
  StatementCache& cache = session.Statements();
  bool found = false;
  StatementCache::Entry entry = cache.Take(lifted->text, found);
  if (!found) {
    try {
      entry.statement = PrepareText(session, transaction, lifted->text);
      entry.input = std::make_shared<const StatementInput>(entry.statement.get());
    } catch (const EDatabaseError&) {
      entry = {};  // remembered as not preparing; the text as given tells the caller why
    }
  }
  if (!entry.statement || !entry.input->Accepts(lifted->literals)) {
    cache.Give(lifted->text, std::move(entry));
    return PrepareAsGiven(session, transaction, sql);
  }
  entry.input->Encode(lifted->literals, entry.message);
  return PreparedStatement{std::move(entry.statement), std::move(lifted->text),
                           std::move(entry.input),     std::move(entry.message),
                           std::move(entry.output),    found};
}

// Errors a kept statement gets when the metadata it was prepared against has changed.
bool IsMetadataError(const EDatabaseError& e) {
  switch (e.GdsCode()) {
    case isc_dsql_error:
    case isc_obsolete_metadata:
    case isc_no_meta_update:
    case isc_dsql_relation_err:
    case isc_dsql_field_err:
    case isc_dsql_procedure_err:
      return true;
    default:
      return false;
  }
}

// Prepares `sql` and hands it to `run`. A kept statement that fails on changed metadata is
// prepared once more. A lifted statement that fails otherwise runs again as given, so the
// caller sees the error of the text it wrote (a value converted into a parameter is reported
// differently from the same value as a literal). A failed statement has no effect, so running
// it again is safe; only lock waits are not repeated.
template <class Run>
auto WithStatement(Session& session, Firebird::ITransaction* transaction, const std::string& sql,
                   Run run) {
  for (int attempt = 0;; ++attempt) {
    PreparedStatement prepared = Prepare(session, transaction, sql);
    const bool lifted = !prepared.cacheKey.empty();
    const bool reused = prepared.reused;
    try {
      return run(prepared);
    } catch (const EDatabaseError& e) {
      // Lock waits: running the statement again would wait as long again.
      if (!lifted || e.Category() == DatabaseErrorCategory::LockConflict) throw;
      if (reused && attempt == 0 && IsMetadataError(e)) {
        session.Statements().Clear();
        continue;
      }
    }
    PreparedStatement asGiven = PrepareAsGiven(session, transaction, sql);
    return run(asGiven);
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
bool HasCursor(Firebird::IStatement* statement, const std::string& sql) {
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
void ExecuteDiscarding(PreparedStatement& prepared, Firebird::ITransaction* transaction,
                       const std::string& sql) {
  fb::Status status;
  auto* s = status.Throwing();
  Firebird::IStatement* const statement = prepared.statement.get();
  if (HasCursor(statement, sql)) {
    fb::ResultSet rows(statement->openCursor(s, transaction, prepared.InputMetadata(),
                                             prepared.InputMessage(), nullptr, 0));
    rows.EndWith([](Firebird::IResultSet* r, fb::ThrowStatus* st) { r->close(st); });
    return;
  }
  statement->execute(s, transaction, prepared.InputMetadata(), prepared.InputMessage(), nullptr,
                     nullptr);
}

}  // namespace

std::unique_ptr<Cursor> RunQuery(const std::shared_ptr<Session>& session, const std::string& sql) {
  session->Trace(sql);
  Firebird::ITransaction* const active = session->ExplicitTransaction();
  Firebird::ITransaction* const prepareIn = active ? active : session->ReadTransaction();
  return WithStatement(*session, prepareIn, sql, [&](PreparedStatement& prepared) {
    const bool hasCursor = HasCursor(prepared.statement.get(), sql);
    if (active || hasCursor) {
      return std::make_unique<Cursor>(session, std::move(prepared), prepareIn, hasCursor);
    }
    // EXECUTE PROCEDURE or ... RETURNING outside a transaction: auto-commit. Its one row is
    // already in the cursor's buffer when the commit happens.
    fb::Transaction autoCommit = session->StartWriteTransaction();
    auto cursor = std::make_unique<Cursor>(session, std::move(prepared), autoCommit.get(), false);
    session->EndCursors(autoCommit.get(), "The statement's transaction has ended");
    Commit(autoCommit);
    return cursor;
  });
}

std::int64_t RunUpdate(Session& session, const std::string& sql, bool countRows) {
  session.Trace(sql);
  Firebird::ITransaction* const active = session.ExplicitTransaction();
  fb::Transaction autoCommit;
  if (!active) {
    autoCommit = session.StartWriteTransaction();
  }
  Firebird::ITransaction* const transaction = active ? active : autoCommit.get();
  const std::int64_t changed =
      WithStatement(session, transaction, sql, [&](PreparedStatement& prepared) {
        ExecuteDiscarding(prepared, transaction, sql);
        std::int64_t rows = -1;
        if (countRows) {
          fb::Status status;
          rows =
              static_cast<std::int64_t>(prepared.statement->getAffectedRecords(status.Throwing()));
        }
        session.Statements().Return(prepared);
        return rows;
      });
  if (autoCommit) {
    Commit(autoCommit);
  }
  return changed;
}

}  // namespace zo::db
