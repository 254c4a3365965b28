#include "Firewall/RootSm.h"

#include <utility>

#include "Firewall/Sources.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"

namespace Firewall {

RootSm::RootSm(RootSmAttributes attributes)
    : Reactor(std::move(attributes)),
      inConfigSubscription_(*this, inConfig),
      ipStatusSubscription_(*this, ipStatus),
      outFirewallConfigSubscription_(*this, outFirewallConfig),
      appRecStatusSubscription_(*this, appRecStatus) {}

void RootSm::start() {
  // What exists already gets its reactor first; the replay then does the work.
  for (Pith::Ptr<const ClassMapFirewall> input : inConfig->classMap()) classMapIs(input);
  for (Pith::Ptr<const Policy> input : inConfig->policy()) policyIs(input);
  for (Pith::Ptr<const FwService> input : outFirewallConfig->services()) serviceIs(input);
  handleInitialized();
}

Pith::Ptr<RootSm::PolicySm> RootSm::policyIs(const Pith::Ptr<const Policy>& input) {
  return policy_.is(*this, input->name(), input);
}

Pith::Ptr<RootSm::ServiceSm> RootSm::serviceIs(const Pith::Ptr<const FwService>& input) {
  return service_.is(*this, input->name(), input);
}

Pith::Ptr<RootSm::ClassMapSm> RootSm::classMapIs(const Pith::Ptr<const ClassMapFirewall>& input) {
  return classMap_.is(*this, input->name(), input);
}

void RootSm::inConfigDispatch(Pith::Publisher* /*publisher*/, Pith::Subscriber* /*subscriber*/,
                              Pith::FieldId field, const void* key,
                              const Pith::Change* /*change*/) {
  const bool handle = !isZombie();
  const auto named = [key]() -> const Pith::String& {
    return *static_cast<const Pith::String*>(key);
  };
  Kiv::AllSteps steps;
  // Children follow what is there: a handler's writes may have made another of the name meanwhile.
  switch (field) {
    case Config::classMapField:
      if (handle) steps.run([&] { handleClassMap(named()); });
      steps.run([&] {
        const auto input = inConfig->classMap(named());
        const auto child = classMap(named());
        if (child && child->notifier() != input) classMapDel(named());
        if (input) classMapIs(input);
      });
      break;
    case Config::policyField:
      if (handle) steps.run([&] { handlePolicy(named()); });
      steps.run([&] {
        const auto input = inConfig->policy(named());
        const auto child = policy(named());
        if (child && child->notifier() != input) policyDel(named());
        if (input) policyIs(input);
      });
      break;
    case Config::vrfField:
      if (handle) handleVrfConfig(named());
      break;
    case Config::l2SegmentDirField:
      if (handle) handleL2Config();
      break;
    case Config::forwardTypeField:
      if (handle) handleForwardingType();
      break;
    case Config::defaultPolicyField:
      if (handle) handleDefaultPolicyDrop();
      break;
    default:
      break;
  }
}

void RootSm::ipStatusDispatch(Pith::Publisher* /*publisher*/, Pith::Subscriber* /*subscriber*/,
                              Pith::FieldId field, const void* key,
                              const Pith::Change* /*change*/) {
  if (isZombie()) return;
  if (field == Ip::Status::ipIntfStatusField) {
    handleClassMap();
  } else if (field == Ip::Status::vrfField) {
    handleVrf(*static_cast<const L3::VrfName*>(key));
  }
}

void RootSm::outFirewallConfigDispatch(Pith::Publisher* /*publisher*/,
                                       Pith::Subscriber* /*subscriber*/, Pith::FieldId field,
                                       const void* key, const Pith::Change* /*change*/) {
  if (field != HwConfig::servicesField) return;
  const auto& name = *static_cast<const Pith::String*>(key);
  Kiv::AllSteps steps;
  if (!isZombie()) steps.run([&] { handleService(name); });
  steps.run([&] {
    const auto input = outFirewallConfig->services(name);
    const auto child = service(name);
    if (child && child->notifier() != input) serviceDel(name);
    if (input) serviceIs(input);
  });
}

void RootSm::appRecStatusDispatch(Pith::Publisher* /*publisher*/, Pith::Subscriber* /*subscriber*/,
                                  Pith::FieldId field, const void* key,
                                  const Pith::Change* /*change*/) {
  if (field != Classification::AppRecognitionStatus::versionForAppProfileField || isZombie())
    return;
  handleVersionForAppProfile(*static_cast<const Pith::String*>(key));
}

void RootSm::handleInitialized() {
  static constexpr Twinlog::Function fn("void Firewall::RootSm::handleInitialized()");
  TWINLOG_FN(facility, 8, fn, ": ");
  ActiveWorkManager::Handle work(activeWorkManager);
  stage_.begin();
  handleDefaultPolicyDrop();
  handleVrfConfig();
  handleL2Config();
  handlePolicy();
  handleClassMap();
  handleForwardingType();
  work.close();
}

void RootSm::handleDefaultPolicyDrop() {
  static constexpr Twinlog::Function fn("void Firewall::RootSm::handleDefaultPolicyDrop()");
  TWINLOG_FN(facility, 8, fn, ": ");
  if (!isWorking()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  const bool drop = !anySource(*fwConfigDir, [](const Pith::String&, const auto& config) {
    return config->defaultPolicy() == DefaultPolicy::forward;
  });
  TWINLOG_FN(facility, 5, fn, " defaultPolicyDrop: %s", drop);
  outFirewallConfig->defaultPolicyDropIs(drop);
}

void RootSm::handleForwardingType() {
  static constexpr Twinlog::Function fn("void Firewall::RootSm::handleForwardingType()");
  TWINLOG_FN(facility, 8, fn, ": ");
  if (!isWorking()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  ForwardingTypeMatch type;
  anySource(*fwConfigDir, [&type](const Pith::String&, const auto& config) {
    type = type | config->forwardType();
    return false;
  });
  outFirewallConfig->forwardTypeIs(type);
}

void RootSm::handleVrfConfig() {
  static constexpr Twinlog::Function fn("void Firewall::RootSm::handleVrfConfig()");
  TWINLOG_FN(facility, 8, fn, ": ");
  if (!isWorking()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  for (Pith::Ptr<const Vrf> vrf : inConfig->vrf()) handleVrf(vrf->name());
}

void RootSm::handleVrfConfig(const Pith::String& name) {
  static constexpr Twinlog::Function fn("void Firewall::RootSm::handleVrfConfig(const String&)");
  TWINLOG_FN(facility, 8, fn, ": %s", name);
  handleVrf(L3::VrfName(name));
}

void RootSm::handleVrf(const L3::VrfName& name) {
  static constexpr Twinlog::Function fn("void Firewall::RootSm::handleVrf(const L3::VrfName&)");
  TWINLOG_FN(facility, 8, fn, ": %s", name);
  if (!isWorking()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  const Pith::Ptr<const Vrf> config = inConfig->vrf(name);
  const bool present = name == "default" || ipStatus->vrfHas(name);
  if (!present) TWINLOG(facility, 3, fn, "%s doesn't exist.", name);
  if (present && config) {
    if (!vrfSmHas(name)) {
      vrfSmIs(name, fwConfigDir, config, config, inConfig, outFirewallConfig, intfStatusDir,
              ipStatus, matchListConfigDir, this, hwCapability, aclListConfig, activeWorkManager);
    }
  } else if (const Pith::Ptr<VrfSm> child = vrfSm(name)) {
    Kiv::AllSteps steps;
    steps.run([&] { child->cleanup(); });
    steps.run([&] { vrfSmDel(name); });
  }
}

void RootSm::handleL2Config() {
  static constexpr Twinlog::Function fn("void Firewall::RootSm::handleL2Config()");
  TWINLOG_FN(facility, 8, fn, ": ");
  if (!isWorking()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  if (const Pith::Ptr<const SegmentDir> directory = inConfig->l2SegmentDir()) {
    l2SegDirSmIs(Pith::String(), fwConfigDir, nullptr, directory, inConfig, outFirewallConfig,
                 intfStatusDir, ipStatus, matchListConfigDir, this, hwCapability, aclListConfig,
                 activeWorkManager);
    TWINLOG_FN(facility, 5, fn, " L2 config added");
  } else if (const Pith::Ptr<VrfSm> child = l2SegDirSm()) {
    Kiv::AllSteps steps;
    steps.run([&] { child->cleanup(); });
    steps.run([&] { l2SegDirSmDel(); });
    TWINLOG_FN(facility, 5, fn, " L2 config removed");
  }
}

void RootSm::cleanup() {
  static constexpr Twinlog::Function fn("void Firewall::RootSm::cleanup()");
  TWINLOG_FN(facility, 8, fn, ": ");
  if (!isWorking()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  stage_.end();
  ActiveWorkManager::Handle work(activeWorkManager);
  Kiv::AllSteps steps;
  for (Pith::Ptr<VrfSm> child : vrfSm()) {
    steps.run([&] { child->cleanup(); });
    steps.run([&] { vrfSmDel(child->attributes().vrfName); });
  }
  if (const Pith::Ptr<VrfSm> child = l2SegDirSm()) {
    steps.run([&] { child->cleanup(); });
    steps.run([&] { l2SegDirSmDel(); });
  }
  steps.run([&] { work.close(); });
}

RootSm::Ptr rootSmFactory(Pith::String configSource, Pith::Ptr<const Kiv::Dir> fwConfigDir,
                          Pith::Ptr<const Config> inConfig, Pith::Ptr<HwConfig> outFirewallConfig,
                          Pith::Ptr<Status> firewallStatus,
                          Pith::Ptr<const Interface::AllIntfStatusDir> intfStatusDir,
                          Pith::Ptr<const Ip::Status> ipStatus,
                          Pith::Ptr<const Kiv::Dir> matchListConfigDir,
                          Pith::Ptr<const Classification::AppRecognitionConfig> appRecConfig,
                          Pith::Ptr<const Classification::FieldSetConfig> fieldSetConfig,
                          Pith::Ptr<Classification::AppRecognitionStatus> appRecStatus,
                          Pith::Ptr<const HwCapability> hwCapability,
                          Pith::Ptr<const Acl::AclListConfig> aclListConfig,
                          Pith::Ptr<ActiveWorkManager> activeWorkManager) {
  return RootSm::RootSmIs(
      std::move(configSource), std::move(fwConfigDir), std::move(inConfig),
      std::move(outFirewallConfig), std::move(firewallStatus), std::move(intfStatusDir),
      std::move(ipStatus), std::move(matchListConfigDir), std::move(appRecConfig),
      std::move(fieldSetConfig), std::move(appRecStatus), std::move(hwCapability),
      std::move(aclListConfig), std::move(activeWorkManager));
}

}  // namespace Firewall
