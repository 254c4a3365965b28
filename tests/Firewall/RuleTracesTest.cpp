// What the flight recorder shows of a compilation: which texts begin with the whole signature of
// their function, and which stand alone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "framework/Fleetlog/Decode.h"
#include "framework/Fleetlog/Fleetlog.h"
#include "framework/Fleetlog/TraceFile.h"
#include "tests/Firewall/RulesSupport.h"

namespace {

using ::testing::ElementsAre;
using TestSupport::LoneRootSm;

class RuleTracesTest : public ::testing::Test {
 protected:
  RuleTracesTest() {
    lone.start();
    policy = lone.config->policyIs("web");
    policy->ruleIs(5U, Pith::String("s"), Firewall::Action::forward);
  }

  // What a call writes to the flight recorder, levels first; that of one function when it is named.
  template <class Call>
  static std::vector<std::string> tracesOf(const Call& call, std::string_view function = "") {
    Fleetlog::TraceFile file;
    Fleetlog::traceFileIs(&file);
    call();
    Fleetlog::traceFileIs(nullptr);
    std::vector<std::string> lines;
    const auto result = Fleetlog::decode(file.bytes(), [&](const Fleetlog::Message& message) {
      EXPECT_EQ(message.module, "Firewall/FirewallConfigSm");
      if (!function.empty() && message.shortName != function) return;
      lines.push_back(std::to_string(message.level) + " " + std::string(message.text));
    });
    EXPECT_EQ(result.faultCount, 0U);
    return lines;
  }
  bool add(std::uint32_t seqnum) {
    return lone.sm->addPolicyRule(policy, seqnum, {}, {}, {}, {0, 65535}, {0, 65535});
  }

  static constexpr const char* addPolicyRule =
      "bool Firewall::RootSm::addPolicyRule(const PtrConst&, U32, const Lanx::IpGenPrefix&, const "
      "Lanx::IpGenPrefix&, Firewall::Protocol::Optional, Firewall::PortRange, "
      "Firewall::PortRange)";

  LoneRootSm lone;
  Firewall::Policy::Ptr policy;
};

TEST_F(RuleTracesTest, InstallationAndItsRefusals) {
  const std::string add8 = std::string("8 ") + addPolicyRule;
  const std::string add7 = std::string("7 ") + addPolicyRule;
  const std::string computeRuleId = "8 U32 Firewall::computeRuleId(U32, U32): ";
  EXPECT_THAT(tracesOf([this] { add(5); }),
              ElementsAre(add8 + ": web, 5, unset, unset, -1",
                          add8 + ": dstPort=0-65535, srcPort=0-65535", computeRuleId + "5, 1",
                          "3 Inserted new rule with ruleId=20971521, seqnum=5, sip=unset, "
                          "dip=unset, protocol=-1, dstPort=0-65535, srcPort=0-65535, "
                          "action=forward",
                          add7 + " return true"));
  EXPECT_THAT(tracesOf([this] { add(1024); }),
              ElementsAre(add8 + ": web, 1024, unset, unset, -1",
                          add8 + ": dstPort=0-65535, srcPort=0-65535", computeRuleId + "1024, 1",
                          "3 Failed to compute ruleId: value exceeded",
                          add7 + " no ruleIds available - return false"));
  lone.hwConfig->policyDel("web");
  EXPECT_THAT(tracesOf([this] { add(5); }),
              ElementsAre(add8 + ": web, 5, unset, unset, -1",
                          add8 + ": dstPort=0-65535, srcPort=0-65535", "3 Policy web not found"));
  lone.sm->cleanup();
  EXPECT_THAT(tracesOf([this] { add(5); }), ElementsAre(add7 + " not initialized - return false"));
}

TEST_F(RuleTracesTest, PoliciesAndTheirRules) {
  add(5);
  EXPECT_THAT(
      tracesOf([this] { lone.sm->handlePolicy(); }),
      ElementsAre("8 void Firewall::RootSm::handlePolicy(): ",
                  "8 void Firewall::RootSm::handlePolicy(const String&): web",
                  "8 void Firewall::RootSm::handlePolicyRules(const PtrConst&): web",
                  "8 void Firewall::RootSm::handlePolicyRule(const PtrConst&, U32): web, 5",
                  "8 void Firewall::RootSm::deletePolicyRules(const PtrConst&, U32): web, 5",
                  "3 Deleting rule with ruleId=20971521, seqnum=5",
                  "7 void Firewall::RootSm::deletePolicyRules(const PtrConst&, U32) return",
                  "8 void Firewall::RootSm::addPolicyRulesAll(const PtrConst&, U32): web, 5",
                  "7 void Firewall::RootSm::addPolicyRulesAll(const PtrConst&, U32) return",
                  "7 void Firewall::RootSm::handlePolicyRule(const PtrConst&, U32) return",
                  "7 void Firewall::RootSm::handlePolicyRules(const PtrConst&) return",
                  "7 void Firewall::RootSm::handlePolicy(const String&) return",
                  "7 void Firewall::RootSm::handlePolicy() return"));
}

TEST_F(RuleTracesTest, Services) {
  const std::string handleService = " void Firewall::RootSm::handleService(const String&)";
  const std::string change = " void Firewall::RootSm::handleServiceChange(const PtrConst&)";
  const std::string deletion = " void Firewall::RootSm::deleteServicePolicyRules(const String&)";
  EXPECT_THAT(tracesOf([this] { lone.sm->handleService("s"); }),
              ElementsAre("8" + handleService + ": s", "8" + deletion + ": s",
                          "8 void Firewall::RootSm::deletePolicyRules(const PtrConst&, U32): "
                          "web, 5",
                          "7 void Firewall::RootSm::deletePolicyRules(const PtrConst&, U32) return",
                          "7" + deletion + " return", "7" + handleService + " return "));
  const auto service = lone.hwConfig->servicesIs("other");
  EXPECT_THAT(tracesOf([&] { lone.sm->handleServiceChange(service); }),
              ElementsAre("8" + change + ": other", "8 Active work handles 1",
                          "6 set updateInProgress to true", "8" + deletion + ": other",
                          "7" + deletion + " return", "8 Active work handles 0",
                          "6 set updateInProgress to false", "7" + change + " return "));
}

TEST_F(RuleTracesTest, UnexpandedRules) {
  lone.capability->serviceRuleSupportedIs(true);
  const auto service = lone.hwConfig->servicesIs("s");
  const auto expand = [&] { lone.sm->addServicePolicyRules(service, policy, 5); };
  const std::string entry =
      "8 void Firewall::RootSm::addServicePolicyRules(const PtrConst&, const PtrConst&, U32): "
      "s, web, 5";
  EXPECT_THAT(tracesOf(expand),
              ElementsAre(entry,
                          "3 Inserted new unexpanded rule with: service=s, action=forward, "
                          "log=false"));
  lone.hwConfig->policyDel("web");
  EXPECT_THAT(tracesOf(expand), ElementsAre(entry, "3 Policy web not found"));
}

TEST_F(RuleTracesTest, Profiles) {
  lone.apps->appIs("s")->srcPortFieldSetIs("ports");
  const auto ports = lone.fieldSets->fieldSetL4PortIs("ports")->subConfigIs("ports");
  ports->portsIs({80, 81});
  lone.versions->versionForAppProfileIs("s", 1U);
  ports->portsDelAll();
  ports->portsIs({90, 91});
  const std::string fn = " void Firewall::RootSm::handleVersionForAppProfile(const String&)";
  EXPECT_THAT(
      tracesOf([this] { lone.sm->handleVersionForAppProfile("s"); }, "handleVersionForAppProfile"),
      ElementsAre("8" + fn + " appName s", "3" + fn + "Evaluating sport sub range80-81",
                  "3" + fn + "Removing sport sub range 80-81",
                  "8" + fn + " Adding service config for appName s",
                  "8" + fn + " Adding proto ranges ", "8" + fn + " Adding srcPortFieldSet ports",
                  "8" + fn + " Adding srcPort range :90-91",
                  "8" + fn + " Added srcPort sub range: start 90 end 91"));
}

}  // namespace
