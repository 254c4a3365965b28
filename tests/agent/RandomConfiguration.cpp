#include "tests/agent/RandomConfiguration.h"

#include <array>

namespace TestAgent {
namespace {

class RandomWriter {
 public:
  RandomWriter(std::mt19937& random, const RandomShape& shape) : random_(random), shape_(shape) {}

  std::string all() {
    const std::string known = switchPart();
    text_ = "source:\n";
    for (unsigned i = 0; i < shape_.sources; ++i) {
      if (shape_.ofItsOwn || !oneIn(5)) source(std::string(1, static_cast<char>('s' + i)));
    }
    applications();
    lists();
    return text_ + known;
  }

 private:
  unsigned below(unsigned end) { return static_cast<unsigned>(random_() % end); }
  bool oneIn(unsigned many) { return below(many) == 0; }
  std::string number(unsigned end) { return std::to_string(below(end)); }
  const char* yesOrNo() { return oneIn(2) ? "true" : "false"; }

  void source(const std::string& name) {
    const bool isEnabled = shape_.ofItsOwn || !oneIn(4);
    text_ += "  " + name + ":\n    enabled: " + (isEnabled ? "true\n" : "false\n");
    if (oneIn(2)) text_ += "    defaultPolicy: forward\n";
    if (oneIn(2)) text_ += oneIn(2) ? "    forwardType: routed\n" : "    forwardType: bridged\n";
    text_ += "    policy:\n";
    for (const char* policy : {"p", "q", "r"}) {
      if (oneIn(4)) continue;
      text_ += std::string("      ") + policy + ":\n        rule:\n";
      for (const char* seqnum : {"1", "2", "1023", "1030"}) {
        if (!oneIn(2)) continue;
        text_ += std::string("          ") + seqnum + ": {service: a" + number(5) +
                 ", action: " + (oneIn(2) ? "drop" : "forward") + ", log: " + yesOrNo() + "}\n";
      }
    }
    text_ += "    vrf:\n";
    for (const char* vrf : {"default", "red"}) {
      if (oneIn(5)) continue;
      text_ += std::string("      ") + vrf + ":\n        segment:\n";
      segments(false);
      text_ += "        prefix: {";
      if (oneIn(3)) text_ += "10.0.0.0/16: x, ";
      if (oneIn(3)) text_ += "10.1.0.0/16: y, ";
      text_ += "}\n";
    }
    if (oneIn(2) || shape_.ofItsOwn) {
      text_ += "    l2SegmentDir:\n        segment:\n";
      segments(true);
    }
  }

  void segments(bool isL2) {
    unsigned number = 0;
    for (const char* segment : {"x", "y", "z"}) {
      ++number;
      if (oneIn(5)) continue;
      text_ += std::string("          ") + segment + ":\n            policy: {";
      for (const char* from : {"x", "y", "z"}) {
        if (oneIn(2)) text_ += std::string(from) + ": " + (oneIn(2) ? "p, " : "q, ");
      }
      if (!shape_.ofItsOwn && oneIn(4)) text_ += "forwarding-segments: p";
      text_ += "}\n";
      if (oneIn(3)) text_ += "            fallbackPolicy: r\n";
      if (isL2) {
        if (oneIn(2)) {
          text_ += "            interfaces: {E" + this->number(3) + ": [" +
                   std::to_string(number * 100) + "-" + std::to_string(number * 100 + below(90)) +
                   "]}\n";
        }
        continue;
      }
      if (oneIn(2)) text_ += "            interfaces: [E" + this->number(3) + "]\n";
      const std::string list = shape_.ofItsOwn ? std::to_string(number - 1) : this->number(3);
      if (oneIn(2)) {
        text_ +=
            "            prefixIpv4Ml: " + std::string(oneIn(3) ? "prefixList:" : "matchList:") +
            "l" + list + "\n";
      }
      if (oneIn(3)) text_ += "            prefixIpv6Ml: matchList:l" + list + "\n";
    }
  }

  void applications() {
    text_ += "app:\n";
    for (int i = 0; i < 5; ++i) {
      if (oneIn(6)) continue;
      text_ += "  a" + std::to_string(i) + ": {proto: [";
      for (const char* protocol : {"tcp", "udp", "icmp", "50-53", "0-255"}) {
        if (oneIn(3)) text_ += std::string(protocol) + ", ";
      }
      text_ += "]";
      if (oneIn(3)) text_ += ", af: ipv4";
      if (oneIn(2)) text_ += ", dstPortFieldSet: s" + number(3);
      if (oneIn(4)) text_ += ", srcPortFieldSet: s" + number(3);
      if (oneIn(3)) text_ += ", srcPrefixFieldSet: t" + number(2);
      if (oneIn(3)) text_ += ", dstPrefixFieldSet: t" + number(2);
      text_ += "}\n";
    }
    text_ += "fieldSetL4Port:\n";
    for (unsigned i = 0; i < 3; ++i) {
      text_ += "  s" + std::to_string(i) + ": {ports: [";
      for (unsigned port = 0; port < 4; ++port) {
        const unsigned first = 100 * port + 7;
        if (!oneIn(2)) continue;
        const unsigned last = first + (shape_.ofItsOwn ? 20 * port + 3 : below(90));
        text_ += std::to_string(first) + "-" + std::to_string(last) + ", ";
      }
      text_ += "]}\n";
    }
    text_ += "fieldSetIpPrefix:\n";
    for (unsigned i = 0; i < 2; ++i) {
      text_ += "  t" + std::to_string(i) + ": {prefixes: [";
      for (const char* prefix : {"10.0.0.0/8", "192.0.2.0/24", "'2001:db8::/32'"}) {
        if (oneIn(2)) text_ += std::string(prefix) + ", ";
      }
      text_ += "]}\n";
    }
  }

  void lists() {
    for (const bool isIpv4 : {true, false}) {
      text_ += isIpv4 ? "matchIpv4PrefixList:\n" : "matchIpv6PrefixList:\n";
      for (unsigned list = 0; list < 3; ++list) {
        if (!shape_.ofItsOwn && oneIn(5)) continue;
        text_ += "  l" + std::to_string(list) + ": {subnets: [";
        each(list, [&](unsigned prefix) { text_ += this->prefix(prefix, isIpv4) + ", "; });
        text_ += "]}\n";
      }
    }
    text_ += "prefixList:\n";
    for (unsigned list = 0; list < 3; ++list) {
      text_ += "  l" + std::to_string(list) + ":\n    prefixEntry:\n";
      unsigned seqnum = 0;
      each(list, [&](unsigned prefix) {
        text_ += "      " + std::to_string(++seqnum) + ": {prefix: " + this->prefix(prefix, true) +
                 ", action: " + (oneIn(4) ? "deny" : "permit") + "}\n";
      });
    }
  }

  // Some prefixes of those that the list may have.
  template <class Use>
  void each(unsigned list, const Use& use) {
    for (unsigned prefix = 0; prefix < 6; ++prefix) {
      if (shape_.ofItsOwn && prefix % 3 != list) continue;
      if (oneIn(2)) use(prefix);
    }
  }

  static std::string prefix(unsigned number, bool isIpv4) {
    return isIpv4 ? "10." + std::to_string(number) + ".0.0/16"
                  : "'2001:db8:" + std::to_string(number) + "::/48'";
  }

  std::string switchPart() {
    const bool isFixed = shape_.ofItsOwn;
    const auto there = [&] { return isFixed || !oneIn(5); };
    std::string text = "switch:\n  intfStatus: [";
    const std::array<bool, 3> has{there(), there(), there()};
    for (std::size_t i = 0; i < has.size(); ++i) {
      if (has[i]) text += "E" + std::to_string(i) + ", ";
    }
    text += "]\n  ipIntfStatus: {";
    if (has[0] && there()) text += "E0: default, ";
    if (has[1] && there()) text += "E1: red, ";
    text += there() ? "}\n  vrf: [red]\n" : "}\n";
    text += "  hwCapability: {globalPrefixListSupported: ";
    text += isFixed ? "true" : yesOrNo();
    text += ", portRangeBlocksRequired: ";
    text += oneIn(12) ? "true" : "false";
    text += ", serviceRuleSupported: ";
    text += oneIn(12) ? "true" : "false";
    text += ", forwardingSegmentsPolicySupported: ";
    text += isFixed ? "false" : yesOrNo();
    return text + "}\n";
  }

  std::mt19937& random_;
  RandomShape shape_;
  std::string text_;
};

}  // namespace

std::string randomConfiguration(std::mt19937& random, const RandomShape& shape) {
  return RandomWriter(random, shape).all();
}

}  // namespace TestAgent
