// The core of the main reactor: replay, dispatch, global switches, VRFs and the L2 directory.
#include "Firewall/Sources/RootSm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "framework/Pith/RangeException.h"
#include "tests/support/FullConfiguration.h"
#include "tests/support/OnWrite.h"
#include "tests/support/Reinstantiation.h"
#include "tests/support/Switch.h"
#include "tests/support/TraceCapture.h"

namespace {

using Firewall::DefaultPolicy;
using Firewall::ForwardingTypeMatch;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using TestSupport::OnWrite;
using TestSupport::TraceCapture;

class RootSmTest : public TestSupport::SwitchTest {
 protected:
  // A started switch with one enabled source.
  Firewall::Config::Ptr started(const std::string& name = "cli") {
    auto config = sw().source(name);
    config->enabledIs(true);
    if (!sw().root) sw().start();
    sw().recorder.take();
    return config;
  }
};

std::vector<std::string> entries(const TraceCapture& traces) {
  std::vector<std::string> functions;
  for (const auto& record : traces.records()) {
    if (record.level == 8 && record.function.starts_with("handle")) {
      functions.push_back(record.function + record.text);
    }
  }
  return functions;
}

TEST_F(RootSmTest, ReplayRunsTheHandlersInOrder) {
  const auto cli = sw().source("cli");
  sw().start();
  const TraceCapture traces;
  cli->enabledIs(true);
  std::vector<std::string> order;
  for (const auto& record : traces.records()) {
    if (record.level != 8 || record.function.starts_with("evaluate")) continue;
    if (record.function.starts_with("handle") && record.function != "handleFeatureStatus") {
      order.push_back(record.function);
    }
  }
  EXPECT_THAT(order, ElementsAre("handleInitialized", "handleDefaultPolicyDrop", "handleVrfConfig",
                                 "handleL2Config", "handlePolicy", "handleClassMap",
                                 "handleForwardingType"));
}

TEST_F(RootSmTest, ReplayShowsAsUpdateInProgress) {
  sw().ipStatus->vrfIs(L3::VrfName("red"));
  const auto cli = sw().source("cli");
  cli->vrfIs("red");
  sw().start();
  sw().recorder.take();
  cli->enabledIs(true);
  EXPECT_THAT(sw().recorder.take(),
              ElementsAre("~ updateInProgress = true", "~ defaultPolicyDrop = true", "+ vrf/red",
                          "~ updateInProgress = false", "~ active = true"));
}

TEST_F(RootSmTest, DefaultPolicyTwoInAnySourceTurnsTheDropOffEvenWhenThatSourceIsDisabled) {
  sw().source("api")->defaultPolicyIs(DefaultPolicy::forward);
  const auto cli = started();
  EXPECT_FALSE(sw().hwConfig->defaultPolicyDrop());
  sw().source("api")->defaultPolicyIs(DefaultPolicy::drop);
  // A disabled source's change is seen by the next look of an enabled one.
  EXPECT_FALSE(sw().hwConfig->defaultPolicyDrop());
  cli->defaultPolicyIs(DefaultPolicy::drop);
  EXPECT_TRUE(sw().hwConfig->defaultPolicyDrop());
  cli->defaultPolicyIs(DefaultPolicy::forward);
  EXPECT_FALSE(sw().hwConfig->defaultPolicyDrop());
}

TEST_F(RootSmTest, DefaultPolicyDropIsTraced) {
  const auto cli = started();
  const TraceCapture traces;
  cli->defaultPolicyIs(DefaultPolicy::forward);
  EXPECT_TRUE(traces.saw(8, "handleDefaultPolicyDrop", ": "));
  EXPECT_TRUE(traces.saw(5, "handleDefaultPolicyDrop", " defaultPolicyDrop: false"));
}

TEST_F(RootSmTest, ForwardingTypesOfAllSourcesAreUnited) {
  sw().source("api")->forwardTypeIs(ForwardingTypeMatch(1));
  const auto cli = started();
  EXPECT_EQ(sw().hwConfig->forwardType(), ForwardingTypeMatch(1));
  cli->forwardTypeIs(ForwardingTypeMatch(2));
  EXPECT_EQ(sw().hwConfig->forwardType(), ForwardingTypeMatch(3));
  cli->forwardTypeIs(ForwardingTypeMatch(0));
  EXPECT_EQ(sw().hwConfig->forwardType(), ForwardingTypeMatch(1));
}

TEST_F(RootSmTest, VrfConfiguredButAbsentFromTheIpStatusGetsNoReactorUntilItIsListed) {
  const auto cli = started();
  const TraceCapture traces;
  cli->vrfIs("red");
  EXPECT_FALSE(sw().rootSm("cli")->vrfSmHas("red"));
  EXPECT_TRUE(traces.saw(3, "handleVrf", "red doesn't exist."));
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  sw().ipStatus->vrfIs(L3::VrfName("red"));
  EXPECT_TRUE(sw().rootSm("cli")->vrfSmHas("red"));
  EXPECT_TRUE(sw().hwConfig->vrfHas("red"));
  sw().ipStatus->vrfDel(L3::VrfName("red"));
  EXPECT_FALSE(sw().rootSm("cli")->vrfSmHas("red"));
  EXPECT_FALSE(sw().hwConfig->vrfHas("red"));
}

TEST_F(RootSmTest, VrfThatIsNotPresentIsNamedAloneWhetherItIsConfiguredOrNot) {
  const auto cli = started();
  cli->vrfIs("red");
  sw().ipStatus->vrfIs(L3::VrfName("listed"));
  for (const std::string name : {"red", "nowhere"}) {
    const TraceCapture traces;
    sw().rootSm("cli")->handleVrf(L3::VrfName(name));
    EXPECT_THAT(
        traces.records(),
        ElementsAre(TestSupport::TraceRecord{TestSupport::module, 8, "handleVrf", ": " + name},
                    TestSupport::TraceRecord{TestSupport::module, 3, "handleVrf",
                                             name + " doesn't exist."}));
  }
  for (const std::string name : {"listed", "default"}) {
    const TraceCapture traces;
    sw().rootSm("cli")->handleVrf(L3::VrfName(name));
    EXPECT_THAT(traces.texts(), ElementsAre(": " + name));
  }
}

TEST_F(RootSmTest, DefaultVrfIsAlwaysPresent) {
  const auto cli = started();
  cli->vrfIs("default");
  EXPECT_TRUE(sw().hwConfig->vrfHas("default"));
}

TEST_F(RootSmTest, VrfListedButNotConfiguredGetsNoReactor) {
  started();
  sw().ipStatus->vrfIs(L3::VrfName("red"));
  EXPECT_TRUE(sw().rootSm("cli")->vrfSm().empty());
}

TEST_F(RootSmTest, VrfRemovedFromTheConfigurationIsCleanedUpAndMayComeBack) {
  sw().ipStatus->vrfIs(L3::VrfName("red"));
  const auto cli = started();
  cli->vrfIs("red")->segmentIs("a");
  const auto before = sw().rootSm("cli")->vrfSm("red");
  ASSERT_TRUE(sw().hwConfig->vrf("red")->segmentHas("a"));
  cli->vrfDel("red");
  EXPECT_FALSE(sw().hwConfig->vrfHas("red"));
  EXPECT_FALSE(before->hasNotificationActive());
  cli->vrfIs("red")->segmentIs("b");
  EXPECT_NE(sw().rootSm("cli")->vrfSm("red"), before);
  EXPECT_TRUE(sw().hwConfig->vrf("red")->segmentHas("b"));
  EXPECT_FALSE(sw().hwConfig->vrf("red")->segmentHas("a"));
}

TEST_F(RootSmTest, ExistingVrfReactorIsLeftAsItIs) {
  const auto cli = started();
  cli->vrfIs("default");
  const auto rootSm = sw().rootSm("cli");
  const auto vrfSm = rootSm->vrfSm("default");
  sw().recorder.take();
  rootSm->handleVrfConfig();
  rootSm->handleVrf(L3::VrfName("default"));
  EXPECT_EQ(rootSm->vrfSm("default"), vrfSm);
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
}

TEST_F(RootSmTest, VrfNameOfAHundredBytesIsTakenAndALongerOneRefused) {
  started();
  const auto rootSm = sw().rootSm("cli");
  EXPECT_NO_THROW(rootSm->handleVrfConfig(Pith::String(std::string(100, 'v'))));
  try {
    rootSm->handleVrfConfig(Pith::String(std::string(101, 'v')));
    ADD_FAILURE() << "taken";
  } catch (const Pith::RangeException& error) {
    EXPECT_STREQ(error.what(), "Kiv::String::bytes > maxLength() not allowed");
  }
}

TEST_F(RootSmTest, L2DirectoryComesAndGoes) {
  const auto cli = started();
  const TraceCapture traces;
  cli->l2SegmentDirIs("l2")->segmentIs("voice");
  ASSERT_TRUE(sw().hwConfig->l2Seg());
  EXPECT_EQ(sw().hwConfig->l2Seg()->name(), "l2SegDir");
  EXPECT_TRUE(sw().hwConfig->l2Seg()->segmentHas("voice"));
  EXPECT_TRUE(traces.saw(5, "handleL2Config", " L2 config added"));
  const auto reactor = sw().rootSm("cli")->l2SegDirSm();
  ASSERT_TRUE(reactor);
  EXPECT_EQ(reactor->attributes().vrfName, "");
  EXPECT_FALSE(reactor->attributes().vrfConfig);
  EXPECT_TRUE(reactor->hasNotificationActive());
  cli->l2SegmentDirDel();
  EXPECT_FALSE(sw().hwConfig->l2Seg());
  EXPECT_FALSE(sw().rootSm("cli")->l2SegDirSm());
  EXPECT_FALSE(reactor->hasNotificationActive());
  EXPECT_TRUE(traces.saw(5, "handleL2Config", " L2 config removed"));
}

TEST_F(RootSmTest, L2DirectoryReplacedByOneOfAnotherName) {
  const auto cli = started();
  cli->l2SegmentDirIs("one")->segmentIs("a");
  cli->l2SegmentDirIs("two")->segmentIs("b");
  EXPECT_FALSE(sw().hwConfig->l2Seg()->segmentHas("a"));
  EXPECT_TRUE(sw().hwConfig->l2Seg()->segmentHas("b"));
}

TEST_F(RootSmTest, WithoutL2DirectoryNothingIsTracedOrWritten) {
  started();
  const TraceCapture traces;
  sw().rootSm("cli")->handleL2Config();
  EXPECT_EQ(traces.records().size(), 1U);
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
}

TEST_F(RootSmTest, ChildrenOfWhatExistsAreThereAfterStart) {
  TestSupport::shareConfiguration(sw());
  const auto cli = TestSupport::fullSource(sw(), "cli");
  started("api");  // so that services exist before the second source's reactor starts
  ASSERT_EQ(sw().hwConfig->services().size(), 3U);
  cli->enabledIs(true);
  const auto rootSm = sw().rootSm("cli");
  EXPECT_EQ(rootSm->service().size(), 3U);
  EXPECT_EQ(rootSm->policy().size(), cli->policy().size());
  EXPECT_EQ(rootSm->classMap().size(), cli->classMap().size());
  EXPECT_FALSE(sw().hwConfig->policy("web-only")->rule().empty());
}

TEST_F(RootSmTest, ChildrenFollowPoliciesClassMapsAndServices) {
  const auto cli = started();
  const auto rootSm = sw().rootSm("cli");
  cli->policyIs("p");
  cli->classMapIs("__segment_c");
  sw().application("web", 6);
  EXPECT_EQ(rootSm->policy("p")->notifier(), cli->policy("p"));
  EXPECT_EQ(rootSm->classMap("__segment_c")->notifier(), cli->classMap("__segment_c"));
  EXPECT_EQ(rootSm->service("web")->notifier(), sw().hwConfig->services("web"));
  cli->policyDel("p");
  cli->classMapDel("__segment_c");
  sw().appRecConfig->appDel("web");
  EXPECT_FALSE(rootSm->policyHas("p"));
  EXPECT_FALSE(rootSm->classMapHas("__segment_c"));
  EXPECT_FALSE(rootSm->serviceHas("web"));
}

TEST_F(RootSmTest, SuppressedItKeepsTheChildrenButHandlesNothing) {
  const auto cli = started();
  const auto rootSm = sw().rootSm("cli");
  rootSm->kivDoZombieReactors(true);
  const TraceCapture traces;
  cli->policyIs("p");
  cli->classMapIs("__segment_c");
  cli->vrfIs("default");
  cli->l2SegmentDirIs("l2");
  cli->forwardTypeIs(ForwardingTypeMatch(1));
  cli->defaultPolicyIs(DefaultPolicy::forward);
  sw().ipStatus->vrfIs(L3::VrfName("red"));
  sw().ipStatus->ipIntfStatusIs(Lanx::IntfId{std::string_view("Ethernet1")}, L3::VrfName("red"));
  sw().appRecStatus->versionForAppProfileIs("web", 1U);
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  EXPECT_TRUE(rootSm->policyHas("p"));
  EXPECT_TRUE(rootSm->classMapHas("__segment_c"));
  for (const char* handler :
       {"handleVrf", "handleVrfConfig", "handleL2Config", "handleForwardingType",
        "handleDefaultPolicyDrop", "handleVersionForAppProfile"}) {
    for (const auto& record : traces.records()) EXPECT_NE(record.function, handler);
  }
  sw().hwConfig->servicesIs("web");
  EXPECT_TRUE(rootSm->serviceHas("web"));
  EXPECT_TRUE(sw().firewallStatus->service().empty());
  sw().hwConfig->servicesDel("web");
  EXPECT_FALSE(rootSm->serviceHas("web"));
  rootSm->kivDoZombieReactors(false);
}

TEST_F(RootSmTest, IpInterfacesReEvaluateAllClassMaps) {
  started();
  const TraceCapture traces;
  sw().interface("Ethernet1", "red");
  EXPECT_THAT(entries(traces), Contains(::testing::StartsWith("handleClassMap")));
}

TEST_F(RootSmTest, FieldsOfOthersAreIgnored) {
  started();
  const auto rootSm = sw().rootSm("cli");
  const TraceCapture traces;
  const Pith::Change change;
  rootSm->inConfigDispatch(nullptr, nullptr, Firewall::Config::enabledField, nullptr, &change);
  rootSm->outFirewallConfigDispatch(nullptr, nullptr, Firewall::HwConfig::activeField, nullptr,
                                    &change);
  EXPECT_THAT(traces.records(), IsEmpty());
}

TEST_F(RootSmTest, CleanupRemovesVrfsAndL2UnderAHandleAndTwiceChangesNothing) {
  sw().ipStatus->vrfIs(L3::VrfName("red"));
  const auto cli = started();
  cli->vrfIs("red")->segmentIs("a");
  cli->vrfIs("default");
  cli->l2SegmentDirIs("l2");
  cli->policyIs("p");
  const auto rootSm = sw().rootSm("cli");
  sw().recorder.take();
  rootSm->cleanup();
  const auto lines = sw().recorder.take();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.front(), "~ updateInProgress = true");
  EXPECT_EQ(lines.back(), "~ updateInProgress = false");
  EXPECT_THAT(lines, Contains("- vrf/red"));
  EXPECT_THAT(lines, Contains("- vrf/default"));
  EXPECT_THAT(lines, Contains("- l2Seg"));
  EXPECT_TRUE(sw().hwConfig->policyHas("p"));  // compiled policies stay
  EXPECT_TRUE(rootSm->policyHas("p"));
  EXPECT_TRUE(rootSm->vrfSm().empty());
  EXPECT_FALSE(rootSm->l2SegDirSm());
  const TraceCapture traces;
  rootSm->cleanup();
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  EXPECT_TRUE(traces.saw(7, "cleanup", " return "));
}

TEST_F(RootSmTest, CleanupTakesTheVrfsDownInOrderAndThenTheL2Directory) {
  sw().ipStatus->vrfIs(L3::VrfName("red"));
  const auto cli = started();
  cli->l2SegmentDirIs("l2")->segmentIs("voice");
  cli->vrfIs("red");
  cli->vrfIs("default");
  sw().recorder.take();
  const auto rootSm = sw().rootSm("cli");
  // Their output goes though somebody holds them, and while they still belong to the main reactor.
  const auto held = rootSm->vrfSm("red");
  const auto heldL2 = rootSm->l2SegDirSm();
  std::vector<bool> belongs;
  const OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange& change) {
    if (change.path == "vrf/red") belongs.push_back(rootSm->vrfSmHas("red"));
    if (change.path == "l2Seg") belongs.push_back(static_cast<bool>(rootSm->l2SegDirSm()));
  });
  rootSm->cleanup();
  EXPECT_THAT(belongs, ElementsAre(true, true));
  EXPECT_THAT(sw().recorder.take(),
              ElementsAre("~ updateInProgress = true", "- vrf/red", "- vrf/default",
                          "- l2Seg/segment/voice", "- l2Seg", "~ updateInProgress = false"));
}

TEST_F(RootSmTest, OutputOfAVrfOrL2DirectoryGoesWhileItsReactorIsThere) {
  const auto cli = started();
  cli->vrfIs("default");
  cli->l2SegmentDirIs("l2");
  const auto rootSm = sw().rootSm("cli");
  std::vector<bool> belongs;
  const OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange& change) {
    if (change.path == "vrf/default") belongs.push_back(rootSm->vrfSmHas("default"));
    if (change.path == "l2Seg") belongs.push_back(static_cast<bool>(rootSm->l2SegDirSm()));
  });
  cli->vrfDel("default");
  cli->l2SegmentDirDel();
  EXPECT_THAT(belongs, ElementsAre(true, true));
}

TEST_F(RootSmTest, GlobalSwitchesOfASourceThatIsNotEnabledStandUntilAnEnabledOneLooks) {
  const auto api = sw().source("api");
  api->defaultPolicyIs(DefaultPolicy::forward);
  api->forwardTypeIs(ForwardingTypeMatch(1));
  const auto cli = started();
  sw().fwConfigDir->entityDel("api");
  EXPECT_FALSE(sw().hwConfig->defaultPolicyDrop());
  EXPECT_EQ(sw().hwConfig->forwardType(), ForwardingTypeMatch(1));
  cli->defaultPolicyIs(DefaultPolicy::drop);
  cli->forwardTypeIs(ForwardingTypeMatch(2));
  EXPECT_TRUE(sw().hwConfig->defaultPolicyDrop());
  EXPECT_EQ(sw().hwConfig->forwardType(), ForwardingTypeMatch(2));
  cli->enabledIs(false);
  EXPECT_TRUE(sw().hwConfig->defaultPolicyDrop());
  EXPECT_EQ(sw().hwConfig->forwardType(), ForwardingTypeMatch(2));
}

TEST_F(RootSmTest, ChildrenComeAndGoAfterTheHandlerHasWritten) {
  const auto cli = started();
  const auto rootSm = sw().rootSm("cli");
  const Lanx::IntfId intf{std::string_view("Ethernet1")};
  sw().interface("Ethernet1", "default");
  cli->vrfIs("default")->segmentIs("a")->classNameIs("__VRF_default_segment_a");
  cli->classMapIs("__VRF_default_segment_a")->intfVlanDataIs(intf);
  int looks = 0;
  const OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange& change) {
    ++looks;
    const bool removed = change.kind == Kiv::TreeChange::Kind::removed;
    if (change.path == "policy/p") {
      EXPECT_EQ(rootSm->policyHas("p"), removed);
    } else {
      EXPECT_TRUE(rootSm->classMapHas("__VRF_default_segment_a")) << change.path;
    }
  });
  cli->policyIs("p");
  cli->policyDel("p");
  cli->classMapDel("__VRF_default_segment_a");
  EXPECT_EQ(looks, 3);
  EXPECT_FALSE(rootSm->policyHas("p"));
  EXPECT_FALSE(rootSm->classMapHas("__VRF_default_segment_a"));
}

TEST_F(RootSmTest, ReactorTakenDownFromWithinItsOwnDispatchLivesUntilTheDispatchIsOver) {
  sw().interface("Ethernet1", "default");
  const auto classMap = [](const Firewall::Config::Ptr& config) {
    config->classMapDel("__VRF_default_segment_a");
  };
  const auto policy = [](const Firewall::Config::Ptr& config) { config->policyIs("p"); };
  for (const std::function<void(const Firewall::Config::Ptr&)>& change :
       {std::function<void(const Firewall::Config::Ptr&)>(classMap),
        std::function<void(const Firewall::Config::Ptr&)>(policy)}) {
    for (const bool remove : {false, true}) {
      const auto cli = started();
      cli->vrfIs("default")->segmentIs("a")->classNameIs("__VRF_default_segment_a");
      cli->classMapIs("__VRF_default_segment_a")
          ->intfVlanDataIs(Lanx::IntfId{std::string_view("Ethernet1")});
      bool acted = false;
      const OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange&) {
        if (std::exchange(acted, true)) return;
        remove ? sw().fwConfigDir->entityDel("cli") : cli->enabledIs(false);
      });
      change(cli);
      EXPECT_TRUE(acted);
      EXPECT_FALSE(sw().hwConfig->active());
      EXPECT_TRUE(sw().hwConfig->vrf().empty());
      EXPECT_FALSE(sw().hwConfig->updateInProgress());
      sw().fwConfigDir->entityDel("cli");
    }
  }
}

TEST_F(RootSmTest, CallBacksOfTheFirstChildrenFindItNotInitialised) {
  TestSupport::shareConfiguration(sw());
  const auto cli = TestSupport::fullSource(sw(), "cli");
  started("api");  // so that services exist before the second source's reactor starts
  const TraceCapture traces;
  bool isReplaying = false;
  const OnWrite onWrite(sw().hwConfig, [&](const Kiv::TreeChange&) {
    isReplaying = isReplaying || traces.count(8, "handleInitialized", ": ") > 0;
    EXPECT_TRUE(isReplaying);
  });
  cli->enabledIs(true);
  EXPECT_TRUE(isReplaying);
  std::size_t returns = 0;
  for (const auto& record : traces.records()) {
    if (record.function == "handleInitialized") break;
    if (record.text == " return ") ++returns;
  }
  EXPECT_GT(returns, 0U);
}

TEST_F(RootSmTest, HandlersBeforeInitialisationOrAfterCleanupReturnWithoutEffect) {
  const auto cli = started();
  const auto rootSm = sw().rootSm("cli");
  rootSm->cleanup();
  cli->vrfIs("default");
  cli->l2SegmentDirIs("l2");
  // Somebody wrote what is not so.
  sw().hwConfig->forwardTypeIs(ForwardingTypeMatch(2));
  sw().hwConfig->defaultPolicyDropIs(!sw().hwConfig->defaultPolicyDrop());
  sw().recorder.take();
  const TraceCapture traces;
  rootSm->handleVrfConfig();
  rootSm->handleVrf(L3::VrfName("default"));
  rootSm->handleL2Config();
  rootSm->handleDefaultPolicyDrop();
  rootSm->handleForwardingType();
  EXPECT_THAT(sw().recorder.take(), IsEmpty());
  for (const char* handler : {"handleVrfConfig", "handleVrf", "handleL2Config",
                              "handleDefaultPolicyDrop", "handleForwardingType"}) {
    EXPECT_TRUE(traces.saw(7, handler, " return "));
  }
  EXPECT_EQ(traces.count(8, "handleVrf", ": default"), 1U);  // called here, not by the others
}

TEST_F(RootSmTest, NotificationsSwitchedOffReachAllChildren) {
  TestSupport::shareConfiguration(sw());
  const auto cli = TestSupport::fullSource(sw(), "cli");
  cli->enabledIs(true);
  sw().start();
  const auto rootSm = sw().rootSm("cli");
  rootSm->hasNotificationActiveIs(false);
  sw().recorder.take();
  cli->policy("web-only")->ruleDel(10U);
  cli->policyIs("late");
  cli->vrf("red")->segmentIs("late");
  cli->l2SegmentDir()->segmentIs("late");
  cli->classMap("__segment_voice")->intfVlanDataDel(Lanx::IntfId{std::string_view("Ethernet1")});
  sw().hwConfig->services("web")->versionInc(1);
  sw().matchLists("path")->matchIpv4PrefixListDel("offices");
  EXPECT_THAT(sw().recorder.take(), ElementsAre(::testing::StartsWith("~ services/web/version")));
  rootSm->hasNotificationActiveIs(true);
  cli->policyIs("later");
  cli->vrf("red")->segmentIs("later");
  EXPECT_THAT(sw().recorder.take(), IsSupersetOf({"+ policy/later", "+ vrf/red/segment/later"}));
}

TEST_F(RootSmTest, EveryReferenceOfAVrfReactorIsComparedWhenItIsAskedForAgain) {
  const auto cli = started();
  cli->vrfIs("default");
  cli->l2SegmentDirIs("l2");
  const auto rootSm = sw().rootSm("cli");
  TestSupport::expectEachReferenceChecked(
      "Firewall::VrfSm", rootSm->vrfSm("default")->attributes(),
      [&](const Firewall::VrfSmAttributes& a) {
        rootSm->vrfSmIs(a.vrfName, a.fwConfigDir, a.vrfConfig, a.inFirewall, a.inConfig,
                        a.outFirewallConfig, a.intfStatusDir, a.ipStatus, a.matchListConfigDir,
                        a.rootSm, a.hwCapability, a.aclListConfig, a.activeWorkManager);
      });
  TestSupport::expectEachReferenceChecked(
      "Firewall::VrfSm", rootSm->l2SegDirSm()->attributes(),
      [&](const Firewall::VrfSmAttributes& a) {
        rootSm->l2SegDirSmIs(a.vrfName, a.fwConfigDir, a.vrfConfig, a.inFirewall, a.inConfig,
                             a.outFirewallConfig, a.intfStatusDir, a.ipStatus, a.matchListConfigDir,
                             a.rootSm, a.hwCapability, a.aclListConfig, a.activeWorkManager);
      });
}

TEST_F(RootSmTest, NestedReactorAskedForWithAnotherObjectIsRefused) {
  const auto cli = started();
  cli->policyIs("p");
  cli->classMapIs("__segment_c");
  sw().application("web", 6);
  const auto rootSm = sw().rootSm("cli");
  EXPECT_EQ(rootSm->policyIs(cli->policy("p")), rootSm->policy("p"));
  EXPECT_THROW(rootSm->policyIs(Kiv::make<Firewall::Policy>("p")), Kiv::ReinstantiationError);
  EXPECT_THROW(rootSm->classMapIs(Kiv::make<Firewall::ClassMapFirewall>("__segment_c")),
               Kiv::ReinstantiationError);
  EXPECT_THROW(rootSm->serviceIs(Kiv::make<Firewall::FwService>("web")), Kiv::ReinstantiationError);
}

TEST_F(RootSmTest, ExceptionInAHandlerReachesTheWriterAndTheNextChangeIsHandled) {
  sw().interface("Ethernet1", "red");
  sw().ipStatus->vrfIs(L3::VrfName("red"));
  const auto cli = started();
  const auto segment = cli->vrfIs("red")->segmentIs("a");
  const std::string tooLong = "__VRF_" + std::string(101, 'v') + "_segment_a";
  segment->classNameIs(tooLong);
  const auto classMap = cli->classMapIs(tooLong);
  EXPECT_THROW(classMap->intfVlanDataIs(Lanx::IntfId{std::string_view("Ethernet1")}),
               Pith::RangeException);
  EXPECT_FALSE(sw().hwConfig->updateInProgress());
  segment->classNameIs("__VRF_red_segment_a");
  cli->classMapIs("__VRF_red_segment_a")
      ->intfVlanDataIs(Lanx::IntfId{std::string_view("Ethernet1")});
  EXPECT_EQ(sw().hwConfig->vrf("red")->segment("a")->intfVlanRangeSet().size(), 1U);
}

}  // namespace
