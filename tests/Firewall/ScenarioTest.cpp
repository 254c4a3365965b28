// A whole switch from its first configuration to its last: two sources, three VRFs, an L2
// directory, lists, global prefixes, class maps, application profiles and policies, changed step by
// step. Each step says what it writes, and nothing else is written.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include "Firewall/Rules/RuleId.h"
#include "Firewall/Segments/ClassMapName.h"
#include "tests/support/Recorder.h"
#include "tests/support/Switch.h"
#include "tests/support/WriteRecorder.h"

namespace {

using PrefixAction = Acl::Action;
using Firewall::ListSource;
using TestSupport::prefix;
using TestSupport::Switch;
using Lines = std::vector<std::string>;
using RuleAction = Firewall::Action;

Lanx::IpAddrWithMask ipv4(std::string_view text) { return Lanx::IpAddrWithMask::parse(text); }
Lanx::Ip6AddrWithMask ipv6(std::string_view text) { return Lanx::Ip6AddrWithMask::parse(text); }
Lanx::Prefix permitted(std::string_view text) { return Lanx::Prefix::parse(text); }
Lanx::IntfId intf(std::string_view name) { return Lanx::IntfId(name); }
L3::VrfName vrfName(std::string_view name) { return name; }

// The switch with short names for what the steps change.
class World {
 public:
  explicit World(Switch& of) : sw(of) {}

  Firewall::Config& source(const char* name) { return *sw.source(name); }
  Firewall::Config& cli() { return source("cli"); }
  Firewall::Config& api() { return source("api"); }
  Firewall::Vrf& vrf(const char* name, const char* of = "cli") {
    return *source(of).vrfIs(vrfName(name));
  }
  Firewall::Segment& segment(const char* vrfOf, const char* name, const char* of = "cli") {
    return *vrf(vrfOf, of).segmentIs(name);
  }
  Firewall::SegmentDir& l2() { return *cli().l2SegmentDirIs("l2"); }
  // The class map of a VRF's segment, or, with an empty VRF name, of an L2 segment.
  Firewall::ClassMapFirewall& classMap(const char* vrfOf, const char* segmentOf) {
    return *cli().classMapIs(className(vrfOf, segmentOf));
  }
  static Pith::String className(const char* vrfOf, const char* segmentOf) {
    return *vrfOf == '\0' ? Firewall::l2SegmentClassMap(segmentOf)
                          : Firewall::vrfSegmentClassMap(vrfName(vrfOf), segmentOf);
  }
  MatchList::MatchIpv4PrefixListConfig& matchList(const char* name, const char* path = "lists") {
    return *sw.matchLists(path)->matchIpv4PrefixListIs(name);
  }
  MatchList::MatchIpv6PrefixListConfig& matchList6(const char* name) {
    return *sw.matchLists("lists")->matchIpv6PrefixListIs(name);
  }
  Acl::PrefixList& prefixList(const char* name) { return *sw.aclListConfig->prefixListIs(name); }
  Firewall::Policy& policy(const char* name, const char* of = "cli") {
    return *source(of).policyIs(name);
  }
  void rule(const char* policyName, std::uint32_t seqnum, const char* service, RuleAction action,
            const char* of = "cli") {
    policy(policyName, of).ruleIs(seqnum, Pith::String(service), action);
  }

  Classification::FieldSetL4PortSubConfig& ports(const char* application) {
    return *sw.fieldSetConfig->fieldSetL4Port(application)->subConfig();
  }

  void load();
  void remove();

  Switch& sw;
};

void World::load() {
  for (const char* name : {"red", "blue", "green"}) sw.ipStatus->vrfIs(vrfName(name));
  sw.interface("Ethernet1", "red");
  sw.interface("Ethernet2", "red");
  sw.interface("Ethernet3", "blue");
  sw.interface("Ethernet4", "green");
  sw.interface("Ethernet10");
  sw.interface("Ethernet11");
  sw.hwCapability->globalPrefixListSupportedIs(true);
  sw.hwCapability->forwardingSegmentsPolicySupportedIs(true);

  for (const char* text : {"10.1.0.0/16", "10.2.0.0/16"})
    matchList("offices").subnetsIs(ipv4(text));
  matchList6("offices").subnetsIs(ipv6("2001:db8:1::/48"));
  matchList("labs", "more").subnetsIs(ipv4("10.7.0.0/16"));
  prefixList("servers").prefixEntryIs(10, permitted("10.8.0.0/16"), PrefixAction::permit);
  prefixList("servers").prefixEntryIs(20, permitted("10.9.0.0/16"), PrefixAction::deny);

  sw.application("web", 6, "80");
  sw.application("dns", 17, "53");
  rule("permit", 10, "web", RuleAction::forward);
  rule("inspect", 10, "dns", RuleAction::forward);
  rule("permit", 30, "dns", RuleAction::forward, "api");

  classMap("red", "users").intfVlanDataIs(intf("Ethernet1"));
  classMap("blue", "staff").intfVlanDataIs(intf("Ethernet3"));
  classMap("", "voice").intfVlanDataIs(intf("Ethernet10"))->vlanRangeIs({100, 103});

  segment("red", "users").classNameIs(className("red", "users"));
  segment("red", "users").prefixIpv4MlIs(ListSource::matchList("offices"));
  segment("red", "users").policyIs("servers", "permit");
  segment("red", "servers").prefixIpv4MlIs(ListSource::prefixList("servers"));
  segment("red", "servers").policyIs("forwarding-segments", "permit");
  segment("red", "servers").fallbackPolicyIs("inspect");
  vrf("red").prefixIs(prefix("192.0.2.0/24"), "servers");
  segment("blue", "staff").classNameIs(className("blue", "staff"));
  segment("green", "guests").fallbackPolicyIs("inspect");
  l2().segmentIs("voice")->classNameIs(className("", "voice"));
  l2().segmentIs("data")->policyIs("voice", "permit");

  segment("red", "cameras", "api").policyIs("servers", "permit");
  cli().enabledIs(true);
  api().enabledIs(true);
}

void World::remove() {
  for (const char* name : {"api", "cli"}) {
    Firewall::Config& config = source(name);
    config.vrfDelAll();
    config.l2SegmentDirDel();
    config.classMapDelAll();
    config.policyDelAll();
    sw.fwConfigDir->entityDel(name);
  }
  for (const char* path : {"lists", "more"}) sw.matchListConfigDir->entityDel(path);
  sw.aclListConfig->prefixListDelAll();
  sw.appRecConfig->appDelAll();
  sw.fieldSetConfig->fieldSetL4PortDelAll();
  sw.fieldSetConfig->fieldSetIpPrefixDelAll();
  sw.intfStatusDir->intfStatusDelAll();
  sw.ipStatus->ipIntfStatusDelAll();
  sw.ipStatus->vrfDelAll();
}

struct Step {
  const char* name;
  void (*change)(World& world);
  Lines writes;
};

const std::vector<Step> steps = {
    // Match lists.
    {"an office opens",
     [](World& w) { w.matchList("offices").subnetsIs(ipv4("10.3.0.0/16")); },
     {"+ vrf/red/prefixList/10.3.0.0%2F16 = users",
      "+ vrf/red/segment/users/subnets/10.3.0.0%2F16 = true"}},
    {"an office closes",
     [](World& w) { w.matchList("offices").subnetsDel(ipv4("10.2.0.0/16")); },
     {"- vrf/red/prefixList/10.2.0.0%2F16", "- vrf/red/segment/users/subnets/10.2.0.0%2F16"}},
    {"the users take the IPv6 offices",
     [](World& w) { w.segment("red", "users").prefixIpv6MlIs(ListSource::matchList("offices")); },
     {"+ vrf/red/prefixList/2001:db8:1::%2F48 = users",
      "+ vrf/red/segment/users/subnets/2001:db8:1::%2F48 = true"}},
    {"an IPv6 office opens",
     [](World& w) { w.matchList6("offices").subnetsIs(ipv6("2001:db8:2::/48")); },
     {"+ vrf/red/prefixList/2001:db8:2::%2F48 = users",
      "+ vrf/red/segment/users/subnets/2001:db8:2::%2F48 = true"}},
    {"the staff of another VRF take the offices",
     [](World& w) { w.segment("blue", "staff").prefixIpv4MlIs(ListSource::matchList("offices")); },
     {"+ vrf/blue/prefixList/10.1.0.0%2F16 = staff",
      "+ vrf/blue/segment/staff/subnets/10.1.0.0%2F16 = true",
      "+ vrf/blue/prefixList/10.3.0.0%2F16 = staff",
      "+ vrf/blue/segment/staff/subnets/10.3.0.0%2F16 = true"}},
    {"an office with host bits opens",
     [](World& w) { w.matchList("offices").subnetsIs(ipv4("10.4.0.1/16")); },
     {"+ vrf/red/prefixList/10.4.0.0%2F16 = users",
      "+ vrf/red/segment/users/subnets/10.4.0.1%2F16 = true",
      "+ vrf/blue/prefixList/10.4.0.0%2F16 = staff",
      "+ vrf/blue/segment/staff/subnets/10.4.0.1%2F16 = true"}},
    {"the cameras take the offices as well",
     [](World& w) {
       w.segment("red", "cameras", "api").prefixIpv4MlIs(ListSource::matchList("offices"));
     },
     {"+ vrf/red/segment/cameras/subnets/10.1.0.0%2F16 = true",
      "+ vrf/red/segment/cameras/subnets/10.3.0.0%2F16 = true",
      "+ vrf/red/segment/cameras/subnets/10.4.0.1%2F16 = true"}},
    {"the users choose the servers' prefixes",
     [](World& w) { w.segment("red", "users").prefixIpv4MlIs(ListSource::prefixList("servers")); },
     {"+ vrf/red/segment/users/subnets/10.8.0.0%2F16 = true",
      "~ vrf/red/prefixList/10.1.0.0%2F16 = cameras",
      "- vrf/red/segment/users/subnets/10.1.0.0%2F16",
      "~ vrf/red/prefixList/10.3.0.0%2F16 = cameras",
      "- vrf/red/segment/users/subnets/10.3.0.0%2F16", "- vrf/red/prefixList/10.4.0.0%2F16",
      "- vrf/red/segment/users/subnets/10.4.0.1%2F16"}},
    {"the users choose none",
     [](World& w) { w.segment("red", "users").prefixIpv4MlIs(ListSource()); },
     {"- vrf/red/segment/users/subnets/10.8.0.0%2F16"}},
    {"the list of the offices goes",
     [](World& w) { w.sw.matchLists("lists")->matchIpv4PrefixListDel("offices"); },
     {"- vrf/blue/prefixList/10.1.0.0%2F16", "- vrf/blue/segment/staff/subnets/10.1.0.0%2F16",
      "- vrf/blue/prefixList/10.3.0.0%2F16", "- vrf/blue/segment/staff/subnets/10.3.0.0%2F16",
      "- vrf/blue/prefixList/10.4.0.0%2F16", "- vrf/blue/segment/staff/subnets/10.4.0.1%2F16",
      "- vrf/red/prefixList/10.1.0.0%2F16", "- vrf/red/segment/cameras/subnets/10.1.0.0%2F16",
      "- vrf/red/prefixList/10.3.0.0%2F16", "- vrf/red/segment/cameras/subnets/10.3.0.0%2F16",
      "- vrf/red/segment/cameras/subnets/10.4.0.1%2F16"}},
    {"the list of the offices comes back",
     [](World& w) { w.matchList("offices").subnetsIs(ipv4("10.1.0.0/16")); },
     {"+ vrf/blue/prefixList/10.1.0.0%2F16 = staff",
      "+ vrf/blue/segment/staff/subnets/10.1.0.0%2F16 = true",
      "+ vrf/red/prefixList/10.1.0.0%2F16 = cameras",
      "+ vrf/red/segment/cameras/subnets/10.1.0.0%2F16 = true"}},
    {"the guests take the labs of the other path",
     [](World& w) { w.segment("green", "guests").prefixIpv4MlIs(ListSource::matchList("labs")); },
     {"+ vrf/green/prefixList/10.7.0.0%2F16 = guests",
      "+ vrf/green/segment/guests/subnets/10.7.0.0%2F16 = true"}},

    {"the hardware takes no VRF-wide list",
     [](World& w) { w.sw.hwCapability->globalPrefixListSupportedIs(false); },
     {}},
    {"a lab opens meanwhile",
     [](World& w) { w.matchList("labs", "more").subnetsIs(ipv4("10.6.0.0/16")); },
     {"+ vrf/green/segment/guests/subnets/10.6.0.0%2F16 = true"}},
    {"the hardware takes one again",
     [](World& w) { w.sw.hwCapability->globalPrefixListSupportedIs(true); },
     {}},
    {"the lab closes",
     [](World& w) { w.matchList("labs", "more").subnetsDel(ipv4("10.6.0.0/16")); },
     {"- vrf/green/segment/guests/subnets/10.6.0.0%2F16"}},

    // Prefix lists.
    {"a prefix is permitted",
     [](World& w) {
       w.prefixList("servers").prefixEntryIs(30, permitted("10.10.0.0/16"), PrefixAction::permit);
     },
     {"+ vrf/red/prefixList/10.10.0.0%2F16 = servers",
      "+ vrf/red/segment/servers/subnets/10.10.0.0%2F16 = true"}},
    {"a denied prefix is permitted",
     [](World& w) {
       w.prefixList("servers").prefixEntryIs(20, permitted("10.9.0.0/16"), PrefixAction::permit);
     },
     {"+ vrf/red/prefixList/10.9.0.0%2F16 = servers",
      "+ vrf/red/segment/servers/subnets/10.9.0.0%2F16 = true"}},
    {"a prefix becomes another",
     [](World& w) {
       w.prefixList("servers").prefixEntryIs(30, permitted("10.11.0.0/16"), PrefixAction::permit);
     },
     {"- vrf/red/prefixList/10.10.0.0%2F16", "- vrf/red/segment/servers/subnets/10.10.0.0%2F16",
      "+ vrf/red/prefixList/10.11.0.0%2F16 = servers",
      "+ vrf/red/segment/servers/subnets/10.11.0.0%2F16 = true"}},
    {"a prefix is denied",
     [](World& w) {
       w.prefixList("servers").prefixEntryIs(20, permitted("10.9.0.0/16"), PrefixAction::deny);
     },
     {"- vrf/red/prefixList/10.9.0.0%2F16", "- vrf/red/segment/servers/subnets/10.9.0.0%2F16"}},
    {"an entry goes",
     [](World& w) { w.prefixList("servers").prefixEntryDel(30); },
     {"- vrf/red/prefixList/10.11.0.0%2F16", "- vrf/red/segment/servers/subnets/10.11.0.0%2F16"}},

    // Global prefixes.
    {"a global prefix comes",
     [](World& w) { w.vrf("red").prefixIs(prefix("198.51.100.0/24"), "users"); },
     {"+ vrf/red/prefixList/198.51.100.0%2F24 = users"}},
    {"it is given to another segment",
     [](World& w) { w.vrf("red").prefixIs(prefix("198.51.100.0/24"), "servers"); },
     {"~ vrf/red/prefixList/198.51.100.0%2F24 = servers"}},
    {"it is given to a segment that is not configured",
     [](World& w) { w.vrf("red").prefixIs(prefix("198.51.100.0/24"), "printers"); },
     {"- vrf/red/prefixList/198.51.100.0%2F24"}},
    {"a global prefix takes a listed one",
     [](World& w) { w.vrf("red").prefixIs(prefix("10.8.0.0/16"), "users"); },
     {"~ vrf/red/prefixList/10.8.0.0%2F16 = users"}},
    {"the other source has that global prefix too",
     [](World& w) { w.vrf("red", "api").prefixIs(prefix("10.8.0.0/16"), "cameras"); },
     {"~ vrf/red/prefixList/10.8.0.0%2F16 = cameras"}},
    {"the other source lets it go",
     [](World& w) { w.vrf("red", "api").prefixDel(prefix("10.8.0.0/16")); },
     {"~ vrf/red/prefixList/10.8.0.0%2F16 = users"}},
    {"nobody has it",
     [](World& w) { w.vrf("red").prefixDel(prefix("10.8.0.0/16")); },
     {"~ vrf/red/prefixList/10.8.0.0%2F16 = servers"}},

    // Segments.
    {"the segment of a global prefix comes",
     [](World& w) { w.segment("red", "printers"); },
     {"+ vrf/red/prefixList/198.51.100.0%2F24 = printers", "+ vrf/red/segment/printers"}},
    {"it receives from the users",
     [](World& w) { w.segment("red", "printers").policyIs("users", "permit"); },
     {"+ vrf/red/segment/printers/fromSegment/users = segment=@users,policy=@permit"}},
    {"it names its class map",
     [](World& w) { w.segment("red", "printers").classNameIs(w.className("red", "printers")); },
     {"~ vrf/red/segment/printers/className = __VRF_red_segment_printers"}},
    {"its class map comes",
     [](World& w) { w.classMap("red", "printers").intfVlanDataIs(intf("Ethernet2")); },
     {"+ vrf/red/segment/printers/intfVlanRangeSet/Ethernet2",
      "~ vrf/red/segment/printers/intfVlanRangeSet/Ethernet2/className = "
      "__VRF_red_segment_printers"}},
    {"it forwards to the servers",
     [](World& w) { w.segment("red", "printers").policyIs("servers", "inspect"); },
     {"+ vrf/red/segment/printers/fromSegment/servers = segment=@servers,policy=@inspect",
      "+ vrf/red/segment/servers/fromSegment/printers = segment=@printers,policy=@permit"}},
    {"it has a fallback policy",
     [](World& w) { w.segment("red", "printers").fallbackPolicyIs("inspect"); },
     {"~ vrf/red/segment/printers/fallbackPolicy = @inspect"}},
    {"its fallback policy is unknown",
     [](World& w) { w.segment("red", "printers").fallbackPolicyIs("later"); },
     {"~ vrf/red/segment/printers/fallbackPolicy = "}},
    {"its fallback policy comes",
     [](World& w) { w.policy("later"); },
     {"+ policy/later", "~ vrf/red/segment/printers/fallbackPolicy = @later"}},
    {"the users receive from it",
     [](World& w) { w.segment("red", "users").policyIs("printers", "permit"); },
     {"+ vrf/red/segment/users/fromSegment/printers = segment=@printers,policy=@permit"}},
    {"it goes",
     [](World& w) { w.vrf("red").segmentDel("printers"); },
     {"- vrf/red/segment/users/fromSegment/printers",
      "- vrf/red/segment/servers/fromSegment/printers", "- vrf/red/segment/printers",
      "- vrf/red/prefixList/198.51.100.0%2F24"}},
    {"it comes back",
     [](World& w) { w.segment("red", "printers").classNameIs(w.className("red", "printers")); },
     {"+ vrf/red/prefixList/198.51.100.0%2F24 = printers", "+ vrf/red/segment/printers",
      "+ vrf/red/segment/users/fromSegment/printers = segment=@printers,policy=@permit",
      "~ vrf/red/segment/printers/className = __VRF_red_segment_printers",
      "+ vrf/red/segment/printers/intfVlanRangeSet/Ethernet2",
      "~ vrf/red/segment/printers/intfVlanRangeSet/Ethernet2/className = "
      "__VRF_red_segment_printers"}},

    // Class maps and interfaces.
    {"an interface joins",
     [](World& w) { w.classMap("red", "users").intfVlanDataIs(intf("Ethernet4")); },
     {}},
    {"it is routed there",
     [](World& w) { w.sw.interface("Ethernet4", "red"); },
     {"+ vrf/red/segment/users/intfVlanRangeSet/Ethernet4",
      "~ vrf/red/segment/users/intfVlanRangeSet/Ethernet4/className = __VRF_red_segment_users"}},
    {"it is routed elsewhere",
     [](World& w) { w.sw.interface("Ethernet4", "green"); },
     {"- vrf/red/segment/users/intfVlanRangeSet/Ethernet4"}},
    {"an interface is routed no more",
     [](World& w) { w.sw.ipStatus->ipIntfStatusDel(intf("Ethernet3")); },
     {"- vrf/blue/segment/staff/intfVlanRangeSet/Ethernet3"}},
    {"and routed again",
     [](World& w) { w.sw.interface("Ethernet3", "blue"); },
     {"+ vrf/blue/segment/staff/intfVlanRangeSet/Ethernet3",
      "~ vrf/blue/segment/staff/intfVlanRangeSet/Ethernet3/className = __VRF_blue_segment_staff"}},
    {"an interface leaves",
     [](World& w) { w.classMap("red", "users").intfVlanDataDel(intf("Ethernet4")); },
     {}},
    {"VLANs join",
     [](World& w) {
       w.classMap("", "voice").intfVlanData(intf("Ethernet10"))->vlanRangeIs({200, 202});
     },
     {"+ l2Seg/segment/voice/intfVlanRangeSet/Ethernet10/vlanRange/200-201",
      "+ l2Seg/segment/voice/intfVlanRangeSet/Ethernet10/vlanRange/202"}},
    {"VLANs leave",
     [](World& w) {
       w.classMap("", "voice").intfVlanData(intf("Ethernet10"))->vlanRangeDel({100, 103});
     },
     {"- l2Seg/segment/voice/intfVlanRangeSet/Ethernet10/vlanRange/100-103"}},
    {"a trunk joins",
     [](World& w) { w.classMap("", "voice").intfVlanDataIs(intf("Ethernet11")); },
     {"+ l2Seg/segment/voice/intfVlanRangeSet/Ethernet11",
      "~ l2Seg/segment/voice/intfVlanRangeSet/Ethernet11/className = __segment_voice"}},
    {"a class map goes",
     [](World& w) { w.cli().classMapDel(w.className("", "voice")); },
     {"- l2Seg/segment/voice/intfVlanRangeSet/Ethernet10",
      "- l2Seg/segment/voice/intfVlanRangeSet/Ethernet11"}},

    // Policies and applications.
    {"a rule comes",
     [](World& w) { w.rule("permit", 20, "dns", RuleAction::drop); },
     {"+ policy/permit/rule/20.1 = 17 53 drop"}},
    {"a rule changes",
     [](World& w) { w.rule("permit", 20, "web", RuleAction::drop); },
     {"- policy/permit/rule/20.1", "+ policy/permit/rule/20.1 = 6 80 drop"}},
    {"a rule goes",
     [](World& w) { w.policy("permit").ruleDel(20); },
     {"- policy/permit/rule/20.1"}},
    {"an application goes",
     [](World& w) { w.sw.appRecConfig->appDel("dns"); },
     {"- services/dns/protocol/17", "- services/dns", "- policy/inspect/rule/10.1",
      "- policy/permit/rule/30.1"}},
    {"a policy goes",
     [](World& w) { w.cli().policyDel("inspect"); },
     {"~ vrf/red/segment/servers/fallbackPolicy = ", "~ vrf/green/segment/guests/fallbackPolicy = ",
      "- policy/inspect"}},
    {"a policy comes back",
     [](World& w) { w.rule("inspect", 10, "dns", RuleAction::forward); },
     {"+ policy/inspect", "~ vrf/red/segment/servers/fallbackPolicy = @inspect",
      "~ vrf/green/segment/guests/fallbackPolicy = @inspect"}},

    // Switches, VRFs and sources.
    {"what no policy matches is forwarded",
     [](World& w) { w.cli().defaultPolicyIs(Firewall::DefaultPolicy::forward); },
     {"~ defaultPolicyDrop = false"}},
    {"routed traffic is meant",
     [](World& w) {
       w.cli().forwardTypeIs(Firewall::ForwardingTypeMatch(Firewall::ForwardingTypeMatch::routed));
     },
     {"~ forwardType = routed"}},
    {"a VRF leaves the switch",
     [](World& w) { w.sw.ipStatus->vrfDel(vrfName("green")); },
     {"- vrf/green/prefixList/10.7.0.0%2F16", "- vrf/green/segment/guests/subnets/10.7.0.0%2F16",
      "- vrf/green"}},
    {"and comes back",
     [](World& w) { w.sw.ipStatus->vrfIs(vrfName("green")); },
     {"+ vrf/green", "+ vrf/green/segment/guests", "+ vrf/green/prefixList/10.7.0.0%2F16 = guests",
      "+ vrf/green/segment/guests/subnets/10.7.0.0%2F16 = true",
      "~ vrf/green/segment/guests/fallbackPolicy = @inspect"}},
    {"the L2 directory goes",
     [](World& w) { w.cli().l2SegmentDirDel(); },
     {"- l2Seg/segment/data/fromSegment/voice", "- l2Seg/segment/voice", "- l2Seg/segment/data",
      "- l2Seg"}},
    {"the other source is disabled",
     [](World& w) { w.api().enabledIs(false); },
     {"- vrf/red/segment/cameras/fromSegment/servers", "- vrf/red/prefixList/10.1.0.0%2F16",
      "- vrf/red/segment/cameras/subnets/10.1.0.0%2F16"}},
    {"an application has another port",
     [](World& w) { w.ports("web").portsIs(Classification::PortRange::parse("8080")); },
     {"- services/web/protocol/6", "+ services/web/protocol/6",
      "+ services/web/dstPort/8080 = 8080", "~ services/web/version = 2",
      "- policy/permit/rule/10.1", "+ policy/permit/rule/10.1 = 6 80 forward",
      "+ policy/permit/rule/10.2 = 6 8080 forward"}},
    {"and no longer the first",
     [](World& w) { w.ports("web").portsDel(Classification::PortRange::parse("80")); },
     {"- services/web/dstPort/80", "- services/web/protocol/6", "+ services/web/protocol/6",
      "~ services/web/version = 3", "- policy/permit/rule/10.1", "- policy/permit/rule/10.2",
      "+ policy/permit/rule/10.1 = 6 8080 forward"}},
    {"the other source is enabled again",
     [](World& w) { w.api().enabledIs(true); },
     {"+ vrf/red/prefixList/10.1.0.0%2F16 = cameras",
      "+ vrf/red/segment/cameras/subnets/10.1.0.0%2F16 = true",
      "+ vrf/red/segment/cameras/fromSegment/servers = segment=@servers,policy=@permit"}},
    {"its segment goes",
     [](World& w) { w.vrf("red", "api").segmentDel("cameras"); },
     {"- vrf/red/segment/cameras", "- vrf/red/prefixList/10.1.0.0%2F16"}},
};

class ScenarioTest : public TestSupport::SwitchTest {
 protected:
  // What was written since the last call, without the indication that work is going on. Rules are
  // short: "+ policy/permit/rule/20.1 = 17 53 drop", for index 1 of sequence number 20.
  Lines written() {
    static const std::regex id("/rule/([0-9]+)");
    static const std::regex value(
        " = seqnum=.*protocol=([^,]*),dstPort=([^,]*),.*action=([^,]*),.*");
    Lines lines;
    for (std::string line : sw().recorder.take()) {
      if (line.starts_with("~ updateInProgress")) continue;
      std::smatch match;
      if (std::regex_search(line, match, id)) {
        const auto ruleId = static_cast<std::uint32_t>(std::stoul(match[1]));
        line = match.prefix().str() + "/rule/" + std::to_string(Firewall::ruleSeqnum(ruleId)) +
               "." + std::to_string(ruleId & Firewall::maxRuleIndex) + match.suffix().str();
      }
      lines.push_back(std::regex_replace(line, value, " = $1 $2 $3"));
    }
    return lines;
  }
  // The tables without the versions of the services, which count changes.
  Lines tables() {
    Lines lines = TestSupport::dumpOf(*sw().hwConfig);
    std::erase_if(lines, [](const std::string& line) {
      return line.find("/version = ") != std::string::npos;
    });
    for (std::string& line : lines) line = TestSupport::withShortReferences(line);
    std::sort(lines.begin(), lines.end());
    return lines;
  }
};

TEST_F(ScenarioTest, FromTheFirstConfigurationThroughManyChangesToTheLast) {
  sw().start();
  const auto before = TestSupport::liveCounts();
  World world(sw());
  world.load();
  sw().checkAtRest();
  written();
  for (const Step& step : steps) {
    SCOPED_TRACE(step.name);
    step.change(world);
    sw().checkAtRest();
    EXPECT_EQ(written(), step.writes);
  }
  const Lines after = tables();
  for (const char* name : {"api", "cli"}) world.source(name).enabledIs(false);
  EXPECT_TRUE(sw().hwConfig->vrf().empty());
  EXPECT_TRUE(sw().hwConfig->policy().empty());
  for (const char* name : {"cli", "api"}) world.source(name).enabledIs(true);
  EXPECT_EQ(tables(), after);
  world.remove();
  EXPECT_EQ(TestSupport::liveCounts(), before);
}

}  // namespace
