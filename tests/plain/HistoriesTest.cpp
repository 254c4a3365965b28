// Histories that once showed a difference between the library and the plain model.
#include <gtest/gtest.h>

#include "tests/plain/Life.h"

namespace {

using Plain::differenceIn;

TEST(Histories, L2SegmentThatTwoSourcesMadeGoesWithTheLinksToIt) {
  EXPECT_EQ(differenceIn({
                "start",
                "+ source/cli",
                "+ source/gnmi",
                "+ source/gnmi/l2SegmentDir = l2",
                "+ source/gnmi/l2SegmentDir/segment/a",
                "+ source/gnmi/l2SegmentDir/segment/a/policy/d = r",
                "+ source/cli/enabled = true",
                "+ source/gnmi/enabled = true",
                "+ source/cli/l2SegmentDir = l2",
                "+ source/cli/l2SegmentDir/segment/d",
                "+ source/cli/policy/r",
                "+ source/cli/l2SegmentDir/segment/a",
                "+ source/gnmi/l2SegmentDir/segment/d",
                "- source/cli/l2SegmentDir/segment/d",
            }),
            "");
}

TEST(Histories, GlobalPrefixOfAnUnconfiguredSegmentIsThatOfTheNextSourceThroughout) {
  EXPECT_EQ(differenceIn({
                "+ source/cli",
                "+ source/cli/enabled = true",
                "start",
                "+ source/gnmi",
                "+ source/gnmi/enabled = true",
                "+ source/cli/vrf/red",
                "+ source/cli/vrf/red/segment/a",
                "+ source/cli/vrf/red/prefix/0.0.0.0%2F0 = d",
                "+ source/gnmi/vrf/red",
                "+ source/gnmi/vrf/red/prefix/0.0.0.0%2F0 = a",
                "+ cap/globalPrefixListSupported = true",
                "+ ip/vrf/red",
            }),
            "");
}

TEST(Histories, GlobalPrefixPassesBetweenTheSourcesOfAStoppingRoot) {
  EXPECT_EQ(differenceIn({
                "start",
                "+ source/cli",
                "+ source/cli/enabled = true",
                "+ source/api",
                "+ source/gnmi",
                "+ source/api/vrf/default",
                "+ source/api/vrf/default/segment/d",
                "+ source/gnmi/vrf/default",
                "+ source/gnmi/vrf/default/prefix/10.1.0.0%2F16 = c",
                "+ cap/globalPrefixListSupported = true",
                "+ source/gnmi/enabled = true",
                "+ source/cli/vrf/default",
                "+ source/cli/vrf/default/prefix/10.1.0.0%2F16 = d",
            }),
            "");
}

TEST(Histories, MissingPrefixSetEmptiesTheServiceAfterItsProtocols) {
  EXPECT_EQ(differenceIn({
                "start",
                "+ source/api/enabled = true",
                "+ apps/app/dns",
                "+ apps/app/dns/dstPrefixFieldSet = t",
                "+ source/api",
                "+ sets/fieldSetIpPrefix/t",
                "+ sets/fieldSetIpPrefix/t/subConfig = sub",
                "+ sets/fieldSetIpPrefix/t/subConfig/prefixes/0.0.0.0%2F0",
                "+ apps/app/dns/proto/6",
                "- sets/fieldSetIpPrefix/t",
            }),
            "");
}

TEST(Histories, FallbackPolicyOfASegmentLeftBehindGoesWithThePolicy) {
  EXPECT_EQ(differenceIn({
                "+ source/cli",
                "+ source/cli/enabled = true",
                "start",
                "+ source/api",
                "+ source/gnmi",
                "+ source/gnmi/enabled = true",
                "+ source/gnmi/vrf/default",
                "+ source/gnmi/vrf/default/segment/c",
                "+ source/api/vrf/default",
                "+ source/gnmi/vrf/default/segment/c/fallbackPolicy = q",
                "+ source/cli/policy/q",
                "+ source/api/enabled = true",
                "+ source/gnmi/enabled = false",
                "- source/cli/policy/q",
            }),
            "");
}

TEST(Histories, FallbackPolicyOfAnL2SegmentLeftBehindGoesWithThePolicy) {
  EXPECT_EQ(differenceIn({
                "start",
                "+ source/cli",
                "+ source/cli/enabled = true",
                "+ source/cli/policy/q",
                "+ source/gnmi",
                "+ source/gnmi/enabled = true",
                "+ source/gnmi/l2SegmentDir = l2",
                "+ source/gnmi/l2SegmentDir/segment/c",
                "+ source/gnmi/l2SegmentDir/segment/c/fallbackPolicy = q",
                "+ source/api",
                "+ source/api/l2SegmentDir = l2",
                "+ source/api/enabled = true",
                "+ source/gnmi/enabled = false",
                "- source/cli/policy/q",
            }),
            "");
}

TEST(Histories, StatusLosesTheServiceBeforeAnotherSourceTakesItsRuleOver) {
  EXPECT_EQ(differenceIn({
                "start",
                "+ apps/app/dns",
                "+ apps/app/dns/proto/17",
                "+ apps/app/web",
                "+ apps/app/web/proto/6",
                "+ source/api",
                "+ source/api/policy/p",
                "+ source/api/policy/p/rule/10 = service=dns",
                "+ source/api/enabled = true",
                "+ source/cli",
                "+ source/cli/policy/p",
                "+ source/cli/policy/p/rule/10 = service=web",
                "+ source/cli/enabled = true",
                "- apps/app/web",
            }),
            "");
}

TEST(Histories, SegmentThatAnotherSourceReplacedIsNobodysReceiver) {
  EXPECT_EQ(differenceIn({
                "+ source/cli",
                "+ source/cli/enabled = true",
                "+ source/api",
                "+ source/api/enabled = true",
                "+ source/gnmi",
                "start",
                "+ source/gnmi/l2SegmentDir = l2",
                "+ source/gnmi/l2SegmentDir/segment/b",
                "+ source/gnmi/l2SegmentDir/segment/a",
                "+ source/cli/policy/r",
                "+ source/api/l2SegmentDir = l2",
                "+ source/gnmi/enabled = true",
                "+ source/api/l2SegmentDir/segment/a",
                "+ source/gnmi/l2SegmentDir/segment/a/policy/b = r",
            }),
            "");
}

}  // namespace
