#pragma once

#include <memory>

#include <zo/server/CustomServerModule.h>

#include "LoanDAO.h"

namespace library {

// The library's server module, one per connected client: binds the classes to their DAOs and
// offers the action "ComputeFines".
class TLibraryServerModule : public zo::TZoCustomServerModule {
 public:
  explicit TLibraryServerModule(const zo::TModuleCreateArgs& args);
  void Init() override;

 private:
  std::unique_ptr<TLoanDAO> fLoanDAO;
};

}  // namespace library
