#include "tests/support/FullConfiguration.h"

namespace TestSupport {
namespace {

using Firewall::Action;
using Firewall::ListSource;

void l2Directory(Firewall::Config& config) {
  const auto directory = config.l2SegmentDirIs("l2");
  const auto intfs = config.classMapIs("__segment_voice");
  const auto trunk = intfs->intfVlanDataIs(Lanx::IntfId{std::string_view("Ethernet1")});
  trunk->vlanRangeIs({100, 199});
  trunk->vlanRangeIs({300, 300});
  const auto voice = directory->segmentIs("voice");
  voice->classNameIs("__segment_voice");
  voice->policyIs("data", "web-only");
  const auto data = directory->segmentIs("data");
  data->fallbackPolicyIs("all");
  data->prefixIpv4MlIs(ListSource::matchList("offices"));
}

}  // namespace

void shareConfiguration(Switch& sw) {
  for (const char* vrf : {"red", "blue"}) sw.ipStatus->vrfIs(L3::VrfName(vrf));
  sw.interface("Ethernet1");
  sw.interface("Ethernet2", "red");
  sw.interface("Ethernet3", "red");
  sw.interface("Ethernet4", "blue");
  sw.interface("Ethernet5", "default");
  sw.hwCapability->globalPrefixListSupportedIs(true);
  sw.hwCapability->forwardingSegmentsPolicySupportedIs(true);
  sw.hwCapability->portRangeBlocksRequiredIs(true);

  const auto lists = sw.matchLists("path");
  const auto offices = lists->matchIpv4PrefixListIs("offices");
  for (const char* subnet : {"10.1.0.0/16", "10.2.0.0/16", "192.0.2.1/24"}) {
    offices->subnetsIs(Lanx::IpAddrWithMask::parse(subnet));
  }
  lists->matchIpv6PrefixListIs("offices6")
      ->subnetsIs(Lanx::Ip6AddrWithMask::parse("2001:db8::/32"));
  const auto servers = sw.aclListConfig->prefixListIs("servers");
  servers->prefixEntryIs(10, Lanx::Prefix::parse("10.2.0.0/16"), Acl::Action::permit);
  servers->prefixEntryIs(20, Lanx::Prefix::parse("10.3.0.0/16"), Acl::Action::deny);
  sw.aclListConfig->ipv6PrefixListIs("servers6")
      ->ipv6PrefixEntryIs(10, Lanx::Ip6Prefix::parse("2001:db8:1::/48"), Acl::Action::permit);

  sw.application("web", 6, "80-443");
  sw.application("dns", 17, "53", "10.0.0.0/8");
  sw.application("ping", 1);
}

Firewall::Segment::Ptr segmentWithInterfaces(Firewall::Config& config, const std::string& vrf,
                                             const std::string& segment,
                                             std::initializer_list<const char*> interfaces) {
  const std::string className = "__VRF_" + vrf + "_segment_" + segment;
  const auto classMap = config.classMapIs(className);
  for (const char* name : interfaces)
    classMap->intfVlanDataIs(Lanx::IntfId{std::string_view(name)});
  const auto result = config.vrfIs(L3::VrfName(std::string_view(vrf)))->segmentIs(segment);
  result->classNameIs(className);
  return result;
}

Firewall::Config::Ptr fullSource(Switch& sw, const std::string& name) {
  const auto config = sw.source(name);
  const auto web = config->policyIs("web-only");
  web->ruleIs(10U, Pith::String("web"), Action::forward);
  web->ruleIs(20U, Pith::String("ping"), Action::forward, true);
  web->ruleIs(1000U, Pith::String("missing"), Action::drop);
  config->policyIs("all")->ruleIs(1U, Pith::String("dns"), Action::forward);
  config->policyIs("unused");

  for (const char* vrf : {"red", "blue", "default", "absent"}) {
    const auto users = segmentWithInterfaces(*config, vrf, "users",
                                             {"Ethernet2", "Ethernet4", "Ethernet5", "Ethernet9"});
    users->policyIs("servers", "web-only");
    users->policyIs("nowhere", "web-only");
    users->fallbackPolicyIs("all");
    users->prefixIpv4MlIs(ListSource::matchList("offices"));
    users->prefixIpv6MlIs(ListSource::matchList("offices6"));
    const auto servers = config->vrf(L3::VrfName(vrf))->segmentIs("servers");
    servers->policyIs("forwarding-segments", "all");
    servers->policyIs("users", "web-only");
    servers->fallbackPolicyIs("nothing");
    servers->prefixIpv4MlIs(ListSource::prefixList("servers"));
    servers->prefixIpv6MlIs(ListSource::prefixList("servers6"));
    const auto inVrf = config->vrf(L3::VrfName(vrf));
    inVrf->prefixIs(Lanx::IpGenPrefix::parse("10.2.0.0/16"), "servers");
    inVrf->prefixIs(Lanx::IpGenPrefix::parse("198.51.100.0/24"), "users");
    inVrf->prefixIs(Lanx::IpGenPrefix::parse("203.0.113.0/24"), "nowhere");
  }
  l2Directory(*config);
  config->forwardTypeIs(Firewall::ForwardingTypeMatch(Firewall::ForwardingTypeMatch::routed));
  return config;
}

}  // namespace TestSupport
