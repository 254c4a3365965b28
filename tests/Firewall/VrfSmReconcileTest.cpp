// What a VRF's reactor makes of an output that it finds at its start.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

#include "Firewall/Segments/VrfSm.h"
#include "Firewall/Sources/RootSm.h"
#include "tests/support/SegmentTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::prefix;
using TestSupport::TraceCapture;
using TestSupport::vrfNamed;

Lanx::IpGenAddrWithMask subnet(const char* text) { return Lanx::IpGenAddrWithMask::parse(text); }

// "cli" is disabled and "keeper" keeps the output active, so that what a test puts there stays.
class VrfSmReconcileTest : public TestSupport::SegmentTest {
 protected:
  void SetUp() override {
    SegmentTest::SetUp();
    enabled("keeper");
    cli->enabledIs(false);
    sw().hwCapability->globalPrefixListSupportedIs(true);
    sw().ipStatus->vrfIs("red");
    red = sw().hwConfig->vrfIs("red");
  }
  void TearDown() override {
    red = nullptr;
    SegmentTest::TearDown();
  }

  // The prefix's segment in the output; empty when it has none.
  Pith::String owner(const char* text) {
    const Pith::String* const name = red->prefixList(prefix(text));
    return name == nullptr ? Pith::String() : *name;
  }
  void globalPrefix(const char* text, const char* segmentName, const std::string& source = "cli") {
    vrf("red", source)->prefixIs(prefix(text), segmentName);
  }

  Firewall::FwVrf::Ptr red;
};

TEST_F(VrfSmReconcileTest, ExistingVrfIsKeptAndItsUnconfiguredSegmentsGoInKeyOrder) {
  red->segmentIs("z-gone");
  red->segmentIs("kept");
  red->segmentIs("a-gone");
  const auto kept = red->segment("kept");
  segment("red", "kept");
  sw().recorder.take();
  const TraceCapture traces;
  cli->enabledIs(true);
  EXPECT_EQ(fwVrf("red"), red);
  EXPECT_EQ(fwSegment("red", "kept"), kept);
  EXPECT_THAT(sw().recorder.takeBelow("vrf/"),
              ElementsAre("- vrf/red/segment/a-gone", "- vrf/red/segment/z-gone"));
  EXPECT_TRUE(traces.saw(5, "handleInitialized", " Clearning segment: a-gone"));
  EXPECT_TRUE(traces.saw(5, "handleInitialized", " Clearning segment: z-gone"));
  EXPECT_TRUE(traces.saw(6, "handleInitialized", "Delete stale interim segment:kept"));
}

TEST_F(VrfSmReconcileTest, SegmentThatAnySourceConfiguresIsKeptEvenADisabledOne) {
  red->segmentIs("theirs");
  segment("red", "theirs", "disabled");
  vrf("red");
  cli->enabledIs(true);
  EXPECT_TRUE(fwSegment("red", "theirs"));
}

TEST_F(VrfSmReconcileTest, NoLinkToAClearedSegmentStays) {
  const auto policy = sw().hwConfig->policyIs("p");
  const auto kept = red->segmentIs("kept");
  kept->fromSegmentIs("gone", red->segmentIs("gone"), policy);
  segment("red", "kept", "disabled")->policyIs("gone", "p");
  segment("red", "kept");
  cli->enabledIs(true);
  EXPECT_THAT(links(kept), IsEmpty());
}

TEST_F(VrfSmReconcileTest, PrefixIsGivenToTheSegmentOfTheGlobalConfiguration) {
  red->prefixListIs(prefix("10.0.0.0/8"), "wrong");
  segment("red", "a");
  globalPrefix("10.0.0.0/8", "a");
  const TraceCapture traces;
  cli->enabledIs(true);
  EXPECT_EQ(owner("10.0.0.0/8"), "a");
  EXPECT_TRUE(traces.saw(5, "handleInitialized", " Updating segment for prefix: 10.0.0.0/8"));
}

TEST_F(VrfSmReconcileTest, PrefixThatNobodyHasIsRemoved) {
  red->prefixListIs(prefix("10.0.0.0/8"), "a");
  segment("red", "a");
  const TraceCapture traces;
  cli->enabledIs(true);
  EXPECT_EQ(owner("10.0.0.0/8"), "");
  EXPECT_TRUE(traces.saw(5, "handleInitialized", " Removing prefix: 10.0.0.0/8"));
}

TEST_F(VrfSmReconcileTest, PrefixThatASegmentHoldsLocallyIsLeft) {
  const auto list = sw().matchLists("path")->matchIpv4PrefixListIs("list");
  list->subnetsIs(Lanx::IpAddrWithMask::parse("10.0.0.0/8"));
  segment("red", "a")->prefixIpv4MlIs(Firewall::ListSource::matchList("list"));
  red->segmentIs("a")->subnetsIs(subnet("10.0.0.0/8"), true);
  red->prefixListIs(prefix("10.0.0.0/8"), "a");
  sw().recorder.take();
  cli->enabledIs(true);
  EXPECT_EQ(owner("10.0.0.0/8"), "a");
  EXPECT_THAT(sw().recorder.takeBelow("vrf/"), IsEmpty());
}

TEST_F(VrfSmReconcileTest, PrefixOfAnUnconfiguredSegmentIsNotWritten) {
  globalPrefix("10.0.0.0/8", "nowhere");
  red->prefixListIs(prefix("11.0.0.0/8"), "nowhere");
  globalPrefix("11.0.0.0/8", "nowhere");
  cli->enabledIs(true);
  EXPECT_TRUE(red->prefixList().empty());
}

TEST_F(VrfSmReconcileTest, PrefixOfAnUnconfiguredSegmentIsThatOfTheNextSourceThroughout) {
  globalPrefix("10.0.0.0/8", "nowhere");
  segment("red", "a", "keeper");
  globalPrefix("10.0.0.0/8", "a", "keeper");
  ASSERT_EQ(owner("10.0.0.0/8"), "a");
  sw().recorder.take();
  cli->enabledIs(true);
  EXPECT_EQ(owner("10.0.0.0/8"), "a");
  EXPECT_THAT(sw().recorder.takeBelow("vrf/red/prefixList"), IsEmpty());
}

TEST_F(VrfSmReconcileTest, PrefixThatASegmentHoldsLocallyIsThatOfTheNextSourceAllTheSame) {
  globalPrefix("10.0.0.0/8", "nowhere");
  segment("red", "b", "keeper");
  globalPrefix("10.0.0.0/8", "b", "keeper");
  red->segment("b")->subnetsIs(subnet("10.0.0.0/8"), true);
  red->segmentIs("a")->subnetsIs(subnet("10.0.0.0/8"), true);
  segment("red", "a");
  red->prefixListIs(prefix("10.0.0.0/8"), "a");
  cli->enabledIs(true);
  EXPECT_EQ(owner("10.0.0.0/8"), "b");
}

TEST_F(VrfSmReconcileTest, PrefixesOfDisabledSourcesAreNotReplayed) {
  segment("red", "a");
  segment("red", "a", "disabled");
  globalPrefix("10.0.0.0/8", "a", "disabled");
  cli->enabledIs(true);
  // The segment's own start walks the prefixes of all sources; what counts here is the replay.
  const TraceCapture traces;
  cli->enabledIs(false);
  cli->enabledIs(true);
  for (const auto& record : traces.records()) {
    EXPECT_FALSE(record.text.starts_with(" Replaying")) << record.text;
  }
}

TEST_F(VrfSmReconcileTest, PrefixesAreReplayedBeforeTheSegmentsAreMade) {
  segment("red", "a");
  globalPrefix("10.0.0.0/8", "a");
  sw().recorder.take();
  const TraceCapture traces;
  cli->enabledIs(true);
  EXPECT_THAT(sw().recorder.takeBelow("vrf/"),
              ElementsAre("+ vrf/red/prefixList/10.0.0.0%2F8 = a", "+ vrf/red/segment/a"));
  EXPECT_TRUE(traces.saw(5, "handleInitialized",
                         " Replaying global prefix: 10.0.0.0/8 for source: cli Vrf: red"));
  EXPECT_TRUE(traces.saw(5, "handleInitialized", " Updating segment for prefix: 10.0.0.0/8"));
}

TEST_F(VrfSmReconcileTest, PrefixWithoutSegmentNameIsNotReplayed) {
  globalPrefix("10.0.0.0/8", "");
  cli->enabledIs(true);
  EXPECT_TRUE(red->prefixList().empty());
}

TEST_F(VrfSmReconcileTest, AmongTheSourcesTheFirstOfTheDirectoryIsReplayed) {
  cli->enabledIs(true);
  for (const auto& [source, name] : {std::pair("keeper", "a"), std::pair("cli", "b")}) {
    const auto blue = sw().source(source)->vrfIs("blue");
    blue->segmentIs(name);
    blue->prefixIs(prefix("10.0.0.0/8"), name);
  }
  sw().recorder.take();
  const TraceCapture traces(5);
  sw().ipStatus->vrfIs("blue");
  EXPECT_THAT(sw().recorder.takeBelow("vrf/"),
              ::testing::Contains("+ vrf/blue/prefixList/10.0.0.0%2F8 = b"));
  EXPECT_EQ(traces.count(5, "handleInitialized",
                         " Replaying global prefix: 10.0.0.0/8 for source: cli Vrf: blue"),
            1U);
  EXPECT_EQ(traces.count(5, "handleInitialized",
                         " Replaying global prefix: 10.0.0.0/8 for source: keeper Vrf: blue"),
            0U);
}

TEST_F(VrfSmReconcileTest, WithoutTheVrfWideListNothingOfItIsTouched) {
  sw().hwCapability->globalPrefixListSupportedIs(false);
  red->prefixListIs(prefix("10.0.0.0/8"), "gone");
  segment("red", "a");
  globalPrefix("11.0.0.0/8", "a");
  cli->enabledIs(true);
  EXPECT_THAT(red->prefixList(), SizeIs(1));
  EXPECT_EQ(owner("10.0.0.0/8"), "gone");
}

TEST_F(VrfSmReconcileTest, StaleSegmentKeepsTheLinksThatOtherSourcesConfigure) {
  const auto policy = sw().hwConfig->policyIs("p");
  const auto a = red->segmentIs("a");
  a->fromSegmentIs("b", red->segmentIs("b"), policy);
  a->fromSegmentIs("c", red->segmentIs("c"), policy);
  for (const char* name : {"a", "b", "c"}) segment("red", name);
  segment("red", "a", "other")->policyIs("b", "p");
  const TraceCapture traces;
  cli->enabledIs(true);
  EXPECT_THAT(links(a), ElementsAre("b=p"));
  EXPECT_TRUE(traces.saw(6, "removeFromSegments",
                         " Removing source segment:c from destination segment:a Vrf:red"));
  EXPECT_TRUE(traces.saw(6, "removeFromSegments", "b is configured from multiple source."));
}

}  // namespace
