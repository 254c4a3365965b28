// Expansion of a service into hardware rules, and the unexpanded form.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "tests/Firewall/RulesSupport.h"
#include "tests/support/TraceCapture.h"

namespace {

using Classification::AddressFamily;
using Firewall::Action;
using Firewall::FwRule;
using Firewall::FwService;
using Firewall::Policy;
using Firewall::PortRange;
using Firewall::Protocol;
using Firewall::ProtocolRange;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::linesOf;
using TestSupport::module;
using TestSupport::prefix;
using TestSupport::TraceCapture;
using TestSupport::TraceRecord;

class RulesExpansionTest : public TestSupport::RulesFixture {
 protected:
  void SetUp() override {
    RulesFixture::SetUp();
    policy_ = config().policyIs("web");
    service_ = RulesFixture::service("s");
    sw().recorder.take();
  }
  void TearDown() override {
    policy_ = nullptr;
    service_ = nullptr;
    RulesFixture::TearDown();
  }

  const Policy::Ptr& policy() { return policy_; }
  FwService& service() { return *service_; }
  std::vector<std::string> expanded(std::uint32_t seqnum) {
    rootSm().addServicePolicyRules(service_, policy_, seqnum);
    return lines("web");
  }

 private:
  Policy::Ptr policy_;
  FwService::Ptr service_;
};

TEST_F(RulesExpansionTest, EmptyServiceIsOneRuleThatMatchesEverything) {
  EXPECT_THAT(expanded(7), ElementsAre("7/1 unset > unset any 0-65535 < 0-65535 drop"));
}

TEST_F(RulesExpansionTest, ProtocolsOneTo255AreAllOfIpv4Alone) {
  service().protocolIs({1, 255});
  service().afIs(AddressFamily::ipv4);
  EXPECT_THAT(expanded(7), ElementsAre("7/1 unset > unset any 0-65535 < 0-65535 drop"));
  for (const auto family : {AddressFamily::ipv6, AddressFamily::unspecified}) {
    rootSm().deletePolicyRules(policy(), 7);
    service().afIs(family);
    const auto lines = expanded(7);
    ASSERT_EQ(lines.size(), 255U);
    EXPECT_EQ(lines.front(), "7/1 unset > unset 1 0-65535 < 0-65535 drop");
    EXPECT_EQ(lines.back(), "7/255 unset > unset 255 0-65535 < 0-65535 drop");
  }
}

TEST_F(RulesExpansionTest, ProtocolsZeroTo255AreAllOfAnyFamily) {
  service().protocolIs({0, 255});
  for (const auto family : {AddressFamily::unspecified, AddressFamily::ipv4, AddressFamily::ipv6}) {
    rootSm().deletePolicyRules(policy(), 7);
    service().afIs(family);
    EXPECT_THAT(expanded(7), ElementsAre("7/1 unset > unset any 0-65535 < 0-65535 drop"));
  }
}

TEST_F(RulesExpansionTest, ProtocolsTwoTo255AreWalkedToTheLast) {
  service().protocolIs({2, 255});
  service().afIs(AddressFamily::ipv4);
  EXPECT_EQ(expanded(7).size(), 254U);
  rootSm().deletePolicyRules(policy(), 7);
  service().protocolDelAll();
  service().protocolIs({0, 254});
  EXPECT_EQ(expanded(7).size(), 255U);
}

TEST_F(RulesExpansionTest, TheWalkGoesOnBehindARangeOfAllProtocols) {
  service().protocolIs({0, 255});
  service().protocolIs({0, 1});
  service().protocolIs({9, 9});
  EXPECT_THAT(expanded(7), ElementsAre("7/1 unset > unset 0 0-65535 < 0-65535 drop",
                                       "7/2 unset > unset 1 0-65535 < 0-65535 drop",
                                       "7/3 unset > unset any 0-65535 < 0-65535 drop",
                                       "7/4 unset > unset 9 0-65535 < 0-65535 drop"));
}

TEST_F(RulesExpansionTest, DestinationPortsOfTcpInAscendingOrder) {
  service().protocolIs({6, 6});
  service().dstPortIs({443, 443});
  service().dstPortIs({80, 80});
  EXPECT_THAT(expanded(7), ElementsAre("7/1 unset > unset 6 80 < 0-65535 drop",
                                       "7/2 unset > unset 6 443 < 0-65535 drop"));
}

TEST_F(RulesExpansionTest, OnlyTcpAndUdpUseThePorts) {
  service().protocolIs({5, 7});
  service().protocolIs({16, 18});
  service().srcPortIs({1024, 65535});
  service().dstPortIs({80, 80});
  EXPECT_THAT(expanded(7), ElementsAre("7/1 unset > unset 5 0-65535 < 0-65535 drop",
                                       "7/2 unset > unset 6 80 < 1024-65535 drop",
                                       "7/3 unset > unset 7 0-65535 < 0-65535 drop",
                                       "7/4 unset > unset 16 0-65535 < 0-65535 drop",
                                       "7/5 unset > unset 17 80 < 1024-65535 drop",
                                       "7/6 unset > unset 18 0-65535 < 0-65535 drop"));
}

TEST_F(RulesExpansionTest, IcmpAndARangeOfAllProtocolsIgnoreThePorts) {
  service().dstPortIs({80, 80});
  service().srcPortIs({80, 80});
  service().protocolIs({1, 1});
  EXPECT_THAT(expanded(7), ElementsAre("7/1 unset > unset 1 0-65535 < 0-65535 drop"));
  rootSm().deletePolicyRules(policy(), 7);
  service().protocolDelAll();
  service().protocolIs({0, 255});
  EXPECT_THAT(expanded(7), ElementsAre("7/1 unset > unset any 0-65535 < 0-65535 drop"));
}

TEST_F(RulesExpansionTest, SourcePrefixesAreTheOutermostLoopAndSourcePortsTheInnermost) {
  for (const char* text : {"10.2.0.0/16", "10.1.0.0/16"}) service().srcIpPrefixIs(prefix(text));
  for (const char* text : {"2001:db8::/32", "9.0.0.0/8"}) service().dstIpPrefixIs(prefix(text));
  service().protocolIs({6, 6});
  service().dstPortIs({1, 1});
  service().dstPortIs({2, 2});
  service().srcPortIs({3, 3});
  service().srcPortIs({4, 4});
  std::vector<std::string> expected;
  int index = 0;
  for (const char* sip : {"10.2.0.0/16", "10.1.0.0/16"}) {
    for (const char* dip : {"2001:db8::/32", "9.0.0.0/8"}) {
      for (const char* ports : {"1 < 3", "1 < 4", "2 < 3", "2 < 4"}) {
        expected.push_back("0/" + std::to_string(++index) + " " + sip + " > " + dip + " 6 " +
                           ports + " drop");
      }
    }
  }
  EXPECT_EQ(expanded(0), expected);
}

TEST_F(RulesExpansionTest, OverlappingProtocolRangesAreEachExpanded) {
  service().protocolIs({1, 3});
  service().protocolIs({1, 2});
  service().protocolIs({2, 2});
  std::vector<std::uint8_t> protocols;
  expanded(7);
  for (const auto& entry : fwPolicy("web")->rule())
    protocols.push_back(entry.value.protocol->value());
  EXPECT_THAT(protocols, ElementsAre(1, 2, 1, 2, 3, 2));
}

TEST_F(RulesExpansionTest, TheFirstRefusalEndsTheExpansion) {
  service().protocolIs({1, 9});
  const TraceCapture traces(7);
  EXPECT_THAT(expanded(1024), IsEmpty());
  EXPECT_THAT(
      traces.records(),
      ElementsAre(
          TraceRecord{module, 3, "computeRuleId", "Failed to compute ruleId: value exceeded"},
          TraceRecord{module, 7, "addPolicyRule", " no ruleIds available - return false"}));
}

TEST_F(RulesExpansionTest, ARefusalInTheMiddleOfEveryLoopEndsThemAll) {
  for (const char* const text : {"10.0.0.0/8", "11.0.0.0/8"}) {
    service().srcIpPrefixIs(prefix(text));
    service().dstIpPrefixIs(prefix(text));
  }
  service().protocolIs({6, 7});
  service().protocolIs({17, 17});
  for (const std::uint16_t port : {std::uint16_t{80}, std::uint16_t{443}}) {
    service().dstPortIs({port, port});
    service().srcPortIs({port, port});
  }
  const TraceCapture traces(7);
  EXPECT_THAT(expanded(1024), IsEmpty());
  EXPECT_EQ(traces.count(7, "addPolicyRule", " no ruleIds available - return false"), 1U);
}

TEST_F(RulesExpansionTest, ARefusedRuleOfAnyProtocolEndsTheExpansion) {
  service().protocolIs({0, 255});
  service().protocolIs({17, 17});
  const TraceCapture traces(7);
  EXPECT_THAT(expanded(1024), IsEmpty());
  EXPECT_EQ(traces.count(7, "addPolicyRule", " no ruleIds available - return false"), 1U);
}

TEST_F(RulesExpansionTest, EveryRuleTracesLikeASingleInstallation) {
  service().protocolIs({5, 6});
  service().dstPortIs({80, 81});
  const TraceCapture traces;
  expanded(7);
  const auto inserted = [](const char* id, const char* match) {
    return "Inserted new rule with ruleId=" + std::string(id) +
           ", seqnum=7, sip=unset, dip=unset, " + match + ", srcPort=0-65535, action=drop";
  };
  EXPECT_THAT(
      traces.records(),
      ElementsAre(TraceRecord{module, 8, "addServicePolicyRules", ": s, web, 7"},
                  TraceRecord{module, 8, "addPolicyRule", ": web, 7, unset, unset, 5"},
                  TraceRecord{module, 8, "addPolicyRule", ": dstPort=0-65535, srcPort=0-65535"},
                  TraceRecord{module, 8, "computeRuleId", ": 7, 1"},
                  TraceRecord{module, 3, "addPolicyRule",
                              inserted("29360129", "protocol=5, dstPort=0-65535")},
                  TraceRecord{module, 7, "addPolicyRule", " return true"},
                  TraceRecord{module, 8, "addPolicyRule", ": web, 7, unset, unset, 6"},
                  TraceRecord{module, 8, "addPolicyRule", ": dstPort=80-81, srcPort=0-65535"},
                  TraceRecord{module, 8, "computeRuleId", ": 7, 2"},
                  TraceRecord{module, 3, "addPolicyRule",
                              inserted("29360130", "protocol=6, dstPort=80-81")},
                  TraceRecord{module, 7, "addPolicyRule", " return true"}));
}

TEST_F(RulesExpansionTest, CapableHardwareGetsTheRuleUnexpanded) {
  sw().hwCapability->serviceRuleSupportedIs(true);
  const Lanx::IpGenAddr nexthop = Lanx::Ip6Addr::parse("2001:db8::1");
  policy()->ruleIs(1500U, Pith::String("s"), Action::redirect, true, nexthop);
  sw().recorder.take();
  const TraceCapture traces(7);
  EXPECT_THAT(expanded(1500), IsEmpty());
  const Firewall::FwServiceRule expected{sw().hwConfig->services("s"), Action::redirect, true,
                                         nexthop};
  ASSERT_NE(fwPolicy("web")->serviceRule(1500), nullptr);
  EXPECT_EQ(*fwPolicy("web")->serviceRule(1500), expected);
  EXPECT_THAT(traces.records(),
              ElementsAre(TraceRecord{module, 3, "addServicePolicyRules",
                                      "Inserted new unexpanded rule with: service=s, "
                                      "action=redirect, log=true"}));
}

TEST_F(RulesExpansionTest, UnexpandedRuleWithoutAConfiguredRuleDrops) {
  sw().hwCapability->serviceRuleSupportedIs(true);
  expanded(3);
  const Firewall::FwServiceRule expected{sw().hwConfig->services("s"), Action(0), false, {}};
  EXPECT_EQ(*fwPolicy("web")->serviceRule(3), expected);
}

TEST_F(RulesExpansionTest, UnexpandedRuleForAPolicyThatIsNotInTheOutputChangesNothing) {
  sw().hwCapability->serviceRuleSupportedIs(true);
  const auto unknown = Kiv::make<Policy>("unknown");
  const auto service = sw().hwConfig->services("s");
  const TraceCapture traces(7);
  rootSm().addServicePolicyRules(service, unknown, 3);
  EXPECT_THAT(traces.records(), ElementsAre(TraceRecord{module, 3, "addServicePolicyRules",
                                                        "Policy unknown not found"}));
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
}

TEST_F(RulesExpansionTest, AfterCleanupNeitherFormIsInstalled) {
  const auto service = sw().hwConfig->services("s");
  const auto sm = sw().rootSm("cli");
  sm->cleanup();
  sw().recorder.take();
  for (const bool whole : {false, true}) {
    sw().hwCapability->serviceRuleSupportedIs(whole);
    sm->addServicePolicyRules(service, policy(), 3);
  }
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
}

TEST_F(RulesExpansionTest, ExpandedRulesForAPolicyThatIsNotInTheOutputStopAtTheFirst) {
  service().protocolIs({1, 9});
  const auto unknown = Kiv::make<Policy>("unknown");
  const auto service = sw().hwConfig->services("s");
  const TraceCapture traces(7);
  rootSm().addServicePolicyRules(service, unknown, 3);
  EXPECT_THAT(traces.records(),
              ElementsAre(TraceRecord{module, 3, "addPolicyRule", "Policy unknown not found"}));
}

// The expansion as four plain loops over copies of the service's sets.
std::vector<FwRule> expandedPlainly(const FwService& service, std::uint32_t seqnum,
                                    const Firewall::PolicyRule& rule) {
  std::vector<Lanx::IpGenPrefix> sips;
  std::vector<Lanx::IpGenPrefix> dips;
  for (const auto& each : service.srcIpPrefix()) sips.push_back(each);
  for (const auto& each : service.dstIpPrefix()) dips.push_back(each);
  if (sips.empty()) sips.emplace_back();
  if (dips.empty()) dips.emplace_back();

  std::vector<Protocol::Optional> protocols;
  for (const ProtocolRange& range : service.protocol()) {
    const bool isAll =
        range.end() == 255 &&
        (range.start() == 0 || (range.start() == 1 && service.af() == AddressFamily::ipv4));
    if (isAll) {
      protocols.emplace_back();
    } else {
      for (int value = range.start(); value <= range.end(); ++value) {
        protocols.emplace_back(Protocol(static_cast<std::uint8_t>(value)));
      }
    }
  }
  if (protocols.empty()) protocols.emplace_back();

  const auto portsOf = [](const auto& set, const Protocol::Optional& protocol) {
    std::vector<PortRange> ports;
    if (protocol && (protocol->value() == 6 || protocol->value() == 17)) {
      for (const auto& entry : set) ports.push_back(entry.value);
    }
    if (ports.empty()) ports.emplace_back(std::uint16_t{0}, std::uint16_t{65535});
    return ports;
  };
  std::vector<FwRule> rules;
  for (const auto& sip : sips) {
    for (const auto& dip : dips) {
      for (const auto& protocol : protocols) {
        for (const auto& dstPort : portsOf(service.dstPort(), protocol)) {
          for (const auto& srcPort : portsOf(service.srcPort(), protocol)) {
            rules.push_back({seqnum, sip, dip, protocol, dstPort, srcPort, rule.action, rule.log,
                             rule.nexthop});
          }
        }
      }
    }
  }
  return rules;
}

// Services with 0 to 4 members in each set; protocol ranges near 6, 17 and the ends.
class RandomServices {
 public:
  explicit RandomServices(unsigned seed) : random_(seed) {}

  unsigned below(unsigned bound) {
    return std::uniform_int_distribution<unsigned>(0, bound - 1)(random_);
  }
  void fill(FwService& service) {
    service.srcIpPrefixDelAll();
    service.dstIpPrefixDelAll();
    service.protocolDelAll();
    service.dstPortDelAll();
    service.srcPortDelAll();
    service.afIs(static_cast<AddressFamily>(below(3)));
    for (unsigned n = below(5); n > 0; --n) service.srcIpPrefixIs(prefix());
    for (unsigned n = below(5); n > 0; --n) service.dstIpPrefixIs(prefix());
    for (unsigned n = below(5); n > 0; --n) service.protocolIs(protocols());
    for (unsigned n = below(5); n > 0; --n) service.dstPortIs(ports());
    for (unsigned n = below(5); n > 0; --n) service.srcPortIs(ports());
  }

 private:
  Lanx::IpGenPrefix prefix() {
    if (below(2) == 0) return Lanx::Prefix(Lanx::IpAddr(below(8) << 24U), 8);
    return Lanx::Ip6Prefix(Lanx::Ip6Addr(std::uint64_t{below(8)} << 32U, 0), 32);
  }
  ProtocolRange protocols() {
    constexpr unsigned middles[] = {1, 6, 17, 253};
    const unsigned start = middles[below(4)] + below(4) - 1;
    const unsigned end = below(8) == 0 ? 255 : std::min(start + below(5), 255U);
    return {static_cast<std::uint8_t>(start), static_cast<std::uint8_t>(end)};
  }
  PortRange ports() {
    const unsigned start = below(4) == 0 ? 65535 : below(65535);
    const unsigned end = start + below(std::min(3000U, 65536 - start));
    return {static_cast<std::uint16_t>(start), static_cast<std::uint16_t>(end)};
  }

  std::mt19937 random_;
};

TEST(RandomExpansionTest, AgreesWithPlainLoops) {
  TestSupport::LoneRootSm lone;
  lone.start();
  const auto policy = lone.config->policyIs("web");
  const auto service = lone.hwConfig->servicesIs("s");
  const auto out = lone.hwConfig->policy("web");
  RandomServices random(4711);
  std::size_t total = 0;
  for (int round = 0; round < 250; ++round) {
    random.fill(*service);
    const std::uint32_t seqnum = random.below(1024);
    const bool whole = random.below(4) == 0;
    lone.capability->serviceRuleSupportedIs(whole);
    policy->ruleDelAll();
    Firewall::PolicyRule configured;
    if (random.below(4) != 0) {
      configured = {"", static_cast<Action>(random.below(3)), random.below(2) == 0,
                    Lanx::IpAddr(random.below(1000))};
      policy->ruleIs(seqnum, configured);
    }

    lone.sm->addServicePolicyRules(service, policy, seqnum);
    const auto expected = expandedPlainly(*service, seqnum, configured);
    const auto& rules = out->rule();
    ASSERT_EQ(rules.size(), whole ? 0 : expected.size());
    ASSERT_EQ(out->serviceRuleHas(seqnum), whole);
    std::uint32_t index = 0;
    for (const auto& entry : rules) {
      ASSERT_EQ(entry.value, expected[index]);
      ASSERT_EQ(entry.key, seqnum << 22U | ++index);
    }
    total += rules.size();
    lone.sm->deletePolicyRules(policy, seqnum);
    ASSERT_TRUE(rules.empty() && out->serviceRule().empty());
  }
  EXPECT_GT(total, 5000U);
}

}  // namespace
