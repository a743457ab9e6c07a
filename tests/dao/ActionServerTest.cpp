// Server actions: the template method, progress on the client's wait screen, cancelling, and
// the object cache.
#include <zo/dao/ActionServer.h>
#include "tests/dao/DaoTestSupport.h"

namespace zo::testing {
namespace {

using demo::TCidade;

const TDataObjectClass kCidade = &TCidade::StaticType();

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

TEST_F(ActionServerTest, ObjectsAreReadOncePerExecution) {
  Exec("INSERT INTO CIDADES (ID, NOME, UF) VALUES (5, 'Olinda', 'PE')");
  TakeTrace("CIDADES");

  EXPECT_EQ(action_.GetObject(kCidade, -1), nullptr);
  TBaseDataObject* first = action_.GetObject(kCidade, 5);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(static_cast<TCidade*>(first)->Nome, "Olinda");
  EXPECT_EQ(action_.GetObject(kCidade, 5), first);
  EXPECT_EQ(TakeTrace("CIDADES").size(), 1u) << "the second read comes from the cache";

  for (int attempt = 0; attempt < 2; ++attempt) {
    EXPECT_EQ(MessageOf([&] { action_.GetObject(kCidade, 6); }),
              "Objeto inexistente no repositório. ID: 6. Classe: TCidade");
  }
  EXPECT_EQ(TakeTrace("CIDADES").size(), 2u) << "a missing object is not cached";

  action_.Execute();
  action_.GetObject(kCidade, 5);
  EXPECT_EQ(TakeTrace("CIDADES").size(), 1u) << "each execution starts with an empty cache";
}

}  // namespace
}  // namespace zo::testing
