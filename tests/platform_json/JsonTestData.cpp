#include "tests/platform_json/JsonTestData.h"

#include <gtest/gtest.h>

#include <zo/core/DataObjectList.h>
#include <zo/core/Streams.h>

namespace zo::testing {

using namespace demo;

std::vector<uint8_t> PatternBytes(size_t count) {
  std::vector<uint8_t> bytes(count);
  for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>((i * 31 + i / 256) % 256);
  return bytes;
}

std::unique_ptr<TCidade> MakeCidade() {
  auto c = std::make_unique<TCidade>();
  c->Codigo = 7;
  c->Nome = "São Paulo";
  c->UF = "SP";
  c->CodigoIBGE = 3550308;
  return c;
}

namespace {

void FillCliente(TCliente& c) {
  c.Codigo = 12;
  c.UserID = 3;
  c.DataHoraInclusao = zo::TDateTime::FromParts(2023, 1, 31, 23, 59, 59, 999);
  c.DataHoraAlteracao = zo::TDateTime::FromParts(2024, 2, 29, 0, 0, 0, 1);
  c.Nome = "Ana Conceição";
  c.Email = "ana@example.com";
  c.Tipo = TTipoCliente::tcPessoaJuridica;
  c.Ativo = false;
  c.DataCadastro = zo::TDate::FromYMD(1999, 12, 31);
  c.LimiteCredito = 1234.56;
  c.Cidade = MakeCidade();
  c.Endereco = std::make_unique<TEndereco>();
  c.Endereco->Rua = "Rua \"Direita\"";
  c.Endereco->Numero = 100;
  c.Endereco->Bairro = "Centro";
  c.Endereco->Obs = "portão azul\r\nfundos";
  c.Observacoes = "linha 1\nlinha 2\t✓";
  c.Foto = std::make_unique<zo::TBitmap>(PatternBytes(300));
}

std::unique_ptr<TCliente> MakeCliente() {
  auto c = std::make_unique<TCliente>();
  FillCliente(*c);
  return c;
}

}  // namespace

std::unique_ptr<TClienteVIP> MakeClienteVIP() {
  auto c = std::make_unique<TClienteVIP>();
  FillCliente(*c);
  c->DescontoVIP = 0.15;
  c->Gerente = "Bruno";
  return c;
}

std::unique_ptr<TProduto> MakeProduto(size_t imageBytes) {
  auto p = std::make_unique<TProduto>();
  p->Codigo = 40;
  p->Descricao = "ação";
  p->CodigoBarras = "7891234567895";
  p->Preco = 19.9;
  p->Estoque = 9'007'199'254'740'993;  // not representable as a double
  p->Unidade = U'✓';
  p->Categoria = 5;
  p->Ativo = false;
  p->Imagem = std::make_unique<zo::TMemoryStream>(PatternBytes(imageBytes));
  p->FichaTecnica = "✓ aprovado";
  return p;
}

std::unique_ptr<TCategoria> MakeCategoriaTree() {
  const auto fill = [](TCategoria& c, int codigo, const char* nome, int pai, int lft, int rgt) {
    c.Codigo = codigo;
    c.Nome = nome;
    c.Pai = pai;
    c.lft = lft;
    c.rgt = rgt;
  };
  auto root = std::make_unique<TCategoria>();
  fill(*root, 1, "Raiz", -1, 1, 8);
  auto& bebidas = root->Filhas.AddNew();
  fill(bebidas, 2, "Bebidas", 1, 2, 5);
  fill(bebidas.Filhas.AddNew(), 3, "Sucos", 2, 3, 4);
  fill(root->Filhas.AddNew(), 4, "Limpeza", 1, 6, 7);
  return root;
}

std::unique_ptr<TPedido> MakePedido() {
  auto p = std::make_unique<TPedido>();
  p->Codigo = 900;
  p->UserID = 3;
  p->DataHoraInclusao = zo::TDateTime::FromParts(2024, 2, 29, 13, 45, 12, 345);
  p->Numero = 2024001;
  p->Cliente = MakeCliente();
  p->Data = zo::TDateTime::FromParts(2024, 2, 29, 13, 45, 12, 345);
  p->DataEntrega = zo::TDate::FromYMD(2024, 3, 5);
  p->HoraEntrega = zo::TTime::FromHMS(8, 30, 0, 250);
  p->Status = TStatusPedido::spFaturado;
  p->Total = 0.1 + 0.2;
  for (int i = 1; i <= 3; ++i) {
    auto& item = p->Itens.AddNew();
    item.Codigo = 1000 + i;
    item.Pedido = 900;
    item.Produto = 40 + i;
    item.Quantidade = 2.5 * i;
    item.PrecoUnitario = 1.0 / 3 * i;
  }
  return p;
}

}  // namespace zo::testing
