// Segments that receive from "forwarding-segments": from every subscriber-side segment of their VRF
// that forwards to them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "Firewall/Sources/RootSm.h"
#include "tests/support/SegmentTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using TestSupport::intfNamed;
using TestSupport::TraceCapture;

class SegmentSMForwardingTest : public TestSupport::SegmentTest {
 protected:
  void SetUp() override {
    SegmentTest::SetUp();
    capabilityIs(true);
    policy("p");
  }
  void capabilityIs(bool on) { sw().hwCapability->forwardingSegmentsPolicySupportedIs(on); }

  // A segment that receives from the subscribers.
  Firewall::Segment::Ptr service(const std::string& name) {
    auto made = segment("red", name);
    made->policyIs("forwarding-segments", "p");
    return made;
  }
  // A subscriber that forwards to the service: it receives from it as well.
  Firewall::Segment::Ptr users(const std::string& name, const char* intf,
                               const std::string& serviceName) {
    auto made = subscriber("red", name, {intf});
    made->policyIs(serviceName, "p");
    return made;
  }
  std::vector<std::string> from(const std::string& name) { return links(fwSegment("red", name)); }
};

TEST_F(SegmentSMForwardingTest, ServiceReceivesFromTheSubscribersThatForwardToIt) {
  service("service");
  users("users", "Ethernet1", "service");
  users("guests", "Ethernet2", "service");
  users("others", "Ethernet3", "elsewhere");
  EXPECT_THAT(from("service"), UnorderedElementsAre("users=p", "guests=p"));
}

TEST_F(SegmentSMForwardingTest, ServiceThatComesLaterReceivesFromTheSubscribers) {
  users("users", "Ethernet1", "service");
  service("service");
  EXPECT_THAT(from("service"), ElementsAre("users=p"));
}

TEST_F(SegmentSMForwardingTest, RemovingThePolicyUnlinksTheSubscribersBeforeItGoes) {
  service("service");
  users("users", "Ethernet1", "service");
  policy("q");
  segment("red", "service")->policyIs("forwarding-segments", "q");
  ASSERT_THAT(from("service"), ElementsAre("users=q"));
  sw().recorder.take();
  cli->policyDel("q");
  EXPECT_THAT(from("service"), IsEmpty());
  EXPECT_THAT(from("users"), ElementsAre("service=p"));
  EXPECT_THAT(sw().recorder.take(),
              ElementsAre("- vrf/red/segment/service/fromSegment/users", "- policy/q"));
}

TEST_F(SegmentSMForwardingTest, LinkIsTraced) {
  service("service");
  const TraceCapture traces;
  users("users", "Ethernet1", "service");
  EXPECT_TRUE(traces.saw(8, "updateSubcriberSegment", " seg:service from:users"));
  EXPECT_TRUE(
      traces.saw(6, "updateSubcriberSegment", "Add segment entry:service fromusers policyp"));
}

TEST_F(SegmentSMForwardingTest, SubscriberThatDoesNotForwardIsNotLinked) {
  service("service");
  const TraceCapture traces;
  subscriber("red", "users", {"Ethernet1"});
  EXPECT_THAT(from("service"), IsEmpty());
  EXPECT_TRUE(traces.saw(7, "updateSubcriberSegment",
                         "Either FromSegment (users ) is not available,or fromSegment doesnt "
                         "forward to this segment:service"));
}

TEST_F(SegmentSMForwardingTest, LinkFollowsWhetherTheSubscriberForwards) {
  service("service");
  const auto subscribers = subscriber("red", "users", {"Ethernet1"});
  subscribers->policyIs("service", "p");
  EXPECT_THAT(from("service"), ElementsAre("users=p"));
  subscribers->policyDel("service");
  EXPECT_THAT(from("service"), IsEmpty());
}

TEST_F(SegmentSMForwardingTest, SegmentThatGetsInterfacesBecomesASubscriber) {
  service("service");
  const auto subscribers = subscriber("red", "users", {});
  subscribers->policyIs("service", "p");
  EXPECT_THAT(from("service"), IsEmpty());
  sw().interface("Ethernet1", "red");
  cli->classMap("__VRF_red_segment_users")->intfVlanDataIs(intfNamed("Ethernet1"));
  EXPECT_THAT(from("service"), ElementsAre("users=p"));
}

TEST_F(SegmentSMForwardingTest, RemovedSubscriberIsUnlinked) {
  service("service");
  users("users", "Ethernet1", "service");
  vrf("red")->segmentDel("users");
  EXPECT_THAT(from("service"), IsEmpty());
  users("users", "Ethernet1", "service");
  EXPECT_THAT(from("service"), ElementsAre("users=p"));
}

TEST_F(SegmentSMForwardingTest, ServiceMadeAnewReceivesAgain) {
  service("service");
  users("users", "Ethernet1", "service");
  vrf("red")->segmentDel("service");
  service("service");
  EXPECT_THAT(from("service"), ElementsAre("users=p"));
}

TEST_F(SegmentSMForwardingTest, OtherFromSegmentsAreRemoved) {
  segment("red", "aaa");
  const auto made = segment("red", "service");
  made->policyIs("aaa", "p");
  ASSERT_THAT(from("service"), ElementsAre("aaa=p"));
  users("users", "Ethernet1", "service");
  made->policyIs("forwarding-segments", "p");
  EXPECT_THAT(from("service"), ElementsAre("users=p"));
}

TEST_F(SegmentSMForwardingTest, WithdrawnEntryRemovesAllFromSegments) {
  const auto made = service("service");
  users("users", "Ethernet1", "service");
  const TraceCapture traces;
  made->policyDel("forwarding-segments");
  EXPECT_THAT(from("service"), IsEmpty());
  EXPECT_TRUE(traces.saw(7, "updateSubcriberSegment", "Policy is not available:"));
}

TEST_F(SegmentSMForwardingTest, CapabilityThatComesLaterLinksTheSubscribers) {
  capabilityIs(false);
  service("service");
  users("users", "Ethernet1", "service");
  EXPECT_THAT(from("service"), IsEmpty());
  capabilityIs(true);
  EXPECT_THAT(from("service"), ElementsAre("users=p"));
}

TEST_F(SegmentSMForwardingTest, WithoutTheCapabilityItIsAFromSegmentLikeAnyOther) {
  capabilityIs(false);
  service("service");
  segment("red", "forwarding-segments");
  EXPECT_THAT(from("service"), ElementsAre("forwarding-segments=p"));
}

TEST_F(SegmentSMForwardingTest, CapabilityThatGoesLeavesTheLinks) {
  service("service");
  users("users", "Ethernet1", "service");
  capabilityIs(false);
  EXPECT_THAT(from("service"), ElementsAre("users=p"));
}

TEST_F(SegmentSMForwardingTest, SubscriberRemovedAfterTheCapabilityWentLeavesNoLinkBehind) {
  service("service");
  users("users", "Ethernet1", "service");
  capabilityIs(false);
  vrf("red")->segmentDel("users");
  EXPECT_THAT(from("service"), IsEmpty());
}

TEST_F(SegmentSMForwardingTest, SubscriberRemovedAfterTheServiceChangedSidesLeavesNoLinkBehind) {
  service("service");
  users("users", "Ethernet1", "service");
  sw().interface("Ethernet2", "red");
  classMap("__VRF_red_segment_service", {"Ethernet2"});
  segment("red", "service")->classNameIs("__VRF_red_segment_service");
  ASSERT_FALSE(vrfSm("red")->serviceSideSegment().has("service"));
  ASSERT_THAT(from("service"), ElementsAre("users=p"));
  vrf("red")->segmentDel("users");
  EXPECT_THAT(from("service"), IsEmpty());
}

TEST_F(SegmentSMForwardingTest, PolicyThatAppearsLaterLinksAtTheNextReport) {
  const auto made = segment("red", "service");
  made->policyIs("forwarding-segments", "late");
  const TraceCapture traces;
  users("users", "Ethernet1", "service");
  EXPECT_THAT(from("service"), IsEmpty());
  EXPECT_TRUE(traces.saw(7, "updateSubcriberSegment", "Policy is not available:late"));
  policy("late");
  EXPECT_THAT(from("service"), IsEmpty());
  segmentSm("red", "users")->updateLocalDataForVrfSegment();
  EXPECT_THAT(from("service"), ElementsAre("users=late"));
}

TEST_F(SegmentSMForwardingTest, LinkFromASubscriberThatLostItsInterfacesStaysUntilItIsMadeAnew) {
  service("service");
  users("users", "Ethernet1", "service");
  cli->classMap("__VRF_red_segment_users")->intfVlanDataDelAll();
  segmentSm("red", "users")->handleClassMap();  // reports the service side
  EXPECT_TRUE(vrfSm("red")->serviceSideSegment().has("users"));
  EXPECT_THAT(from("service"), ElementsAre("users=p"));
  vrf("red")->segmentDel("users");
  subscriber("red", "users", {})->policyIs("service", "p");
  EXPECT_THAT(from("service"), IsEmpty());
}

TEST_F(SegmentSMForwardingTest, OtherVrfsAreNotConcerned) {
  service("service");
  subscriber("blue", "users", {"Ethernet1"})->policyIs("service", "p");
  EXPECT_THAT(from("service"), IsEmpty());
}

TEST_F(SegmentSMForwardingTest, HandlersTraceTheirReturn) {
  service("service");
  const TraceCapture traces;
  segmentSm("red", "service")->addInterimForwardingSegments();
  EXPECT_TRUE(traces.saw(8, "addInterimForwardingSegments", ": "));
  EXPECT_TRUE(traces.saw(7, "addInterimForwardingSegments", " return"));
}

TEST_F(SegmentSMForwardingTest, ReplayGivesTheSameLinksAsTheChangesDid) {
  service("service");
  users("users", "Ethernet1", "service");
  users("guests", "Ethernet2", "service");
  users("others", "Ethernet3", "elsewhere");
  cli->enabledIs(false);
  EXPECT_TRUE(sw().hwConfig->vrf().empty());
  cli->enabledIs(true);
  // The policies come after the segments, and the reports of the class maps after both.
  EXPECT_THAT(from("service"), UnorderedElementsAre("users=p", "guests=p"));
}

// Segments that receive, forward, join the subscribers and, made anew without interfaces, leave
// them: after each step every service receives from exactly the subscribers that forward to it.
class ForwardingHistoryTest : public SegmentSMForwardingTest {
 protected:
  void run(unsigned seed) {
    std::mt19937 random(seed);
    const auto pick = [&random](std::size_t below) {
      return std::uniform_int_distribution<std::size_t>(0, below - 1)(random);
    };
    for (int step = 0; step < 120 && !HasFailure(); ++step) {
      const std::size_t which = pick(names_.size());
      const std::string& name = names_[which];
      const bool isThere = vrf("red")->segmentHas(name);
      switch (pick(8)) {
        case 0:
          vrf("red")->segmentDel(name);
          break;
        case 1:
          vrf("red")->segmentDel(name);
          cli->classMap(className(name))->intfVlanDataDelAll();
          break;
        case 2:
          cli->classMap(className(name))->intfVlanDataIs(intfNamed(interfaceOf(which)));
          break;
        case 3:
          if (isThere) receive(*segment("red", name));
          break;
        case 4:
          if (isThere) segment("red", name)->policyDel(names_[pick(names_.size())]);
          break;
        case 5:
        case 6:
          if (isThere) forward(*segment("red", name), names_[pick(names_.size())]);
          break;
        default:
          segment("red", name)->classNameIs(className(name));
      }
      for (const std::string& each : names_) expectReceives(each);
    }
    EXPECT_FALSE(HasFailure()) << "seed " << seed;
  }

  // A segment names either "forwarding-segments" or others.
  static void receive(Firewall::Segment& input) {
    if (input.policy().empty()) input.policyIs("forwarding-segments", "p");
  }
  static void forward(Firewall::Segment& input, const std::string& to) {
    if (!input.policyHas("forwarding-segments")) input.policyIs(to, "p");
  }

  void expectReceives(const std::string& name) {
    const auto input = vrf("red")->segment(name);
    if (!input || !input->policyHas("forwarding-segments")) return;
    if (!vrfSm("red")->serviceSideSegment().has(name)) return;
    std::vector<std::string> wanted;
    for (const std::string& other : names_) {
      const auto subscriber = vrf("red")->segment(other);
      if (!subscriber || !subscriber->policyHas(name)) continue;
      if (!interfaces(fwSegment("red", other)).empty()) wanted.push_back(other + "=p");
    }
    EXPECT_THAT(from(name), ::testing::UnorderedElementsAreArray(wanted)) << name;
  }

  static Pith::String className(const std::string& name) {
    return Firewall::vrfSegmentClassMap("red", name);
  }
  static std::string interfaceOf(std::size_t which) {
    return "Ethernet" + std::to_string(which + 1);
  }

  const std::vector<std::string> names_{"a", "b", "c", "d"};
};

TEST_F(ForwardingHistoryTest, ServicesReceiveFromTheSubscribersThatForwardToThem) {
  for (std::size_t which = 0; which < names_.size(); ++which) {
    sw().interface(interfaceOf(which), "red");
    cli->classMapIs(className(names_[which]));
  }
  for (unsigned seed = 1; seed <= 25 && !HasFailure(); ++seed) {
    run(seed);
    vrf("red")->segmentDelAll();
    for (const std::string& name : names_) cli->classMap(className(name))->intfVlanDataDelAll();
  }
}

}  // namespace
