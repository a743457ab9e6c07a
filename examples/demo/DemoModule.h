#pragma once

#include <memory>

#include "examples/demo/DemoDAO.h"
#include <zo/server/CustomServerModule.h>

namespace demo {

// The demo application's server module: binds the demo classes to their DAOs, serves the
// cities as a data set ("dspCidades") and offers the action "RecalcularTotais".
class TDemoServerModule : public zo::TZoCustomServerModule {
 public:
  explicit TDemoServerModule(const zo::TModuleCreateArgs& args);
  void Init() override;

 private:
  std::unique_ptr<TProdutoDAO> fProdutoDAO;
};

}  // namespace demo
