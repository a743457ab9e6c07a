#pragma once

// Test classes with tables made by hand, and the fixture every persistence test starts from: a
// fresh demo database plus those tables, an open connection and a statement trace.

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <zo/core/BaseDataObject.h>
#include <zo/core/DataObjectList.h>
#include <zo/core/Dates.h>
#include <zo/core/Streams.h>
#include "examples/demo/DemoClasses.h"
#include <zo/persistence/ZoServerUtils.h>
#include "tests/support/DemoDatabase.h"
#include "tests/support/MessageOf.h"

namespace zo::testing {

// PESSOAS: the classic condition example.
class TPessoa : public TBaseDataObject {
  ZO_DATA_CLASS(TPessoa, TBaseDataObject)
 public:
  std::string Nome;
  int32_t Idade = 0;
  bool Ativo = false;
};

enum class TSituacao { sNova, sUsada, sVelha };

// AMOSTRAS: one property of every kind the row reader converts, the object kinds included.
class TAmostra : public TBaseDataObject {
  ZO_DATA_CLASS(TAmostra, TBaseDataObject)
 public:
  int32_t Inteiro = 0;
  int64_t Grande = 0;
  double Real = 0;
  TDate Data;
  TDateTime DataHora;
  TTime Hora;
  bool Logico = false;
  TSituacao Situacao = TSituacao::sNova;
  char Letra = '\0';
  char32_t Caractere = U'\0';
  std::string Texto;
  std::string Memo;  // text large object
  TForeignKey Ref;
  std::unique_ptr<demo::TCidade> Cidade;  // composition
  std::unique_ptr<TStream> Anexo;         // a blob column read with the row
};

class TLinha : public TBaseDataObject {
  ZO_DATA_CLASS(TLinha, TBaseDataObject)
 public:
  std::string Texto;
};

// NOTAS: a list whose item class has no column referring back to it.
class TNota : public TBaseDataObject {
  ZO_DATA_CLASS(TNota, TBaseDataObject)
 public:
  TObjectList<TLinha> Linhas;
};

// ROTAS -> PARADAS -> VOLUMES: list items with a composed client (who has a composed city), a
// hosted address (END_* columns of PARADAS) and a list of their own.
class TVolume : public TBaseDataObject {
  ZO_DATA_CLASS(TVolume, TBaseDataObject)
 public:
  TForeignKey Parada;
  double Peso = 0;
};

class TParada : public TBaseDataObject {
  ZO_DATA_CLASS(TParada, TBaseDataObject)
 public:
  TForeignKey Rota;
  std::unique_ptr<demo::TCliente> Cliente;
  std::unique_ptr<demo::TEndereco> Endereco;
  TObjectList<TVolume> Volumes;
};

class TRota : public TBaseDataObject {
  ZO_DATA_CLASS(TRota, TBaseDataObject)
 public:
  std::string Nome;
  TObjectList<TParada> Paradas;
};

// A class whose table was never created.
class TFantasma : public TBaseDataObject {
  ZO_DATA_CLASS(TFantasma, TBaseDataObject)
 public:
  TObjectList<TLinha> Linhas;
};

void RegisterTestClasses();

class PersistenceTest : public ::testing::Test {
 protected:
  PersistenceTest();

  TDBXConnection& Conn() { return sql_->DBXConnection(); }
  // Statements run since the last call, and forgets them.
  std::vector<std::string> TakeTrace();
  // The first column of the first row as text ("" without a row).
  std::string Scalar(const std::string& sql);
  int Count(const std::string& sql) { return std::stoi(Scalar(sql)); }

  // Stored demo rows to hang other objects on.
  int32_t InsertCidade(const std::string& nome = "Recife", const std::string& uf = "PE");
  int32_t InsertProduto(const std::string& descricao, double preco = 1);
  // An order of the client with `itens` new items of the product.
  std::unique_ptr<demo::TPedido> NewPedido(int32_t clienteId, int32_t produtoId, int itens);

  template <class T>
  std::unique_ptr<T> Get(int32_t id) {
    return StaticCastOwned<T>(GetDataObject(Conn(), id, &T::StaticType()));
  }

  DemoDatabase db_;
  std::unique_ptr<TSQLConnection> sql_;
  std::vector<std::string> trace_;
};

}  // namespace zo::testing
