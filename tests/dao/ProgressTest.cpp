#include <gtest/gtest.h>

#include <algorithm>

#include <zo/core/Exceptions.h>
#include <zo/core/User.h>
#include <zo/dao/ServerActionProgress.h>
#include <zo/dao/WaitScreen.h>
#include "tests/support/RecordingCallback.h"

namespace {

using zo::TServerActionProgressWzd;
using zo::testing::RecordingCallback;

std::vector<int> ReportedPositions(int max, int steps) {
  TServerActionProgressWzd progress;
  std::vector<int> reported;
  progress.SetMax(max);
  progress.OnProgress = [&](TServerActionProgressWzd& p) { reported.push_back(p.GetPosition()); };
  for (int i = 0; i < steps; ++i) progress.Next();
  return reported;
}

TEST(ProgressTest, StepsBecomeWholePercentsReportedOnChange) {
  EXPECT_EQ(ReportedPositions(3, 3), (std::vector<int>{33, 66, 100}));
  EXPECT_TRUE(ReportedPositions(0, 5).empty()) << "no steps: the position never moves";
  const auto many = ReportedPositions(1000, 1000);
  // Summed in floating point: a thousand steps of 0.1 end just short of 100.
  EXPECT_LE(many.size(), 100u);
  EXPECT_GE(many.back(), 99);
  EXPECT_TRUE(std::is_sorted(many.begin(), many.end()));
  EXPECT_EQ(std::adjacent_find(many.begin(), many.end()), many.end()) << "each a new percent";
}

TEST(ProgressTest, DisabledReporterIgnoresEverythingButCancel) {
  TServerActionProgressWzd progress;
  int events = 0;
  progress.OnProgress = [&](TServerActionProgressWzd&) { ++events; };
  progress.SetEnabled(false);
  progress.SetMax(2);
  progress.Next();
  progress.SetTitle("x");
  EXPECT_EQ(events, 0);
  EXPECT_EQ(progress.GetPosition(), 0);
  EXPECT_EQ(progress.Title(), "");
  progress.CancelOperation();
  EXPECT_TRUE(progress.IsCanceled());
}

TEST(WaitScreenTest, CommandsTravelAsJsonAndTrueAborts) {
  zo::RegisterCoreClasses();
  RecordingCallback callback;
  zo::SetWaitTitle(&callback, "Excluindo...");
  zo::SetWaitSubTitle(&callback, "Pedido 7");
  zo::GoWaitPos(&callback, 42);
  zo::SetWaitCount(&callback, 10);  // says nothing to the client
  ASSERT_EQ(callback.received.size(), 3u);
  EXPECT_EQ(callback.received[0]["type"], "ZoCore.TWaitScreenCommandTitle");
  EXPECT_EQ(callback.received[0]["fields"]["Text"], "Excluindo...");
  EXPECT_EQ(callback.received[1]["type"], "ZoCore.TWaitScreenCommandJob");
  EXPECT_EQ(callback.Positions(), std::vector<int>{42});

  callback.cancelWhen = [](const nlohmann::json&) { return true; };
  EXPECT_THROW(zo::GoWaitPos(&callback, 50), zo::EAbort);
  EXPECT_NO_THROW(zo::SetWaitTitle(nullptr, "ninguém ouve"));
}

}  // namespace
