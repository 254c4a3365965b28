// Installation and deletion of single hardware rules.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/Firewall/RulesSupport.h"
#include "tests/support/TraceCapture.h"

namespace {

using Firewall::Action;
using Firewall::computeRuleId;
using Firewall::FwPolicy;
using Firewall::FwRule;
using Firewall::Policy;
using Firewall::PortRange;
using Firewall::Protocol;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::idsOf;
using TestSupport::module;
using TestSupport::prefix;
using TestSupport::Reaction;
using TestSupport::TraceCapture;
using TestSupport::TraceRecord;

class RulesTest : public TestSupport::RulesFixture {
 protected:
  void SetUp() override {
    RulesFixture::SetUp();
    policy_ = config().policyIs("web");
    sw().recorder.take();
  }
  void TearDown() override {
    policy_ = nullptr;
    RulesFixture::TearDown();
  }

  const Policy::Ptr& policy() { return policy_; }
  FwPolicy& out() { return *fwPolicy("web"); }
  bool add(std::uint32_t seqnum) {
    return rootSm().addPolicyRule(policy(), seqnum, {}, {}, {}, PortRange::all(), PortRange::all());
  }
  void remove(std::uint32_t seqnum) { rootSm().deletePolicyRules(policy(), seqnum); }

 private:
  Policy::Ptr policy_;
};

TEST_F(RulesTest, SequenceNumberZeroIsValidAndItsFirstIdentifierIsOne) {
  EXPECT_TRUE(add(0));
  EXPECT_THAT(idsOf(out()), ElementsAre(1U));
}

TEST_F(RulesTest, IndicesCountUpAndStartAgainAfterDeletionOfTheSequenceNumber) {
  EXPECT_TRUE(add(5) && add(5) && add(5));
  EXPECT_THAT(idsOf(out()), ElementsAre(5U << 22U | 1U, 5U << 22U | 2U, 5U << 22U | 3U));
  remove(5);
  EXPECT_TRUE(add(5));
  EXPECT_THAT(idsOf(out()), ElementsAre(5U << 22U | 1U));
}

TEST_F(RulesTest, IndicesFreedByDeletionAreUsedFirst) {
  for (int i = 0; i < 5; ++i) add(5);
  out().ruleDel(computeRuleId(5, 2));
  out().ruleDel(computeRuleId(5, 4));
  add(5);
  EXPECT_TRUE(out().ruleHas(computeRuleId(5, 2)));
  EXPECT_FALSE(out().ruleHas(computeRuleId(5, 4)));
  add(5);
  add(5);
  EXPECT_TRUE(out().ruleHas(computeRuleId(5, 4)));
  EXPECT_TRUE(out().ruleHas(computeRuleId(5, 6)));
}

TEST_F(RulesTest, RuleCarriesTheMatchAndWhatTheConfiguredRuleSays) {
  const Lanx::IpGenAddr nexthop = Lanx::IpAddr::parse("192.0.2.7");
  policy()->ruleIs(9U, Pith::String("none"), Action::redirect, true, nexthop);
  EXPECT_TRUE(rootSm().addPolicyRule(policy(), 9, prefix("10.0.0.0/8"), prefix("2001:db8::/32"),
                                     Protocol(17), {53, 54}, {1024, 65535}));
  const FwRule expected{9,        prefix("10.0.0.0/8"), prefix("2001:db8::/32"), Protocol(17),
                        {53, 54}, {1024, 65535},        Action::redirect,        true,
                        nexthop};
  ASSERT_NE(out().rule(computeRuleId(9, 1)), nullptr);
  EXPECT_EQ(*out().rule(computeRuleId(9, 1)), expected);
}

TEST_F(RulesTest, WithoutAConfiguredRuleItDropsWithoutLogAndNextHop) {
  EXPECT_TRUE(add(9));
  const FwRule expected{9, {}, {}, {}, PortRange::all(), PortRange::all(), Action(0), false, {}};
  EXPECT_EQ(*out().rule(computeRuleId(9, 1)), expected);
  EXPECT_EQ(out().rule(computeRuleId(9, 1))->nexthop.family(), Lanx::AddressFamily(0));
}

TEST_F(RulesTest, InstallationIsTraced) {
  policy()->ruleIs(9U, Pith::String("none"), Action::forward);
  const TraceCapture traces;
  rootSm().addPolicyRule(policy(), 9, prefix("10.0.0.0/8"), {}, Protocol(6), {80, 443}, {0, 65535});
  EXPECT_THAT(
      traces.records(),
      ElementsAre(
          TraceRecord{module, 8, "addPolicyRule", ": web, 9, 10.0.0.0/8, unset, 6"},
          TraceRecord{module, 8, "addPolicyRule", ": dstPort=80-443, srcPort=0-65535"},
          TraceRecord{module, 8, "computeRuleId", ": 9, 1"},
          TraceRecord{module, 3, "addPolicyRule",
                      "Inserted new rule with ruleId=37748737, seqnum=9, sip=10.0.0.0/8, "
                      "dip=unset, protocol=6, dstPort=80-443, srcPort=0-65535, action=forward"},
          TraceRecord{module, 7, "addPolicyRule", " return true"}));
}

TEST_F(RulesTest, AbsentProtocolIsTracedAsMinusOneAndASinglePortAsARange) {
  const TraceCapture traces(3);
  rootSm().addPolicyRule(policy(), 0, {}, prefix("2001:db8::/32"), {}, {0, 65535}, {0, 65535});
  rootSm().addPolicyRule(policy(), 0, {}, {}, Protocol(255), {80, 80}, {7, 7});
  EXPECT_THAT(traces.texts(),
              ElementsAre("Inserted new rule with ruleId=1, seqnum=0, sip=unset, "
                          "dip=2001:db8::/32, protocol=-1, dstPort=0-65535, srcPort=0-65535, "
                          "action=drop",
                          "Inserted new rule with ruleId=2, seqnum=0, sip=unset, dip=unset, "
                          "protocol=255, dstPort=80-80, srcPort=7-7, action=drop"));
}

TEST_F(RulesTest, PolicyThatIsNotInTheOutputGetsNoRule) {
  const auto unknown = Kiv::make<Policy>("unknown");
  const TraceCapture traces(7);
  EXPECT_FALSE(rootSm().addPolicyRule(unknown, 5, {}, {}, {}, {0, 65535}, {0, 65535}));
  EXPECT_THAT(traces.records(),
              ElementsAre(TraceRecord{module, 3, "addPolicyRule", "Policy unknown not found"}));
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
}

TEST_F(RulesTest, SequenceNumberAbove1023GetsNoRule) {
  const TraceCapture traces(7);
  EXPECT_FALSE(add(1024));
  EXPECT_THAT(
      traces.records(),
      ElementsAre(
          TraceRecord{module, 3, "computeRuleId", "Failed to compute ruleId: value exceeded"},
          TraceRecord{module, 7, "addPolicyRule", " no ruleIds available - return false"}));
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
}

TEST_F(RulesTest, SequenceNumber1023GetsRules) {
  EXPECT_TRUE(add(1023) && add(1023));
  EXPECT_THAT(idsOf(out()), ElementsAre(1023U << 22U | 1U, 1023U << 22U | 2U));
}

TEST_F(RulesTest, AfterCleanupNothingIsInstalledOrDeleted) {
  add(5);
  sw().recorder.take();
  const auto sm = sw().rootSm("cli");
  sm->cleanup();
  sw().recorder.take();
  const TraceCapture traces;
  EXPECT_FALSE(sm->addPolicyRule(policy(), 5, {}, {}, {}, {0, 65535}, {0, 65535}));
  EXPECT_THAT(traces.records(), ElementsAre(TraceRecord{module, 7, "addPolicyRule",
                                                        " not initialized - return false"}));
  sm->deletePolicyRules(policy(), 5);
  EXPECT_EQ(traces.records().size(), 1U);
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
}

TEST_F(RulesTest, DeletionLeavesTheNeighbouringSequenceNumbers) {
  for (const std::uint32_t seqnum : {2U, 3U, 4U}) {
    add(seqnum);
    add(seqnum);
    out().serviceRuleIs(seqnum, Firewall::FwService::PtrConst(), Action::drop, false,
                        Lanx::IpGenAddr());
  }
  sw().recorder.take();
  remove(3);
  EXPECT_THAT(sw().recorder.take(),
              ElementsAre("- policy/web/rule/12582913", "- policy/web/rule/12582914",
                          "- policy/web/serviceRule/3"));
  EXPECT_THAT(idsOf(out()),
              ElementsAre(2U << 22U | 1U, 2U << 22U | 2U, 4U << 22U | 1U, 4U << 22U | 2U));
  EXPECT_TRUE(out().serviceRuleHas(2) && out().serviceRuleHas(4));
}

TEST_F(RulesTest, DeletionIsTracedInAscendingOrder) {
  add(3);
  add(3);
  add(4);
  const TraceCapture traces;
  remove(3);
  EXPECT_THAT(traces.records(),
              ElementsAre(TraceRecord{module, 8, "deletePolicyRules", ": web, 3"},
                          TraceRecord{module, 3, "deletePolicyRules",
                                      "Deleting rule with ruleId=12582913, seqnum=3"},
                          TraceRecord{module, 3, "deletePolicyRules",
                                      "Deleting rule with ruleId=12582914, seqnum=3"},
                          TraceRecord{module, 7, "deletePolicyRules", " return"}));
}

TEST_F(RulesTest, DeletionOfTheFirstAndTheLastSequenceNumber) {
  for (const std::uint32_t seqnum : {0U, 1U, 1022U, 1023U}) add(seqnum);
  remove(0);
  remove(1023);
  EXPECT_THAT(idsOf(out()), ElementsAre(1U << 22U | 1U, 1022U << 22U | 1U));
}

TEST_F(RulesTest, DeletionAbove1023TakesTheUnexpandedRuleAlone) {
  add(0);
  add(1);
  out().serviceRuleIs(1024U, Firewall::FwService::PtrConst(), Action::drop, false,
                      Lanx::IpGenAddr());
  sw().recorder.take();
  remove(1024);
  EXPECT_THAT(sw().recorder.take(), ElementsAre("- policy/web/serviceRule/1024"));
}

TEST_F(RulesTest, DeletionForAPolicyThatIsNotInTheOutputIsSilent) {
  const auto unknown = Kiv::make<Policy>("unknown");
  const TraceCapture traces;
  rootSm().deletePolicyRules(unknown, 5);
  EXPECT_THAT(traces.records(),
              ElementsAre(TraceRecord{module, 8, "deletePolicyRules", ": unknown, 5"}));
}

TEST_F(RulesTest, DeletionSkipsAndRepeatsNothingWhenRulesChangeMeanwhile) {
  for (int i = 0; i < 6; ++i) add(3);
  FwRule otherRule;
  otherRule.seqnum = 3;
  otherRule.log = true;
  const Reaction reaction(out(), [&](Pith::FieldId, const void* key, const Pith::Change& change) {
    if (change.current != nullptr ||
        *static_cast<const std::uint32_t*>(key) != computeRuleId(3, 2)) {
      return;
    }
    out().ruleDel(computeRuleId(3, 3));            // the next one
    out().ruleIs(computeRuleId(3, 1), otherRule);  // behind the walk
    out().ruleIs(computeRuleId(3, 9), otherRule);  // ahead of it
  });
  const TraceCapture traces(3);
  remove(3);
  EXPECT_THAT(traces.texts(), ElementsAre("Deleting rule with ruleId=12582913, seqnum=3",
                                          "Deleting rule with ruleId=12582914, seqnum=3",
                                          "Deleting rule with ruleId=12582916, seqnum=3",
                                          "Deleting rule with ruleId=12582917, seqnum=3",
                                          "Deleting rule with ruleId=12582918, seqnum=3",
                                          "Deleting rule with ruleId=12582921, seqnum=3"));
  EXPECT_THAT(idsOf(out()), ElementsAre(computeRuleId(3, 1)));
}

TEST_F(RulesTest, DeletionIsCompletedThoughASubscriberThrows) {
  add(3);
  add(3);
  out().serviceRuleIs(3U, Firewall::FwService::PtrConst(), Action::drop, false, Lanx::IpGenAddr());
  const Reaction reaction(out(), [](Pith::FieldId, const void*, const Pith::Change&) {
    throw std::runtime_error("subscriber");
  });
  EXPECT_THROW(remove(3), std::runtime_error);
  EXPECT_TRUE(out().rule().empty());
  EXPECT_TRUE(out().serviceRule().empty());
}

TEST_F(RulesTest, PolicyRemovedWhileItsRulesAreDeleted) {
  add(3);
  add(3);
  const FwPolicy::Ptr policyThatGoes = fwPolicy("web");
  const Reaction reaction(*policyThatGoes, [&](Pith::FieldId, const void*, const Pith::Change&) {
    sw().hwConfig->policyDel("web");
  });
  remove(3);
  EXPECT_TRUE(policyThatGoes->rule().empty());
  EXPECT_FALSE(sw().hwConfig->policyHas("web"));
}

}  // namespace
