#pragma once

#include <zo/dao/ActionServer.h>

namespace library {

// Charges every loan still out a fine for each day past its due date, reporting progress to
// the client's wait screen; a cancel from the client rolls every change back.
class TComputeFinesAction : public zo::TActionServer {
 public:
  static constexpr double kFinePerDay = 0.5;

 protected:
  int32_t ExecuteAction() override;  // returns the number of loans that owe a fine
};

}  // namespace library
