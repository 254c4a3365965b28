#include "tests/faults/Scenarios.h"

#include <set>

namespace Faults {
namespace {

using Plain::History;

History operator+(History lines, const History& more) {
  lines.insert(lines.end(), more.begin(), more.end());
  return lines;
}

const History inputs{
    "+ lists/main",
    "+ lists/main/matchIpv4PrefixList/x",
    "+ lists/main/matchIpv4PrefixList/x/subnets/10.0.0.0%2F8",
    "+ lists/main/matchIpv4PrefixList/x/subnets/10.1.0.0%2F16",
    "+ lists/main/matchIpv6PrefixList/x",
    "+ lists/main/matchIpv6PrefixList/x/subnets/2001:db8::%2F32",
    "+ acl/prefixList/y",
    "+ acl/prefixList/y/prefixEntry/10 = prefix=10.1.0.0/16,action=permit",
    "+ ip/vrf/red",
    "+ intf/intfStatus/Ethernet1",
    "+ ip/ipIntfStatus/Ethernet1 = red",
    "+ cap/globalPrefixListSupported = true",
    "+ cap/forwardingSegmentsPolicySupported = true",
    "+ sets/fieldSetL4Port/s",
    "+ sets/fieldSetL4Port/s/subConfig = s",
    "+ sets/fieldSetL4Port/s/subConfig/ports/80-443",
    "+ sets/fieldSetIpPrefix/t",
    "+ sets/fieldSetIpPrefix/t/subConfig = t",
    "+ sets/fieldSetIpPrefix/t/subConfig/prefixes/192.0.2.0%2F24",
    "+ apps/app/web",
    "+ apps/app/web/proto/6",
    "+ apps/app/web/dstPortFieldSet = s",
    "+ apps/app/web/srcPrefixFieldSet = t",
    "+ apps/app/dns",
    "+ apps/app/dns/proto/17",
};

const History cli{
    "+ source/cli",
    "+ source/cli/policy/p",
    "+ source/cli/policy/p/rule/10 = service=web,action=forward",
    "+ source/cli/policy/p/rule/20 = service=dns,action=drop",
    "+ source/cli/classMap/__VRF_red_segment_a",
    "+ source/cli/classMap/__VRF_red_segment_a/intfVlanData/Ethernet1",
    "+ source/cli/vrf/red",
    "+ source/cli/vrf/red/prefix/10.1.0.0%2F16 = b",
    "+ source/cli/vrf/red/segment/a",
    "+ source/cli/vrf/red/segment/a/className = __VRF_red_segment_a",
    "+ source/cli/vrf/red/segment/a/prefixIpv4Ml = matchList:x",
    "+ source/cli/vrf/red/segment/a/prefixIpv6Ml = matchList:x",
    "+ source/cli/vrf/red/segment/a/policy/b = p",
    "+ source/cli/vrf/red/segment/a/fallbackPolicy = p",
    "+ source/cli/vrf/red/segment/b",
    "+ source/cli/vrf/red/segment/b/prefixIpv4Ml = prefixList:y",
    "+ source/cli/vrf/red/segment/b/policy/forwarding-segments = p",
    "+ source/cli/l2SegmentDir = l2",
    "+ source/cli/classMap/__segment_v",
    "+ source/cli/classMap/__segment_v/intfVlanData/Ethernet1",
    "+ source/cli/classMap/__segment_v/intfVlanData/Ethernet1/vlanRange/100-102",
    "+ source/cli/l2SegmentDir/segment/v",
    "+ source/cli/l2SegmentDir/segment/v/className = __segment_v",
};

const History api{
    "+ source/api",
    "+ source/api/policy/p",
    "+ source/api/policy/p/rule/10 = service=dns,action=forward",
    "+ source/api/vrf/red",
    "+ source/api/vrf/red/prefix/10.0.0.0%2F8 = a",
    "+ source/api/vrf/red/segment/a",
    "+ source/api/classMap/__VRF_red_segment_a",
    "+ source/api/classMap/__VRF_red_segment_a/intfVlanData/Ethernet1",
    "+ source/api/vrf/red/segment/a/className = __VRF_red_segment_a",
    "+ source/api/vrf/red/segment/a/prefixIpv4Ml = matchList:x",
    "+ source/api/vrf/red/segment/c",
    "+ source/api/vrf/red/segment/c/policy/a = p",
};

const History enabled{"+ source/cli/enabled = true", "+ source/api/enabled = true"};

std::vector<Scenario> allScenarios() {
  const History configured = inputs + cli + api;
  const History running = configured + enabled + History{"start"};
  std::vector<Scenario> all{
      {"RootStarts", configured + enabled, "start"},
      {"RootStops", running, "stop"},
      {"FirstSourceIsEnabled", configured + History{"start"}, "+ source/cli/enabled = true"},
      {"SecondSourceIsEnabled", configured + History{"start", enabled[1]}, enabled[0]},
      {"LastSourceIsDisabled", configured + History{"start", enabled[0]},
       "+ source/cli/enabled = false"},
  };
  const std::vector<std::pair<const char*, const char*>> changes{
      {"SourceIsDisabled", "+ source/cli/enabled = false"},
      {"SourceGoes", "- source/cli"},
      {"SourceComes", "+ source/gnmi"},
      {"SwitchesChange", "+ source/cli/forwardType = routed"},
      {"VrfComes", "+ source/cli/vrf/default"},
      {"VrfGoes", "- source/cli/vrf/red"},
      {"VrfLeavesTheStatus", "- ip/vrf/red"},
      {"L2DirectoryGoes", "- source/cli/l2SegmentDir"},
      {"PolicyComes", "+ source/cli/policy/q"},
      {"PolicyGoes", "- source/cli/policy/p"},
      {"RuleComes", "+ source/cli/policy/p/rule/30 = service=web,action=drop"},
      {"RuleChanges", "+ source/cli/policy/p/rule/10 = service=dns,action=drop"},
      {"RuleGoes", "- source/cli/policy/p/rule/10"},
      {"ApplicationComes", "+ apps/app/icmp"},
      {"ApplicationChanges", "+ apps/app/web/proto/17"},
      {"ApplicationGoes", "- apps/app/web"},
      {"PortSetChanges", "+ sets/fieldSetL4Port/s/subConfig/ports/1000"},
      {"PrefixSetGoes", "- sets/fieldSetIpPrefix/t"},
      {"SegmentComes", "+ source/cli/vrf/red/segment/c"},
      {"SegmentGoes", "- source/cli/vrf/red/segment/a"},
      {"L2SegmentComes", "+ source/cli/l2SegmentDir/segment/w"},
      {"LinkComes", "+ source/cli/vrf/red/segment/b/policy/a = p"},
      {"LinkToSubscribersGoes", "- source/cli/vrf/red/segment/b/policy/forwarding-segments"},
      {"FallbackPolicyGoes", "+ source/cli/vrf/red/segment/a/fallbackPolicy = "},
      {"ClassMapIsNamed", "+ source/cli/vrf/red/segment/b/className = __VRF_red_segment_a"},
      {"ClassMapIsLeft", "+ source/cli/vrf/red/segment/a/className = "},
      {"ListIsChosen", "+ source/cli/vrf/red/segment/b/prefixIpv4Ml = matchList:x"},
      {"ListIsLeft", "+ source/cli/vrf/red/segment/a/prefixIpv4Ml = prefixList:y"},
      {"PathComes", "+ lists/other"},
      {"PathGoes", "- lists/main"},
      {"MatchListGoes", "- lists/main/matchIpv4PrefixList/x"},
      {"SubnetComes", "+ lists/main/matchIpv4PrefixList/x/subnets/10.2.0.0%2F16"},
      {"SubnetGoes", "- lists/main/matchIpv4PrefixList/x/subnets/10.1.0.0%2F16"},
      {"PrefixEntryChanges",
       "+ acl/prefixList/y/prefixEntry/10 = prefix=10.3.0.0/16,action=permit"},
      {"PrefixListComes", "+ acl/prefixList/z"},
      {"PrefixListGoes", "- acl/prefixList/y"},
      {"SourceIsReplaced", "+ source/cli = new"},
      {"PathIsReplaced", "+ lists/main = new"},
      {"GlobalPrefixComes", "+ source/cli/vrf/red/prefix/2001:db8::%2F32 = b"},
      {"GlobalPrefixGoes", "- source/cli/vrf/red/prefix/10.1.0.0%2F16"},
      {"ClassMapGoes", "- source/cli/classMap/__VRF_red_segment_a"},
      {"InterfaceIsUnbound", "- source/cli/classMap/__segment_v/intfVlanData/Ethernet1"},
      {"InterfaceChangesItsVrf", "+ ip/ipIntfStatus/Ethernet1 = blue"},
      {"VlanRangeComes",
       "+ source/cli/classMap/__segment_v/intfVlanData/Ethernet1/vlanRange/200-204"},
      {"ForwardingSupportGoes", "+ cap/forwardingSegmentsPolicySupported = false"},
  };
  for (const auto& [name, change] : changes) all.push_back({name, running, change});
  const auto with = [&running](const char* more) { return running + History{more}; };
  all.push_back({"ForwardingSupportComes", with("+ cap/forwardingSegmentsPolicySupported = false"),
                 "+ cap/forwardingSegmentsPolicySupported = true"});
  all.push_back({"PortSetThatBecomesBlocksChanges", with("+ cap/portRangeBlocksRequired = true"),
                 "+ sets/fieldSetL4Port/s/subConfig/ports/1000-1999"});
  all.push_back({"RuleThatIsTakenWholeComes", with("+ cap/serviceRuleSupported = true"),
                 "+ source/cli/policy/p/rule/30 = service=web,action=drop"});
  const std::set<std::string> silent{"SourceComes", "PathComes", "PathGoes", "PrefixListComes",
                                     "ForwardingSupportGoes"};
  const std::set<std::string> frugal{"SwitchesChange", "L2DirectoryGoes"};
  for (Scenario& scenario : all) {
    scenario.writes = !silent.contains(scenario.name);
    scenario.allocates = !frugal.contains(scenario.name);
  }
  return all;
}

}  // namespace

const std::vector<Scenario>& scenarios() {
  static const std::vector<Scenario> all = allScenarios();
  return all;
}

History repair(const Scenario& scenario) {
  History lines;
  if (scenario.change == "stop") lines.push_back("start");
  return lines + History{"+ source/cli/enabled = false", "+ source/api/enabled = false"} + enabled;
}

Plain::Lines repairedOutput(const Scenario& scenario) {
  Plain::Model model;
  Plain::ModelInputs modelInputs(model);
  for (const std::string& line : scenario.before + History{scenario.change} + repair(scenario)) {
    modelInputs.apply(Plain::Change(line));
  }
  return model.hw->dump();
}

void apply(Plain::RealSwitch& real, const History& history) {
  for (const std::string& line : history) real.apply(Plain::Change(line));
}

}  // namespace Faults
