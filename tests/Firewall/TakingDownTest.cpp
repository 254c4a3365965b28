// How owners take their children down: the child cleans up while it still belongs to its owner and
// still hears, then it is let go and hears nothing any more, and only then the next one's turn
// comes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "Firewall/Segments/VrfSm.h"
#include "Firewall/Sources/RootSm.h"
#include "tests/support/OnWrite.h"
#include "tests/support/SegmentTest.h"

namespace {

using ::testing::ElementsAre;
using TestSupport::OnWrite;

class TakingDownTest : public TestSupport::SegmentTest {
 protected:
  // At the writes to the path: whether the child hears, and the owner has it.
  template <class Child, class HasIt, class Act>
  std::vector<std::string> states(const std::string& path, const Child child, const HasIt& hasIt,
                                  const Act& act) {
    std::vector<std::string> states;
    const OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange& change) {
      if (change.path != path) return;
      states.push_back(std::string(child->hasNotificationActive() ? "hears" : "deaf") +
                       (hasIt() ? ", owned" : ", gone"));
    });
    act();
    EXPECT_FALSE(child->hasNotificationActive());
    EXPECT_FALSE(hasIt());
    return states;
  }
};

TEST_F(TakingDownTest, ADisabledSourceCleansUpWhileItHears) {
  vrf("red");
  const auto feature = sw().root->rootFeatureSm("cli");
  enabled("other");  // else the output is emptied before
  EXPECT_THAT(states(
                  "vrf/red", sw().rootSm("cli"), [&] { return feature->rootSm() != nullptr; },
                  [&] { cli->enabledIs(false); }),
              ElementsAre("hears, owned"));
}

TEST_F(TakingDownTest, TheLastSourceCleansUpWhileItHears) {
  const auto feature = sw().root->rootFeatureSm("cli");
  EXPECT_THAT(states(
                  "updateInProgress", sw().rootSm("cli"),
                  [&] { return feature->rootSm() != nullptr; }, [&] { cli->enabledIs(false); }),
              ElementsAre("hears, owned", "hears, owned"));
}

TEST_F(TakingDownTest, ASourceThatIsCleanedUpDoesSoWhileItHears) {
  vrf("red");
  const auto feature = sw().root->rootFeatureSm("cli");
  EXPECT_THAT(states(
                  "vrf/red", sw().rootSm("cli"), [&] { return feature->rootSm() != nullptr; },
                  [&] { feature->cleanup(); }),
              ElementsAre("hears, owned"));
}

TEST_F(TakingDownTest, AVrfCleansUpWhileItHears) {
  const auto rootSm = sw().rootSm("cli");
  const auto hasIt = [&] { return rootSm->vrfSmHas("red"); };
  vrf("red");
  EXPECT_THAT(states("vrf/red", vrfSm("red"), hasIt, [&] { cli->vrfDel("red"); }),
              ElementsAre("hears, owned"));
  vrf("red");
  EXPECT_THAT(states("vrf/red", vrfSm("red"), hasIt, [&] { rootSm->cleanup(); }),
              ElementsAre("hears, owned"));
}

TEST_F(TakingDownTest, TheL2DirectoryCleansUpWhileItHears) {
  const auto rootSm = sw().rootSm("cli");
  const auto hasIt = [&] { return rootSm->l2SegDirSm() != nullptr; };
  cli->l2SegmentDirIs("l2");
  EXPECT_THAT(states("l2Seg", rootSm->l2SegDirSm(), hasIt, [&] { cli->l2SegmentDirDel(); }),
              ElementsAre("hears, owned"));
  cli->l2SegmentDirIs("l2");
  EXPECT_THAT(states("l2Seg", rootSm->l2SegDirSm(), hasIt, [&] { rootSm->cleanup(); }),
              ElementsAre("hears, owned"));
}

TEST_F(TakingDownTest, ASegmentCleansUpWhileItHears) {
  segment("red", "a");
  const auto red = vrfSm("red");
  const auto hasIt = [&] { return red->segmentSmHas("a"); };
  EXPECT_THAT(states("vrf/red/segment/a", segmentSm("red", "a"), hasIt,
                     [&] { vrf("red")->segmentDel("a"); }),
              ElementsAre("hears, owned"));
}

TEST_F(TakingDownTest, TheVrfsOfASourceGoInTurn) {
  vrf("red");
  vrf("blue");
  const auto rootSm = sw().rootSm("cli");
  std::vector<std::string> order;
  for (const auto& child : rootSm->vrfSm()) order.emplace_back(child->attributes().vrfName.view());
  std::vector<std::string> seen;
  const OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange& change) {
    if (!change.path.starts_with("vrf/")) return;
    seen.push_back(change.path);
    for (const std::string& name : order) {
      if (rootSm->vrfSmHas(name)) seen.push_back("has " + name);
    }
  });
  rootSm->cleanup();
  ASSERT_EQ(order.size(), 2U);
  EXPECT_THAT(seen, ElementsAre("vrf/" + order[0], "has " + order[0], "has " + order[1],
                                "vrf/" + order[1], "has " + order[1]));
}

TEST_F(TakingDownTest, TheSegmentsOfAVrfGoInTurn) {
  sw().hwCapability->globalPrefixListSupportedIs(true);
  for (const char* const name : {"a", "b"}) segment("red", name);
  const auto red = vrfSm("red");
  std::vector<std::string> order;
  for (const auto& child : red->segmentSm()) {
    order.emplace_back(child->attributes().segmentName.view());
  }
  std::vector<std::string> seen;
  const OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange& change) {
    if (!change.path.starts_with("vrf/red/segment/")) return;
    seen.push_back(change.path.substr(std::string("vrf/red/segment/").size()));
    for (const std::string& name : order) {
      if (red->segmentSmHas(name)) seen.push_back("has " + name);
    }
  });
  cli->vrfDel("red");
  ASSERT_EQ(order.size(), 2U);
  EXPECT_THAT(seen, ElementsAre(order[0], "has " + order[0], "has " + order[1], order[1],
                                "has " + order[1]));
}

}  // namespace
