// library-schema: the schema tool with the lending library's classes (creates and migrates
// databases, provisions customers).
#include <zo/schematool/SchemaTool.h>

#include "LibraryClasses.h"

int main(int argc, char** argv) {
  zo::schematool::SchemaToolApp app;
  app.programName = "library-schema";
  app.moduleName = library::kLibraryModuleName;
  app.registerClasses = &library::RegisterLibraryClasses;
  app.classes = &library::LibraryTableClasses;
  return zo::schematool::RunSchemaTool(argc, argv, app);
}
