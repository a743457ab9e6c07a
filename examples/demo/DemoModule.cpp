#include "examples/demo/DemoModule.h"

#include <nlohmann/json.hpp>

#include "examples/demo/DemoAction.h"
#include "examples/demo/DemoClasses.h"

namespace demo {

TDemoServerModule::TDemoServerModule(const zo::TModuleCreateArgs& args)
    : TZoCustomServerModule(args) {
  auto cidades = std::make_unique<zo::TSQLDataSet>();
  cidades->SetName("Cidades");
  cidades->SetCommandText("select ID, NOME, UF from CIDADES order by NOME");
  AddComponent(std::move(cidades));
}

void TDemoServerModule::Init() {
  TZoCustomServerModule::Init();
  fProdutoDAO = std::make_unique<TProdutoDAO>(SQLConnection());
  fProdutoDAO->SetUser(User());
  LinkDataClassToDAO(&TProduto::StaticType(), fProdutoDAO.get());
  for (const zo::TDataObjectClass cls :
       {&TCidade::StaticType(), &TCliente::StaticType(), &TClienteVIP::StaticType(),
        &TCategoria::StaticType(), &TPedido::StaticType(), &TItemPedido::StaticType()}) {
    LinkDataClassToDAO(cls, DefaultDAO());
  }
  RegisterMethod(
      "RecalcularTotais",
      [this](const nlohmann::json& /*params*/, zo::TZoCallback* callback) -> nlohmann::json {
        TRecalcularTotaisAction action;
        action.SetSQLConnection(SQLConnection());
        action.SetCallback(callback);
        action.SetUser(User());
        return action.Execute();
      });
}

}  // namespace demo
