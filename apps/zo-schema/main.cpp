// The schema tool of the demo application.

#include <zo/schematool/SchemaTool.h>
#include "examples/demo/DemoClasses.h"

int main(int argc, char** argv) {
  zo::schematool::SchemaToolApp app;
  app.moduleName = demo::kDemoModuleName;
  app.registerClasses = &demo::RegisterDemoClasses;
  app.classes = &demo::DemoTableClasses;
  return zo::schematool::RunSchemaTool(argc, argv, app);
}
