#include "apps/zo-schema/SchemaModel.h"

#include <algorithm>

#include <zo/core/Text.h>
#include <zo/core/User.h>
#include <zo/mapping/ServerClasses.h>
#include <zo/schema/DBScriptRunner.h>
#include <zo/server/UserPasswords.h>
#include <zo/server/UserRoles.h>

namespace zo::schematool {

std::unique_ptr<TModuleStruct> ExpectedStruct(const SchemaToolApp& app) {
  return TDataObjectInfoDB::GenerateDataBaseStruct(app.moduleHandle, app.moduleName, app.classes());
}

std::string CreationScript(const SchemaToolApp& app) {
  return TDataObjectInfoDB::GenerateScriptDataBase(*ExpectedStruct(app));
}

std::vector<std::string> ScriptLines(const std::string& script) {
  std::vector<std::string> lines = text::Split(script, '\n');
  for (auto& line : lines) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
  }
  return lines;
}

void BuildDatabase(const SchemaToolApp& app, const std::string& path) {
  TSQLScriptRunner runner;
  runner.setDatabaseFile(path);
  runner.createDataBase();
  // A new database has nothing a script could meet twice: every error is a real one and
  // stops the build at once, with no tolerance and no log.
  runner.IBScript().SetOnError(nullptr);
  runner.getSQLScript() = ScriptLines(CreationScript(app));
  runner.IBScript().ExecuteScript();
  if (app.seedScript) {
    runner.getSQLScript() = ScriptLines(app.seedScript());
    runner.IBScript().ExecuteScript();
  }
  if (HasUsersTable(app)) {
    EnsurePasswordColumn(runner.IBDataBase().Connection().DBXConnection());
    EnsureRoleColumn(runner.IBDataBase().Connection().DBXConnection());
  }
}

bool HasUsersTable(const SchemaToolApp& app) {
  const auto classes = app.classes();
  return std::find(classes.begin(), classes.end(), &TUser::StaticType()) != classes.end();
}

}  // namespace zo::schematool
