// trace: packets through the compiled tables, held against an evaluation of the configuration that
// knows nothing of tables.
#include <gtest/gtest.h>

#include <array>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "agent/Document/Load.h"
#include "agent/Schema/Check.h"
#include "agent/Store/Reconcile.h"
#include "agent/View/PacketTrace.h"
#include "tests/agent/Program.h"

namespace {

using Agent::Packet;
using Agent::Verdict;
using TestAgent::Folder;
using TestAgent::Result;
using TestAgent::run;

std::vector<std::string> traceWords(std::vector<std::string> packet) {
  std::vector<std::string> words{"trace", "-f", "examples/campus"};
  words.insert(words.end(), packet.begin(), packet.end());
  return words;
}

TEST(PacketTrace, OfAPermittedPacketWithEachStep) {
  const Result result =
      run(traceWords({"--expect", "permit", "10.10.1.2", "10.100.0.5", "tcp", "40000", "443"}));
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out,
            "source 10.10.1.2: segment \"staff\", by the VRF-wide prefix 10.10.0.0/16\n"
            "destination 10.100.0.5: segment \"servers\", by the VRF-wide prefix 10.100.0.0/16\n"
            "\"servers\" takes traffic from \"staff\" by the policy \"to-servers\"\n"
            "rule 10 of \"to-servers\" matches, hardware rule 41943042 (any to any, tcp, ports "
            "443): forward\n"
            "verdict: permit\n");
}

TEST(PacketTrace, ExpectDecidesTheStatus) {
  EXPECT_EQ(run(traceWords({"--expect", "drop", "10.10.1.2", "10.100.0.5", "tcp", "40000", "443"}))
                .status,
            1);
  EXPECT_EQ(
      run(traceWords({"--expect", "drop", "10.10.1.2", "10.100.0.5", "tcp", "40000", "22"})).status,
      0);
}

TEST(PacketTrace, TheLongestPrefixClassifies) {
  EXPECT_NE(run(traceWords({"10.20.5.1", "10.100.0.5", "tcp", "1", "22"}))
                .out.find("segment \"administrators\", by the VRF-wide prefix 10.20.5.0/24"),
            std::string::npos);
}

TEST(PacketTrace, TheInterfaceGoesBeforeTheAddress) {
  const std::string out =
      run(traceWords({"--in", "Ethernet4", "10.20.0.1", "10.100.0.5", "tcp", "1", "22"})).out;
  EXPECT_NE(out.find("segment \"administrators\", which holds the interface Ethernet4"),
            std::string::npos);
  EXPECT_NE(out.find("verdict: permit"), std::string::npos);
}

TEST(PacketTrace, OfAVlanInTheL2Directory) {
  EXPECT_NE(run(traceWords({"--in", "Ethernet1:250", "10.20.0.1", "10.100.0.5", "icmp"}))
                .out.find("segment \"telephones\", which holds the interface Ethernet1, VLAN 250"),
            std::string::npos);
}

TEST(PacketTrace, RefusesWhatIsNoPacket) {
  EXPECT_EQ(run(traceWords({"10.0.0", "10.100.0.5", "icmp"})).status, 2);
  EXPECT_EQ(run(traceWords({"10.0.0.1", "10.100.0.5", "x"})).status, 2);
  EXPECT_EQ(run(traceWords({"10.0.0.1", "10.100.0.5", "tcp"})).status, 2);
  EXPECT_EQ(run(traceWords({"10.0.0.1", "2001:db8::1", "icmp"})).err,
            "fwagent: 10.0.0.1 and 2001:db8::1 are addresses of two families\n");
  EXPECT_EQ(run(traceWords({"10.0.0.1", "10.100.0.5", "tcp", "1", "65536"})).status, 2);
  EXPECT_EQ(run(traceWords({"--in", "E1:4095", "10.0.0.1", "10.100.0.5", "icmp"})).status, 2);
}

// A configuration as plain values, and what it means for a packet.
struct Naive {
  struct Application {
    std::vector<std::string> protocols;
    std::vector<std::pair<unsigned, unsigned>> ports;  // of the destination; empty: any
    std::vector<std::pair<unsigned, unsigned>> sourcePorts;
    std::string source;  // empty: any
    std::string destination;
  };
  struct Rule {
    unsigned application;
    unsigned action;  // 0: drop, 1: forward
  };
  struct Segment {  // has the interface of its number
    std::vector<std::string> prefixes;
    std::vector<std::string> ipv6Prefixes;
    std::vector<int> policyFrom;  // by segment; -1: none
    int fallback;
  };

  std::vector<Application> applications;
  std::vector<std::vector<Rule>> policies;
  std::vector<Segment> segments;
  bool forwardsByDefault = false;

  std::string document(const std::string& capability) const {
    std::ostringstream text;
    std::ostringstream sets;
    std::ostringstream lists;
    std::ostringstream ipv6Lists;
    std::ostringstream prefixSets;
    std::ostringstream interfaces;
    std::ostringstream routed;
    text << "app:\n";
    for (std::size_t i = 0; i < applications.size(); ++i) {
      const Application& each = applications[i];
      text << "  a" << i << ": {proto: [";
      for (const std::string& protocol : each.protocols) text << protocol << ", ";
      text << "]";
      for (const auto& [side, ports] :
           {std::pair("dst", &each.ports), {"src", &each.sourcePorts}}) {
        if (ports->empty()) continue;
        text << ", " << side << "PortFieldSet: " << side << i;
        sets << "  " << side << i << ": {ports: [";
        for (const auto& [first, last] : *ports) sets << first << "-" << last << ", ";
        sets << "]}\n";
      }
      for (const auto& [side, prefix] :
           {std::pair("src", &each.source), {"dst", &each.destination}}) {
        if (prefix->empty()) continue;
        text << ", " << side << "PrefixFieldSet: " << side << i;
        prefixSets << "  " << side << i << ": {prefixes: [" << *prefix << "]}\n";
      }
      text << "}\n";
    }
    text << "source:\n  cli:\n    enabled: true\n    defaultPolicy: "
         << (forwardsByDefault ? "forward" : "drop") << "\n    policy:\n";
    for (std::size_t i = 0; i < policies.size(); ++i) {
      text << "      p" << i << ":\n        rule:\n";
      for (std::size_t rule = 0; rule < policies[i].size(); ++rule) {
        text << "          " << rule * 10 << ": {service: a" << policies[i][rule].application
             << ", action: " << (policies[i][rule].action == 0 ? "drop" : "forward") << "}\n";
      }
    }
    text << "    vrf:\n      default:\n        segment:\n";
    for (std::size_t i = 0; i < segments.size(); ++i) {
      text << "          s" << i << ":\n            prefixIpv4Ml: matchList:l" << i
           << "\n            prefixIpv6Ml: matchList:l" << i << "\n            interfaces: [E" << i
           << "]\n            policy: {";
      interfaces << "E" << i << ", ";
      routed << "E" << i << ": default, ";
      for (std::size_t from = 0; from < segments.size(); ++from) {
        const int policy = segments[i].policyFrom[from];
        if (policy >= 0) text << "s" << from << ": p" << policy << ", ";
      }
      text << "}\n";
      if (segments[i].fallback >= 0) {
        text << "            fallbackPolicy: p" << segments[i].fallback << "\n";
      }
      lists << "  l" << i << ": {subnets: [";
      for (const std::string& prefix : segments[i].prefixes) lists << prefix << ", ";
      lists << "]}\n";
      ipv6Lists << "  l" << i << ": {subnets: [";
      for (const std::string& prefix : segments[i].ipv6Prefixes) ipv6Lists << prefix << ", ";
      ipv6Lists << "]}\n";
    }
    text << "switch: {intfStatus: [" << interfaces.str() << "], ipIntfStatus: {" << routed.str()
         << "}, hwCapability: {" << capability << ": true}}\n"
         << "matchIpv4PrefixList:\n"
         << lists.str() << "matchIpv6PrefixList:\n"
         << ipv6Lists.str() << "fieldSetL4Port:\n"
         << sets.str() << "fieldSetIpPrefix:\n"
         << prefixSets.str();
    return text.str();
  }

  int segmentOf(const Lanx::IpGenAddr& address) const {
    int best = -1;
    int length = -1;
    for (std::size_t i = 0; i < segments.size(); ++i) {
      for (const auto* prefixes : {&segments[i].prefixes, &segments[i].ipv6Prefixes}) {
        for (const std::string& text : *prefixes) {
          const auto prefix = Lanx::IpGenPrefix::parse(text);
          if (!prefix.contains(address) || prefix.length() <= length) continue;
          length = prefix.length();
          best = static_cast<int>(i);
        }
      }
    }
    return best;
  }

  int sourceSegmentOf(const Packet& packet) const {
    for (std::size_t i = 0; i < segments.size(); ++i) {
      if (packet.interface == "E" + std::to_string(i)) return static_cast<int>(i);
    }
    return segmentOf(packet.source);
  }

  static bool holds(const std::vector<std::pair<unsigned, unsigned>>& ports, unsigned port) {
    for (const auto& [first, last] : ports) {
      if (first <= port && port <= last) return true;
    }
    return ports.empty();
  }

  bool matches(const Application& application, const Packet& packet) const {
    if (!application.source.empty() &&
        !Lanx::IpGenPrefix::parse(application.source).contains(packet.source)) {
      return false;
    }
    if (!application.destination.empty() &&
        !Lanx::IpGenPrefix::parse(application.destination).contains(packet.destination)) {
      return false;
    }
    if (application.protocols.empty()) {
      return !application.source.empty() || !application.destination.empty();
    }
    for (const std::string& text : application.protocols) {
      if (text == "0-255") return true;
      if (std::stoi(text) != packet.protocol) continue;
      if (packet.protocol != 6 && packet.protocol != 17) return true;
      if (holds(application.ports, packet.destinationPort) &&
          holds(application.sourcePorts, packet.sourcePort)) {
        return true;
      }
    }
    return false;
  }

  Verdict verdict(const Packet& packet) const {
    const Verdict byDefault = forwardsByDefault ? Verdict::permit : Verdict::drop;
    const int from = sourceSegmentOf(packet);
    const int to = segmentOf(packet.destination);
    if (to < 0) return byDefault;
    const Segment& segment = segments[static_cast<std::size_t>(to)];
    int policy = from < 0 ? -1 : segment.policyFrom[static_cast<std::size_t>(from)];
    if (policy < 0) policy = segment.fallback;
    if (policy < 0) return byDefault;
    for (const Rule& rule : policies[static_cast<std::size_t>(policy)]) {
      if (matches(applications[rule.application], packet)) {
        return rule.action == 0 ? Verdict::drop : Verdict::permit;
      }
    }
    return byDefault;
  }
};

class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  unsigned below(unsigned end) { return static_cast<unsigned>(engine_() % end); }

 private:
  std::mt19937 engine_;
};

// Few values of everything, so that they meet.
Naive randomConfiguration(Random& random) {
  Naive naive;
  naive.forwardsByDefault = random.below(2) == 0;
  for (unsigned i = 0; i < 6; ++i) {
    Naive::Application application;
    for (const char* protocol : {"1", "6", "17", "0-255"}) {
      if (random.below(3) == 0) application.protocols.emplace_back(protocol);
    }
    for (unsigned ports = random.below(3); ports > 0; --ports) {
      const unsigned first = ports * 20 + random.below(10);
      application.ports.emplace_back(first, first + random.below(10));
    }
    if (random.below(3) == 0) {
      const unsigned first = random.below(10);
      application.sourcePorts.emplace_back(first, first + random.below(50));
    }
    const auto prefix = [&random]() -> std::string {
      const std::string number = std::to_string(random.below(4));
      return random.below(3) == 0 ? "2001:db8:" + number + "::/48" : "10." + number + ".0.0/16";
    };
    if (random.below(3) == 0) application.source = prefix();
    if (random.below(4) == 0) application.destination = prefix();
    naive.applications.push_back(application);
  }
  for (unsigned i = 0; i < 4; ++i) {
    std::vector<Naive::Rule> rules;
    for (unsigned rule = random.below(5); rule > 0; --rule) {
      rules.push_back({random.below(6), random.below(2)});
    }
    naive.policies.push_back(rules);
  }
  for (unsigned i = 0; i < 5; ++i) {
    Naive::Segment segment;
    segment.prefixes.push_back("10." + std::to_string(i) + ".0.0/16");
    segment.prefixes.push_back("10." + std::to_string((i + 1) % 5) + "." + std::to_string(i) +
                               ".0/24");
    segment.ipv6Prefixes.push_back("2001:db8:" + std::to_string(i) + "::/48");
    for (unsigned from = 0; from < 5; ++from) {
      segment.policyFrom.push_back(static_cast<int>(random.below(6)) - 2);
      if (segment.policyFrom.back() < 0) segment.policyFrom.back() = -1;
    }
    segment.fallback = random.below(2) == 0 ? -1 : static_cast<int>(random.below(4));
    naive.segments.push_back(segment);
  }
  return naive;
}

Packet randomPacket(Random& random) {
  const bool isIpv6 = random.below(3) == 0;
  const auto address = [&random, isIpv6] {
    if (isIpv6)
      return Lanx::IpGenAddr::parse("2001:db8:" + std::to_string(random.below(6)) + "::1");
    return Lanx::IpGenAddr::parse("10." + std::to_string(random.below(6)) + "." +
                                  std::to_string(random.below(6)) + ".1");
  };
  constexpr std::array<std::uint8_t, 4> protocols{1, 6, 17, 47};
  Packet packet;
  packet.source = address();
  packet.destination = address();
  packet.protocol = protocols[random.below(4)];
  if (random.below(3) == 0) packet.interface = "E" + std::to_string(random.below(6));
  packet.sourcePort = static_cast<std::uint16_t>(random.below(60));
  packet.destinationPort = static_cast<std::uint16_t>(random.below(60));
  return packet;
}

void holdAgainstTheConfiguration(const std::string& capability) {
  const Folder folder;
  Random random(7);
  int permitted = 0;
  constexpr int packets = 300;
  constexpr int rounds = 30;
  for (int round = 0; round < rounds; ++round) {
    const Naive naive = randomConfiguration(random);
    const std::string text = naive.document(capability);
    Agent::Diagnostics diagnostics;
    Agent::Document document = Agent::load({folder.file("a.yaml", text)}, diagnostics);
    Agent::check(document, diagnostics);
    ASSERT_EQ(diagnostics.errors(), 0U) << diagnostics.entries().front().text << '\n' << text;
    Agent::Store store;
    apply(planOf(store, document.root), store);
    store.start();
    for (int i = 0; i < packets; ++i) {
      const Packet packet = randomPacket(random);
      std::ostringstream steps;
      const Verdict verdict = Agent::PacketTrace(*store.hwConfig).of(packet, steps);
      ASSERT_EQ(verdict, naive.verdict(packet)) << steps.str() << text;
      if (verdict == Verdict::permit) ++permitted;
    }
  }
  EXPECT_GT(permitted, packets * rounds / 20);  // both verdicts occur
  EXPECT_LT(permitted, packets * rounds * 19 / 20);
}

TEST(PacketTrace, AgreesWithTheConfigurationWhereRulesAreExpanded) {
  holdAgainstTheConfiguration("globalPrefixListSupported");
}

TEST(PacketTrace, AgreesWithTheConfigurationWhereServicesAreTakenWhole) {
  holdAgainstTheConfiguration("serviceRuleSupported");
}

TEST(PacketTrace, AgreesWithTheConfigurationWherePortsAreBlocks) {
  holdAgainstTheConfiguration("portRangeBlocksRequired");
}

}  // namespace
