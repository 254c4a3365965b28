// Two sources with the same VRF and segment: what one lets go of, the other keeps.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Firewall/Sources/RootSm.h"
#include "tests/support/FullConfiguration.h"
#include "tests/support/SegmentTest.h"

namespace {

using Firewall::ListSource;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using TestSupport::prefix;
using TestSupport::TraceCapture;

// "cli" and "api", both enabled.
class SegmentSMSourcesTest : public TestSupport::SegmentTest {
 protected:
  void SetUp() override {
    SegmentTest::SetUp();
    sw().hwCapability->globalPrefixListSupportedIs(true);
    api = enabled("api");
    for (const char* name : {"p", "q"}) {
      policy(name, "cli");
      policy(name, "api");
    }
  }
  void TearDown() override {
    api = nullptr;
    SegmentTest::TearDown();
  }

  void matchList(const char* name, std::initializer_list<const char*> subnets) {
    const auto list = sw().matchLists("path")->matchIpv4PrefixListIs(name);
    for (const char* const subnet : subnets) {
      list->subnetsIs(Lanx::IpAddrWithMask::parse(subnet));
    }
  }
  std::vector<std::string> subnets(const std::string& name) {
    std::vector<std::string> texts;
    for (const auto& entry : fwSegment("red", name)->subnets()) {
      texts.push_back(entry.key.toString());
    }
    return texts;
  }
  Pith::String owner(const char* text) {
    const Pith::String* const name = fwVrf("red")->prefixList(prefix(text));
    return name == nullptr ? Pith::String() : *name;
  }

  Firewall::Config::Ptr api;
};

TEST_F(SegmentSMSourcesTest, SegmentThatAnotherSourceConfiguresStaysWithTheLinksTowardsIt) {
  segment("red", "a", "cli");
  segment("red", "a", "api");
  segment("red", "b", "api")->policyIs("a", "p");
  const auto output = fwSegment("red", "a");
  vrf("red", "cli")->segmentDel("a");
  EXPECT_EQ(fwSegment("red", "a"), output);
  EXPECT_THAT(links(fwSegment("red", "b")), ElementsAre("a=p"));
  vrf("red", "api")->segmentDel("a");
  EXPECT_FALSE(fwSegment("red", "a"));
  EXPECT_THAT(links(fwSegment("red", "b")), IsEmpty());
}

TEST_F(SegmentSMSourcesTest, FromSegmentsThatNoOtherSourceConfiguresArePruned) {
  for (const char* source : {"cli", "api"}) {
    for (const char* name : {"a", "b", "c"}) segment("red", name, source);
  }
  segment("red", "a", "cli")->policyIs("b", "p");
  segment("red", "a", "cli")->policyIs("c", "p");
  segment("red", "a", "api")->policyIs("b", "p");
  ASSERT_THAT(links(fwSegment("red", "a")), UnorderedElementsAre("b=p", "c=p"));
  const TraceCapture traces;
  vrf("red", "cli")->segmentDel("a");
  EXPECT_THAT(links(fwSegment("red", "a")), ElementsAre("b=p"));
  EXPECT_TRUE(traces.saw(6, "removeFromSegments",
                         " Removing source segment:c from destination segment:a Vrf:red"));
  EXPECT_TRUE(traces.saw(6, "removeFromSegments", "b is configured from multiple source."));
}

TEST_F(SegmentSMSourcesTest, FromSegmentIsConfiguredWhenAnotherSourceHasTheEntry) {
  segment("red", "a", "cli")->policyIs("b", "p");
  segment("red", "a", "api")->policyIs("c", "p");
  const auto reactor = segmentSm("red", "a", "cli");
  EXPECT_FALSE(reactor->isFromSegmentConfigured("a", "b"));
  EXPECT_TRUE(reactor->isFromSegmentConfigured("a", "c"));
  EXPECT_FALSE(reactor->isFromSegmentConfigured("other", "c"));
  const auto theirs = segmentSm("red", "a", "api");
  EXPECT_TRUE(theirs->isFromSegmentConfigured("a", "b"));
  EXPECT_FALSE(theirs->isFromSegmentConfigured("a", "c"));
}

TEST_F(SegmentSMSourcesTest, SubnetThatAnotherSourceHoldsStaysInPlaceThroughout) {
  matchList("mine", {"10.0.0.0/8", "11.0.0.0/8"});
  matchList("theirs", {"10.0.0.0/8"});
  // The list of the source that was heard last is what stands; both are heard again below.
  segment("red", "a", "api")->prefixIpv4MlIs(ListSource::matchList("theirs"));
  segment("red", "a", "cli")->prefixIpv4MlIs(ListSource::matchList("mine"));
  ASSERT_THAT(subnets("a"), UnorderedElementsAre("10.0.0.0/8", "11.0.0.0/8"));
  sw().recorder.take();
  vrf("red", "cli")->segmentDel("a");
  EXPECT_THAT(subnets("a"), ElementsAre("10.0.0.0/8"));
  EXPECT_EQ(owner("10.0.0.0/8"), "a");
  EXPECT_EQ(owner("11.0.0.0/8"), "");
  EXPECT_THAT(
      sw().recorder.takeBelow("vrf/"),
      ElementsAre("- vrf/red/prefixList/11.0.0.0%2F8", "- vrf/red/segment/a/subnets/11.0.0.0%2F8"));
}

TEST_F(SegmentSMSourcesTest, SubnetThatOnlyADisabledSourceHoldsIsWithdrawn) {
  matchList("mine", {"10.0.0.0/8"});
  segment("red", "a", "third")->prefixIpv4MlIs(ListSource::matchList("mine"));
  segment("red", "a", "cli")->prefixIpv4MlIs(ListSource::matchList("mine"));
  ASSERT_EQ(owner("10.0.0.0/8"), "a");
  vrf("red", "api");
  vrf("red", "cli")->segmentDel("a");
  EXPECT_EQ(owner("10.0.0.0/8"), "");
  EXPECT_THAT(subnets("a"), IsEmpty());
}

TEST_F(SegmentSMSourcesTest, VrfThatAnotherEnabledSourceHoldsIsKept) {
  segment("red", "a", "cli");
  segment("red", "b", "api");
  const auto output = fwVrf("red");
  const TraceCapture traces;
  cli->enabledIs(false);
  EXPECT_EQ(fwVrf("red"), output);
  EXPECT_TRUE(fwSegment("red", "b"));
  EXPECT_TRUE(traces.saw(8, "cleanup", " Vrf:red"));
  EXPECT_TRUE(traces.saw(8, "cleanup", " Source: cli hasVrf: true enabled: false"));
  EXPECT_TRUE(traces.saw(8, "cleanup", " Source: api hasVrf: true enabled: true"));
  EXPECT_TRUE(traces.saw(5, "cleanup", " Source: api still has configuration enabled"));
}

TEST_F(SegmentSMSourcesTest, VrfThatOnlyADisabledSourceHoldsGoes) {
  segment("red", "a", "cli");
  segment("red", "a", "third");
  EXPECT_TRUE(fwVrf("red"));
  cli->vrfDel("red");
  EXPECT_FALSE(fwVrf("red"));
}

TEST_F(SegmentSMSourcesTest, GlobalPrefixesOfTheSourceThatLeavesAreLetGoOf) {
  segment("red", "a", "cli");
  segment("red", "a", "api");
  vrf("red", "cli")->prefixIs(prefix("10.0.0.0/8"), "a");
  vrf("red", "cli")->prefixIs(prefix("11.0.0.0/8"), "a");
  vrf("red", "api")->prefixIs(prefix("11.0.0.0/8"), "a");
  ASSERT_EQ(owner("10.0.0.0/8"), "a");
  const TraceCapture traces;
  sw().recorder.take();
  cli->enabledIs(false);
  EXPECT_EQ(owner("10.0.0.0/8"), "");
  EXPECT_EQ(owner("11.0.0.0/8"), "a");
  EXPECT_TRUE(traces.saw(5, "cleanup", " Processing global prefix: 10.0.0.0/8 for vrf: red"));
  EXPECT_THAT(sw().recorder.takeBelow("vrf/"), ElementsAre("- vrf/red/prefixList/10.0.0.0%2F8"));
}

TEST_F(SegmentSMSourcesTest, GlobalPrefixThatTwoSourcesGiveToDifferentSegmentsPassesOn) {
  for (const char* source : {"cli", "api"}) {
    for (const char* name : {"a", "b"}) segment("red", name, source);
  }
  vrf("red", "api")->prefixIs(prefix("10.0.0.0/8"), "b");
  vrf("red", "cli")->prefixIs(prefix("10.0.0.0/8"), "a");
  ASSERT_EQ(owner("10.0.0.0/8"), "a");
  cli->enabledIs(false);
  EXPECT_EQ(owner("10.0.0.0/8"), "b");
}

TEST_F(SegmentSMSourcesTest, GlobalPrefixThatOneSourceRemovesIsThatOfTheNextEnabledOne) {
  for (const char* source : {"cli", "api"}) {
    for (const char* name : {"a", "b"}) segment("red", name, source);
  }
  vrf("red", "absent")->prefixIs(prefix("10.0.0.0/8"), "a");  // a source that is not enabled
  vrf("red", "api")->prefixIs(prefix("10.0.0.0/8"), "b");
  vrf("red", "cli")->prefixIs(prefix("10.0.0.0/8"), "a");
  ASSERT_EQ(owner("10.0.0.0/8"), "a");
  sw().recorder.take();
  vrf("red", "cli")->prefixDel(prefix("10.0.0.0/8"));
  EXPECT_THAT(sw().recorder.take(), ElementsAre("~ vrf/red/prefixList/10.0.0.0%2F8 = b"));
  vrf("red", "api")->prefixDel(prefix("10.0.0.0/8"));
  EXPECT_EQ(owner("10.0.0.0/8"), "");
}

TEST_F(SegmentSMSourcesTest, SegmentThatADisabledSourceConfiguresStaysWithItsInterfaces) {
  matchList("list", {"10.0.0.0/8"});
  subscriber("red", "a", {"Ethernet1"})->prefixIpv4MlIs(ListSource::matchList("list"));
  segment("red", "a")->policyIs("b", "p");
  segment("red", "b", "api");
  ASSERT_THAT(links(fwSegment("red", "a")), ElementsAre("b=p"));
  cli->enabledIs(false);
  ASSERT_TRUE(fwSegment("red", "a"));
  EXPECT_THAT(subnets("a"), IsEmpty());
  EXPECT_EQ(owner("10.0.0.0/8"), "");
  EXPECT_THAT(links(fwSegment("red", "a")), IsEmpty());
  EXPECT_THAT(interfaces(fwSegment("red", "a")), ElementsAre("Ethernet1"));
}

TEST_F(SegmentSMSourcesTest, ClassMapThatLeavesOneSourceUnbindsThoughAnotherHasIt) {
  subscriber("red", "a", {"Ethernet1"}, "api");
  subscriber("red", "a", {"Ethernet1"}, "cli");
  ASSERT_THAT(interfaces(fwSegment("red", "a")), ElementsAre("Ethernet1"));
  cli->classMapDel("__VRF_red_segment_a");
  EXPECT_THAT(interfaces(fwSegment("red", "a")), IsEmpty());
  sw().interface("Ethernet2", "red");  // all class maps are evaluated again
  EXPECT_THAT(interfaces(fwSegment("red", "a")), ElementsAre("Ethernet1"));
}

TEST_F(SegmentSMSourcesTest, SourceRemovedFromTheDirectoryTakesItsOwnAlong) {
  segment("red", "a", "cli");
  segment("red", "b", "api");
  segment("blue", "c", "cli");
  cli = nullptr;
  sw().fwConfigDir->entityDel("cli");
  EXPECT_FALSE(fwSegment("red", "a"));
  EXPECT_TRUE(fwSegment("red", "b"));
  EXPECT_FALSE(fwVrf("blue"));
}

TEST_F(SegmentSMSourcesTest, SegmentOfOneSourceIsLinkedToThoseOfAnotherWhicheverComesFirst) {
  segment("red", "b", "api")->policyIs("a", "p");
  EXPECT_THAT(links(fwSegment("red", "b")), IsEmpty());
  segment("red", "a", "cli");
  EXPECT_THAT(links(fwSegment("red", "b")), ElementsAre("a=p"));
  vrf("red", "cli")->segmentDel("a");
  EXPECT_THAT(links(fwSegment("red", "b")), IsEmpty());
  segment("red", "a", "cli");
  EXPECT_THAT(links(fwSegment("red", "b")), ElementsAre("a=p"));
}

TEST_F(SegmentSMSourcesTest, SegmentIsNotLinkedToOneThatADisabledSourceLinks) {
  segment("red", "b", "api");
  segment("red", "b", "disabled")->policyIs("a", "p");
  segment("red", "a", "cli");
  EXPECT_THAT(links(fwSegment("red", "b")), IsEmpty());
}

TEST_F(SegmentSMSourcesTest, L2DirectoryIsThatOfTheSourceThatStartedLast) {
  l2Segment("lab", "cli");
  l2Segment("office", "api");
  EXPECT_FALSE(l2FwSegment("lab"));
  EXPECT_TRUE(l2FwSegment("office"));
  cli->l2SegmentDirDel();
  EXPECT_FALSE(sw().hwConfig->l2Seg());
  // The other source's reactor stands without a directory.
  EXPECT_NO_THROW(l2Segment("office", "api")->classNameIs("__segment_office"));
  EXPECT_NO_THROW(classMap("__segment_office", {"Ethernet1"}, "api"));
  EXPECT_NO_THROW(l2Segment("later", "api"));
  EXPECT_FALSE(sw().hwConfig->l2Seg());
  api->l2SegmentDirDel();
}

TEST_F(SegmentSMSourcesTest, L2SegmentThatTwoSourcesMadeGoesWithTheLinksToIt) {
  l2Segment("b", "api")->policyIs("a", "p");
  l2Segment("b", "cli");
  l2Segment("a", "cli");
  l2Segment("a", "api");  // in place of the one before, and linked
  ASSERT_THAT(links(l2FwSegment("b")), ElementsAre("a=p"));
  sw().source("cli")->l2SegmentDir()->segmentDel("a");
  EXPECT_FALSE(l2FwSegment("a"));
  EXPECT_THAT(links(l2FwSegment("b")), IsEmpty());
}

TEST_F(SegmentSMSourcesTest, SourceThatLeavesAVrfThatIsNotInTheOutputDoesNotBringItBack) {
  segment("red", "a", "cli");
  segment("red", "a", "api");
  vrf("red", "cli")->prefixIs(prefix("10.0.0.0/8"), "a");
  sw().hwConfig->vrfDel("red");
  sw().recorder.take();
  cli->enabledIs(false);
  EXPECT_THAT(sw().recorder.takeBelow("vrf/"), IsEmpty());
}

TEST_F(SegmentSMSourcesTest, SecondCleanupOfAVrfDoesNothing) {
  segment("red", "a", "cli");
  segment("red", "a", "api");
  const auto held = vrfSm("red", "cli");
  cli->enabledIs(false);
  vrf("red", "cli")->prefixIs(prefix("10.0.0.0/8"), "a");
  sw().recorder.take();
  const TraceCapture traces;
  held->cleanup();
  held->handleGlobalPrefix(prefix("10.0.0.0/8"));
  held->handleSegment();
  held->handleSegment("a");
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  EXPECT_TRUE(traces.saw(7, "cleanup", " return "));
  EXPECT_EQ(traces.count(8, "cleanup", " Source: cli hasVrf: true enabled: false"), 0U);
}

// The last enabled source goes: the output is cleared before the reactors are taken down.

class TeardownTest : public TestSupport::SwitchTest {};

TEST_F(TeardownTest, FullConfigurationAgainstTheEmptiedOutputBringsNothingBack) {
  TestSupport::shareConfiguration(sw());
  const auto cli = TestSupport::fullSource(sw(), "cli");
  sw().start();
  cli->enabledIs(true);
  ASSERT_FALSE(sw().hwConfig->vrf().empty());
  ASSERT_TRUE(sw().hwConfig->l2Seg());
  cli->enabledIs(false);
  EXPECT_TRUE(sw().hwConfig->vrf().empty());
  EXPECT_FALSE(sw().hwConfig->l2Seg());
  EXPECT_TRUE(sw().hwConfig->policy().empty());
  EXPECT_FALSE(sw().hwConfig->active());
  sw().checkAtRest();
}

TEST_F(TeardownTest, VrfsAreBuiltAnewTheSameWayEachTime) {
  TestSupport::shareConfiguration(sw());
  const auto cli = TestSupport::fullSource(sw(), "cli");
  sw().start();
  cli->enabledIs(true);
  const auto first = sw().recorder.takeBelow("vrf/");
  ASSERT_THAT(first, Contains("+ vrf/red"));
  cli->enabledIs(false);
  sw().recorder.take();
  cli->enabledIs(true);
  EXPECT_EQ(sw().recorder.takeBelow("vrf/"), first);
}

TEST_F(TeardownTest, OneOfTwoFullSourcesLeavesTheOtherWhole) {
  TestSupport::shareConfiguration(sw());
  const auto cli = TestSupport::fullSource(sw(), "cli");
  const auto api = TestSupport::fullSource(sw(), "api");
  sw().start();
  api->enabledIs(true);
  cli->enabledIs(true);
  sw().checkAtRest();
  cli->enabledIs(false);
  sw().checkAtRest();
  EXPECT_FALSE(sw().hwConfig->vrf().empty());
  api->enabledIs(false);
  sw().checkAtRest();
  EXPECT_TRUE(sw().hwConfig->vrf().empty());
}

}  // namespace
