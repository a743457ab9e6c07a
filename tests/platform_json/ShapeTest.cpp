#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "examples/demo/DemoClasses.h"
#include "platform/json/Base64.h"
#include "platform/json/Utf8Check.h"
#include <zo/core/Streams.h>
#include <zo/core/WaitScreen.h>
#include <zo/platform/json/JSONMarshal.h>
#include <zo/platform/json/JSONUnMarshal.h>

#include "tests/platform_json/JsonTestData.h"

namespace {

using namespace demo;
using namespace zo::testing;
using nlohmann::json;

class JsonShapeTest : public ::testing::Test {
 protected:
  void SetUp() override { RegisterDemoClasses(); }

  template <class T>
  std::unique_ptr<T> Read(const std::string& text) const {
    return zo::StaticCastOwned<T>(unmarshal_.UnmarshalFromString(text));
  }

  zo::TJSONMarshal marshal_;
  zo::TJSONUnMarshal unmarshal_;
};

TEST_F(JsonShapeTest, SmallObjectText) {
  EXPECT_EQ(marshal_.MarshalToString(*MakeCidade()),
            R"({"fields":{"Codigo":7,"CodigoIBGE":3550308,"Nome":"São Paulo","UF":"SP"},)"
            R"("id":1,"type":"DemoClasses.TCidade"})");
}

TEST_F(JsonShapeTest, ObjectsAreNumberedInTheOrderWritten) {
  const json j = marshal_.Marshal(*MakePedido());
  EXPECT_EQ(j["id"], 1);
  const json& cliente = j["fields"]["Cliente"];
  EXPECT_EQ(cliente["type"], "DemoClasses.TCliente");
  EXPECT_EQ(cliente["id"], 2);
  EXPECT_EQ(cliente["fields"]["Cidade"]["id"], 3);
  EXPECT_EQ(cliente["fields"]["Endereco"]["id"], 4);
  const json& itens = j["fields"]["Itens"];
  ASSERT_EQ(itens.size(), 3u);
  EXPECT_EQ(itens[0]["id"], 5);
  EXPECT_EQ(itens[2]["id"], 7);
  EXPECT_EQ(itens[2]["type"], "DemoClasses.TItemPedido");
}

TEST_F(JsonShapeTest, ValueForms) {
  auto pedido = MakePedido();
  pedido->Cliente->Foto.reset();
  const json f = marshal_.Marshal(*pedido)["fields"];
  EXPECT_EQ(f["Data"], "2024-02-29T13:45:12.345");
  EXPECT_EQ(f["DataEntrega"], "2024-03-05");
  EXPECT_EQ(f["HoraEntrega"], "08:30:00.250");
  EXPECT_TRUE(f["DataHoraAlteracao"].is_null());  // zero date
  const json& cliente = f["Cliente"]["fields"];
  EXPECT_EQ(cliente["Ativo"], false);
  EXPECT_EQ(cliente["Tipo"], 1);
  EXPECT_TRUE(cliente["Foto"].is_null());
  EXPECT_EQ(cliente["Observacoes"], "linha 1\nlinha 2\t✓");

  TProduto produto;
  produto.Unidade = U'✓';
  produto.Estoque = 9'007'199'254'740'993;
  produto.Imagem = std::make_unique<zo::TMemoryStream>(std::string("Man"));
  const json p = marshal_.Marshal(produto)["fields"];
  EXPECT_EQ(p["Unidade"], "✓");
  EXPECT_EQ(p["Imagem"], "TWFu");
  EXPECT_TRUE(p["Estoque"].is_number_integer());
}

TEST_F(JsonShapeTest, FieldsAreExactlyTheRegisteredProperties) {
  // The wait-screen commands register no key, so no "Codigo" either.
  const json go = marshal_.Marshal(zo::TWaitScreenCommandGo())["fields"];
  EXPECT_EQ(go, json::parse(R"({"Position":0})"));
  const json title = marshal_.Marshal(zo::TWaitScreenCommandTitle("x"))["fields"];
  EXPECT_EQ(title, json::parse(R"({"Text":"x"})"));

  auto vip = MakeClienteVIP();
  const json j = marshal_.Marshal(*vip);
  EXPECT_EQ(j.size(), 3u);  // type, id, fields: no owner link
  EXPECT_EQ(j["fields"].size(), TClienteVIP::StaticType().Properties().size());
  EXPECT_EQ(j["fields"]["Gerente"], "Bruno");
  EXPECT_EQ(j["fields"]["UserID"], 3);
}

TEST_F(JsonShapeTest, InputAcceptsDaysShortNamesAndPartialFields) {
  const auto pedido = Read<TPedido>(R"({"type": "TPedido", "id": "ignorado", "fields": {
      "Data": 45351.5, "DataEntrega": "2024-03-05", "HoraEntrega": "08:30",
      "DataHoraInclusao": null, "Itens": null}})");
  EXPECT_EQ(pedido->Data, zo::TDateTime::FromParts(2024, 2, 29, 12));
  EXPECT_EQ(pedido->DataEntrega, zo::TDate::FromYMD(2024, 3, 5));
  EXPECT_EQ(pedido->HoraEntrega, zo::TTime::FromHMS(8, 30));
  EXPECT_TRUE(pedido->Itens.Empty());

  // Left-out fields keep the defaults of a new object.
  const auto produto = Read<TProduto>(R"({"type":"DemoClasses.TProduto","fields":{"Preco":2}})");
  EXPECT_EQ(produto->Preco, 2.0);
  EXPECT_EQ(produto->Codigo, -1);
  EXPECT_EQ(produto->Unidade, U'U');
  EXPECT_TRUE(produto->Ativo);
  EXPECT_EQ(produto->Imagem, nullptr);
  EXPECT_NE(Read<TCidade>(R"({"type":"TCidade"})"), nullptr);

  EXPECT_EQ(unmarshal_.UnmarshalFromString("null"), nullptr);
}

namespace b64 = zo::base64;

std::vector<uint8_t> Bytes(std::string_view s) { return {s.begin(), s.end()}; }

TEST(Base64Test, StandardVectorsBothWays) {
  const std::pair<const char*, const char*> vectors[] = {
      {"", ""},
      {"f", "Zg=="},
      {"fo", "Zm8="},
      {"foo", "Zm9v"},
      {"foob", "Zm9vYg=="},
      {"fooba", "Zm9vYmE="},
      {"foobar", "Zm9vYmFy"},
  };
  for (const auto& [plain, encoded] : vectors) {
    EXPECT_EQ(b64::Encode(Bytes(plain)), encoded);
    EXPECT_EQ(b64::Decode(encoded), Bytes(plain)) << encoded;
  }
  const auto all = zo::testing::PatternBytes(1000);
  EXPECT_EQ(b64::Decode(b64::Encode(all)), all);
  EXPECT_EQ(b64::Encode(Bytes("\xff\xfe")), "//4=");
}

TEST(Base64Test, LineBreaksAndMissingPaddingAreAccepted) {
  EXPECT_EQ(b64::Decode("Zm9v\r\nYmE="), Bytes("fooba"));
  EXPECT_EQ(b64::Decode("Zm9vYmE"), Bytes("fooba"));
  EXPECT_EQ(b64::Decode("Zg"), Bytes("f"));
}

TEST(Base64Test, GarbageIsRejected) {
  for (const char* bad : {"Zm9v!", "Z", "Zm9vY", "Zg=", "Zg===", "=Zg=", "Zg==Zg==", "Zm-v"}) {
    EXPECT_FALSE(b64::Decode(bad).has_value()) << bad;
  }
}

TEST(Utf8CheckTest, OnlyStrictUtf8IsValid) {
  EXPECT_TRUE(zo::utf8::IsValid("ação ✓ 😀"));
  for (const char* bad : {"\xE3o", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x9C"}) {
    EXPECT_FALSE(zo::utf8::IsValid(bad)) << bad;
  }
  EXPECT_EQ(zo::utf8::Printable("S\xE3o ✓"), "S?o ???");
  EXPECT_EQ(zo::utf8::Printable("São"), "São");
}

}  // namespace
