// Changes that make up one wish, in every order: the output is the same whichever comes first, and
// each order is right by the plain model.
#include <gtest/gtest.h>

#include <algorithm>

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

// `expected` is a line of the output that the changes are to bring.
void expectTheSameInEveryOrder(const History& before, History changes,
                               const std::string& expected) {
  std::ranges::sort(changes);
  Lines first;
  do {
    History history = before;
    history.insert(history.end(), changes.begin(), changes.end());
    const Lines output = outputAfter(history);
    if (first.empty()) first = output;
    ASSERT_GT(std::ranges::count(output, expected), 0) << Plain::asTest(history);
    ASSERT_EQ(output, first) << Plain::asTest(history);
    ASSERT_EQ(differenceIn(history), "") << Plain::asTest(history);
  } while (std::ranges::next_permutation(changes).found);
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

}  // namespace
