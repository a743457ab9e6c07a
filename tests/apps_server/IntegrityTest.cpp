// What a client sends is stored whole or refused with the message that names the property:
// binary large objects inside objects, unique columns, and Validate agreeing with Insert.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/json/Base64.h"

#include "tests/apps_server/Deployment.h"

namespace zo::testing {
namespace {

class ServerIntegrity : public LiveServerTest {
 protected:
  static void SetUpTestSuite() { StartServer({{kAcme}, true, {}}); }
  static void TearDownTestSuite() { StopServer(); }
  void SetUp() override {
    LiveServerTest::SetUp();
    remote_ = std::make_unique<Remote>(Live(), "ws", kAcme);
  }

  // Update stores only when the client asks for a callback.
  json Call(const std::string& method, json params) {
    if (method == "Update") params["Callback"] = true;
    return remote_->Call(method, params);
  }
  json Image(int id) {
    return Call("GetBlobData",
                {{"AClassName", "TProduto"}, {"id", id}, {"APropertyName", "Imagem"}});
  }
  int Count(const std::string& className, const std::string& condition) {
    return Call("GetCount", {{"AClassName", className}, {"ACondition", condition}}).get<int>();
  }
  std::string Refusal(const std::string& method, const json& object) {
    return ErrorOf([&] { Call(method, {{"jObj", object}}); }).what();
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

TEST_F(ServerIntegrity, BinaryObjectsSentInsideTheObjectAreStored) {
  const std::string image = Base64Of(40000, 7);  // two full chunks and a short one
  const int id =
      Call("Insert",
           {{"jObj",
             Object("TProduto", {{"Descricao", "Erva-mate"}, {"Preco", 6.5}, {"Imagem", image}})}})
          .get<int>();
  EXPECT_EQ(Image(id), image);

  // A read leaves the image out, and sending that object back keeps the stored one; an object
  // that holds one replaces it.
  json read = Call("Get", {{"AClassName", "TProduto"}, {"id", id}});
  EXPECT_TRUE(read["fields"]["Imagem"].is_null());
  read["fields"]["Preco"] = 7.0;
  Call("Update", {{"jObj", read}});
  EXPECT_EQ(Image(id), image);
  read["fields"]["Imagem"] = Base64Of(16384, 3);
  Call("Update", {{"jObj", read}});
  EXPECT_EQ(Image(id), read["fields"]["Imagem"]);
  // No stream makes the column NULL.
  Call("SetBlobData",
       {{"AClassName", "TProduto"}, {"id", id}, {"APropertyName", "Imagem"}, {"AStream", nullptr}});
  EXPECT_TRUE(Image(id).is_null());

  // A bitmap is still never written from the object.
  const json cliente = Object("TCliente", {{"Nome", "Foto Ltda"}, {"Foto", Base64Of(300, 5)}});
  const int clienteId = Call("Insert", {{"jObj", cliente}}).get<int>();
  EXPECT_TRUE(
      Call("Get", {{"AClassName", "TCliente"}, {"id", clienteId}})["fields"]["Foto"].is_null());
}

// A repeated unique value is answered naming the property, not with the database's text (the
// inserts are in the next test). Objects without a value do not collide with one another.
TEST_F(ServerIntegrity, RepeatedUniqueValuesAreRefusedOnUpdateToo) {
  json cliente = Call("GetByCondition", {{"AClassName", "TCliente"},
                                         {"ACondition", "Email = 'contato@emporiosj.com.br'"}})[0];
  cliente["fields"]["Email"] = "ana@mercadinho.com.br";
  const std::string refused = Refusal("Update", cliente);
  EXPECT_TRUE(
      refused.starts_with("Falha na atualização do objeto\r\nO valor da propriedade "
                          "\"Email\" da classe \"TCliente\" já está em uso por outro "
                          "objeto\r\n"))
      << refused;
  EXPECT_EQ(Count("TCliente", "Email = 'ana@mercadinho.com.br'"), 1);
  for (const char* nome : {"Sem e-mail 1", "Sem e-mail 2"}) {
    Call("Insert", {{"jObj", Object("TCliente", {{"Nome", nome}, {"Email", ""}})}});
  }
}

TEST_F(ServerIntegrity, ValidateRefusesWhatInsertRefusesWithTheSameMessage) {
  const auto about = [](const std::string& property, const std::string& rest) {
    return "O valor da propriedade \"" + property + "\" da classe \"" + rest;
  };
  const struct {
    std::string type;
    json fields;
    std::string message;
  } cases[] = {
      {"TCidade", {{"UF", "PE"}}, about("Nome", "TCidade\" é obrigatório")},
      {"TCidade",
       {{"Nome", "Natal"}, {"UF", "RNX"}},
       about("UF", "TCidade\" excede o tamanho máximo de 2 caracteres")},
      {"TCidade",
       {{"Nome", "Tōkyō"}, {"UF", "TK"}},
       about("Nome",
             "TCidade\" contém caracteres que o banco de dados não suporta (fora do "
             "Latin-1)")},
      // The sample data's barcode; the image sent with it is not stored either.
      {"TProduto",
       {{"Descricao", "Outro café"},
        {"CodigoBarras", "7891000053508"},
        {"Preco", 1},
        {"Imagem", Base64Of(100, 1)}},
       about("CodigoBarras", "TProduto\" já está em uso por outro objeto")},
  };
  for (const auto& c : cases) {
    const int before = Count(c.type, "");
    EXPECT_EQ(Refusal("Validate", Object(c.type, c.fields)), c.message);
    const std::string inserted = Refusal("Insert", Object(c.type, c.fields));
    EXPECT_NE(inserted.find("Falha na inclusão do objeto\r\n" + c.message + "\r\n"),
              std::string::npos)
        << inserted;
    EXPECT_EQ(Count(c.type, ""), before) << c.message;
  }
  const json natal = Object("TCidade", {{"Nome", "Natal"}, {"UF", "RN"}});
  EXPECT_TRUE(Call("Validate", {{"jObj", natal}}).is_null());
}

}  // namespace
}  // namespace zo::testing
