// Data objects as JSON: the text's shape, round trips, refusals of bad documents, and the
// base64 and UTF-8 checks beneath them.
#include <gtest/gtest.h>

#include <cmath>

#include <nlohmann/json.hpp>

#include <zo/core/DataObjectList.h>
#include <zo/core/Exceptions.h>
#include <zo/core/Streams.h>
#include <zo/core/WaitScreen.h>
#include <zo/platform/json/JSONMarshal.h>
#include <zo/platform/json/JSONUnMarshal.h>
#include "examples/demo/DemoClasses.h"
#include "platform/json/Base64.h"
#include "platform/json/JsonHelpers.h"
#include "platform/json/Utf8Check.h"

namespace {

using namespace demo;
using nlohmann::json;

std::vector<uint8_t> PatternBytes(size_t count) {
  std::vector<uint8_t> bytes(count);
  for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>((i * 31 + i / 256) % 256);
  return bytes;
}

// Fully populated demo objects: every property set to something other than its default.
std::unique_ptr<TCidade> MakeCidade() {
  auto c = std::make_unique<TCidade>();
  c->Codigo = 7;
  c->Nome = "São Paulo";
  c->UF = "SP";
  c->CodigoIBGE = 3550308;
  return c;
}

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

struct Case {
  const char* what;
  const char* text;
  const char* message;  // expected within the error
};

class JsonTest : public ::testing::Test {
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

  template <class T>
  std::unique_ptr<T> Read(const std::string& text) const {
    return zo::StaticCastOwned<T>(unmarshal_.UnmarshalFromString(text));
  }

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

  zo::TJSONMarshal marshal_;
  zo::TJSONUnMarshal unmarshal_;
};

TEST_F(JsonTest, SmallObjectText) {
  EXPECT_EQ(marshal_.MarshalToString(*MakeCidade()),
            R"({"fields":{"Codigo":7,"CodigoIBGE":3550308,"Nome":"São Paulo","UF":"SP"},)"
            R"("id":1,"type":"DemoClasses.TCidade"})");
}

TEST_F(JsonTest, ObjectsAreNumberedInTheOrderWritten) {
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

TEST_F(JsonTest, ValueForms) {
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

TEST_F(JsonTest, FieldsAreExactlyTheRegisteredProperties) {
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

TEST_F(JsonTest, InputAcceptsDaysShortNamesAndPartialFields) {
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

TEST(Base64Test, StandardVectorsBothWaysAndGarbageRefused) {
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
  const auto all = PatternBytes(1000);
  EXPECT_EQ(b64::Decode(b64::Encode(all)), all);
  EXPECT_EQ(b64::Encode(Bytes("\xff\xfe")), "//4=");
  // Line breaks and missing padding are accepted; garbage is not.
  EXPECT_EQ(b64::Decode("Zm9v\r\nYmE="), Bytes("fooba"));
  EXPECT_EQ(b64::Decode("Zm9vYmE"), Bytes("fooba"));
  EXPECT_EQ(b64::Decode("Zg"), Bytes("f"));
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

// Every registered property alike, through the text form; the links of list items to their
// owner are rebuilt on reading, and a derived class stays itself, alone and inside a holder.
TEST_F(JsonTest, DemoObjectsComeBackWhole) {
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

TEST_F(JsonTest, AnyStreamIsWrittenWholeAndLeftWhereItWas) {
  TProduto produto;
  produto.Imagem = std::make_unique<TForwardStream>(PatternBytes(70000));
  produto.Imagem->SetPosition(1234);
  const auto back = RoundTripAs<TProduto>(produto);
  EXPECT_EQ(produto.Imagem->Position(), 1234);
  ASSERT_TRUE(back->Imagem);
  EXPECT_EQ(static_cast<zo::TMemoryStream&>(*back->Imagem).Bytes(), PatternBytes(70000));
}

// Documents that are not data objects, field values of the wrong type, held objects and list
// items of the wrong class, and nesting beyond the bound.
TEST_F(JsonTest, RefusedDocumentsSayWhy) {
  std::string deep;
  for (int i = 0; i < 1000; ++i) deep += R"({"type":"TCategoria","fields":{"Filhas":[)";
  for (int i = 0; i < 1000; ++i) deep += "]}}";
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
      {"deep", deep.c_str(), "JSON com objetos aninhados demais (limite 200)"},
  };
  for (const auto& c : cases) ExpectError(c);
}

TEST_F(JsonTest, ParseErrorQuotingBadBytesIsStillWritableAsJson) {
  const std::string message = ErrorOf("{\"type\":\"TCidade\",\"fields\":{\"Nome\":\"\xFF\"}}");
  EXPECT_EQ(message.find("JSON inválido: "), 0u) << message;
  EXPECT_NO_THROW(nlohmann::json(message).dump());
}

TEST_F(JsonTest, ValuesJsonCannotCarryAreRefusedWhenWriting) {
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
