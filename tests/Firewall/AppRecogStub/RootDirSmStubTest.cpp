// The root directory reactor beside a recording stand-in for the application-recognition library:
// this program defines the creation function, and the dynamic linker takes it in place of the
// library's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AppRecognition/AppRecogConfigSm.h"
#include "tests/support/Switch.h"

namespace {

struct Recorded {
  std::vector<std::string> calls;
  Pith::Ptr<const Classification::AppRecognitionConfig> appRecConfig;
  Pith::Ptr<Classification::AppRecognitionStatus> appRecStatus;
  Pith::Ptr<const Classification::FieldSetConfig> fieldSetConfig;
};
Recorded recorded;

class Stub final : public Firewall::AppRecogConfigSm {
 public:
  ~Stub() override { recorded.calls.emplace_back("dropped"); }

  void hasNotificationActiveIs(bool on) override {
    AppRecogConfigSm::hasNotificationActiveIs(on);
    recorded.calls.emplace_back(on ? "active true" : "active false");
  }
  const Kiv::TypeData& typeData() const override {
    static const Kiv::TypeData data{"Stub", sizeof(Stub), {}};
    return data;
  }
};

}  // namespace

namespace Firewall {

Pith::Ptr<AppRecogConfigSm> AppRecogConfigSm::AppRecogConfigSmIs(
    Pith::Ptr<const Classification::AppRecognitionConfig> appRecConfig,
    Pith::Ptr<Classification::AppRecognitionStatus> appRecStatus,
    Pith::Ptr<const Classification::FieldSetConfig> fieldSetConfig) {
  recorded.calls.emplace_back("created");
  recorded.appRecConfig = std::move(appRecConfig);
  recorded.appRecStatus = std::move(appRecStatus);
  recorded.fieldSetConfig = std::move(fieldSetConfig);
  return Pith::Ptr<Stub>::adopt(new Stub);
}

}  // namespace Firewall

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RootDirSmStubTest : public TestSupport::SwitchTest {
 protected:
  void SetUp() override {
    recorded = {};
    SwitchTest::SetUp();
  }
  void TearDown() override {
    recorded = {};
    SwitchTest::TearDown();
    recorded = {};
  }
};

TEST_F(RootDirSmStubTest, FirstEnabledSourceCreatesItWithTheThreeReferencesAndSwitchesItOn) {
  const auto cli = sw().source("cli");
  sw().start();
  EXPECT_THAT(recorded.calls, IsEmpty());
  cli->enabledIs(true);
  EXPECT_THAT(recorded.calls, ElementsAre("created", "active true"));
  EXPECT_EQ(recorded.appRecConfig, sw().appRecConfig);
  EXPECT_EQ(recorded.appRecStatus, sw().appRecStatus);
  EXPECT_EQ(recorded.fieldSetConfig, sw().fieldSetConfig);
}

TEST_F(RootDirSmStubTest, SecondSourceKeepsItAndTheLastOneUnhooksIt) {
  const auto cli = sw().source("cli");
  const auto api = sw().source("api");
  sw().start();
  cli->enabledIs(true);
  recorded.calls.clear();
  api->enabledIs(true);
  cli->enabledIs(false);
  EXPECT_THAT(recorded.calls, IsEmpty());
  api->enabledIs(false);
  EXPECT_THAT(recorded.calls, ElementsAre("active false", "dropped"));
}

TEST_F(RootDirSmStubTest, AnyOtherReferenceReplacesIt) {
  sw().start();
  const auto& root = sw().root;
  root->appRecogConfigSmIs(sw().appRecConfig, sw().appRecStatus, sw().fieldSetConfig);
  recorded.calls.clear();
  root->appRecogConfigSmIs(sw().appRecConfig, sw().appRecStatus, sw().fieldSetConfig);
  EXPECT_THAT(recorded.calls, IsEmpty());
  const std::vector<std::string> replaced = {"created", "active false", "dropped", "active true"};
  root->appRecogConfigSmIs(Kiv::make<Classification::AppRecognitionConfig>(), sw().appRecStatus,
                           sw().fieldSetConfig);
  EXPECT_EQ(recorded.calls, replaced);
  root->appRecogConfigSmIs(sw().appRecConfig, sw().appRecStatus, sw().fieldSetConfig);
  recorded.calls.clear();
  root->appRecogConfigSmIs(sw().appRecConfig, Kiv::make<Classification::AppRecognitionStatus>(),
                           sw().fieldSetConfig);
  EXPECT_EQ(recorded.calls, replaced);
  root->appRecogConfigSmIs(sw().appRecConfig, sw().appRecStatus, sw().fieldSetConfig);
  recorded.calls.clear();
  root->appRecogConfigSmIs(sw().appRecConfig, sw().appRecStatus,
                           Kiv::make<Classification::FieldSetConfig>());
  EXPECT_EQ(recorded.calls, replaced);
  recorded.calls.clear();
  root->appRecogConfigSmDel();
  EXPECT_THAT(recorded.calls, ElementsAre("active false", "dropped"));
}

TEST_F(RootDirSmStubTest, FollowsTheNotificationsOfTheRoot) {
  sw().source("cli")->enabledIs(true);
  sw().start();
  recorded.calls.clear();
  sw().root->hasNotificationActiveIs(false);
  sw().root->hasNotificationActiveIs(true);
  EXPECT_THAT(recorded.calls, ElementsAre("active false", "active true"));
}

}  // namespace
