#include "tests/server/ServerTestSupport.h"

#include <zo/platform/db/DBXCommand.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/DBXReader.h>
#include "examples/demo/DemoClasses.h"

namespace zo::testing {
namespace fs = std::filesystem;

void PrintTo(const LogLine& line, std::ostream* os) {
  *os << "{\"" << line.text << "\", " << static_cast<int>(line.tipo) << ", " << line.erro << "}";
}

TRecordingModule::TRecordingModule(const TModuleCreateArgs& args) : TDemoServerModule(args) {
  OnModuleEvent = [this](TZoCustomServerModule&, TModuleEvent event) { events.push_back(event); };
}

void TRecordingModule::AddToDataBaseLog(const std::string& text, TTipoLogger tipo, int32_t erro) {
  log.push_back({text, tipo, erro});
}

ModuleTest::ModuleTest() {
  demo::RegisterDemoClasses();
  SetApplicationRoot(root_.Path().string());
}

ModuleTest::~ModuleTest() { SetApplicationRoot(""); }

void ModuleTest::WriteFile(const std::string& relative, const std::string& content) const {
  const fs::path path = Root() / relative;
  fs::create_directories(path.parent_path());
  WriteText(path, content);
}

void ModuleTest::WriteDefaultConf() const {
  WriteFile("conn.conf", "Database=" + db.Path() + "\nUser_Name=SYSDBA\nPassword=masterkey\n");
}

void ModuleTest::CopyDemoDatabase(const std::string& relative) const {
  const DemoDatabase fresh;
  const fs::path target = Root() / relative;
  fs::create_directories(target.parent_path());
  fs::copy_file(fresh.Path(), target);
}

std::unique_ptr<TRecordingModule> ModuleTest::MakeModule(const std::string& customer,
                                                         const std::string& user) {
  TZoServerClass serverClass;
  serverClass.SetModuleClass(ModuleClassOf<TRecordingModule>());
  TModuleCreateArgs args;
  args.customerID = customer;
  args.username = user;
  auto module = serverClass.CreateModule(args);
  return std::unique_ptr<TRecordingModule>(static_cast<TRecordingModule*>(module.release()));
}

nlohmann::json ObjectJson(const std::string& type, nlohmann::json fields) {
  return {{"type", type}, {"fields", std::move(fields)}};
}

}  // namespace zo::testing
