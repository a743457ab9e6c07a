#include <gtest/gtest.h>

#include <zo/core/DataObjectInfo.h>
#include <zo/core/Dates.h>
#include <zo/core/Exceptions.h>
#include "examples/demo/DemoClasses.h"

namespace {

using namespace demo;

class ReflectionTest : public ::testing::Test {
 protected:
  void SetUp() override { RegisterDemoClasses(); }
};

// Ancestors' properties first, class names and inheritance are proven by the statement
// templates and the JSON tests.
TEST_F(ReflectionTest, GetAndSetThroughValues) {
  TProduto p;
  const auto& t = TProduto::StaticType();
  t.FindProperty("Descricao")->SetValue(p, zo::TValue(nullptr, std::string("Café")));
  t.FindProperty("Unidade")->SetValue(p, zo::TValue(nullptr, std::string("ç")));
  t.FindProperty("Estoque")->SetValue(p, zo::TValue(nullptr, int64_t{1} << 40));
  t.FindProperty("Ativo")->SetValue(p, zo::TValue(nullptr, false));
  EXPECT_EQ(p.Descricao, "Café");
  EXPECT_EQ(p.Unidade, U'ç');
  EXPECT_EQ(p.Estoque, int64_t{1} << 40);
  EXPECT_FALSE(p.Ativo);
  EXPECT_EQ(t.FindProperty("Unidade")->GetValue(p).AsString(), "ç");

  TPedido pedido;
  const auto* cliente = TPedido::StaticType().FindProperty("Cliente");
  cliente->SetObject(pedido, std::make_unique<TCliente>());
  EXPECT_NE(pedido.Cliente, nullptr);
  EXPECT_EQ(cliente->GetObject(pedido), pedido.Cliente.get());
  EXPECT_THROW(cliente->SetObject(pedido, std::make_unique<TCidade>()), zo::Exception);
  EXPECT_NE(pedido.Cliente, nullptr) << "a rejected object leaves the property as it was";
  EXPECT_THROW(cliente->SetValue(pedido, zo::TValue()), zo::Exception);
}

using zo::TDataObjectInfo;

std::string Literal(const zo::TBaseDataObject& obj, const char* prop) {
  return TDataObjectInfo::ValueToStr(obj.ClassType()->FindProperty(prop)->GetValue(obj));
}

using LiteralsTest = ReflectionTest;

TEST_F(LiteralsTest, ScalarLiteralForms) {
  TCliente c;
  c.Nome = "D'Ávila";
  c.Ativo = true;
  c.Tipo = TTipoCliente::tcPessoaJuridica;
  c.LimiteCredito = 0.1;
  c.DataCadastro = zo::TDate::FromYMD(2024, 2, 29);
  c.DataHoraInclusao = zo::TDateTime::FromParts(2024, 3, 1, 13, 5, 9, 250);
  EXPECT_EQ(Literal(c, "Nome"), "'D''Ávila'");
  EXPECT_EQ(Literal(c, "Ativo"), "1");
  EXPECT_EQ(Literal(c, "Tipo"), "1");
  EXPECT_EQ(Literal(c, "LimiteCredito"), "0.1");
  EXPECT_EQ(Literal(c, "DataCadastro"), "'2024-02-29'");
  EXPECT_EQ(Literal(c, "DataHoraInclusao"), "'2024-03-01 13:05:09.250'");
  EXPECT_EQ(Literal(c, "DataHoraAlteracao"), "NULL") << "a zero date is no date";
  EXPECT_EQ(Literal(c, "UserID"), "NULL") << "a TForeignKey of -1 is no reference";
  EXPECT_EQ(Literal(c, "Cidade"), "NULL");
  c.Cidade = std::make_unique<TCidade>();
  c.Cidade->Codigo = 42;
  EXPECT_EQ(Literal(c, "Cidade"), "42");
  c.LimiteCredito = 1.0 / 3.0;
  EXPECT_EQ(std::stod(Literal(c, "LimiteCredito")), 1.0 / 3.0) << "round-trip precision";

  TPedido p;
  p.HoraEntrega = zo::TTime::FromHMS(18, 30, 0, 5);
  EXPECT_EQ(Literal(p, "HoraEntrega"), "'18:30:00.005'");
  TProduto prod;
  prod.Unidade = U'ç';
  prod.Estoque = 9000000000;
  EXPECT_EQ(Literal(prod, "Unidade"), "'ç'");
  EXPECT_EQ(Literal(prod, "Estoque"), "9000000000");
}

TEST_F(LiteralsTest, DatesRoundTripThroughIsoText) {
  const auto dt = zo::TDateTime::FromParts(1999, 12, 31, 23, 59, 58, 999);
  EXPECT_EQ(zo::dates::FormatDateTime(zo::dates::ParseIso(dt.ToIso())), dt.ToIso());
  EXPECT_EQ(zo::TDate::FromYMD(1899, 12, 30).value, 0);
  EXPECT_EQ(zo::TDate::FromYMD(1900, 1, 1).value, 2);
  EXPECT_DOUBLE_EQ(zo::dates::ParseIso("1900-01-01T12:00:00"), 2.5);
  EXPECT_THROW(zo::dates::ParseIso("2024-13-01"), zo::Exception);
  EXPECT_THROW(zo::dates::ParseIso("2024-01-01T24:00:00"), zo::Exception);
  EXPECT_THROW(zo::dates::ParseIso("ontem"), zo::Exception);
}

// Validation messages are checked end to end, Validate against Insert, by the server tests.
TEST_F(LiteralsTest, ValidateLooksIntoEmbeddedMembersButNotTextBlobs) {
  TDataObjectInfo info;
  info.SetClass(&TCliente::StaticType());
  TCliente c;
  c.Nome = "Ana";
  c.Observacoes = "texto com ✓ vira '?' na gravação";
  EXPECT_NO_THROW(info.Validate(c));
  c.Endereco = std::make_unique<TEndereco>();
  c.Endereco->Rua = std::string(81, 'r');
  EXPECT_THROW(info.Validate(c), zo::Exception);
}

}  // namespace
