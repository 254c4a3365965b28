// Policies of one name, and links to policies, over several configuration sources.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

#include "tests/Firewall/RulesSupport.h"

namespace {

using Firewall::Action;
using Firewall::Config;
using Firewall::Policy;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::Reaction;

class PolicySourcesTest : public TestSupport::RulesFixture {
 protected:
  void SetUp() override {
    RulesFixture::SetUp();
    service("icmp", 1);
    service("gre", 47);
    sw().recorder.take();
  }

  Config::Ptr source(const char* name) {
    const auto config = sw().source(name);
    config->enabledIs(true);
    return config;
  }
  static void rule(const Config::Ptr& config, std::uint32_t seqnum, const char* service,
                   Action action = Action::forward) {
    config->policyIs("web")->ruleIs(seqnum, Pith::String(service), action);
  }
  // A segment of the default VRF that names the policy both ways.
  static void name(const Config::Ptr& config, const char* segment, const char* policy) {
    const auto directory = config->vrfIs("default");
    directory->segmentIs("source");
    const auto named = directory->segmentIs(segment);
    named->policyIs("source", policy);
    named->fallbackPolicyIs(policy);
  }
  Firewall::FwSegment::Ptr segment(const char* name) {
    return sw().hwConfig->vrf("default")->segment(name);
  }
};

TEST_F(PolicySourcesTest, PolicyThatSomebodyTookOutOfTheOutputMayLeaveOneOfItsSources) {
  rule(sw().source("cli"), 10, "icmp");
  rule(source("api"), 10, "icmp");
  sw().hwConfig->policyDel("web");
  sw().recorder.take();
  sw().source("cli")->policyDel("web");
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
}

TEST_F(PolicySourcesTest, PolicyThatLeavesOneSourceIsCompiledFromTheOther) {
  const auto cli = source("cli");
  const auto api = source("api");
  rule(api, 10, "gre");
  rule(api, 20, "gre", Action::redirect);
  rule(cli, 10, "icmp");
  rule(cli, 30, "icmp");
  const auto out = fwPolicy("web");
  EXPECT_THAT(lines("web"), ElementsAre("10/1 unset > unset 1 0-65535 < 0-65535 forward",
                                        "20/1 unset > unset 47 0-65535 < 0-65535 redirect",
                                        "30/1 unset > unset 1 0-65535 < 0-65535 forward"));
  cli->policyDel("web");
  EXPECT_EQ(fwPolicy("web"), out);
  EXPECT_THAT(lines("web"), ElementsAre("10/1 unset > unset 47 0-65535 < 0-65535 forward",
                                        "20/1 unset > unset 47 0-65535 < 0-65535 redirect"));
  EXPECT_FALSE(sw().rootSm("cli")->policyHas("web"));
  EXPECT_TRUE(sw().rootSm("api")->policyHas("web"));
}

TEST_F(PolicySourcesTest, UnexpandedRulesOfThePolicyThatLeftGoToo) {
  sw().hwCapability->serviceRuleSupportedIs(true);
  const auto cli = source("cli");
  const auto api = source("api");
  rule(api, 10, "gre");
  rule(cli, 30, "icmp");
  rule(cli, 2000, "icmp");
  cli->policyDel("web");
  ASSERT_EQ(fwPolicy("web")->serviceRule().size(), 1U);
  EXPECT_TRUE(fwPolicy("web")->serviceRuleHas(10));
}

TEST_F(PolicySourcesTest, FallbackPolicyOfSegmentsThatNobodyConfiguresGoesWithThePolicy) {
  sw().source("cli")->policyIs("web");
  const auto vrfSegment = sw().hwConfig->vrfIs("default")->segmentIs("a");
  const auto l2Segment = sw().hwConfig->l2SegIs("l2")->segmentIs("b");
  for (const auto& segment : {vrfSegment, l2Segment}) segment->fallbackPolicyIs(fwPolicy("web"));
  sw().source("cli")->policyDel("web");
  EXPECT_FALSE(fwPolicy("web"));
  EXPECT_FALSE(vrfSegment->fallbackPolicy());
  EXPECT_FALSE(l2Segment->fallbackPolicy());
}

TEST_F(PolicySourcesTest, TheOtherSourceTakesOverThoughASubscriberThrows) {
  const auto cli = source("cli");
  const auto api = source("api");
  rule(api, 20, "gre");
  for (const std::uint32_t seqnum : {10U, 30U}) rule(cli, seqnum, "icmp");
  {
    const Reaction reaction(*fwPolicy("web"),
                            [](Pith::FieldId, const void*, const Pith::Change& change) {
                              if (change.current == nullptr) throw std::runtime_error("subscriber");
                            });
    EXPECT_THROW(cli->policyDel("web"), std::runtime_error);
  }
  EXPECT_THAT(lines("web"), ElementsAre("20/1 unset > unset 47 0-65535 < 0-65535 forward"));
}

TEST_F(PolicySourcesTest, PolicyMadeAgainWhileTheOtherSourceTakesOverIsCompiledFromBoth) {
  const auto cli = source("cli");
  const auto api = source("api");
  rule(api, 20, "gre");
  rule(cli, 10, "icmp");
  bool done = false;
  const Reaction reaction(*fwPolicy("web"), [&](Pith::FieldId, const void*, const Pith::Change&) {
    if (!std::exchange(done, true)) rule(cli, 30, "icmp");
  });
  cli->policyDel("web");
  EXPECT_THAT(lines("web"), ElementsAre("20/1 unset > unset 47 0-65535 < 0-65535 forward",
                                        "30/1 unset > unset 1 0-65535 < 0-65535 forward"));
  rule(cli, 40, "icmp");
  EXPECT_EQ(lines("web").size(), 3U);
}

TEST_F(PolicySourcesTest, DisabledSourceLeavesItsRulesWhileAnotherIsEnabled) {
  const auto cli = source("cli");
  const auto api = source("api");
  rule(cli, 10, "icmp");
  cli->policyIs("mail");
  rule(api, 20, "gre");
  cli->enabledIs(false);
  EXPECT_EQ(lines("web").size(), 2U);
  EXPECT_TRUE(sw().hwConfig->policyHas("mail"));
  api->enabledIs(false);
  EXPECT_TRUE(sw().hwConfig->policy().empty());
}

TEST_F(PolicySourcesTest, LinksStayWhileAnyEnabledSourceHasThePolicy) {
  const auto cli = source("cli");
  const auto api = source("api");
  rule(cli, 10, "icmp");
  rule(api, 10, "icmp");
  name(cli, "a", "web");
  name(api, "b", "web");
  sw().recorder.take();
  cli->policyDel("web");
  EXPECT_THAT(sw().recorder.takeBelow("vrf"), IsEmpty());
  for (const char* each : {"a", "b"}) {
    EXPECT_EQ(segment(each)->fallbackPolicy(), fwPolicy("web"));
    EXPECT_EQ(segment(each)->fromSegment("source")->policy, fwPolicy("web"));
  }
}

TEST_F(PolicySourcesTest, PolicyOfADisabledSourceDoesNotKeepTheOutput) {
  const auto cli = source("cli");
  const auto api = sw().source("api");
  rule(cli, 10, "icmp");
  rule(api, 10, "gre");
  EXPECT_THAT(lines("web"), ElementsAre("10/1 unset > unset 1 0-65535 < 0-65535 forward"));
  cli->policyDel("web");
  EXPECT_FALSE(sw().hwConfig->policyHas("web"));
}

TEST_F(PolicySourcesTest, SeveralRemainingSourcesAreCompiledInTheDirectorysOrder) {
  const auto cli = source("cli");
  const auto first = source("first");
  const auto second = source("second");
  rule(second, 10, "gre", Action::redirect);
  rule(second, 20, "gre", Action::redirect);
  rule(first, 10, "icmp");
  rule(first, 15, "icmp");
  rule(cli, 10, "icmp", Action::drop);
  cli->policyDel("web");
  EXPECT_THAT(lines("web"), ElementsAre("10/1 unset > unset 47 0-65535 < 0-65535 redirect",
                                        "15/1 unset > unset 1 0-65535 < 0-65535 forward",
                                        "20/1 unset > unset 47 0-65535 < 0-65535 redirect"));
}

TEST_F(PolicySourcesTest, ThePolicyGoesWithItsLastSource) {
  const auto cli = source("cli");
  const auto api = source("api");
  rule(cli, 10, "icmp");
  rule(api, 10, "icmp");
  cli->policyDel("web");
  api->policyDel("web");
  EXPECT_FALSE(sw().hwConfig->policyHas("web"));
}

TEST_F(PolicySourcesTest, RuleThatLeavesOneSourceIsCompiledFromTheOther) {
  const auto cli = source("cli");
  const auto api = source("api");
  rule(api, 10, "gre");
  rule(cli, 10, "icmp");
  cli->policy("web")->ruleDel(10);
  EXPECT_THAT(lines("web"), ElementsAre("10/1 unset > unset 47 0-65535 < 0-65535 forward"));
  api->policy("web")->ruleDel(10);
  EXPECT_THAT(lines("web"), IsEmpty());
}

TEST_F(PolicySourcesTest, RuleWhoseServiceGoesIsCompiledFromTheOther) {
  const auto cli = source("cli");
  const auto api = source("api");
  const auto ofApi = ElementsAre("10/1 unset > unset 47 0-65535 < 0-65535 forward");
  rule(api, 10, "gre");
  rule(cli, 10, "icmp");
  const auto icmp = sw().hwConfig->services("icmp");
  icmp->protocolDelAll();
  icmp->versionInc(1);
  EXPECT_THAT(lines("web"), ofApi);
  service("icmp", 1);
  EXPECT_THAT(lines("web"), ElementsAre("10/1 unset > unset 1 0-65535 < 0-65535 forward"));
  sw().hwConfig->servicesDel("icmp");
  EXPECT_THAT(lines("web"), ofApi);
  sw().hwConfig->servicesDel("gre");
  EXPECT_THAT(lines("web"), IsEmpty());
}

TEST_F(PolicySourcesTest, RuleWithoutAServiceLeavesTheNumberToTheOther) {
  const auto cli = source("cli");
  const auto api = source("api");
  const auto ofCli = ElementsAre("10/1 unset > unset 1 0-65535 < 0-65535 forward");
  rule(cli, 10, "icmp");
  rule(api, 10, "unknown");
  EXPECT_THAT(lines("web"), ofCli);
  rule(api, 10, "gre");
  EXPECT_THAT(lines("web"), ElementsAre("10/1 unset > unset 47 0-65535 < 0-65535 forward"));
  rule(api, 10, "");
  EXPECT_THAT(lines("web"), ofCli);
  rule(cli, 10, "");
  EXPECT_THAT(lines("web"), IsEmpty());
}

TEST_F(PolicySourcesTest, RemainingSourceWithoutAServiceLeavesTheNumberToAnother) {
  const auto cli = source("cli");
  rule(source("first"), 10, "gre");
  rule(source("second"), 10, "unknown");
  rule(cli, 10, "icmp");
  cli->policyDel("web");
  EXPECT_THAT(lines("web"), ElementsAre("10/1 unset > unset 47 0-65535 < 0-65535 forward"));
}

TEST_F(PolicySourcesTest, RuleThatLeavesIsNotCompiledFromADisabledSource) {
  const auto cli = source("cli");
  rule(sw().source("api"), 10, "gre");
  rule(cli, 10, "icmp");
  cli->policy("web")->ruleDel(10);
  EXPECT_THAT(lines("web"), IsEmpty());
}

TEST_F(PolicySourcesTest, PolicyOfOneSourceIsLinkedToTheSegmentsOfAnotherAndUnlinked) {
  const auto cli = source("cli");
  const auto api = source("api");
  name(cli, "a", "web");
  EXPECT_FALSE(segment("a")->fallbackPolicy());
  rule(api, 10, "icmp");
  EXPECT_EQ(segment("a")->fallbackPolicy(), fwPolicy("web"));
  EXPECT_EQ(segment("a")->fromSegment("source")->policy, fwPolicy("web"));
  api->policyDel("web");
  EXPECT_FALSE(segment("a")->fallbackPolicy());
  EXPECT_TRUE(segment("a")->fromSegment().empty());
}

}  // namespace
