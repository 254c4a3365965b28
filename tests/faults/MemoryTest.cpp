// Memory that runs out at any allocation of a change: nothing breaks, nothing leaks, and when the
// change is made again, and the sources are disabled and enabled, the output is right.
#include <gtest/gtest.h>

#include <limits>
#include <new>
#include <string>

#include "framework/Hoard/Hoard.h"
#include "framework/Kiv/Dir.h"
#include "tests/faults/Scenarios.h"
#include "tests/framework/Kiv/FailingNew.h"
#include "tests/support/LiveCounts.h"

namespace {

using Faults::Scenario;
using Plain::RealSwitch;

class MemoryRunsOut : public testing::TestWithParam<Scenario> {
 protected:
  // Lets `failures` allocations fail, after `successes` others. False when the change needed no
  // more than those.
  bool failsAfter(std::size_t successes, std::size_t failures) {
    const Scenario& scenario = GetParam();
    RealSwitch real(RealSwitch::Watched::no);
    Faults::apply(real, scenario.before);
    const Plain::Change change(scenario.change);
    bool failed = false;
    bool thrown = false;
    {
      const FailingNew::Scope scope(successes, failures);
      try {
        real.apply(change);
      } catch (const std::bad_alloc&) {
        thrown = true;
      }
      failed = FailingNew::Scope::failed() > 0;
    }
    EXPECT_EQ(real.broken(), "");
    if (thrown) real.apply(change);
    Faults::apply(real, Faults::repair(scenario));
    EXPECT_EQ(real.complaint(), "");
    EXPECT_EQ(real.dump(), wanted_);
    real.stop();
    EXPECT_EQ(real.broken(), "");
    return failed;
  }

  void everyAllocation(std::size_t failures) {
    failsAfter(std::numeric_limits<std::size_t>::max() - 1, 0);  // what is made once is made
    const auto objects = TestSupport::liveCounts();
    const std::size_t allocations = FailingNew::liveAllocations();
    std::size_t successes = 0;
    while (failsAfter(successes, failures)) {
      ASSERT_FALSE(HasFailure()) << "after " << successes << " allocations";
      ASSERT_EQ(TestSupport::liveCounts(), objects) << "after " << successes << " allocations";
      ASSERT_EQ(FailingNew::liveAllocations(), allocations)
          << "after " << successes << " allocations";
      ++successes;
    }
    EXPECT_EQ(successes > 0, GetParam().allocates);
    if (GetParam().change == "start") {
      EXPECT_GT(successes, 100U);
    }
  }

 private:
  const Plain::Lines wanted_ = Faults::repairedOutput(GetParam());
};

TEST_P(MemoryRunsOut, AtAnyAllocationAndIsThereAgain) { everyAllocation(1); }

TEST_P(MemoryRunsOut, AtAnyAllocationUntilTheChangeIsGivenUp) {
  everyAllocation(std::numeric_limits<std::size_t>::max());
}

INSTANTIATE_TEST_SUITE_P(Faults, MemoryRunsOut, testing::ValuesIn(Faults::scenarios()),
                         [](const auto& info) { return info.param.name; });

TEST(Choices, LeaveNothingBehindWhenAnotherListIsChosen) {
  RealSwitch real(RealSwitch::Watched::no);
  Faults::apply(real, Faults::scenarios().back().before);
  int list = 0;
  const auto chosen = [&](int choices) {
    for (const int last = list + choices; list < last; ++list) {
      const std::string name = "a list with a name that fits in no object " + std::to_string(list);
      real.apply(Plain::Change("+ source/cli/vrf/red/segment/b/prefixIpv4Ml = matchList:" + name));
    }
    return FailingNew::liveAllocations();
  };
  EXPECT_EQ(chosen(100), chosen(100));
}

TEST(Slabs, AreMemoryThatCanRunOut) {
  const RealSwitch real(RealSwitch::Watched::no);
  EXPECT_EQ(Hoard::slabBytesHeld(), 0U);
  const FailingNew::Scope scope(0);
  EXPECT_THROW(Kiv::make<Kiv::Dir>(), std::bad_alloc);
}

}  // namespace
