#include "examples/demo/DemoClasses.h"

#include <mutex>

#include <zo/core/ClassBuilder.h>

namespace demo {

using zo::Annotation;
using zo::DefineClass;
using zo::TPropertySkill;

namespace {

void DefineCidade() {
  DefineClass<TCidade>("DemoClasses", Annotation("CIDADES"))
      .Key("ID")
      .Prop("Nome", &TCidade::Nome, Annotation("NOME").Size(60).Required())
      .Prop("UF", &TCidade::UF, Annotation("UF").Size(2).Required())
      .Prop("CodigoIBGE", &TCidade::CodigoIBGE, Annotation("COD_IBGE"));
}

void DefineEndereco() {
  DefineClass<TEndereco>("DemoClasses")
      .Key("ID")
      .Prop("Rua", &TEndereco::Rua, Annotation("RUA").Size(80))
      .Prop("Numero", &TEndereco::Numero, Annotation("NUMERO"))
      .Prop("Bairro", &TEndereco::Bairro, Annotation("BAIRRO").Size(60))
      .Prop("Obs", &TEndereco::Obs, Annotation("OBS").Skill(TPropertySkill::psTextBlob));
}

void DefineCliente() {
  DefineClass<TCliente>("DemoClasses", Annotation("CLIENTES"))
      .Key("ID")
      .Prop("Nome", &TCliente::Nome, Annotation("NOME").Size(100).Required())
      .Prop("Email", &TCliente::Email,
            Annotation("EMAIL").Size(100).Skill(TPropertySkill::psUnique))
      .Prop("Tipo", &TCliente::Tipo, Annotation("TIPO"))
      .Prop("Ativo", &TCliente::Ativo, Annotation("ATIVO"))
      .Prop("DataCadastro", &TCliente::DataCadastro, Annotation("DATA_CADASTRO"))
      .Prop("LimiteCredito", &TCliente::LimiteCredito, Annotation("LIMITE_CREDITO"))
      .Prop("Cidade", &TCliente::Cidade, Annotation("CIDADE_ID").Indexed())
      .Prop("Endereco", &TCliente::Endereco,
            Annotation("END").Skill(TPropertySkill::psEmbedded).Host<TCliente>())
      .Prop("Observacoes", &TCliente::Observacoes,
            Annotation("OBSERVACOES").Skill(TPropertySkill::psTextBlob))
      .Prop("Foto", &TCliente::Foto);
  DefineClass<TClienteVIP>("DemoClasses", Annotation("CLIENTES").Skill(TPropertySkill::psEmbedded))
      .Prop("DescontoVIP", &TClienteVIP::DescontoVIP, Annotation("DESCONTO_VIP"))
      .Prop("Gerente", &TClienteVIP::Gerente, Annotation("GERENTE").Size(60));
}

void DefineCategoria() {
  DefineClass<TCategoria>("DemoClasses", Annotation("CATEGORIAS"))
      .Key("ID")
      .Prop("Nome", &TCategoria::Nome, Annotation("NOME").Size(60).Required())
      .Prop("Pai", &TCategoria::Pai, Annotation("PAI_ID").References<TCategoria>())
      .Prop("lft", &TCategoria::lft, Annotation("LFT"))
      .Prop("rgt", &TCategoria::rgt, Annotation("RGT"))
      .Prop("Filhas", &TCategoria::Filhas, Annotation("PAI_ID").Host<TCategoria>());
}

void DefineProduto() {
  DefineClass<TProduto>("DemoClasses", Annotation("PRODUTOS"))
      .Key("ID")
      .Prop("Descricao", &TProduto::Descricao, Annotation("DESCRICAO").Size(100).Required())
      .Prop("CodigoBarras", &TProduto::CodigoBarras,
            Annotation("COD_BARRAS").Size(20).Skill(TPropertySkill::psUnique))
      .Prop("Preco", &TProduto::Preco, Annotation("PRECO"))
      .Prop("Estoque", &TProduto::Estoque, Annotation("ESTOQUE"))
      .Prop("Unidade", &TProduto::Unidade, Annotation("UNIDADE"))
      .Prop("Categoria", &TProduto::Categoria, Annotation("CATEGORIA_ID").References<TCategoria>())
      .Prop("Ativo", &TProduto::Ativo, Annotation("ATIVO"))
      .Prop("Imagem", &TProduto::Imagem, Annotation("IMAGEM").Skill(TPropertySkill::psBinaryBlob))
      .Prop("FichaTecnica", &TProduto::FichaTecnica,
            Annotation("FICHA_TECNICA").Skill(TPropertySkill::psTextBlob));
}

void DefinePedido() {
  DefineClass<TPedido>("DemoClasses", Annotation("PEDIDOS"))
      .Key("ID")
      .Prop("Numero", &TPedido::Numero, Annotation("NUMERO").Required())
      .Prop("Cliente", &TPedido::Cliente, Annotation("CLIENTE_ID").Required())
      .Prop("Data", &TPedido::Data, Annotation("DATA"))
      .Prop("DataEntrega", &TPedido::DataEntrega, Annotation("DATA_ENTREGA"))
      .Prop("HoraEntrega", &TPedido::HoraEntrega, Annotation("HORA_ENTREGA"))
      .Prop("Status", &TPedido::Status, Annotation("STATUS"))
      .Prop("Total", &TPedido::Total, Annotation("TOTAL"))
      .Prop("Itens", &TPedido::Itens, Annotation("PEDIDO_ID").Host<TPedido>());
  DefineClass<TItemPedido>("DemoClasses", Annotation("ITENS_PEDIDO"))
      .Key("ID")
      .Prop("Pedido", &TItemPedido::Pedido, Annotation("PEDIDO_ID").References<TPedido>())
      .Prop("Produto", &TItemPedido::Produto,
            Annotation("PRODUTO_ID").References<TProduto>().Required())
      .Prop("Quantidade", &TItemPedido::Quantidade, Annotation("QUANTIDADE"))
      .Prop("PrecoUnitario", &TItemPedido::PrecoUnitario, Annotation("PRECO_UNITARIO"));
}

}  // namespace

void RegisterDemoClasses() {
  static std::once_flag once;
  std::call_once(once, [] {
    zo::RegisterCoreClasses();
    DefineCidade();
    DefineEndereco();
    DefineCliente();
    DefineCategoria();
    DefineProduto();
    DefinePedido();
  });
}

std::vector<zo::TDataObjectClass> DemoTableClasses() {
  return {&zo::TUser::StaticType(),   &TCidade::StaticType(),    &TCliente::StaticType(),
          &TCategoria::StaticType(),  &TProduto::StaticType(),   &TPedido::StaticType(),
          &TItemPedido::StaticType(), &TClienteVIP::StaticType()};
}

}  // namespace demo
