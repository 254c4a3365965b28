// VLAN ranges of L2 segments: aligned blocks in the output.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <utility>

#include "Firewall/Sources/RootSm.h"
#include "framework/Pith/RangeException.h"
#include "tests/support/OnWrite.h"
#include "tests/support/SegmentTest.h"

namespace {

using Firewall::VlanRange;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using TestSupport::intfNamed;
using TestSupport::TraceCapture;

class VlanRangeTest : public TestSupport::SegmentTest {
 protected:
  void SetUp() override {
    SegmentTest::SetUp();
    sw().interface("Ethernet1");
    lab = l2Segment("lab");
    lab->classNameIs("__segment_lab");
    input = classMap("__segment_lab", {"Ethernet1"})->intfVlanData(intfNamed("Ethernet1"));
    sw().recorder.take();
  }
  void TearDown() override {
    lab = nullptr;
    input = nullptr;
    SegmentTest::TearDown();
  }

  Firewall::FwIntfVlanRangeSet::Ptr output(const std::string& segmentName = "lab") {
    return l2FwSegment(segmentName)->intfVlanRangeSet(intfNamed("Ethernet1"));
  }
  std::vector<std::string> ranges() {
    std::vector<std::string> texts;
    for (const VlanRange& range : output()->vlanRange()) texts.push_back(Kiv::valueToStrep(range));
    return texts;
  }
  // The writes, without the path of the set.
  std::vector<std::string> writes() {
    std::vector<std::string> texts;
    const std::string path = "l2Seg/segment/lab/intfVlanRangeSet/Ethernet1/vlanRange/";
    for (std::string line : sw().recorder.take()) {
      const std::size_t at = line.find(path);
      EXPECT_EQ(at, 2U) << line;
      line.erase(at, path.size());
      texts.push_back(line.substr(0, line.find(" = ")));
    }
    return texts;
  }

  Firewall::Segment::Ptr lab;
  Firewall::IntfVlanRangeSet::Ptr input;
};

TEST_F(VlanRangeTest, ReactorThatWatchesNothingHandlesNothing) {
  const auto map = sw().rootSm("cli")->classMap("__segment_lab");
  const auto intf = map->intfVlanData(intfNamed("Ethernet1"));
  map->notifierIs(nullptr);
  input->vlanRangeIs({100, 100});
  map->notifierIs(cli->classMap("__segment_lab"));
  sw().recorder.take();
  intf->notifierIs(nullptr);
  input->vlanRangeIs({101, 101});
  intf->kiv_handleIntfVlanData_vlanRange({101, 101});
  EXPECT_THAT(writes(), IsEmpty());
  intf->notifierIs(input);
}

TEST_F(VlanRangeTest, RangeThatASubscriberAddsWhileTheSourceStartsIsBound) {
  input->vlanRangeIs({100, 100});
  cli->enabledIs(false);
  bool isFirst = true;
  const TestSupport::OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange& change) {
    if (!change.path.ends_with("/vlanRange/100") || !std::exchange(isFirst, false)) return;
    input->vlanRangeIs({200, 200});
  });
  cli->enabledIs(true);
  EXPECT_FALSE(isFirst);
  EXPECT_THAT(ranges(), ElementsAre("100", "200"));
}

TEST_F(VlanRangeTest, RangeIsStoredAsItsAlignedBlocks) {
  input->vlanRangeIs({80, 84});
  EXPECT_THAT(ranges(), ElementsAre("80-83", "84"));
}

TEST_F(VlanRangeTest, SmallestAndLargestVlan) {
  input->vlanRangeIs({1, 4094});
  EXPECT_THAT(ranges(), ElementsAre("1", "2-3", "4-7", "8-15", "16-31", "32-63", "64-127",
                                    "128-255", "256-511", "512-1023", "1024-2047", "2048-3071",
                                    "3072-3583", "3584-3839", "3840-3967", "3968-4031", "4032-4063",
                                    "4064-4079", "4080-4087", "4088-4091", "4092-4093", "4094"));
}

TEST_F(VlanRangeTest, ReversedRangeIsEmpty) {
  input->vlanRangeIs({10, 9});
  EXPECT_THAT(ranges(), IsEmpty());
}

TEST_F(VlanRangeTest, OverlappingRangesShareTheirBlocks) {
  input->vlanRangeIs({4, 7});
  input->vlanRangeIs({4, 8});
  EXPECT_THAT(ranges(), ElementsAre("4-7", "8"));
  EXPECT_THAT(writes(), ElementsAre("+ 4-7", "+ 8"));
  input->vlanRangeDel({4, 7});
  EXPECT_THAT(ranges(), ElementsAre("4-7", "8"));
  EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(VlanRangeTest, DeletionsPrecedeAdditions) {
  input->vlanRangeIs({4, 8});
  sw().recorder.take();
  // Two changes in one recompute.
  const auto reactor = sw().rootSm("cli")->classMap("__segment_lab");
  const auto nested = reactor->intfVlanData(intfNamed("Ethernet1"));
  nested->hasNotificationActiveIs(false);
  input->vlanRangeDelAll();
  input->vlanRangeIs({2, 7});
  input->vlanRangeIs({100, 101});
  nested->hasNotificationActiveIs(true);
  EXPECT_THAT(writes(), IsEmpty());
  sw().rootSm("cli")->updateVlanSet(l2FwSegment("lab"), input);
  EXPECT_THAT(writes(), ElementsAre("- 8", "+ 2-3", "+ 100-101"));
}

TEST_F(VlanRangeTest, ReAddingAnIdenticalRangeIsSilent) {
  input->vlanRangeIs({4, 7});
  sw().recorder.take();
  const TraceCapture traces;
  input->vlanRangeIs({4, 7});
  EXPECT_THAT(writes(), IsEmpty());
  EXPECT_THAT(traces.records(), IsEmpty());
  sw().rootSm("cli")->updateVlanSet(l2FwSegment("lab"), input);
  EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(VlanRangeTest, WithoutRangesAnEmptySetStays) {
  input->vlanRangeIs({4, 7});
  input->vlanRangeDelAll();
  ASSERT_TRUE(output());
  EXPECT_THAT(ranges(), IsEmpty());
}

TEST_F(VlanRangeTest, ChangeIsTracedWithTheRange) {
  const TraceCapture traces;
  input->vlanRangeIs({4, 9});
  EXPECT_TRUE(traces.saw(8, "handleIntfVlan", " class: __segment_lab intf: Et1 vlanRange: 4:9"));
  EXPECT_TRUE(traces.saw(8, "updateVlanSet", " className: __segment_lab intf: Et1"));
}

TEST_F(VlanRangeTest, EverySegmentOfTheClassMapThatHasTheInterfaceFollows) {
  l2Segment("other")->classNameIs("__segment_lab");
  l2FwSegment("other")->intfVlanRangeSetDel(intfNamed("Ethernet1"));
  l2Segment("third")->classNameIs("__segment_lab");
  input->vlanRangeIs({4, 7});
  EXPECT_THAT(ranges(), ElementsAre("4-7"));
  EXPECT_FALSE(output("other"));
  EXPECT_TRUE(output("third")->vlanRangeHas({4, 7}));
}

TEST_F(VlanRangeTest, VrfSegmentsOfTheClassMapDoNotFollowTheRanges) {
  segment("red", "a")->classNameIs("__segment_lab");
  input->vlanRangeIs({4, 7});
  EXPECT_TRUE(fwSegment("red", "a")->intfVlanRangeSet(intfNamed("Ethernet1"))->vlanRange().empty());
}

TEST_F(VlanRangeTest, SegmentThatComesLaterHasTheRanges) {
  input->vlanRangeIs({4, 7});
  l2Segment("later")->classNameIs("__segment_lab");
  EXPECT_TRUE(output("later")->vlanRangeHas({4, 7}));
}

TEST_F(VlanRangeTest, InterfaceThatComesLaterHasTheRanges) {
  const auto later = cli->classMap("__segment_lab")->intfVlanDataIs(intfNamed("Ethernet2"));
  later->vlanRangeIs({4, 7});
  EXPECT_FALSE(l2FwSegment("lab")->intfVlanRangeSetHas(intfNamed("Ethernet2")));
  sw().interface("Ethernet2", "red");  // a routed interface makes all class maps evaluated again
  EXPECT_TRUE(l2FwSegment("lab")->intfVlanRangeSet(intfNamed("Ethernet2"))->vlanRangeHas({4, 7}));
}

// A range as an agent may publish it: the model cannot make one.
VlanRange forged(std::uint16_t first, std::uint16_t second) {
  static_assert(sizeof(VlanRange) == 4);
  return std::bit_cast<VlanRange>(std::array<std::uint16_t, 2>{second, first});
}

TEST_F(VlanRangeTest, GeneratedPairThatIsNoVlanRaisesTheRangeErrorAndLeavesTheOutput) {
  input->vlanRangeIs({8, 15});
  sw().recorder.take();
  const auto nested =
      sw().rootSm("cli")->classMap("__segment_lab")->intfVlanData(intfNamed("Ethernet1"));
  for (const VlanRange& bad : {forged(0, 3), forged(4090, 4095)}) {
    nested->hasNotificationActiveIs(false);
    input->vlanRangeDelAll();
    input->vlanRangeIs({100, 101});
    nested->hasNotificationActiveIs(true);
    try {
      input->vlanRangeIs(bad);
      ADD_FAILURE();
    } catch (const Pith::RangeException& error) {
      EXPECT_STREQ(error.what(), "Bridging::VlanId::value < 1 or > 4094 not allowed");
    }
    EXPECT_THAT(ranges(), ElementsAre("8-15"));
    EXPECT_THAT(writes(), IsEmpty());
  }
  EXPECT_THROW(input->vlanRangeDel({100, 101}), Pith::RangeException);
  input->vlanRangeDelAll();
  EXPECT_THAT(ranges(), IsEmpty());
}

TEST_F(VlanRangeTest, NestedReactorDoesNotReplayWhenItIsBound) {
  const auto map = cli->classMap("__segment_lab");
  const TraceCapture traces;
  map->intfVlanDataIs(intfNamed("Ethernet7"));
  EXPECT_EQ(traces.count(8, "handleIntfVlan", " class: __segment_lab intf: Et7 vlanRange: 1:1"),
            0U);
  for (const auto& record : traces.records()) EXPECT_NE(record.function, "handleIntfVlan");
}

TEST_F(VlanRangeTest, MissingL2DirectoryIsSkipped) {
  sw().hwConfig->l2SegDel();
  EXPECT_NO_THROW(input->vlanRangeIs({4, 7}));
  sw().hwConfig->l2SegIs("l2SegDir");
}

using VlanRangeDeathTest = VlanRangeTest;

TEST_F(VlanRangeDeathTest, SegmentWithoutTheInterfaceIsAnAssertion) {
  l2FwSegment("lab")->intfVlanRangeSetDelAll();
  EXPECT_DEATH(sw().rootSm("cli")->updateVlanSet(l2FwSegment("lab"), input),
               "fwSegment->intfVlanRangeSetHas\\( cliIntfVlanData->intfId\\(\\) \\)");
}

}  // namespace
