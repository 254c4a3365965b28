// Class maps bind interfaces to the segments that use them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "Firewall/Sources/RootSm.h"
#include "framework/Pith/RangeException.h"
#include "tests/support/OnWrite.h"
#include "tests/support/SegmentTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using TestSupport::intfNamed;
using TestSupport::TraceCapture;

class ClassMapTest : public TestSupport::SegmentTest {
 protected:
  Firewall::RootSm::Ptr root() { return sw().rootSm("cli"); }
  void route(const char* intf, const char* vrfName) {
    sw().ipStatus->ipIntfStatusIs(intfNamed(intf), L3::VrfName(vrfName));
  }
};

TEST_F(ClassMapTest, RoutedInterfaceIsBoundToTheSegmentOfItsVrf) {
  subscriber("red", "a", {"Ethernet1", "Ethernet2"});
  EXPECT_THAT(interfaces(fwSegment("red", "a")), ElementsAre("Ethernet1", "Ethernet2"));
  EXPECT_EQ(fwSegment("red", "a")->intfVlanRangeSet(intfNamed("Ethernet1"))->className(),
            "__VRF_red_segment_a");
}

TEST_F(ClassMapTest, InterfaceAddedToTheClassMapIsBound) {
  subscriber("red", "a", {"Ethernet1"});
  sw().interface("Ethernet2", "red");
  sw().recorder.take();
  cli->classMap("__VRF_red_segment_a")->intfVlanDataIs(intfNamed("Ethernet2"));
  EXPECT_THAT(sw().recorder.take(),
              ElementsAre("+ vrf/red/segment/a/intfVlanRangeSet/Ethernet2",
                          "~ vrf/red/segment/a/intfVlanRangeSet/Ethernet2/className = "
                          "__VRF_red_segment_a"));
}

TEST_F(ClassMapTest, InterfaceThatDoesNotExistIsLeftOut) {
  sw().ipStatus->ipIntfStatusIs(intfNamed("Ethernet9"), L3::VrfName("red"));
  classMap("__VRF_red_segment_a", {"Ethernet9"});
  segment("red", "a")->classNameIs("__VRF_red_segment_a");
  EXPECT_THAT(interfaces(fwSegment("red", "a")), IsEmpty());
  sw().recorder.take();
  const TraceCapture traces;
  root()->addIntfSegmentAll("__VRF_red_segment_a", intfNamed("Ethernet9"));
  EXPECT_TRUE(traces.saw(8, "addIntfSegmentAll", " className: __VRF_red_segment_a intf: Et9"));
  EXPECT_TRUE(traces.saw(8, "addIntfSegmentAll", " Early return, no intfStatus"));
  EXPECT_EQ(traces.records().size(), 2U);
  sw().interface("Ethernet9");  // that it appears is not heard
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  root()->handleClassMap();
  EXPECT_THAT(interfaces(fwSegment("red", "a")), ElementsAre("Ethernet9"));
}

TEST_F(ClassMapTest, InterfaceThatIsNotRoutedIsUnboundFromAVrfSegment) {
  subscriber("red", "a", {"Ethernet1"});
  const TraceCapture traces;
  sw().ipStatus->ipIntfStatusDel(intfNamed("Ethernet1"));
  EXPECT_THAT(interfaces(fwSegment("red", "a")), IsEmpty());
  EXPECT_TRUE(traces.saw(3, "doCheckIntfInVrf", "Interface Ethernet1 is not a L3 interface"));
}

TEST_F(ClassMapTest, InterfaceMovedToAnotherVrfMovesBetweenTheSegments) {
  subscriber("red", "a", {"Ethernet1"});
  classMap("__VRF_blue_segment_b", {"Ethernet1"});
  segment("blue", "b")->classNameIs("__VRF_blue_segment_b");
  ASSERT_THAT(interfaces(fwSegment("red", "a")), ElementsAre("Ethernet1"));
  ASSERT_THAT(interfaces(fwSegment("blue", "b")), IsEmpty());
  const TraceCapture traces;
  route("Ethernet1", "blue");
  EXPECT_THAT(interfaces(fwSegment("red", "a")), IsEmpty());
  EXPECT_THAT(interfaces(fwSegment("blue", "b")), ElementsAre("Ethernet1"));
  EXPECT_TRUE(traces.saw(3, "doCheckIntfInVrf",
                         "Interface Ethernet1 is not in configured VRF red but in blue"));
  EXPECT_TRUE(traces.saw(3, "doCheckIntfInVrf", "Interface Ethernet1 is in configured VRF blue"));
}

TEST_F(ClassMapTest, L2InterfaceIsBoundWhateverItsIpState) {
  sw().interface("Ethernet1");
  sw().interface("Ethernet2", "red");
  classMap("__segment_lab", {"Ethernet1", "Ethernet2"});
  l2Segment("lab")->classNameIs("__segment_lab");
  EXPECT_THAT(interfaces(l2FwSegment("lab")), ElementsAre("Ethernet1", "Ethernet2"));
  sw().ipStatus->ipIntfStatusDel(intfNamed("Ethernet2"));
  EXPECT_THAT(interfaces(l2FwSegment("lab")), ElementsAre("Ethernet1", "Ethernet2"));
}

TEST_F(ClassMapTest, RemovingAnInterfaceUnbindsItFromEverySegmentThatUsesTheClassMap) {
  subscriber("red", "a", {"Ethernet1", "Ethernet2"});
  segment("blue", "b")->classNameIs("__VRF_red_segment_a");
  l2Segment("lab")->classNameIs("__VRF_red_segment_a");
  const auto everywhere = [this] {
    return std::vector{interfaces(fwSegment("red", "a")), interfaces(fwSegment("blue", "b")),
                       interfaces(l2FwSegment("lab"))};
  };
  EXPECT_THAT(everywhere(), ::testing::Each(UnorderedElementsAre("Ethernet1", "Ethernet2")));
  cli->classMap("__VRF_red_segment_a")->intfVlanDataDel(intfNamed("Ethernet1"));
  EXPECT_THAT(everywhere(), ::testing::Each(ElementsAre("Ethernet2")));
}

TEST_F(ClassMapTest, RemovingTheClassMapUnbindsAllItsInterfacesVrfsFirst) {
  l2Segment("lab")->classNameIs("__VRF_red_segment_a");
  segment("red", "b")->classNameIs("__VRF_red_segment_a");
  subscriber("red", "a", {"Ethernet1"});
  sw().recorder.take();
  const TraceCapture traces;
  cli->classMapDel("__VRF_red_segment_a");
  EXPECT_THAT(sw().recorder.take(), ElementsAre("- vrf/red/segment/a/intfVlanRangeSet/Ethernet1",
                                                "- vrf/red/segment/b/intfVlanRangeSet/Ethernet1",
                                                "- l2Seg/segment/lab/intfVlanRangeSet/Ethernet1"));
  EXPECT_TRUE(traces.saw(8, "deleteIntfSegmentAll", " className: __VRF_red_segment_a intf: "));
}

TEST_F(ClassMapTest, ClassMapThatAppearsAfterTheSegmentBindsItsInterfaces) {
  sw().interface("Ethernet1", "red");
  segment("red", "a")->classNameIs("__VRF_red_segment_a");
  EXPECT_THAT(interfaces(fwSegment("red", "a")), IsEmpty());
  classMap("__VRF_red_segment_a", {"Ethernet1"});
  EXPECT_THAT(interfaces(fwSegment("red", "a")), ElementsAre("Ethernet1"));
}

TEST_F(ClassMapTest, ClassMapMadeAnewInOneGoIsFollowed) {
  const auto old = subscriber("red", "a", {"Ethernet1"});
  sw().interface("Ethernet2", "red");
  cli->classMapDel("__VRF_red_segment_a");
  const auto anew = classMap("__VRF_red_segment_a", {"Ethernet2"});
  EXPECT_THAT(interfaces(fwSegment("red", "a")), ElementsAre("Ethernet2"));
  EXPECT_EQ(root()->classMap("__VRF_red_segment_a")->notifier(), anew);
  anew->intfVlanDataIs(intfNamed("Ethernet1"));
  EXPECT_THAT(interfaces(fwSegment("red", "a")), ElementsAre("Ethernet2", "Ethernet1"));
}

TEST_F(ClassMapTest, SegmentsAreVisitedVrfByVrfByNameAndL2Last) {
  const Pith::String shared = "__segment_shared";
  l2Segment("a")->classNameIs(shared);
  segment("red", "z")->classNameIs(shared);
  segment("blue", "m")->classNameIs(shared);
  segment("red", "b")->classNameIs(shared);
  sw().interface("Ethernet1");
  sw().recorder.take();
  classMap(shared, {"Ethernet1"});
  std::vector<std::string> bound;
  for (const std::string& line : sw().recorder.take()) {
    if (line.starts_with("+ ")) bound.push_back(line);
  }
  EXPECT_THAT(bound, ElementsAre("+ vrf/red/segment/b/intfVlanRangeSet/Ethernet1",
                                 "+ vrf/red/segment/z/intfVlanRangeSet/Ethernet1",
                                 "+ vrf/blue/segment/m/intfVlanRangeSet/Ethernet1",
                                 "+ l2Seg/segment/a/intfVlanRangeSet/Ethernet1"));
}

TEST_F(ClassMapTest, BindingTellsTheVrfOnWhichSideTheSegmentIs) {
  subscriber("red", "a", {});
  EXPECT_TRUE(vrfSm("red")->serviceSideSegment().has("a"));
  sw().interface("Ethernet1", "red");
  cli->classMap("__VRF_red_segment_a")->intfVlanDataIs(intfNamed("Ethernet1"));
  EXPECT_FALSE(vrfSm("red")->serviceSideSegment().has("a"));
  ASSERT_NE(vrfSm("red")->subcriberSideSegment("a"), nullptr);
}

TEST_F(ClassMapTest, UnbindingDoesNotReportTheSideAnew) {
  subscriber("red", "a", {"Ethernet1"});
  const std::uint16_t counter = *vrfSm("red")->subcriberSideSegment("a");
  cli->classMap("__VRF_red_segment_a")->intfVlanDataDelAll();
  EXPECT_THAT(interfaces(fwSegment("red", "a")), IsEmpty());
  ASSERT_NE(vrfSm("red")->subcriberSideSegment("a"), nullptr);
  EXPECT_EQ(*vrfSm("red")->subcriberSideSegment("a"), counter);
  EXPECT_FALSE(vrfSm("red")->serviceSideSegment().has("a"));
}

TEST_F(ClassMapTest, EmptyNameIsNoClassMap) {
  sw().interface("Ethernet1", "red");
  segment("red", "a");
  const TraceCapture traces;
  cli->classMapIs("")->intfVlanDataIs(intfNamed("Ethernet1"));
  EXPECT_THAT(interfaces(fwSegment("red", "a")), IsEmpty());
  segment("red", "b");
  EXPECT_THAT(interfaces(fwSegment("red", "b")), IsEmpty());
}

TEST_F(ClassMapTest, HandlersTraceTheirEntryAndReturn) {
  subscriber("red", "a", {"Ethernet1"});
  const TraceCapture traces;
  root()->handleClassMap();
  std::vector<std::string> seen;
  for (const auto& record : traces.records()) {
    if (record.function.starts_with("handleClassMap")) {
      seen.push_back(std::to_string(record.level) + " " + record.function + record.text);
    }
  }
  EXPECT_THAT(seen, ElementsAre("8 handleClassMap: ", "8 handleClassMap: __VRF_red_segment_a",
                                "8 handleClassMapIntfs: __VRF_red_segment_a",
                                "8 handleClassMapIntf: __VRF_red_segment_a, Et1",
                                "7 handleClassMapIntf return", "7 handleClassMapIntfs return",
                                "7 handleClassMap return", "7 handleClassMap return"));
}

TEST_F(ClassMapTest, L2SegmentIsTraced) {
  sw().interface("Ethernet1");
  classMap("__segment_lab", {"Ethernet1"});
  l2Segment("lab")->classNameIs("__segment_lab");
  const TraceCapture traces;
  root()->addIntfSegmentAll("__segment_lab", intfNamed("Ethernet1"));
  EXPECT_TRUE(traces.saw(8, "addIntfSegmentAll", "Setting up L2 segment"));
}

TEST_F(ClassMapTest, ReevaluationOfWhatIsRightWritesNothing) {
  subscriber("red", "a", {"Ethernet1"});
  sw().interface("Ethernet2");
  classMap("__segment_lab", {"Ethernet2"});
  l2Segment("lab")->classNameIs("__segment_lab");
  sw().recorder.take();
  root()->handleClassMap();
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
}

TEST_F(ClassMapTest, IpInterfaceChangeReevaluatesAllClassMaps) {
  sw().interface("Ethernet1");
  classMap("__VRF_red_segment_a", {"Ethernet1"});
  classMap("__VRF_red_segment_b", {"Ethernet1"});
  segment("red", "a")->classNameIs("__VRF_red_segment_a");
  segment("red", "b")->classNameIs("__VRF_red_segment_b");
  route("Ethernet1", "red");
  EXPECT_THAT(interfaces(fwSegment("red", "a")), ElementsAre("Ethernet1"));
  EXPECT_THAT(interfaces(fwSegment("red", "b")), ElementsAre("Ethernet1"));
}

TEST_F(ClassMapTest, VrfNameOf101BytesReachesTheWriterAndTheOtherClassMapsAreHandled) {
  const std::string tooLong = "__VRF_" + std::string(101, 'v') + "_segment_x";
  classMap(tooLong, {"Ethernet1"});
  segment("red", "x")->classNameIs(tooLong);
  subscriber("red", "a", {"Ethernet2"});
  sw().ipStatus->ipIntfStatusDel(intfNamed("Ethernet2"));
  ASSERT_THAT(interfaces(fwSegment("red", "a")), IsEmpty());
  sw().intfStatusDir->intfStatusIs(intfNamed("Ethernet1"));
  EXPECT_THROW(route("Ethernet1", "red"), Pith::RangeException);
  EXPECT_THROW(route("Ethernet2", "red"), Pith::RangeException);
  EXPECT_THAT(interfaces(fwSegment("red", "a")), ElementsAre("Ethernet2"));
  EXPECT_THAT(interfaces(fwSegment("red", "x")), IsEmpty());
}

TEST_F(ClassMapTest, ChangesWhileTheSourceIsDisabledAreReplayed) {
  subscriber("red", "a", {"Ethernet1"});
  cli->enabledIs(false);
  sw().interface("Ethernet2", "red");
  cli->classMap("__VRF_red_segment_a")->intfVlanDataIs(intfNamed("Ethernet2"));
  cli->classMap("__VRF_red_segment_a")->intfVlanDataDel(intfNamed("Ethernet1"));
  EXPECT_EQ(sw().hwConfig->vrf().size(), 0U);
  cli->enabledIs(true);
  EXPECT_THAT(interfaces(fwSegment("red", "a")), ElementsAre("Ethernet2"));
}

TEST_F(ClassMapTest, HandlersDoNothingOnceTheSourceIsTakenDown) {
  subscriber("red", "a", {"Ethernet1"});
  const auto held = root();
  const auto map = cli->classMap("__VRF_red_segment_a");
  cli->enabledIs(false);
  sw().hwConfig->vrfIs("red")->segmentIs("a")->classNameIs("__VRF_red_segment_a");
  sw().recorder.take();
  const TraceCapture traces;
  held->handleClassMap();
  held->handleClassMap("__VRF_red_segment_a");
  held->handleClassMapIntfs(map);
  held->handleClassMapIntf(map, intfNamed("Ethernet1"));
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  EXPECT_TRUE(traces.saw(7, "handleClassMap", " return "));
  EXPECT_TRUE(traces.saw(7, "handleClassMapIntf", " return "));
}

TEST_F(ClassMapTest, MissingL2DirectoryIsSkipped) {
  sw().interface("Ethernet1");
  classMap("__segment_lab", {"Ethernet1"});
  l2Segment("lab")->classNameIs("__segment_lab");
  sw().hwConfig->l2SegDel();
  EXPECT_NO_THROW(root()->addIntfSegmentAll("__segment_lab", intfNamed("Ethernet1")));
  EXPECT_NO_THROW(root()->deleteIntfSegmentAll("__segment_lab", Lanx::IntfId()));
  sw().hwConfig->l2SegIs("l2SegDir");
}

TEST_F(ClassMapTest, InterfaceEntryReplacedByAnEarlierSubscriberIsFollowed) {
  subscriber("red", "a", {"Ethernet1"});
  const auto map = cli->classMap("__VRF_red_segment_a");
  const auto entry = map->intfVlanData(intfNamed("Ethernet1"));
  // Nobody tells the class map's reactor of a replacement that it finds by itself.
  const auto reactor = root()->classMap("__VRF_red_segment_a");
  reactor->hasNotificationActiveIs(false);
  map->intfVlanDataDel(intfNamed("Ethernet1"));
  const auto anew = map->intfVlanDataIs(intfNamed("Ethernet1"));
  reactor->hasNotificationActiveIs(true);
  reactor->handleNotifier();
  EXPECT_EQ(reactor->intfVlanData(intfNamed("Ethernet1"))->notifier(), anew);
}

TEST_F(ClassMapTest, NestedReactorsComeAndGoWithTheInterfaces) {
  subscriber("red", "a", {"Ethernet1"});
  const auto reactor = root()->classMap("__VRF_red_segment_a");
  EXPECT_TRUE(reactor->intfVlanDataHas(intfNamed("Ethernet1")));
  const auto map = cli->classMap("__VRF_red_segment_a");
  map->intfVlanDataIs(intfNamed("Ethernet2"));
  EXPECT_TRUE(reactor->intfVlanDataHas(intfNamed("Ethernet2")));
  map->intfVlanDataDel(intfNamed("Ethernet1"));
  EXPECT_FALSE(reactor->intfVlanDataHas(intfNamed("Ethernet1")));
  EXPECT_EQ(reactor->intfVlanData().size(), 1U);
}

TEST_F(ClassMapTest, NestedReactorsComeAndGoAfterTheInterfaceWasHandled) {
  subscriber("red", "a", {"Ethernet1"});
  sw().interface("Ethernet2", "red");
  const auto reactor = root()->classMap("__VRF_red_segment_a");
  std::vector<bool> followed;
  const TestSupport::OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange& change) {
    if (change.path != "vrf/red/segment/a/intfVlanRangeSet/Ethernet2") return;
    followed.push_back(reactor->intfVlanDataHas(intfNamed("Ethernet2")));
  });
  const auto map = cli->classMap("__VRF_red_segment_a");
  map->intfVlanDataIs(intfNamed("Ethernet2"));
  map->intfVlanDataDel(intfNamed("Ethernet2"));
  EXPECT_THAT(followed, ElementsAre(false, true));
  EXPECT_FALSE(reactor->intfVlanDataHas(intfNamed("Ethernet2")));
}

TEST_F(ClassMapTest, InterfacesAreFollowedThoughASubscriberThrows) {
  subscriber("red", "a", {"Ethernet1"});
  subscriber("red", "b", {"Ethernet2"});
  sw().interface("Ethernet3", "red");
  fwSegment("red", "b")->intfVlanRangeSetDel(intfNamed("Ethernet2"));
  const auto reactor = root()->classMap("__VRF_red_segment_a");
  {
    const TestSupport::OnWrite onWrite(
        sw().hwConfig, [](const Kiv::TreeChange&) { throw std::runtime_error("subscriber"); });
    const auto map = cli->classMap("__VRF_red_segment_a");
    EXPECT_THROW(map->intfVlanDataIs(intfNamed("Ethernet3")), std::runtime_error);
    EXPECT_TRUE(reactor->intfVlanDataHas(intfNamed("Ethernet3")));
    const auto other = cli->classMap("__VRF_red_segment_b");
    EXPECT_THROW(reactor->notifierIs(other), std::runtime_error);
    EXPECT_TRUE(reactor->intfVlanDataHas(intfNamed("Ethernet2")));
  }
  reactor->notifierIs(cli->classMap("__VRF_red_segment_a"));
}

TEST_F(ClassMapTest, ReactorPointedAtAnotherClassMapFollowsThatOne) {
  subscriber("red", "a", {"Ethernet1"});
  subscriber("red", "b", {"Ethernet2"});
  const auto reactor = root()->classMap("__VRF_red_segment_a");
  const TraceCapture traces;
  reactor->notifierIs(cli->classMap("__VRF_red_segment_b"));
  EXPECT_TRUE(traces.saw(8, "handleClassMapIntfs", ": __VRF_red_segment_b"));
  EXPECT_FALSE(reactor->intfVlanDataHas(intfNamed("Ethernet1")));
  EXPECT_TRUE(reactor->intfVlanDataHas(intfNamed("Ethernet2")));
  reactor->notifierIs(cli->classMap("__VRF_red_segment_a"));
}

using ClassMapDeathTest = ClassMapTest;

TEST_F(ClassMapDeathTest, NameOfNeitherFormOnAVrfSegmentIsAnAssertion) {
  sw().interface("Ethernet1", "red");
  segment("red", "a")->classNameIs("web");
  EXPECT_DEATH(classMap("web", {"Ethernet1"}),
               "cmapName.find\\( \"__segment_\" \\) != std::string::npos");
}

}  // namespace
