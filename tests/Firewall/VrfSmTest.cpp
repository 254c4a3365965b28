// The reactor of a VRF: its output, its segments, and which of them are on which side.
#include "Firewall/Segments/VrfSm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <utility>

#include "Firewall/Sources/RootSm.h"
#include "framework/Pith/RangeException.h"
#include "tests/Firewall/PathFixture.h"
#include "tests/support/Reinstantiation.h"
#include "tests/support/SegmentTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::prefix;
using TestSupport::TraceCapture;
using TestSupport::vrfNamed;

class VrfSmTest : public TestSupport::SegmentTest {
 protected:
  std::size_t subscriberReports(const TraceCapture& traces, const std::string& name) {
    return traces.count(8, "handleSubcriberSideSegment", " seg:" + name);
  }
  std::size_t globalPrefixRuns(const TraceCapture& traces, const std::string& name) {
    return traces.count(8, "processGlobalPrefixesForSegment", " segment: " + name);
  }
};

TEST_F(VrfSmTest, SegmentsOfTheVrfGetTheirReactorsAndOutputs) {
  segment("red", "b");
  segment("red", "a");
  EXPECT_TRUE(segmentSm("red", "a"));
  EXPECT_TRUE(segmentSm("red", "b"));
  EXPECT_EQ(fwVrf("red")->segment().size(), 2U);
  vrf("red")->segmentDel("a");
  EXPECT_FALSE(vrfSm("red")->segmentSmHas("a"));
  EXPECT_FALSE(fwSegment("red", "a"));
  EXPECT_TRUE(fwSegment("red", "b"));
}

TEST_F(VrfSmTest, InitialReplayMakesTheSegmentsOfTheConfiguration) {
  cli->enabledIs(false);
  segment("red", "b");
  segment("red", "a");
  sw().recorder.take();
  const TraceCapture traces;
  cli->enabledIs(true);
  EXPECT_THAT(sw().recorder.takeBelow("vrf/"),
              ElementsAre("+ vrf/red", "+ vrf/red/segment/b", "+ vrf/red/segment/a"));
  EXPECT_TRUE(traces.saw(8, "handleInitialized", ": "));
  EXPECT_TRUE(traces.saw(8, "handleSegment", ": "));
  EXPECT_TRUE(traces.saw(8, "handleSegment", ": b"));
  EXPECT_TRUE(traces.saw(7, "handleInitialized", " return"));
}

TEST_F(VrfSmTest, WorkOnASegmentShowsAsUpdateInProgress) {
  vrf("red");
  sw().recorder.take();
  vrf("red")->segmentIs("a");
  EXPECT_THAT(sw().recorder.take(), ElementsAre("~ updateInProgress = true", "+ vrf/red/segment/a",
                                                "~ updateInProgress = false"));
}

TEST_F(VrfSmTest, ExistingReactorIsLeftAsItIs) {
  segment("red", "a");
  const auto before = segmentSm("red", "a");
  const TraceCapture traces;
  vrfSm("red")->handleSegment("a");
  EXPECT_EQ(segmentSm("red", "a"), before);
  EXPECT_EQ(globalPrefixRuns(traces, "a"), 0U);
}

TEST_F(VrfSmTest, RemovingASegmentWithoutReactorProcessesNoGlobalPrefixes) {
  vrf("red");
  const TraceCapture traces;
  vrfSm("red")->handleSegment("never");
  EXPECT_EQ(globalPrefixRuns(traces, "never"), 0U);
  EXPECT_TRUE(traces.saw(7, "handleSegment", " return"));
}

TEST_F(VrfSmTest, GlobalPrefixesAreProcessedBeforeASegmentComesAndAfterItWent) {
  vrf("red");
  const TraceCapture traces;
  const auto order = [&traces] {
    std::vector<std::string> steps;
    for (const auto& record : traces.records()) {
      if (record.function == "processGlobalPrefixesForSegment" && record.level == 8) {
        steps.push_back("prefixes");
      } else if (record.function == "handleInitialized" || record.function == "cleanup") {
        steps.push_back(record.function + record.text);
      }
    }
    return steps;
  };
  vrf("red")->segmentIs("a");
  EXPECT_THAT(order(), ElementsAre("prefixes", "handleInitialized: a", "handleInitialized return"));
  EXPECT_EQ(globalPrefixRuns(traces, "a"), 1U);
  vrf("red")->segmentDel("a");
  EXPECT_EQ(globalPrefixRuns(traces, "a"), 2U);
  EXPECT_EQ(order().back(), "prefixes");
}

TEST_F(VrfSmTest, SegmentMadeAnewUnderItsNameInOneGoIsAnotherOne) {
  segment("red", "a")->classNameIs("__segment_old");
  const auto old = segmentSm("red", "a");
  vrf("red")->segmentDel("a");
  const auto anew = segment("red", "a");
  EXPECT_NE(segmentSm("red", "a"), old);
  EXPECT_EQ(segmentSm("red", "a")->attributes().inSegment, anew);
  EXPECT_EQ(fwSegment("red", "a")->className(), "");
}

// Told of the removal first, it puts another segment of that name in its place.
TEST_F(VrfSmTest, SegmentReplacedWhileItsRemovalIsToldIsFollowed) {
  const auto red = vrf("red");
  red->segmentIs("a")->classNameIs("__segment_old");
  const auto reactor = vrfSm("red");
  reactor->hasNotificationActiveIs(false);
  red->segmentDel("a");
  const auto anew = red->segmentIs("a");
  reactor->hasNotificationActiveIs(true);
  reactor->handleSegment("a");
  EXPECT_EQ(segmentSm("red", "a")->attributes().inSegment, anew);
  EXPECT_EQ(fwSegment("red", "a")->className(), "");
  anew->classNameIs("__segment_new");
  EXPECT_EQ(fwSegment("red", "a")->className(), "__segment_new");
}

TEST_F(VrfSmTest, SegmentThatASubscriberAddsAnewWhileItIsTakenDownStays) {
  const auto red = vrf("red");
  red->segmentIs("a");
  const TestSupport::OnWrite adder(sw().hwConfig, [&red](const Kiv::TreeChange& change) {
    if (change.path == "vrf/red/segment/a" && change.change.current == nullptr) red->segmentIs("a");
  });
  red->segmentDel("a");
  ASSERT_TRUE(fwSegment("red", "a"));
  ASSERT_TRUE(segmentSm("red", "a"));
  EXPECT_EQ(segmentSm("red", "a")->attributes().inSegment, red->segment("a"));
  red->segment("a")->classNameIs("__segment_new");
  EXPECT_EQ(fwSegment("red", "a")->className(), "__segment_new");
}

TEST_F(VrfSmTest, SegmentsComeAndGoOnlyWhileNotificationsAreOn) {
  segment("red", "a");
  const auto reactor = vrfSm("red");
  const auto child = segmentSm("red", "a");
  reactor->hasNotificationActiveIs(false);
  EXPECT_FALSE(child->hasNotificationActive());
  segment("red", "b");
  EXPECT_FALSE(fwSegment("red", "b"));
  reactor->hasNotificationActiveIs(true);
  EXPECT_TRUE(child->hasNotificationActive());
  reactor->handleSegment();
  EXPECT_TRUE(fwSegment("red", "b"));
}

TEST_F(VrfSmTest, ZombieIgnoresWhatItIsTold) {
  const auto red = vrf("red");
  sw().hwCapability->globalPrefixListSupportedIs(true);
  vrfSm("red")->kivDoZombieReactors(true);
  red->segmentIs("a");
  red->prefixIs(prefix("10.0.0.0/8"), "a");
  const TraceCapture traces;
  sw().hwCapability->forwardingSegmentsPolicySupportedIs(true);
  EXPECT_FALSE(fwSegment("red", "a"));
  EXPECT_TRUE(fwVrf("red")->prefixList().empty());
  EXPECT_THAT(traces.records(), IsEmpty());
  vrfSm("red")->kivDoZombieReactors(false);
  sw().hwCapability->forwardingSegmentsPolicySupportedIs(false);
  EXPECT_TRUE(traces.saw(8, "handleForwardingSegmentsPolicySupported", ": "));
}

TEST_F(VrfSmTest, VrfNameOf101BytesRaisesTheRangeError) {
  auto attributes = [this] {
    vrf("red");
    return vrfSm("red")->attributes();
  }();
  try {
    attributes.vrfName = std::string(101, 'v');
    Firewall::vrfSmFactory(attributes);
    FAIL();
  } catch (const Pith::RangeException& error) {
    EXPECT_STREQ(error.what(), "Kiv::String::bytes > maxLength() not allowed");
  }
  EXPECT_FALSE(sw().hwConfig->updateInProgress());
}

TEST_F(VrfSmTest, WithoutInputsItMakesTheOutputAndHasNoSegments) {
  vrf("red");
  auto attributes = vrfSm("red")->attributes();
  attributes.vrfName = "blue";
  attributes.vrfConfig = nullptr;
  attributes.inFirewall = nullptr;
  attributes.hwCapability = nullptr;
  const auto alone = Firewall::vrfSmFactory(attributes);
  EXPECT_TRUE(sw().hwConfig->vrfHas("blue"));
  alone->handleSegment();
  alone->handleSegment("a");
  alone->handleGlobalPrefix(prefix("10.0.0.0/8"));
  EXPECT_TRUE(alone->segmentSm().empty());
  alone->cleanup();
  EXPECT_FALSE(sw().hwConfig->vrfHas("blue"));
}

TEST_F(VrfSmTest, InitializedStaysWhenItIsCleanedUpAndNothingComesBack) {
  vrf("red");
  const auto reactor = vrfSm("red");
  EXPECT_TRUE(reactor->isWorking());
  reactor->cleanup();
  EXPECT_TRUE(reactor->initialized());
  EXPECT_FALSE(reactor->isWorking());
  vrf("red")->segmentIs("a");
  EXPECT_FALSE(sw().hwConfig->vrfHas("red"));
  sw().recorder.take();
  reactor->cleanup();
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
}

TEST_F(VrfSmTest, EveryReferenceOfASegmentReactorIsComparedWhenItIsAskedForAgain) {
  segment("red", "a");
  const auto reactor = vrfSm("red");
  TestSupport::expectEachReferenceChecked(
      "Firewall::SegmentSM", segmentSm("red", "a")->attributes(),
      [&](const Firewall::SegmentSMAttributes& a) {
        reactor->segmentSmIs(a.segmentName, a.vrfName, a.fwConfigDir, a.inSegment, a.inConfig,
                             a.inFirewall, a.fwVrfConfig, a.outFirewallConfig, a.intfStatusDir,
                             a.ipStatus, a.matchListConfigDir, a.rootSm, a.hwCapability, a.vrfSm,
                             a.aclListConfig);
      },
      {"activeWorkManager"});
}

// L2.

TEST_F(VrfSmTest, EmptyNamedReactorMakesTheL2DirectoryAndDeletesAnyPreviousOne) {
  sw().hwConfig->l2SegIs("l2SegDir")->segmentIs("stale");
  sw().recorder.take();
  cli->l2SegmentDirIs("l2");
  EXPECT_THAT(sw().recorder.take(), ElementsAre("~ updateInProgress = true", "- l2Seg", "+ l2Seg",
                                                "~ updateInProgress = false"));
  EXPECT_EQ(sw().hwConfig->l2Seg()->name(), "l2SegDir");
  EXPECT_TRUE(sw().hwConfig->l2Seg()->segment().empty());
}

TEST_F(VrfSmTest, L2SegmentsNeverProcessGlobalPrefixes) {
  const TraceCapture traces;
  l2Segment("lab");
  cli->l2SegmentDir()->segmentDel("lab");
  l2Segment("lab");
  cli->l2SegmentDirDel();
  EXPECT_EQ(globalPrefixRuns(traces, "lab"), 0U);
  EXPECT_FALSE(sw().hwConfig->l2Seg());
}

TEST_F(VrfSmTest, L2SegmentThatComesWhileTheDirectoryIsMissingIsSkipped) {
  l2Segment("lab");
  sw().hwConfig->l2SegDel();
  EXPECT_NO_THROW(l2Segment("other"));
  EXPECT_FALSE(sw().rootSm("cli")->l2SegDirSm()->segmentSmHas("other"));
  EXPECT_NO_THROW(cli->l2SegmentDir()->segmentDel("lab"));
  EXPECT_FALSE(sw().hwConfig->l2Seg());
}

// The two sides.

TEST_F(VrfSmTest, ServiceSideIsAPlainSet) {
  sw().hwCapability->forwardingSegmentsPolicySupportedIs(true);
  vrf("red");
  const auto reactor = vrfSm("red");
  const TraceCapture traces;
  reactor->serviceSideSegmentIs("a");
  reactor->serviceSideSegmentIs("a");
  reactor->serviceSideSegmentIs("b");
  EXPECT_EQ(reactor->serviceSideSegment().size(), 2U);
  reactor->serviceSideSegmentDel("a");
  reactor->serviceSideSegmentDel("a");
  EXPECT_FALSE(reactor->serviceSideSegment().has("a"));
  reactor->serviceSideSegmentDelAll();
  EXPECT_TRUE(reactor->serviceSideSegment().empty());
  EXPECT_THAT(traces.records(), IsEmpty());
}

TEST_F(VrfSmTest, SubscriberSideTellsOfNewCountersAlone) {
  vrf("red");
  const auto reactor = vrfSm("red");
  const TraceCapture traces;
  reactor->subcriberSideSegmentIs("a", 7);
  EXPECT_EQ(subscriberReports(traces, "a"), 1U);
  reactor->subcriberSideSegmentIs("a", 7);
  EXPECT_EQ(subscriberReports(traces, "a"), 1U);
  reactor->subcriberSideSegmentIs("a", 8);
  EXPECT_EQ(subscriberReports(traces, "a"), 2U);
  EXPECT_EQ(*reactor->subcriberSideSegment("a"), 8);
  reactor->subcriberSideSegmentIs("zero", 0);
  EXPECT_EQ(subscriberReports(traces, "zero"), 1U);
}

TEST_F(VrfSmTest, SubscriberThatLeavesIsToldOfOnce) {
  vrf("red");
  const auto reactor = vrfSm("red");
  reactor->subcriberSideSegmentIs("a", 1);
  const TraceCapture traces;
  EXPECT_TRUE(reactor->subcriberSideSegmentDel("a"));
  EXPECT_EQ(subscriberReports(traces, "a"), 1U);
  EXPECT_FALSE(reactor->subcriberSideSegmentDel("a"));
  EXPECT_EQ(subscriberReports(traces, "a"), 1U);
  EXPECT_EQ(reactor->subcriberSideSegment("a"), nullptr);
}

TEST_F(VrfSmTest, EmptyingTheSubscriberSideTellsNobody) {
  vrf("red");
  const auto reactor = vrfSm("red");
  reactor->subcriberSideSegmentIs("a", 1);
  const TraceCapture traces;
  reactor->subcriberSideSegmentDelAll();
  EXPECT_TRUE(reactor->subcriberSideSegment().empty());
  EXPECT_THAT(traces.records(), IsEmpty());
}

TEST_F(VrfSmTest, SubscriberChangesDoNotTouchServiceSideSegmentsWithoutTheCapability) {
  subscriber("red", "service", {});
  subscriber("red", "users", {"Ethernet1"});
  ASSERT_TRUE(vrfSm("red")->serviceSideSegment().has("service"));
  TraceCapture traces;
  segmentSm("red", "users")->updateLocalDataForVrfSegment();
  EXPECT_EQ(subscriberReports(traces, "users"), 1U);
  EXPECT_EQ(traces.count(8, "updateSubcriberSegment", " seg:service from:users"), 0U);
  sw().hwCapability->forwardingSegmentsPolicySupportedIs(true);
  traces.clear();
  segmentSm("red", "users")->updateLocalDataForVrfSegment();
  EXPECT_EQ(traces.count(8, "updateSubcriberSegment", " seg:service from:users"), 1U);
}

TEST_F(VrfSmTest, ServiceSideNameWithoutReactorIsSkipped) {
  sw().hwCapability->forwardingSegmentsPolicySupportedIs(true);
  vrf("red");
  vrfSm("red")->serviceSideSegmentIs("ghost");
  EXPECT_NO_THROW(vrfSm("red")->subcriberSideSegmentIs("users", 1));
  EXPECT_NO_THROW(vrfSm("red")->handleForwardingSegmentsPolicySupported());
}

TEST_F(VrfSmTest, CapabilityReevaluatesServiceSideSegmentsAlone) {
  subscriber("red", "service", {});
  subscriber("red", "users", {"Ethernet1"});
  TraceCapture traces;
  sw().hwCapability->forwardingSegmentsPolicySupportedIs(true);
  EXPECT_EQ(traces.count(8, "handleFromSegment", " fromSegment:forwarding-segments"), 1U);
  traces.clear();
  sw().hwCapability->serviceRuleSupportedIs(true);
  EXPECT_EQ(traces.count(8, "handleFromSegment", " fromSegment:forwarding-segments"), 0U);
}

// Failures.

// Calls back at a write to the output.
class Interceptor {
 public:
  Interceptor(Kiv::Entity& object, Pith::FieldId field, std::function<void(bool added)> then)
      : field_(field), then_(std::move(then)), subscriber_(this, &Interceptor::deliver) {
    object.publisher().subscriberAdd(subscriber_);
  }

 private:
  static void deliver(void* self, Pith::Publisher*, Pith::Subscriber*, Pith::FieldId field,
                      const void*, const Pith::Change* change) {
    auto* const interceptor = static_cast<Interceptor*>(self);
    if (field == interceptor->field_) interceptor->then_(change->current != nullptr);
  }

  Pith::FieldId field_;
  std::function<void(bool)> then_;
  Pith::Subscriber subscriber_;
};

TEST_F(VrfSmTest, ExceptionOfASubscriberReachesTheWriterAndTheTreeStaysWhole) {
  const auto red = vrf("red");
  {
    const Interceptor thrower(*fwVrf("red"), Firewall::FwVrf::segmentField,
                              [](bool) { throw std::runtime_error("agent"); });
    EXPECT_THROW(red->segmentIs("a"), std::runtime_error);
    EXPECT_FALSE(sw().hwConfig->updateInProgress());
  }
  red->segmentDel("a");
  red->segmentIs("a")->classNameIs("__segment_x");
  EXPECT_EQ(fwSegment("red", "a")->className(), "__segment_x");
  {
    const Interceptor thrower(*fwVrf("red"), Firewall::FwVrf::segmentField,
                              [](bool) { throw std::runtime_error("agent"); });
    EXPECT_THROW(red->segmentDel("a"), std::runtime_error);
  }
  EXPECT_FALSE(vrfSm("red")->segmentSmHas("a"));
  EXPECT_FALSE(fwSegment("red", "a"));
  EXPECT_FALSE(sw().hwConfig->updateInProgress());
}

TEST_F(VrfSmTest, CleanupIsCompletedWhateverSubscribersThrow) {
  segment("red", "a");
  segment("red", "b");
  std::size_t thrown = 0;
  const auto fail = [&thrown](bool) {
    ++thrown;
    throw std::runtime_error("agent");
  };
  const Interceptor onSegments(*fwVrf("red"), Firewall::FwVrf::segmentField, fail);
  const Interceptor onVrfs(*sw().hwConfig, Firewall::HwConfig::vrfField, fail);
  EXPECT_THROW(cli->vrfDel("red"), std::runtime_error);
  EXPECT_EQ(thrown, 3U);
  EXPECT_FALSE(fwVrf("red"));
  EXPECT_TRUE(sw().rootSm("cli")->vrfSm().empty());
  EXPECT_FALSE(sw().hwConfig->updateInProgress());
}

TEST_F(VrfSmTest, SegmentAddedByASubscriberDuringCleanupDoesNotComeBack) {
  segment("red", "a");
  const auto red = vrf("red");
  {
    const Interceptor adder(*fwVrf("red"), Firewall::FwVrf::segmentField, [&red](bool added) {
      if (!added) red->segmentIs("late");
    });
    cli->vrfDel(vrfNamed("red"));
  }
  EXPECT_FALSE(fwVrf("red"));
  EXPECT_TRUE(sw().rootSm("cli")->vrfSm().empty());
}

using VrfSmDeathTest = VrfSmTest;

TEST_F(VrfSmDeathTest, OutputVrfThatIsMissingAfterItWasMadeIsAnAssertion) {
  const auto hwConfig = sw().hwConfig;
  const Interceptor deleter(*hwConfig, Firewall::HwConfig::vrfField, [&hwConfig](bool added) {
    if (added) hwConfig->vrfDel("red");
  });
  EXPECT_DEATH(vrf("red"), "fwVrf && \" FwVrf not found in HwConfig\"");
}

}  // namespace
