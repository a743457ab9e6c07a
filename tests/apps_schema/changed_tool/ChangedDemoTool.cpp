// A test build of the demo's schema tool after a change of the demo classes: the cities get
// a new column (TCidade gains DDD) and a new class brings a new table (TFornecedor). It also
// seeds the database, as an application may.

#include <zo/schematool/SchemaTool.h>
#include <zo/core/ClassBuilder.h>
#include "examples/demo/DemoClasses.h"

namespace changed {

class TCidade : public zo::TBaseDataObject {
  ZO_DATA_CLASS(TCidade, zo::TBaseDataObject)
 public:
  std::string Nome;
  std::string UF;
  int64_t CodigoIBGE = 0;
  std::string DDD;
};

class TFornecedor : public zo::TBaseDataObject {
  ZO_DATA_CLASS(TFornecedor, zo::TBaseDataObject)
 public:
  std::string Nome;
  std::unique_ptr<demo::TCidade> Cidade;
};

void RegisterClasses() {
  using zo::Annotation;
  demo::RegisterDemoClasses();
  zo::DefineClass<TCidade>("ChangedDemoClasses", Annotation("CIDADES"))
      .Key("ID")
      .Prop("Nome", &TCidade::Nome, Annotation("NOME").Size(60).Required())
      .Prop("UF", &TCidade::UF, Annotation("UF").Size(2).Required())
      .Prop("CodigoIBGE", &TCidade::CodigoIBGE, Annotation("COD_IBGE"))
      .Prop("DDD", &TCidade::DDD, Annotation("DDD").Size(3));
  zo::DefineClass<TFornecedor>("ChangedDemoClasses", Annotation("FORNECEDORES"))
      .Key("ID")
      .Prop("Nome", &TFornecedor::Nome, Annotation("NOME").Size(100).Required())
      .Prop("Cidade", &TFornecedor::Cidade, Annotation("CIDADE_ID"));
}

std::vector<zo::TDataObjectClass> TableClasses() {
  std::vector<zo::TDataObjectClass> classes;
  for (const auto cls : demo::DemoTableClasses()) {
    classes.push_back(cls == &demo::TCidade::StaticType() ? &TCidade::StaticType() : cls);
  }
  classes.push_back(&TFornecedor::StaticType());
  return classes;
}

}  // namespace changed

int main(int argc, char** argv) {
  zo::schematool::SchemaToolApp app;
  app.programName = "zo-schema-changed";
  app.moduleName = demo::kDemoModuleName;
  app.registerClasses = &changed::RegisterClasses;
  app.classes = &changed::TableClasses;
  app.seedScript = [] {
    return std::string(
        "INSERT INTO CATEGORIAS (ID, NOME, LFT, RGT)\r\n"
        "  VALUES (NEXT VALUE FOR GEN_CATEGORIAS, 'Todas', 1, 2);\r\n");
  };
  return zo::schematool::RunSchemaTool(argc, argv, app);
}
