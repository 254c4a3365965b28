// Policies: compiled rule by rule, and linked to the segments that name them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

#include "tests/Firewall/RulesSupport.h"
#include "tests/support/TraceCapture.h"

namespace {

using Firewall::Action;
using Firewall::computeRuleId;
using Firewall::FwPolicy;
using Firewall::Policy;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using TestSupport::module;
using TestSupport::Reaction;
using TestSupport::TraceCapture;
using TestSupport::TraceRecord;

class PolicyTest : public TestSupport::RulesFixture {
 protected:
  void SetUp() override {
    RulesFixture::SetUp();
    service("icmp", 1);
    service("gre", 47);
    sw().recorder.take();
  }

  Policy::Ptr policy(const char* name) { return config().policyIs(name); }
  static void rule(const Policy::Ptr& policy, std::uint32_t seqnum, const char* service,
                   Action action = Action::forward) {
    policy->ruleIs(seqnum, Pith::String(service), action);
  }
  // Functions and texts of the level, those of the functions named alone.
  static std::vector<std::string> calls(const TraceCapture& traces, int level,
                                        std::initializer_list<std::string_view> functions) {
    std::vector<std::string> calls;
    for (const auto& record : traces.records()) {
      if (record.level == level &&
          std::find(functions.begin(), functions.end(), record.function) != functions.end()) {
        calls.push_back(record.function + record.text);
      }
    }
    return calls;
  }
};

TEST_F(PolicyTest, RulesOfANewPolicyAreCompiledInAscendingOrder) {
  config().enabledIs(false);
  const auto web = policy("web");
  rule(web, 30, "icmp");
  rule(web, 10, "gre");
  rule(web, 20, "icmp", Action::redirect);
  service("icmp", 1);
  service("gre", 47);
  sw().recorder.take();
  // The output is cleared while no source is enabled, so services come back with a version.
  config().enabledIs(true);
  EXPECT_THAT(
      sw().recorder.takeBelow("policy"),
      ElementsAre("+ policy/web", HasSubstr("+ policy/web/rule/" + std::to_string(10U << 22U | 1U)),
                  HasSubstr("+ policy/web/rule/" + std::to_string(20U << 22U | 1U)),
                  HasSubstr("+ policy/web/rule/" + std::to_string(30U << 22U | 1U))));
  EXPECT_THAT(lines("web"), ElementsAre("10/1 unset > unset 47 0-65535 < 0-65535 forward",
                                        "20/1 unset > unset 1 0-65535 < 0-65535 redirect",
                                        "30/1 unset > unset 1 0-65535 < 0-65535 forward"));
}

TEST_F(PolicyTest, ChangedServiceOfARuleRecompilesThatSequenceNumberAlone) {
  const auto web = policy("web");
  rule(web, 1, "icmp");
  rule(web, 2, "icmp");
  rule(web, 3, "icmp");
  sw().recorder.take();
  rule(web, 2, "gre");
  EXPECT_THAT(sw().recorder.take(),
              ElementsAre("- policy/web/rule/8388609", HasSubstr("+ policy/web/rule/8388609 = ")));
  EXPECT_EQ(lines("web")[1], "2/1 unset > unset 47 0-65535 < 0-65535 forward");
}

TEST_F(PolicyTest, ChangedActionRecompilesTheRule) {
  const auto web = policy("web");
  rule(web, 1, "icmp");
  rule(web, 1, "icmp", Action::drop);
  EXPECT_THAT(lines("web"), ElementsAre("1/1 unset > unset 1 0-65535 < 0-65535 drop"));
}

TEST_F(PolicyTest, RemovedRuleLeavesNoHardwareRule) {
  const auto web = policy("web");
  rule(web, 1, "icmp");
  rule(web, 2, "icmp");
  web->ruleDel(1);
  EXPECT_THAT(lines("web"), ElementsAre("2/1 unset > unset 1 0-65535 < 0-65535 forward"));
}

TEST_F(PolicyTest, RemovedRuleLeavesNoUnexpandedRule) {
  sw().hwCapability->serviceRuleSupportedIs(true);
  const auto web = policy("web");
  rule(web, 1, "icmp");
  rule(web, 2, "icmp");
  EXPECT_EQ(fwPolicy("web")->serviceRule().size(), 2U);
  web->ruleDel(1);
  EXPECT_FALSE(fwPolicy("web")->serviceRuleHas(1));
  EXPECT_TRUE(fwPolicy("web")->serviceRuleHas(2));
}

TEST_F(PolicyTest, RuleNamingAServiceWithPortsAloneInstallsNothing) {
  const auto ports = service("ports");
  ports->dstPortIs({80, 80});
  ports->srcPortIs({80, 80});
  ports->versionInc(1);
  rule(policy("web"), 1, "ports");
  EXPECT_THAT(lines("web"), IsEmpty());
}

TEST_F(PolicyTest, RuleNamingAServiceWithPrefixesOfOneSideOrAProtocolIsInstalled) {
  service("from")->srcIpPrefixIs(TestSupport::prefix("10.0.0.0/8"));
  service("to")->dstIpPrefixIs(TestSupport::prefix("10.0.0.0/8"));
  const auto web = policy("web");
  rule(web, 1, "from");
  rule(web, 2, "to");
  rule(web, 3, "icmp");
  EXPECT_EQ(lines("web").size(), 3U);
}

TEST_F(PolicyTest, RuleNamingAnUnknownServiceIsSilentlyAbsent) {
  const auto web = policy("web");
  const TraceCapture traces(6);
  rule(web, 1, "unknown");
  rule(web, 2, "");
  EXPECT_THAT(lines("web"), IsEmpty());
  EXPECT_THAT(traces.records(), IsEmpty());
}

TEST_F(PolicyTest, SequenceNumberAbove1023LeavesTheOtherRules) {
  const auto web = policy("web");
  rule(web, 1, "icmp");
  rule(web, 1024, "icmp");
  rule(web, 1023, "icmp");
  EXPECT_THAT(TestSupport::idsOf(*fwPolicy("web")), ElementsAre(1U << 22U | 1U, 1023U << 22U | 1U));
}

TEST_F(PolicyTest, PresentOutputPolicyKeepsItsRulesWhenThePolicyIsHandledAgain) {
  const auto web = policy("web");
  rule(web, 1, "icmp");
  const auto out = fwPolicy("web");
  rootSm().addPolicyRule(web, 9, {}, {}, {}, {0, 65535}, {0, 65535});
  rootSm().handlePolicy("web");
  EXPECT_EQ(fwPolicy("web"), out);
  EXPECT_TRUE(out->ruleHas(computeRuleId(9, 1)));
}

TEST_F(PolicyTest, RuleOfAPolicyThatIsNotInTheOutputIsTracedAndIgnored) {
  const auto web = policy("web");
  sw().hwConfig->policyDel("web");
  const TraceCapture traces;
  rule(web, 1, "icmp");
  EXPECT_THAT(traces.records(),
              ElementsAre(TraceRecord{module, 8, "handlePolicyRule", ": web, 1"},
                          TraceRecord{module, 3, "handlePolicyRule", "Policy web not found"}));
  const auto sm = sw().rootSm("cli");
  sm->addPolicyRulesAll(web, 1);
  EXPECT_TRUE(traces.saw(3, "addPolicyRulesAll", "Policy web not found"));
  EXPECT_FALSE(traces.saw(7, "addPolicyRulesAll", " return"));
}

TEST_F(PolicyTest, HandlersTraceTheirEntryAndTheirReturn) {
  const auto web = policy("web");
  rule(web, 7, "unknown");
  const TraceCapture traces;
  rootSm().handlePolicy();
  EXPECT_THAT(traces.records(), ElementsAre(TraceRecord{module, 8, "handlePolicy", ": "},
                                            TraceRecord{module, 8, "handlePolicy", ": web"},
                                            TraceRecord{module, 8, "handlePolicyRules", ": web"},
                                            TraceRecord{module, 8, "handlePolicyRule", ": web, 7"},
                                            TraceRecord{module, 8, "deletePolicyRules", ": web, 7"},
                                            TraceRecord{module, 7, "deletePolicyRules", " return"},
                                            TraceRecord{module, 8, "addPolicyRulesAll", ": web, 7"},
                                            TraceRecord{module, 7, "addPolicyRulesAll", " return"},
                                            TraceRecord{module, 7, "handlePolicyRule", " return"},
                                            TraceRecord{module, 7, "handlePolicyRules", " return"},
                                            TraceRecord{module, 7, "handlePolicy", " return"},
                                            TraceRecord{module, 7, "handlePolicy", " return"}));
}

TEST_F(PolicyTest, HandlersDoNothingWhenTheReactorIsNotInitialized) {
  const auto web = policy("web");
  rule(web, 7, "icmp");
  const auto sm = sw().rootSm("cli");
  sm->cleanup();
  sw().recorder.take();
  const TraceCapture traces;
  sm->handlePolicy();
  sm->handlePolicy("web");
  sm->handlePolicyRules(web);
  sm->handlePolicyRule(web, 7);
  sm->addPolicyRulesAll(web, 7);
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  for (const auto& record : traces.records()) EXPECT_EQ(record.level, 8) << record;
  EXPECT_EQ(traces.records().size(), 5U);
}

TEST_F(PolicyTest, PoliciesAreCompiledOnceWhenTheSourceIsEnabled) {
  config().enabledIs(false);
  rule(policy("web"), 7, "icmp");
  rule(policy("mail"), 8, "icmp");
  service("icmp", 1);
  sw().recorder.take();
  const TraceCapture traces;
  config().enabledIs(true);
  EXPECT_THAT(calls(traces, 8, {"handlePolicy", "handlePolicyRule"}),
              ElementsAre("handlePolicy: ", "handlePolicy: web", "handlePolicyRule: web, 7",
                          "handlePolicy: mail", "handlePolicyRule: mail, 8"));
}

TEST_F(PolicyTest, RulesThatComeAndGoWhileTheyAreWalkedAreFoundByKey) {
  const auto web = policy("web");
  for (const std::uint32_t seqnum : {10U, 20U, 30U}) rule(web, seqnum, "icmp");
  bool done = false;
  const Reaction reaction(*fwPolicy("web"),
                          [&](Pith::FieldId, const void* key, const Pith::Change&) {
                            const auto id = *static_cast<const std::uint32_t*>(key);
                            if (std::exchange(done, true) || id != computeRuleId(10, 1)) return;
                            web->ruleDel(20);
                            rule(web, 5, "gre");
                            rule(web, 25, "gre");
                          });
  const TraceCapture traces(8);
  rootSm().handlePolicyRules(web);
  const auto handled = calls(traces, 8, {"handlePolicyRule"});
  // From the notifications 20, 5 and 25; from the walk 10 first and then 25 and 30.
  EXPECT_THAT(handled, ElementsAre("handlePolicyRule: web, 10", "handlePolicyRule: web, 20",
                                   "handlePolicyRule: web, 5", "handlePolicyRule: web, 25",
                                   "handlePolicyRule: web, 25", "handlePolicyRule: web, 30"));
}

TEST_F(PolicyTest, PolicyRemovedAndMadeAgainIsCompiledAnew) {
  auto web = policy("web");
  rule(web, 7, "icmp");
  config().policyDel("web");
  EXPECT_FALSE(sw().hwConfig->policyHas("web"));
  rule(web, 8, "icmp");  // nobody watches it any more
  EXPECT_FALSE(sw().hwConfig->policyHas("web"));
  web = policy("web");
  rule(web, 9, "gre");
  EXPECT_THAT(lines("web"), ElementsAre("9/1 unset > unset 47 0-65535 < 0-65535 forward"));
}

TEST_F(PolicyTest, ReactorPointedAtAnotherPolicyCompilesThatOne) {
  config().policyIs("web");
  config().policyIs("mail");
  const auto reactor = rootSm().policy("web");
  const TraceCapture traces;
  reactor->notifierIs(config().policy("mail"));
  EXPECT_TRUE(std::ranges::any_of(
      traces.records(), [](const auto& record) { return record.function == "handlePolicyRules"; }));
  reactor->notifierIs(config().policy("web"));
}

TEST_F(PolicyTest, EverythingIsCompiledThoughASubscriberThrows) {
  rule(policy("web"), 7, "icmp");
  rule(policy("web"), 8, "icmp");
  rule(policy("mail"), 9, "icmp");
  service("icmp", 1);
  sw().hwConfig->policyDelAll();
  const Reaction reaction(*sw().hwConfig,
                          [](Pith::FieldId field, const void*, const Pith::Change&) {
                            if (field == Firewall::HwConfig::policyField)
                              throw std::runtime_error("subscriber");
                          });
  EXPECT_THROW(rootSm().handlePolicy(), std::runtime_error);
  ASSERT_TRUE(sw().hwConfig->policyHas("web") && sw().hwConfig->policyHas("mail"));
  EXPECT_EQ(fwPolicy("web")->rule().size(), 2U);
  EXPECT_EQ(fwPolicy("mail")->rule().size(), 1U);
}

TEST_F(PolicyTest, SuppressedReactorWritesNothingAndStillWatchesThePoliciesThatAreThere) {
  policy("old");
  sw().recorder.take();
  rootSm().kivDoZombieReactors(true);
  const auto web = policy("web");
  config().policyDel("old");
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  EXPECT_TRUE(rootSm().policyHas("web"));
  EXPECT_FALSE(rootSm().policyHas("old"));
  rootSm().kivDoZombieReactors(false);
  rootSm().handlePolicy("web");
  rule(web, 1, "icmp");
  EXPECT_THAT(lines("web"), ElementsAre("1/1 unset > unset 1 0-65535 < 0-65535 forward"));
}

TEST_F(PolicyTest, SuppressedPolicyReactorIgnoresItsRules) {
  const auto web = policy("web");
  rootSm().policy("web")->kivDoZombieReactors(true);
  rule(web, 1, "icmp");
  EXPECT_THAT(lines("web"), IsEmpty());
  rootSm().policy("web")->kivDoZombieReactors(false);
  rule(web, 2, "icmp");
  EXPECT_THAT(lines("web"), ElementsAre("2/1 unset > unset 1 0-65535 < 0-65535 forward"));
}

// Segments of the default VRF and of the L2 directory that name the policy.
class PolicyLinkTest : public PolicyTest {
 protected:
  void SetUp() override {
    PolicyTest::SetUp();
    name(config().vrfIs("default"));
    name(config().l2SegmentDirIs("l2"));
    sw().recorder.take();
  }

  static void name(const Firewall::SegmentDir::Ptr& directory) {
    directory->segmentIs("b");
    const auto a = directory->segmentIs("a");
    a->policyIs("b", "web");
    a->fallbackPolicyIs("web");
  }
  Firewall::FwSegment::Ptr inVrf(const char* segment) {
    return sw().hwConfig->vrf("default")->segment(segment);
  }
  Firewall::FwSegment::Ptr inL2(const char* segment) {
    return sw().hwConfig->l2Seg()->segment(segment);
  }
};

TEST_F(PolicyLinkTest, PolicyCreatedAfterTheSegmentsThatNameItIsLinked) {
  policy("web");
  EXPECT_THAT(sw().recorder.take(),
              ElementsAre("+ policy/web", "~ vrf/default/segment/a/fallbackPolicy = @web",
                          "+ vrf/default/segment/a/fromSegment/b = segment=@b,policy=@web",
                          "~ l2Seg/segment/a/fallbackPolicy = @web",
                          "+ l2Seg/segment/a/fromSegment/b = segment=@b,policy=@web"));
  for (const auto& a : {inVrf("a"), inL2("a")}) {
    EXPECT_EQ(a->fallbackPolicy(), fwPolicy("web"));
    EXPECT_EQ(a->fromSegment("b")->policy, fwPolicy("web"));
  }
  EXPECT_EQ(inVrf("a")->fromSegment("b")->segment, inVrf("b"));
  EXPECT_EQ(inL2("a")->fromSegment("b")->segment, inL2("b"));
}

TEST_F(PolicyLinkTest, RulesAreCompiledBeforeThePolicyIsLinked) {
  config().enabledIs(false);
  rule(policy("web"), 1, "icmp");
  service("icmp", 1);
  sw().recorder.take();
  config().enabledIs(true);
  const auto lines = sw().recorder.take();
  const auto firstWith = [&](std::string_view part) {
    return std::find_if(lines.begin(), lines.end(), [&](const std::string& line) {
      return line.find(part) != std::string::npos;
    });
  };
  ASSERT_NE(firstWith("fallbackPolicy = @web"), lines.end());
  EXPECT_LT(firstWith("+ policy/web/rule/"), firstWith("fallbackPolicy = @web"));
}

TEST_F(PolicyLinkTest, RemovedPolicyIsUnlinkedBeforeItGoes) {
  policy("web");
  sw().recorder.take();
  config().policyDel("web");
  EXPECT_THAT(
      sw().recorder.take(),
      ElementsAre("- vrf/default/segment/a/fromSegment/b",
                  "~ vrf/default/segment/a/fallbackPolicy = ", "- l2Seg/segment/a/fromSegment/b",
                  "~ l2Seg/segment/a/fallbackPolicy = ", "- policy/web"));
}

TEST_F(PolicyLinkTest, RemovedPolicyIsUnlinkedAndGoesThoughASubscriberThrows) {
  policy("web");
  const auto a = inVrf("a");
  const Reaction reaction(*a, [](Pith::FieldId, const void*, const Pith::Change&) {
    throw std::runtime_error("subscriber");
  });
  EXPECT_THROW(config().policyDel("web"), std::runtime_error);
  EXPECT_FALSE(sw().hwConfig->policyHas("web"));
  EXPECT_TRUE(a->fromSegment().empty());
  EXPECT_FALSE(inL2("a")->fallbackPolicy());
  EXPECT_FALSE(rootSm().policyHas("web"));
}

TEST_F(PolicyLinkTest, PolicyMadeAgainWhileItIsRemovedIsCompiledLinkedAndWatched) {
  for (const bool atFirstWrite : {true, false}) {
    rule(policy("web"), 1, "icmp");
    bool done = false;
    const auto makeAgain = [&](Pith::FieldId field, const void*, const Pith::Change&) {
      if (!atFirstWrite && field != Firewall::HwConfig::policyField) return;
      if (!std::exchange(done, true)) rule(policy("web"), 2, "icmp");
    };
    const auto reaction = atFirstWrite ? std::make_unique<Reaction>(*inVrf("a"), makeAgain)
                                       : std::make_unique<Reaction>(*sw().hwConfig, makeAgain);
    config().policyDel("web");
    ASSERT_TRUE(done && fwPolicy("web"));
    EXPECT_THAT(lines("web"), ElementsAre("2/1 unset > unset 1 0-65535 < 0-65535 forward"));
    for (const auto& a : {inVrf("a"), inL2("a")}) {
      EXPECT_EQ(a->fallbackPolicy(), fwPolicy("web"));
      EXPECT_EQ(a->fromSegment("b")->policy, fwPolicy("web"));
    }
    rule(policy("web"), 2, "gre");
    EXPECT_THAT(lines("web"), ElementsAre("2/1 unset > unset 47 0-65535 < 0-65535 forward"));
    config().policyDel("web");
    EXPECT_FALSE(sw().hwConfig->policyHas("web") || rootSm().policyHas("web"));
  }
}

TEST_F(PolicyLinkTest, LinksAreAskedForOncePerDirectoryThatHasAnOutput) {
  config().vrfIs("absent");
  const TraceCapture traces(8);
  policy("web");
  EXPECT_THAT(
      calls(traces, 8, {"addInterFromSegAndFbPolicyAll"}),
      ElementsAre("addInterFromSegAndFbPolicyAll: , web", "addInterFromSegAndFbPolicyAll: , web"));
}

TEST_F(PolicyLinkTest, L2DirectoryWithoutSegmentsIsLeftAlone) {
  for (const char* segment : {"a", "b"}) config().l2SegmentDir()->segmentDel(segment);
  const TraceCapture traces(8);
  policy("web");
  config().policyDel("web");
  EXPECT_THAT(calls(traces, 8, {"addInterFromSegAndFbPolicyAll"}),
              ElementsAre("addInterFromSegAndFbPolicyAll: , web"));
  EXPECT_THAT(calls(traces, 8, {"deleteInterFromSegAndFbPolicyAll"}),
              ElementsAre("deleteInterFromSegAndFbPolicyAll: , web"));
}

TEST_F(PolicyLinkTest, RuleChangesDoNotTouchTheLinks) {
  rule(policy("web"), 1, "icmp");
  sw().recorder.take();
  rule(policy("web"), 1, "gre");
  rule(policy("web"), 2, "gre");
  EXPECT_THAT(sw().recorder.take(), Each(HasSubstr("policy/web/rule/")));
}

}  // namespace
