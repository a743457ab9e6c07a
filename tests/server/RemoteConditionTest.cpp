// The strict grammar for conditions from clients: what it lets through must be valid SQL
// over the class's columns once ParseCondition has translated it, and everything an attacker
// tries instead is refused with the offending token named.

#include <gtest/gtest.h>

#include <zo/persistence/ZoServerUtils.h>
#include <zo/platform/db/SQLConnection.h>
#include <zo/server/RemoteCondition.h>
#include "examples/demo/DemoClasses.h"
#include "tests/support/DemoDatabase.h"

namespace zo::testing {
namespace {

struct Accepted {
  std::string condition;
  std::string checked;  // what reaches ParseCondition
};

TEST(RemoteConditionTest, LiteralsAndOperatorsPassAndRunAsSql) {
  const DemoDatabase db;
  const auto connection = OpenConnection(db.Path());
  const TRttiType& cidade = demo::TCidade::StaticType();
  const Accepted cases[] = {
      {"", ""},
      {"   ", ""},
      {"Nome = 'Recife'", "Nome = 'Recife'"},
      {"nome   =   'D''Ávila'", "Nome = 'D''Ávila'"},
      {"Nome = ''''", "Nome = ''''"},
      {"Codigo > -12 and CodigoIBGE <= 2611606.5", "Codigo > -12 AND CodigoIBGE <= 2611606.5"},
      {"Codigo <> 1 or Codigo != 2", "Codigo <> 1 OR Codigo != 2"},
      {"Nome like 'Re%' OR Nome LIKE '_lin_a'", "Nome LIKE 'Re%' OR Nome LIKE '_lin_a'"},
      {"Nome starting with 'Rec' and Nome containing 'ci'",
       "Nome STARTING 'Rec' AND Nome CONTAINING 'ci'"},
      {"Codigo between -1 and 10.25", "Codigo BETWEEN -1 AND 10.25"},
      {"not UF = 'PE'", "NOT UF = 'PE'"},
      {"UF not like 'P%'", "NOT UF LIKE 'P%'"},
      {"UF is null or Nome IS NOT NULL", "UF IS NULL OR NOT Nome IS NULL"},
      {"Nome = 'a--b/**/c;' and UF = 'union'", "Nome = 'a--b/**/c;' AND UF = 'union'"},
  };
  for (const auto& [condition, checked] : cases) {
    const auto result = CheckRemoteCondition(cidade, condition);
    EXPECT_EQ(result.text, checked) << condition;
    EXPECT_NO_THROW(GetCount(connection->DBXConnection(), &cidade, result.text)) << checked;
  }
  // Property names become the class's columns; dates travel quoted.
  EXPECT_EQ(ParseCondition(&cidade, CheckRemoteCondition(cidade, "CodigoIBGE = 5").text),
            "  COD_IBGE = 5  ");
  const TRttiType& pedido = demo::TPedido::StaticType();
  const auto dated = CheckRemoteCondition(pedido, "Data between '2024-01-01' and '2024-12-31'");
  EXPECT_NO_THROW(GetCount(connection->DBXConnection(), &pedido, dated.text));
  EXPECT_EQ(dated.properties, std::vector<std::string>{"Data"});
}

struct Refused {
  std::string condition;
  std::string token;  // the token the message must name
};

TEST(RemoteConditionTest, AttacksAreRefusedNamingTheToken) {
  demo::RegisterDemoClasses();
  const Refused cases[] = {
      {"Codigo = 0/**/union/**/select/**/ID,SENHA_HASH/**/from/**/USUARIOS",
       "0/**/union/**/select/**/ID,SENHA_HASH/**/from/**/USUARIOS"},
      {"Codigo = 1/**/or/**/1=1", "1/**/or/**/1=1"},
      {"Codigo = 1 or 1 = 1", "1"},
      {"Codigo\t=\t1", "Codigo\\x09=\\x091"},
      {"Nome = 'a\nb'", "'a\\x0Ab'"},
      {"Nome = 'a\x1f' or Codigo = 1", "'a\\x1F'"},
      {std::string("Nome = 'a\0b'", 12), "'a\\x00b'"},
      {"Codigo = (select max(ID) from USUARIOS)", "(select"},
      {"Codigo in (select ID from USUARIOS)", "in"},
      {"Codigo = 1 union select ID from USUARIOS", "union"},
      {"Nome = 'a' || 'b'", "||"},
      {"Nome = 'a'||'b'", "'a'||'b'"},
      {"Codigo = cast('1' as integer)", "cast('1'"},
      {"Codigo = 1 -- comentário", "--"},
      {"Codigo = 1; drop table CIDADES", "1;"},
      {"Nome = 'it's'", "'it's'"},
      {"Nome = 'aberta", "'aberta"},
      {"Nome = 'Sao Paulo'", "'Sao Paulo'"},
      {"Nome = Nome", "Nome"},
      {"Nome = upper(Nome)", "upper(Nome)"},
      {"Cidade.Nome = 'x'", "Cidade.Nome"},
      {"USUARIOS.SENHA_HASH like 'p%'", "USUARIOS.SENHA_HASH"},
      {"Senha = 'x'", "Senha"},
      {"Codigo = 0x1F", "0x1F"},
      {"Codigo = 1e9", "1e9"},
      {"Codigo ~ 1", "~"},
      {"Codigo is 1", "1"},
      {"Codigo =", "="},
      {"Codigo between 1 or 2", "or"},
      {"not not Codigo = 1", "not"},
  };
  const TRttiType& cidade = demo::TCidade::StaticType();
  for (const auto& [condition, token] : cases) {
    try {
      CheckRemoteCondition(cidade, condition);
      ADD_FAILURE() << "accepted: " << condition;
    } catch (const ERefusedCondition& e) {
      EXPECT_NE(std::string(e.what()).find("\"" + token + "\""), std::string::npos)
          << condition << " -> " << e.what();
    }
  }
  EXPECT_THROW(CheckRemoteCondition(demo::TCategoria::StaticType(), "Filhas = 1"),
               ERefusedCondition);
  EXPECT_THROW(CheckRemoteCondition(cidade, "Codigo = " + std::string(9000, '1')),
               ERefusedCondition);
}

TEST(RemoteConditionTest, PropertyListsHoldOnlyPropertiesWithColumns) {
  demo::RegisterDemoClasses();
  const TRttiType& cidade = demo::TCidade::StaticType();
  EXPECT_EQ(CheckRemoteProperties(cidade, "nome, UF,CodigoIBGE"),
            (std::vector<std::string>{"Nome", "UF", "CodigoIBGE"}));
  for (const std::string list : {"", " , ", "Nome,ID", "Nome,SENHA_HASH", "Nome||UF",
                                 "Nome,(select", "\"Nome\"", "Nome\t"}) {
    EXPECT_THROW(CheckRemoteProperties(cidade, list), ERefusedCondition) << list;
  }
  EXPECT_THROW(CheckRemoteProperties(demo::TCategoria::StaticType(), "Nome,Filhas"),
               ERefusedCondition);
}

}  // namespace
}  // namespace zo::testing
