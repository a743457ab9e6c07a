#include <zo/platform/script/IBDatabase.h>

#include <zo/core/Exceptions.h>
#include "platform/script/IBDatabaseParams.h"
#include <zo/platform/script/IBTransaction.h>

namespace zo {

TIBDatabase::TIBDatabase() = default;

TIBDatabase::~TIBDatabase() { Close(); }

void TIBDatabase::SetDatabaseName(std::string name) {
  if (Connected()) throw Exception("Banco de dados aberto: feche-o antes de trocar o nome");
  fDatabaseName = std::move(name);
}

void TIBDatabase::CreateDatabase() {
  if (Connected()) throw Exception("Banco de dados já está aberto: " + fDatabaseName);
  if (fDatabaseName.empty()) throw Exception("Nome do banco de dados não informado");
  // The SQL layer speaks dialect 3 only; an older dialect would silently change the meaning
  // of double quotes and dates in every script.
  if (fSQLDialect != 3) {
    throw Exception("Dialeto SQL não suportado: " + std::to_string(fSQLDialect));
  }
  const TCreateDatabaseOptions options = CreationOptions(fParams);
  CreateDatabaseFile(fDatabaseName, options);
  Attach();
}

void TIBDatabase::Open() {
  if (Connected()) return;
  if (fDatabaseName.empty()) throw Exception("Nome do banco de dados não informado");
  Attach();
}

void TIBDatabase::Attach() {
  auto connection = std::make_unique<TSQLConnection>();
  connection->Params() = AttachParams(fDatabaseName, fSQLDialect, fParams);
  connection->SetLoginPrompt(fLoginPrompt);
  connection->Open();
  fConnection = std::move(connection);
}

void TIBDatabase::Close() noexcept {
  // Closing the attachment rolls back whatever transaction is still active on it; the
  // transaction components see their handles turn inactive.
  if (fConnection) fConnection->Close();
  fConnection.reset();
}

bool TIBDatabase::Connected() const { return fConnection != nullptr && fConnection->Connected(); }

void TIBDatabase::SetDefaultTransaction(TIBTransaction* transaction) {
  fDefaultTransaction = transaction;
  if (transaction != nullptr && transaction->DefaultDatabase() == nullptr) {
    transaction->SetDefaultDatabase(this);
  }
}

TSQLConnection& TIBDatabase::Connection() {
  if (!Connected()) throw Exception("Banco de dados não está aberto: " + fDatabaseName);
  return *fConnection;
}

}  // namespace zo
