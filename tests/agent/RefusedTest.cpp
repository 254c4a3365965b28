// Every kind of refused configuration, with the place and the words that tell it.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/agent/Program.h"

namespace {

using TestAgent::Folder;
using TestAgent::Result;
using TestAgent::run;

// The messages without the summary, of a document in a file of that name.
std::string refusal(const std::string& content, const std::string& name = "a.yaml") {
  const Folder folder;
  const Result result = run({"check", "--quiet", folder.file(name, content)});
  EXPECT_EQ(result.status, 2) << result.err;
  EXPECT_EQ(result.out, "");
  return folder.without(result.err);
}

TEST(Refused, AnUnknownPartWithWhatWasMeant) {
  EXPECT_EQ(refusal("ap: {}\n"), "a.yaml:1:1: error: ap: unknown key; did you mean \"app\"?\n");
}

TEST(Refused, AnUnknownKeyWithAllThatAreKnown) {
  EXPECT_EQ(refusal("switch: {hwCapability: {x: true}}\n"),
            "a.yaml:1:25: error: switch/hwCapability/x: unknown key; known are "
            "serviceRuleSupported, forwardingSegmentsPolicySupported, globalPrefixListSupported, "
            "portRangeBlocksRequired\n");
}

TEST(Refused, AMisspeltActionWithWhatWasMeant) {
  EXPECT_EQ(refusal("source:\n"
                    "  cli:\n"
                    "    policy:\n"
                    "      p:\n"
                    "        rule:\n"
                    "          10: {service: web, action: forwrad}\n"),
            "a.yaml:6:38: error: source/cli/policy/p/rule/10/action: \"forwrad\" is not drop, "
            "forward or redirect; did you mean \"forward\"?\n");
}

TEST(Refused, ARuleWithoutItsService) {
  EXPECT_EQ(refusal("source: {cli: {policy: {p: {rule: {10: {action: drop}}}}}}\n"),
            "a.yaml:1:40: error: source/cli/policy/p/rule/10: \"service\" is missing, a name\n");
}

TEST(Refused, HostBitsWhereAPrefixIsMeant) {
  EXPECT_EQ(refusal("matchIpv4PrefixList: {l: {subnets: [10.0.0.1/8]}}\n"),
            "a.yaml:1:37: error: matchIpv4PrefixList/l/subnets/10.0.0.1/8: \"10.0.0.1/8\" is not "
            "an IPv4 prefix without host bits, such as 10.0.0.0/8\n");
  EXPECT_EQ(refusal("source: {cli: {vrf: {red: {prefix: {\"2001:db8::1/32\": a}}}}}\n"),
            "a.yaml:1:37: error: source/cli/vrf/red/prefix/2001:db8::1/32: \"2001:db8::1/32\" is "
            "not a prefix without host bits, such as 10.0.0.0/8 or 2001:db8::/32\n");
  EXPECT_EQ(refusal("prefixList: {l: {prefixEntry: {10: {prefix: 10.0.0.1/8, action: permit}}}}\n"),
            "a.yaml:1:45: error: prefixList/l/prefixEntry/10/prefix: \"10.0.0.1/8\" is not an "
            "IPv4 prefix without host bits, such as 10.0.0.0/8\n");
}

TEST(Refused, APrefixOfTheOtherFamily) {
  EXPECT_EQ(refusal("matchIpv6PrefixList: {l: {subnets: [10.0.0.0/8]}}\n"),
            "a.yaml:1:37: error: matchIpv6PrefixList/l/subnets/10.0.0.0/8: \"10.0.0.0/8\" is not "
            "an IPv6 prefix without host bits, such as 2001:db8::/32\n");
}

TEST(Refused, AnAddressWithoutALength) {
  EXPECT_EQ(refusal("matchIpv4PrefixList: {l: {subnets: [10.0.0.1]}}\n"),
            "a.yaml:1:37: error: matchIpv4PrefixList/l/subnets/10.0.0.1: \"10.0.0.1\" is not an "
            "IPv4 prefix without host bits, such as 10.0.0.0/8\n");
}

TEST(Refused, PortsThatFallOrAreTooLarge) {
  const std::string wanted =
      "is not a port or a rising range of ports, such as 80 or 1000-1999, of 0 to 65535\n";
  EXPECT_EQ(refusal("fieldSetL4Port: {s: {ports: [443-80]}}\n"),
            "a.yaml:1:30: error: fieldSetL4Port/s/ports/443-80: \"443-80\" " + wanted);
  EXPECT_EQ(refusal("fieldSetL4Port: {s: {ports: [65536]}}\n"),
            "a.yaml:1:30: error: fieldSetL4Port/s/ports/65536: \"65536\" " + wanted);
}

TEST(Refused, AProtocolThatThereIsNot) {
  EXPECT_EQ(refusal("app: {web: {proto: [tpc]}}\n"),
            "a.yaml:1:21: error: app/web/proto/tpc: \"tpc\" is not a protocol such as tcp, or its "
            "number 0 to 255, or a rising range of numbers\n");
}

TEST(Refused, VlansOutsideOfTheirRange) {
  const auto voice = [](const std::string& ranges) {
    return "source: {cli: {l2SegmentDir: {segment: {v: {interfaces: {Ethernet1: [" + ranges +
           "]}}}}}}\n";
  };
  for (const std::string range : {"0", "4095", "200-100", "100-4095"}) {
    EXPECT_EQ(refusal(voice(range)),
              "a.yaml:1:70: error: source/cli/l2SegmentDir/segment/v/interfaces/Ethernet1/" +
                  range + ": \"" + range +
                  "\" is not a VLAN or a rising range of VLANs, such as 100 or 100-199, of 1 to "
                  "4094\n");
  }
}

TEST(Refused, VlansOnASegmentOfAVrf) {
  EXPECT_EQ(
      refusal("source: {cli: {vrf: {red: {segment: {a: {interfaces: {Ethernet1: [5]}}}}}}}\n"),
      "a.yaml:1:66: error: source/cli/vrf/red/segment/a/interfaces/Ethernet1: VLAN ranges "
      "belong to segments of l2SegmentDir; an interface of a VRF's segment is taken whole\n");
}

TEST(Refused, AVrfWhoseNameIsTooLong) {
  const std::string name(101, 'v');
  EXPECT_EQ(refusal("switch: {vrf: [" + name + "]}\n"),
            "a.yaml:1:16: error: switch/vrf/" + name + ": \"" + std::string(60, 'v') +
                "\"... is not the name of a VRF, of at most 100 bytes\n");
}

TEST(Refused, AVrfWhoseNameAClassMapCouldNotCarry) {
  EXPECT_EQ(refusal("source: {cli: {vrf: {a_segment_b: {}}}}\n"),
            "a.yaml:1:22: error: source/cli/vrf/a_segment_b: a VRF whose name holds \"_segment_\" "
            "cannot have segments; rename it\n");
  EXPECT_EQ(refusal("source: {cli: {vrf: {x_segment: {}}}}\n"),
            "a.yaml:1:22: error: source/cli/vrf/x_segment: a VRF whose name holds \"_segment_\" "
            "cannot have segments; rename it\n");
}

TEST(Refused, AnInterfaceNameWithBlanks) {
  EXPECT_EQ(refusal("switch: {intfStatus: [Ethernet 1]}\n"),
            "a.yaml:1:23: error: switch/intfStatus/Ethernet 1: \"Ethernet 1\" is not the name of "
            "an interface such as Ethernet1, of at most 64 bytes without blanks\n");
}

TEST(Refused, ValuesOfTheWrongType) {
  EXPECT_EQ(refusal("source: {cli: {enabled: yes}}\n"),
            "a.yaml:1:25: error: source/cli/enabled: true or false is wanted, not a text\n");
  EXPECT_EQ(refusal("source: {cli: {enabled: \"true\"}}\n"),
            "a.yaml:1:25: error: source/cli/enabled: true or false is wanted, not a text\n");
  EXPECT_EQ(refusal("app: {web: {proto: tcp}}\n"),
            "a.yaml:1:20: error: app/web/proto: a list is wanted, not a text\n");
  EXPECT_EQ(refusal("app: [web]\n"), "a.yaml:1:6: error: app: a mapping is wanted, not a list\n");
  EXPECT_EQ(refusal("app: {web: {dstPortFieldSet: true}}\n"),
            "a.yaml:1:30: error: app/web/dstPortFieldSet: a name is wanted, not \"true\"\n");
  EXPECT_EQ(refusal("source: {cli: {policy: {p: {rule: {ten: {service: a, action: drop}}}}}}\n"),
            "a.yaml:1:36: error: source/cli/policy/p/rule/ten: \"ten\" is not a number from 0 to "
            "4294967295\n");
  EXPECT_EQ(refusal("source: {cli: {policy: {p: {rule: {10: web}}}}}\n"),
            "a.yaml:1:40: error: source/cli/policy/p/rule/10: a mapping of service, action, log, "
            "nexthop is wanted, not a text\n");
  EXPECT_EQ(refusal("{\"app\": {\"web\": {\"af\": 4}}}", "a.json"),
            "a.json:1:24: error: app/web/af: \"4\" is not unspecified, ipv4 or ipv6\n");
}

TEST(Refused, AListSourceOfAnUnknownKind) {
  EXPECT_EQ(refusal("source: {cli: {vrf: {red: {segment: {a: {prefixIpv4Ml: offices}}}}}}\n"),
            "a.yaml:1:56: error: source/cli/vrf/red/segment/a/prefixIpv4Ml: \"offices\" is not "
            "\"matchList:NAME\", \"prefixList:NAME\" or \"none\"\n");
}

TEST(Refused, TheSameKeyTwice) {
  EXPECT_EQ(refusal("app: {web: {}, web: {}}\n"),
            "a.yaml:1:16: error: app/web: given twice; the first is at a.yaml:1:7\n");
  EXPECT_EQ(refusal("app: {}\napp: {}\n"),
            "a.yaml:2:1: error: app: given twice; the first is at a.yaml:1:1\n");
  EXPECT_EQ(refusal("{\"app\": {}, \"app\": {}}", "a.json"),
            "a.json:1:13: error: app: given twice; the first is at a.json:1:2\n");
}

TEST(Refused, TheSameKeyWrittenTwoWays) {
  EXPECT_EQ(refusal("matchIpv6PrefixList: {l: {subnets: ['2001:db8::/32', '2001:0DB8::/32']}}\n"),
            "a.yaml:1:54: error: matchIpv6PrefixList/l/subnets/2001:0DB8::/32: given twice; the "
            "first is at a.yaml:1:37\n");
}

TEST(Refused, TheSameKeyTwiceInALargeMapping) {
  std::string apps = "app:\n";
  for (int i = 0; i < 40; ++i) apps += "  a" + std::to_string(i) + ": {}\n";
  EXPECT_EQ(refusal(apps + "  a7: {}\n"),
            "a.yaml:42:3: error: app/a7: given twice; the first is at a.yaml:9:3\n");
}

TEST(Refused, TheSameEntryInTwoFiles) {
  const Folder folder;
  const std::string first = folder.file("a.yaml", "app: {web: {}}\n");
  const std::string second = folder.file("b.json", "{\"app\": {\"web\": {}}}");
  const Result result = run({"check", "-q", first, second});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(folder.without(result.err),
            "b.json:1:10: error: app/web: given twice; the first is at a.yaml:1:7\n");
}

TEST(Refused, BrokenJson) {
  EXPECT_EQ(refusal("{\"app\": {},}", "a.json"),
            "a.json:1:12: error: not JSON: Missing a name for object member.\n");
  EXPECT_EQ(refusal("{'app': {}}", "a.json"),
            "a.json:1:2: error: not JSON: Missing a name for object member.\n");
  EXPECT_EQ(refusal("{\"app\":\n {", "a.json"),
            "a.json:2:3: error: not JSON: the file ends too early\n");
  EXPECT_EQ(refusal("{} {}", "a.json"),
            "a.json:1:4: error: not JSON: The document root must not be followed by other "
            "values.\n");
  EXPECT_EQ(refusal(std::string("{}\0", 3), "a.json"), "a.json:1:3: error: not JSON: a byte 0\n");
}

TEST(Refused, BrokenYaml) {
  EXPECT_EQ(refusal("app: {web\n"),
            "a.yaml:2:1: error: not YAML: while parsing a flow mapping, did not find expected ',' "
            "or '}'\n");
  EXPECT_EQ(refusal("a: 1\n---\nb: 1\n"),
            "a.yaml:2:1: error: a second document in one file; give each its own\n");
  EXPECT_EQ(refusal("app: &x {}\nsource: *x\n"),
            "a.yaml:2:9: error: aliases are not taken; write the value again\n");
}

TEST(Refused, WhatIsNotUtf8) {
  EXPECT_EQ(refusal("{\"app\": {\"\xff\": {}}}", "a.json").substr(0, 30),
            "a.json:1:11: error: not JSON: ");
  EXPECT_EQ(refusal("app:\n  \xff: {}\n").substr(0, 37), "a.yaml:2:3: error: not UTF-8 text: in");
}

TEST(Refused, WhatIsTooDeep) {
  EXPECT_EQ(refusal(std::string(100000, '['), "a.json"),
            "a.json:1:65: error: deeper than 64 levels\n");
  EXPECT_EQ(refusal(std::string(100000, '[')), "a.yaml:1:65: error: deeper than 64 levels\n");
}

TEST(Refused, ATopThatIsNoMapping) {
  EXPECT_EQ(refusal("[]", "a.json"),
            "a.json:1:1: error: a mapping of parts is wanted, such as \"source\" and \"switch\", "
            "not a list\n");
}

TEST(Refused, AFileThatCannotBeReadIsAnInputError) {
  const Folder folder;
  const Result result = run({"check", folder.path() + "/none.yaml"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(folder.without(result.err),
            "none.yaml: error: cannot be read: No such file or directory\n1 error\n");
}

TEST(Refused, AFileThatIsTooLargeIsNotRead) {
  const Folder folder;
  const std::string file = folder.file("a.json", "");
  std::filesystem::resize_file(file, std::uintmax_t{1} << 30U);  // takes no space
  const Result result = run({"check", file});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(folder.without(result.err), "a.json: error: is larger than 256 MiB\n1 error\n");
}

TEST(Refused, AFileThatIsCutAnywhereIsTold) {
  const Folder folder;
  const std::string whole =
      R"({"app": {"web": {"proto": ["tcp", 17], "af": "ipv4"}}, "switch": null})";
  for (std::size_t bytes = 0; bytes < whole.size(); ++bytes) {
    EXPECT_EQ(run({"check", folder.file("a.json", whole.substr(0, bytes))}).status, 2) << bytes;
  }
  EXPECT_EQ(run({"check", folder.file("a.json", whole)}).status, 0);
}

TEST(Refused, AFolderWithoutDocumentsIsAnInputError) {
  const Folder folder;
  folder.file("sub/readme.txt", "");
  const Result result = run({"check", folder.path() + "/sub"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(folder.without(result.err),
            "sub: error: holds no file ending in .json, .yaml or .yml\n1 error\n");
}

TEST(Refused, AllErrorsAtOnceInTheOrderOfTheFile) {
  const Folder folder;
  const std::string file = folder.file("a.yaml",
                                       "app:\n"
                                       "  web: {proto: [x], af: ipv5}\n"
                                       "nothing: {}\n"
                                       "switch: {vrf: red}\n");
  const Result result = run({"check", file});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(folder.without(result.err),
            "a.yaml:2:17: error: app/web/proto/x: \"x\" is not a protocol such as tcp, or its "
            "number 0 to 255, or a rising range of numbers\n"
            "a.yaml:2:25: error: app/web/af: \"ipv5\" is not unspecified, ipv4 or ipv6; did you "
            "mean \"ipv4\"?\n"
            "a.yaml:3:1: error: nothing: unknown key; known are switch, fieldSetL4Port, "
            "fieldSetIpPrefix, app, matchIpv4PrefixList, matchIpv6PrefixList, prefixList, "
            "ipv6PrefixList, source\n"
            "a.yaml:4:15: error: switch/vrf: a list is wanted, not a text\n"
            "4 errors\n");
  EXPECT_EQ(folder.without(run({"check", "--max-errors", "1", file}).err),
            "a.yaml:2:17: error: app/web/proto/x: \"x\" is not a protocol such as tcp, or its "
            "number 0 to 255, or a rising range of numbers\n"
            "3 more are not shown (--max-errors 0 shows all)\n"
            "4 errors\n");
}

TEST(Refused, ColumnsCountCharactersInBothLanguages) {
  EXPECT_EQ(refusal("{\"app\": {\"\xc3\xa4\xc3\xb6\": 1}}", "a.json"),
            "a.json:1:16: error: app/\xc3\xa4\xc3\xb6: a mapping is wanted, not a number\n");
  EXPECT_EQ(refusal("{\"app\": {\"\xc3\xa4\xc3\xb6\": 1}}", "a.yaml"),
            "a.yaml:1:16: error: app/\xc3\xa4\xc3\xb6: a mapping is wanted, not a number\n");
}

}  // namespace
