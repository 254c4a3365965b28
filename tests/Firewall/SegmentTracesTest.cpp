// What the flight recorder shows of VRFs, segments, class maps and lists: which texts begin with
// the whole signature of their function, and which stand alone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "Firewall/Sources/RootSm.h"
#include "tests/support/FlightRecorder.h"
#include "tests/support/SegmentTest.h"

namespace {

using Firewall::ListSource;
using ::testing::ElementsAre;
using TestSupport::intfNamed;
using TestSupport::recordedBy;

class SegmentTracesTest : public TestSupport::SegmentTest {
 protected:
  void SetUp() override {
    SegmentTest::SetUp();
    sw().hwCapability->globalPrefixListSupportedIs(true);
    sw().hwCapability->forwardingSegmentsPolicySupportedIs(true);
    policy("p");
  }
};

TEST_F(SegmentTracesTest, SegmentThatComesAndGoes) {
  sw().matchLists("lists");
  const auto red = vrf("red");
  EXPECT_THAT(
      recordedBy([&] { red->segmentIs("a"); }),
      ElementsAre(
          "8 void Firewall::VrfSm::handleSegment(const String&): a", "8 Active work handles 1",
          "6 set updateInProgress to true",
          "8 void Firewall::VrfSm::processGlobalPrefixesForSegment(const String&) segment: a",
          "5 void Firewall::VrfSm::processGlobalPrefixesForSegment(const String&) Processing "
          "global list of segment: a Vrf: red source: cli",
          "8 void Firewall::SegmentSM::handleInitialized(): a",
          "8 void Firewall::addInterFromSegAndFbPolicyAll(const PtrConst&, const Ptr&, const Ptr&, "
          "const String&, const String&): a, ",
          "8 void Firewall::SegmentSM::handleClassMap() className:",
          "8 void Firewall::SegmentSM::cleanClassmap(): ",
          "7 void Firewall::SegmentSM::cleanClassmap() return",
          "8 void Firewall::SegmentSM::handleMatchListConfigPath(): ",
          "8 void Firewall::SegmentSM::handleMatchListConfigPath(const String&) MatchList config "
          "path:lists",
          "9 void Firewall::MatchListConfigPathSm::handleInitialized() MatchList config path : "
          "lists",
          "8 void Firewall::MatchListConfigPathSm::handleIpv4PrefixList() segment: a name: lists",
          "8 void Firewall::MatchListConfigPathSm::cleanIpv4PrefixList() segment: a name: lists",
          "7 void Firewall::MatchListConfigPathSm::handleIpv4PrefixList() return",
          "8 void Firewall::MatchListConfigPathSm::handleIpv6PrefixList() segment: a name: lists",
          "7 void Firewall::MatchListConfigPathSm::cleanIpv6PrefixList() segment: a name: lists",
          "7 void Firewall::MatchListConfigPathSm::handleIpv6PrefixList() return",
          "8 void Firewall::SegmentSM::handleFromSegment(): ",
          "7 void Firewall::SegmentSM::handleFromSegment() return",
          "8 void Firewall::SegmentSM::handleFallbackPolicy(): ",
          "8 void Firewall::deleteFallbackPolicy(const Ptr&): a",
          "7 void Firewall::SegmentSM::handleInitialized() return",
          "7 void Firewall::VrfSm::handleSegment(const String&) return", "8 Active work handles 0",
          "6 set updateInProgress to false"));
  EXPECT_THAT(
      recordedBy([&] { red->segmentDel("a"); }),
      ElementsAre(
          "8 void Firewall::VrfSm::handleSegment(const String&): a", "8 Active work handles 1",
          "6 set updateInProgress to true", "8 void Firewall::SegmentSM::cleanup(): ",
          "8 void Firewall::SegmentSM::removeFromSegments(): ",
          "8 bool Firewall::isSegmentConfigured(const PtrConst&, const String&, const String&): "
          "red, a",
          "6 void Firewall::SegmentSM::removeFromSegments() Segment is not configured. Removing:a",
          "8 void Firewall::deleteInterFromSegAndFbPolicyAll(const PtrConst&, const Ptr&, const "
          "Ptr&, const String&, const String&): a, ",
          "8 void Firewall::MatchListConfigPathSm::cleanIpv4PrefixList() segment: a name: lists",
          "7 void Firewall::MatchListConfigPathSm::cleanIpv6PrefixList() segment: a name: lists",
          "7 void Firewall::SegmentSM::cleanup() return",
          "8 void Firewall::VrfSm::processGlobalPrefixesForSegment(const String&) segment: a",
          "5 void Firewall::VrfSm::processGlobalPrefixesForSegment(const String&) Processing "
          "global list of segment: a Vrf: red source: cli",
          "7 void Firewall::VrfSm::handleSegment(const String&) return", "8 Active work handles 0",
          "6 set updateInProgress to false"));
}

TEST_F(SegmentTracesTest, ForwardingSegments) {
  subscriber("red", "users", {"Ethernet1"})->policyIs("service", "p");
  const auto service = segment("red", "service");
  EXPECT_THAT(
      recordedBy([&] { service->policyIs("forwarding-segments", "p"); }),
      ElementsAre(
          "8 void Firewall::SegmentSM::handleFromSegment(const String&) "
          "fromSegment:forwarding-segments",
          "8 void Firewall::deleteInterimFromSegment(const Ptr&, const Ptr&, const String&) "
          "fromSegment:forwarding-segments",
          "7 void Firewall::deleteInterimFromSegment(const Ptr&, const Ptr&, const String&) return",
          "8 void Firewall::SegmentSM::addInterimForwardingSegments(): ",
          "8 void Firewall::SegmentSM::updateSubcriberSegment(const String&) seg:service "
          "from:users",
          "6 Add segment entry:service fromusers policyp",
          "7 void Firewall::SegmentSM::addInterimForwardingSegments() return",
          "8 void Firewall::SegmentSM::updateLocalDataForVrfSegment(): "));
  EXPECT_THAT(
      recordedBy([&] { service->fallbackPolicyIs("p"); }),
      ElementsAre("8 void Firewall::SegmentSM::handleFallbackPolicy(): ",
                  "8 void Firewall::addFallbackPolicy(const Ptr&, const Ptr&, const String&): p"));
}

TEST_F(SegmentTracesTest, ClassMaps) {
  sw().interface("Ethernet1");
  l2Segment("lab")->classNameIs("__segment_lab");
  classMap("__segment_lab", {});
  const auto lab = cli->classMap("__segment_lab");
  EXPECT_THAT(
      recordedBy([&] { lab->intfVlanDataIs(intfNamed("Ethernet1")); }),
      ElementsAre(
          "8 void Firewall::RootSm::handleClassMapIntf(const PtrConst&, Lanx::IntfId): "
          "__segment_lab, Et1",
          "8 void Firewall::RootSm::addIntfSegmentAll(const String&, Lanx::IntfId) className: "
          "__segment_lab intf: Et1",
          "8 Setting up L2 segment",
          "8 void Firewall::RootSm::updateVlanSet(const Ptr&, const PtrConst&) className: "
          "__segment_lab intf: Et1",
          "7 void Firewall::RootSm::handleClassMapIntf(const PtrConst&, Lanx::IntfId) return"));
  EXPECT_THAT(recordedBy([&] {
                lab->intfVlanData(intfNamed("Ethernet1"))->vlanRangeIs({4, 7});
              }),
              ElementsAre("8 void Firewall::RootSm::handleIntfVlan(const PtrConst&, const "
                          "PtrConst&, VlanRange) class: __segment_lab intf: Et1 vlanRange: 4:7",
                          "8 void Firewall::RootSm::updateVlanSet(const Ptr&, const PtrConst&) "
                          "className: __segment_lab intf: Et1"));
  EXPECT_THAT(recordedBy([&] { cli->classMapDel("__segment_lab"); }),
              ElementsAre("8 void Firewall::RootSm::handleClassMap(const String&): __segment_lab",
                          "8 void Firewall::RootSm::deleteIntfSegmentAll(const String&, "
                          "Lanx::IntfId) className: __segment_lab intf: ",
                          "7 void Firewall::RootSm::handleClassMap(const String&) return"));
}

TEST_F(SegmentTracesTest, ListsAndPrefixes) {
  const auto list = sw().matchLists("lists")->matchIpv4PrefixListIs("web");
  const auto a = segment("red", "a");
  EXPECT_THAT(
      recordedBy([&] { a->prefixIpv4MlIs(ListSource::matchList("web")); }),
      ElementsAre(
          "8 void Firewall::MatchListConfigPathSm::handleIpv4PrefixList() segment: a name: lists",
          "8 void Firewall::MatchListConfigPathSm::handleIpv4PrefixList() usePrefixList: false",
          "7 void Firewall::MatchListConfigPathSm::handleIpv4PrefixList() return"));
  EXPECT_THAT(
      recordedBy([&] { list->subnetsIs(Lanx::IpAddrWithMask::parse("10.0.0.0/8")); }),
      ElementsAre(
          "8 void "
          "Firewall::MatchListConfigPathSm::NestedSm_MatchIpv4PrefixList::handleIpv4Subnet(const "
          "Lanx::IpAddrWithMask&): 10.0.0.0/8",
          "6 void Firewall::addMatchListConfiguredSubnet(Ptr<MatchListConfigPathSm>, const "
          "Lanx::IpGenAddrWithMask&) Add request for subnet: 10.0.0.0/8 in segment: a name: lists",
          "6 void Firewall::addMatchListConfiguredSubnet(Ptr<MatchListConfigPathSm>, const "
          "Lanx::IpGenAddrWithMask&) Adding to global subnet list",
          "6 void Firewall::addMatchListConfiguredSubnet(Ptr<MatchListConfigPathSm>, const "
          "Lanx::IpGenAddrWithMask&) Adding to segment local subnet list"));
  EXPECT_THAT(
      recordedBy([&] { a->prefixIpv4MlIs(ListSource::prefixList("dc")); }),
      ElementsAre(
          "8 void Firewall::MatchListConfigPathSm::handleIpv4PrefixList() segment: a name: lists",
          "8 void Firewall::MatchListConfigPathSm::handleIpv4PrefixList() usePrefixList: true",
          "6 bool Firewall::MatchListConfigPathSm::hasPrefixList(const String&, "
          "Lanx::AddressFamily) const Could not find prefixlist: dc",
          "8 void Firewall::MatchListConfigPathSm::cleanIpv4PrefixList() segment: a name: lists",
          "6 void Firewall::removeMatchListConfiguredSubnet(Ptr<MatchListConfigPathSm>, const "
          "Lanx::IpGenAddrWithMask&) Delete request for subnet: 10.0.0.0/8 in segment: a name: "
          "lists",
          "6 void Firewall::removeMatchListConfiguredSubnet(Ptr<MatchListConfigPathSm>, const "
          "Lanx::IpGenAddrWithMask&) Remove from global prefix list",
          "6 void Firewall::removeMatchListConfiguredSubnet(Ptr<MatchListConfigPathSm>, const "
          "Lanx::IpGenAddrWithMask&) Removing from segment local prefix list",
          "7 void Firewall::MatchListConfigPathSm::handleIpv4PrefixList() return"));
  EXPECT_THAT(
      recordedBy([&] { vrf("red")->prefixIs(Lanx::IpGenPrefix::parse("10.0.0.0/8"), "a"); }),
      ElementsAre("8 void Firewall::VrfSm::handleGlobalPrefix(const Lanx::IpGenPrefix&) Vrf: red "
                  "prefix: 10.0.0.0/8",
                  "8 void Firewall::VrfSm::processGlobalPrefix(const PtrConst&, bool, const "
                  "Lanx::IpGenPrefix&) Vrf: red prefix: 10.0.0.0/8",
                  "8 bool Firewall::isSegmentConfigured(const PtrConst&, const String&, const "
                  "String&): red, a",
                  "7 bool Firewall::isSegmentConfigured(const PtrConst&, const String&, const "
                  "String&) Source:cli has segment:a configured in vrf:red",
                  "7 void Firewall::VrfSm::processGlobalPrefix(const PtrConst&, bool, const "
                  "Lanx::IpGenPrefix&) Adding prefix: 10.0.0.0/8 to segment: a"));
  EXPECT_THAT(
      recordedBy([&] { vrf("red")->prefixDel(Lanx::IpGenPrefix::parse("10.0.0.0/8")); }),
      ElementsAre("8 void Firewall::VrfSm::handleGlobalPrefix(const Lanx::IpGenPrefix&) Vrf: red "
                  "prefix: 10.0.0.0/8",
                  "8 void Firewall::VrfSm::processGlobalPrefix(const PtrConst&, bool, const "
                  "Lanx::IpGenPrefix&) Vrf: red prefix: 10.0.0.0/8",
                  "7 void Firewall::VrfSm::processGlobalPrefix(const PtrConst&, bool, const "
                  "Lanx::IpGenPrefix&) Removing prefix: 10.0.0.0/8",
                  "6 void Firewall::VrfSm::updateOrRemoveGlobalPrefix(const Lanx::IpGenPrefix&, "
                  "const String&) Removing as prefix is not configured from MatchList."));
}

}  // namespace
