#include <zo/platform/script/IBTransaction.h>

#include <zo/core/Exceptions.h>
#include <zo/platform/script/IBDatabase.h>

namespace zo {

// The handle rolls its level back when it goes while still active.
TIBTransaction::~TIBTransaction() = default;

void TIBTransaction::SetDefaultDatabase(TIBDatabase* database) {
  if (InTransaction()) throw Exception("Transação ativa: o banco de dados não pode ser trocado");
  defaultDatabase_ = database;
}

bool TIBTransaction::InTransaction() const { return handle_ != nullptr && handle_->Active(); }

void TIBTransaction::StartTransaction() {
  if (InTransaction()) throw Exception("Transação já está ativa");
  handle_ = Database().Connection().DBXConnection().BeginTransaction();
}

void TIBTransaction::Commit() {
  if (!InTransaction()) throw Exception("Nenhuma transação ativa");
  Database().Connection().DBXConnection().CommitFreeAndNil(handle_);
}

void TIBTransaction::Rollback() {
  if (!InTransaction()) throw Exception("Nenhuma transação ativa");
  Database().Connection().DBXConnection().RollbackFreeAndNil(handle_);
}

TIBDatabase& TIBTransaction::Database() const {
  if (defaultDatabase_ == nullptr) throw Exception("Transação sem banco de dados");
  return *defaultDatabase_;
}

}  // namespace zo
