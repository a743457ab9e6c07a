#include <zo/schema/DBScriptRunner.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <fmt/printf.h>

#include <zo/platform/db/DatabaseError.h>

namespace zo {
namespace {

constexpr int kDialect = 3;
constexpr const char* kAdminUser = "SYSDBA";
constexpr const char* kAdminPassword = "pelicanos";

// An existing file opened for appending; the descriptor closes with the object.
class TAppendFile {
 public:
  explicit TAppendFile(const char* path) : fd_(::open(path, O_WRONLY | O_APPEND | O_CLOEXEC)) {
    // No O_CREAT: the log must have been made beforehand.
    if (fd_ < 0) Fail(path);
  }
  ~TAppendFile() {
    if (fd_ >= 0) ::close(fd_);
  }
  TAppendFile(const TAppendFile&) = delete;
  TAppendFile& operator=(const TAppendFile&) = delete;

  // One write call, unbuffered: the line is in the file before anything is raised.
  void WriteLine(const std::string& line) {
    const std::string data = line + "\n";
    if (::write(fd_, data.data(), data.size()) != static_cast<ssize_t>(data.size())) {
      Fail(kScriptErrorLogFile);
    }
  }

 private:
  [[noreturn]] static void Fail(const char* path) {
    const int code = errno;
    throw EInOutError(code, fmt::sprintf("I/O error %d: %s (%s)", code, path, std::strerror(code)));
  }

  int fd_;
};

// The rule is the two phrases (case-sensitive); the category makes sure a phrase is the
// database's verdict on the statement, and not part of a name or of some other failure's text.
bool IsTolerated(const std::string& error, const EDatabaseError* failure) {
  if (failure == nullptr) return false;
  switch (failure->Category()) {
    case DatabaseErrorCategory::UniqueViolation:
      return error.find("attempt to store duplicate value") != std::string::npos;
    case DatabaseErrorCategory::ObjectExists:
      return error.find("already exists") != std::string::npos;
    default:
      return false;
  }
}

}  // namespace

TSQLScriptRunner::TSQLScriptRunner()
    : fIBDataBase(std::make_unique<TIBDatabase>()), fIBScript(std::make_unique<TIBScript>()) {
  fIBDataBase->SetLoginPrompt(false);
  fIBDataBase->SetSQLDialect(kDialect);
  fIBDataBase->Params().clear();
  fIBDataBase->Params().push_back("user_name=sysdba");
  fIBDataBase->Params().push_back(std::string("password=") + kAdminPassword);
  fIBScript->SetOnParseError(
      [this](TObject* sender, const std::string& error, const std::string& sqlText, int lineIndex) {
        parseError(sender, error, sqlText, lineIndex);
      });
  fIBScript->SetOnError(
      [this](TObject* sender, const std::string& error, const std::string& sqlText, int lineIndex,
             bool& ignore) { OnScriptError(sender, error, sqlText, lineIndex, ignore); });
  fIBScript->SetOnParse([this](TObject* sender, TIBParseKind kind, const std::string& sqlText) {
    parse(sender, kind, sqlText);
  });
  fIBScript->SetDatabase(fIBDataBase.get());
  fIBScript->SetStatistics(false);
}

TSQLScriptRunner::~TSQLScriptRunner() {
  fIBScript.reset();
  fIBDataBase->Close();
  fIBDataBase.reset();
  fIBTransaction.reset();
}

void TSQLScriptRunner::createDataBase() {
  const std::string file = getDatabaseFile();
  // The file is about to be replaced: our own attachment to it must go first.
  fIBDataBase->Close();
  std::error_code ec;
  if (std::filesystem::exists(file, ec)) {
    if (!std::filesystem::remove(file, ec) && ec) {
      throw Exception("Não foi possível apagar " + file + ": " + ec.message());
    }
  }
  fIBDataBase->SetLoginPrompt(false);
  fIBDataBase->SetSQLDialect(kDialect);
  fIBDataBase->Params().clear();
  fIBDataBase->Params().push_back(fmt::sprintf("user \"%s\"", kAdminUser));
  fIBDataBase->Params().push_back(fmt::sprintf("password \"%s\"", kAdminPassword));
  fIBDataBase->CreateDatabase();
  fIBDataBase->SetDefaultTransaction(fIBTransaction.get());
}

std::unique_ptr<TSQLConnection> TSQLScriptRunner::newDataBase() const {
  auto connection = std::make_unique<TSQLConnection>();
  connection->SetLoginPrompt(false);
  connection->SetDriverName(kRunnerDriverName);
  connection->LoadParamsFromFile(kRunnerConnectionFile);
  return connection;
}

std::string TSQLScriptRunner::getDatabaseFile() const { return fIBDataBase->DatabaseName(); }

void TSQLScriptRunner::setDatabaseFile(const std::string& fileName) {
  fIBDataBase->SetDatabaseName(fileName);
}

std::vector<std::string>& TSQLScriptRunner::getSQLScript() { return fIBScript->Script(); }

void TSQLScriptRunner::parseError(TObject* /*sender*/, const std::string& error,
                                  const std::string& sqlText, int lineIndex) {
  throw Exception("Erro ao executar script: " + error + ". " + sqlText + ". Linha" +
                  std::to_string(lineIndex));
}

void TSQLScriptRunner::OnScriptError(TObject* sender, const std::string& error,
                                     const std::string& /*sqlText*/, int lineIndex, bool& ignore) {
  TAppendFile log(kScriptErrorLogFile);
  const auto* script = dynamic_cast<const TIBScript*>(sender);
  ignore = IsTolerated(error, script != nullptr ? script->ReportedError() : nullptr);
  log.WriteLine(fmt::sprintf("Erro: %s - Linha: %d - Ignorado: %s", error, lineIndex,
                             ignore ? "True" : "False"));
  // Raised while the log is still open; it closes as the exception leaves.
  if (!ignore) throw Exception(error);
}

void TSQLScriptRunner::setIBTransaction(std::unique_ptr<TIBTransaction> transaction) {
  // The database must not keep pointing at the transaction about to be freed.
  if (fIBDataBase->DefaultTransaction() == fIBTransaction.get()) {
    fIBDataBase->SetDefaultTransaction(nullptr);
  }
  fIBTransaction = std::move(transaction);
}

}  // namespace zo
