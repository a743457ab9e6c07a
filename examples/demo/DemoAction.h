#pragma once

#include <zo/dao/ActionServer.h>

namespace demo {

// Recomputes every order's total from its items, reporting progress to the client's wait
// screen; the client can cancel, which rolls back every change made so far.
class TRecalcularTotaisAction : public zo::TActionServer {
 protected:
  int32_t ExecuteAction() override;  // returns the number of orders whose total changed
};

}  // namespace demo
