// A subscriber of the outputs that throws at any notification of a change: nothing breaks, and when
// the change is made again, and the sources are disabled and enabled, the output is right.
#include <gtest/gtest.h>

#include <stdexcept>

#include "framework/Kiv/TreeWatcher.h"
#include "tests/faults/Scenarios.h"
#include "tests/support/LiveCounts.h"

namespace {

using Faults::Scenario;
using Plain::RealSwitch;

struct Refusal : std::runtime_error {
  Refusal() : runtime_error("refused") {}
};

// Throws at one of all notifications of some trees, counted from when it is armed.
class Thrower {
 public:
  explicit Thrower(const std::vector<Pith::Ptr<Kiv::Entity>>& roots) {
    for (const auto& root : roots) trees_.push_back(std::make_unique<Tree>(root, *this));
  }
  void arm(int notification) { left_ = notification; }
  bool hasThrown() const { return left_ == 0; }

 private:
  class Tree final : public Kiv::TreeWatcher {
   public:
    Tree(const Pith::Ptr<Kiv::Entity>& root, Thrower& owner) : TreeWatcher(root), owner_(&owner) {}

   private:
    void onChange(const Kiv::TreeChange& /*change*/) override {
      if (owner_->left_ > 0 && --owner_->left_ == 0) throw Refusal();
    }
    Thrower* owner_;
  };

  int left_ = -1;
  std::vector<std::unique_ptr<Tree>> trees_;
};

class SubscriberThrows : public testing::TestWithParam<Scenario> {
 protected:
  enum class Joined { first, last };

  // False when the change brings fewer notifications.
  bool throwsAt(int notification, Joined joined) {
    const Scenario& scenario = GetParam();
    RealSwitch real(RealSwitch::Watched::no);
    std::unique_ptr<Thrower> thrower;
    if (joined == Joined::first) thrower = std::make_unique<Thrower>(real.outputs());
    Faults::apply(real, scenario.before);
    if (joined == Joined::last) thrower = std::make_unique<Thrower>(real.outputs());
    const Plain::Change change(scenario.change);
    thrower->arm(notification);
    bool thrown = false;
    try {
      real.apply(change);
    } catch (const Refusal&) {
      thrown = true;
    }
    const bool hasThrown = thrower->hasThrown();
    // It reaches the writer, but where a source goes, which nothing may keep from going.
    const bool goes = change.kind == Plain::Change::Kind::stop ||
                      scenario.change == "- source/cli" || scenario.change == "+ source/cli = new";
    EXPECT_EQ(thrown, hasThrown && !(goes && !thrown));
    thrower.reset();
    EXPECT_EQ(real.broken(), "");
    if (thrown) real.apply(change);
    Faults::apply(real, Faults::repair(scenario));
    EXPECT_EQ(real.complaint(), "");
    EXPECT_EQ(real.dump(), wanted_);
    return hasThrown;
  }

  void everyNotification(Joined joined) {
    const auto objects = TestSupport::liveCounts();
    int notification = 1;
    for (; throwsAt(notification, joined); ++notification) {
      ASSERT_FALSE(HasFailure()) << "at notification " << notification;
      ASSERT_EQ(TestSupport::liveCounts(), objects) << "at notification " << notification;
    }
    EXPECT_EQ(notification > 1, GetParam().writes);
  }

 private:
  const Plain::Lines wanted_ = Faults::repairedOutput(GetParam());
};

TEST_P(SubscriberThrows, AtAnyNotificationBeforeTheReactorsHear) {
  everyNotification(Joined::first);
}
TEST_P(SubscriberThrows, AtAnyNotificationAfterTheReactorsHeard) {
  everyNotification(Joined::last);
}

INSTANTIATE_TEST_SUITE_P(Faults, SubscriberThrows, testing::ValuesIn(Faults::scenarios()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
