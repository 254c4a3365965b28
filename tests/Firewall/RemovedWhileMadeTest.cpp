// Subscribers to the output that take back what is just being written: what was removed while its
// reactor was not there yet, or its subnet not written, leaves nothing behind.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/OnWrite.h"
#include "tests/support/SegmentTest.h"

namespace {

using TestSupport::prefix;
using TestSupport::vrfNamed;

class RemovedWhileMadeTest : public TestSupport::SegmentTest {
 protected:
  void SetUp() override {
    SegmentTest::SetUp();
    sw().hwCapability->globalPrefixListSupportedIs(true);
    sw().matchLists("lists");
    vrf("red");
  }
  // Calls `work` when `path` of the output is written, once.
  template <class Work>
  TestSupport::OnWrite once(const std::string& path, const Work& work) {
    return TestSupport::OnWrite(sw().hwConfig,
                                [=, isDone = false](const Kiv::TreeChange& change) mutable {
                                  if (isDone || change.path != path) return;
                                  isDone = true;
                                  work();
                                });
  }
  void list(const std::string& name, const std::string& subnet) {
    sw().matchLists("lists")->matchIpv4PrefixListIs(name)->subnetsIs(
        Lanx::IpAddrWithMask::parse(subnet));
  }
  void choose(const std::string& segmentName, const std::string& list,
              const std::string& source = "cli") {
    segment("red", segmentName, source)
        ->prefixIpv4MlIs(Firewall::ListSource::matchList(Pith::String(list)));
  }
  std::string owner(const std::string& text) {
    const auto* const segment = sw().hwConfig->vrf("red")->prefixList(prefix(text.c_str()));
    return segment == nullptr ? "nobody" : std::string(segment->view());
  }
  static constexpr const char* vrfWide = "vrf/red/prefixList/10.0.0.0%2F8";
};

TEST_F(RemovedWhileMadeTest, ASegmentLeavesNoReactorAndNoOutput) {
  const auto remove = once("vrf/red/segment/a", [this] { vrf("red")->segmentDel("a"); });
  vrf("red")->segmentIs("a");
  EXPECT_FALSE(vrfSm("red")->segmentSm("a"));
  EXPECT_FALSE(sw().hwConfig->vrf("red")->segmentHas("a"));
  EXPECT_FALSE(sw().hwConfig->updateInProgress());
}

TEST_F(RemovedWhileMadeTest, AVrfLeavesNoReactorAndNoOutput) {
  sw().ipStatus->vrfIs(vrfNamed("blue"));
  const auto remove = once("vrf/blue", [this] { cli->vrfDel(vrfNamed("blue")); });
  cli->vrfIs(vrfNamed("blue"));
  EXPECT_FALSE(sw().rootSm("cli")->vrfSm("blue"));
  EXPECT_FALSE(sw().hwConfig->vrfHas("blue"));
}

TEST_F(RemovedWhileMadeTest, AVrfThatTheSwitchLosesLeavesNoReactorAndNoOutput) {
  cli->vrfIs(vrfNamed("blue"));
  const auto remove = once("vrf/blue", [this] { sw().ipStatus->vrfDel(vrfNamed("blue")); });
  sw().ipStatus->vrfIs(vrfNamed("blue"));
  EXPECT_FALSE(sw().rootSm("cli")->vrfSm("blue"));
  EXPECT_FALSE(sw().hwConfig->vrfHas("blue"));
}

// One that is there is left as it is, even when it missed that its VRF is another one.
TEST_F(RemovedWhileMadeTest, AVrfThatWasReplacedUnheardKeepsItsReactor) {
  const auto before = vrfSm("red");
  sw().rootSm("cli")->hasNotificationActiveIs(false);
  cli->vrfDel(vrfNamed("red"));
  cli->vrfIs(vrfNamed("red"));
  sw().rootSm("cli")->hasNotificationActiveIs(true);
  sw().rootSm("cli")->handleVrf(vrfNamed("red"));
  EXPECT_EQ(vrfSm("red"), before);
}

TEST_F(RemovedWhileMadeTest, TheL2DirectoryLeavesNoReactorAndNoOutput) {
  const auto remove = once("l2Seg", [this] { cli->l2SegmentDirDel(); });
  cli->l2SegmentDirIs("l2");
  EXPECT_FALSE(sw().rootSm("cli")->l2SegDirSm());
  EXPECT_FALSE(sw().hwConfig->l2Seg());
}

TEST_F(RemovedWhileMadeTest, ASourceLeavesNoReactor) {
  const auto api = Kiv::make<Firewall::Config>("api");
  api->policyIs("p");
  api->enabledIs(true);
  const auto remove = once("policy/p", [this] { sw().fwConfigDir->entityDel("api"); });
  sw().fwConfigDir->entityIs("api", api);
  EXPECT_FALSE(sw().root->rootFeatureSm("api"));
  // Nobody follows it any more.
  sw().recorder.take();
  api->policyIs("q");
  EXPECT_TRUE(sw().recorder.take().empty());
}

TEST_F(RemovedWhileMadeTest, AMatchListPathLeavesNoReactor) {
  list("web", "10.0.0.0/8");
  sw().matchListConfigDir->entityDel("lists");
  const auto lists = Kiv::make<MatchList::Config>("lists");
  lists->matchIpv4PrefixListIs("web")->subnetsIs(Lanx::IpAddrWithMask::parse("10.0.0.0/8"));
  choose("a", "web");
  const auto remove = once("vrf/red/segment/a/subnets/10.0.0.0%2F8",
                           [this] { sw().matchListConfigDir->entityDel("lists"); });
  sw().matchListConfigDir->entityIs("lists", lists);
  EXPECT_FALSE(segmentSm("red", "a")->mlConfigPathSm("lists"));
}

TEST_F(RemovedWhileMadeTest, ASegmentThatClaimedAPrefixGivesItUp) {
  list("web", "10.0.0.0/8");
  const auto remove = once(vrfWide, [this] { vrf("red")->segmentDel("a"); });
  choose("a", "web");
  EXPECT_EQ(owner("10.0.0.0/8"), "nobody");
  choose("b", "web");
  EXPECT_EQ(owner("10.0.0.0/8"), "b");
}

TEST_F(RemovedWhileMadeTest, ASegmentWhoseSourceIsDisabledAsItClaimsAPrefixHasNone) {
  enabled("api");
  segment("red", "a", "api");
  list("web", "10.0.0.0/8");
  const auto disable = once(vrfWide, [this] { cli->enabledIs(false); });
  choose("a", "web");
  EXPECT_EQ(owner("10.0.0.0/8"), "nobody");
  EXPECT_TRUE(fwSegment("red", "a")->subnets().empty());
}

TEST_F(RemovedWhileMadeTest, ASubnetThatLeavesItsListAsItIsClaimedIsInNoList) {
  list("web", "11.0.0.0/8");
  choose("a", "web");
  const auto web = sw().matchLists("lists")->matchIpv4PrefixList("web");
  const auto subnet = Lanx::IpAddrWithMask::parse("10.0.0.0/8");
  {
    const auto remove = once(vrfWide, [=] { web->subnetsDel(subnet); });
    web->subnetsIs(subnet);
  }
  EXPECT_EQ(owner("10.0.0.0/8"), "nobody");
  EXPECT_EQ(fwSegment("red", "a")->subnets().size(), 1U);
  // The same while the whole list is applied.
  web->subnetsIs(subnet);
  segment("red", "a")->prefixIpv4MlIs({});
  const auto remove = once(vrfWide, [=] { web->subnetsDel(subnet); });
  choose("a", "web");
  EXPECT_EQ(owner("10.0.0.0/8"), "nobody");
  EXPECT_EQ(fwSegment("red", "a")->subnets().size(), 1U);
}

TEST_F(RemovedWhileMadeTest, AnEntryThatLeavesItsListAsItsPrefixIsClaimedIsInNoList) {
  const auto web = sw().aclListConfig->prefixListIs("web");
  segment("red", "a")->prefixIpv4MlIs(Firewall::ListSource::prefixList("web"));
  const auto remove = once(vrfWide, [=] { web->prefixEntryDel(10); });
  web->prefixEntryIs(10, Lanx::Prefix::parse("10.0.0.0/8"), Acl::Action::permit);
  EXPECT_EQ(owner("10.0.0.0/8"), "nobody");
  EXPECT_TRUE(fwSegment("red", "a")->subnets().empty());
}

TEST_F(RemovedWhileMadeTest, AnHeirThatWithdrawsAtOnceLeavesThePrefixToNobody) {
  list("web", "10.0.0.0/8");
  list("mail", "10.0.0.0/8");
  choose("a", "web");
  choose("b", "mail");
  ASSERT_EQ(owner("10.0.0.0/8"), "a");
  const auto withdraw =
      once(vrfWide, [this] { sw().matchLists("lists")->matchIpv4PrefixListDel("mail"); });
  sw().matchLists("lists")->matchIpv4PrefixListDel("web");
  EXPECT_EQ(owner("10.0.0.0/8"), "nobody");
}

}  // namespace
