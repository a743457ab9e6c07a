#include <zo/server/CustomerFiles.h>

#include <filesystem>
#include <mutex>

#include <zo/platform/db/ConnectionParams.h>

namespace zo {
namespace fs = std::filesystem;
namespace {

constexpr const char* kDefaultConfiguration = "conn.conf";
constexpr const char* kDataBaseFileName = "ZO.FDB";

struct RootSetting {
  std::mutex mutex;
  std::string root;
};

RootSetting& TheRoot() {
  static RootSetting setting;
  return setting;
}

// The root set at start-up; empty when none was.
std::string ConfiguredRoot() {
  auto& s = TheRoot();
  std::lock_guard lock(s.mutex);
  return s.root;
}

}  // namespace

void SetApplicationRoot(const std::string& root) {
  auto& s = TheRoot();
  std::lock_guard lock(s.mutex);
  s.root = root;
}

std::string ApplicationRoot() {
  const std::string root = ConfiguredRoot();
  return root.empty() ? fs::current_path().string() : root;
}

const char* TCustomerFiles::DefaultConfiguration() { return kDefaultConfiguration; }

std::string TCustomerFiles::Dir() const {
  if (FCustomerID.empty()) return {};
  return (fs::path("CustomersDB") / FCustomerID).string();
}

std::string TCustomerFiles::ConfigurationFilename() const {
  if (FCustomerID.empty()) return kDefaultConfiguration;
  return (fs::path(Dir()) / "conn.conf").string();
}

std::string TCustomerFiles::DefaultDataBase() const {
  return (fs::path(Dir()) / kDataBaseFileName).string();
}

std::string TCustomerFiles::DataBaseNamed(const std::string& name) const {
  return (fs::path(Dir()) / fs::path(name).filename()).string();
}

void TCustomerFiles::WriteConfigurationIfMissing() const {
  if (FCustomerID.empty()) return;
  const std::string path = Resolve(ConfigurationFilename());
  if (fs::exists(path)) return;
  TConnectionParams params;
  params.LoadFromFile(Resolve(kDefaultConfiguration));
  params.SetValue("Database", DefaultDataBase());
  params.SaveToFile(path);
}

std::string TCustomerFiles::Resolve(const std::string& path) {
  // Without a root set, a relative path is left to the current directory, which is the root.
  const std::string root = ConfiguredRoot();
  if (root.empty() || path.empty() || fs::path(path).is_absolute()) return path;
  return (fs::path(root) / path).string();
}

std::string TCustomerFiles::BaseDirectory() { return ConfiguredRoot(); }

}  // namespace zo
