#pragma once

#include <functional>
#include <string>
#include <vector>

#include <zo/core/Rtti.h>
#include <zo/core/TextResources.h>

namespace zo::schematool {

// What the schema tool needs to know of an application: its data classes and how to define
// them. An application links the tool's library and calls RunSchemaTool from its own main.
//
//   int main(int argc, char** argv) {
//     zo::schematool::SchemaToolApp app;
//     app.moduleName = "APP";
//     app.registerClasses = &app::RegisterClasses;
//     app.classes = &app::TableClasses;
//     return zo::schematool::RunSchemaTool(argc, argv, app);
//   }
struct SchemaToolApp {
  std::string programName = "zo-schema";
  // The module name of the schema (foreign-key names start with its first letters).
  std::string moduleName;
  // Defines the data classes; called once before any command.
  std::function<void()> registerClasses;
  // The classes that have tables, in creation order.
  std::function<std::vector<TDataObjectClass>()> classes;
  // Optional: statements run on every new database after its creation script (rows the
  // application cannot start without). Empty when not set.
  std::function<std::string()> seedScript;
  // The module whose text resources the classes' data scripts come from.
  THandle moduleHandle = HInstance;
};

// Exit codes.
inline constexpr int kExitOk = 0;
inline constexpr int kExitUsage = 1;    // bad command line: nothing was done
inline constexpr int kExitFailure = 2;  // the command failed or refused to go on

// Runs the command given on the command line; returns the process exit code. Output goes to
// stdout, messages and progress to stderr.
int RunSchemaTool(int argc, char** argv, const SchemaToolApp& app);

}  // namespace zo::schematool
