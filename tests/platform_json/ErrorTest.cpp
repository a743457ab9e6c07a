#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include <zo/core/Exceptions.h>
#include "examples/demo/DemoClasses.h"
#include <zo/platform/json/JSONMarshal.h>
#include <zo/platform/json/JSONUnMarshal.h>

namespace {

using namespace demo;

struct Case {
  const char* what;
  const char* text;
  const char* message;  // expected within the error
};

class JsonErrorTest : public ::testing::Test {
 protected:
  void SetUp() override { RegisterDemoClasses(); }

  // The message raised for `text`, or "" when nothing is raised.
  std::string ErrorOf(const std::string& text) const {
    try {
      const auto object = zo::TJSONUnMarshal().UnmarshalFromString(text);
      return "";
    } catch (const zo::Exception& e) {
      return e.what();
    }
  }

  void ExpectError(const Case& c) const {
    const std::string message = ErrorOf(c.text);
    EXPECT_NE(message.find(c.message), std::string::npos) << c.what << ": " << message;
  }
};

TEST_F(JsonErrorTest, DocumentsThatAreNotDataObjects) {
  const Case cases[] = {
      {"malformed", R"({"type": "TCidade", )", "JSON inválido: "},
      {"huge number", R"({"type": "TCidade", "fields": {"Nome": 1e999}})", "JSON inválido: "},
      {"array", "[1, 2]", "JSON de objeto esperado, veio lista"},
      {"no type", R"({"fields": {}})", "sem o nome da classe em \"type\""},
      {"type not text", R"({"type": 3})", "sem o nome da classe em \"type\""},
      {"unknown type", R"({"type": "DemoClasses.TNada"})",
       "Classe desconhecida no JSON: \"DemoClasses.TNada\""},
      {"unknown key", R"({"type": "TCidade", "campos": {}})",
       "Chave desconhecida no JSON do objeto da classe \"TCidade\": \"campos\""},
      {"fields not object", R"({"type": "TCidade", "fields": []})",
       "\"fields\" do JSON da classe \"TCidade\" deve ser um objeto, veio lista"},
      {"unknown field", R"({"type": "TCidade", "fields": {"Bairro": "Centro"}})",
       "Campo desconhecido \"Bairro\" na classe \"TCidade\""},
  };
  for (const auto& c : cases) ExpectError(c);
}

TEST_F(JsonErrorTest, FieldValuesOfTheWrongType) {
  const Case cases[] = {
      {"text", R"({"type":"TCidade","fields":{"Nome":5}})",
       "Campo \"Nome\" da classe \"TCidade\": esperado texto, veio número"},
      {"integer", R"({"type":"TPedido","fields":{"Numero":1.5}})",
       "Campo \"Numero\" da classe \"TPedido\": esperado número inteiro, veio número"},
      {"int32 range", R"({"type":"TPedido","fields":{"Numero":3000000000}})",
       "Campo \"Numero\" da classe \"TPedido\": o valor 3000000000 não cabe em Integer"},
      {"int64 range", R"({"type":"TCidade","fields":{"CodigoIBGE":18446744073709551615}})",
       "não cabe em Int64"},
      {"float", R"({"type":"TProduto","fields":{"Preco":"1,50"}})", "esperado número, veio texto"},
      {"boolean", R"({"type":"TProduto","fields":{"Ativo":1}})",
       "Campo \"Ativo\" da classe \"TProduto\": esperado booleano, veio número"},
      {"enumeration", R"({"type":"TPedido","fields":{"Status":"spAberto"}})",
       "Campo \"Status\" da classe \"TPedido\": esperado número inteiro, veio texto"},
      {"char", R"({"type":"TProduto","fields":{"Unidade":"kg"}})",
       "Campo \"Unidade\" da classe \"TProduto\": esperado um caractere, veio \"kg\""},
      {"date", R"({"type":"TPedido","fields":{"DataEntrega":"2024-13-45"}})",
       "Campo \"DataEntrega\" da classe \"TPedido\": data inválida \"2024-13-45\""},
      {"date kind", R"({"type":"TPedido","fields":{"Data":true}})", "esperado data"},
      {"base64", R"({"type":"TProduto","fields":{"Imagem":"TWFu!!"}})",
       "Campo \"Imagem\" da classe \"TProduto\": base64 inválido"},
      {"stream kind", R"({"type":"TProduto","fields":{"Imagem":[1,2]}})",
       "esperado texto base64, veio lista"},
      {"nested field names the nested class",
       R"({"type":"TPedido","fields":{"Cliente":{"type":"TCliente","fields":{
           "Cidade":{"type":"TCidade","fields":{"UF":null}}}}}})",
       "Campo \"UF\" da classe \"TCidade\": esperado texto, veio null"},
  };
  for (const auto& c : cases) ExpectError(c);
}

TEST_F(JsonErrorTest, HeldObjectsAndListItemsOfTheWrongClass) {
  const Case cases[] = {
      {"list item class",
       R"({"type":"TPedido","fields":{"Itens":[{"type":"TItemPedido"},{"type":"TCidade"}]}})",
       "Campo \"Itens\" da classe \"TPedido\": esperado objeto da classe \"TItemPedido\", "
       "veio \"DemoClasses.TCidade\""},
      {"list item not object", R"({"type":"TPedido","fields":{"Itens":[null]}})",
       "Campo \"Itens\" da classe \"TPedido\": esperado objeto da classe \"TItemPedido\", "
       "veio null"},
      {"list not array", R"({"type":"TPedido","fields":{"Itens":{"type":"TItemPedido"}}})",
       "esperado lista de objetos da classe \"TItemPedido\", veio objeto"},
      {"base class where derived declared",
       R"({"type":"TPedido","fields":{"Cliente":{"type":"TUserObject"}}})",
       "Campo \"Cliente\" da classe \"TPedido\": esperado objeto da classe \"TCliente\", "
       "veio \"ZoCore.TUserObject\""},
      {"held object as number", R"({"type":"TPedido","fields":{"Cliente":12}})",
       "esperado objeto da classe \"TCliente\", veio número"},
  };
  for (const auto& c : cases) ExpectError(c);
}

TEST_F(JsonErrorTest, NestingDepthIsBounded) {
  std::string deep;
  for (int i = 0; i < 1000; ++i) deep += R"({"type":"TCategoria","fields":{"Filhas":[)";
  for (int i = 0; i < 1000; ++i) deep += "]}}";
  ExpectError({"deep", deep.c_str(), "JSON com objetos aninhados demais (limite 200)"});
}

TEST_F(JsonErrorTest, ParseErrorQuotingBadBytesIsStillWritableAsJson) {
  const std::string message = ErrorOf("{\"type\":\"TCidade\",\"fields\":{\"Nome\":\"\xFF\"}}");
  EXPECT_EQ(message.find("JSON inválido: "), 0u) << message;
  EXPECT_NO_THROW(nlohmann::json(message).dump());
}

TEST_F(JsonErrorTest, ValuesJsonCannotCarryAreRefusedWhenWriting) {
  const zo::TJSONMarshal marshal;
  TCidade cidade;
  cidade.Nome = "S\xE3o Paulo";  // Latin-1, not UTF-8
  try {
    marshal.Marshal(cidade);
    ADD_FAILURE() << "invalid UTF-8 accepted";
  } catch (const zo::Exception& e) {
    EXPECT_STREQ(e.what(), "Campo \"Nome\" da classe \"TCidade\": texto que não é UTF-8 válido");
  }
  TProduto produto;
  produto.Preco = std::nan("");
  EXPECT_THROW(marshal.Marshal(produto), zo::Exception);
}

}  // namespace
