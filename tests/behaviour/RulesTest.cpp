#include "tests/behaviour/Behaviour.h"

namespace {

using BehaviourTest::Behaviour;
using Plain::Lines;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

class Rules : public Behaviour {
 protected:
  // A port set or a prefix set, named by an application as such.
  void set(const std::string& name, const std::string& what) {
    const std::string above = "+ sets/fieldSetL4Port/" + name;
    given({above, above + "/subConfig = " + name, above + "/subConfig/ports/" + what});
  }
  void prefixSet(const std::string& name, const std::string& prefix) {
    const std::string above = "+ sets/fieldSetIpPrefix/" + name;
    given({above, above + "/subConfig = " + name, above + "/subConfig/prefixes/" + prefix});
  }
};

// Ports count for TCP and UDP alone. An application with ports and prefixes but no protocol, or
// with all protocols, matches every port: give it protocol 6 or 17.
TEST_F(Rules, PortsCountForTcpAndUdpAlone) {
  set("s", "80");
  prefixSet("t", "192.0.2.0%2F24");
  given({"+ apps/app/web", "+ apps/app/web/dstPortFieldSet = s",
         "+ apps/app/web/dstPrefixFieldSet = t"});
  rule("10", "web");
  EXPECT_THAT(rules(), ElementsAre("protocol=,dstPort=0-65535,srcPort=0-65535"));
  given({"+ apps/app/web/proto/0-255"});
  EXPECT_THAT(rules(), ElementsAre("protocol=,dstPort=0-65535,srcPort=0-65535"));
  given({"+ apps/app/web/proto/6", "- apps/app/web/proto/0-255"});
  EXPECT_THAT(rules(), ElementsAre("protocol=6,dstPort=80,srcPort=0-65535"));
}

// An application with ports alone installs nothing: give it a protocol.
TEST_F(Rules, ApplicationWithPortsAloneInstallsNothing) {
  set("s", "80");
  given({"+ apps/app/web", "+ apps/app/web/dstPortFieldSet = s"});
  rule("10", "web");
  EXPECT_THAT(rules(), IsEmpty());
  given({"+ apps/app/web/proto/6"});
  EXPECT_THAT(rules(), SizeIs(1));
}

// A range of ports that becomes wider leaves the narrower ones, or blocks, that it had been,
// beside it; they match nothing more. Disable and enable the sources to be rid of them.
TEST_F(Rules, PortRangeInsideALargerNewOneStays) {
  application("web", "6");
  rule("10", "web");
  set("s", "100-199");
  given({"+ apps/app/web/dstPortFieldSet = s"});
  given({"+ sets/fieldSetL4Port/s/subConfig/ports/1-1000",
         "- sets/fieldSetL4Port/s/subConfig/ports/100-199"});
  EXPECT_THAT(rules(), ElementsAre("protocol=6,dstPort=1-1000,srcPort=0-65535",
                                   "protocol=6,dstPort=100-199,srcPort=0-65535"));
  disableAndEnable({"cli"});
  EXPECT_THAT(rules(), ElementsAre("protocol=6,dstPort=1-1000,srcPort=0-65535"));
  given({"+ cap/portRangeBlocksRequired = true", "- sets/fieldSetL4Port/s/subConfig/ports/1-1000",
         "+ sets/fieldSetL4Port/s/subConfig/ports/96-127",
         "+ sets/fieldSetL4Port/s/subConfig/ports/64-127",
         "- sets/fieldSetL4Port/s/subConfig/ports/96-127"});
  EXPECT_THAT(rules(), ElementsAre("protocol=6,dstPort=64-127,srcPort=0-65535",
                                   "protocol=6,dstPort=96-127,srcPort=0-65535"));
}

// Two ranges of one port set that start at the same port take each other's place, and the later
// one wins, as do the blocks that ranges are split into. Do not let ranges overlap.
TEST_F(Rules, OfTwoRangesWithOneStartTheLaterWins) {
  application("web", "6");
  rule("10", "web");
  set("s", "80-443");
  given({"+ apps/app/web/dstPortFieldSet = s", "+ sets/fieldSetL4Port/s/subConfig/ports/80"});
  EXPECT_THAT(rules(), ElementsAre("protocol=6,dstPort=80,srcPort=0-65535"));
  given({"+ cap/portRangeBlocksRequired = true", "- sets/fieldSetL4Port/s/subConfig/ports/80-443",
         "- sets/fieldSetL4Port/s/subConfig/ports/80",
         "+ sets/fieldSetL4Port/s/subConfig/ports/63-127",
         "+ sets/fieldSetL4Port/s/subConfig/ports/64"});
  EXPECT_THAT(rules(), ElementsAre("protocol=6,dstPort=63,srcPort=0-65535",
                                   "protocol=6,dstPort=64,srcPort=0-65535"));
}

// A range with start above end raises a range error at whoever publishes it. The rules stay as
// they were until a good version comes.
TEST_F(Rules, RangeTheWrongWayRoundIsRefusedToWhoPublishesIt) {
  application("web", "6");
  rule("10", "web");
  set("s", "80");
  given({"+ apps/app/web/dstPortFieldSet = s"});
  const Lines before = rules();
  EXPECT_EQ(refusalOf("+ sets/fieldSetL4Port/s/subConfig/ports/443-81"),
            "Firewall::PortRange::start > _end not allowed");
  EXPECT_EQ(rules(), before);
  given({"- sets/fieldSetL4Port/s/subConfig/ports/443-81",
         "+ sets/fieldSetL4Port/s/subConfig/ports/443"});
  EXPECT_THAT(rules(), SizeIs(2));
}

// Every combination of prefixes, protocols and ports is a rule, of IPv4 with IPv6 too, and of a
// protocol range each value is one; only 0-255 (for IPv4 also 1-255) is a single rule. Keep
// sets small, and families in applications of their own.
TEST_F(Rules, EveryCombinationIsARule) {
  application("web", "4-7");
  rule("10", "web");
  prefixSet("t", "192.0.2.0%2F24");
  given({"+ sets/fieldSetIpPrefix/t/subConfig/prefixes/2001:db8::%2F32",
         "+ apps/app/web/srcPrefixFieldSet = t", "+ apps/app/web/dstPrefixFieldSet = t"});
  EXPECT_THAT(rules(), SizeIs(2 * 2 * 4));
  EXPECT_THAT(below("policy/p/rule"), Contains(HasSubstr("sip=192.0.2.0/24,dip=2001:db8::/32")));
  given({"+ apps/app/web/proto/0-255", "- apps/app/web/proto/4-7"});
  EXPECT_THAT(rules(), SizeIs(2 * 2));
  given({"+ apps/app/web/proto/1-255", "- apps/app/web/proto/0-255"});
  EXPECT_THAT(rules(), SizeIs(2 * 2 * 255));
  given({"+ apps/app/web/af = ipv4"});
  EXPECT_THAT(rules(), SizeIs(2 * 2));
}

// Each single change of a field set compiles the applications that name it, once in every
// enabled source. Fill a large set first and name it then.
TEST_F(Rules, ChangeOfAFieldSetCompilesOnceInEverySource) {
  given({"+ source/gnmi/enabled = true"});
  application("web", "6");
  set("s", "80");
  given({"+ apps/app/web/dstPortFieldSet = s"});
  const int before = std::stoi(at("services/web/version"));
  given({"+ sets/fieldSetL4Port/s/subConfig/ports/443"});
  EXPECT_EQ(std::stoi(at("services/web/version")), before + 2);
}

// A rule whose application is unknown is silently absent until the application appears.
TEST_F(Rules, RuleOfAnUnknownApplicationWaitsForIt) {
  rule("10", "web");
  EXPECT_THAT(rules(), IsEmpty());
  application("web", "6");
  EXPECT_THAT(rules(), SizeIs(1));
}

// Sequence numbers above 1023 reach only hardware that takes whole services. Number rules from
// 0 to 1023.
TEST_F(Rules, SequenceNumbersAbove1023NeedHardwareThatTakesServices) {
  application("web", "6");
  rule("1023", "web");
  rule("1024", "web");
  EXPECT_THAT(below("policy/p/rule/"), ElementsAre(HasSubstr("seqnum=1023")));
  given({"+ cap/serviceRuleSupported = true"});
  disableAndEnable({"cli"});
  EXPECT_TRUE(has("policy/p/serviceRule/1024"));
}

// A rule without an action drops.
TEST_F(Rules, RuleWithoutAnActionDrops) {
  application("web", "6");
  given({"+ source/cli/policy/p", "+ source/cli/policy/p/rule/10 = service=web"});
  EXPECT_THAT(below("policy/p/rule/"), ElementsAre(HasSubstr("action=drop")));
}

// Rule identifiers are reused as soon as they are free, also while one rule is recompiled. Do
// not keep them.
TEST_F(Rules, IdentifiersAreReusedAtOnce) {
  application("web", "6-7");
  rule("1", "web");
  const Lines writes = writesOf("+ apps/app/web/proto/17");
  for (const char* id : {"4194305", "4194306"}) {
    EXPECT_THAT(writes, Contains("- policy/p/rule/" + std::string(id)));
    EXPECT_THAT(writes, Contains(HasSubstr("+ policy/p/rule/" + std::string(id) + " = ")));
  }
}

// A changed rule is deleted and written again without `updateInProgress`; a changed service
// with it. Between two writes the rule is missing.
TEST_F(Rules, ChangedRuleIsMissingBetweenTwoWrites) {
  application("web", "6");
  rule("1", "web");
  const Lines writes = writesOf("+ source/cli/policy/p/rule/1 = service=web,action=drop");
  EXPECT_THAT(writes, ElementsAre("- policy/p/rule/4194305", HasSubstr("+ policy/p/rule/4194305")));
  EXPECT_THAT(writesOf("+ apps/app/web/proto/17"), Contains("~ updateInProgress = true"));
}

// What follows a change of a policy, a class map or a list is written without
// `updateInProgress`. Take each write as it comes.
TEST_F(Rules, PoliciesClassMapsAndListsAreFollowedWithoutUpdateInProgress) {
  const std::string classMap = "__VRF_red_segment_a";
  application("web", "6");
  given({"+ intf/intfStatus/Ethernet1", "+ ip/ipIntfStatus/Ethernet1 = red",
         "+ source/cli/classMap/" + classMap,
         "+ source/cli/vrf/red/segment/a/className = " + classMap,
         "+ source/cli/vrf/red/segment/a/prefixIpv4Ml = matchList:x",
         "+ lists/main/matchIpv4PrefixList/x"});
  for (const std::string& change :
       {std::string("+ source/cli/policy/p"),
        std::string("+ source/cli/policy/p/rule/10 = service=web"),
        "+ source/cli/classMap/" + classMap + "/intfVlanData/Ethernet1",
        std::string("+ lists/main/matchIpv4PrefixList/x/subnets/10.0.0.0%2F8"),
        std::string("- lists/main/matchIpv4PrefixList/x"), "- source/cli/classMap/" + classMap,
        std::string("- source/cli/policy/p")}) {
    const Lines writes = writesOf(change);
    EXPECT_THAT(writes, Not(IsEmpty())) << change;
    EXPECT_THAT(writes, Each(Not(HasSubstr("updateInProgress")))) << change;
  }
}

// Capabilities are read when something is compiled. After they change, disable all sources and
// enable them again.
TEST_F(Rules, CapabilitiesAreReadWhenSomethingIsCompiled) {
  application("web", "6");
  rule("10", "web");
  given({"+ cap/serviceRuleSupported = true"});
  EXPECT_THAT(rules(), SizeIs(1));
  disableAndEnable({"cli"});
  EXPECT_THAT(rules(), IsEmpty());
  EXPECT_TRUE(has("policy/p/serviceRule/10"));

  given({"+ cap/serviceRuleSupported = false"});
  set("s", "1-2");
  given({"+ apps/app/web/dstPortFieldSet = s"});
  given({"+ cap/portRangeBlocksRequired = true"});
  EXPECT_THAT(rules(), SizeIs(1));
  disableAndEnable({"cli"});
  EXPECT_THAT(rules(), SizeIs(2));

  given({"+ source/cli/vrf/red/prefix/192.0.2.0%2F24 = a"});
  const std::string owner = "vrf/red/prefixList/192.0.2.0%2F24";
  given({"+ cap/globalPrefixListSupported = false"});
  EXPECT_TRUE(has(owner));
  disableAndEnable({"cli"});
  EXPECT_FALSE(has(owner));
}

// Policies of one name in several sources are one policy. Where sequence numbers meet, the rule
// that was compiled last holds, and the other takes over when that has no service or goes. Give
// sources numbers of their own.
TEST_F(Rules, PoliciesOfOneNameAreOne) {
  application("web", "6");
  application("dns", "17");
  given({"+ source/gnmi/enabled = true"});
  rule("10", "web");
  rule("10", "dns", "gnmi");
  rule("20", "web");
  EXPECT_THAT(rules(), ElementsAre(HasSubstr("protocol=17"), HasSubstr("protocol=6")));
  given({"- apps/app/dns"});
  EXPECT_THAT(rules(), ElementsAre(HasSubstr("protocol=6"), HasSubstr("protocol=6")));
  application("dns", "17");
  EXPECT_THAT(rules(), ElementsAre(HasSubstr("protocol=17"), HasSubstr("protocol=6")));
  given({"- source/gnmi/policy/p/rule/10"});
  EXPECT_THAT(rules(), ElementsAre(HasSubstr("protocol=6"), HasSubstr("protocol=6")));
}

// A disabled source leaves its policies and rules in the hardware while any other is enabled.
// Remove them before disabling it.
TEST_F(Rules, PoliciesOfADisabledSourceStay) {
  application("web", "6");
  rule("10", "web");
  given({"+ source/gnmi/enabled = true", "+ source/cli/enabled = false"});
  EXPECT_THAT(rules(), SizeIs(1));
  given({"- apps/app/web"});
  EXPECT_THAT(rules(), SizeIs(1));
  given({"+ source/gnmi/enabled = false"});
  EXPECT_FALSE(has("policy/p"));
}

}  // namespace
