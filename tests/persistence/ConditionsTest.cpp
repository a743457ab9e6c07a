// Conditions over property names translated into SQL over columns.
#include <zo/core/Exceptions.h>
#include "tests/persistence/PersistenceTestSupport.h"

namespace zo::testing {
namespace {

class ConditionsTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { RegisterTestClasses(); }
  static std::string Parse(const std::string& condition) {
    return ParseCondition(&TPessoa::StaticType(), condition);
  }
};

TEST_F(ConditionsTest, TermsAndOperatorsAreTranslatedBlankForBlank) {
  EXPECT_EQ(Parse("Nome = 'Ana' and Idade between 18 and 30"),
            "  NOME = 'Ana' AND  IDADE BETWEEN 18 AND 30  ");
  EXPECT_EQ(Parse("not Ativo = 1"), " NOT ATIVO = 1  ");
  EXPECT_EQ(Parse("  idade >= 18 OR nome like 'an%'  "), "  IDADE >= 18 OR  NOME LIKE 'an%'  ")
      << "trimmed; columns and operators upper-cased, values kept as written";
  EXPECT_EQ(Parse("Nome between 'ana' and 'bia'"), "  NOME BETWEEN 'ANA' AND 'BIA'  ")
      << "BETWEEN bounds are upper-cased with the rest";
}

TEST_F(ConditionsTest, BadConditionsRaiseTheirMessages) {
  EXPECT_EQ(MessageOf([] { Parse("Codigo = 5 xor Nome = 'A'"); }),
            "Erro - GetList, Operador lógico inválido : XOR");
  EXPECT_EQ(MessageOf([] { Parse("Peso = 5"); }), "Propriedade inválida: Peso");
  EXPECT_EQ(MessageOf([] { ParseCondition(static_cast<TDataObjectClass>(nullptr), "Nome = 1"); }),
            "Parâmetro 'Atype' não pode ser nulo");
  // Two blanks make an empty token: the operator is empty, "=" the value, 'A' the connective.
  EXPECT_EQ(MessageOf([] { Parse("Nome  = 'A'"); }),
            "Erro - GetList, Operador lógico inválido : 'A'");
  EXPECT_EQ(MessageOf([] { Parse("Nome ="); }), "Condição incompleta: Nome =");
  EXPECT_EQ(MessageOf([] { Parse("Idade between 1 and"); }),
            "Condição incompleta: Idade between 1 and");
}

TEST_F(ConditionsTest, PropertyNamesBecomeColumns) {
  const TRttiType* cliente = &demo::TCliente::StaticType();
  EXPECT_EQ(GetFieldName(cliente, "codigo"), "ID");
  EXPECT_EQ(GetFieldName(cliente, "Cidade.Nome"), "CIDADE_ID") << "the first part is resolved";
  EXPECT_EQ(MessageOf([] { GetFieldName(nullptr, "Nome"); }),
            "Parâmetro 'Atype' não pode ser nulo");
  EXPECT_EQ(MessageOf([&] { GetFieldName(cliente, " "); }),
            "getFieldName: Propriedade inválida para a classe: DemoClasses.TCliente");

  EXPECT_EQ(ParseProperties(cliente, {"Nome", "DataCadastro", "Codigo"}), "NOME,DATA_CADASTRO,ID");
  EXPECT_EQ(MessageOf([&] {
              ParseProperties(cliente, {"Nome", "Peso"});
            }),
            "Propriedade Peso não encontrada na classe DemoClasses.TCliente");
}

}  // namespace
}  // namespace zo::testing
