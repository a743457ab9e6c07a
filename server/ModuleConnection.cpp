#include <zo/server/ModuleConnection.h>

#include <zo/platform/db/SQLConnection.h>

namespace zo {
namespace {

constexpr const char* kDriverName = "FBConnection";

// A connection with the module's fixed settings, its parameters read from `configuration`.
std::unique_ptr<TSQLConnection> Configured(const std::string& configuration) {
  auto connection = std::make_unique<TSQLConnection>();
  connection->SetLoginPrompt(false);
  connection->SetDriverName(kDriverName);
  connection->SetBaseDirectory(TCustomerFiles::BaseDirectory());
  connection->LoadParamsFromFile(TCustomerFiles::Resolve(configuration));
  return connection;
}

}  // namespace

TModuleConnection::TModuleConnection() = default;
TModuleConnection::~TModuleConnection() = default;

std::unique_ptr<TSQLConnection> TModuleConnection::Create(const TCustomerFiles& files) {
  files.WriteConfigurationIfMissing();
  auto connection = Configured(files.ConfigurationFilename());
  if (!files.CustomerID().empty()) {
    connection->Params().SetValue("Database", files.DefaultDataBase());
  }
  return connection;
}

std::unique_ptr<TSQLConnection> TModuleConnection::CreateForDataBase(
    const TCustomerFiles& files, const std::string& dataBaseName) {
  auto connection = Configured(TCustomerFiles::DefaultConfiguration());
  connection->Params().SetValue("Database", files.DataBaseNamed(dataBaseName));
  return connection;
}

void TModuleConnection::Replace(std::unique_ptr<TSQLConnection> connection) {
  FConnection = std::move(connection);
}

void TModuleConnection::SwitchTo(std::unique_ptr<TSQLConnection> candidate) {
  candidate->Open();
  Close();
  FConnection = std::move(candidate);
}

void TModuleConnection::Close() noexcept {
  if (FConnection != nullptr) FConnection->Close();
}

std::string TModuleConnection::CurrentDataBase() const {
  return FConnection == nullptr ? std::string() : FConnection->Params().Values("Database");
}

}  // namespace zo
