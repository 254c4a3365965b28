#include "tests/agent/RefusedDocuments.h"

namespace TestAgent {
namespace {

const std::string longName(101, 'v');

std::string fortyApplicationsAndOneAgain() {
  std::string apps = "app:\n";
  for (int i = 0; i < 40; ++i) apps += "  a" + std::to_string(i) + ": {}\n";
  return apps + "  a7: {}\n";
}

std::string vlan(const std::string& range) {
  return "source: {cli: {l2SegmentDir: {segment: {v: {interfaces: {Ethernet1: [" + range +
         "]}}}}}}\n";
}
std::string vlanRefused(const std::string& range) {
  return "a.yaml:1:70: error: source/cli/l2SegmentDir/segment/v/interfaces/Ethernet1/" + range +
         ": \"" + range +
         "\" is not a VLAN or a rising range of VLANs, such as 100 or 100-199, of 1 to 4094\n";
}

const std::string portWanted =
    "is not a port or a rising range of ports, such as 80 or 1000-1999, of 0 to 65535\n";
const std::string ipv4Wanted = "is not an IPv4 prefix without host bits, such as 10.0.0.0/8\n";
const std::string protocolWanted =
    "is not a protocol such as tcp, or its number 0 to 255, or a rising range of numbers\n";

}  // namespace

const std::vector<RefusedDocument>& refusedDocuments() {
  using enum BySchema;
  static const std::vector<RefusedDocument> documents{
      {"AnUnknownPartWithWhatWasMeant", "ap: {}\n",
       "a.yaml:1:1: error: ap: unknown key; did you mean \"app\"?\n"},
      {"AnUnknownKeyWithAllThatAreKnown", "switch: {hwCapability: {x: true}}\n",
       "a.yaml:1:25: error: switch/hwCapability/x: unknown key; known are serviceRuleSupported, "
       "forwardingSegmentsPolicySupported, globalPrefixListSupported, portRangeBlocksRequired\n"},
      {"AnUnknownFieldOfARecord",
       "source: {cli: {policy: {p: {rule: {10: {service: a, action: drop, lag: true}}}}}}\n",
       "a.yaml:1:67: error: source/cli/policy/p/rule/10/lag: unknown key; did you mean \"log\"?\n"},
      {"AClassMapThatIsWrittenOut", "source: {cli: {classMap: {}}}\n",
       "a.yaml:1:16: error: source/cli/classMap: unknown key; known are policy, vrf, "
       "l2SegmentDir, enabled, forwardType, defaultPolicy\n"},
      {"AMisspeltActionWithWhatWasMeant",
       "source:\n"
       "  cli:\n"
       "    policy:\n"
       "      p:\n"
       "        rule:\n"
       "          10: {service: web, action: forwrad}\n",
       "a.yaml:6:38: error: source/cli/policy/p/rule/10/action: \"forwrad\" is not drop, forward "
       "or redirect; did you mean \"forward\"?\n"},
      {"ARuleWithoutItsService", "source: {cli: {policy: {p: {rule: {10: {action: drop}}}}}}\n",
       "a.yaml:1:40: error: source/cli/policy/p/rule/10: \"service\" is missing, a name\n"},
      {"HostBitsInAMatchList", "matchIpv4PrefixList: {l: {subnets: [10.0.0.1/8]}}\n",
       "a.yaml:1:37: error: matchIpv4PrefixList/l/subnets/10.0.0.1/8: \"10.0.0.1/8\" " + ipv4Wanted,
       taken},
      {"HostBitsInAGlobalPrefix",
       "source: {cli: {vrf: {red: {prefix: {\"2001:db8::1/32\": a}}}}}\n",
       "a.yaml:1:37: error: source/cli/vrf/red/prefix/2001:db8::1/32: \"2001:db8::1/32\" is not a "
       "prefix without host bits, such as 10.0.0.0/8 or 2001:db8::/32\n",
       taken},
      {"HostBitsInAPrefixList",
       "prefixList: {l: {prefixEntry: {10: {prefix: 10.0.0.1/8, action: permit}}}}\n",
       "a.yaml:1:45: error: prefixList/l/prefixEntry/10/prefix: \"10.0.0.1/8\" " + ipv4Wanted,
       taken},
      {"ALengthThatIsTooLarge", "matchIpv4PrefixList: {l: {subnets: [10.0.0.0/33]}}\n",
       "a.yaml:1:37: error: matchIpv4PrefixList/l/subnets/10.0.0.0/33: \"10.0.0.0/33\" " +
           ipv4Wanted,
       taken},
      {"APrefixOfTheOtherFamily", "matchIpv6PrefixList: {l: {subnets: [10.0.0.0/8]}}\n",
       "a.yaml:1:37: error: matchIpv6PrefixList/l/subnets/10.0.0.0/8: \"10.0.0.0/8\" is not an "
       "IPv6 prefix without host bits, such as 2001:db8::/32\n"},
      {"AnAddressWithoutALength", "matchIpv4PrefixList: {l: {subnets: [10.0.0.1]}}\n",
       "a.yaml:1:37: error: matchIpv4PrefixList/l/subnets/10.0.0.1: \"10.0.0.1\" " + ipv4Wanted},
      {"AnActionOfAPrefixThatIsMissing",
       "prefixList: {l: {prefixEntry: {10: {prefix: 10.0.0.0/8}}}}\n",
       "a.yaml:1:36: error: prefixList/l/prefixEntry/10: \"action\" is missing, deny or permit\n"},
      {"PortsThatFall", "fieldSetL4Port: {s: {ports: [443-80]}}\n",
       "a.yaml:1:30: error: fieldSetL4Port/s/ports/443-80: \"443-80\" " + portWanted, taken},
      {"APortThatIsTooLarge", "fieldSetL4Port: {s: {ports: [65536]}}\n",
       "a.yaml:1:30: error: fieldSetL4Port/s/ports/65536: \"65536\" " + portWanted},
      {"APortThatNoIntegerHolds",
       R"({"fieldSetL4Port": {"s": {"ports": [99999999999999999999999999]}}})",
       "a.json:1:37: error: fieldSetL4Port/s/ports/99999999999999999999999999: "
       "\"99999999999999999999999999\" " +
           portWanted,
       refused, "a.json"},
      {"APortByAName", "fieldSetL4Port: {s: {ports: [http]}}\n",
       "a.yaml:1:30: error: fieldSetL4Port/s/ports/http: \"http\" " + portWanted},
      {"AFractionOfAPort", R"({"fieldSetL4Port": {"s": {"ports": [80.5]}}})",
       "a.json:1:37: error: fieldSetL4Port/s/ports/80.5: \"80.5\" " + portWanted, refused,
       "a.json"},
      {"APortBelowNothing", R"({"fieldSetL4Port": {"s": {"ports": [-1]}}})",
       "a.json:1:37: error: fieldSetL4Port/s/ports/-1: \"-1\" " + portWanted, refused, "a.json"},
      {"AnObjectThatIsWrittenInPlace", "fieldSetL4Port: {s: {subConfig: {}}}\n",
       "a.yaml:1:22: error: fieldSetL4Port/s/subConfig: unknown key; known are ports\n"},
      {"AProtocolThatThereIsNot", "app: {web: {proto: [tpc]}}\n",
       "a.yaml:1:21: error: app/web/proto/tpc: \"tpc\" " + protocolWanted},
      {"AProtocolThatIsTooLarge", "app: {web: {proto: [256]}}\n",
       "a.yaml:1:21: error: app/web/proto/256: \"256\" " + protocolWanted},
      {"VlanNothing", vlan("0"), vlanRefused("0")},
      {"AVlanThatIsTooLarge", vlan("4095"), vlanRefused("4095")},
      {"VlansThatFall", vlan("200-100"), vlanRefused("200-100"), taken},
      {"VlansThatBecomeTooLarge", vlan("100-4095"), vlanRefused("100-4095"), taken},
      {"VlansOnASegmentOfAVrf",
       "source: {cli: {vrf: {red: {segment: {a: {interfaces: {Ethernet1: [5]}}}}}}}\n",
       "a.yaml:1:66: error: source/cli/vrf/red/segment/a/interfaces/Ethernet1: VLAN ranges belong "
       "to segments of l2SegmentDir; an interface of a VRF's segment is taken whole\n",
       taken},
      {"InterfacesThatAreNoList",
       "source: {cli: {vrf: {red: {segment: {a: {interfaces: Ethernet1}}}}}}\n",
       "a.yaml:1:54: error: source/cli/vrf/red/segment/a/interfaces: a list of interfaces, or a "
       "mapping from interfaces to VLAN ranges, is wanted, not a text\n"},
      {"AVrfWhoseNameIsTooLong", "switch: {vrf: [" + longName + "]}\n",
       "a.yaml:1:16: error: switch/vrf/" + longName + ": \"" + std::string(60, 'v') +
           "\"... is not the name of a VRF, of at most 100 bytes\n"},
      {"AVrfWhoseNameAClassMapCouldNotCarry", "source: {cli: {vrf: {a_segment_b: {}}}}\n",
       "a.yaml:1:22: error: source/cli/vrf/a_segment_b: a VRF whose name holds \"_segment_\" "
       "cannot have segments; rename it\n",
       taken},
      {"AVrfWhoseNameAClassMapWouldEndEarly", "source: {cli: {vrf: {x_segment: {}}}}\n",
       "a.yaml:1:22: error: source/cli/vrf/x_segment: a VRF whose name ends in \"_segment\" cannot "
       "have segments; rename it\n",
       taken},
      {"AnEmptyName", "app: {\"\": {}}\n", "a.yaml:1:7: error: app/: \"\" is not a name\n"},
      {"ANameOfTwoLines", "app: {\"a\\nb\": {}}\n",
       "a.yaml:1:7: error: app/a\\x0ab: \"a\\x0ab\" is not a name\n"},
      {"AKeyThatIsLongerThanALine", "{\"" + std::string(119, 'k') + "\xc3\xa4\": {}}",
       "a.json:1:2: error: " + std::string(119, 'k') +
           "...: unknown key; known are switch, "
           "fieldSetL4Port, fieldSetIpPrefix, app, matchIpv4PrefixList, matchIpv6PrefixList, "
           "prefixList, ipv6PrefixList, source\n",
       refused, "a.json"},
      {"AnInterfaceNameWithBlanks", "switch: {intfStatus: [Ethernet 1]}\n",
       "a.yaml:1:23: error: switch/intfStatus/Ethernet 1: \"Ethernet 1\" is not the name of an "
       "interface such as Ethernet1, of at most 64 bytes without blanks\n"},
      {"ATextWhereTrueOrFalseIsWanted", "source: {cli: {enabled: yes}}\n",
       "a.yaml:1:25: error: source/cli/enabled: true or false is wanted, not a text\n"},
      {"ATrueInQuotes", "source: {cli: {enabled: \"true\"}}\n",
       "a.yaml:1:25: error: source/cli/enabled: true or false is wanted, not a text\n"},
      {"ATextWhereAListIsWanted", "app: {web: {proto: tcp}}\n",
       "a.yaml:1:20: error: app/web/proto: a list is wanted, not a text\n"},
      {"AListWhereAMappingIsWanted", "app: [web]\n",
       "a.yaml:1:6: error: app: a mapping is wanted, not a list\n"},
      {"ATrueWhereANameIsWanted", "app: {web: {dstPortFieldSet: true}}\n",
       "a.yaml:1:30: error: app/web/dstPortFieldSet: a name is wanted, not \"true\"\n"},
      {"ASequenceNumberThatIsNone",
       "source: {cli: {policy: {p: {rule: {ten: {service: a, action: drop}}}}}}\n",
       "a.yaml:1:36: error: source/cli/policy/p/rule/ten: \"ten\" is not a number from 0 to "
       "4294967295\n"},
      {"ARuleThatIsAText", "source: {cli: {policy: {p: {rule: {10: web}}}}}\n",
       "a.yaml:1:40: error: source/cli/policy/p/rule/10: a mapping of service, action, log, "
       "nexthop is wanted, not a text\n"},
      {"AFamilyByANumber", R"({"app": {"web": {"af": 4}}})",
       "a.json:1:24: error: app/web/af: \"4\" is not unspecified, ipv4 or ipv6\n", refused,
       "a.json"},
      {"AForwardingThatThereIsNot", "source: {cli: {forwardType: both}}\n",
       "a.yaml:1:29: error: source/cli/forwardType: \"both\" is not bridged, routed, "
       "bridged|routed or none\n"},
      {"AListSourceOfAnUnknownKind",
       "source: {cli: {vrf: {red: {segment: {a: {prefixIpv4Ml: offices}}}}}}\n",
       "a.yaml:1:56: error: source/cli/vrf/red/segment/a/prefixIpv4Ml: \"offices\" is not "
       "\"matchList:NAME\", \"prefixList:NAME\" or \"none\"\n"},
      {"TheSameKeyTwice", "app: {web: {}, web: {}}\n",
       "a.yaml:1:16: error: app/web: given twice; the first is at a.yaml:1:7\n", taken},
      {"TheSamePartTwice", "app: {}\napp: {}\n",
       "a.yaml:2:1: error: app: given twice; the first is at a.yaml:1:1\n", taken},
      {"TheSamePartTwiceInJson", R"({"app": {}, "app": {}})",
       "a.json:1:13: error: app: given twice; the first is at a.json:1:2\n", taken, "a.json"},
      {"TheSameKeyWrittenTwoWays",
       "matchIpv6PrefixList: {l: {subnets: ['2001:db8::/32', '2001:0DB8::/32']}}\n",
       "a.yaml:1:54: error: matchIpv6PrefixList/l/subnets/2001:0DB8::/32: given twice; the first "
       "is at a.yaml:1:37\n",
       taken},
      {"TheSameValueTwice", "app: {web: {proto: [tcp, tcp]}}\n",
       "a.yaml:1:26: error: app/web/proto/tcp: given twice; the first is at a.yaml:1:21\n"},
      {"TheSameKeyTwiceInALargeMapping", fortyApplicationsAndOneAgain(),
       "a.yaml:42:3: error: app/a7: given twice; the first is at a.yaml:9:3\n", taken},
      {"ColumnsInCharactersOfYaml", "{\"app\": {\"\xc3\xa4\xc3\xb6\": 1}}",
       "a.yaml:1:16: error: app/\xc3\xa4\xc3\xb6: a mapping is wanted, not a number\n"},
      {"ColumnsInCharactersOfJson", "{\"app\": {\"\xc3\xa4\xc3\xb6\": 1}}",
       "a.json:1:16: error: app/\xc3\xa4\xc3\xb6: a mapping is wanted, not a number\n", refused,
       "a.json"},
      {"AMissingMember", R"({"app": {},})",
       "a.json:1:12: error: not JSON: Missing a name for object member.\n", notADocument, "a.json"},
      {"SingleQuotesInJson", R"({'app': {}})",
       "a.json:1:2: error: not JSON: Missing a name for object member.\n", notADocument, "a.json"},
      {"AJsonThatEndsEarly", "{\"app\":\n {",
       "a.json:2:3: error: not JSON: the file ends too early\n", notADocument, "a.json"},
      {"AnEmptyJson", "", "a.json:1:1: error: not JSON: the file ends too early\n", notADocument,
       "a.json"},
      {"TwoJsonTexts", "{} {}",
       "a.json:1:4: error: not JSON: The document root must not be followed by other values.\n",
       notADocument, "a.json"},
      {"CommentsInJson", "{} // all\n",
       "a.json:1:4: error: not JSON: The document root must not be followed by other values.\n",
       notADocument, "a.json"},
      {"ANulInJson", std::string("{}\0", 3), "a.json:1:3: error: not JSON: a byte 0\n",
       notADocument, "a.json"},
      {"AYamlThatEndsEarly", "app: {web\n",
       "a.yaml:2:1: error: not YAML: while parsing a flow mapping, did not find expected ',' or "
       "'}'\n",
       notADocument},
      {"TwoYamlDocuments", "a: 1\n---\nb: 1\n",
       "a.yaml:2:1: error: a second document in one file; give each its own\n", notADocument},
      {"AnAlias", "app: &x {}\nsource: *x\n",
       "a.yaml:2:9: error: aliases are not taken; write the value again\n", notADocument},
      {"ABombOfAliases",
       "a: &a [x, x, x, x, x, x, x, x, x]\nb: &b [*a, *a, *a, *a, *a, *a, *a, *a, *a]\n",
       "a.yaml:2:8: error: aliases are not taken; write the value again\n", notADocument},
      {"ATag", "app: !!set {}\n", "a.yaml:1:6: error: tags are not taken; write the value alone\n",
       notADocument},
      {"AKeyThatIsAList", "? [a]\n: b\n", "a.yaml:1:3: error: a key has to be a text\n",
       notADocument},
      {"ATopThatIsNoMapping", "[]",
       "a.json:1:1: error: a mapping of parts is wanted, such as \"source\" and \"switch\", not a "
       "list\n",
       notADocument, "a.json"},
      {"ATextAlone", "hello\n",
       "a.yaml:1:1: error: a mapping of parts is wanted, such as \"source\" and \"switch\", not a "
       "text\n",
       notADocument},
      {"BracketsInJson", std::string(100000, '['), "a.json:1:65: error: deeper than 64 levels\n",
       notADocument, "a.json"},
      {"BracketsInYaml", std::string(100000, '['), "a.yaml:1:65: error: deeper than 64 levels\n",
       notADocument},
      {"DashesInYaml", std::string(3000, '-').append("\n"),
       "a.yaml:1:1: error: a mapping of parts is wanted, such as \"source\" and \"switch\", not a "
       "text\n",
       notADocument},
  };
  return documents;
}

}  // namespace TestAgent
