#pragma once

#include <zo/Export.h>

#include <cstdint>
#include <memory>
#include <string>

#include <zo/platform/db/DBXReader.h>

namespace zo {

namespace db {
class Session;
}

// A statement text and its execution. The text runs exactly as given: values are written into
// it as literals, there are no bound parameters. It is prepared anew on each execution.
class ZO_EXPORT TDBXCommand {
 public:
  explicit TDBXCommand(std::shared_ptr<db::Session> session);
  ~TDBXCommand();
  TDBXCommand(const TDBXCommand&) = delete;
  TDBXCommand& operator=(const TDBXCommand&) = delete;

  void SetText(std::string text) { text_ = std::move(text); }
  const std::string& Text() const { return text_; }

  // Runs the text and returns its rows (a SELECT's result set; the single row of EXECUTE
  // PROCEDURE or ... RETURNING; no rows for anything else).
  std::unique_ptr<TDBXReader> ExecuteQuery();
  // Runs any statement, DDL and EXECUTE BLOCK included; rows it returns are discarded.
  void ExecuteUpdate();
  // The same, returning the number of rows inserted, updated or deleted. Kept apart because
  // the count is one more engine call (a round trip to a server), about 8% of an INSERT.
  std::int64_t ExecuteUpdateCountingRows();

  // Nothing stays prepared between executions (a prepared statement would keep its tables
  // "in use" for DDL), so there is nothing to release; kept for the familiar shape.
  void Close() {}

 private:
  std::shared_ptr<db::Session> session_;
  std::string text_;
};

}  // namespace zo
