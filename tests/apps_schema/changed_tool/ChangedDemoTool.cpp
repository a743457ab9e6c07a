// A test build of the demo's schema tool after a change of the demo classes (the schema
// tests' changed classes: a city column grew and one is new, products gained a reference, a
// class was added and the order items' class removed). It also seeds the database, as an
// application may.

#include <zo/schematool/SchemaTool.h>
#include "examples/demo/DemoClasses.h"
#include "tests/schema/SchemaTestClasses.h"

int main(int argc, char** argv) {
  zo::schematool::SchemaToolApp app;
  app.programName = "zo-schema-changed";
  app.moduleName = demo::kDemoModuleName;
  app.registerClasses = &schematest::RegisterSchemaTestClasses;
  app.classes = &schematest::ChangedDemoClasses;
  app.seedScript = [] {
    return std::string(
        "INSERT INTO CATEGORIAS (ID, NOME, LFT, RGT)\r\n"
        "  VALUES (NEXT VALUE FOR GEN_CATEGORIAS, 'Todas', 1, 2);\r\n");
  };
  return zo::schematool::RunSchemaTool(argc, argv, app);
}
