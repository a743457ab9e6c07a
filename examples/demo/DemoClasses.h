#pragma once

// The demo application's data classes: a small sales domain (cities, customers with an
// embedded address, VIP customers merged into the customers' table, a product category tree,
// products with a picture and a data sheet, orders with items).

#include <memory>
#include <string>

#include <zo/core/BaseDataObject.h>
#include <zo/core/DataObjectList.h>
#include <zo/core/Dates.h>
#include <zo/core/Streams.h>
#include <zo/core/User.h>

namespace demo {

using zo::TBaseDataObject;
using zo::TForeignKey;
using zo::TObjectList;

enum class TTipoCliente { tcPessoaFisica, tcPessoaJuridica };
enum class TStatusPedido { spAberto, spFaturado, spEntregue, spCancelado };

class TCidade : public TBaseDataObject {
  ZO_DATA_CLASS(TCidade, TBaseDataObject)
 public:
  std::string Nome;
  std::string UF;
  int64_t CodigoIBGE = 0;
};

// Stored in the columns END_* of its owner's table.
class TEndereco : public TBaseDataObject {
  ZO_DATA_CLASS(TEndereco, TBaseDataObject)
 public:
  std::string Rua;
  int32_t Numero = 0;
  std::string Bairro;
  std::string Obs;  // text large object
};

class TCliente : public zo::TUserObject {
  ZO_DATA_CLASS(TCliente, zo::TUserObject)
 public:
  std::string Nome;
  std::string Email;  // unique
  TTipoCliente Tipo = TTipoCliente::tcPessoaFisica;
  bool Ativo = true;
  zo::TDate DataCadastro;
  double LimiteCredito = 0;
  std::unique_ptr<TCidade> Cidade;
  std::unique_ptr<TEndereco> Endereco;
  std::string Observacoes;  // text large object
  std::unique_ptr<zo::TBitmap> Foto;
};

// A customer with extra columns, kept in the customers' table.
class TClienteVIP : public TCliente {
  ZO_DATA_CLASS(TClienteVIP, TCliente)
 public:
  double DescontoVIP = 0;
  std::string Gerente;
};

// A node of the category tree (nested set: LFT/RGT bounds, PAI_ID parent link).
class TCategoria : public TBaseDataObject {
  ZO_DATA_CLASS(TCategoria, TBaseDataObject)
 public:
  std::string Nome;
  TForeignKey Pai;
  int32_t lft = 0;
  int32_t rgt = 0;
  TObjectList<TCategoria> Filhas;
};

class TProduto : public TBaseDataObject {
  ZO_DATA_CLASS(TProduto, TBaseDataObject)
 public:
  std::string Descricao;
  std::string CodigoBarras;  // unique
  double Preco = 0;
  int64_t Estoque = 0;
  char32_t Unidade = U'U';
  TForeignKey Categoria;
  bool Ativo = true;
  std::unique_ptr<zo::TStream> Imagem;  // binary large object
  std::string FichaTecnica;             // text large object
};

class TItemPedido;

class TPedido : public zo::TUserObject {
  ZO_DATA_CLASS(TPedido, zo::TUserObject)
 public:
  int32_t Numero = 0;
  std::unique_ptr<TCliente> Cliente;
  zo::TDateTime Data;
  zo::TDate DataEntrega;
  zo::TTime HoraEntrega;
  TStatusPedido Status = TStatusPedido::spAberto;
  double Total = 0;
  TObjectList<TItemPedido> Itens;
};

class TItemPedido : public TBaseDataObject {
  ZO_DATA_CLASS(TItemPedido, TBaseDataObject)
 public:
  TForeignKey Pedido;
  TForeignKey Produto;
  double Quantidade = 0;
  double PrecoUnitario = 0;
};

// Defines the demo classes (and the core library's). Safe to call more than once.
void RegisterDemoClasses();

// The classes that have tables, in creation order, for schema work.
std::vector<zo::TDataObjectClass> DemoTableClasses();

// The module name used for the demo's schema (foreign-key names start with its first letters).
inline constexpr const char* kDemoModuleName = "DEMO";

}  // namespace demo
