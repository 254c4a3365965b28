// The reactor of a segment: its start, its links, its class map and its end.
#include "Firewall/Segments/SegmentSM.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Firewall/Sources/RootSm.h"
#include "tests/Firewall/PathFixture.h"
#include "tests/support/Reinstantiation.h"
#include "tests/support/SegmentTest.h"

namespace {

using Firewall::ListSource;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using TestSupport::intfNamed;
using TestSupport::TraceCapture;
using TestSupport::vrfNamed;

class SegmentSMTest : public TestSupport::SegmentTest {};

TEST_F(SegmentSMTest, StartRunsTheHandlersInOrder) {
  vrf("red");
  const TraceCapture traces;
  segment("red", "a");
  std::vector<std::string> order;
  for (const auto& record : traces.records()) {
    if (record.level == 8 && (record.function.starts_with("handle") ||
                              record.function == "addInterFromSegAndFbPolicyAll")) {
      order.push_back(record.function + record.text);
    }
  }
  EXPECT_THAT(order, ElementsAre("handleSegment: a", "handleInitialized: a",
                                 "addInterFromSegAndFbPolicyAll: a, ",
                                 "handleClassMap className:", "handleMatchListConfigPath: ",
                                 "handleFromSegment: ", "handleFallbackPolicy: "));
  EXPECT_TRUE(traces.saw(7, "handleInitialized", " return"));
  EXPECT_TRUE(traces.saw(7, "handleFromSegment", " return"));
}

TEST_F(SegmentSMTest, EntriesAreTraced) {
  segment("red", "a");
  const auto reactor = segmentSm("red", "a");
  const TraceCapture traces(8);
  reactor->updateLocalDataForVrfSegment();
  reactor->cleanClassmap();
  reactor->isFromSegmentConfigured("a", "b");
  reactor->removeFromSegments();
  EXPECT_TRUE(traces.saw(8, "updateLocalDataForVrfSegment", ": "));
  EXPECT_TRUE(traces.saw(8, "cleanClassmap", ": "));
  EXPECT_TRUE(traces.saw(8, "isFromSegmentConfigured", ": a, b"));
  EXPECT_TRUE(traces.saw(8, "removeFromSegments", ": "));
}

// Links.

TEST_F(SegmentSMTest, FromSegmentIsLinkedWhenBothEndsAreThere) {
  policy("p");
  segment("red", "b");
  segment("red", "a")->policyIs("b", "p");
  EXPECT_THAT(links(fwSegment("red", "a")), ElementsAre("b=p"));
}

TEST_F(SegmentSMTest, FromSegmentThatComesLaterIsLinkedWhenItStarts) {
  policy("p");
  segment("red", "a")->policyIs("b", "p");
  EXPECT_THAT(links(fwSegment("red", "a")), IsEmpty());
  segment("red", "b");
  EXPECT_THAT(links(fwSegment("red", "a")), ElementsAre("b=p"));
}

TEST_F(SegmentSMTest, ChangedPolicyOfAFromSegmentReplacesTheLink) {
  policy("p");
  policy("q");
  segment("red", "b");
  const auto a = segment("red", "a");
  a->policyIs("b", "p");
  sw().recorder.take();
  a->policyIs("b", "q");
  EXPECT_THAT(links(fwSegment("red", "a")), ElementsAre("b=q"));
  EXPECT_THAT(sw().recorder.take(), ElementsAre("- vrf/red/segment/a/fromSegment/b", ::testing::_));
}

TEST_F(SegmentSMTest, FromSegmentWithoutPolicyOrRemovedHasNoLink) {
  policy("p");
  segment("red", "b");
  const auto a = segment("red", "a");
  a->policyIs("b", "p");
  const TraceCapture traces;
  a->policyIs("b", "");
  EXPECT_THAT(links(fwSegment("red", "a")), IsEmpty());
  for (const auto& record : traces.records()) EXPECT_NE(record.function, "addInterimFromSegment");
  a->policyIs("b", "p");
  a->policyDel("b");
  EXPECT_THAT(links(fwSegment("red", "a")), IsEmpty());
}

TEST_F(SegmentSMTest, FromSegmentIsIgnoredWhileTheSourceIsDisabled) {
  policy("p");
  segment("red", "b");
  segment("red", "a")->policyIs("b", "p");
  const auto reactor = segmentSm("red", "a");
  // The reactors stand, but nothing is told to them.
  const auto feature = sw().root->rootFeatureSm("cli");
  feature->hasNotificationActiveIs(false);
  cli->enabledIs(false);
  segment("red", "a")->policyDel("b");
  const TraceCapture traces;
  reactor->handleFromSegment("b");
  EXPECT_TRUE(traces.saw(8, "handleFromSegment", " fromSegment:b"));
  EXPECT_TRUE(traces.saw(7, "handleFromSegment", " return "));
  EXPECT_THAT(links(fwSegment("red", "a")), ElementsAre("b=p"));
  cli->enabledIs(true);
  feature->hasNotificationActiveIs(true);
  reactor->handleFromSegment("b");
  EXPECT_THAT(links(fwSegment("red", "a")), IsEmpty());
}

TEST_F(SegmentSMTest, FallbackPolicyFollowsTheConfiguration) {
  policy("p");
  const auto a = segment("red", "a");
  a->fallbackPolicyIs("p");
  EXPECT_EQ(fwSegment("red", "a")->fallbackPolicy(), sw().hwConfig->policy("p"));
  a->fallbackPolicyIs("unknown");
  EXPECT_FALSE(fwSegment("red", "a")->fallbackPolicy());
  a->fallbackPolicyIs("p");
  a->fallbackPolicyIs("");
  EXPECT_FALSE(fwSegment("red", "a")->fallbackPolicy());
}

TEST_F(SegmentSMTest, FallbackPolicyThatComesLaterIsLinked) {
  segment("red", "a")->fallbackPolicyIs("p");
  EXPECT_FALSE(fwSegment("red", "a")->fallbackPolicy());
  policy("p");
  EXPECT_EQ(fwSegment("red", "a")->fallbackPolicy(), sw().hwConfig->policy("p"));
}

TEST_F(SegmentSMTest, RemovedSegmentLeavesNoLinkBehind) {
  policy("p");
  const auto a = segment("red", "a");
  const auto b = segment("red", "b");
  a->policyIs("b", "p");
  b->policyIs("a", "p");
  sw().recorder.take();
  const TraceCapture traces;
  vrf("red")->segmentDel("b");
  EXPECT_THAT(links(fwSegment("red", "a")), IsEmpty());
  EXPECT_THAT(sw().recorder.takeBelow("vrf/"),
              ElementsAre("- vrf/red/segment/a/fromSegment/b", "- vrf/red/segment/b"));
  EXPECT_TRUE(traces.saw(6, "removeFromSegments", " Segment is not configured. Removing:b"));
  EXPECT_TRUE(traces.saw(8, "deleteInterFromSegAndFbPolicyAll", ": b, "));
  segment("red", "b");
  EXPECT_THAT(links(fwSegment("red", "a")), ElementsAre("b=p"));
}

// Class maps.

TEST_F(SegmentSMTest, ClassNameReachesTheOutput) {
  const auto a = segment("red", "a");
  a->classNameIs("__VRF_red_segment_a");
  EXPECT_EQ(fwSegment("red", "a")->className(), "__VRF_red_segment_a");
  a->classNameIs("");
  EXPECT_EQ(fwSegment("red", "a")->className(), "");
}

TEST_F(SegmentSMTest, SegmentWithoutClassMapHasNoInterfaces) {
  const auto a = subscriber("red", "a", {"Ethernet1"});
  ASSERT_THAT(interfaces(fwSegment("red", "a")), ElementsAre("Ethernet1"));
  const TraceCapture traces;
  a->classNameIs("__VRF_red_segment_missing");
  EXPECT_THAT(interfaces(fwSegment("red", "a")), IsEmpty());
  EXPECT_TRUE(traces.saw(8, "handleClassMap", " className:__VRF_red_segment_missing"));
  EXPECT_TRUE(traces.saw(7, "cleanClassmap", " return"));
}

TEST_F(SegmentSMTest, ClassMapChangeKeepsWhatBothBind) {
  const auto a = subscriber("red", "a", {"Ethernet1", "Ethernet2"});
  sw().interface("Ethernet3", "red");
  classMap("__VRF_red_segment_other", {"Ethernet2", "Ethernet3"});
  sw().recorder.take();
  a->classNameIs("__VRF_red_segment_other");
  const std::string path = "vrf/red/segment/a/intfVlanRangeSet/";
  EXPECT_THAT(sw().recorder.take(),
              ElementsAre("~ vrf/red/segment/a/className = __VRF_red_segment_other",
                          "~ " + path + "Ethernet2/className = __VRF_red_segment_other",
                          "+ " + path + "Ethernet3",
                          "~ " + path + "Ethernet3/className = __VRF_red_segment_other",
                          "- " + path + "Ethernet1"));
}

TEST_F(SegmentSMTest, ClassMapThatASubscriberNamesWhileAnotherIsBoundWins) {
  for (const char* name : {"Ethernet1", "Ethernet2", "Ethernet3"}) sw().interface(name, "red");
  classMap("__VRF_red_segment_first", {"Ethernet1", "Ethernet2"});
  classMap("__VRF_red_segment_second", {"Ethernet3"});
  const auto a = segment("red", "a");
  const TestSupport::OnWrite namer(sw().hwConfig, [&a](const Kiv::TreeChange& change) {
    if (change.path.ends_with("/Ethernet1")) a->classNameIs("__VRF_red_segment_second");
  });
  a->classNameIs("__VRF_red_segment_first");
  EXPECT_THAT(interfaces(fwSegment("red", "a")), ElementsAre("Ethernet3"));
}

TEST_F(SegmentSMTest, L2ClassMapBindsInterfacesWithTheirRangesWithoutAVrfTest) {
  sw().interface("Ethernet1");
  const auto data = classMap("__segment_lab", {"Ethernet1"})->intfVlanData(intfNamed("Ethernet1"));
  data->vlanRangeIs({4, 7});
  const TraceCapture traces;
  l2Segment("lab")->classNameIs("__segment_lab");
  const auto bound = l2FwSegment("lab")->intfVlanRangeSet(intfNamed("Ethernet1"));
  EXPECT_TRUE(bound->vlanRangeHas({4, 7}));
  EXPECT_EQ(bound->className(), "__segment_lab");
  EXPECT_TRUE(traces.saw(8, "handleClassMap", "Processing intf Ethernet1"));
  EXPECT_TRUE(traces.saw(8, "handleClassMap", "Setting HW config for segment"));
  for (const auto& record : traces.records()) EXPECT_NE(record.function, "doCheckIntfInVrf");
}

TEST_F(SegmentSMTest, SegmentMarkInsideTheNameMakesNoL2ClassMap) {
  sw().interface("Ethernet1");
  const auto data =
      classMap("site__segment_lab", {"Ethernet1"})->intfVlanData(intfNamed("Ethernet1"));
  data->vlanRangeIs({4, 7});
  segment("red", "a")->classNameIs("site__segment_lab");
  const auto bound = fwSegment("red", "a")->intfVlanRangeSet(intfNamed("Ethernet1"));
  ASSERT_TRUE(bound);
  EXPECT_TRUE(bound->vlanRange().empty());
}

TEST_F(SegmentSMTest, VrfClassMapBindsWholeWhatAnL2ClassMapBoundByRanges) {
  sw().interface("Ethernet1", "red");
  classMap("__segment_lab", {"Ethernet1"})
      ->intfVlanData(intfNamed("Ethernet1"))
      ->vlanRangeIs({4, 7});
  const auto a = segment("red", "a");
  a->classNameIs("__segment_lab");
  ASSERT_FALSE(
      fwSegment("red", "a")->intfVlanRangeSet(intfNamed("Ethernet1"))->vlanRange().empty());
  classMap("__VRF_red_segment_a", {"Ethernet1"});
  a->classNameIs("__VRF_red_segment_a");
  EXPECT_TRUE(fwSegment("red", "a")->intfVlanRangeSet(intfNamed("Ethernet1"))->vlanRange().empty());
}

TEST_F(SegmentSMTest, BindingIsTracedAsNewOrAsAnUpdate) {
  classMap("__VRF_red_segment_a", {});
  const auto a = segment("red", "a");
  TraceCapture traces;
  a->classNameIs("__VRF_red_segment_a");
  EXPECT_TRUE(
      traces.saw(6, "handleClassMap", "Adding classMap __VRF_red_segment_a to interim segment a"));
  traces.clear();
  segmentSm("red", "a")->handleClassMap();
  EXPECT_TRUE(traces.saw(6, "handleClassMap",
                         "Update intf list from class __VRF_red_segment_a"
                         " to interim segment a L2=false"));
}

TEST_F(SegmentSMTest, InterfaceThatDoesNotExistIsTracedAndSkipped) {
  classMap("__VRF_red_segment_a", {"Ethernet9"});
  sw().ipStatus->ipIntfStatusIs(intfNamed("Ethernet9"), vrfNamed("red"));
  const TraceCapture traces;
  segment("red", "a")->classNameIs("__VRF_red_segment_a");
  EXPECT_THAT(interfaces(fwSegment("red", "a")), IsEmpty());
  EXPECT_TRUE(traces.saw(8, "handleClassMap", "IntfEthernet9 not in intfStatus"));
}

TEST_F(SegmentSMTest, InterfaceThatIsBoundStaysSoWhenItIsSkipped) {
  sw().interface("Ethernet1", "red");
  for (const std::string name : {"__VRF_red_segment_a", "__segment_a"}) {
    classMap(name, {"Ethernet1"});
    const auto a = segment("red", "a");
    a->classNameIs(name);
    ASSERT_THAT(interfaces(fwSegment("red", "a")), ElementsAre("Ethernet1")) << name;
    sw().intfStatusDir->intfStatusDel(intfNamed("Ethernet1"));
    sw().recorder.take();
    const TraceCapture traces;
    segmentSm("red", "a")->handleClassMap();
    EXPECT_TRUE(traces.saw(8, "handleClassMap", "IntfEthernet1 not in intfStatus"));
    EXPECT_THAT(interfaces(fwSegment("red", "a")), ElementsAre("Ethernet1")) << name;
    EXPECT_THAT(sw().recorder.take(), IsEmpty()) << name;
    sw().intfStatusDir->intfStatusIs(intfNamed("Ethernet1"));
  }
}

TEST_F(SegmentSMTest, InterfaceOfAnotherVrfIsUnbound) {
  subscriber("red", "a", {"Ethernet1"});
  segmentSm("red", "a")->hasNotificationActiveIs(false);
  sw().rootSm("cli")->hasNotificationActiveIs(false);
  sw().ipStatus->ipIntfStatusIs(intfNamed("Ethernet1"), vrfNamed("blue"));
  segmentSm("red", "a")->handleClassMap();
  EXPECT_THAT(interfaces(fwSegment("red", "a")), IsEmpty());
  sw().rootSm("cli")->hasNotificationActiveIs(true);
}

// Sides.

TEST_F(SegmentSMTest, SegmentWithInterfacesIsOnTheSubscriberSide) {
  subscriber("red", "a", {"Ethernet1"});
  EXPECT_FALSE(vrfSm("red")->serviceSideSegment().has("a"));
  EXPECT_NE(vrfSm("red")->subcriberSideSegment("a"), nullptr);
}

TEST_F(SegmentSMTest, FirstReportCountsOne) {
  subscriber("red", "a", {"Ethernet1"});
  vrfSm("red")->subcriberSideSegmentDelAll();
  segmentSm("red", "a")->updateLocalDataForVrfSegment();
  EXPECT_EQ(*vrfSm("red")->subcriberSideSegment("a"), 1);
  segmentSm("red", "a")->updateLocalDataForVrfSegment();
  EXPECT_EQ(*vrfSm("red")->subcriberSideSegment("a"), 2);
}

TEST_F(SegmentSMTest, CounterOfReportsIsSixteenBitsWide) {
  subscriber("red", "a", {"Ethernet1"});
  const auto reactor = vrfSm("red");
  reactor->subcriberSideSegmentIs("a", 255);
  segmentSm("red", "a")->updateLocalDataForVrfSegment();
  EXPECT_EQ(*reactor->subcriberSideSegment("a"), 256);
  reactor->subcriberSideSegmentIs("a", 65535);
  const TraceCapture traces;
  segmentSm("red", "a")->updateLocalDataForVrfSegment();
  EXPECT_EQ(*reactor->subcriberSideSegment("a"), 0);
  EXPECT_EQ(traces.count(8, "handleSubcriberSideSegment", " seg:a"), 1U);
  segmentSm("red", "a")->updateLocalDataForVrfSegment();
  EXPECT_EQ(*reactor->subcriberSideSegment("a"), 1);
}

TEST_F(SegmentSMTest, EachReportIsHandledThoughTheSideIsTheSame) {
  subscriber("red", "a", {"Ethernet1"});
  const TraceCapture traces;
  segmentSm("red", "a")->updateLocalDataForVrfSegment();
  segmentSm("red", "a")->updateLocalDataForVrfSegment();
  EXPECT_EQ(traces.count(8, "handleSubcriberSideSegment", " seg:a"), 2U);
}

TEST_F(SegmentSMTest, ServiceSideReportDoesNotLeaveTheSubscriberSide) {
  subscriber("red", "a", {"Ethernet1"});
  fwSegment("red", "a")->intfVlanRangeSetDelAll();
  segmentSm("red", "a")->updateLocalDataForVrfSegment();
  EXPECT_TRUE(vrfSm("red")->serviceSideSegment().has("a"));
  EXPECT_NE(vrfSm("red")->subcriberSideSegment("a"), nullptr);
}

TEST_F(SegmentSMTest, RemovedSegmentIsOnNoSide) {
  subscriber("red", "a", {"Ethernet1"});
  subscriber("red", "b", {});
  vrf("red")->segmentDel("a");
  vrf("red")->segmentDel("b");
  EXPECT_TRUE(vrfSm("red")->serviceSideSegment().empty());
  EXPECT_TRUE(vrfSm("red")->subcriberSideSegment().empty());
}

// Match-list paths.

TEST_F(SegmentSMTest, EachMatchListPathHasItsReactor) {
  sw().matchLists("first");
  segment("red", "a");
  const auto reactor = segmentSm("red", "a");
  EXPECT_TRUE(reactor->mlConfigPathSmHas("first"));
  const TraceCapture traces;
  sw().matchLists("second");
  EXPECT_TRUE(reactor->mlConfigPathSmHas("second"));
  EXPECT_TRUE(traces.saw(8, "handleMatchListConfigPath", " MatchList config path:second"));
  sw().matchListConfigDir->entityDel("first");
  EXPECT_FALSE(reactor->mlConfigPathSmHas("first"));
}

TEST_F(SegmentSMTest, EntryThatIsNoMatchListConfigurationIsNoPath) {
  sw().matchLists("path");
  segment("red", "a");
  const auto reactor = segmentSm("red", "a");
  sw().matchListConfigDir->newEntity<Firewall::Config>("path");
  EXPECT_TRUE(reactor->mlConfigPathSm().empty());
  const auto again = sw().matchListConfigDir->newEntity<MatchList::Config>("path");
  EXPECT_EQ(reactor->mlConfigPathSm("path")->attributes().matchListConfig, again);
}

TEST_F(SegmentSMTest, PathReplacedUnnoticedGetsANewReactor) {
  sw().matchLists("path");
  segment("red", "a");
  const auto reactor = segmentSm("red", "a");
  reactor->hasNotificationActiveIs(false);
  const auto anew = sw().matchListConfigDir->newEntity<MatchList::Config>("path");
  reactor->hasNotificationActiveIs(true);
  reactor->handleMatchListConfigPath();
  EXPECT_EQ(reactor->mlConfigPathSm("path")->attributes().matchListConfig, anew);
}

TEST_F(SegmentSMTest, L2SegmentsReactorsHaveNoVrf) {
  sw().matchLists("path")->matchIpv4PrefixListIs("list")->subnetsIs(
      Lanx::IpAddrWithMask::parse("10.0.0.0/8"));
  sw().hwCapability->globalPrefixListSupportedIs(true);
  l2Segment("lab")->prefixIpv4MlIs(ListSource::matchList("list"));
  const auto reactor = sw().rootSm("cli")->l2SegDirSm()->segmentSm("lab");
  EXPECT_FALSE(reactor->mlConfigPathSm("path")->attributes().fwVrf);
  EXPECT_TRUE(l2FwSegment("lab")->subnetsHas(Lanx::IpGenAddrWithMask::parse("10.0.0.0/8")));
  cli->l2SegmentDir()->segmentDel("lab");
  EXPECT_FALSE(l2FwSegment("lab"));
}

TEST_F(SegmentSMTest, EveryReferenceOfAPathReactorIsComparedWhenItIsAskedForAgain) {
  sw().matchLists("path");
  segment("red", "a");
  const auto reactor = segmentSm("red", "a");
  TestSupport::expectEachReferenceChecked(
      "Firewall::MatchListConfigPathSm", reactor->mlConfigPathSm("path")->attributes(),
      [&](const Firewall::MatchListConfigPathSmAttributes& a) {
        reactor->mlConfigPathSmIs(a.mlName, a.mlSegmentName, a.fwConfigDir, a.fwVrf,
                                  a.matchListConfigDir, a.matchListConfig, a.inSegment, a.fwSegment,
                                  a.hwCapability, a.aclListConfig, a.activeWorkManager);
      });
}

// The end.

TEST_F(SegmentSMTest, SubnetsOfARemovedSegmentAreWithdrawn) {
  sw().hwCapability->globalPrefixListSupportedIs(true);
  const auto path = sw().matchLists("path");
  path->matchIpv4PrefixListIs("list")->subnetsIs(Lanx::IpAddrWithMask::parse("10.0.0.0/8"));
  path->matchIpv6PrefixListIs("list6")->subnetsIs(Lanx::Ip6AddrWithMask::parse("2001:db8::/32"));
  for (const char* name : {"a", "b"}) {
    const auto made = segment("red", name);
    made->prefixIpv4MlIs(ListSource::matchList("list"));
    made->prefixIpv6MlIs(ListSource::matchList("list6"));
  }
  const auto owner = [this](const char* text) {
    const Pith::String* const name = fwVrf("red")->prefixList(Lanx::IpGenPrefix::parse(text));
    return name == nullptr ? Pith::String() : *name;
  };
  ASSERT_EQ(owner("10.0.0.0/8"), "a");
  vrf("red")->segmentDel("a");
  EXPECT_EQ(owner("10.0.0.0/8"), "b");
  EXPECT_EQ(owner("2001:db8::/32"), "b");
  vrf("red")->segmentDel("b");
  EXPECT_TRUE(fwVrf("red")->prefixList().empty());
}

TEST_F(SegmentSMTest, ZombieIgnoresWhatItIsTold) {
  policy("p");
  const auto a = segment("red", "a");
  const auto reactor = segmentSm("red", "a");
  reactor->kivDoZombieReactors(true);
  sw().recorder.take();
  const TraceCapture traces;
  a->policyIs("b", "p");
  a->fallbackPolicyIs("p");
  a->classNameIs("__VRF_red_segment_a");
  sw().matchLists("path");
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  EXPECT_THAT(traces.records(), IsEmpty());
  EXPECT_FALSE(reactor->mlConfigPathSm("path"));
  reactor->kivDoZombieReactors(false);
  sw().matchLists("other");
  EXPECT_TRUE(reactor->mlConfigPathSm("other"));
}

TEST_F(SegmentSMTest, TakenOutOfTheOutputWhileItIsMadeItHasNothingToCleanUp) {
  vrf("red");
  {
    const TestSupport::OnWrite remover(sw().hwConfig, [this](const Kiv::TreeChange& change) {
      if (change.path == "vrf/red/segment/a" && change.kind == Kiv::TreeChange::Kind::added) {
        fwVrf("red")->segmentDel("a");
      }
    });
    segment("red", "a");
  }
  sw().recorder.take();
  segmentSm("red", "a")->cleanClassmap();
  vrf("red")->segmentDel("a");
  EXPECT_THAT(sw().recorder.take(), Each(HasSubstr("updateInProgress")));
}

TEST_F(SegmentSMTest, FactoryTakesTheArgumentsInOrder) {
  segment("red", "a");
  const auto& a = segmentSm("red", "a")->attributes();
  const auto other = Firewall::segmentSMFactory(
      a.segmentName, a.vrfName, a.fwConfigDir, a.inSegment, a.inConfig, a.inFirewall, a.fwVrfConfig,
      a.outFirewallConfig, a.intfStatusDir, a.ipStatus, a.matchListConfigDir, a.rootSm,
      a.hwCapability, a.vrfSm, a.aclListConfig, a.activeWorkManager);
  EXPECT_EQ(other->attributes().segmentName, "a");
  EXPECT_EQ(other->attributes().inFirewall, cli->vrf(vrfNamed("red")));
  EXPECT_TRUE(other->hasNotificationActive());
  other->cleanup();
}

TEST_F(SegmentSMTest, WithoutInputsItMakesAnEmptySegment) {
  segment("red", "a");
  auto attributes = segmentSm("red", "a")->attributes();
  attributes.segmentName = "b";
  attributes.inSegment = nullptr;
  attributes.inFirewall = nullptr;
  attributes.matchListConfigDir = nullptr;
  const auto alone = Firewall::segmentSMFactory(attributes);
  ASSERT_TRUE(fwSegment("red", "b"));
  alone->handleFromSegment();
  alone->handleFromSegment("a");
  alone->handleFallbackPolicy();
  alone->handleMatchListConfigPath();
  alone->handleMatchListConfigPath("lists");
  alone->updateSubcriberSegment("a");
  EXPECT_TRUE(alone->mlConfigPathSm().empty());
  EXPECT_TRUE(fwSegment("red", "b")->fromSegment().empty());
  alone->cleanup();
  EXPECT_FALSE(fwSegment("red", "b"));
}

TEST_F(SegmentSMTest, SecondCleanupDoesNothing) {
  subscriber("red", "a", {"Ethernet1"});
  segment("red", "b");
  const auto reactor = segmentSm("red", "a");
  vrf("red")->segmentDel("a");
  sw().recorder.take();
  const TraceCapture traces;
  reactor->cleanup();
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  EXPECT_EQ(traces.records().size(), 2U);
  EXPECT_TRUE(traces.saw(8, "cleanup", ": "));
  EXPECT_TRUE(traces.saw(7, "cleanup", " return "));
}

TEST_F(SegmentSMTest, HandlersDoNothingAfterCleanup) {
  policy("p");
  const auto input = subscriber("red", "a", {"Ethernet1"});
  input->policyIs("b", "p");
  input->fallbackPolicyIs("p");
  const auto reactor = segmentSm("red", "a");
  vrf("red")->segmentDel("a");
  reactor->updateLocalDataForVrfSegment();
  EXPECT_TRUE(vrfSm("red")->serviceSideSegment().empty());
  segment("red", "a");
  segment("red", "b");
  sw().recorder.take();
  reactor->handleClassMap();
  reactor->cleanClassmap();
  reactor->handleFromSegment();
  reactor->handleFromSegment("b");
  reactor->handleFallbackPolicy();
  reactor->handleMatchListConfigPath();
  reactor->addInterimForwardingSegments();
  reactor->updateSubcriberSegment("b");
  reactor->updateLocalDataForVrfSegment();
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  EXPECT_TRUE(vrfSm("red")->subcriberSideSegment().empty());
}

}  // namespace
