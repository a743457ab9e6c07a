#pragma once

#include <zo/Export.h>

#include <cstdint>
#include <functional>
#include <string>

namespace zo {

// Turns the steps of a long operation into whole percentages and raises an event only when
// the whole percent changes, so a loop of any length sends at most 100 positions.
class ZO_EXPORT TServerActionProgressWzd {
 public:
  using TNotifyEvent = std::function<void(TServerActionProgressWzd& sender)>;
  using TCancelProgressEvent = std::function<void(TServerActionProgressWzd& sender, bool& cancel)>;

  TServerActionProgressWzd();

  void Reset();
  void SetMax(int32_t max);
  void Next();
  int32_t GetPosition() const;
  int32_t Position() const { return GetPosition(); }
  void SetTitle(const std::string& title);
  void SetSubTitle(const std::string& subTitle);
  // Asks to cancel; an OnCancel handler may veto by setting `cancel` to false.
  void CancelOperation();

  bool IsCanceled() const { return FCanceled; }
  const std::string& Title() const { return FTitle; }
  const std::string& SubTitle() const { return FSubTitle; }
  bool Enabled() const { return fEnabled; }
  void SetEnabled(bool enabled) { fEnabled = enabled; }

  TCancelProgressEvent OnCancel;
  TNotifyEvent OnProgress;
  TNotifyEvent OnTitle;
  TNotifyEvent OnSubTitle;

 private:
  void Fire(const TNotifyEvent& event) {
    if (event) event(*this);
  }

  int32_t FMax = 0;
  double FIncFactor = 0;
  int32_t FOldPosition = 0;
  double FPosition = 0;
  bool FCanceled = false;
  std::string FSubTitle;
  std::string FTitle;
  bool fEnabled = false;
};

}  // namespace zo
