// The versions of application profiles.
#include "AppRecognition/AppRecogConfigSm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "tests/support/WriteRecorder.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AppRecogConfigSmTest : public ::testing::Test {
 protected:
  Classification::AppRecognitionConfig::Ptr config =
      Kiv::make<Classification::AppRecognitionConfig>();
  Classification::AppRecognitionStatus::Ptr status =
      Kiv::make<Classification::AppRecognitionStatus>();
  Classification::FieldSetConfig::Ptr fieldSets = Kiv::make<Classification::FieldSetConfig>();
  TestSupport::WriteRecorder recorder{status};
  Pith::Ptr<Firewall::AppRecogConfigSm> sm;

  void start() {
    sm = Firewall::AppRecogConfigSm::AppRecogConfigSmIs(config, status, fieldSets);
    sm->hasNotificationActiveIs(true);
  }
  std::uint32_t version(const std::string& name) const {
    const std::uint32_t* const value = status->versionForAppProfile(name);
    return value == nullptr ? 0 : *value;
  }
};

std::string added(const std::string& name, int value) {
  return "+ versionForAppProfile/" + name + " = " + std::to_string(value);
}
std::string raised(const std::string& name, int value) {
  return "~ versionForAppProfile/" + name + " = " + std::to_string(value);
}

TEST_F(AppRecogConfigSmTest, StartRemovesStaleEntriesFirstAndRaisesEveryApplicationInNameOrder) {
  config->appIs("web");
  config->appIs("dns");
  status->versionForAppProfileIs("web", 7U);
  status->versionForAppProfileIs("gone", 3U);
  recorder.take();
  start();
  EXPECT_THAT(recorder.take(),
              ElementsAre("- versionForAppProfile/gone", added("dns", 1), raised("web", 8)));
}

TEST_F(AppRecogConfigSmTest, ApplicationAddedChangedAndRemoved) {
  start();
  const auto app = config->appIs("web");
  EXPECT_THAT(recorder.take(), ElementsAre(added("web", 1)));
  app->afIs(Classification::AddressFamily::ipv4);
  app->afIs(Classification::AddressFamily::ipv4);
  app->protoIs({6, 6});
  EXPECT_THAT(recorder.take(), ElementsAre(raised("web", 2), raised("web", 3)));
  config->appDel("web");
  EXPECT_THAT(recorder.take(), ElementsAre("- versionForAppProfile/web"));
  app->protoIs({17, 17});  // an object that has left is not watched any more
  EXPECT_THAT(recorder.take(), IsEmpty());
}

TEST_F(AppRecogConfigSmTest, FieldSetRaisesTheApplicationsThatNameItInNameOrderOnceEach) {
  for (const char* name : {"web", "dns", "other"}) config->appIs(name);
  config->app("web")->dstPortFieldSetIs("ports");
  config->app("web")->srcPortFieldSetIs("ports");
  config->app("dns")->srcPortFieldSetIs("ports");
  start();
  recorder.take();
  const auto set = fieldSets->fieldSetL4PortIs("ports");
  EXPECT_THAT(recorder.take(), ElementsAre(raised("dns", 2), raised("web", 2)));
  const auto contents = set->subConfigIs("ports");
  EXPECT_THAT(recorder.take(), ElementsAre(raised("dns", 3), raised("web", 3)));
  contents->portsIs({80, 80});
  EXPECT_THAT(recorder.take(), ElementsAre(raised("dns", 4), raised("web", 4)));
  set->subConfigDel();
  EXPECT_THAT(recorder.take(), ElementsAre(raised("dns", 5), raised("web", 5)));
  contents->portsIs({81, 81});
  EXPECT_THAT(recorder.take(), IsEmpty());
  fieldSets->fieldSetL4PortDel("ports");
  EXPECT_THAT(recorder.take(), ElementsAre(raised("dns", 6), raised("web", 6)));
}

TEST_F(AppRecogConfigSmTest, PortAndPrefixSetsOfOneNameAreDifferentSets) {
  config->appIs("web")->dstPortFieldSetIs("set");
  config->appIs("dns")->srcPrefixFieldSetIs("set");
  start();
  recorder.take();
  fieldSets->fieldSetIpPrefixIs("set")->subConfigIs("set")->prefixesIs(
      Lanx::IpGenPrefix::parse("10.0.0.0/8"));
  EXPECT_THAT(recorder.take(), ElementsAre(raised("dns", 2), raised("dns", 3), raised("dns", 4)));
  fieldSets->fieldSetL4PortIs("set");
  EXPECT_THAT(recorder.take(), ElementsAre(raised("web", 2)));
}

TEST_F(AppRecogConfigSmTest, FieldSetThatIsNotNamedAnyMoreRaisesNobody) {
  const auto app = config->appIs("web");
  app->dstPrefixFieldSetIs("old");
  const auto old = fieldSets->fieldSetIpPrefixIs("old");
  start();
  app->dstPrefixFieldSetIs("new");
  recorder.take();
  old->subConfigIs("old");
  EXPECT_THAT(recorder.take(), IsEmpty());
  fieldSets->fieldSetIpPrefixIs("new");
  EXPECT_THAT(recorder.take(), ElementsAre(raised("web", 3)));
}

TEST_F(AppRecogConfigSmTest, FieldSetDeletedAndCreatedAgainUnderTheSameNameIsWatched) {
  config->appIs("web")->dstPortFieldSetIs("ports");
  fieldSets->fieldSetL4PortIs("ports")->subConfigIs("ports");
  start();
  fieldSets->fieldSetL4PortDel("ports");
  const auto contents = fieldSets->fieldSetL4PortIs("ports")->subConfigIs("ports");
  recorder.take();
  contents->portsIs({1, 2});
  EXPECT_THAT(recorder.take(), ElementsAre(raised("web", 5)));
}

TEST_F(AppRecogConfigSmTest, ApplicationDeletedAndCreatedAgainStartsAtOne) {
  config->appIs("web");
  start();
  config->appIs("web")->protoIs({1, 1});
  config->appDel("web");
  recorder.take();
  const auto app = config->appIs("web");
  app->protoIs({6, 6});
  EXPECT_THAT(recorder.take(), ElementsAre(added("web", 1), raised("web", 2)));
}

TEST_F(AppRecogConfigSmTest, VersionNeverBecomesZeroByRising) {
  status->versionForAppProfileIs("web", std::numeric_limits<std::uint32_t>::max());
  config->appIs("web");
  start();
  EXPECT_EQ(version("web"), 1U);
}

TEST_F(AppRecogConfigSmTest, SwitchedOffItFollowsNothingAndSwitchedOnItFollowsAgain) {
  const auto app = config->appIs("web");
  app->dstPortFieldSetIs("ports");
  const auto contents = fieldSets->fieldSetL4PortIs("ports")->subConfigIs("ports");
  start();
  recorder.take();
  sm->hasNotificationActiveIs(false);
  app->protoIs({6, 6});
  contents->portsIs({80, 80});
  config->appIs("dns");
  fieldSets->fieldSetL4PortIs("more");
  EXPECT_THAT(recorder.take(), IsEmpty());
  sm->hasNotificationActiveIs(true);
  contents->portsIs({81, 81});
  EXPECT_THAT(recorder.take(), ElementsAre(raised("web", 2)));
}

TEST_F(AppRecogConfigSmTest, ZombieIgnoresWhatItIsTold) {
  const auto app = config->appIs("web");
  start();
  recorder.take();
  sm->kivDoZombieReactors(true);
  app->protoIs({6, 6});
  config->appIs("dns");
  EXPECT_THAT(recorder.take(), IsEmpty());
  sm->kivDoZombieReactors(false);
  app->protoIs({17, 17});
  EXPECT_THAT(recorder.take(), ElementsAre(raised("web", 2)));
}

TEST_F(AppRecogConfigSmTest, DroppedItLeavesTheVersionsAndFollowsNothing) {
  const auto app = config->appIs("web");
  start();
  recorder.take();
  sm = nullptr;
  app->protoIs({6, 6});
  EXPECT_THAT(recorder.take(), IsEmpty());
  EXPECT_EQ(version("web"), 1U);
}

TEST_F(AppRecogConfigSmTest, StartedAgainEveryProfileGetsAHigherVersion) {
  config->appIs("web");
  start();
  sm = nullptr;
  start();
  EXPECT_EQ(version("web"), 2U);
}

}  // namespace
