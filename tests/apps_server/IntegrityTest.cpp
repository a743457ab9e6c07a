// What a client sends is stored whole or refused with the message that names the property:
// binary large objects inside objects, unique columns, and Validate agreeing with Insert.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/json/Base64.h"
#include "tests/apps_server/Remote.h"

namespace zo::testing {
namespace {

class ServerIntegrity : public LiveServerTest {
 protected:
  static void SetUpTestSuite() { StartServer({{kAcme}, true, {}}); }
  static void TearDownTestSuite() { StopServer(); }

  void SetUp() override {
    LiveServerTest::SetUp();
    remote_ = ConnectRemote(Live(), "ws", kAcme);
  }

  json Call(const std::string& method, const json& params) { return remote_->Call(method, params); }
  json Blob(const std::string& className, int id, const std::string& property) {
    return Call("GetBlobData",
                {{"AClassName", className}, {"id", id}, {"APropertyName", property}});
  }
  int Count(const std::string& className, const std::string& condition) {
    return Call("GetCount", {{"AClassName", className}, {"ACondition", condition}}).get<int>();
  }
  // Update stores only when the client asks for a callback.
  std::string Refusal(const std::string& method, const json& object) {
    json params = {{"jObj", object}};
    if (method == "Update") params["Callback"] = true;
    return ErrorOf([&] { Call(method, params); }).what();
  }

  std::unique_ptr<Remote> remote_;
};

json Object(const std::string& type, json fields) {
  return {{"type", "DemoClasses." + type}, {"fields", std::move(fields)}};
}

std::string Base64Of(std::size_t size, int seed) {
  std::vector<std::uint8_t> bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * seed + i / 251);
  return base64::Encode(bytes);
}

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST_F(ServerIntegrity, BinaryObjectsSentInsideTheObjectAreStored) {
  // 40000 bytes: two full chunks and a short one.
  const std::string image = Base64Of(40000, 7);
  json product =
      Object("TProduto", {{"Descricao", "Erva-mate"}, {"Preco", 6.5}, {"Imagem", image}});
  const int id = Call("Insert", {{"jObj", product}}).get<int>();
  EXPECT_EQ(Blob("TProduto", id, "Imagem"), image);

  // A read leaves the image out; sending that object back keeps the stored one...
  json read = Call("Get", {{"AClassName", "TProduto"}, {"id", id}});
  EXPECT_TRUE(read["fields"]["Imagem"].is_null());
  read["fields"]["Preco"] = 7.0;
  Call("Update", {{"jObj", read}, {"Callback", true}});
  EXPECT_EQ(Blob("TProduto", id, "Imagem"), image);
  // ...and one that holds an image replaces it.
  const std::string other = Base64Of(16384, 3);
  read["fields"]["Imagem"] = other;
  Call("Update", {{"jObj", read}, {"Callback", true}});
  EXPECT_EQ(Blob("TProduto", id, "Imagem"), other);

  // No stream makes the column NULL, not an empty blob.
  Call("SetBlobData",
       {{"AClassName", "TProduto"}, {"id", id}, {"APropertyName", "Imagem"}, {"AStream", nullptr}});
  EXPECT_TRUE(Blob("TProduto", id, "Imagem").is_null());

  // A bitmap is still never written from the object.
  const int cliente =
      Call("Insert",
           {{"jObj", Object("TCliente", {{"Nome", "Foto Ltda"}, {"Foto", Base64Of(300, 5)}})}})
          .get<int>();
  EXPECT_TRUE(
      Call("Get", {{"AClassName", "TCliente"}, {"id", cliente}})["fields"]["Foto"].is_null());
}

TEST_F(ServerIntegrity, RepeatedUniqueValuesAreRefusedNamingTheProperty) {
  // The sample data's barcode and e-mail. The image of a refused insert is not stored either.
  const std::string refusedProduct =
      Refusal("Insert", Object("TProduto", {{"Descricao", "Café de novo"},
                                            {"CodigoBarras", "7891000053508"},
                                            {"Preco", 1},
                                            {"Imagem", Base64Of(100, 1)}}));
  EXPECT_TRUE(Contains(refusedProduct,
                       "O valor da propriedade \"CodigoBarras\" da classe \"TProduto\" já está em "
                       "uso por outro objeto"))
      << refusedProduct;
  EXPECT_FALSE(Contains(refusedProduct, "UNIQUE")) << refusedProduct;
  EXPECT_EQ(Count("TProduto", "CodigoBarras = '7891000053508'"), 1);

  json cliente = Call("GetByCondition", {{"AClassName", "TCliente"},
                                         {"ACondition", "Email = 'contato@emporiosj.com.br'"}})[0];
  cliente["fields"]["Email"] = "ana@mercadinho.com.br";
  const std::string refusedUpdate = Refusal("Update", cliente);
  EXPECT_TRUE(Contains(refusedUpdate, "O valor da propriedade \"Email\" da classe \"TCliente\""))
      << refusedUpdate;
  EXPECT_FALSE(Contains(refusedUpdate, "violation")) << refusedUpdate;
  EXPECT_EQ(Count("TCliente", "Email = 'ana@mercadinho.com.br'"), 1);

  // Objects without a value do not collide with one another.
  for (const char* nome : {"Sem e-mail 1", "Sem e-mail 2"}) {
    EXPECT_GT(
        Call("Insert", {{"jObj", Object("TCliente", {{"Nome", nome}, {"Email", ""}})}}).get<int>(),
        0);
  }
}

TEST_F(ServerIntegrity, ValidateRefusesWhatInsertRefusesWithTheSameMessage) {
  const auto about = [&](const std::string& property, const std::string& problem) {
    return "O valor da propriedade \"" + property + "\" da classe \"" + problem;
  };
  const struct {
    json object;
    std::string message;
  } cases[] = {
      {Object("TCidade", {{"UF", "PE"}}), about("Nome", "TCidade\" é obrigatório")},
      {Object("TCidade", {{"Nome", "Natal"}, {"UF", "RNX"}}),
       about("UF", "TCidade\" excede o tamanho máximo de 2 caracteres")},
      {Object("TCidade", {{"Nome", "Tōkyō"}, {"UF", "TK"}}),
       about("Nome",
             "TCidade\" contém caracteres que o banco de dados não suporta (fora do "
             "Latin-1)")},
      {Object("TCliente", {{"Nome", "Outra Ana"}, {"Email", "ana@mercadinho.com.br"}}),
       about("Email", "TCliente\" já está em uso por outro objeto")},
  };
  for (const auto& c : cases) {
    const std::string type = c.object["type"];
    const int before = Count(type.substr(type.find('.') + 1), "");
    EXPECT_EQ(Refusal("Validate", c.object), c.message);
    const std::string inserted = Refusal("Insert", c.object);
    EXPECT_TRUE(Contains(inserted, "Falha na inclusão do objeto\r\n" + c.message + "\r\n"))
        << inserted;
    EXPECT_EQ(Count(type.substr(type.find('.') + 1), ""), before) << c.message;
  }
  EXPECT_TRUE(
      Call("Validate", {{"jObj", Object("TCidade", {{"Nome", "Natal"}, {"UF", "RN"}})}}).is_null());
}

}  // namespace
}  // namespace zo::testing
