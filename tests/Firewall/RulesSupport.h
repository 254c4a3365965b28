// For tests of hardware rules: a started switch with one enabled source, compiled services made by
// hand, and rules as short lines.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Firewall/Rules/RuleId.h"
#include "tests/support/Switch.h"

namespace TestSupport {

// "5/1 10.0.0.0/8 > unset 6 80 < 0-65535 forward": sequence number and index, prefixes, protocol,
// destination and source ports, action.
inline std::string lineOf(std::uint32_t ruleId, const Firewall::FwRule& rule) {
  const std::string protocol = rule.protocol ? Kiv::valueToStrep(*rule.protocol) : "any";
  std::string line = std::to_string(Firewall::ruleSeqnum(ruleId)) + "/" +
                     std::to_string(ruleId & Firewall::maxRuleIndex);
  line += " " + rule.sip.toString() + " > " + rule.dip.toString() + " " + protocol;
  line += " " + Kiv::valueToStrep(rule.dstPort) + " < " + Kiv::valueToStrep(rule.srcPort);
  return line + " " + Kiv::valueToStrep(rule.action);
}

// The rules of an output policy in the order of the hardware.
inline std::vector<std::string> linesOf(const Firewall::FwPolicy& policy) {
  std::vector<std::string> lines;
  for (const auto& entry : policy.rule()) lines.push_back(lineOf(entry.key, entry.value));
  return lines;
}

inline std::vector<std::uint32_t> idsOf(const Firewall::FwPolicy& policy) {
  std::vector<std::uint32_t> ids;
  for (const auto& entry : policy.rule()) ids.push_back(entry.key);
  return ids;
}

// Calls `react` for every change of a store object.
class Reaction {
 public:
  using React =
      std::function<void(Pith::FieldId field, const void* key, const Pith::Change& change)>;

  Reaction(const Kiv::Entity& object, React react)
      : react_(std::move(react)), subscriber_(this, &Reaction::deliver) {
    object.publisher().subscriberAdd(subscriber_);
  }

 private:
  static void deliver(void* self, Pith::Publisher*, Pith::Subscriber*, Pith::FieldId field,
                      const void* key, const Pith::Change* change) {
    static_cast<Reaction*>(self)->react_(field, key, *change);
  }

  React react_;
  Pith::Subscriber subscriber_;
};

class RulesFixture : public SwitchTest {
 protected:
  void SetUp() override {
    SwitchTest::SetUp();
    config_ = sw().source("cli");
    config_->enabledIs(true);
    sw().start();
    sw().recorder.take();
  }
  void TearDown() override {
    config_ = nullptr;
    SwitchTest::TearDown();
  }

  Firewall::Config& config() { return *config_; }
  Firewall::RootSm& rootSm() { return *sw().rootSm("cli"); }
  // A compiled service without contents; no rule follows what is put in until its version is
  // raised.
  Firewall::FwService::Ptr service(const char* name) { return sw().hwConfig->servicesIs(name); }
  // A service with one protocol.
  Firewall::FwService::Ptr service(const char* name, std::uint8_t protocol) {
    const auto made = service(name);
    made->protocolIs({protocol, protocol});
    made->versionInc(1);
    return made;
  }
  Firewall::FwPolicy::Ptr fwPolicy(const char* name) { return sw().hwConfig->policy(name); }
  std::vector<std::string> lines(const char* policy) { return linesOf(*fwPolicy(policy)); }

 private:
  Firewall::Config::Ptr config_;
};

// A main reactor with inputs and outputs of its own and nothing else: no other source, no sibling
// that writes versions, nobody who watches the output.
struct LoneRootSm {
  Pith::Ptr<Kiv::Dir> fwConfigDir = Kiv::make<Kiv::Dir>();
  Firewall::Config::Ptr config = fwConfigDir->newEntity<Firewall::Config>("cli");
  Firewall::HwConfig::Ptr hwConfig = Kiv::make<Firewall::HwConfig>();
  Firewall::Status::Ptr status = Kiv::make<Firewall::Status>();
  Ip::Status::Ptr ipStatus = Kiv::make<Ip::Status>();
  Classification::AppRecognitionConfig::Ptr apps =
      Kiv::make<Classification::AppRecognitionConfig>();
  Classification::FieldSetConfig::Ptr fieldSets = Kiv::make<Classification::FieldSetConfig>();
  Classification::AppRecognitionStatus::Ptr versions =
      Kiv::make<Classification::AppRecognitionStatus>();
  Firewall::HwCapability::Ptr capability = Kiv::make<Firewall::HwCapability>();
  Firewall::RootSm::Ptr sm;

  void start() {
    config->enabledIs(true);
    sm = Firewall::rootSmFactory(
        {.configSource = "cli",
         .fwConfigDir = fwConfigDir,
         .inConfig = config,
         .outFirewallConfig = hwConfig,
         .firewallStatus = status,
         .intfStatusDir = Kiv::make<Interface::AllIntfStatusDir>(),
         .ipStatus = ipStatus,
         .matchListConfigDir = Kiv::make<Kiv::Dir>(),
         .appRecConfig = apps,
         .fieldSetConfig = fieldSets,
         .appRecStatus = versions,
         .hwCapability = capability,
         .aclListConfig = Kiv::make<Acl::AclListConfig>(),
         .activeWorkManager = Firewall::activeWorkManagerFactory(hwConfig)});
  }
};

}  // namespace TestSupport
