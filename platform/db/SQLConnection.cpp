#include <zo/platform/db/SQLConnection.h>

#include <zo/core/Exceptions.h>
#include "platform/db/ConnectOptions.h"
#include "platform/db/Session.h"

namespace zo {

TSQLConnection::TSQLConnection() = default;

TSQLConnection::~TSQLConnection() { Close(); }

void TSQLConnection::Open() {
  if (Connected()) {
    return;
  }
  auto session = std::make_shared<db::Session>(db::BuildConnectOptions(params_, baseDirectory_));
  session->SetTrace(trace_);
  dbx_.session_ = std::move(session);
}

void TSQLConnection::Close() noexcept {
  if (dbx_.session_) {
    // Commands, readers and handles may still hold the session: close it explicitly so the
    // attachment ends now, not when the last of them goes.
    dbx_.session_->Close();
    dbx_.session_.reset();
  }
}

bool TSQLConnection::Connected() const { return dbx_.IsOpen(); }

void TSQLConnection::SetConnected(bool connected) {
  if (connected) {
    Open();
  } else {
    Close();
  }
}

TDBXConnection& TSQLConnection::DBXConnection() {
  if (!Connected()) {
    throw Exception("The database connection is not open");
  }
  return dbx_;
}

void TSQLConnection::SetTrace(TraceFn trace) {
  trace_ = std::move(trace);
  if (dbx_.session_) {
    dbx_.session_->SetTrace(trace_);
  }
}

}  // namespace zo
