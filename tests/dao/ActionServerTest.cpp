// Server actions: the template method, progress on the client's wait screen and cancelling.

#include <gtest/gtest.h>

#include <algorithm>

#include <zo/core/Exceptions.h>
#include <zo/core/User.h>
#include <zo/dao/ActionServer.h>
#include <zo/dao/ServerActionProgress.h>
#include <zo/dao/WaitScreen.h>

#include "tests/dao/DaoTestSupport.h"
#include "tests/support/RecordingCallback.h"

namespace zo::testing {
namespace {

// Runs `steps` steps, asking to cancel at step `cancelAt`; stops once cancelled. Returns the
// number of steps done. Records the hooks it passes.
class TStepsAction : public TActionServer {
 public:
  int steps = 3;
  int cancelAt = -1;
  std::string failIn;
  std::vector<std::string> calls;

  void CheckAccess() override { Hook("CheckAccess"); }
  void OnBeforeExecuteAction() override { Hook("Before"); }
  void OnAfterExecuteAction() override { Hook("After"); }

 protected:
  int32_t ExecuteAction() override {
    Hook("Execute");
    ActionProgress().SetTitle("Contando");
    ActionProgress().SetMax(steps);
    int done = 0;
    for (; done < steps && !ActionProgress().IsCanceled(); ++done) {
      if (done == cancelAt) ActionProgress().CancelOperation();
      AdvanceProgress();
    }
    return done;
  }

 private:
  void Hook(const std::string& name) {
    calls.push_back(name);
    if (name == failIn) throw Exception("falhou em " + name);
  }
};

class ActionServerTest : public DaoTest {
 protected:
  ActionServerTest() {
    action_.SetSQLConnection(sql_.get());
    action_.SetCallback(&callback_);
  }

  TStepsAction action_;
};

TEST_F(ActionServerTest, ProgressReachesTheClientPositionFirst) {
  EXPECT_EQ(action_.Execute(), 3);
  const auto kinds = callback_.Kinds();
  const std::vector<std::string> event = {"TWaitScreenCommandGo", "TWaitScreenCommandTitle",
                                          "TWaitScreenCommandJob"};
  ASSERT_GE(kinds.size(), 9u);
  const size_t start = kinds.size() - 9;  // the three steps, one event each
  for (size_t i = start; i < kinds.size(); ++i) EXPECT_EQ(kinds[i], event[(i - start) % 3]);
  const auto positions = callback_.Positions();
  EXPECT_EQ(std::vector<int>(positions.end() - 3, positions.end()),
            (std::vector<int>{33, 66, 100}));
  EXPECT_EQ(callback_.received.back()["fields"]["Text"], "") << "the subtitle is always sent";
  EXPECT_EQ(callback_.received[callback_.received.size() - 2]["fields"]["Text"], "Contando");
}

TEST_F(ActionServerTest, HooksRunInOrderAndAFailureEndsTheRun) {
  action_.Execute();
  EXPECT_EQ(action_.calls, (std::vector<std::string>{"CheckAccess", "Before", "Execute", "After"}));

  action_.calls.clear();
  action_.failIn = "CheckAccess";
  EXPECT_EQ(MessageOf([&] { action_.Execute(); }), "falhou em CheckAccess");
  EXPECT_EQ(action_.calls, std::vector<std::string>{"CheckAccess"});

  action_.calls.clear();
  action_.failIn = "Execute";
  EXPECT_THROW(action_.Execute(), Exception);
  EXPECT_EQ(action_.calls.back(), "Execute") << "the after hook is not called";
}

TEST_F(ActionServerTest, CancelStopsUnlessVetoedAndTheClientCanAbort) {
  action_.steps = 10;
  action_.cancelAt = 4;
  EXPECT_EQ(action_.Execute(), 5) << "stops after the step that asked";

  action_.ActionProgress().OnCancel = [](TServerActionProgressWzd&, bool& cancel) {
    cancel = false;
  };
  EXPECT_EQ(action_.Execute(), 10) << "vetoed: the action runs to its end";

  callback_.cancelWhen = [](const nlohmann::json& command) {
    return command["fields"].value("Position", 0) == 30;
  };
  action_.calls.clear();
  EXPECT_THROW(action_.Execute(), EAbort);
  EXPECT_EQ(action_.calls.back(), "Execute");
}

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
}  // namespace zo::testing
