// Services: their status, and the rules that follow their versions.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <utility>

#include "tests/Firewall/RulesSupport.h"
#include "tests/support/TraceCapture.h"

namespace {

using Firewall::Action;
using Firewall::FwService;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using TestSupport::LoneRootSm;
using TestSupport::module;
using TestSupport::prefix;
using TestSupport::Reaction;
using TestSupport::TraceCapture;
using TestSupport::TraceRecord;

class ServiceTest : public TestSupport::RulesFixture {
 protected:
  void rule(const char* policy, std::uint32_t seqnum, const char* service) {
    config().policyIs(policy)->ruleIs(seqnum, Pith::String(service), Action::forward);
  }
  static std::string id(std::uint32_t seqnum, std::uint32_t index) {
    return std::to_string(Firewall::computeRuleId(seqnum, index));
  }
};

TEST_F(ServiceTest, ServiceMadeWithContentsInstallsTheRulesThatNameIt) {
  rule("web", 5, "s");
  rule("web", 6, "other");
  const auto made = service("s");
  made->srcIpPrefixIs(prefix("10.0.0.0/8"));
  made->protocolIs({6, 6});
  EXPECT_THAT(lines("web"), IsEmpty());
  made->versionInc(1);
  EXPECT_THAT(lines("web"), ElementsAre("5/1 10.0.0.0/8 > unset 6 0-65535 < 0-65535 forward"));
}

TEST_F(ServiceTest, ServicePresentWhenTheSourceIsEnabledIsWatched) {
  const auto api = sw().source("api");
  api->policyIs("mail")->ruleIs(5U, Pith::String("s"), Action::forward);
  const auto made = service("s", 1);
  api->enabledIs(true);
  EXPECT_THAT(lines("mail"), ElementsAre("5/1 unset > unset 1 0-65535 < 0-65535 forward"));
  made->protocolDelAll();
  made->protocolIs({2, 2});
  made->versionInc(1);
  EXPECT_THAT(lines("mail"), ElementsAre("5/1 unset > unset 2 0-65535 < 0-65535 forward"));
}

TEST_F(ServiceTest, ContentsAreFollowedWithTheVersionOnly) {
  rule("web", 5, "s");
  const auto made = service("s", 1);
  sw().recorder.take();
  made->protocolIs({2, 2});
  made->srcIpPrefixIs(prefix("10.0.0.0/8"));
  made->afIs(Classification::AddressFamily::ipv4);
  EXPECT_THAT(sw().recorder.takeBelow("policy"), IsEmpty());
  made->versionInc(1);
  EXPECT_EQ(lines("web").size(), 2U);
}

TEST_F(ServiceTest, EmptiedServiceLosesItsRulesWithTheNextVersion) {
  rule("web", 5, "s");
  rule("mail", 6, "s");
  const auto made = service("s", 1);
  made->dstPortIs({80, 80});
  EXPECT_EQ(lines("web").size() + lines("mail").size(), 2U);
  made->protocolDelAll();
  made->versionInc(1);
  EXPECT_THAT(lines("web"), IsEmpty());
  EXPECT_THAT(lines("mail"), IsEmpty());
}

TEST_F(ServiceTest, ServiceWithPortsAloneNeverInstallsRules) {
  rule("web", 5, "s");
  const auto made = service("s");
  made->dstPortIs({80, 80});
  made->srcPortIs({80, 80});
  made->versionInc(1);
  EXPECT_THAT(lines("web"), IsEmpty());
  EXPECT_FALSE(rootSm().hasRules(made));
}

TEST_F(ServiceTest, AnyPrefixOrProtocolMakesRules) {
  const auto made = service("s");
  EXPECT_FALSE(rootSm().hasRules(made));
  made->srcIpPrefixIs(prefix("10.0.0.0/8"));
  EXPECT_TRUE(rootSm().hasRules(made));
  made->srcIpPrefixDelAll();
  made->dstIpPrefixIs(prefix("10.0.0.0/8"));
  EXPECT_TRUE(rootSm().hasRules(made));
  made->dstIpPrefixDelAll();
  made->protocolIs({0, 255});
  EXPECT_TRUE(rootSm().hasRules(made));
}

TEST_F(ServiceTest, TwoPoliciesThatNameItAreRecompiledPolicyByPolicyInAscendingOrder) {
  rule("web", 9, "s");
  rule("mail", 3, "s");
  rule("web", 2, "s");
  rule("mail", 4, "other");
  service("s", 1);
  sw().recorder.take();
  sw().hwConfig->services("s")->versionInc(1);
  EXPECT_THAT(
      sw().recorder.take(),
      ElementsAre("~ services/s/version = 2", "~ updateInProgress = true",
                  "- policy/web/rule/" + id(2, 1), "- policy/web/rule/" + id(9, 1),
                  "- policy/mail/rule/" + id(3, 1), HasSubstr("+ policy/web/rule/" + id(2, 1)),
                  HasSubstr("+ policy/web/rule/" + id(9, 1)),
                  HasSubstr("+ policy/mail/rule/" + id(3, 1)), "~ updateInProgress = false"));
}

TEST_F(ServiceTest, StatusMirrorsThePresence) {
  service("s");
  EXPECT_TRUE(sw().firewallStatus->serviceHas("s"));
  sw().hwConfig->servicesDel("s");
  EXPECT_FALSE(sw().firewallStatus->serviceHas("s"));
}

TEST_F(ServiceTest, RemovedServiceLosesRulesThenStatusThenReactor) {
  rule("web", 5, "s");
  service("s", 1);
  const auto out = fwPolicy("web");
  std::vector<std::string> order;
  const Reaction rules(*out, [&](Pith::FieldId, const void*, const Pith::Change&) {
    order.emplace_back(sw().firewallStatus->serviceHas("s") ? "rule" : "rule too late");
  });
  const Reaction status(*sw().firewallStatus, [&](Pith::FieldId, const void*, const Pith::Change&) {
    order.emplace_back(rootSm().serviceHas("s") ? "status" : "status too late");
  });
  sw().hwConfig->servicesDel("s");
  EXPECT_THAT(order, ElementsAre("rule", "status"));
  EXPECT_FALSE(rootSm().serviceHas("s"));
}

TEST_F(ServiceTest, UnexpandedRuleIsWrittenAgainWithEachVersion) {
  sw().hwCapability->serviceRuleSupportedIs(true);
  rule("web", 5, "s");
  const auto made = service("s", 1);
  sw().recorder.take();
  made->versionInc(1);
  EXPECT_THAT(sw().recorder.takeBelow("policy"),
              ElementsAre("- policy/web/serviceRule/5",
                          "+ policy/web/serviceRule/5 = service=@s,action=forward,log=false,"
                          "nexthop=none"));
}

TEST_F(ServiceTest, ServiceRemovedAndMadeAgainIsAnotherOne) {
  rule("web", 5, "s");
  const auto old = service("s", 1);
  sw().hwConfig->servicesDel("s");
  old->versionInc(1);
  EXPECT_THAT(lines("web"), IsEmpty());
  service("s", 2);
  EXPECT_THAT(lines("web"), ElementsAre("5/1 unset > unset 2 0-65535 < 0-65535 forward"));
}

TEST_F(ServiceTest, HandlersTraceTheirEntryAndTheirReturn) {
  rule("web", 5, "s");
  service("s");
  const TraceCapture traces;
  rootSm().handleService("s");
  rootSm().deleteServicePolicyRules("s");
  rootSm().handleServiceChange(sw().hwConfig->services("s"));
  const TraceRecord deleted[] = {
      {module, 8, "deleteServicePolicyRules", ": s"},
      {module, 8, "deletePolicyRules", ": web, 5"},
      {module, 7, "deletePolicyRules", " return"},
      {module, 7, "deleteServicePolicyRules", " return"},
  };
  EXPECT_THAT(
      traces.records(),
      ElementsAre(TraceRecord{module, 8, "handleService", ": s"},
                  TraceRecord{module, 7, "handleService", " return "}, deleted[0], deleted[1],
                  deleted[2], deleted[3], TraceRecord{module, 8, "handleServiceChange", ": s"},
                  TraceRecord{module, 8, "Handle", "Active work handles 1"},
                  TraceRecord{module, 6, "Handle", "set updateInProgress to true"}, deleted[0],
                  deleted[1], deleted[2], deleted[3],
                  TraceRecord{module, 8, "Handle", "Active work handles 0"},
                  TraceRecord{module, 6, "Handle", "set updateInProgress to false"},
                  TraceRecord{module, 7, "handleServiceChange", " return "}));
}

TEST_F(ServiceTest, HandlersDoNothingWhenTheReactorIsNotInitialized) {
  rule("web", 5, "s");
  const auto made = service("s", 1);
  const auto sm = sw().rootSm("cli");
  sm->cleanup();
  sw().recorder.take();
  sw().firewallStatus->serviceDelAll();
  const TraceCapture traces;
  sm->handleService("s");
  sm->handleServiceChange(made);
  sm->deleteServicePolicyRules("s");
  EXPECT_FALSE(sw().firewallStatus->serviceHas("s"));
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  EXPECT_THAT(traces.records(),
              ElementsAre(TraceRecord{module, 8, "handleService", ": s"},
                          TraceRecord{module, 7, "handleService", " return "},
                          TraceRecord{module, 8, "handleServiceChange", ": s"},
                          TraceRecord{module, 8, "deleteServicePolicyRules", ": s"},
                          TraceRecord{module, 7, "deleteServicePolicyRules", " return"}));
}

TEST_F(ServiceTest, SuppressedReactorWritesNothingAndStillWatchesTheServicesThatAreThere) {
  rule("web", 5, "s");
  rule("web", 6, "old");
  service("old", 1);
  rootSm().kivDoZombieReactors(true);
  sw().recorder.take();
  const auto made = service("s");
  sw().hwConfig->servicesDel("old");
  EXPECT_FALSE(sw().firewallStatus->serviceHas("s"));
  EXPECT_TRUE(sw().firewallStatus->serviceHas("old"));
  EXPECT_EQ(lines("web").size(), 1U);
  EXPECT_TRUE(rootSm().serviceHas("s"));
  EXPECT_FALSE(rootSm().serviceHas("old"));
  rootSm().kivDoZombieReactors(false);
  made->protocolIs({1, 1});
  made->versionInc(1);
  EXPECT_EQ(lines("web").front(), "5/1 unset > unset 1 0-65535 < 0-65535 forward");
}

TEST_F(ServiceTest, SuppressedServiceReactorIgnoresItsVersion) {
  rule("web", 5, "s");
  service("s");
  rootSm().service("s")->kivDoZombieReactors(true);
  service("s", 1);
  EXPECT_THAT(lines("web"), IsEmpty());
  rootSm().service("s")->kivDoZombieReactors(false);
  service("s", 2);
  EXPECT_EQ(lines("web").size(), 2U);
}

TEST_F(ServiceTest, ServiceMadeAgainWhileItIsRemovedIsCompiledAndWatched) {
  // At the first write of the removal, and at the last.
  for (const bool atFirstWrite : {true, false}) {
    rule("web", 5, "s");
    rule("web", 6, "s");
    service("s", 1);
    bool done = false;
    const auto makeAgain = [&](Pith::FieldId, const void*, const Pith::Change&) {
      if (!std::exchange(done, true)) service("s", 2);
    };
    const auto reaction = atFirstWrite
                              ? std::make_unique<Reaction>(*fwPolicy("web"), makeAgain)
                              : std::make_unique<Reaction>(*sw().firewallStatus, makeAgain);
    sw().hwConfig->servicesDel("s");
    ASSERT_TRUE(done);
    EXPECT_TRUE(sw().firewallStatus->serviceHas("s"));
    EXPECT_THAT(lines("web"), ElementsAre("5/1 unset > unset 2 0-65535 < 0-65535 forward",
                                          "6/1 unset > unset 2 0-65535 < 0-65535 forward"));
    service("s", 3);
    EXPECT_EQ(lines("web").size(), 4U);
    sw().hwConfig->servicesDel("s");
    EXPECT_FALSE(sw().firewallStatus->serviceHas("s") || rootSm().serviceHas("s"));
    EXPECT_THAT(lines("web"), IsEmpty());
  }
}

TEST_F(ServiceTest, RulesAreRecompiledThoughASubscriberThrows) {
  rule("web", 5, "s");
  rule("web", 6, "s");
  const auto made = service("s", 1);
  const Reaction reaction(*fwPolicy("web"),
                          [](Pith::FieldId, const void*, const Pith::Change& change) {
                            if (change.current == nullptr) throw std::runtime_error("subscriber");
                          });
  EXPECT_THROW(made->versionInc(1), std::runtime_error);
  EXPECT_EQ(lines("web").size(), 2U);
  EXPECT_FALSE(sw().hwConfig->updateInProgress());
}

TEST_F(ServiceTest, VersionsAreFollowedThoughASubscriberThrewWhenTheServiceCame) {
  rule("web", 5, "s");
  {
    const Reaction reaction(*sw().hwConfig,
                            [](Pith::FieldId field, const void*, const Pith::Change&) {
                              if (field == Firewall::HwConfig::updateInProgressField) {
                                throw std::runtime_error("subscriber");
                              }
                            });
    EXPECT_THROW(sw().hwConfig->servicesIs("s"), std::runtime_error);
  }
  service("s", 1);
  EXPECT_EQ(lines("web").size(), 1U);
}

TEST_F(ServiceTest, RemovalIsCompletedThoughASubscriberThrows) {
  rule("web", 5, "s");
  service("s", 1);
  const Reaction reaction(*fwPolicy("web"), [](Pith::FieldId, const void*, const Pith::Change&) {
    throw std::runtime_error("subscriber");
  });
  EXPECT_THROW(sw().hwConfig->servicesDel("s"), std::runtime_error);
  EXPECT_THAT(lines("web"), IsEmpty());
  EXPECT_FALSE(sw().firewallStatus->serviceHas("s"));
  EXPECT_FALSE(rootSm().serviceHas("s"));
}

TEST_F(ServiceTest, PoliciesAndRulesThatComeWhileTheRulesAreRecompiledAreNotLost) {
  rule("web", 5, "s");
  rule("mail", 6, "s");
  const auto made = service("s", 1);
  bool done = false;
  const Reaction reaction(*fwPolicy("web"),
                          [&](Pith::FieldId, const void*, const Pith::Change& change) {
                            if (change.current == nullptr || std::exchange(done, true)) return;
                            config().policyDel("mail");
                            rule("web", 7, "s");
                            rule("web", 4, "s");
                            rule("late", 8, "s");
                          });
  made->versionInc(1);
  EXPECT_FALSE(sw().hwConfig->policyHas("mail"));
  for (const std::uint32_t seqnum : {4U, 5U, 7U}) {
    EXPECT_TRUE(fwPolicy("web")->ruleHas(Firewall::computeRuleId(seqnum, 1))) << seqnum;
  }
  EXPECT_TRUE(fwPolicy("late")->ruleHas(Firewall::computeRuleId(8, 1)));
}

TEST(LoneServiceTest, RemovedServiceLosesItsUnexpandedRules) {
  LoneRootSm lone;
  lone.capability->serviceRuleSupportedIs(true);
  lone.start();
  lone.config->policyIs("web")->ruleIs(5U, Pith::String("s"), Action::forward);
  const auto made = lone.hwConfig->servicesIs("s");
  made->protocolIs({1, 1});
  made->versionInc(1);
  EXPECT_TRUE(lone.hwConfig->policy("web")->serviceRuleHas(5));
  lone.hwConfig->servicesDel("s");
  EXPECT_FALSE(lone.hwConfig->policy("web")->serviceRuleHas(5));
}

TEST(LoneServiceTest, MissingStatusObjectIsSkipped) {
  LoneRootSm lone;
  lone.status = nullptr;
  lone.start();
  lone.config->policyIs("web")->ruleIs(5U, Pith::String("s"), Action::forward);
  const auto made = lone.hwConfig->servicesIs("s");
  made->protocolIs({1, 1});
  made->versionInc(1);
  EXPECT_EQ(lone.hwConfig->policy("web")->rule().size(), 1U);
  lone.hwConfig->servicesDel("s");
  EXPECT_TRUE(lone.hwConfig->policy("web")->rule().empty());
}

}  // namespace
