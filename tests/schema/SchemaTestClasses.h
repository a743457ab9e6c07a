#pragma once

// Data classes of the schema tests: small classes that exercise the generator's naming rules,
// and changed versions of demo classes (same tables) that stand for an application whose
// classes moved on since its database was made.

#include <memory>
#include <string>
#include <vector>

#include <zo/core/BaseDataObject.h>
#include "examples/demo/DemoClasses.h"

namespace schematest {

using zo::TBaseDataObject;
using zo::TForeignKey;

// Table REFS: the target of the references below.
class TGenRef : public TBaseDataObject {
  ZO_DATA_CLASS(TGenRef, TBaseDataObject)
 public:
  std::string Nome;
};

// No table of its own: embedded as END in TGenOnlyEmbedded.
class TGenEndereco : public TBaseDataObject {
  ZO_DATA_CLASS(TGenEndereco, TBaseDataObject)
 public:
  std::string Rua;  // required
  int32_t Numero = 0;
  std::unique_ptr<TGenRef> Cidade;
};

// Table SO_ENDERECO: a key and one embedded member.
class TGenOnlyEmbedded : public TBaseDataObject {
  ZO_DATA_CLASS(TGenOnlyEmbedded, TBaseDataObject)
 public:
  std::unique_ptr<TGenEndereco> Endereco;
};

// Table T: two references to REFS, one by object and one by TForeignKey.
class TGenTwoRefs : public TBaseDataObject {
  ZO_DATA_CLASS(TGenTwoRefs, TBaseDataObject)
 public:
  std::unique_ptr<TGenRef> A;
  TForeignKey B;
};

// Merged into T: only OBS is its own.
class TGenTwoRefsPlus : public TGenTwoRefs {
  ZO_DATA_CLASS(TGenTwoRefsPlus, TGenTwoRefs)
 public:
  std::string Obs;
};

// A long table name with a self-reference and a unique column of a long name. 27 characters
// is the longest table name whose sequence (GEN_<table>) Firebird still accepts.
class TGenLongName : public TBaseDataObject {
  ZO_DATA_CLASS(TGenLongName, TBaseDataObject)
 public:
  std::unique_ptr<TGenLongName> Pai;
  std::string CodigoDeBarras;
};
inline constexpr const char* kLongTableName = "PEDIDOS_DE_VENDA_DO_PERIODO";

// Table PREFIXADA with the table prefix XX_, referencing REFS.
class TGenPrefixed : public TBaseDataObject {
  ZO_DATA_CLASS(TGenPrefixed, TBaseDataObject)
 public:
  std::unique_ptr<TGenRef> Ref;
};

// A TForeignKey that names no class: the generator refuses it. The property name carries a
// '%' that the wrapped failure message reads as a format directive.
class TGenBrokenRef : public TBaseDataObject {
  ZO_DATA_CLASS(TGenBrokenRef, TBaseDataObject)
 public:
  TForeignKey Broken;
};
class TGenPercentRef : public TBaseDataObject {  // property "Taxa%%"
  ZO_DATA_CLASS(TGenPercentRef, TBaseDataObject)
 public:
  TForeignKey Broken;
};
class TGenPercentBad : public TBaseDataObject {  // property "Margem%"
  ZO_DATA_CLASS(TGenPercentBad, TBaseDataObject)
 public:
  TForeignKey Broken;
};

// The demo's cities, later: NOME grew from 60 to 80, UF shrank from 2 to 1, POPULACAO is new.
class TCidadeV2 : public TBaseDataObject {
  ZO_DATA_CLASS(TCidadeV2, TBaseDataObject)
 public:
  std::string Nome;
  std::string UF;
  int64_t CodigoIBGE = 0;
  int32_t Populacao = 0;
};

// The demo's products, later: a reference to the city of origin.
class TProdutoV2 : public demo::TProduto {
  ZO_DATA_CLASS(TProdutoV2, demo::TProduto)
 public:
  std::unique_ptr<demo::TCidade> Origem;
};

// A class added later, with a long table name.
class TFornecedor : public TBaseDataObject {
  ZO_DATA_CLASS(TFornecedor, TBaseDataObject)
 public:
  std::string Nome;
  std::unique_ptr<demo::TCidade> Cidade;
};

// Defines the classes above (and the demo's). Safe to call more than once.
void RegisterSchemaTestClasses();

// The demo classes after the changes: TCidadeV2 and TProdutoV2 replace TCidade and TProduto,
// TFornecedor is added and TItemPedido is gone.
std::vector<zo::TDataObjectClass> ChangedDemoClasses();

}  // namespace schematest
