#include "tests/schema/SchemaTestClasses.h"

#include <mutex>

#include <zo/core/ClassBuilder.h>
#include <zo/core/User.h>

namespace schematest {

using zo::Annotation;
using zo::DefineClass;
using zo::TPropertySkill;

namespace {

void DefineGeneratorClasses() {
  DefineClass<TGenRef>("SchemaTest", Annotation("REFS"))
      .Key("ID")
      .Prop("Nome", &TGenRef::Nome, Annotation("NOME").Size(40));
  DefineClass<TGenEndereco>("SchemaTest")
      .Key("ID")
      .Prop("Rua", &TGenEndereco::Rua, Annotation("RUA").Size(80).Required())
      .Prop("Numero", &TGenEndereco::Numero, Annotation("NUMERO").Required())
      .Prop("Cidade", &TGenEndereco::Cidade, Annotation("CIDADE_ID"));
  DefineClass<TGenOnlyEmbedded>("SchemaTest", Annotation("SO_ENDERECO"))
      .Key("ID")
      .Prop("Endereco", &TGenOnlyEmbedded::Endereco,
            Annotation("END").Skill(TPropertySkill::psEmbedded).Host<TGenOnlyEmbedded>());
  DefineClass<TGenTwoRefs>("SchemaTest", Annotation("T"))
      .Key("ID")
      .Prop("A", &TGenTwoRefs::A, Annotation("A_ID"))
      .Prop("B", &TGenTwoRefs::B, Annotation("B_ID").References<TGenRef>());
  DefineClass<TGenTwoRefsPlus>("SchemaTest", Annotation("T").Skill(TPropertySkill::psEmbedded))
      .Prop("Obs", &TGenTwoRefsPlus::Obs, Annotation("OBS").Size(20));
  DefineClass<TGenLongName>("SchemaTest", Annotation(kLongTableName))
      .Key("ID")
      .Prop("Pai", &TGenLongName::Pai, Annotation("PAI_ID"))
      .Prop("CodigoDeBarras", &TGenLongName::CodigoDeBarras,
            Annotation("CODIGO_DE_BARRAS_LONGO").Size(30).Skill(TPropertySkill::psUnique));
  DefineClass<TGenPrefixed>("SchemaTest", Annotation("PREFIXADA"))
      .TablePrefix("XX_")
      .Key("ID")
      .Prop("Ref", &TGenPrefixed::Ref, Annotation("REF_ID"));
  DefineClass<TGenBrokenRef>("SchemaTest", Annotation("QUEBRADA"))
      .Key("ID")
      .Prop("Broken", &TGenBrokenRef::Broken, Annotation("BROKEN_ID"));
  DefineClass<TGenPercentRef>("SchemaTest", Annotation("PERCENTUAL"))
      .Key("ID")
      .Prop("Taxa%%", &TGenPercentRef::Broken, Annotation("TAXA_ID"));
  DefineClass<TGenPercentBad>("SchemaTest", Annotation("MARGEM"))
      .Key("ID")
      .Prop("Margem%", &TGenPercentBad::Broken, Annotation("MARGEM_ID"));
}

void DefineChangedDemoClasses() {
  DefineClass<TCidadeV2>("SchemaTest", Annotation("CIDADES"))
      .Key("ID")
      .Prop("Nome", &TCidadeV2::Nome, Annotation("NOME").Size(80).Required())
      .Prop("UF", &TCidadeV2::UF, Annotation("UF").Size(1).Required())
      .Prop("CodigoIBGE", &TCidadeV2::CodigoIBGE, Annotation("COD_IBGE"))
      .Prop("Populacao", &TCidadeV2::Populacao, Annotation("POPULACAO"));
  DefineClass<TProdutoV2>("SchemaTest", Annotation("PRODUTOS"))
      .Prop("Origem", &TProdutoV2::Origem, Annotation("ORIGEM_ID"));
  DefineClass<TFornecedor>("SchemaTest", Annotation("FORNECEDORES_INTERNACIONAIS"))
      .Key("ID")
      .Prop("Nome", &TFornecedor::Nome, Annotation("NOME").Size(60).Required())
      .Prop("Cidade", &TFornecedor::Cidade, Annotation("CIDADE_ID"));
}

}  // namespace

void RegisterSchemaTestClasses() {
  static std::once_flag once;
  std::call_once(once, [] {
    demo::RegisterDemoClasses();
    DefineGeneratorClasses();
    DefineChangedDemoClasses();
  });
}

std::vector<zo::TDataObjectClass> ChangedDemoClasses() {
  return {&zo::TUser::StaticType(),      &TCidadeV2::StaticType(),
          &demo::TCliente::StaticType(), &demo::TCategoria::StaticType(),
          &TProdutoV2::StaticType(),     &demo::TPedido::StaticType(),
          &TFornecedor::StaticType(),    &demo::TClienteVIP::StaticType()};
}

}  // namespace schematest
