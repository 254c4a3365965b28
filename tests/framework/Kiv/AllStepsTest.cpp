#include "framework/Kiv/AllSteps.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

std::string raisedBy(const auto& work) {
  try {
    work();
  } catch (const std::exception& error) {
    return error.what();
  }
  return "nothing";
}

TEST(AllStepsTest, everyStepIsDoneAndTheFirstExceptionRaisedAtTheEndOfTheScope) {
  int done = 0;
  const std::string raised = raisedBy([&] {
    Kiv::AllSteps steps;
    steps.run([&] { ++done; });
    steps.run([&] { throw std::runtime_error("first"); });
    steps.run([&] { ++done; });
    steps.run([&] { throw std::logic_error("second"); });
    ++done;
  });
  EXPECT_EQ(raised, "first");
  EXPECT_EQ(done, 3);
}

TEST(AllStepsTest, isRaisedThoughTheScopeIsLeftEarly) {
  EXPECT_EQ(raisedBy([] {
              Kiv::AllSteps steps;
              steps.run([] { throw std::runtime_error("early"); });
              return;
            }),
            "early");
}

TEST(AllStepsTest, nothingIsRaisedWhereNothingWasThrown) {
  EXPECT_EQ(raisedBy([] {
              Kiv::AllSteps steps;
              steps.run([] {});
            }),
            "nothing");
}

TEST(AllStepsTest, theExceptionThatLeavesTheScopeIsTheOneThatIsRaised) {
  EXPECT_EQ(raisedBy([] {
              Kiv::AllSteps steps;
              steps.run([] { throw std::runtime_error("a step's"); });
              throw std::runtime_error("the scope's");
            }),
            "the scope's");
}

// What is done while another exception is under way raises its own, as long as that is caught
// there.
TEST(AllStepsTest, stepsOfACleanupRaiseTheirOwnWhileAnotherExceptionIsUnderWay) {
  std::string caught;
  struct Cleanup {
    std::string& caught;
    ~Cleanup() {
      caught = raisedBy([] {
        Kiv::AllSteps steps;
        steps.run([] { throw std::runtime_error("the cleanup's"); });
      });
    }
  };
  EXPECT_EQ(raisedBy([&] {
              const Cleanup cleanup{caught};
              throw std::runtime_error("the work's");
            }),
            "the work's");
  EXPECT_EQ(caught, "the cleanup's");
}

}  // namespace
