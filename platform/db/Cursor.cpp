#include "platform/db/Cursor.h"

#include <zo/core/Exceptions.h>
#include "platform/db/BlobRead.h"
#include "platform/db/Session.h"

namespace zo::db {

Cursor::Cursor(std::shared_ptr<Session> session, PreparedStatement statement,
               Firebird::ITransaction* transaction, bool hasCursor)
    : session_(std::move(session)),
      transaction_(fb::Ref<Firebird::ITransaction>::Share(transaction)),
      statement_(std::move(statement)) {
  fb::Status status;
  auto* s = status.Throwing();
  Firebird::IStatement* const st = statement_.statement.get();
  if (!statement_.output) {
    statement_.output = std::make_shared<const ColumnLayout>(st);
  }
  layout_ = statement_.output;
  Firebird::IMessageMetadata* const metadata = layout_->Metadata();
  row_.resize(layout_->MessageLength());
  if (hasCursor) {
    resultSet_ = fb::ResultSet(st->openCursor(s, transaction, statement_.InputMetadata(),
                                              statement_.InputMessage(), metadata, 0));
    position_ = Position::BeforeRows;
  } else if (!layout_->Columns().empty()) {
    st->execute(s, transaction, statement_.InputMetadata(), statement_.InputMessage(), metadata,
                row_.data());
    position_ = Position::BeforeSingleRow;
  } else {
    st->execute(s, transaction, statement_.InputMetadata(), statement_.InputMessage(), nullptr,
                nullptr);
  }
  session_->Register(this);
}

Cursor::~Cursor() {
  session_->Unregister(this);
  Close();
}

bool Cursor::Next() {
  switch (position_) {
    case Position::BeforeSingleRow:
      position_ = Position::OnSingleRow;
      return true;
    case Position::OnSingleRow:
      position_ = Position::AfterRows;
      return false;
    case Position::BeforeRows:
    case Position::OnRow: {
      if (!resultSet_) {
        throw Exception(endedBecause_ ? endedBecause_ : "The reader is closed");
      }
      fb::Status status;
      if (resultSet_->fetchNext(status.Throwing(), row_.data()) == Firebird::IStatus::RESULT_OK) {
        position_ = Position::OnRow;
        return true;
      }
      // Done: give the engine its cursor back now rather than when the reader goes.
      position_ = Position::AfterRows;
      resultSet_.EndWith([](Firebird::IResultSet* r, fb::ThrowStatus* st) { r->close(st); });
      return false;
    }
    case Position::AfterRows:
      return false;
  }
  return false;
}

void Cursor::End(const char* reason) noexcept {
  endedBecause_ = reason;
  resultSet_.Reset();
  if (statement_.statement) {
    session_->Statements().Return(statement_);
  }
  transaction_.Reset();
}

void Cursor::Close() noexcept {
  position_ = Position::AfterRows;
  End("The reader is closed");
}

FieldValue Cursor::Field(int column) const {
  if (position_ != Position::OnRow && position_ != Position::OnSingleRow) {
    throw Exception("The reader has no current row");
  }
  return Decode(layout_->Columns()[static_cast<std::size_t>(column)], row_.data());
}

std::string Cursor::ReadBlob(const FieldValue& value) const {
  if (!transaction_) {
    throw Exception(endedBecause_ ? endedBecause_ : "The reader is closed");
  }
  return db::ReadBlob(session_->Attachment(), transaction_.get(), value.blobId);
}

}  // namespace zo::db
