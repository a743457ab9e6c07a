#include <zo/platform/script/IBTransaction.h>

#include <zo/core/Exceptions.h>
#include <zo/platform/script/IBDatabase.h>

namespace zo {

// The handle rolls its level back when it goes while still active.
TIBTransaction::~TIBTransaction() = default;

void TIBTransaction::SetDefaultDatabase(TIBDatabase* database) {
  if (InTransaction()) throw Exception("Transação ativa: o banco de dados não pode ser trocado");
  fDefaultDatabase = database;
}

bool TIBTransaction::InTransaction() const { return fHandle != nullptr && fHandle->Active(); }

void TIBTransaction::StartTransaction() {
  if (InTransaction()) throw Exception("Transação já está ativa");
  fHandle = Database().Connection().DBXConnection().BeginTransaction();
}

void TIBTransaction::Commit() {
  if (!InTransaction()) throw Exception("Nenhuma transação ativa");
  Database().Connection().DBXConnection().CommitFreeAndNil(fHandle);
}

void TIBTransaction::Rollback() {
  if (!InTransaction()) throw Exception("Nenhuma transação ativa");
  Database().Connection().DBXConnection().RollbackFreeAndNil(fHandle);
}

TIBDatabase& TIBTransaction::Database() const {
  if (fDefaultDatabase == nullptr) throw Exception("Transação sem banco de dados");
  return *fDefaultDatabase;
}

}  // namespace zo
