// Activation: sources come and go, any enabled one makes the output active.
#include "Firewall/Sources/RootDirSm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "framework/Kiv/Errors.h"
#include "framework/Kiv/Inspector.h"
#include "framework/Kiv/TreeWatcher.h"
#include "framework/Pith/Publisher.h"
#include "framework/Pith/RangeException.h"
#include "tests/support/FullConfiguration.h"
#include "tests/support/OnWrite.h"
#include "tests/support/Reinstantiation.h"
#include "tests/support/Switch.h"
#include "tests/support/TraceCapture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::TraceCapture;

class RootDirSmTest : public TestSupport::SwitchTest {};

const auto begun = "~ updateInProgress = true";
const auto done = "~ updateInProgress = false";

TEST_F(RootDirSmTest, EmptyDirectoryGivesAnEmptyInactiveOutputAtRest) {
  sw().start();
  EXPECT_FALSE(sw().hwConfig->active());
  EXPECT_FALSE(sw().hwConfig->updateInProgress());
  EXPECT_TRUE(sw().root->initialized());
  EXPECT_TRUE(sw().root->rootFeatureSm().empty());
  EXPECT_FALSE(sw().root->appRecogConfigSm());
  EXPECT_THAT(sw().recorder.take(), ElementsAre(begun, done));
}

TEST_F(RootDirSmTest, StartClearsWhatTheOutputHolds) {
  sw().hwConfig->activeIs(true);
  sw().hwConfig->vrfIs("red")->segmentIs("a");
  sw().hwConfig->policyIs("p");
  sw().hwConfig->l2SegIs("l2SegDir");
  sw().hwConfig->servicesIs("s");
  sw().firewallStatus->serviceIs("s");
  sw().recorder.take();
  sw().start();
  EXPECT_THAT(sw().recorder.take(), ElementsAre(begun, "~ active = false", "- vrf/red",
                                                "- policy/p", "- l2Seg", "- services/s", done));
  EXPECT_TRUE(sw().firewallStatus->service().empty());
}

TEST_F(RootDirSmTest, SourcesThatExistAtStartAreReplayedInDirectoryOrder) {
  for (const char* name : {"zebra", "ant"}) sw().source(name)->enabledIs(true);
  const TraceCapture traces(5);
  sw().start();
  std::vector<std::string> created;
  for (const auto& record : traces.records()) {
    if (record.text.starts_with(" Creating RootSm: ")) created.push_back(record.text);
  }
  EXPECT_THAT(created, ElementsAre(" Creating RootSm: zebra", " Creating RootSm: ant"));
  EXPECT_TRUE(sw().hwConfig->active());
}

TEST_F(RootDirSmTest, EnablingAndDisablingTheOnlySourceWritesInOrder) {
  const auto cli = sw().source("cli");
  sw().start();
  sw().recorder.take();
  cli->enabledIs(true);
  EXPECT_THAT(sw().recorder.take(),
              ElementsAre(begun, "~ defaultPolicyDrop = true", done, "~ active = true"));
  cli->enabledIs(false);
  EXPECT_THAT(sw().recorder.take(), ElementsAre("~ active = false", begun, done));
}

TEST_F(RootDirSmTest, OneOfTwoSourcesEnabledIsActiveAndDisablingItClearsTheWholeOutput) {
  TestSupport::shareConfiguration(sw());
  const auto cli = TestSupport::fullSource(sw(), "cli");
  TestSupport::fullSource(sw(), "api");
  sw().start();
  cli->enabledIs(true);
  EXPECT_TRUE(sw().hwConfig->active());
  EXPECT_EQ(sw().hwConfig->vrf().size(), 3U);
  EXPECT_EQ(sw().hwConfig->services().size(), 3U);
  EXPECT_EQ(sw().firewallStatus->service().size(), 3U);
  EXPECT_TRUE(sw().hwConfig->l2Seg());
  sw().checkAtRest();
  cli->enabledIs(false);
  EXPECT_FALSE(sw().hwConfig->active());
  EXPECT_TRUE(sw().hwConfig->vrf().empty());
  EXPECT_TRUE(sw().hwConfig->policy().empty());
  EXPECT_FALSE(sw().hwConfig->l2Seg());
  EXPECT_TRUE(sw().hwConfig->services().empty());
  EXPECT_TRUE(sw().firewallStatus->service().empty());
  sw().checkAtRest();
}

TEST_F(RootDirSmTest, RemovingAnEnabledSourceReEvaluatesThroughItsChild) {
  sw().source("cli")->enabledIs(true);
  sw().source("api")->enabledIs(true);
  sw().start();
  sw().fwConfigDir->entityDel("cli");
  EXPECT_TRUE(sw().hwConfig->active());
  EXPECT_FALSE(sw().root->rootFeatureSmHas("cli"));
  sw().fwConfigDir->entityDel("api");
  EXPECT_FALSE(sw().hwConfig->active());
  EXPECT_FALSE(sw().root->appRecogConfigSm());
  EXPECT_TRUE(sw().root->rootFeatureSm().empty());
}

TEST_F(RootDirSmTest, RemovingADisabledSourceDoesNotEvaluate) {
  sw().source("cli");
  sw().start();
  sw().recorder.take();
  const TraceCapture traces;
  sw().fwConfigDir->entityDel("cli");
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  for (const auto& record : traces.records()) {
    EXPECT_NE(record.function, "evaluateHwConfigEnableStatus");
  }
}

TEST_F(RootDirSmTest, DisabledSourceAddedBesideAnEnabledOneKeepsActive) {
  sw().source("cli")->enabledIs(true);
  sw().start();
  sw().recorder.take();
  sw().source("api");
  EXPECT_TRUE(sw().hwConfig->active());
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  EXPECT_TRUE(sw().root->rootFeatureSmHas("api"));
}

TEST_F(RootDirSmTest, EntryOfAnotherTypeIsNoSource) {
  sw().fwConfigDir->newEntity<Firewall::Status>("other");
  sw().start();
  EXPECT_TRUE(sw().root->rootFeatureSm().empty());
  sw().source("cli")->enabledIs(true);
  EXPECT_TRUE(sw().root->rootFeatureSmHas("cli"));
  sw().fwConfigDir->newEntity<Firewall::Status>("cli");
  EXPECT_FALSE(sw().root->rootFeatureSmHas("cli"));
  EXPECT_FALSE(sw().hwConfig->active());
}

TEST_F(RootDirSmTest, SourceReplacedUnderItsNameGetsANewChild) {
  sw().source("cli")->enabledIs(true);
  sw().start();
  const auto replacement = sw().fwConfigDir->newEntity<Firewall::Config>("cli");
  const auto after = sw().root->rootFeatureSm("cli");
  ASSERT_TRUE(after);
  EXPECT_EQ(after->attributes().inConfig, replacement);
  EXPECT_FALSE(sw().hwConfig->active());
  replacement->enabledIs(true);
  EXPECT_TRUE(sw().hwConfig->active());
}

TEST_F(RootDirSmTest, ApplicationRecognitionExistsExactlyWhileASourceIsEnabled) {
  const auto cli = sw().source("cli");
  const auto api = sw().source("api");
  sw().start();
  EXPECT_FALSE(sw().root->appRecogConfigSm());
  cli->enabledIs(true);
  const auto sibling = sw().root->appRecogConfigSm();
  ASSERT_TRUE(sibling);
  EXPECT_TRUE(sibling->hasNotificationActive());
  api->enabledIs(true);
  EXPECT_EQ(sw().root->appRecogConfigSm(), sibling);
  cli->enabledIs(false);
  EXPECT_EQ(sw().root->appRecogConfigSm(), sibling);
  api->enabledIs(false);
  EXPECT_FALSE(sw().root->appRecogConfigSm());
  EXPECT_FALSE(sibling->hasNotificationActive());
}

TEST_F(RootDirSmTest, SuppressedItIgnoresTheDirectory) {
  sw().start();
  sw().root->kivDoZombieReactors(true);
  sw().source("cli");
  EXPECT_FALSE(sw().root->rootFeatureSmHas("cli"));
  sw().root->kivDoZombieReactors(false);
  sw().source("api");
  EXPECT_TRUE(sw().root->rootFeatureSmHas("api"));
  sw().root->hasNotificationActiveIs(false);
  sw().source("third");
  EXPECT_FALSE(sw().root->rootFeatureSmHas("third"));
}

TEST_F(RootDirSmTest, CleanupTakesTheSourcesDownAndEmptiesTheOutput) {
  TestSupport::shareConfiguration(sw());
  TestSupport::fullSource(sw(), "cli")->enabledIs(true);
  sw().start();
  sw().root->cleanup();
  EXPECT_TRUE(sw().root->rootFeatureSm().empty());
  EXPECT_FALSE(sw().hwConfig->active());
  EXPECT_TRUE(sw().hwConfig->vrf().empty());
  EXPECT_TRUE(sw().hwConfig->policy().empty());
  sw().checkAtRest();
}

TEST_F(RootDirSmTest, CleanupTakesEachSourceDownThenEmptiesTheOutputUnderOneHandle) {
  for (const char* name : {"cli", "api"}) {
    sw().ipStatus->vrfIs(L3::VrfName(name));
    const auto config = sw().source(name);
    config->vrfIs(name);
    config->policyIs("p");
    config->enabledIs(true);
  }
  sw().start();
  sw().recorder.take();
  const TraceCapture traces(8);
  sw().root->cleanup();
  EXPECT_THAT(sw().recorder.take(),
              ElementsAre(begun, "- vrf/cli", "- vrf/api", "~ active = false", "- policy/p", done));
  EXPECT_EQ(traces.count(6, "Handle", "set updateInProgress to true"), 1U);
}

TEST_F(RootDirSmTest, InitializedStaysWhenItIsCleanedUp) {
  sw().source("cli")->enabledIs(true);
  sw().start();
  const auto rootSm = sw().rootSm("cli");
  sw().root->cleanup();
  EXPECT_TRUE(sw().root->initialized());
  EXPECT_FALSE(sw().root->isWorking());
  EXPECT_TRUE(rootSm->initialized());
  EXPECT_FALSE(rootSm->isWorking());
}

TEST_F(RootDirSmTest, SecondCleanupChangesNothingAndNoSourceComesBack) {
  sw().source("cli")->enabledIs(true);
  sw().start();
  sw().root->cleanup();
  sw().recorder.take();
  sw().root->cleanup();
  sw().source("late")->enabledIs(true);
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  EXPECT_TRUE(sw().root->rootFeatureSm().empty());
}

TEST_F(RootDirSmTest, DroppedWithoutCleanupItLeavesNoReactorBehind) {
  TestSupport::shareConfiguration(sw());
  TestSupport::fullSource(sw(), "cli")->enabledIs(true);
  sw().start();
  sw().root = nullptr;
  EXPECT_FALSE(sw().hwConfig->updateInProgress());
  sw().source("cli")->enabledIs(false);
  EXPECT_EQ(sw().fwConfigDir->publisher().subscriberCount(), 0U);
}

TEST_F(RootDirSmTest, EveryReferenceOfAChildIsComparedWhenItIsAskedForAgain) {
  sw().source("cli");
  sw().start();
  const auto child = sw().root->rootFeatureSm("cli");
  TestSupport::expectEachReferenceChecked(
      "Firewall::RootFeatureEnableSm", child->attributes(),
      [this](const Firewall::RootFeatureEnableSmAttributes& a) {
        sw().root->rootFeatureSmIs("cli", a.fwConfigDir, a.inConfig, a.outFirewallConfig,
                                   a.firewallStatus, a.intfStatusDir, a.ipStatus,
                                   a.matchListConfigDir, a.appRecConfig, a.fieldSetConfig,
                                   a.appRecStatus, a.hwCapability, a.rootDirSm, a.aclListConfig);
      },
      {"activeWorkManager"});
  EXPECT_EQ(sw().root->rootFeatureSm("cli"), child);
}

TEST_F(RootDirSmTest, WorkManagerIsCreatedOnceAndForOneOutput) {
  sw().start();
  const auto manager = sw().root->activeWorkManager();
  ASSERT_TRUE(manager);
  EXPECT_EQ(sw().root->activeWorkManagerIs(sw().hwConfig), manager);
  EXPECT_THROW(sw().root->activeWorkManagerIs(Kiv::make<Firewall::HwConfig>()),
               Kiv::ReinstantiationError);
  sw().source("cli")->enabledIs(true);
  EXPECT_EQ(sw().rootSm("cli")->attributes().activeWorkManager, manager);
}

// Looks at what is there when an attribute of the output itself is written.
class Looker {
 public:
  Looker(const Firewall::HwConfig::Ptr& hwConfig, std::function<void(Pith::FieldId)> look)
      : look_(std::move(look)) {
    hwConfig->publisher().subscriberAdd(subscriber_);
  }

 private:
  static void dispatch(void* self, Pith::Publisher*, Pith::Subscriber*, Pith::FieldId field,
                       const void*, const Pith::Change*) {
    static_cast<Looker*>(self)->look_(field);
  }
  std::function<void(Pith::FieldId)> look_;
  Pith::Subscriber subscriber_{this, &dispatch};
};

TEST_F(RootDirSmTest, ServicesAreCompiledBeforeActiveRises) {
  sw().application("web", 6);
  const auto cli = sw().source("cli");
  sw().start();
  sw().recorder.take();
  cli->enabledIs(true);
  const auto lines = sw().recorder.take();
  ASSERT_THAT(lines, ::testing::Contains("+ services/web"));
  EXPECT_EQ(lines.back(), "~ active = true");
}

TEST_F(RootDirSmTest, ApplicationRecognitionGoesBeforeTheOutputIsEmptied) {
  const auto cli = sw().source("cli");
  cli->enabledIs(true);
  sw().start();
  bool seen = false;
  const Looker looker(sw().hwConfig, [&](Pith::FieldId field) {
    if (field != Firewall::HwConfig::activeField) return;
    seen = true;
    EXPECT_FALSE(sw().root->appRecogConfigSm());
  });
  cli->enabledIs(false);
  EXPECT_TRUE(seen);
}

TEST_F(RootDirSmTest, StatusIsEmptiedLast) {
  sw().hwConfig->servicesIs("s");
  sw().firewallStatus->serviceIs("s");
  bool seen = false;
  const Looker looker(sw().hwConfig, [&](Pith::FieldId field) {
    if (field != Firewall::HwConfig::servicesField) return;
    seen = true;
    EXPECT_TRUE(sw().firewallStatus->serviceHas("s"));
  });
  sw().start();
  EXPECT_TRUE(seen);
  EXPECT_TRUE(sw().firewallStatus->service().empty());
}

TEST_F(RootDirSmTest, WithoutDirectoryThereAreNoSources) {
  const auto root = Firewall::rootDirSmFactory(
      nullptr, sw().hwConfig, sw().firewallStatus, sw().intfStatusDir, sw().ipStatus,
      sw().matchListConfigDir, sw().appRecConfig, sw().fieldSetConfig, sw().appRecStatus,
      sw().hwCapability, sw().aclListConfig);
  EXPECT_TRUE(root->initialized());
  root->handleConfigurationSource("cli");
  root->evaluateHwConfigEnableStatus();
  EXPECT_TRUE(root->rootFeatureSm().empty());
  EXPECT_FALSE(sw().hwConfig->active());
  root->cleanup();
}

TEST_F(RootDirSmTest, LeavesNothingInTheOutputWhenItCannotStart) {
  TestSupport::shareConfiguration(sw());
  TestSupport::fullSource(sw(), "cli")->enabledIs(true);
  const std::string tooLong = "__VRF_" + std::string(101, 'v') + "_segment_z";
  const auto cli = sw().source("cli");
  cli->classMapIs(tooLong)->intfVlanDataIs(Lanx::IntfId{std::string_view("Ethernet5")});
  cli->vrfIs("default")->segmentIs("z")->classNameIs(tooLong);
  EXPECT_THROW(sw().start(), Pith::RangeException);
  EXPECT_FALSE(sw().hwConfig->active());
  EXPECT_TRUE(sw().hwConfig->vrf().empty());
  EXPECT_TRUE(sw().hwConfig->policy().empty());
  EXPECT_TRUE(sw().hwConfig->services().empty());
  EXPECT_FALSE(sw().hwConfig->l2Seg());
  EXPECT_TRUE(sw().firewallStatus->service().empty());
  EXPECT_FALSE(sw().hwConfig->updateInProgress());
}

TEST_F(RootDirSmTest, ExceptionAtTheEndOfTheCleanupReachesWhoCleansUp) {
  sw().source("cli")->enabledIs(true);
  sw().start();
  const TestSupport::OnWrite onWrite(sw().hwConfig, [](const Kiv::TreeChange& change) {
    if (change.path == "updateInProgress" && change.value == "false") {
      throw std::runtime_error("subscriber");
    }
  });
  EXPECT_THROW(sw().root->cleanup(), std::runtime_error);
  EXPECT_FALSE(sw().hwConfig->updateInProgress());
}

TEST_F(RootDirSmTest, TracesItsDecisions) {
  sw().start();
  const TraceCapture traces;
  sw().source("cli")->enabledIs(true);
  EXPECT_TRUE(traces.saw(8, "handleConfigurationSource", " Source: cli"));
  EXPECT_TRUE(traces.saw(8, "evaluateHwConfigEnableStatus", ": "));
  EXPECT_TRUE(traces.saw(5, "evaluateHwConfigEnableStatus", " Setting active status: true"));
  sw().source("cli")->enabledIs(false);
  EXPECT_TRUE(traces.saw(5, "evaluateHwConfigEnableStatus", " Setting active status: false"));
}

TEST_F(RootDirSmTest, TracesInitialisationAndCleanup) {
  const TraceCapture traces;
  sw().start();
  sw().root->cleanup();
  sw().root->cleanup();
  EXPECT_EQ(traces.count(8, "handleInitialized", ": "), 1U);
  EXPECT_EQ(traces.count(8, "cleanup", ": "), 2U);
  EXPECT_EQ(traces.count(7, "cleanup", " return "), 1U);
}

// Reads the whole output at each notification, as a hardware agent may, and finds there what it is
// told.
class Reader final : public Kiv::TreeWatcher {
 public:
  using TreeWatcher::TreeWatcher;
  std::size_t reads = 0;

 private:
  void onChange(const Kiv::TreeChange& change) override {
    bool found = false;
    Kiv::Inspector(*root()).each([&](std::string_view path, std::string_view text) {
      if (path != change.path && !path.starts_with(change.path + "/")) return;
      found = true;
      if (path == change.path && change.kind != Kiv::TreeChange::Kind::removed) {
        EXPECT_EQ(text, change.value) << change.path;
      }
    });
    EXPECT_EQ(found, change.kind != Kiv::TreeChange::Kind::removed) << change.path;
    ++reads;
  }
};

TEST_F(RootDirSmTest, SubscriberMayReadTheWholeOutputAtEachNotification) {
  const Reader reader(sw().hwConfig);
  TestSupport::shareConfiguration(sw());
  const auto cli = TestSupport::fullSource(sw(), "cli");
  sw().start();
  for (int round = 0; round < 2; ++round) {
    cli->enabledIs(true);
    cli->enabledIs(false);
  }
  EXPECT_GT(reader.reads, 20U);
}

}  // namespace
