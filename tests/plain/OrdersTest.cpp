// Changes that make up one wish, in every order: the output is the same whichever comes first, and
// each order is right by the plain model.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/plain/Life.h"
#include "tests/plain/RealSwitch.h"

namespace {

using Plain::differenceIn;
using Plain::History;
using Plain::Lines;

// Without the counters of services, which tell how often something changed.
Lines outputAfter(const History& history) {
  Plain::RealSwitch real;
  for (const std::string& line : history) real.apply(Plain::Change(line));
  Lines lines = real.dump();
  std::erase_if(
      lines, [](const std::string& line) { return line.find("/version = ") != std::string::npos; });
  return lines;
}

// `owners` are what the paths of some changes lead through: each is made right before the first
// change that needs it.
History inThisOrder(const History& before, const History& changes, const History& owners) {
  History history = before;
  for (const std::string& change : changes) {
    for (const std::string& owner : owners) {
      const std::string path = owner.substr(0, owner.find(" ="));
      if (change.starts_with(path + "/") && std::ranges::count(history, owner) == 0)
        history.push_back(owner);
    }
    history.push_back(change);
  }
  return history;
}

// `expected` is a line of the output that the changes are to bring.
void expectTheSameInEveryOrder(const History& before, History changes, const std::string& expected,
                               const History& owners = {}) {
  std::ranges::sort(changes);
  Lines first;
  do {
    const History history = inThisOrder(before, changes, owners);
    const Lines output = outputAfter(history);
    if (first.empty()) first = output;
    ASSERT_GT(std::ranges::count(output, expected), 0) << Plain::asTest(history);
    ASSERT_EQ(output, first) << Plain::asTest(history);
    ASSERT_EQ(differenceIn(history), "") << Plain::asTest(history);
  } while (std::ranges::next_permutation(changes).found);
}

// The same in some orders of many.
void expectTheSameInSomeOrders(const History& before, History changes, const std::string& expected,
                               const History& owners) {
  std::mt19937 random(20240607);
  Lines first;
  for (int order = 0; order < 120; ++order) {
    const History history = inThisOrder(before, changes, owners);
    const Lines output = outputAfter(history);
    if (first.empty()) first = output;
    ASSERT_GT(std::ranges::count(output, expected), 0) << Plain::asTest(history);
    ASSERT_EQ(output, first) << Plain::asTest(history);
    if (order % 10 == 0) {
      ASSERT_EQ(differenceIn(history), "") << Plain::asTest(history);
    }
    std::ranges::shuffle(changes, random);
  }
}

History enabledSource(const History& more) {
  History lines{"start", "+ source/cli", "+ source/cli/enabled = true", "+ ip/vrf/red",
                "+ source/cli/vrf/red"};
  lines.insert(lines.end(), more.begin(), more.end());
  return lines;
}

TEST(Orders, RootSourceEnablingVrfAndListsArriveInAnyOrder) {
  expectTheSameInEveryOrder(
      {"+ cap/globalPrefixListSupported = true", "+ source/cli/policy/p",
       "+ source/cli/policy/p/rule/10 = service=web,action=forward", "+ apps/app/web",
       "+ apps/app/web/proto/6", "+ source/cli/vrf/red", "+ source/cli/vrf/red/segment/a",
       "+ source/cli/vrf/red/segment/b", "+ source/cli/vrf/red/segment/a/policy/b = p",
       "+ source/cli/vrf/red/segment/a/fallbackPolicy = p",
       "+ source/cli/vrf/red/segment/a/prefixIpv4Ml = matchList:x",
       "+ source/cli/vrf/red/segment/b/prefixIpv4Ml = matchList:x",
       "+ lists/main/matchIpv4PrefixList/x",
       "+ lists/main/matchIpv4PrefixList/x/subnets/10.0.0.0%2F8"},
      {"start", "+ source/cli", "+ source/cli/enabled = true", "+ ip/vrf/red", "+ lists/main"},
      "vrf/red/prefixList/10.0.0.0%2F8 = a");
}

TEST(Orders, PolicySegmentsAndTheLinksBetweenThemArriveInAnyOrder) {
  expectTheSameInEveryOrder(enabledSource({"+ source/cli/vrf/red/segment/a"}),
                            {"+ source/cli/policy/p", "+ source/cli/vrf/red/segment/b",
                             "+ source/cli/vrf/red/segment/a/policy/b = p",
                             "+ source/cli/vrf/red/segment/a/fallbackPolicy = p"},
                            "vrf/red/segment/a/fromSegment/b = segment=@b,policy=@p");
}

TEST(Orders, RuleApplicationAndItsFieldSetArriveInAnyOrder) {
  expectTheSameInEveryOrder(
      enabledSource({"+ source/cli/policy/p", "+ apps/app/web", "+ sets/fieldSetL4Port/s",
                     "+ sets/fieldSetL4Port/s/subConfig = sub"}),
      {"+ source/cli/policy/p/rule/10 = service=web,action=forward", "+ apps/app/web/proto/6",
       "+ apps/app/web/dstPortFieldSet = s", "+ sets/fieldSetL4Port/s/subConfig/ports/80-443",
       "+ apps/app/web/af = ipv4"},
      "policy/p/rule/41943041 = seqnum=10,sip=unset,dip=unset,protocol=6,dstPort=80-443,"
      "srcPort=0-65535,action=forward,log=false,nexthop=none");
}

TEST(Orders, SegmentItsListAndAGlobalPrefixArriveInAnyOrder) {
  expectTheSameInEveryOrder(
      enabledSource({"+ cap/globalPrefixListSupported = true", "+ source/cli/vrf/red/segment/a",
                     "+ lists/main", "+ lists/main/matchIpv4PrefixList/x"}),
      {"+ source/cli/vrf/red/segment/a/prefixIpv4Ml = matchList:x",
       "+ lists/main/matchIpv4PrefixList/x/subnets/10.0.0.0%2F8",
       "+ lists/main/matchIpv4PrefixList/x/subnets/10.1.0.0%2F16",
       "+ source/cli/vrf/red/prefix/10.0.0.0%2F8 = b", "+ source/cli/vrf/red/segment/b"},
      "vrf/red/prefixList/10.0.0.0%2F8 = b");
}

TEST(Orders, InterfaceOfAClassMapItsVrfAndTheSegmentArriveInAnyOrder) {
  expectTheSameInEveryOrder(
      enabledSource({"+ intf/intfStatus/Ethernet1", "+ source/cli/classMap/__VRF_red_segment_a",
                     "+ source/cli/vrf/red/segment/a"}),
      {"+ source/cli/classMap/__VRF_red_segment_a/intfVlanData/Ethernet1",
       "+ source/cli/vrf/red/segment/a/className = __VRF_red_segment_a",
       "+ ip/ipIntfStatus/Ethernet1 = red"},
      "vrf/red/segment/a/intfVlanRangeSet/Ethernet1/className = __VRF_red_segment_a");
}

TEST(Orders, SegmentSwitchesItsListInAnyOrder) {
  expectTheSameInEveryOrder(
      enabledSource({"+ lists/main", "+ lists/main/matchIpv4PrefixList/x",
                     "+ lists/main/matchIpv4PrefixList/x/subnets/10.0.0.0%2F8",
                     "+ source/cli/vrf/red/segment/a",
                     "+ source/cli/vrf/red/segment/a/prefixIpv4Ml = matchList:x",
                     "+ acl/prefixList/y"}),
      {"+ source/cli/vrf/red/segment/a/prefixIpv4Ml = prefixList:y",
       "+ acl/prefixList/y/prefixEntry/10 = prefix=10.1.0.0/16,action=permit",
       "+ acl/prefixList/y/prefixEntry/20 = prefix=10.2.0.0/16,action=deny",
       "- lists/main/matchIpv4PrefixList/x",
       "+ source/cli/vrf/red/segment/a/prefixIpv6Ml = matchList:x"},
      "vrf/red/segment/a/subnets/10.1.0.0%2F16 = true");
}

TEST(Orders, ListsOfBothFamiliesAndTheirPathArriveInAnyOrder) {
  expectTheSameInEveryOrder(
      enabledSource({"+ cap/globalPrefixListSupported = true", "+ source/cli/vrf/red/segment/a"}),
      {"+ lists/main", "+ lists/main/matchIpv4PrefixList/x/subnets/10.0.0.0%2F8",
       "+ source/cli/vrf/red/segment/a/prefixIpv4Ml = matchList:x",
       "+ source/cli/vrf/red/segment/a/prefixIpv6Ml = matchList:x",
       "+ lists/main/matchIpv6PrefixList/x/subnets/::%2F0"},
      "vrf/red/prefixList/10.0.0.0%2F8 = a",
      {"+ lists/main/matchIpv4PrefixList/x", "+ lists/main/matchIpv6PrefixList/x"});
}

TEST(Orders, SubscriberAndServiceWithForwardingSegmentsArriveInAnyOrder) {
  expectTheSameInEveryOrder(
      enabledSource({"+ cap/forwardingSegmentsPolicySupported = true", "+ source/cli/policy/p",
                     "+ intf/intfStatus/Ethernet1", "+ ip/ipIntfStatus/Ethernet1 = red",
                     "+ source/cli/classMap/__VRF_red_segment_a", "+ source/cli/vrf/red/segment/a",
                     "+ source/cli/vrf/red/segment/b"}),
      {"+ source/cli/classMap/__VRF_red_segment_a/intfVlanData/Ethernet1",
       "+ source/cli/vrf/red/segment/a/className = __VRF_red_segment_a",
       "+ source/cli/vrf/red/segment/a/policy/b = p",
       "+ source/cli/vrf/red/segment/b/policy/forwarding-segments = p"},
      "vrf/red/segment/b/fromSegment/a = segment=@a,policy=@p");
}

TEST(Orders, L2SegmentWithVlansOfItsClassMapArrivesInAnyOrder) {
  expectTheSameInEveryOrder(
      enabledSource({"+ intf/intfStatus/Ethernet1", "+ source/cli/l2SegmentDir = l2",
                     "+ source/cli/classMap/__segment_v",
                     "+ source/cli/classMap/__segment_v/intfVlanData/Ethernet1",
                     "+ source/cli/l2SegmentDir/segment/v"}),
      {"+ source/cli/classMap/__segment_v/intfVlanData/Ethernet1/vlanRange/100-101",
       "+ source/cli/classMap/__segment_v/intfVlanData/Ethernet1/vlanRange/200",
       "+ source/cli/l2SegmentDir/segment/v/className = __segment_v", "+ source/cli/policy/p",
       "+ source/cli/l2SegmentDir/segment/v/fallbackPolicy = p"},
      "l2Seg/segment/v/intfVlanRangeSet/Ethernet1/vlanRange/100-101 = ");
}

TEST(Orders, PolicyIsReplacedByAnotherInAnyOrder) {
  expectTheSameInEveryOrder(
      enabledSource({"+ source/cli/policy/p", "+ source/cli/vrf/red/segment/a",
                     "+ source/cli/vrf/red/segment/b", "+ apps/app/web", "+ apps/app/web/proto/6",
                     "+ source/cli/vrf/red/segment/a/policy/b = p",
                     "+ source/cli/vrf/red/segment/a/fallbackPolicy = p"}),
      {"- source/cli/policy/p", "+ source/cli/policy/q",
       "+ source/cli/vrf/red/segment/a/policy/b = q",
       "+ source/cli/vrf/red/segment/a/fallbackPolicy = q", "- apps/app/web/proto/6"},
      "vrf/red/segment/a/fallbackPolicy = @q");
}

TEST(Orders, ApplicationLosesItsSetsAndProtocolsInAnyOrder) {
  expectTheSameInEveryOrder(
      enabledSource({"+ source/cli/policy/p", "+ apps/app/web", "+ apps/app/web/proto/6",
                     "+ apps/app/web/proto/17", "+ sets/fieldSetL4Port/s",
                     "+ sets/fieldSetL4Port/s/subConfig = sub",
                     "+ sets/fieldSetL4Port/s/subConfig/ports/80-443", "+ sets/fieldSetIpPrefix/t",
                     "+ sets/fieldSetIpPrefix/t/subConfig = sub",
                     "+ sets/fieldSetIpPrefix/t/subConfig/prefixes/10.0.0.0%2F8",
                     "+ apps/app/web/dstPortFieldSet = s", "+ apps/app/web/srcPrefixFieldSet = t",
                     "+ source/cli/policy/p/rule/10 = service=web"}),
      {"- apps/app/web/proto/6",
       "+ apps/app/web/dstPortFieldSet = ", "- sets/fieldSetIpPrefix/t/subConfig/prefixes",
       "- sets/fieldSetL4Port/s", "+ source/cli/policy/p/rule/10 = service=web,log=true"},
      "policy/p/rule/41943041 = seqnum=10,sip=unset,dip=unset,protocol=17,dstPort=0-65535,"
      "srcPort=0-65535,action=drop,log=true,nexthop=none");
}

TEST(Orders, SourceGoesAndItsVrfChangesInAnyOrder) {
  expectTheSameInEveryOrder(
      enabledSource({"+ source/cli/vrf/red/segment/a", "+ source/gnmi", "+ source/gnmi/vrf/blue",
                     "+ ip/vrf/blue", "+ source/gnmi/vrf/blue/segment/b",
                     "+ source/gnmi/enabled = true", "+ source/cli/policy/p"}),
      {"- source/gnmi", "+ source/cli/vrf/blue", "+ source/cli/vrf/blue/segment/c",
       "+ source/cli/vrf/red/segment/a/fallbackPolicy = p", "- ip/vrf/red"},
      "vrf/blue/segment/c = ", {"+ source/cli/vrf/blue"});
}

TEST(Orders, SourceIsDisabledAmongChangesInAnyOrder) {
  expectTheSameInEveryOrder(
      enabledSource({"+ source/cli/vrf/red/segment/a", "+ source/gnmi", "+ source/gnmi/vrf/blue",
                     "+ ip/vrf/blue", "+ source/gnmi/vrf/blue/segment/b",
                     "+ source/gnmi/enabled = true"}),
      {"+ source/gnmi/enabled = false", "+ source/gnmi/vrf/blue/segment/c",
       "- source/gnmi/vrf/blue/segment/b", "+ source/cli/vrf/red/segment/a/fallbackPolicy = p",
       "+ source/cli/policy/p"},
      "vrf/red/segment/a/fallbackPolicy = @p");
}

TEST(Orders, SegmentsAndAVrfGoInAnyOrder) {
  expectTheSameInEveryOrder(
      enabledSource({"+ source/cli/policy/p", "+ cap/globalPrefixListSupported = true",
                     "+ source/cli/vrf/red/segment/a", "+ source/cli/vrf/red/segment/b",
                     "+ source/cli/vrf/red/segment/a/policy/b = p",
                     "+ source/cli/vrf/red/prefix/10.0.0.0%2F8 = b", "+ ip/vrf/blue",
                     "+ source/cli/vrf/blue", "+ source/cli/vrf/blue/segment/c"}),
      {"- source/cli/vrf/red/segment/b", "- source/cli/vrf/red/prefix/10.0.0.0%2F8",
       "- source/cli/vrf/blue", "- ip/vrf/blue", "- source/cli/policy/p"},
      "vrf/red/segment/a = ");
}

TEST(Orders, PrefixListAndAGlobalPrefixOfTheSamePrefixArriveInAnyOrder) {
  expectTheSameInEveryOrder(enabledSource({"+ cap/globalPrefixListSupported = true",
                                           "+ source/cli/vrf/red/segment/a", "+ acl/prefixList/y"}),
                            {"+ source/cli/vrf/red/segment/a/prefixIpv4Ml = prefixList:y",
                             "+ acl/prefixList/y/prefixEntry/10 = prefix=10.0.0.0/8,action=permit",
                             "+ source/cli/vrf/red/prefix/10.0.0.0%2F8 = b",
                             "+ source/cli/vrf/red/segment/b", "+ lists/main"},
                            "vrf/red/prefixList/10.0.0.0%2F8 = b");
}

TEST(Orders, InterfaceMovesToAnotherVrfInAnyOrder) {
  expectTheSameInEveryOrder(
      enabledSource({"+ intf/intfStatus/Ethernet1", "+ ip/ipIntfStatus/Ethernet1 = red",
                     "+ source/cli/vrf/red/segment/a", "+ ip/vrf/blue", "+ source/cli/vrf/blue",
                     "+ source/cli/vrf/blue/segment/a",
                     "+ source/cli/vrf/red/segment/a/className = __VRF_red_segment_a",
                     "+ source/cli/classMap/__VRF_red_segment_a",
                     "+ source/cli/classMap/__VRF_red_segment_a/intfVlanData/Ethernet1",
                     "+ source/cli/classMap/__VRF_blue_segment_a"}),
      {"+ ip/ipIntfStatus/Ethernet1 = blue",
       "- source/cli/classMap/__VRF_red_segment_a/intfVlanData/Ethernet1",
       "+ source/cli/classMap/__VRF_blue_segment_a/intfVlanData/Ethernet1",
       "+ source/cli/vrf/blue/segment/a/className = __VRF_blue_segment_a",
       "+ source/cli/vrf/red/segment/a/className = "},
      "vrf/blue/segment/a/intfVlanRangeSet/Ethernet1/className = __VRF_blue_segment_a");
}

TEST(Orders, SecondSourceWithTheSameVrfIsEnabledAmongChangesInAnyOrder) {
  expectTheSameInEveryOrder(
      enabledSource({"+ source/gnmi", "+ source/gnmi/vrf/red", "+ source/gnmi/policy/q",
                     "+ source/cli/vrf/red/segment/a"}),
      {"+ source/gnmi/enabled = true", "+ source/gnmi/vrf/red/segment/b",
       "+ source/gnmi/vrf/red/segment/b/policy/a = q",
       "+ source/gnmi/vrf/red/segment/b/fallbackPolicy = q", "+ source/cli/policy/p"},
      "vrf/red/segment/b/fromSegment/a = segment=@a,policy=@q",
      {"+ source/gnmi/vrf/red/segment/b"});
}

// Without what docs/behaviour.md says depends on the order: policies are there before
// "forwarding-segments" names them, interfaces before their class maps, and no two lists claim one
// prefix.
TEST(Orders, WholeConfigurationArrivesInSomeOfItsOrders) {
  const std::string red = "+ source/cli/vrf/red";
  const std::string classMaps = "+ source/cli/classMap/";
  expectTheSameInSomeOrders(
      {"start", "+ source/cli", "+ intf/intfStatus/Ethernet1", "+ intf/intfStatus/Ethernet2",
       "+ source/cli/policy/p", "+ cap/globalPrefixListSupported = true",
       "+ cap/forwardingSegmentsPolicySupported = true", "+ cap/portRangeBlocksRequired = true"},
      {
          "+ source/cli/enabled = true",
          "+ ip/vrf/red",
          "+ ip/ipIntfStatus/Ethernet1 = red",
          "+ lists/main",
          "+ source/cli/forwardType = routed",
          "+ source/cli/policy/p/rule/10 = service=web,action=forward",
          "+ source/cli/policy/p/rule/20 = service=dns,action=drop",
          "+ source/cli/policy/q/rule/5 = service=web,action=drop,log=true",
          "+ apps/app/web/proto/6",
          "+ apps/app/web/dstPortFieldSet = s",
          "+ sets/fieldSetL4Port/s/subConfig/ports/1000-1999",
          "+ apps/app/dns/proto/17",
          "+ apps/app/dns/srcPrefixFieldSet = t",
          "+ sets/fieldSetIpPrefix/t/subConfig/prefixes/192.0.2.0%2F24",
          red + "/prefix/10.1.0.0%2F16 = b",
          red + "/segment/a/prefixIpv4Ml = matchList:x",
          red + "/segment/a/prefixIpv6Ml = matchList:x",
          red + "/segment/b/prefixIpv4Ml = prefixList:y",
          "+ lists/main/matchIpv4PrefixList/x/subnets/10.0.0.0%2F8",
          "+ lists/main/matchIpv6PrefixList/x/subnets/2001:db8::%2F32",
          "+ acl/prefixList/y/prefixEntry/10 = prefix=10.2.0.0/16,action=permit",
          "+ acl/prefixList/y/prefixEntry/20 = prefix=10.3.0.0/16,action=deny",
          red + "/segment/a/className = __VRF_red_segment_a",
          classMaps + "__VRF_red_segment_a/intfVlanData/Ethernet1",
          red + "/segment/a/policy/b = p",
          red + "/segment/a/fallbackPolicy = q",
          red + "/segment/b/policy/forwarding-segments = p",
          "+ source/cli/l2SegmentDir/segment/v/className = __segment_v",
          classMaps + "__segment_v/intfVlanData/Ethernet2/vlanRange/100-199",
      },
      "vrf/red/segment/b/fromSegment/a = segment=@a,policy=@p",
      {"+ source/cli/policy/q", "+ apps/app/web", "+ apps/app/dns", "+ sets/fieldSetL4Port/s",
       "+ sets/fieldSetL4Port/s/subConfig = s", "+ sets/fieldSetIpPrefix/t",
       "+ sets/fieldSetIpPrefix/t/subConfig = t", red, red + "/segment/a", red + "/segment/b",
       "+ lists/main/matchIpv4PrefixList/x", "+ lists/main/matchIpv6PrefixList/x",
       "+ acl/prefixList/y", classMaps + "__VRF_red_segment_a", classMaps + "__segment_v",
       classMaps + "__segment_v/intfVlanData/Ethernet2", "+ source/cli/l2SegmentDir = l2",
       "+ source/cli/l2SegmentDir/segment/v"});
}

}  // namespace
