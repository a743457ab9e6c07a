#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <zo/core/Streams.h>
#include "examples/demo/DemoClasses.h"
#include <zo/platform/json/JSONMarshal.h>
#include <zo/platform/json/JSONUnMarshal.h>
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

  zo::TJSONMarshal marshal_;
  zo::TJSONUnMarshal unmarshal_;
};

TEST_F(JsonRoundTripTest, OrderWithCustomerCityAddressItemsAndDates) {
  const auto original = MakePedido();
  const auto back = RoundTripAs<TPedido>(*original);
  ExpectSameObject(*original, *back);

  ASSERT_TRUE(back->Cliente && back->Cliente->Cidade && back->Cliente->Endereco);
  EXPECT_EQ(back->Cliente->Cidade->Nome, "São Paulo");
  EXPECT_EQ(back->Cliente->Endereco->Obs, "portão azul\r\nfundos");
  EXPECT_EQ(back->Data, zo::TDateTime::FromParts(2024, 2, 29, 13, 45, 12, 345));
  EXPECT_EQ(back->HoraEntrega, zo::TTime::FromHMS(8, 30, 0, 250));
  EXPECT_EQ(back->Status, TStatusPedido::spFaturado);
  EXPECT_EQ(back->Total, 0.1 + 0.2);
  ASSERT_EQ(back->Itens.Count(), 3u);
  EXPECT_EQ(back->Itens[2]->PrecoUnitario, 1.0 / 3 * 3);
  // Items read back know the order that holds them; the link itself never travels.
  EXPECT_EQ(back->Itens[0]->GetParent(), back.get());
}

TEST_F(JsonRoundTripTest, ProductWithLargeStreamAndNonAsciiTexts) {
  const auto original = MakeProduto(40000);
  const auto back = RoundTripAs<TProduto>(*original);
  ExpectSameObject(*original, *back);
  EXPECT_EQ(back->Descricao, "ação");
  EXPECT_EQ(back->Unidade, U'✓');
  EXPECT_EQ(back->Estoque, 9'007'199'254'740'993);
  ASSERT_TRUE(back->Imagem);
  EXPECT_EQ(back->Imagem->Size(), 40000);
  EXPECT_EQ(back->Imagem->Position(), 0);
}

TEST_F(JsonRoundTripTest, CategoryTreeKeepsNestedChildren) {
  const auto original = MakeCategoriaTree();
  const auto back = RoundTripAs<TCategoria>(*original);
  ExpectSameObject(*original, *back);
  ASSERT_EQ(back->Filhas.Count(), 2u);
  ASSERT_EQ(back->Filhas[0]->Filhas.Count(), 1u);
  EXPECT_EQ(back->Filhas[0]->Filhas[0]->Nome, "Sucos");
  EXPECT_EQ(back->Filhas[0]->Filhas[0]->GetParent(), back->Filhas[0]);
  EXPECT_EQ(back->Pai, -1);
}

TEST_F(JsonRoundTripTest, DerivedClassKeepsItsClassAloneAndInsideAHolder) {
  const auto vip = MakeClienteVIP();
  const auto back = RoundTripAs<TClienteVIP>(*vip);
  ExpectSameObject(*vip, *back);
  EXPECT_EQ(back->Gerente, "Bruno");
  ASSERT_TRUE(back->Foto);
  EXPECT_NE(dynamic_cast<zo::TBitmap*>(back->Foto.get()), nullptr);

  auto pedido = MakePedido();
  pedido->Cliente = MakeClienteVIP();
  const auto pedidoBack = RoundTripAs<TPedido>(*pedido);
  ExpectSameObject(*pedido, *pedidoBack);
  ASSERT_NE(dynamic_cast<TClienteVIP*>(pedidoBack->Cliente.get()), nullptr);
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

}  // namespace
