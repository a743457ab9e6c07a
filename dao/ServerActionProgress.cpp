#include <zo/dao/ServerActionProgress.h>

namespace zo {

TServerActionProgressWzd::TServerActionProgressWzd() {
  Reset();  // does nothing yet: the reporter is enabled only once constructed
  fEnabled = true;
}

void TServerActionProgressWzd::Reset() {
  if (!fEnabled) return;
  FPosition = 0;
  FIncFactor = 0;
  FOldPosition = 0;
  FCanceled = false;
  Fire(OnProgress);
}

void TServerActionProgressWzd::SetMax(int32_t max) {
  if (!fEnabled) return;
  Reset();
  FMax = max;
  if (max > 0) FIncFactor = 100.0 / max;
}

void TServerActionProgressWzd::Next() {
  if (!fEnabled) return;
  FPosition += FIncFactor;
  if (OnProgress && GetPosition() != FOldPosition) OnProgress(*this);
  FOldPosition = GetPosition();
}

int32_t TServerActionProgressWzd::GetPosition() const {
  return static_cast<int32_t>(FPosition);  // truncated toward zero
}

void TServerActionProgressWzd::SetTitle(const std::string& title) {
  if (!fEnabled) return;
  FTitle = title;
  Fire(OnTitle);
  Fire(OnProgress);
}

void TServerActionProgressWzd::SetSubTitle(const std::string& subTitle) {
  if (!fEnabled) return;
  FSubTitle = subTitle;
  Fire(OnSubTitle);
  Fire(OnProgress);
}

void TServerActionProgressWzd::CancelOperation() {
  bool cancel = true;
  if (OnCancel) OnCancel(*this, cancel);
  FCanceled = cancel;
}

}  // namespace zo
