// What an expansion asks of the heap, and that a full sequence number is refused.
#include <gtest/gtest.h>

#include "tests/Firewall/RulesSupport.h"
#include "tests/support/AllocationCount.h"
#include "tests/support/TraceCapture.h"

namespace {

using Firewall::computeRuleId;
using Firewall::FwRule;
using Firewall::maxRuleIndex;
using TestSupport::allocationsOf;
using TestSupport::LoneRootSm;

class RulesAllocationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    lone.start();
    policy = lone.config->policyIs("web");
    policy->ruleIs(5U, Pith::String("unknown"), Firewall::Action::forward);
    service = lone.hwConfig->servicesIs("s");
  }

  const auto& rules() { return lone.hwConfig->policy("web")->rule(); }
  std::size_t allocationsOfExpansion(std::uint32_t seqnum) {
    return allocationsOf([&] { lone.sm->addServicePolicyRules(service, policy, seqnum); });
  }

  LoneRootSm lone;
  Firewall::Policy::Ptr policy;
  Firewall::FwService::Ptr service;
};

TEST_F(RulesAllocationTest, ExpansionAllocatesOnlyTheLeavesOfTheRules) {
  for (unsigned i = 0; i < 10; ++i) {
    service->srcIpPrefixIs(Lanx::Prefix(Lanx::IpAddr(i << 24U), 8));
    service->dstIpPrefixIs(Lanx::Ip6Prefix(Lanx::Ip6Addr(std::uint64_t{i} << 32U, 0), 32));
    service->dstPortIs({static_cast<std::uint16_t>(i), 1000});
    service->srcPortIs({static_cast<std::uint16_t>(i), 2000});
  }
  service->protocolIs({6, 6});
  service->protocolIs({100, 199});
  const std::size_t made = allocationsOfExpansion(5);
  EXPECT_EQ(rules().size(), 10U * 10 * (100 + 100));
  EXPECT_LE(made, rules().size() / 10);  // a leaf holds more than ten
}

TEST_F(RulesAllocationTest, ExpansionDoesNotCopyTheSetsOfTheService) {
  for (unsigned i = 0; i < 5000; ++i) {
    service->srcIpPrefixIs(Lanx::Prefix(Lanx::IpAddr(i << 8U), 24));
  }
  allocationsOfExpansion(5);
  EXPECT_EQ(rules().size(), 5000U);
  // With the table's memory in place, a walk over all of them for one refusal costs nothing.
  EXPECT_EQ(allocationsOfExpansion(1024), 0U);
}

TEST_F(RulesAllocationTest, SingleRuleAllocatesNothingWhereTheLeafHasRoom) {
  const auto add = [this] {
    lone.sm->addPolicyRule(policy, 5, {}, {}, {}, {0, 65535}, {0, 65535});
  };
  for (int i = 0; i < 5; ++i) add();
  EXPECT_EQ(allocationsOf(add), 0U);
}

TEST_F(RulesAllocationTest, SequenceNumberWithEveryIndexTakenIsRefused) {
  const auto out = lone.hwConfig->policy("web");
  const FwRule rule{5, {}, {}, {}, {}, {}, {}, false, {}};
  for (std::uint32_t index = 1; index <= maxRuleIndex; ++index) {
    out->ruleIs(computeRuleId(5, index), rule);
  }
  const TestSupport::TraceCapture traces(7);
  const auto add = [this] {
    return lone.sm->addPolicyRule(policy, 5, {}, {}, {}, {0, 65535}, {0, 65535});
  };
  EXPECT_FALSE(add());
  EXPECT_EQ(traces.texts(), (std::vector<std::string>{"Failed to compute ruleId: value exceeded",
                                                      " no ruleIds available - return false"}));
  out->ruleDel(computeRuleId(5, 1234567));
  EXPECT_TRUE(add());
  EXPECT_TRUE(out->ruleHas(computeRuleId(5, 1234567)));
  EXPECT_FALSE(add());
}

}  // namespace
