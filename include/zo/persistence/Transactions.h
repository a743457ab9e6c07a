#pragma once

#include <zo/Export.h>

// Running statements as given, and bracketing work in transactions.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <zo/mapping/ZoReader.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/DBXTransaction.h>

namespace zo {

// A database failure stays an EDatabaseError (its codes kept) with the statement appended.
ZO_EXPORT void ExecuteSqlCmd(TDBXConnection& connection, const std::string& statement);
// Every line in order, empty ones included; the first failure stops the run.
ZO_EXPORT void ExecuteSqlCmd(TDBXConnection& connection, const std::vector<std::string>& statements);
// Runs `sql` for its rows; the caller owns the result.
ZO_EXPORT std::unique_ptr<TZoReader> GetReader(TDBXConnection& connection, const std::string& sql);
ZO_EXPORT std::unique_ptr<TDBXTransaction> StartTransaction(TDBXConnection& connection);
// Both end the transaction and reset the handle.
ZO_EXPORT void CommitTransaction(TDBXConnection& connection, std::unique_ptr<TDBXTransaction>& transaction);
ZO_EXPORT void RollbackTransaction(TDBXConnection& connection, std::unique_ptr<TDBXTransaction>& transaction);
// The identifiers in order, joined by the delimiter.
ZO_EXPORT std::string IdArrayToStr(const std::vector<int32_t>& ids, char delimiter);

}  // namespace zo
