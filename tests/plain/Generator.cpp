#include "tests/plain/Generator.h"

#include "tests/plain/Outputs.h"

namespace Plain {
namespace {

using Names = std::vector<std::string>;
const Names sources{"cli", "api", "gnmi"};
const Names vrfs{"default", "red", "blue"};
const Names segments{"a", "b", "c", "d"};
const Names fromSegments{"a", "b", "c", "d", "forwarding-segments", "forwarding-segments"};
const Names policies{"p", "q", "r"};
const Names applications{"web", "dns", "icmp"};
const Names listNames{"x", "y"};
const Names paths{"main", "other"};
const Names interfaces{"Ethernet1", "Ethernet2", "Ethernet3"};
const Names sequenceNumbers{"0", "10", "20", "1023", "1024"};
const Names fieldSets{"s", "t"};

}  // namespace

std::string Generator::subnet(bool ipv6, bool withHostBits) {
  static const Names four{"10.0.0.0/8", "10.1.0.0/16", "10.1.1.0/24", "192.0.2.0/24", "0.0.0.0/0"};
  static const Names six{"2001:db8::/32", "2001:db8:1::/48", "2001:db8:1:1::/64", "::/0"};
  static const Names fourHosts{"10.1.1.1/24", "10.1.2.3/16"};
  static const Names sixHosts{"2001:db8::1/32", "2001:db8:1::1/48"};
  const bool host = withHostBits && chance(15);
  return pathKey(of(ipv6 ? host ? sixHosts : six : host ? fourHosts : four));
}

std::string Generator::className() {
  if (chance(30)) return "__segment_" + of(segments);
  return "__VRF_" + of(vrfs) + "_segment_" + of(segments);
}

std::string Generator::source() {
  const std::string name = "source/" + of(sources);
  switch (below(10)) {
    case 0:
    case 1:
      if (chance(10)) return "- source";
      if (chance(5)) return "+ " + name + " = new";
      return (chance(60) ? "+ " : "- ") + name;
    case 2:
      return "+ " + name + "/defaultPolicy = " + of({"unset", "drop", "forward"});
    case 3:
      return "+ " + name + "/forwardType = " + of({"none", "bridged", "routed", "bridged|routed"});
    default:
      return "+ " + name + "/enabled = " + (chance(65) ? "true" : "false");
  }
}

std::string Generator::config() { return "source/" + of(sources); }

// Sometimes one that is too long.
std::string Generator::vrfName() { return chance(2) ? std::string(101, 'v') : of(vrfs); }
std::string Generator::intfName() { return chance(2) ? std::string(65, 'i') : of(interfaces); }

std::string Generator::vrf() {
  if (chance(25)) return sign() + config() + "/l2SegmentDir" + " = l2";
  return sign() + config() + "/vrf/" + vrfName();
}

std::string Generator::segmentDir() {
  return config() + (chance(20) ? "/l2SegmentDir" : "/vrf/" + of(vrfs));
}

std::string Generator::listSource() {
  if (chance(20)) return "none";
  return of({"matchList:", "prefixList:"}) + of(listNames);
}

std::string Generator::inSegment() {
  const std::string directory = segmentDir();
  const std::string name = chance(4) ? "" : of(segments);
  const std::string segment = directory + "/segment/" + name;
  const std::size_t vrf = directory.find("/vrf/");
  const std::string ownClass =
      (vrf == std::string::npos ? "_" : "__VRF_" + directory.substr(vrf + 5)) + "_segment_" + name;
  switch (below(9)) {
    case 0:
    case 1:
      return sign() + segment;
    case 2:
    case 3:
      return sign() + segment + "/policy/" + of(fromSegments) + " = " +
             (chance(5) ? "" : of(policies));
    case 4:
      return "+ " + segment + "/fallbackPolicy = " + (chance(30) ? "" : of(policies));
    case 5:
      return "+ " + segment + "/className = " +
             (chance(15)   ? ""
              : chance(70) ? ownClass
                           : className());
    case 6:
      return "+ " + segment + "/prefixIpv4Ml = " + listSource();
    case 7:
      return "+ " + segment + "/prefixIpv6Ml = " + listSource();
    default:
      return sign() + config() + "/vrf/" + of(vrfs) + "/prefix/" + subnet(chance(40), false) +
             " = " + (chance(5) ? "" : of(segments));
  }
}

std::string Generator::policy() {
  const std::string name = config() + "/policy/" + of(policies);
  if (chance(30)) return sign() + name;
  const std::string service = chance(10) ? "" : of(applications);
  return sign() + name + "/rule/" + of(sequenceNumbers) + " = service=" + service +
         ",action=" + of({"drop", "forward", "redirect"}) + ",log=" + of({"true", "false"}) +
         ",nexthop=" + of({"none", "192.0.2.1"});
}

std::string Generator::classMap() {
  const std::string name = config() + "/classMap/" + className();
  if (chance(30)) return sign() + name;
  const std::string intf = name + "/intfVlanData/" + intfName();
  if (chance(50)) return sign() + intf;
  return sign() + intf + "/vlanRange/" + of({"1", "100-199", "100-120", "4000-4094", "199-100"});
}

std::string Generator::lists() {
  const std::string path = "lists/" + of(paths);
  if (chance(15)) {
    if (chance(5)) return "- lists";
    if (chance(5)) return "+ " + path + " = new";
    return (chance(75) ? "+ " : "- ") + path;
  }
  const bool ipv6 = chance(40);
  const std::string list =
      path + (ipv6 ? "/matchIpv6PrefixList/" : "/matchIpv4PrefixList/") + of(listNames);
  if (chance(30)) return sign() + list;
  return sign() + list + "/subnets/" + subnet(ipv6, true);
}

std::string Generator::prefixLists() {
  const bool ipv6 = chance(40);
  const std::string list =
      std::string("acl/") + (ipv6 ? "ipv6PrefixList/" : "prefixList/") + of(listNames);
  if (chance(30)) return sign() + list;
  std::string prefix = subnet(ipv6, false);
  prefix.replace(prefix.find("%2F"), 3, "/");
  return sign() + list + (ipv6 ? "/ipv6PrefixEntry/" : "/prefixEntry/") + of({"10", "20", "30"}) +
         " = prefix=" + prefix + ",action=" + of({"permit", "permit", "deny"});
}

std::string Generator::status() {
  switch (below(3)) {
    case 0:
      return sign() + "ip/vrf/" + vrfName();
    case 1:
      return sign() + "ip/ipIntfStatus/" + intfName() + " = " + vrfName();
    default:
      return sign() + "intf/intfStatus/" + intfName();
  }
}

std::string Generator::capability() {
  return "+ cap/" +
         of({"serviceRuleSupported", "forwardingSegmentsPolicySupported",
             "globalPrefixListSupported", "globalPrefixListSupported",
             "forwardingSegmentsPolicySupported", "portRangeBlocksRequired"}) +
         " = " + (chance(70) ? "true" : "false");
}

std::string Generator::application() {
  const std::string app = "apps/app/" + of(applications);
  switch (below(8)) {
    case 0:
    case 1:
      return sign() + app;
    case 2:
      return "+ " + app + "/af = " + of({"unspecified", "ipv4", "ipv6"});
    case 3:
    case 4:
      return sign() + app + "/proto/" +
             (chance(3) ? "7-4" : of({"1", "6", "17", "0-255", "1-255", "4-7", "254-255"}));
    default:
      return "+ " + app + "/" +
             of({"dstPortFieldSet", "srcPortFieldSet", "dstPrefixFieldSet", "srcPrefixFieldSet"}) +
             " = " + (chance(20) ? "" : of(fieldSets));
  }
}

std::string Generator::fieldSet() {
  const bool ports = chance(50);
  const std::string set =
      std::string("sets/") + (ports ? "fieldSetL4Port/" : "fieldSetIpPrefix/") + of(fieldSets);
  switch (below(4)) {
    case 0:
      return sign() + set;
    case 1:
      return sign() + set + "/subConfig = l2";
    default:
      return sign() + set + "/subConfig/" +
             (ports ? "ports/" + (chance(3) ? "443-80"
                                            : of({"80", "80-443", "1000-1999", "0-65535", "443"}))
                    : "prefixes/" + subnet(chance(40), false));
  }
}

std::vector<std::string> Generator::beginning() {
  Names lines;
  for (const std::string& path : paths) lines.push_back("+ lists/" + path);
  for (const std::string& vrf : vrfs) lines.push_back("+ ip/vrf/" + vrf);
  for (const std::string& intf : interfaces) {
    lines.push_back("+ intf/intfStatus/" + intf);
    lines.push_back("+ ip/ipIntfStatus/" + intf + " = " + of(vrfs));
  }
  for (int i = 0; i < 3; ++i) lines.push_back(capability());
  for (const std::string& source : sources) {
    lines.push_back("+ source/" + source);
    if (chance(70)) lines.push_back("+ source/" + source + "/enabled = true");
  }
  lines.insert(lines.begin() + below(static_cast<unsigned>(lines.size())), "start");
  return lines;
}

std::vector<std::string> Generator::changes() {
  if (chance(1)) return {"stop", change(), "start"};
  std::string last = change();
  if (last[0] == '-' && chance(8) && last.find('/') != std::string::npos) {
    // All of them, not the one.
    const std::size_t path = last.find(" =", 2);
    last.resize(path == std::string::npos ? last.size() : path);
    const std::size_t key = last.rfind('/');
    const std::string above = last.substr(0, key);
    if (last.substr(key) != "/l2SegmentDir" && last.substr(key) != "/subConfig") return {above};
  }
  Names lines;
  if (chance(70)) lines = parentsOf(last);
  lines.push_back(last);
  return lines;
}

// The lines that make what the path of the line leads through.
std::vector<std::string> Generator::parentsOf(const std::string& line) {
  Names parents;
  const std::string path = line.substr(0, line.find(" ="));
  for (std::size_t at = 2; (at = path.find('/', at + 1)) != std::string::npos;) {
    const std::string above = path.substr(2, at - 2);
    const std::size_t name = above.rfind('/') + 1;
    const std::string step = above.substr(name);
    const std::string owner = name == 0 ? "" : above.substr(0, name - 1);
    if (step == "l2SegmentDir" || step == "subConfig") {
      parents.push_back("+ " + above + " = l2");
    } else if (owner.ends_with("/vrf") || owner.ends_with("/segment") ||
               owner.ends_with("/classMap") || owner.ends_with("/intfVlanData") ||
               owner.ends_with("PrefixList") || owner.ends_with("/prefixList") ||
               owner.ends_with("/app") || owner.ends_with("/fieldSetL4Port") ||
               owner.ends_with("/fieldSetIpPrefix") || owner == "lists" ||
               (owner.ends_with("/policy") && !owner.ends_with("/segment"))) {
      parents.push_back("+ " + above);
    }
  }
  return parents;
}

std::string Generator::change() {
  const unsigned which = below(100);
  if (which < 3) return source();
  if (which < 7) return vrf();
  if (which < 37) return inSegment();
  if (which < 50) return policy();
  if (which < 61) return classMap();
  if (which < 70) return lists();
  if (which < 77) return prefixLists();
  if (which < 82) return status();
  if (which < 84) return capability();
  if (which < 92) return application();
  return fieldSet();
}

}  // namespace Plain
