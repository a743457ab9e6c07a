#include <gtest/gtest.h>

#include <zo/core/Attributes.h>
#include <zo/core/ClassRegistry.h>
#include <zo/core/DataObjectInfo.h>
#include <zo/core/Exceptions.h>
#include "examples/demo/DemoClasses.h"

namespace {

using namespace demo;
using zo::TTypeKind;

class ReflectionTest : public ::testing::Test {
 protected:
  void SetUp() override { RegisterDemoClasses(); }
};

TEST_F(ReflectionTest, MemberTypesGiveKindsAndTypeNames) {
  const auto& t = TProduto::StaticType();
  struct Expect {
    const char* prop;
    TTypeKind kind;
    const char* type;
  };
  const Expect expected[] = {
      {"Codigo", TTypeKind::tkInteger, "TPrimaryKey"},
      {"Categoria", TTypeKind::tkInteger, "TForeignKey"},
      {"Estoque", TTypeKind::tkInt64, "Int64"},
      {"Preco", TTypeKind::tkFloat, "Double"},
      {"Ativo", TTypeKind::tkEnumeration, "Boolean"},
      {"Unidade", TTypeKind::tkWChar, "Char"},
      {"Descricao", TTypeKind::tkUString, "string"},
      {"Imagem", TTypeKind::tkClass, "TStream"},
  };
  for (const auto& e : expected) {
    const auto* p = t.FindProperty(e.prop);
    ASSERT_NE(p, nullptr) << e.prop;
    EXPECT_EQ(p->Kind(), e.kind) << e.prop;
    EXPECT_EQ(p->TypeName(), e.type) << e.prop;
  }
  EXPECT_EQ(TPedido::StaticType().FindProperty("Status")->TypeName(), "TStatusPedido");
  EXPECT_EQ(TPedido::StaticType().FindProperty("HoraEntrega")->TypeName(), "TTime");
  EXPECT_EQ(TCliente::StaticType().FindProperty("Foto")->TypeName(), "TBitmap");
  EXPECT_EQ(TPedido::StaticType().FindProperty("Itens")->ItemClass(), &TItemPedido::StaticType());
  EXPECT_EQ(TPedido::StaticType().FindProperty("Cliente")->PropertyClass(),
            &TCliente::StaticType());
}

TEST_F(ReflectionTest, AncestorsPropertiesComeFirstAndKeepTheirDeclaringClass) {
  const auto& props = TClienteVIP::StaticType().Properties();
  ASSERT_GE(props.size(), 3u);
  EXPECT_EQ(props[0]->Name(), "UserID");
  EXPECT_EQ(props[0]->DeclaringClass(), &zo::TUserObject::StaticType());
  EXPECT_EQ(props.back()->Name(), "Gerente");
  EXPECT_EQ(props.back()->DeclaringClass(), &TClienteVIP::StaticType());
  EXPECT_TRUE(TClienteVIP::StaticType().InheritsFrom(&TCliente::StaticType()));
  EXPECT_FALSE(TCliente::StaticType().InheritsFrom(&TClienteVIP::StaticType()));
  EXPECT_EQ(TClienteVIP::StaticType().QualifiedName(), "DemoClasses.TClienteVIP");
}

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

TEST_F(ReflectionTest, VirtualConstructorAndRegistry) {
  auto obj = zo::FindClass("DemoClasses.TPedido")->Create();
  EXPECT_EQ(obj->ClassType(), &TPedido::StaticType());
  EXPECT_EQ(obj->GetCodigo(), -1);
  EXPECT_EQ(zo::FindClass("TCidade"), &TCidade::StaticType());
  EXPECT_EQ(zo::FindClass("TNaoExiste"), nullptr);
  EXPECT_EQ(zo::TUser::StaticType().GetIdName(), "ID");
  EXPECT_EQ(zo::TUser::StaticType().GetTableName(), "USUARIOS");
}

TEST_F(ReflectionTest, AttributeQueries) {
  const auto& c = TCliente::StaticType();
  EXPECT_EQ(zo::GetAttribName(c.FindProperty("Nome")), "NOME");
  EXPECT_EQ(zo::GetAttribName(c.FindProperty("Foto")), "Foto");
  EXPECT_EQ(zo::GetAttribSkill(c.FindProperty("Endereco")), zo::TPropertySkill::psEmbedded);
  EXPECT_TRUE(zo::IsComposition(c.FindProperty("Cidade")));
  EXPECT_TRUE(zo::IsAgregation(TPedido::StaticType().FindProperty("Itens")));
  EXPECT_TRUE(zo::IsRequired(c.FindProperty("Nome")));
  EXPECT_TRUE(zo::IsIndexed(c.FindProperty("Cidade")));
  EXPECT_EQ(zo::GetHostClass(TItemPedido::StaticType().FindProperty("Pedido")),
            &TPedido::StaticType());
}

}  // namespace
