#include <zo/platform/script/IBDatabase.h>

#include <zo/core/Exceptions.h>
#include "platform/script/IBDatabaseParams.h"
#include <zo/platform/script/IBTransaction.h>

namespace zo {

TIBDatabase::TIBDatabase() = default;

TIBDatabase::~TIBDatabase() { Close(); }

void TIBDatabase::SetDatabaseName(std::string name) {
  if (Connected()) throw Exception("Banco de dados aberto: feche-o antes de trocar o nome");
  databaseName_ = std::move(name);
}

void TIBDatabase::CreateDatabase() {
  if (Connected()) throw Exception("Banco de dados já está aberto: " + databaseName_);
  if (databaseName_.empty()) throw Exception("Nome do banco de dados não informado");
  // The SQL layer speaks dialect 3 only; an older dialect would silently change the meaning
  // of double quotes and dates in every script.
  if (sqlDialect_ != 3) {
    throw Exception("Dialeto SQL não suportado: " + std::to_string(sqlDialect_));
  }
  const TCreateDatabaseOptions options = CreationOptions(params_);
  CreateDatabaseFile(databaseName_, options);
  Attach();
}

void TIBDatabase::Open() {
  if (Connected()) return;
  if (databaseName_.empty()) throw Exception("Nome do banco de dados não informado");
  Attach();
}

void TIBDatabase::Attach() {
  auto connection = std::make_unique<TSQLConnection>();
  connection->Params() = AttachParams(databaseName_, sqlDialect_, params_);
  connection->SetLoginPrompt(loginPrompt_);
  connection->Open();
  connection_ = std::move(connection);
}

void TIBDatabase::Close() noexcept {
  // Closing the attachment rolls back whatever transaction is still active on it; the
  // transaction components see their handles turn inactive.
  if (connection_) connection_->Close();
  connection_.reset();
}

bool TIBDatabase::Connected() const { return connection_ != nullptr && connection_->Connected(); }

void TIBDatabase::SetDefaultTransaction(TIBTransaction* transaction) {
  defaultTransaction_ = transaction;
  if (transaction != nullptr && transaction->DefaultDatabase() == nullptr) {
    transaction->SetDefaultDatabase(this);
  }
}

TSQLConnection& TIBDatabase::Connection() {
  if (!Connected()) throw Exception("Banco de dados não está aberto: " + databaseName_);
  return *connection_;
}

}  // namespace zo
