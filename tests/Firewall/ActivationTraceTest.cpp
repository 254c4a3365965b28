// Everything that the flight recorder keeps of the root reactors, exactly.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "framework/Fleetlog/Decode.h"
#include "framework/Fleetlog/Fleetlog.h"
#include "framework/Fleetlog/TraceFile.h"
#include "framework/Pith/TraceFacility.h"
#include "tests/support/Switch.h"

namespace {

using ::testing::ElementsAre;

class ActivationTraceTest : public TestSupport::SwitchTest {
 protected:
  ActivationTraceTest() {
    Fleetlog::traceFileIs(&file_);
    Pith::TraceControl::settingsAre(Pith::TraceConsumer::recorder, {{"*", Pith::traceLevelMax}});
  }
  ~ActivationTraceTest() override {
    Fleetlog::traceFileIs(nullptr);
    Pith::TraceControl::settingsAre(Pith::TraceConsumer::recorder, {});
  }

  // "level text" of what was recorded since the last call, of these classes and of
  // `updateInProgress`.
  std::vector<std::string> recorded() {
    std::vector<std::string> lines;
    std::size_t at = 0;
    Fleetlog::decode(file_.bytes(), [&](const Fleetlog::Message& message) {
      if (at++ < seen_) return;
      const bool isRoot = message.signature.starts_with("void Firewall::Root");
      const bool isFlag = message.shortName == "Handle" && message.level == 6;
      if (!isRoot && !isFlag) return;
      EXPECT_EQ(message.module, "Firewall/FirewallConfigSm");
      lines.push_back(std::to_string(message.level) + ' ' + std::string(message.text));
    });
    seen_ = at;
    return lines;
  }

 private:
  Fleetlog::TraceFile file_;
  std::size_t seen_ = 0;
};

TEST_F(ActivationTraceTest, RecordsEachStepWithItsSignatureAtItsLevel) {
  const auto cli = sw().source("cli");
  cli->vrfIs("red");
  cli->l2SegmentDirIs("l2");
  sw().start();
  EXPECT_THAT(
      recorded(),
      ElementsAre(
          "8 void Firewall::RootDirSm::handleInitialized(): ", "6 set updateInProgress to true",
          "8 void Firewall::RootDirSm::handleConfigurationSource(const String&)"
          " Source: cli",
          "8 void Firewall::RootFeatureEnableSm::handleInitialized(): ",
          "8 void Firewall::RootFeatureEnableSm::handleFeatureStatus() enabled: false",
          "6 set updateInProgress to false"));
  cli->enabledIs(true);
  EXPECT_THAT(
      recorded(),
      ElementsAre(
          "8 void Firewall::RootFeatureEnableSm::handleFeatureStatus() enabled: true",
          "5 void Firewall::RootFeatureEnableSm::handleFeatureStatus()"
          " Creating RootSm: cli",
          "8 void Firewall::RootSm::handleInitialized(): ", "6 set updateInProgress to true",
          "8 void Firewall::RootSm::handleDefaultPolicyDrop(): ",
          "5 void Firewall::RootSm::handleDefaultPolicyDrop() defaultPolicyDrop: true",
          "8 void Firewall::RootSm::handleVrfConfig(): ",
          "8 void Firewall::RootSm::handleVrf(const L3::VrfName&): red", "3 red doesn't exist.",
          "8 void Firewall::RootSm::handleL2Config(): ",
          "5 void Firewall::RootSm::handleL2Config() L2 config added",
          "8 void Firewall::RootSm::handlePolicy(): ",
          "7 void Firewall::RootSm::handlePolicy() return",
          "8 void Firewall::RootSm::handleClassMap(): ",
          "7 void Firewall::RootSm::handleClassMap() return",
          "8 void Firewall::RootSm::handleForwardingType(): ", "6 set updateInProgress to false",
          "8 void Firewall::RootDirSm::evaluateHwConfigEnableStatus(): ",
          "5 void Firewall::RootDirSm::evaluateHwConfigEnableStatus()"
          " Setting active status: true"));
  cli->vrfIs("default");
  cli->l2SegmentDirDel();
  EXPECT_THAT(recorded(),
              ElementsAre("8 void Firewall::RootSm::handleVrfConfig(const String&): default",
                          "8 void Firewall::RootSm::handleVrf(const L3::VrfName&): default",
                          "6 set updateInProgress to true", "6 set updateInProgress to false",
                          "8 void Firewall::RootSm::handleL2Config(): ",
                          "6 set updateInProgress to true", "6 set updateInProgress to false",
                          "5 void Firewall::RootSm::handleL2Config() L2 config removed"));
  cli->enabledIs(false);
  EXPECT_THAT(
      recorded(),
      ElementsAre("8 void Firewall::RootFeatureEnableSm::handleFeatureStatus() enabled: false",
                  "5 void Firewall::RootFeatureEnableSm::handleFeatureStatus()"
                  " Deleting RootSm: cli",
                  "8 void Firewall::RootDirSm::evaluateHwConfigEnableStatus(): ",
                  "5 void Firewall::RootDirSm::evaluateHwConfigEnableStatus()"
                  " Setting active status: false",
                  "8 void Firewall::RootSm::cleanup(): ", "6 set updateInProgress to true",
                  "6 set updateInProgress to false"));
  sw().fwConfigDir->entityDel("cli");
  sw().root->cleanup();
  EXPECT_THAT(recorded(),
              ElementsAre("8 void Firewall::RootDirSm::handleConfigurationSource(const String&)"
                          " Source: cli",
                          "8 void Firewall::RootFeatureEnableSm::cleanup(): ",
                          "8 void Firewall::RootDirSm::cleanup(): ",
                          "6 set updateInProgress to true", "6 set updateInProgress to false"));
}

}  // namespace
