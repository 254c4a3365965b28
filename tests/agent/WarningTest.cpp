// What is legal and will not reach the hardware: each warning with its place and reason.
#include <gtest/gtest.h>

#include <string>

#include "tests/agent/Program.h"

namespace {

using TestAgent::Folder;
using TestAgent::Result;
using TestAgent::run;

// The warnings of a document, without the summary; a status of 0.
std::string warnings(const std::string& content, const std::vector<std::string>& more = {}) {
  const Folder folder;
  std::vector<std::string> words{"check", folder.file("a.yaml", content)};
  words.insert(words.end(), more.begin(), more.end());
  const Result result = run(words);
  EXPECT_EQ(result.status, 0) << result.err;
  std::string text = folder.without(result.err);
  const std::size_t summary = text.rfind('\n', text.size() - std::min<std::size_t>(text.size(), 2));
  return text.empty() ? text : text.substr(0, summary == std::string::npos ? 0 : summary + 1);
}

std::string rule(const std::string& key, const std::string& service,
                 const std::string& action = "drop") {
  return "source: {cli: {policy: {p: {rule: {" + key + ": {service: " + service +
         ", action: " + action + "}}}}, enabled: true}}\n";
}

std::string segment(const std::string& content) {
  return "source: {cli: {policy: {p: {}}, vrf: {default: {segment: {a: {" + content +
         "}}}}, enabled: true}}\n";
}

TEST(Warning, ARuleWhoseServiceHasNoApplication) {
  EXPECT_EQ(warnings("app: {web: {proto: [tcp]}}\n" + rule("10", "wbe")),
            "a.yaml:2:50: warning: source/cli/policy/p/rule/10: no application \"wbe\", so the "
            "rule makes no hardware rule; did you mean \"web\"?\n");
}

TEST(Warning, AnApplicationThatMatchesNothing) {
  EXPECT_EQ(warnings("app: {web: {dstPortFieldSet: s}}\nfieldSetL4Port: {s: {ports: [80]}}\n" +
                     rule("10", "web")),
            "a.yaml:1:30: warning: app/web/dstPortFieldSet: ports are looked at for tcp and udp "
            "alone, and none of them is among the protocols; the ports do not count\n"
            "a.yaml:3:50: warning: source/cli/policy/p/rule/10: the application \"web\" has "
            "neither prefixes nor protocols, so the rule makes no hardware rule\n");
}

TEST(Warning, ASequenceNumberThatARuleIdentifierCannotHold) {
  const std::string app = "app: {web: {proto: [tcp]}}\n";
  EXPECT_EQ(warnings(app + rule("1023", "web")), "");
  EXPECT_EQ(warnings(app + rule("1024", "web")),
            "a.yaml:2:36: warning: source/cli/policy/p/rule/1024: a sequence number above 1023 "
            "has no place in a hardware rule's identifier; the rule makes none\n");
  EXPECT_EQ(warnings("switch: {hwCapability: {serviceRuleSupported: true}}\n" + app +
                     rule("1024", "web")),
            "");
}

TEST(Warning, AnExpansionAboveTheLimitWithItsArithmetic) {
  const std::string text =
      "app: {web: {proto: [tcp, udp, icmp], dstPortFieldSet: p, srcPrefixFieldSet: s}}\n"
      "fieldSetL4Port: {p: {ports: [80, 1000-1999]}}\n"
      "fieldSetIpPrefix: {s: {prefixes: [10.0.0.0/8, 172.16.0.0/12, 192.168.0.0/16]}}\n" +
      rule("10", "web");
  EXPECT_EQ(warnings(text, {"--max-expansion", "15"}), "");
  EXPECT_EQ(warnings(text, {"--max-expansion", "14"}),
            "a.yaml:4:36: warning: source/cli/policy/p/rule/10: becomes 15 hardware rules: "
            "3 sources x 1 destination x 5 of protocols and ports\n");
  EXPECT_EQ(warnings("switch: {hwCapability: {portRangeBlocksRequired: true}}\n" + text,
                     {"--max-expansion", "14"}),
            "a.yaml:5:36: warning: source/cli/policy/p/rule/10: becomes 51 hardware rules: "
            "3 sources x 1 destination x 17 of protocols and ports\n");
}

TEST(Warning, AnExpansionThatIdentifiersCannotHold) {
  std::string ports;
  for (int port = 0; port < 2049; ++port) ports += std::to_string(port) + ", ";
  const std::string text =
      "app: {web: {proto: [tcp], dstPortFieldSet: p, srcPortFieldSet: p}}\n"
      "fieldSetL4Port: {p: {ports: [" +
      ports + "]}}\n" + rule("10", "web");
  EXPECT_EQ(
      warnings(text),
      "a.yaml:3:36: warning: source/cli/policy/p/rule/10: becomes 4,198,401 hardware rules, of "
      "which 4,194,303 have an identifier: 1 source x 1 destination x 4,198,401 of protocols "
      "and ports\n");
}

TEST(Warning, ARedirectWithoutANexthop) {
  EXPECT_EQ(warnings("app: {web: {proto: [tcp]}}\n" + rule("10", "web", "redirect")),
            "a.yaml:2:63: warning: source/cli/policy/p/rule/10: redirects without a nexthop to "
            "send to\n");
}

TEST(Warning, AFieldSetThatThereIsNot) {
  EXPECT_EQ(warnings("app: {web: {proto: [tcp], dstPortFieldSet: s, srcPrefixFieldSet: t}}\n"),
            "a.yaml:1:44: warning: app/web/dstPortFieldSet: no field set \"s\" in fieldSetL4Port; "
            "the application matches as if it named none\n"
            "a.yaml:1:66: warning: app/web/srcPrefixFieldSet: no field set \"t\" in "
            "fieldSetIpPrefix; the application matches as if it named none\n");
}

TEST(Warning, LinksToWhatThereIsNot) {
  EXPECT_EQ(warnings(segment("policy: {b: q}, fallbackPolicy: r")),
            "a.yaml:1:72: warning: source/cli/vrf/default/segment/a/policy/b: no segment \"b\" "
            "here, so traffic from it is not judged; did you mean \"a\"?\n"
            "a.yaml:1:75: warning: source/cli/vrf/default/segment/a/policy/b: no policy \"q\", so "
            "the link is not made; did you mean \"p\"?\n"
            "a.yaml:1:95: warning: source/cli/vrf/default/segment/a/fallbackPolicy: no policy "
            "\"r\", so the link is not made; did you mean \"p\"?\n");
  EXPECT_EQ(warnings(segment("policy: {forwarding-segments: p}")), "");
}

TEST(Warning, AListThatThereIsNot) {
  EXPECT_EQ(warnings(segment("prefixIpv4Ml: 'matchList:l', prefixIpv6Ml: 'prefixList:l'")),
            "a.yaml:1:77: warning: source/cli/vrf/default/segment/a/prefixIpv4Ml: no list \"l\" in "
            "matchIpv4PrefixList, so the segment has no prefixes of it\n"
            "a.yaml:1:106: warning: source/cli/vrf/default/segment/a/prefixIpv6Ml: no list \"l\" "
            "in ipv6PrefixList, so the segment has no prefixes of it\n");
}

TEST(Warning, InterfacesThatWillNotBeBound) {
  EXPECT_EQ(warnings("switch: {intfStatus: [E1, E2, E3], ipIntfStatus: {E2: red, E3: default}}\n" +
                     segment("interfaces: [E1, E2, E3, E4]")),
            "a.yaml:2:76: warning: source/cli/vrf/default/segment/a/interfaces/E1: is not routed, "
            "so it does not belong to a segment of a VRF\n"
            "a.yaml:2:80: warning: source/cli/vrf/default/segment/a/interfaces/E2: is routed in "
            "the VRF \"red\", not in \"default\"\n"
            "a.yaml:2:88: warning: source/cli/vrf/default/segment/a/interfaces/E4: the switch has "
            "no interface \"E4\"; did you mean \"E1\"?\n");
}

TEST(Warning, AVrfThatIsNotPresent) {
  EXPECT_EQ(warnings("switch: {vrf: [red]}\n"
                     "source: {cli: {vrf: {rde: {}, red: {}, default: {}}, enabled: true}}\n"),
            "a.yaml:2:22: warning: source/cli/vrf/rde: the switch has no VRF \"rde\", so nothing "
            "of it reaches the hardware; did you mean \"red\"?\n");
}

TEST(Warning, AGlobalPrefixOfASegmentThatThereIsNot) {
  EXPECT_EQ(warnings("source: {cli: {vrf: {default: {prefix: {10.0.0.0/8: x}}}, enabled: true}}\n"),
            "a.yaml:1:53: warning: source/cli/vrf/default/prefix/10.0.0.0/8: no segment \"x\" in "
            "the VRF\n");
}

TEST(Warning, APrefixThatSeveralSegmentsClaim) {
  const auto text = [](const std::string& capability, const std::string& global) {
    return "switch: {hwCapability: {globalPrefixListSupported: " + capability +
           "}}\n"
           "matchIpv4PrefixList: {l: {subnets: [10.0.0.0/8, 10.1.0.0/16]}}\n"
           "source: {cli: {vrf: {default: {segment: {b: {prefixIpv4Ml: 'matchList:l'}, a: "
           "{prefixIpv4Ml: 'matchList:l'}}" +
           global + "}}, enabled: true}}\n";
  };
  const std::string begin =
      "a.yaml:3:94: warning: source/cli/vrf/default/segment/a/prefixIpv4Ml: 10.0.0.0/8 and 1 more "
      "prefix of this list: the segment \"b\" claims the same; ";
  EXPECT_EQ(warnings(text("true", "")),
            begin + "\"b\" owns it in the VRF-wide list, as the first\n");
  EXPECT_EQ(warnings(text("true", ", prefix: {10.0.0.0/8: a}")),
            begin + "\"a\" owns it by the VRF's global prefixes\n");
  std::string two = text("true", "");
  two.replace(two.rfind("}}\n"), 2, "}, other: {enabled: true, vrf: {default: {}}}}");
  EXPECT_EQ(warnings(two), begin +
                               "several sources configure the VRF, and \"fwagent explain prefix\" "
                               "tells who owns it\n");
  EXPECT_EQ(warnings(text("false", "")),
            begin + "both hold it, for the hardware has no VRF-wide list\n");
}

TEST(Warning, ASourceThatDoesNotSayWhetherItIsEnabled) {
  EXPECT_EQ(warnings("source: {cli: {policy: {}}}\n"),
            "a.yaml:1:10: warning: source/cli: is not enabled, so nothing of it reaches the "
            "hardware; \"enabled: true\" enables it, \"enabled: false\" says that this is meant\n");
  EXPECT_EQ(warnings("source: {cli: {enabled: false}}\n"), "");
}

TEST(Warning, PortRangesThatTakeEachOthersPlace) {
  const std::string sets = "fieldSetL4Port: {s: {ports: [80-90, 80, 85-95]}}\n";
  EXPECT_EQ(warnings(sets),
            "a.yaml:1:37: warning: fieldSetL4Port/s/ports/80: meets 80-90 at port 80, where one "
            "takes the other's place; do not let ranges overlap\n");
  EXPECT_EQ(warnings("switch: {hwCapability: {portRangeBlocksRequired: true}}\n"
                     "fieldSetL4Port: {s: {ports: [80-90, 88, 96-97]}}\n"),
            "a.yaml:2:37: warning: fieldSetL4Port/s/ports/88: meets 80-90 at port 88, where one "
            "takes the other's place; do not let ranges overlap\n");
}

TEST(Warning, PortsWithoutAProtocolThatHasSome) {
  const auto text = [](const std::string& rest) {
    return "app: {web: {proto: [" + rest + ", dstPortFieldSet: s}}\n" +
           "fieldSetL4Port: {s: {ports: [80]}}\n";
  };
  EXPECT_EQ(warnings(text("icmp]")),
            "a.yaml:1:45: warning: app/web/dstPortFieldSet: ports are looked at for tcp and udp "
            "alone, and none of them is among the protocols; the ports do not count\n");
  EXPECT_NE(warnings(text("0-255]")), "");
  EXPECT_NE(warnings(text("1-255], af: ipv4")), "");
  EXPECT_EQ(warnings(text("1-255]")), "");
  EXPECT_EQ(warnings(text("5-6]")), "");
  EXPECT_EQ(warnings(text("udp, icmp]")), "");
}

TEST(Warning, TwoSourcesWithTheL2Directory) {
  EXPECT_EQ(warnings("source:\n"
                     "  a: {enabled: true, l2SegmentDir: {}}\n"
                     "  b: {enabled: true, l2SegmentDir: {}}\n"),
            "a.yaml:3:36: warning: source/b/l2SegmentDir: the source \"a\" holds the L2 directory "
            "too; the one that is enabled last has it alone\n");
}

TEST(Warning, StrictMakesThemFailures) {
  const Folder folder;
  const std::string file = folder.file("a.yaml", rule("10", "web"));
  EXPECT_EQ(run({"check", file}).status, 0);
  EXPECT_EQ(run({"check", "--quiet", file}).err, "");
  const Result strict = run({"check", "--strict", file});
  EXPECT_EQ(strict.status, 1);
  EXPECT_NE(strict.err.find("1 warning\n"), std::string::npos);
}

TEST(Warning, TheExampleHasNone) {
  const Result result = run({"check", "--strict", "examples/campus"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
}

}  // namespace
