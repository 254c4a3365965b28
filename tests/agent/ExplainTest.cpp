// explain: where things come from and what became of them.
#include <gtest/gtest.h>

#include <string>

#include "tests/agent/Program.h"

namespace {

using TestAgent::Folder;
using TestAgent::Result;
using TestAgent::run;

Result explain(const Folder& folder, const std::string& content, const std::string& what,
               const std::string& in, const std::string& which) {
  Result result = run({"explain", "-f", folder.file("a.yaml", content), what, in, which});
  result.out = folder.without(result.out);
  return result;
}

const std::string webRule =
    "source:\n"
    "  cli:\n"
    "    enabled: true\n"
    "    policy:\n"
    "      p:\n"
    "        rule:\n"
    "          10: {service: web, action: forward}\n"
    "          20: {service: nothing, action: drop}\n"
    "app:\n"
    "  web: {proto: [tcp], dstPortFieldSet: web}\n"
    "fieldSetL4Port:\n"
    "  web: {ports: [80, 443]}\n";

TEST(Explain, ARuleDownToItsHardwareRules) {
  const Folder folder;
  const Result result = explain(folder, webRule, "rule", "p", "10");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out,
            "source \"cli\": rule 10 of \"p\" at a.yaml:7:11: web is to forward\n"
            "  application \"web\" at a.yaml:10:3: protocols 6\n"
            "    dstPortFieldSet \"web\" at a.yaml:12:3: 80, 443\n"
            "    1 source x 1 destination x 2 of protocols and ports make 2 rules\n"
            "  the hardware has 2 rules:\n"
            "    RULE ID   SOURCE  DESTINATION  PROTOCOL  PORTS  SOURCE PORTS  ACTION\n"
            "    41943041  any     any          tcp       80     any           forward\n"
            "    41943042  any     any          tcp       443    any           forward\n");
}

TEST(Explain, ARuleThatMakesNone) {
  const Folder folder;
  const Result result = explain(folder, webRule, "rule", "p", "20");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out,
            "source \"cli\": rule 20 of \"p\" at a.yaml:8:11: nothing is to drop\n"
            "  missing: a.yaml:8:25: no application \"nothing\", so the rule makes no hardware "
            "rule\n"
            "  the hardware has no rule of it\n");
}

TEST(Explain, AHardwareRuleUpToItsConfiguration) {
  const Folder folder;
  const Result result = explain(folder, webRule, "hw", "p", "41943042");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out.rfind("rule 41943042 is number 2 of sequence number 10\n"
                             "source \"cli\": rule 10 of \"p\" at a.yaml:7:11: web is to forward\n",
                             0),
            0U)
      << result.out;
}

TEST(Explain, AHardwareRuleThatIsTakenWhole) {
  const Folder folder;
  const Result result = explain(
      folder, webRule + "switch: {hwCapability: {serviceRuleSupported: true}}\n", "hw", "p", "10");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out.rfind("rule 10 is taken whole, under its sequence number\n"
                             "source \"cli\": rule 10 of \"p\" at a.yaml:7:11: web is to forward\n",
                             0),
            0U)
      << result.out;
  EXPECT_NE(result.out.find("  the hardware has it whole: web, forward\n"), std::string::npos);
}

TEST(Explain, ARuleOfASourceThatIsNotEnabled) {
  const Folder folder;
  std::string content = webRule;
  content.replace(content.find("true"), 4, "false");
  const std::string out = explain(folder, content, "rule", "p", "10").out;
  EXPECT_NE(out.find("  missing: the source is not enabled\n"), std::string::npos) << out;
  EXPECT_NE(out.find("  the hardware has no such policy\n"), std::string::npos) << out;
}

TEST(Explain, APrefixInsideOfAnother) {
  const Result result =
      run({"explain", "-f", "examples/campus", "prefix", "default", "10.20.5.128/25"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out,
            "10.20.5.128/25 in VRF \"default\": nobody owns it VRF-wide\n"
            "  no source names it in this VRF\n"
            "  the longest around it is 10.20.5.0/24, of \"administrators\"\n");
}

TEST(Explain, StrictTellsTheWarningsAndFails) {
  const Folder folder;
  const Result result =
      run({"explain", "--strict", "-f", folder.file("a.yaml", webRule), "rule", "p", "10"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("1 warning\n"), std::string::npos);
  EXPECT_NE(result.out.find("the hardware has 2 rules"), std::string::npos);
}

TEST(Explain, WhatThereIsNot) {
  const Folder folder;
  EXPECT_EQ(explain(folder, webRule, "rule", "p", "30").status, 1);
  EXPECT_EQ(explain(folder, webRule, "hw", "p", "7").out,
            "the hardware has no rule 7 of a policy \"p\"\n");
  EXPECT_EQ(explain(folder, webRule, "segment", "default", "a").status, 1);
  EXPECT_EQ(explain(folder, webRule, "prefix", "default", "10.0.0.0/8").status, 1);
  EXPECT_EQ(explain(folder, webRule, "prefix", "default", "10.0.0.1/8").status, 2);
  EXPECT_EQ(explain(folder, webRule, "rule", "p", "x").status, 2);
}

std::string twoClaimers(const std::string& capability, const std::string& global) {
  return "switch: {hwCapability: {globalPrefixListSupported: " + capability +
         "}}\n"
         "matchIpv4PrefixList: {l: {subnets: [10.0.0.0/8]}}\n"
         "source:\n"
         "  cli:\n"
         "    enabled: true\n"
         "    vrf:\n"
         "      default:\n"
         "        segment:\n"
         "          b: {prefixIpv4Ml: 'matchList:l'}\n"
         "          a: {prefixIpv4Ml: 'matchList:l'}\n" +
         global;
}

TEST(Explain, WhoOwnsAPrefixAndWhy) {
  const Folder folder;
  const std::string claims =
      "  segment \"b\" of source \"cli\" claims it by matchList:l at a.yaml:2:37\n"
      "  segment \"a\" of source \"cli\" claims it by matchList:l at a.yaml:2:37\n";
  EXPECT_EQ(explain(folder, twoClaimers("true", ""), "prefix", "default", "10.0.0.0/8").out,
            "10.0.0.0/8 in VRF \"default\": \"b\" owns it\n" + claims +
                "  decided by: the first segment that claimed it keeps it\n");
  EXPECT_EQ(explain(folder, twoClaimers("true", "        prefix: {10.0.0.0/8: a}\n"), "prefix",
                    "default", "10.0.0.0/8")
                .out,
            "10.0.0.0/8 in VRF \"default\": \"a\" owns it\n"
            "  source \"cli\" gives it to \"a\" as a global prefix at a.yaml:11:18\n" +
                claims + "  decided by: a global prefix goes before the lists of segments\n");
  EXPECT_EQ(explain(folder, twoClaimers("false", ""), "prefix", "default", "10.0.0.0/8").out,
            "10.0.0.0/8 in VRF \"default\": nobody owns it VRF-wide\n" + claims +
                "  decided by: the hardware has no VRF-wide list; each claimant holds it for "
                "itself\n");
}

TEST(Explain, ASegmentWithItsLinks) {
  const Folder folder;
  const Result result = explain(folder,
                                "source:\n"
                                "  cli:\n"
                                "    enabled: true\n"
                                "    policy: {p: {}}\n"
                                "    vrf:\n"
                                "      default:\n"
                                "        segment:\n"
                                "          a: {}\n"
                                "          b:\n"
                                "            policy: {a: p, c: p}\n"
                                "            fallbackPolicy: q\n",
                                "segment", "default", "b");
  EXPECT_EQ(
      result.out,
      "source \"cli\": segment \"b\" at a.yaml:9:11\n"
      "  missing: a.yaml:10:28: policy/c: no segment \"c\" here, so traffic from it is not "
      "judged; did you mean \"a\"?\n"
      "  missing: a.yaml:11:29: fallbackPolicy: no policy \"q\", so the link is not made; did "
      "you mean \"p\"?\n"
      "  from a by p, wanted at a.yaml:10:22: written\n"
      "  from c by p, wanted at a.yaml:10:28: not written\n"
      "  else by q, wanted at a.yaml:11:29: not written\n"
      "the hardware has:\n"
      "  0 prefixes, 0 interfaces, 1 link\n"
      "  from a by p\n");
}

TEST(Explain, ASegmentOfAVrfThatIsNotThere) {
  const Folder folder;
  EXPECT_EQ(explain(folder, "source: {cli: {enabled: true, vrf: {red: {segment: {a: {}}}}}}\n",
                    "segment", "red", "a")
                .out,
            "source \"cli\": segment \"a\" at a.yaml:1:53\n"
            "the hardware has no such segment\n"
            "  missing: a.yaml:1:37: the switch has no VRF \"red\", so nothing of it reaches the "
            "hardware\n");
}

}  // namespace
