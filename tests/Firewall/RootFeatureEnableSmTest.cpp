// One source: while it is enabled there is a RootSm for it.
#include "Firewall/Sources/RootFeatureEnableSm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/FullConfiguration.h"
#include "tests/support/OnWrite.h"
#include "tests/support/Reinstantiation.h"
#include "tests/support/Switch.h"
#include "tests/support/TraceCapture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::OnWrite;
using TestSupport::TraceCapture;

class RootFeatureEnableSmTest : public TestSupport::SwitchTest {
 protected:
  // The functions that traced, in order, without repeats of the same one.
  static std::vector<std::string> functions(const TraceCapture& traces,
                                            const std::vector<std::string>& wanted) {
    std::vector<std::string> seen;
    for (const auto& record : traces.records()) {
      if (std::find(wanted.begin(), wanted.end(), record.function) == wanted.end()) continue;
      if (record.level != 8) continue;
      seen.push_back(record.function);
    }
    return seen;
  }
};

TEST_F(RootFeatureEnableSmTest, SourceDisabledFromTheStartGetsNoRootSmAndNoEvaluation) {
  sw().source("cli");
  const TraceCapture traces;
  sw().start();
  ASSERT_TRUE(sw().root->rootFeatureSm("cli"));
  EXPECT_TRUE(sw().root->rootFeatureSm("cli")->initialized());
  EXPECT_FALSE(sw().rootSm("cli"));
  EXPECT_TRUE(traces.saw(8, "handleFeatureStatus", " enabled: false"));
  EXPECT_THAT(functions(traces, {"evaluateHwConfigEnableStatus"}), IsEmpty());
}

TEST_F(RootFeatureEnableSmTest, EnablingTwiceInARowKeepsOneRootSmAndOnlyReEvaluates) {
  sw().source("cli")->enabledIs(true);
  sw().start();
  const auto feature = sw().root->rootFeatureSm("cli");
  const auto rootSm = feature->rootSm();
  ASSERT_TRUE(rootSm);
  sw().recorder.take();
  const TraceCapture traces;
  feature->handleFeatureStatus();
  EXPECT_EQ(feature->rootSm(), rootSm);
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  EXPECT_THAT(functions(traces, {"handleFeatureStatus", "evaluateHwConfigEnableStatus",
                                 "handleInitialized"}),
              ElementsAre("handleFeatureStatus", "evaluateHwConfigEnableStatus"));
}

TEST_F(RootFeatureEnableSmTest, EachHandlingOfAnEnabledSourceIsTracedAsTheFirst) {
  sw().source("cli")->enabledIs(true);
  sw().start();
  const TraceCapture traces(5);
  sw().root->rootFeatureSm("cli")->handleFeatureStatus();
  EXPECT_THAT(traces.texts(), ElementsAre(" Creating RootSm: cli", " Setting active status: true"));
}

TEST_F(RootFeatureEnableSmTest, EnablingCreatesTheRootSmBeforeTheEvaluation) {
  const auto cli = sw().source("cli");
  sw().start();
  const TraceCapture traces;
  cli->enabledIs(true);
  EXPECT_TRUE(traces.saw(8, "handleFeatureStatus", " enabled: true"));
  EXPECT_TRUE(traces.saw(5, "handleFeatureStatus", " Creating RootSm: cli"));
  EXPECT_THAT(
      functions(traces,
                {"handleFeatureStatus", "handleInitialized", "evaluateHwConfigEnableStatus"}),
      ElementsAre("handleFeatureStatus", "handleInitialized", "evaluateHwConfigEnableStatus"));
  EXPECT_TRUE(sw().rootSm("cli")->hasNotificationActive());
}

TEST_F(RootFeatureEnableSmTest, DisablingEvaluatesWhileTheRootSmStillExistsThenCleansUp) {
  const auto cli = sw().source("cli");
  cli->enabledIs(true);
  sw().start();
  const auto rootSm = sw().rootSm("cli");
  const TraceCapture traces;
  cli->enabledIs(false);
  EXPECT_TRUE(traces.saw(5, "handleFeatureStatus", " Deleting RootSm: cli"));
  EXPECT_THAT(functions(traces, {"handleFeatureStatus", "evaluateHwConfigEnableStatus", "cleanup"}),
              ElementsAre("handleFeatureStatus", "evaluateHwConfigEnableStatus", "cleanup"));
  EXPECT_FALSE(sw().rootSm("cli"));
  EXPECT_FALSE(rootSm->hasNotificationActive());
}

TEST_F(RootFeatureEnableSmTest, EvaluationFindsTheRootSmWhenDisablingAndNotWhenCleaningUp) {
  const auto cli = sw().source("cli");
  cli->vrfIs("default");
  cli->enabledIs(true);
  sw().start();
  const auto feature = sw().root->rootFeatureSm("cli");
  std::vector<std::string> seen;
  const OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange& change) {
    if (change.path != "active" && change.path != "vrf/default") return;
    seen.push_back(change.path + (feature->rootSm() ? " with RootSm" : " without"));
  });
  cli->enabledIs(false);
  EXPECT_THAT(seen, ElementsAre("active with RootSm", "vrf/default with RootSm"));
  cli->enabledIs(true);
  seen.clear();
  feature->kivDoZombieReactors(true);
  cli->enabledIs(false);
  feature->cleanup();
  EXPECT_THAT(seen, ElementsAre("vrf/default with RootSm", "active without"));
  feature->kivDoZombieReactors(false);
  cli->enabledIs(true);
  sw().source("api")->enabledIs(true);
  seen.clear();
  cli->enabledIs(false);
  EXPECT_THAT(seen, ElementsAre("vrf/default with RootSm"));
}

TEST_F(RootFeatureEnableSmTest, DisabledWithoutRootSmReturnsAtOnce) {
  sw().source("cli");
  sw().start();
  const TraceCapture traces;
  sw().root->rootFeatureSm("cli")->handleFeatureStatus();
  ASSERT_EQ(traces.records().size(), 1U);
  EXPECT_TRUE(traces.saw(8, "handleFeatureStatus", " enabled: false"));
}

TEST_F(RootFeatureEnableSmTest, CleanupOfTheLastSourceRunsAgainstAnEmptiedOutput) {
  TestSupport::shareConfiguration(sw());
  const auto cli = TestSupport::fullSource(sw(), "cli");
  sw().start();
  cli->enabledIs(true);
  sw().recorder.take();
  cli->enabledIs(false);
  std::vector<std::string> kinds;
  for (const std::string& line : sw().recorder.take()) {
    EXPECT_NE(line[0], '+') << "came back: " << line;
    if (line.starts_with("~ updateInProgress") || line.starts_with("~ active")) {
      kinds.push_back(line);
    }
  }
  EXPECT_EQ(kinds.front(), "~ active = false");
  EXPECT_EQ(kinds.back(), "~ updateInProgress = false");
  EXPECT_TRUE(sw().hwConfig->vrf().empty());
  EXPECT_TRUE(sw().hwConfig->policy().empty());
  EXPECT_TRUE(sw().hwConfig->services().empty());
  EXPECT_FALSE(sw().hwConfig->l2Seg());
  sw().checkAtRest();
}

TEST_F(RootFeatureEnableSmTest, DeletingTheEnabledEntryTearsTheRootSmDownAndReEvaluates) {
  TestSupport::shareConfiguration(sw());
  TestSupport::fullSource(sw(), "cli")->enabledIs(true);
  sw().start();
  EXPECT_EQ(sw().hwConfig->vrf().size(), 3U);
  const TraceCapture traces;
  sw().fwConfigDir->entityDel("cli");
  EXPECT_FALSE(sw().hwConfig->active());
  EXPECT_TRUE(sw().hwConfig->vrf().empty());
  EXPECT_TRUE(sw().hwConfig->policy().empty());
  EXPECT_TRUE(traces.saw(5, "evaluateHwConfigEnableStatus", " Setting active status: false"));
  sw().checkAtRest();
}

TEST_F(RootFeatureEnableSmTest, CleanupTakesTheRootSmDownThenEvaluates) {
  const auto cli = sw().source("cli");
  cli->enabledIs(true);
  sw().start();
  const TraceCapture traces;
  sw().fwConfigDir->entityDel("cli");
  EXPECT_THAT(
      functions(traces, {"handleConfigurationSource", "cleanup", "evaluateHwConfigEnableStatus"}),
      ElementsAre("handleConfigurationSource", "cleanup", "cleanup",
                  "evaluateHwConfigEnableStatus"));
}

TEST_F(RootFeatureEnableSmTest, ExceptionInACleanupIsRaisedWhenTheOutputIsOff) {
  const auto cli = sw().source("cli");
  cli->enabledIs(true);
  sw().start();
  const auto feature = sw().root->rootFeatureSm("cli");
  feature->kivDoZombieReactors(true);  // it does not hear that the source is disabled
  cli->enabledIs(false);
  bool isFirst = true;
  const OnWrite onWrite(sw().hwConfig, [&isFirst](const Kiv::TreeChange&) {
    if (std::exchange(isFirst, false)) throw std::runtime_error("refused");
  });
  EXPECT_THROW(feature->cleanup(), std::runtime_error);
  EXPECT_FALSE(feature->rootSm());
  EXPECT_FALSE(sw().hwConfig->active());
}

TEST_F(RootFeatureEnableSmTest, SecondCleanupChangesNothing) {
  sw().source("cli")->enabledIs(true);
  sw().start();
  const auto feature = sw().root->rootFeatureSm("cli");
  feature->cleanup();
  sw().recorder.take();
  feature->cleanup();
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  EXPECT_FALSE(feature->rootSm());
}

TEST_F(RootFeatureEnableSmTest, OtherAttributesOfTheSourceAreIgnoredHere) {
  const auto cli = sw().source("cli");
  sw().start();
  const TraceCapture traces;
  cli->policyIs("p");
  cli->forwardTypeIs(Firewall::ForwardingTypeMatch(1));
  EXPECT_THAT(functions(traces, {"handleFeatureStatus"}), IsEmpty());
}

TEST_F(RootFeatureEnableSmTest, SuppressedItIgnoresTheSource) {
  const auto cli = sw().source("cli");
  sw().start();
  sw().root->rootFeatureSm("cli")->kivDoZombieReactors(true);
  cli->enabledIs(true);
  EXPECT_FALSE(sw().rootSm("cli"));
}

TEST_F(RootFeatureEnableSmTest, EveryReferenceOfTheRootSmIsComparedWhenItIsAskedForAgain) {
  sw().source("cli")->enabledIs(true);
  sw().start();
  const auto feature = sw().root->rootFeatureSm("cli");
  const auto rootSm = feature->rootSm();
  TestSupport::expectEachReferenceChecked(
      "Firewall::RootSm", rootSm->attributes(), [&](const Firewall::RootSmAttributes& a) {
        feature->rootSmIs(a.configSource, a.fwConfigDir, a.inConfig, a.outFirewallConfig,
                          a.firewallStatus, a.intfStatusDir, a.ipStatus, a.matchListConfigDir,
                          a.appRecConfig, a.fieldSetConfig, a.appRecStatus, a.hwCapability,
                          a.aclListConfig, a.activeWorkManager);
      });
  EXPECT_EQ(feature->rootSm(), rootSm);
}

TEST_F(RootFeatureEnableSmTest, FactoriesTakeTheArgumentsInOrder) {
  const auto cli = sw().source("cli");
  sw().start();
  const auto& a = sw().root->rootFeatureSm("cli")->attributes();
  const auto feature = Firewall::rootFeatureEnableSmFactory(
      a.configSource, a.fwConfigDir, a.inConfig, a.outFirewallConfig, a.firewallStatus,
      a.intfStatusDir, a.ipStatus, a.matchListConfigDir, a.appRecConfig, a.fieldSetConfig,
      a.appRecStatus, a.hwCapability, a.rootDirSm, a.aclListConfig, a.activeWorkManager);
  EXPECT_EQ(feature->attributes().inConfig, cli);
  EXPECT_TRUE(feature->hasNotificationActive());
  const auto rootSm = Firewall::rootSmFactory(
      a.configSource, a.fwConfigDir, a.inConfig, a.outFirewallConfig, a.firewallStatus,
      a.intfStatusDir, a.ipStatus, a.matchListConfigDir, a.appRecConfig, a.fieldSetConfig,
      a.appRecStatus, a.hwCapability, a.aclListConfig, a.activeWorkManager);
  EXPECT_EQ(rootSm->attributes().configSource, "cli");
  EXPECT_TRUE(rootSm->initialized());
  rootSm->cleanup();
}

TEST_F(RootFeatureEnableSmTest, FactoryRaisesWhatTheStartOfTheSourceRaises) {
  const auto cli = sw().source("cli");
  sw().start();
  auto attributes = sw().root->rootFeatureSm("cli")->attributes();
  sw().ipStatus->vrfIs(L3::VrfName("red"));
  sw().matchLists("lists");
  const auto api = Kiv::make<Firewall::Config>("api");
  api->vrfIs("red")->segmentIs("a")->prefixIpv4MlIs({7, "web"});
  api->enabledIs(true);
  attributes.inConfig = api;
  EXPECT_THROW(Firewall::rootFeatureEnableSmFactory(attributes), Pith::RangeException);
}

}  // namespace
