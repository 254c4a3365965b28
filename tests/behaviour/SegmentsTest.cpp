#include "tests/behaviour/Behaviour.h"

namespace {

using BehaviourTest::Behaviour;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Segment a forwards to b and has an interface; b takes from the subscribers by policy p.
class Segments : public Behaviour {
 protected:
  void SetUp() override {
    Behaviour::SetUp();
    given({"- source/gnmi/vrf/red/segment/a", "+ source/cli/policy/p",
           "+ cap/forwardingSegmentsPolicySupported = true", "+ intf/intfStatus/Ethernet1",
           "+ ip/ipIntfStatus/Ethernet1 = red", "+ source/cli/classMap/__VRF_red_segment_a",
           "+ source/cli/classMap/__VRF_red_segment_a/intfVlanData/Ethernet1",
           "+ source/cli/vrf/red/segment/a/className = __VRF_red_segment_a",
           "+ source/cli/vrf/red/segment/b", "+ source/cli/vrf/red/segment/a/policy/b = p",
           "+ source/cli/vrf/red/segment/b/policy/forwarding-segments = p"});
  }
  const std::string fromA_ = "vrf/red/segment/b/fromSegment/a";
  const std::string intf_ = "vrf/red/segment/a/intfVlanRangeSet/Ethernet1";
};

// A segment that lost its interfaces still counts as a subscriber, also when it is reported on
// the service side, and services keep their links from it. Remove the segment and add it again.
TEST_F(Segments, SegmentWithoutInterfacesStillCountsAsSubscriber) {
  EXPECT_TRUE(has(fromA_));
  given({"- source/cli/classMap/__VRF_red_segment_a/intfVlanData/Ethernet1"});
  EXPECT_FALSE(has(intf_));
  EXPECT_TRUE(has(fromA_));
  given({"+ source/cli/vrf/red/segment/a/policy/c = p"});  // reports it on the service side
  EXPECT_TRUE(has(fromA_));
  given({"- source/cli/vrf/red/segment/a", "+ source/cli/vrf/red/segment/a",
         "+ source/cli/vrf/red/segment/a/policy/b = p"});
  EXPECT_FALSE(has(fromA_));
}

// A policy or a segment that comes or goes in one source links or unlinks the segments of every
// enabled source that name it. Name in a source what that source has.
TEST_F(Segments, WhatComesAndGoesInOneSourceLinksTheSegmentsOfAll) {
  const std::string link = "vrf/red/segment/a/fromSegment/c";
  given({"+ source/cli/vrf/red/segment/a/policy/c = q", "+ source/gnmi/enabled = true",
         "+ source/gnmi/policy/q"});
  EXPECT_FALSE(has(link));
  given({"+ source/gnmi/vrf/red/segment/c"});
  EXPECT_EQ(at(link), "segment=@c,policy=@q");
  given({"- source/gnmi/policy/q"});
  EXPECT_FALSE(has(link));
  given({"+ source/gnmi/policy/q"});
  EXPECT_TRUE(has(link));
  given({"- source/gnmi/vrf/red/segment/c"});
  EXPECT_FALSE(has(link));
}

// A segment that leaves a source while another, even a disabled one, has it stays in the tables,
// with the links to it and the from-segments that the other names. Remove it from all of them.
TEST_F(Segments, SegmentThatADisabledSourceHasStaysWithItsLinks) {
  given({"+ source/cli/vrf/red/segment/c", "+ source/cli/vrf/red/segment/a/policy/c = p",
         "+ source/gnmi/vrf/red/segment/a", "+ source/gnmi/vrf/red/segment/a/policy/b = p",
         "- source/cli/vrf/red/segment/a"});
  EXPECT_TRUE(has("vrf/red/segment/a/fromSegment/b"));
  EXPECT_FALSE(has("vrf/red/segment/a/fromSegment/c"));
  EXPECT_TRUE(has(fromA_));
  given({"- source/gnmi/vrf/red/segment/a", "+ source/cli/vrf/red/segment/a",
         "- source/cli/vrf/red/segment/a"});
  EXPECT_FALSE(has("vrf/red/segment/a/className"));
  EXPECT_FALSE(has(fromA_));
}

// Of two sources with a segment of one name, what either stops to name goes for both: links, the
// fallback policy, the class map. Give a segment to one source.
TEST_F(Segments, OfTwoSourcesEitherTakesAwayForBoth) {
  const std::string other = "source/gnmi/vrf/red/segment/a";
  given({"+ source/gnmi/enabled = true", "+ " + other});
  for (const std::string segment :
       {"source/cli/vrf/red/segment/a", "source/gnmi/vrf/red/segment/a"}) {
    given({"+ " + segment + "/policy/a = p", "+ " + segment + "/fallbackPolicy = p",
           "+ " + segment + "/className = __VRF_red_segment_a"});
  }
  const std::string link = "vrf/red/segment/a/fromSegment/a";
  const std::string fallback = "vrf/red/segment/a/fallbackPolicy";
  EXPECT_TRUE(has(link));
  EXPECT_EQ(at(fallback), "@p");
  given({"- " + other + "/policy/a",
         "+ " + other + "/fallbackPolicy = ", "+ " + other + "/className = "});
  EXPECT_FALSE(has(link));
  EXPECT_EQ(at(fallback), "");
  EXPECT_EQ(at("vrf/red/segment/a/className"), "");
}

// Of two sources with a segment of one name, the one that removes it leaves the fallback policy
// that it had named. Clear that first.
TEST_F(Segments, OfTwoSourcesTheOneThatRemovesASegmentLeavesItsFallbackPolicy) {
  const std::string other = "source/gnmi/vrf/red/segment/a";
  const std::string fallback = "vrf/red/segment/a/fallbackPolicy";
  given({"+ source/gnmi/enabled = true", "+ " + other, "+ " + other + "/fallbackPolicy = p",
         "- " + other});
  EXPECT_EQ(at(fallback), "@p");
  given({"+ " + other, "+ " + other + "/fallbackPolicy = p",
         "+ " + other + "/fallbackPolicy = ", "- " + other});
  EXPECT_EQ(at(fallback), "");
}

// A policy that appears after "forwarding-segments" named it does not link the subscribers.
// Remove the entry and add it again.
TEST_F(Segments, LaterPolicyOfForwardingSegmentsDoesNotLink) {
  given({"+ source/cli/vrf/red/segment/b/policy/forwarding-segments = q", "+ source/cli/policy/q"});
  EXPECT_FALSE(has(fromA_));
  given({"- source/cli/vrf/red/segment/b/policy/forwarding-segments",
         "+ source/cli/vrf/red/segment/b/policy/forwarding-segments = q"});
  EXPECT_EQ(at(fromA_), "segment=@a,policy=@q");
}

// Setting or removing "forwarding-segments" unlinks the segment's other from-segments. Name
// either the one or the others.
TEST_F(Segments, ForwardingSegmentsUnlinksTheOthers) {
  given({"+ source/cli/vrf/red/segment/c", "+ source/cli/vrf/red/segment/b/policy/c = p"});
  EXPECT_TRUE(has("vrf/red/segment/b/fromSegment/c"));
  given({"+ source/cli/policy/q", "+ source/cli/vrf/red/segment/b/policy/forwarding-segments = q"});
  EXPECT_FALSE(has("vrf/red/segment/b/fromSegment/c"));
  given({"+ source/cli/vrf/red/segment/b/policy/c = q",
         "- source/cli/vrf/red/segment/b/policy/forwarding-segments"});
  EXPECT_THAT(below("vrf/red/segment/b/fromSegment"), IsEmpty());
}

// When the hardware begins to support "forwarding-segments", every segment without interfaces
// loses its from-segments, those too that do not name it. Support it before sources are
// enabled, or disable and enable them.
TEST_F(Segments, SupportForForwardingSegmentsUnlinksSegmentsThatDoNotNameIt) {
  given({"+ cap/forwardingSegmentsPolicySupported = false", "+ source/cli/vrf/red/segment/c",
         "+ source/cli/vrf/red/segment/d", "+ source/cli/vrf/red/segment/c/policy/d = p"});
  EXPECT_TRUE(has("vrf/red/segment/c/fromSegment/d"));
  given({"+ cap/forwardingSegmentsPolicySupported = true"});
  EXPECT_FALSE(has("vrf/red/segment/c/fromSegment/d"));
  disableAndEnable({"cli"});
  EXPECT_TRUE(has("vrf/red/segment/c/fromSegment/d"));
}

// Links from "forwarding-segments" stay when the hardware's support for it goes, also when the
// entry is removed after that. Remove the entry first.
TEST_F(Segments, LinksStayWhenTheSupportForForwardingSegmentsGoes) {
  const std::string entry = "source/cli/vrf/red/segment/b/policy/forwarding-segments";
  given({"+ cap/forwardingSegmentsPolicySupported = false"});
  EXPECT_TRUE(has(fromA_));
  given({"- " + entry});
  EXPECT_TRUE(has(fromA_));
  given({"+ cap/forwardingSegmentsPolicySupported = true", "+ " + entry + " = p", "- " + entry,
         "+ cap/forwardingSegmentsPolicySupported = false"});
  EXPECT_FALSE(has(fromA_));
}

// A disabled source leaves its segments in a VRF that another enabled source has: without
// subnets and from-segments, but with interfaces and fallback policy. Remove them before
// disabling it.
TEST_F(Segments, SegmentsOfADisabledSourceKeepInterfacesAndFallback) {
  given({"+ lists/main/matchIpv4PrefixList/x",
         "+ lists/main/matchIpv4PrefixList/x/subnets/10.0.0.0%2F8",
         "+ source/cli/vrf/red/segment/a/prefixIpv4Ml = matchList:x",
         "+ source/cli/vrf/red/segment/a/fallbackPolicy = p", "+ source/gnmi/enabled = true"});
  EXPECT_TRUE(has("vrf/red/segment/a/fromSegment/b"));
  given({"+ source/cli/enabled = false"});
  EXPECT_THAT(below("vrf/red/segment/a/subnets"), IsEmpty());
  EXPECT_THAT(below("vrf/red/segment/a/fromSegment"), IsEmpty());
  EXPECT_TRUE(has(intf_));
  EXPECT_EQ(at("vrf/red/segment/a/fallbackPolicy"), "@p");
}

// Unbinding the last interface does not make a segment a service. Clear its class map name and
// set it again.
TEST_F(Segments, SegmentIsNoServiceUntilItsClassMapIsSetAgain) {
  given({"- source/cli/vrf/red/segment/b/policy/forwarding-segments",
         "+ source/cli/vrf/red/segment/b/policy/a = p",
         "+ source/cli/vrf/red/segment/a/policy/forwarding-segments = p",
         "+ source/cli/classMap/__VRF_red_segment_b",
         "+ source/cli/classMap/__VRF_red_segment_b/intfVlanData/Ethernet1",
         "- source/cli/classMap/__VRF_red_segment_a/intfVlanData/Ethernet1",
         "+ source/cli/vrf/red/segment/b/className = __VRF_red_segment_b"});
  EXPECT_FALSE(has("vrf/red/segment/a/fromSegment/b")) << "a is told of no subscriber";
  given({"+ source/cli/vrf/red/segment/a/className = ",
         "+ source/cli/vrf/red/segment/a/className = __VRF_red_segment_a",
         "+ source/cli/vrf/red/segment/b/className = ",
         "+ source/cli/vrf/red/segment/b/className = __VRF_red_segment_b"});
  EXPECT_TRUE(has("vrf/red/segment/a/fromSegment/b"));
}

// An interface that appears after its class map is not bound by that. Remove it from the class
// map and add it again, or route it.
TEST_F(Segments, LaterInterfaceIsNotBound) {
  given({"+ ip/ipIntfStatus/Ethernet2 = red",
         "+ source/cli/classMap/__VRF_red_segment_a/intfVlanData/Ethernet2",
         "+ intf/intfStatus/Ethernet2"});
  EXPECT_FALSE(has("vrf/red/segment/a/intfVlanRangeSet/Ethernet2"));
  given({"- source/cli/classMap/__VRF_red_segment_a/intfVlanData/Ethernet2",
         "+ source/cli/classMap/__VRF_red_segment_a/intfVlanData/Ethernet2"});
  EXPECT_TRUE(has("vrf/red/segment/a/intfVlanRangeSet/Ethernet2"));
}

// An interface that goes stays bound where its class map had bound it, until it is removed from
// that. Remove it from the class map first.
TEST_F(Segments, InterfaceThatGoesStaysBound) {
  given({"- intf/intfStatus/Ethernet1"});
  EXPECT_TRUE(has(intf_));
  given({"- ip/ipIntfStatus/Ethernet1"});
  EXPECT_TRUE(has(intf_)) << "nobody looks at an interface without a status";
  given({"- source/cli/classMap/__VRF_red_segment_a/intfVlanData/Ethernet1"});
  EXPECT_FALSE(has(intf_));
}

// Of two sources with a class map of one name, the one that removes an interface or the class map
// unbinds it for both, and the one that changed last gives an interface its VLANs. Define it in
// one source.
TEST_F(Segments, WhoRemovesAClassMapOfTwoSourcesUnbindsItForBoth) {
  given({"+ source/gnmi/enabled = true", "+ source/gnmi/classMap/__VRF_red_segment_a",
         "+ source/gnmi/classMap/__VRF_red_segment_a/intfVlanData/Ethernet1"});
  EXPECT_TRUE(has(intf_));
  given({"- source/gnmi/classMap/__VRF_red_segment_a"});
  EXPECT_FALSE(has(intf_));
  given({"+ source/cli/l2SegmentDir = l2", "+ source/cli/l2SegmentDir/segment/v",
         "+ source/cli/l2SegmentDir/segment/v/className = __segment_v"});
  const std::string vlans = "l2Seg/segment/v/intfVlanRangeSet/Ethernet1/vlanRange";
  for (const std::string source : {"cli", "gnmi", "cli"}) {
    const std::string map = "source/" + source + "/classMap/__segment_v";
    const std::string vlan = source == "cli" ? "100" : "200";
    given({"+ " + map, "+ " + map + "/intfVlanData/Ethernet1",
           "- " + map + "/intfVlanData/Ethernet1/vlanRange/" + vlan,
           "+ " + map + "/intfVlanData/Ethernet1/vlanRange/" + vlan});
    EXPECT_THAT(below(vlans), ElementsAre(vlans + "/" + vlan + " = "));
  }
}

// A segment of a VRF takes whole interfaces: VLAN ranges are followed in the L2 directory
// alone.
TEST_F(Segments, VlanRangesAreFollowedInTheL2DirectoryAlone) {
  given({"+ source/cli/classMap/__VRF_red_segment_a/intfVlanData/Ethernet1/vlanRange/100",
         "+ source/cli/l2SegmentDir = l2", "+ source/cli/l2SegmentDir/segment/v",
         "+ source/cli/l2SegmentDir/segment/v/className = __segment_v",
         "+ source/cli/classMap/__segment_v",
         "+ source/cli/classMap/__segment_v/intfVlanData/Ethernet1",
         "+ source/cli/classMap/__segment_v/intfVlanData/Ethernet1/vlanRange/100"});
  EXPECT_THAT(below(intf_ + "/vlanRange"), IsEmpty());
  EXPECT_THAT(below("l2Seg/segment/v/intfVlanRangeSet/Ethernet1/vlanRange"),
              ElementsAre("l2Seg/segment/v/intfVlanRangeSet/Ethernet1/vlanRange/100 = "));
}

// A segment of a VRF that names a class map of the L2 directory has the VLAN ranges of that moment,
// until it names one of its VRF. Name one of its VRF.
TEST_F(Segments, ClassMapOfTheL2DirectoryGivesASegmentOfAVrfItsRangesOnce) {
  const std::string data = "source/cli/classMap/__segment_v/intfVlanData/Ethernet1";
  const std::string ranges = intf_ + "/vlanRange";
  given({"+ source/cli/classMap/__segment_v", "+ " + data, "+ " + data + "/vlanRange/100",
         "+ source/cli/vrf/red/segment/a/className = __segment_v"});
  EXPECT_THAT(below(ranges), ElementsAre(ranges + "/100 = "));
  given({"+ " + data + "/vlanRange/200"});
  EXPECT_THAT(below(ranges), ElementsAre(ranges + "/100 = "));
  given({"+ source/cli/vrf/red/segment/a/className = __VRF_red_segment_a"});
  EXPECT_TRUE(has(intf_));
  EXPECT_THAT(below(ranges), IsEmpty());
}

}  // namespace
