#include <zo/platform/db/DBXCommand.h>

#include <zo/core/Exceptions.h>
#include "platform/db/Cursor.h"
#include "platform/db/Execution.h"
#include "platform/db/Session.h"

namespace zo {
namespace {

void RequireText(const std::string& text) {
  if (text.empty()) {
    throw Exception("The command has no SQL text");
  }
}

}  // namespace

TDBXCommand::TDBXCommand(std::shared_ptr<db::Session> session) : session_(std::move(session)) {}

TDBXCommand::~TDBXCommand() = default;

std::unique_ptr<TDBXReader> TDBXCommand::ExecuteQuery() {
  RequireText(text_);
  return std::make_unique<TDBXReader>(db::RunQuery(session_, text_));
}

void TDBXCommand::ExecuteUpdate() {
  RequireText(text_);
  db::RunUpdate(*session_, text_, false);
}

std::int64_t TDBXCommand::ExecuteUpdateCountingRows() {
  RequireText(text_);
  return db::RunUpdate(*session_, text_, true);
}

}  // namespace zo
