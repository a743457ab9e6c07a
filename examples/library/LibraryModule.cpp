#include "LibraryModule.h"

#include <nlohmann/json.hpp>

#include "FinesAction.h"
#include "LibraryClasses.h"

namespace library {

TLibraryServerModule::TLibraryServerModule(const zo::TModuleCreateArgs& args)
    : TZoCustomServerModule(args) {}

void TLibraryServerModule::Init() {
  TZoCustomServerModule::Init();
  fLoanDAO = std::make_unique<TLoanDAO>(SQLConnection());
  fLoanDAO->SetUser(User());
  LinkDataClassToDAO(&TLoan::StaticType(), fLoanDAO.get());
  for (const zo::TDataObjectClass cls : {&TAuthor::StaticType(), &TBook::StaticType(),
                                         &TMember::StaticType(), &TLoanItem::StaticType()}) {
    LinkDataClassToDAO(cls, DefaultDAO());
  }
  RegisterMethod("ComputeFines",
                 [this](const nlohmann::json& /*params*/, zo::TZoCallback* callback) {
                   TComputeFinesAction action;
                   action.SetSQLConnection(SQLConnection());
                   action.SetCallback(callback);
                   action.SetUser(User());
                   return nlohmann::json(action.Execute());
                 });
}

}  // namespace library
