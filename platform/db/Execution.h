#pragma once

// Internal to platform/db: running a statement text under the session's transaction rules.

#include <cstdint>
#include <memory>
#include <string>

namespace zo::db {

class Cursor;
class Session;

// Prepares and runs `sql` for its rows. Inside an explicit transaction it runs there; otherwise
// a SELECT runs in the session's read-only transaction and anything else in a read-write
// transaction committed before this returns.
std::unique_ptr<Cursor> RunQuery(const std::shared_ptr<Session>& session, const std::string& sql);

// Prepares and runs any statement (DML, DDL, EXECUTE BLOCK, ...); rows it returns are
// discarded. Inside an explicit transaction it runs there; otherwise in a read-write
// transaction committed before this returns. Returns the number of rows it inserted, updated
// or deleted when `countRows`, else -1.
std::int64_t RunUpdate(Session& session, const std::string& sql, bool countRows);

}  // namespace zo::db
