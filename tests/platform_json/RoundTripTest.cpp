#include <gtest/gtest.h>

#include <cmath>

#include <nlohmann/json.hpp>

#include <zo/core/Exceptions.h>
#include <zo/core/Streams.h>
#include <zo/platform/json/JSONMarshal.h>
#include <zo/platform/json/JSONUnMarshal.h>
#include "examples/demo/DemoClasses.h"
#include "platform/json/JsonHelpers.h"

#include "tests/platform_json/JsonTestData.h"

namespace {

using namespace demo;
using namespace zo::testing;

class JsonRoundTripTest : public ::testing::Test {
 protected:
  void SetUp() override { RegisterDemoClasses(); }

  // Through the text form, as objects travel between client and server.
  std::unique_ptr<zo::TBaseDataObject> RoundTrip(const zo::TBaseDataObject& object) const {
    return unmarshal_.UnmarshalFromString(marshal_.MarshalToString(object));
  }

  template <class T>
  std::unique_ptr<T> RoundTripAs(const zo::TBaseDataObject& object) const {
    auto back = RoundTrip(object);
    EXPECT_NE(dynamic_cast<T*>(back.get()), nullptr) << back->ClassName();
    return zo::StaticCastOwned<T>(std::move(back));
  }

  // What a fresh marshaller writes of both.
  static void ExpectSameObject(const zo::TBaseDataObject& original,
                               const zo::TBaseDataObject& back) {
    EXPECT_EQ(zo::DataObjectToJSON(&back), zo::DataObjectToJSON(&original));
  }

  zo::TJSONMarshal marshal_;
  zo::TJSONUnMarshal unmarshal_;
};

// Every registered property alike, through the text form; the links of list items to their
// owner are rebuilt on reading, and a derived class stays itself, alone and inside a holder.
TEST_F(JsonRoundTripTest, DemoObjectsComeBackWhole) {
  auto pedidoVip = MakePedido();
  pedidoVip->Cliente = MakeClienteVIP();
  const std::unique_ptr<zo::TBaseDataObject> originals[] = {MakePedido(), MakeProduto(40000),
                                                            MakeCategoriaTree(), MakeClienteVIP(),
                                                            std::move(pedidoVip)};
  for (const auto& original : originals) {
    const auto back = RoundTrip(*original);
    ASSERT_EQ(back->ClassType(), original->ClassType());
    ExpectSameObject(*original, *back);
  }
  const auto pedido = RoundTripAs<TPedido>(*MakePedido());
  ASSERT_EQ(pedido->Itens.Count(), 3u);
  EXPECT_EQ(pedido->Itens[0]->GetParent(), pedido.get());
  const auto tree = RoundTripAs<TCategoria>(*MakeCategoriaTree());
  ASSERT_EQ(tree->Filhas[0]->Filhas.Count(), 1u);
  EXPECT_EQ(tree->Filhas[0]->Filhas[0]->GetParent(), tree->Filhas[0]);
  EXPECT_EQ(RoundTripAs<TProduto>(*MakeProduto(100))->Imagem->Position(), 0);
  const auto vip = RoundTripAs<TClienteVIP>(*MakeClienteVIP());
  EXPECT_NE(dynamic_cast<zo::TBitmap*>(vip->Foto.get()), nullptr) << "a bitmap stays one";
  auto holder = MakePedido();
  holder->Cliente = MakeClienteVIP();
  EXPECT_NE(dynamic_cast<TClienteVIP*>(RoundTripAs<TPedido>(*holder)->Cliente.get()), nullptr);
}

// A stream that is not a memory stream takes the generic path: read whole, position restored.
class TForwardStream : public zo::TStream {
 public:
  explicit TForwardStream(std::vector<uint8_t> bytes) : inner_(std::move(bytes)) {}
  size_t Read(void* buffer, size_t count) override { return inner_.Read(buffer, count); }
  void Write(const void* buffer, size_t count) override { inner_.Write(buffer, count); }
  int64_t Size() const override { return inner_.Size(); }
  int64_t Position() const override { return inner_.Position(); }
  void SetPosition(int64_t position) override { inner_.SetPosition(position); }

 private:
  zo::TMemoryStream inner_;
};

TEST_F(JsonRoundTripTest, AnyStreamIsWrittenWholeAndLeftWhereItWas) {
  TProduto produto;
  produto.Imagem = std::make_unique<TForwardStream>(PatternBytes(70000));
  produto.Imagem->SetPosition(1234);
  const auto back = RoundTripAs<TProduto>(produto);
  EXPECT_EQ(produto.Imagem->Position(), 1234);
  ASSERT_TRUE(back->Imagem);
  EXPECT_EQ(static_cast<zo::TMemoryStream&>(*back->Imagem).Bytes(), PatternBytes(70000));
}

TEST_F(JsonRoundTripTest, HelpersMapNullBothWaysAndUseFreshMarshallers) {
  EXPECT_TRUE(zo::DataObjectToJSON(nullptr).is_null());
  EXPECT_EQ(zo::JSONToDataObject(nlohmann::json(nullptr)), nullptr);

  const auto cidade = MakeCidade();
  const nlohmann::json json = zo::DataObjectToJSON(cidade.get());
  EXPECT_EQ(json["id"], 1);
  const auto back = zo::JSONToDataObject(json);
  ASSERT_NE(back, nullptr);
  ExpectSameObject(*cidade, *back);
  EXPECT_EQ(zo::DataObjectToJSON(cidade.get()), json);  // numbering starts again per call
}

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
      {"int32 range below", R"({"type":"TPedido","fields":{"Numero":-3000000000}})",
       "o valor -3000000000 não cabe em Integer"},
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
      {"base64", R"({"type":"TProduto","fields":{"Imagem":"TWFu!!"}})",
       "Campo \"Imagem\" da classe \"TProduto\": base64 inválido"},
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
