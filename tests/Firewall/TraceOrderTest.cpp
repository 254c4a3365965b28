// On which side of the write that it tells of each trace stands: some say what is about to be done,
// some what was done, and who reads the trace beside the changes of the output relies on it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "Firewall/Sources/RootSm.h"
#include "tests/Firewall/AppProfileSupport.h"
#include "tests/support/SegmentTest.h"
#include "tests/support/TracesAndWrites.h"

namespace {

using Firewall::ListSource;
using ::testing::ElementsAre;
using TestSupport::intfNamed;
using TestSupport::prefix;
using TestSupport::TracesAndWrites;
using TestSupport::WriteRecorder;
using Lines = std::vector<std::string>;

class TraceOrderTest : public TestSupport::SegmentTest {
 protected:
  void SetUp() override {
    SegmentTest::SetUp();
    status_ = std::make_unique<WriteRecorder>(sw().firewallStatus, sw().recorder, "status/");
    sw().hwCapability->globalPrefixListSupportedIs(true);
  }
  void TearDown() override {
    status_ = nullptr;
    SegmentTest::TearDown();
  }

  // That each of these begins one event of what is done, and that they come in this order.
  template <class Act>
  void expect(const Act& act, const Lines& order) {
    const TracesAndWrites events(sw().recorder);
    act();
    EXPECT_TRUE(events.inOrder(order));
  }

  // "web" has the rule 5 for the service.
  Firewall::Policy::Ptr webPolicy(const char* service) {
    const auto web = cli->policyIs("web");
    web->ruleIs(5U, Pith::String(service), Firewall::Action::forward);
    return web;
  }
  // A compiled service with one protocol, whose rules are there.
  Firewall::FwService::Ptr service(const char* name, std::uint8_t protocol) {
    const auto made = sw().hwConfig->servicesIs(name);
    made->protocolIs({protocol, protocol});
    made->versionInc(1);
    return made;
  }

 private:
  std::unique_ptr<WriteRecorder> status_;
};

TEST_F(TraceOrderTest, ASourceIsEnabled) {
  cli->enabledIs(false);
  expect([&] { cli->enabledIs(true); },
         {"8 [handleFeatureStatus]  enabled: true", "5 [handleFeatureStatus]  Creating RootSm: cli",
          "8 [Handle] Active work handles 1", "~ updateInProgress = true",
          "6 [Handle] set updateInProgress to true", "8 [Handle] Active work handles 0",
          "~ updateInProgress = false", "6 [Handle] set updateInProgress to false",
          "5 [evaluateHwConfigEnableStatus]  Setting active status: true", "~ active = true"});
}

TEST_F(TraceOrderTest, TheLastSourceIsDisabled) {
  cli->policyIs("web");
  service("s", 6);
  expect([&] { cli->enabledIs(false); },
         {"5 [handleFeatureStatus]  Deleting RootSm: cli", "~ active = false", "- policy/web",
          "- services/s", "- status/service/s",
          "5 [evaluateHwConfigEnableStatus]  Setting active status: false",
          "8 [Handle] Active work handles 1", "~ updateInProgress = true",
          "6 [Handle] set updateInProgress to true", "8 [Handle] Active work handles 0",
          "~ updateInProgress = false", "6 [Handle] set updateInProgress to false"});
}

TEST_F(TraceOrderTest, TheDefaultPolicyChanges) {
  expect([&] { cli->defaultPolicyIs(Firewall::DefaultPolicy::forward); },
         {"5 [handleDefaultPolicyDrop]  defaultPolicyDrop: false", "~ defaultPolicyDrop = false"});
}

TEST_F(TraceOrderTest, TheL2DirectoryComesAndGoes) {
  expect([&] { cli->l2SegmentDirIs("l2"); },
         {"~ updateInProgress = true", "+ l2Seg", "~ updateInProgress = false",
          "5 [handleL2Config]  L2 config added"});
  expect([&] { cli->l2SegmentDirDel(); },
         {"~ updateInProgress = true", "- l2Seg", "~ updateInProgress = false",
          "5 [handleL2Config]  L2 config removed"});
}

TEST_F(TraceOrderTest, APolicyComesAndGoes) {
  expect([&] { cli->policyIs("web"); },
         {"8 [handlePolicy] : web", "+ policy/web", "7 [handlePolicy]  return"});
  expect([&] { cli->policyDel("web"); },
         {"8 [handlePolicy] : web", "- policy/web", "7 [handlePolicy]  return"});
}

TEST_F(TraceOrderTest, ARuleIsCompiledAnew) {
  service("s", 6);
  service("t", 17);
  const auto web = webPolicy("s");
  expect([&] { web->ruleIs(5U, Pith::String("t"), Firewall::Action::drop); },
         {"8 [handlePolicyRule] : web, 5",
          "3 [deletePolicyRules] Deleting rule with ruleId=20971521, seqnum=5",
          "- policy/web/rule/20971521", "7 [deletePolicyRules]  return",
          "8 [addPolicyRule] : web, 5", "+ policy/web/rule/20971521",
          "3 [addPolicyRule] Inserted new rule with ruleId=20971521, seqnum=5",
          "7 [addPolicyRule]  return true", "7 [addPolicyRulesAll]  return",
          "7 [handlePolicyRule]  return"});
}

TEST_F(TraceOrderTest, ARuleIsCompiledAnewForHardwareThatExpandsServices) {
  sw().hwCapability->serviceRuleSupportedIs(true);
  service("s", 6);
  const auto web = webPolicy("s");
  expect([&] { web->ruleIs(5U, Pith::String("s"), Firewall::Action::drop); },
         {"8 [deletePolicyRules] : web, 5", "- policy/web/serviceRule/5",
          "7 [deletePolicyRules]  return", "8 [addServicePolicyRules] : s, web, 5",
          "+ policy/web/serviceRule/5",
          "3 [addServicePolicyRules] Inserted new unexpanded rule with: service=s"});
}

TEST_F(TraceOrderTest, ARuleThatAnotherSourceTakesOverIsCompiledWithinTheHandlingOfTheFirst) {
  service("s", 6);
  const auto web = webPolicy("s");
  enabled("api")->policyIs("web")->ruleIs(5U, Pith::String("s"), Firewall::Action::drop);
  const TracesAndWrites events(sw().recorder);
  web->ruleDel(5U);
  std::vector<std::string> handlings;
  for (const std::string& event : events.events()) {
    const bool isHandling = event.find("[handlePolicyRule]") != event.npos;
    if (isHandling || event.starts_with("+ "))
      handlings.push_back(event.substr(0, event.find(" = ")));
  }
  EXPECT_THAT(handlings,
              ElementsAre("8 [handlePolicyRule] : web, 5", "8 [handlePolicyRule] : web, 5",
                          "+ policy/web/rule/20971521", "7 [handlePolicyRule]  return",
                          "7 [handlePolicyRule]  return"));
}

TEST_F(TraceOrderTest, AServiceComesChangesAndGoes) {
  webPolicy("s");
  const auto& hwConfig = sw().hwConfig;
  expect([&] { hwConfig->servicesIs("s"); },
         {"+ services/s", "8 [handleService] : s", "+ status/service/s",
          "7 [handleService]  return ", "8 [handleServiceChange] : s", "~ updateInProgress = true",
          "7 [deleteServicePolicyRules]  return", "~ updateInProgress = false",
          "6 [Handle] set updateInProgress to false", "7 [handleServiceChange]  return "});
  hwConfig->services("s")->protocolIs({6, 6});
  expect([&] { hwConfig->services("s")->versionInc(1); },
         {"8 [handleServiceChange] : s", "8 [Handle] Active work handles 1",
          "~ updateInProgress = true", "6 [Handle] set updateInProgress to true",
          "+ policy/web/rule/20971521", "3 [addPolicyRule] Inserted new rule with ruleId=20971521",
          "8 [Handle] Active work handles 0", "~ updateInProgress = false",
          "6 [Handle] set updateInProgress to false", "7 [handleServiceChange]  return "});
  expect([&] { hwConfig->servicesDel("s"); },
         {"8 [handleService] : s", "8 [deleteServicePolicyRules] : s",
          "3 [deletePolicyRules] Deleting rule with ruleId=20971521", "- policy/web/rule/20971521",
          "7 [deletePolicyRules]  return", "7 [deleteServicePolicyRules]  return",
          "- status/service/s", "7 [handleService]  return "});
}

TEST_F(TraceOrderTest, AVrfComesAndGoes) {
  const auto red = vrf("red");
  sw().ipStatus->vrfDel("red");
  expect([&] { sw().ipStatus->vrfIs("red"); },
         {"8 [handleVrf] : red", "8 [Handle] Active work handles 1", "~ updateInProgress = true",
          "6 [Handle] set updateInProgress to true", "+ vrf/red", "7 [handleSegment]  return",
          "7 [handleInitialized]  return", "8 [Handle] Active work handles 0",
          "~ updateInProgress = false", "6 [Handle] set updateInProgress to false"});
  expect([&] { sw().ipStatus->vrfDel("red"); },
         {"8 [handleVrf] : red", "3 [handleVrf] red doesn't exist.", "~ updateInProgress = true",
          "- vrf/red", "7 [cleanup]  return", "8 [Handle] Active work handles 0",
          "~ updateInProgress = false"});
}

TEST_F(TraceOrderTest, ASegmentComesAndGoes) {
  const auto red = vrf("red");
  expect(
      [&] { red->segmentIs("a"); },
      {"8 [handleSegment] : a", "~ updateInProgress = true",
       "8 [processGlobalPrefixesForSegment]  segment: a", "8 [handleInitialized] : a",
       "+ vrf/red/segment/a", "8 [handleClassMap]  className:", "7 [handleFromSegment]  return",
       "8 [handleFallbackPolicy] : ", "7 [handleInitialized]  return", "7 [handleSegment]  return",
       "8 [Handle] Active work handles 0", "~ updateInProgress = false"});
  expect([&] { red->segmentDel("a"); },
         {"8 [handleSegment] : a", "~ updateInProgress = true",
          "8 [cleanup] : ", "6 [removeFromSegments]  Segment is not configured. Removing:a",
          "- vrf/red/segment/a", "7 [cleanup]  return", "7 [handleSegment]  return",
          "8 [Handle] Active work handles 0", "~ updateInProgress = false"});
}

TEST_F(TraceOrderTest, AVrfThatAnotherSourceHoldsReleasesItsPrefixes) {
  vrf("red", "api");
  enabled("api");
  segment("red", "a");
  vrf("red")->prefixIs(prefix("10.0.0.0/8"), "a");
  expect([&] { cli->vrfDel("red"); },
         {"- vrf/red/segment/a", "5 [cleanup]  Source: api still has configuration enabled",
          "5 [cleanup]  Processing global prefix: 10.0.0.0/8 for vrf: red",
          "6 [updateOrRemoveGlobalPrefix]  Removing as prefix is not configured from MatchList.",
          "- vrf/red/prefixList/10.0.0.0%2F8"});
}

// "keeper" keeps the output active, so that "cli" finds what was put there.
TEST_F(TraceOrderTest, AVrfFindsAnOutputThatWasLeft) {
  enabled("keeper");
  cli->enabledIs(false);
  const auto red = sw().hwConfig->vrfIs("red");
  const auto gone = red->segmentIs("gone");
  red->segmentIs("kept")->fromSegmentIs("gone", gone, sw().hwConfig->policyIs("p"));
  red->prefixListIs(prefix("10.0.0.0/8"), "gone");
  red->prefixListIs(prefix("20.0.0.0/8"), "gone");
  segment("red", "kept");
  vrf("red")->prefixIs(prefix("10.0.0.0/8"), "kept");
  vrf("red")->prefixIs(prefix("30.0.0.0/8"), "kept");
  expect(
      [&] { cli->enabledIs(true); },
      {"5 [handleInitialized]  Clearning segment: gone", "- vrf/red/segment/kept/fromSegment/gone",
       "- vrf/red/segment/gone", "5 [handleInitialized]  Updating segment for prefix: 10.0.0.0/8",
       "~ vrf/red/prefixList/10.0.0.0%2F8 = kept",
       "5 [handleInitialized]  Removing prefix: 20.0.0.0/8", "- vrf/red/prefixList/20.0.0.0%2F8",
       "5 [handleInitialized]  Replaying global prefix: 30.0.0.0/8 for source: cli Vrf: red",
       "5 [handleInitialized]  Updating segment for prefix: 30.0.0.0/8",
       "+ vrf/red/prefixList/30.0.0.0%2F8 = kept",
       "6 [handleInitialized] Delete stale interim segment:kept", "8 [removeFromSegments] : "});
}

TEST_F(TraceOrderTest, LinksComeAndGo) {
  policy("p");
  segment("red", "b");
  const auto a = segment("red", "a");
  expect([&] { a->policyIs("b", "p"); },
         {"8 [handleFromSegment]  fromSegment:b", "8 [addInterimFromSegment] : a, b",
          "6 [addInterimFromSegment] Add segment entry:a fromb policyp",
          "+ vrf/red/segment/a/fromSegment/b", "7 [addInterimFromSegment]  return",
          "8 [updateLocalDataForVrfSegment] : "});
  expect([&] { a->policyDel("b"); },
         {"8 [deleteInterimFromSegment]  fromSegment:b",
          "6 [deleteInterimFromSegment] Delete segment entry:a fromb policyp",
          "- vrf/red/segment/a/fromSegment/b", "8 [updateLocalDataForVrfSegment] : "});
  expect([&] { a->fallbackPolicyIs("p"); },
         {"8 [addFallbackPolicy] : p", "~ vrf/red/segment/a/fallbackPolicy = @p"});
  expect([&] { a->fallbackPolicyIs(""); },
         {"8 [deleteFallbackPolicy] : a", "~ vrf/red/segment/a/fallbackPolicy ="});
}

TEST_F(TraceOrderTest, ASegmentThatOthersReceiveFromComes) {
  policy("p");
  segment("red", "a")->policyIs("late", "p");
  expect([&] { segment("red", "late"); },
         {"+ vrf/red/segment/late", "8 [addInterFromSegAndFbPolicyAll] : late, ",
          "6 [addInterimFromSegment] Add segment entry:a fromlate policyp",
          "+ vrf/red/segment/a/fromSegment/late"});
}

TEST_F(TraceOrderTest, ASegmentThatOthersReceiveFromGoes) {
  policy("p");
  const auto b = segment("red", "b");
  segment("red", "a")->policyIs("b", "p");
  expect([&] { vrf("red")->segmentDel("b"); },
         {"6 [removeFromSegments]  Segment is not configured. Removing:b",
          "8 [deleteInterFromSegAndFbPolicyAll] : b, ",
          "6 [deleteInterimFromSegment] Delete segment entry:a fromb policyp",
          "- vrf/red/segment/a/fromSegment/b", "- vrf/red/segment/b", "7 [cleanup]  return"});
}

TEST_F(TraceOrderTest, ASegmentThatAnotherSourceHasKeepsTheLinksOfThat) {
  policy("p");
  segment("red", "a", "api")->policyIs("both", "p");
  for (const char* const name : {"both", "own"}) segment("red", name);
  segment("red", "a")->policyIs("both", "p");
  segment("red", "a")->policyIs("own", "p");
  expect([&] { vrf("red")->segmentDel("a"); },
         {"6 [removeFromSegments] both is configured from multiple source.",
          "6 [removeFromSegments]  Removing source segment:own from destination segment:a Vrf:red",
          "- vrf/red/segment/a/fromSegment/own", "7 [cleanup]  return"});
}

TEST_F(TraceOrderTest, ForwardingSegmentsReceiveFromSubscribers) {
  sw().hwCapability->forwardingSegmentsPolicySupportedIs(true);
  policy("p");
  const auto users = subscriber("red", "users", {"Ethernet1"});
  users->policyIs("service", "p");
  const auto service = segment("red", "service");
  expect([&] { service->policyIs("forwarding-segments", "p"); },
         {"8 [addInterimForwardingSegments] : ", "8 [updateSubcriberSegment]  seg:service",
          "6 [updateSubcriberSegment] Add segment entry:service fromusers policyp",
          "+ vrf/red/segment/service/fromSegment/users", "7 [addInterimForwardingSegments]  return",
          "8 [updateLocalDataForVrfSegment] : "});
  expect(
      [&] { segmentSm("red", "service")->addInterimForwardingSegments(); },
      {"8 [addInterimForwardingSegments] : ", "- vrf/red/segment/service/fromSegment/users",
       "+ vrf/red/segment/service/fromSegment/users", "7 [addInterimForwardingSegments]  return"});
  expect([&] { users->policyDel("service"); },
         {"- vrf/red/segment/users/fromSegment/service",
          "7 [updateSubcriberSegment] Either FromSegment (users ) is not available,",
          "- vrf/red/segment/service/fromSegment/users"});
}

TEST_F(TraceOrderTest, TheHardwareBeginsToSupportForwardingSegments) {
  policy("p");
  subscriber("red", "users", {"Ethernet1"})->policyIs("service", "p");
  segment("red", "service")->policyIs("forwarding-segments", "p");
  expect([&] { sw().hwCapability->forwardingSegmentsPolicySupportedIs(true); },
         {"8 [handleForwardingSegmentsPolicySupported] : ",
          "8 [handleFromSegment]  fromSegment:forwarding-segments",
          "+ vrf/red/segment/service/fromSegment/users"});
}

TEST_F(TraceOrderTest, NoLinkIsTracedWhereOneEndIsMissing) {
  policy("p");
  segment("red", "service")->policyIs("forwarding-segments", "p");
  const TracesAndWrites events(sw().recorder);
  segmentSm("red", "service")->updateSubcriberSegment("users");
  EXPECT_THAT(events.events(),
              ElementsAre("8 [updateSubcriberSegment]  seg:service from:users",
                          "7 [updateSubcriberSegment] Either FromSegment (users ) is not "
                          "available,or fromSegment doesnt forward to this segment:service"));
}

TEST_F(TraceOrderTest, AVrfSegmentIsGivenAClassMap) {
  sw().interface("Ethernet1", "red");
  sw().interface("Ethernet2", "blue");
  const auto a = segment("red", "a");
  const std::string name = "__VRF_red_segment_a";
  classMap(name, {"Ethernet1", "Ethernet2"});
  expect(
      [&] { a->classNameIs(name); },
      {"8 [handleClassMap]  className:" + name, "~ vrf/red/segment/a/className = " + name,
       "6 [handleClassMap] Adding classMap " + name, "8 [handleClassMap] Processing intf Ethernet1",
       "3 [doCheckIntfInVrf] Interface Ethernet1 is in configured VRF red",
       "+ vrf/red/segment/a/intfVlanRangeSet/Ethernet1",
       "8 [updateLocalDataForVrfSegment] : ", "7 [handleClassMap]  return"});
  expect(
      [&] { a->classNameIs(""); },
      {"8 [handleClassMap]  className:", "~ vrf/red/segment/a/className =", "8 [cleanClassmap] : ",
       "- vrf/red/segment/a/intfVlanRangeSet/Ethernet1", "7 [cleanClassmap]  return"});
}

TEST_F(TraceOrderTest, TheInterfacesOfASegmentFollowItsClassMap) {
  sw().interface("Ethernet1", "red");
  const std::string name = "__VRF_red_segment_a";
  const auto map = classMap(name, {});
  segment("red", "a")->classNameIs(name);
  expect([&] { map->intfVlanDataIs(intfNamed("Ethernet1")); },
         {"8 [handleClassMapIntf] : " + name + ", Et1",
          "3 [doCheckIntfInVrf] Interface Ethernet1 is in configured VRF red",
          "+ vrf/red/segment/a/intfVlanRangeSet/Ethernet1",
          "8 [updateLocalDataForVrfSegment] : ", "7 [handleClassMapIntf]  return"});
  expect([&] { sw().ipStatus->ipIntfStatusIs(intfNamed("Ethernet1"), L3::VrfName("blue")); },
         {"3 [doCheckIntfInVrf] Interface Ethernet1 is not in configured VRF red but in blue",
          "- vrf/red/segment/a/intfVlanRangeSet/Ethernet1", "8 [updateLocalDataForVrfSegment] : "});
  sw().ipStatus->ipIntfStatusIs(intfNamed("Ethernet1"), L3::VrfName("red"));
  expect([&] { sw().ipStatus->ipIntfStatusDel(intfNamed("Ethernet1")); },
         {"3 [doCheckIntfInVrf] Interface Ethernet1 is not a L3 interface",
          "- vrf/red/segment/a/intfVlanRangeSet/Ethernet1"});
  sw().ipStatus->ipIntfStatusIs(intfNamed("Ethernet1"), L3::VrfName("red"));
  expect([&] { map->intfVlanDataDel(intfNamed("Ethernet1")); },
         {"8 [deleteIntfSegmentAll]  className: " + name + " intf: Et1",
          "- vrf/red/segment/a/intfVlanRangeSet/Ethernet1", "7 [handleClassMapIntf]  return"});
}

TEST_F(TraceOrderTest, AnL2SegmentIsGivenAClassMap) {
  sw().interface("Ethernet1");
  const auto map = classMap("__segment_lab", {"Ethernet1"});
  map->intfVlanData(intfNamed("Ethernet1"))->vlanRangeIs({4, 7});
  const auto lab = l2Segment("lab");
  expect([&] { lab->classNameIs("__segment_lab"); },
         {"8 [handleClassMap]  className:__segment_lab",
          "~ l2Seg/segment/lab/className = __segment_lab",
          "6 [handleClassMap] Adding classMap __segment_lab to interim segment lab",
          "8 [handleClassMap] Processing intf Ethernet1",
          "+ l2Seg/segment/lab/intfVlanRangeSet/Ethernet1",
          "8 [updateVlanSet]  className: __segment_lab intf: Et1",
          "+ l2Seg/segment/lab/intfVlanRangeSet/Ethernet1/vlanRange/",
          "8 [handleClassMap] Setting HW config for segment", "7 [handleClassMap]  return"});
}

TEST_F(TraceOrderTest, TheInterfacesOfAnL2SegmentFollowItsClassMap) {
  sw().interface("Ethernet1");
  const auto map = classMap("__segment_lab", {});
  l2Segment("lab")->classNameIs("__segment_lab");
  const std::string bound = "l2Seg/segment/lab/intfVlanRangeSet/Ethernet1";
  expect([&] { map->intfVlanDataIs(intfNamed("Ethernet1")); },
         {"8 [addIntfSegmentAll]  className: __segment_lab intf: Et1",
          "8 [addIntfSegmentAll] Setting up L2 segment", "+ " + bound,
          "8 [updateVlanSet]  className: __segment_lab intf: Et1"});
  expect(
      [&] {
        map->intfVlanData(intfNamed("Ethernet1"))->vlanRangeIs({4, 7});
      },
      {"8 [handleIntfVlan]  class: __segment_lab intf: Et1 vlanRange: 4:7",
       "8 [updateVlanSet]  className: __segment_lab intf: Et1", "+ " + bound + "/vlanRange/"});
  expect([&] { cli->classMapDel("__segment_lab"); },
         {"8 [deleteIntfSegmentAll]  className: __segment_lab intf: ", "- " + bound,
          "7 [handleClassMap]  return"});
}

TEST_F(TraceOrderTest, GlobalPrefixesComeAndGo) {
  const auto red = vrf("red");
  segment("red", "a");
  const std::string wide = "vrf/red/prefixList/10.0.0.0%2F8";
  expect(
      [&] { red->prefixIs(prefix("10.0.0.0/8"), "a"); },
      {"8 [handleGlobalPrefix]  Vrf: red prefix: 10.0.0.0/8",
       "8 [processGlobalPrefix]  Vrf: red prefix: 10.0.0.0/8",
       "7 [processGlobalPrefix]  Adding prefix: 10.0.0.0/8 to segment: a", "+ " + wide + " = a"});
  expect([&] { red->prefixDel(prefix("10.0.0.0/8")); },
         {"7 [processGlobalPrefix]  Removing prefix: 10.0.0.0/8",
          "6 [updateOrRemoveGlobalPrefix]  Removing as prefix is not configured from MatchList.",
          "- " + wide});
}

TEST_F(TraceOrderTest, AGlobalPrefixIsInheritedByAMatchList) {
  const auto red = vrf("red");
  segment("red", "a");
  sw().matchLists("lists")->matchIpv4PrefixListIs("web")->subnetsIs(
      Lanx::IpAddrWithMask::parse("10.0.0.0/8"));
  red->prefixIs(prefix("10.0.0.0/8"), "a");
  segment("red", "b")->prefixIpv4MlIs(ListSource::matchList("web"));
  expect([&] { red->prefixDel(prefix("10.0.0.0/8")); },
         {"7 [processGlobalPrefix]  Removing prefix: 10.0.0.0/8",
          "8 [updateOrRemoveGlobalPrefix]  Prefix is also configured in MatchList of segment: b. "
          "Updaing segment of prefix",
          "~ vrf/red/prefixList/10.0.0.0%2F8 = b"});
}

// A family, and how its lists are made.
struct Ipv4Order {
  static constexpr const char *handle = "handleIpv4PrefixList", *clean = "cleanIpv4PrefixList",
                              *entry = "handleIpv4Prefix", *net = "10.0.0.0/8",
                              *path = "10.0.0.0%2F8", *level = "8";
  static void choose(Firewall::Segment& segment, const ListSource& source) {
    segment.prefixIpv4MlIs(source);
  }
  static void fill(MatchList::Config& lists) {
    lists.matchIpv4PrefixListIs("web")->subnetsIs(Lanx::IpAddrWithMask::parse(net));
    lists.matchIpv4PrefixListIs("empty");
  }
  static void entryIs(Acl::AclListConfig& lists, Acl::Action action) {
    lists.prefixListIs("dc")->prefixEntryIs(10, Lanx::Prefix::parse(net), action);
  }
};
struct Ipv6Order {
  static constexpr const char *handle = "handleIpv6PrefixList", *clean = "cleanIpv6PrefixList",
                              *entry = "handleIpv6Prefix", *net = "2001:db8::/32",
                              *path = "2001:db8::%2F32", *level = "7";
  static void choose(Firewall::Segment& segment, const ListSource& source) {
    segment.prefixIpv6MlIs(source);
  }
  static void fill(MatchList::Config& lists) {
    lists.matchIpv6PrefixListIs("web")->subnetsIs(Lanx::Ip6AddrWithMask::parse(net));
    lists.matchIpv6PrefixListIs("empty");
  }
  static void entryIs(Acl::AclListConfig& lists, Acl::Action action) {
    lists.ipv6PrefixListIs("dc")->ipv6PrefixEntryIs(10, Lanx::Ip6Prefix::parse(net), action);
  }
};

template <class Family>
class ListTraceOrderTest : public TraceOrderTest {
 protected:
  void SetUp() override {
    TraceOrderTest::SetUp();
    Family::fill(*sw().matchLists("lists"));
    a = segment("red", "a");
  }
  void TearDown() override {
    a = nullptr;
    TraceOrderTest::TearDown();
  }
  // What is traced and written when the segment gets its subnet, or loses it.
  Lines added(Lines before) {
    return with(std::move(before),
                {"6 [addMatchListConfiguredSubnet]  Add request for subnet: " + net +
                     " in segment: a name: lists",
                 "6 [addMatchListConfiguredSubnet]  Adding to global subnet list",
                 "+ vrf/red/prefixList/" + path + " = a",
                 "6 [addMatchListConfiguredSubnet]  Adding to segment local subnet list",
                 "+ vrf/red/segment/a/subnets/" + path});
  }
  Lines removed(Lines before) {
    return with(std::move(before),
                {"6 [removeMatchListConfiguredSubnet]  Delete request for subnet: " + net +
                     " in segment: a name: lists",
                 "6 [removeMatchListConfiguredSubnet]  Remove from global prefix list",
                 "- vrf/red/prefixList/" + path,
                 "6 [removeMatchListConfiguredSubnet]  Removing from segment local prefix list",
                 "- vrf/red/segment/a/subnets/" + path});
  }
  static Lines with(Lines first, const Lines& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
  }

  const std::string net = Family::net;
  const std::string path = Family::path;
  const std::string handle = std::string("[") + Family::handle + "]";
  const std::string clean = Family::level + (std::string(" [") + Family::clean + "]");
  const std::string entry = std::string("7 [") + Family::entry + "]";
  const std::string place = " segment: a name: lists";
  Firewall::Segment::Ptr a;
};

using OrderFamilies = testing::Types<Ipv4Order, Ipv6Order>;
TYPED_TEST_SUITE(ListTraceOrderTest, OrderFamilies);

TYPED_TEST(ListTraceOrderTest, SubnetsOfAMatchListComeAndGo) {
  const std::string& handle = this->handle;
  this->expect([&] { TypeParam::choose(*this->a, ListSource::matchList("web")); },
               this->with(this->added({"8 " + handle + " " + this->place,
                                       "8 " + handle + "  usePrefixList: false",
                                       "6 " + handle + "  Adding prefix: " + this->net +
                                           " to segment: a name: lists"}),
                          {"7 " + handle + "  return"}));
  this->expect([&] { TypeParam::choose(*this->a, ListSource::matchList("empty")); },
               this->with(this->removed({"6 " + handle + "  Deleting prefix: " + this->net +
                                         " from  segment: a name: lists"}),
                          {"7 " + handle + "  return"}));
}

TYPED_TEST(ListTraceOrderTest, SubnetsOfAPrefixListComeAndGo) {
  const std::string& handle = this->handle;
  TypeParam::entryIs(*this->sw().aclListConfig, Acl::Action::permit);
  this->expect([&] { TypeParam::choose(*this->a, ListSource::prefixList("dc")); },
               this->with(this->added({"8 " + handle + "  usePrefixList: true"}),
                          {"7 " + handle + "  return"}));
  this->expect([&] { TypeParam::entryIs(*this->sw().aclListConfig, Acl::Action::deny); },
               this->removed({this->entry + "  segment: a prefixList: dc"}));
  this->expect([&] { TypeParam::entryIs(*this->sw().aclListConfig, Acl::Action::permit); },
               this->added({this->entry + "  segment: a prefixList: dc"}));
  this->expect([&] { TypeParam::choose(*this->a, ListSource::matchList("empty")); },
               this->removed({"6 " + handle + "  Deleting prefix: " + this->net}));
}

TYPED_TEST(ListTraceOrderTest, SubnetsAreWithdrawnWithTheChoice) {
  TypeParam::choose(*this->a, ListSource::matchList("web"));
  this->expect([&] { TypeParam::choose(*this->a, ListSource()); },
               this->with(this->removed({this->clean + " " + this->place}),
                          {"7 " + this->handle + "  return"}));
}

TYPED_TEST(ListTraceOrderTest, APrefixPassesToAnHeir) {
  TypeParam::choose(*this->a, ListSource::matchList("web"));
  TypeParam::choose(*this->segment("red", "b"), ListSource::matchList("web"));
  this->expect([&] { TypeParam::choose(*this->a, ListSource()); },
               {"6 [removeMatchListConfiguredSubnet]  Remove from global prefix list",
                "6 [removeMatchListConfiguredSubnet]  Applying segment: b",
                "~ vrf/red/prefixList/" + this->path + " = b",
                "6 [removeMatchListConfiguredSubnet]  Removing from segment local prefix list",
                "- vrf/red/segment/a/subnets/" + this->path});
}

class ProfileTraceOrderTest : public TestSupport::AppProfileFixture {
 protected:
  static std::string traced(const char* level, const std::string& text) {
    return std::string(level) + " [handleVersionForAppProfile] " + text;
  }
};

TEST_F(ProfileTraceOrderTest, AServiceFollowsItsProfile) {
  const auto s = app("s");
  s->protoIs({6, 6});
  s->dstPortFieldSetIs("dst");
  s->srcPortFieldSetIs("src");
  s->srcPrefixFieldSetIs("sips");
  s->dstPrefixFieldSetIs("dips");
  ports("dst", {{80, 90}});
  ports("src", {{5000, 5001}});
  prefixes("sips", {"10.0.0.0/8"});
  prefixes("dips", {"20.0.0.0/8"});
  {
    const TracesAndWrites events(recorder);
    compile("s");
    EXPECT_TRUE(events.inOrder({traced("8", " appName s"), "~ updateInProgress = true",
                                traced("8", " Adding service config for appName s"), "+ services/s",
                                traced("8", " Adding proto ranges "), traced("8", ":6"),
                                "+ services/s/protocol/6", "~ services/s/version = 1",
                                "8 [Handle] Active work handles 0", "~ updateInProgress = false"}));
  }
  s->protoDelAll();
  s->protoIs({17, 17});
  ports("dst", {{100, 200}});
  ports("src", {{6000, 6001}});
  prefixes("sips", {"11.0.0.0/8"});
  prefixes("dips", {"21.0.0.0/8"});
  const TracesAndWrites events(recorder);
  compile("s");
  EXPECT_TRUE(events.inOrder({traced("3", "Evaluating dport sub range80-90"),
                              traced("3", "Removing dport sub range 80-90"),
                              "- services/s/dstPort/80",
                              traced("3", "Evaluating sport sub range5000-5001"),
                              traced("3", "Removing sport sub range 5000-5001"),
                              "- services/s/srcPort/5000",
                              traced("3", "Evaluating sip 10.0.0.0/8"),
                              traced("3", "Removed sip 10.0.0.0/8"),
                              "- services/s/srcIpPrefix/10.0.0.0%2F8",
                              traced("3", "Evaluating dip 20.0.0.0/8"),
                              traced("3", "Removed dip 20.0.0.0/8"),
                              "- services/s/dstIpPrefix/20.0.0.0%2F8",
                              traced("8", " Adding service config for appName s"),
                              "- services/s/protocol/6",
                              traced("8", " Adding proto ranges "),
                              traced("8", ":17"),
                              "+ services/s/protocol/17",
                              traced("8", " Adding dstPortFieldSet dst"),
                              traced("8", " Adding dstPort range:100-200"),
                              traced("8", " Added dstPort sub range: start 100 end 200"),
                              "+ services/s/dstPort/100",
                              traced("8", " Adding srcPortFieldSet src"),
                              traced("8", " Adding srcPort range :6000-6001"),
                              traced("8", " Added srcPort sub range: start 6000 end 6001"),
                              "+ services/s/srcPort/6000",
                              "+ services/s/srcIpPrefix/11.0.0.0%2F8",
                              "+ services/s/dstIpPrefix/21.0.0.0%2F8",
                              "~ services/s/version = 2"}));
}

TEST_F(ProfileTraceOrderTest, BlocksAreTracedOneByOne) {
  lone.capability->portRangeBlocksRequiredIs(true);
  const auto s = app("s");
  s->dstPortFieldSetIs("dst");
  s->srcPortFieldSetIs("src");
  ports("dst", {{80, 88}});
  ports("src", {{6000, 6002}});
  const TracesAndWrites events(recorder);
  compile("s");
  EXPECT_TRUE(events.inOrder(
      {traced("8", " Added dstPort sub range: low 80 high 87"), "+ services/s/dstPort/80",
       traced("8", " Added dstPort sub range: low 88 high 88"), "+ services/s/dstPort/88",
       traced("8", " Added srcPort sub range: low 6000 high 6001"), "+ services/s/srcPort/6000",
       traced("8", " Added srcPort sub range: low 6002 high 6002"), "+ services/s/srcPort/6002"}));
}

}  // namespace
