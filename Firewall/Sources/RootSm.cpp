#include "Firewall/Sources/RootSm.h"

#include <utility>

#include "Firewall/ConfigSources.h"
#include "Firewall/Segments/IntfBinding.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"

namespace Firewall {

RootSm::RootSm(RootSmAttributes attributes)
    : Reactor(std::move(attributes)),
      inConfigSubscription_(*this, inConfig),
      ipStatusSubscription_(*this, ipStatus),
      outFirewallConfigSubscription_(*this, outFirewallConfig),
      appRecStatusSubscription_(*this, appRecStatus),
      rules_(this->attributes(), stage_),
      policies_(this->attributes(), stage_, rules_),
      services_(this->attributes(), stage_, rules_, policies_),
      applications_(this->attributes(), stage_),
      classMaps_(this->attributes(), stage_, vrfSm_) {}

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
      steps.run([&] { classMap_.follow(*this, named(), inConfig->classMap(named())); });
      break;
    case Config::policyField:
      if (handle) steps.run([&] { handlePolicy(named()); });
      steps.run([&] { policy_.follow(*this, named(), inConfig->policy(named())); });
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
  steps.run([&] { service_.follow(*this, name, outFirewallConfig->services(name)); });
}

void RootSm::appRecStatusDispatch(Pith::Publisher* /*publisher*/, Pith::Subscriber* /*subscriber*/,
                                  Pith::FieldId field, const void* key,
                                  const Pith::Change* /*change*/) {
  if (field != Classification::AppRecognitionStatus::versionForAppProfileField || isZombie())
    return;
  handleVersionForAppProfile(*static_cast<const Pith::String*>(key));
}

void RootSm::handleInitialized() {
  FIREWALL_ENTRY("void Firewall::RootSm::handleInitialized()", ": ");
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
  FIREWALL_ENTRY("void Firewall::RootSm::handleDefaultPolicyDrop()", ": ");
  FIREWALL_ONLY_WHILE(isWorking());
  const bool drop = !anySource(*fwConfigDir, [](const Pith::String&, const auto& config) {
    return config->defaultPolicy() == DefaultPolicy::forward;
  });
  TWINLOG_FN(facility, 5, fn, " defaultPolicyDrop: %s", drop);
  outFirewallConfig->defaultPolicyDropIs(drop);
}

void RootSm::handleForwardingType() {
  FIREWALL_ENTRY("void Firewall::RootSm::handleForwardingType()", ": ");
  FIREWALL_ONLY_WHILE(isWorking());
  ForwardingTypeMatch type;
  anySource(*fwConfigDir, [&type](const Pith::String&, const auto& config) {
    type = type | config->forwardType();
    return false;
  });
  outFirewallConfig->forwardTypeIs(type);
}

void RootSm::handleVrfConfig() {
  FIREWALL_ENTRY("void Firewall::RootSm::handleVrfConfig()", ": ");
  FIREWALL_ONLY_WHILE(isWorking());
  for (Pith::Ptr<const Vrf> vrf : inConfig->vrf()) handleVrf(vrf->name());
}

void RootSm::handleVrfConfig(const Pith::String& name) {
  FIREWALL_ENTRY("void Firewall::RootSm::handleVrfConfig(const String&)", ": %s", name);
  handleVrf(L3::VrfName(name));
}

void RootSm::handleVrf(const L3::VrfName& name) {
  FIREWALL_ENTRY("void Firewall::RootSm::handleVrf(const L3::VrfName&)", ": %s", name);
  FIREWALL_ONLY_WHILE(isWorking());
  const auto isPresent = [&] { return name == "default" || ipStatus->vrfHas(name); };
  const bool present = isPresent();
  if (!present) TWINLOG(facility, 3, fn, "%s doesn't exist.", name);
  const Pith::Ptr<const Vrf> config = present ? inConfig->vrf(name) : nullptr;
  Kiv::AllSteps steps;
  if (config) {
    if (vrfSmHas(name)) return;
    steps.run([&] {
      vrfSmIs(name, fwConfigDir, config, config, inConfig, outFirewallConfig, intfStatusDir,
              ipStatus, matchListConfigDir, this, hwCapability, aclListConfig, activeWorkManager);
    });
    // A subscriber may have removed the VRF, or made another, while its reactor was not there yet.
    if (isPresent() && inConfig->vrf(name) == config) return;
  }
  const Pith::Ptr<VrfSm> child = vrfSm(name);
  if (child && (!config || child->attributes().vrfConfig == config)) {
    steps.run([&] { child->cleanup(); });
    steps.run([&] { vrfSmDel(name); });
  }
  if (config && inConfig->vrfHas(name)) steps.run([&] { handleVrf(name); });
}

void RootSm::handleL2Config() {
  FIREWALL_ENTRY("void Firewall::RootSm::handleL2Config()", ": ");
  FIREWALL_ONLY_WHILE(isWorking());
  if (const Pith::Ptr<const SegmentDir> directory = inConfig->l2SegmentDir()) {
    l2SegDirSmIs(Pith::String(), fwConfigDir, nullptr, directory, inConfig, outFirewallConfig,
                 intfStatusDir, ipStatus, matchListConfigDir, this, hwCapability, aclListConfig,
                 activeWorkManager);
    TWINLOG_FN(facility, 5, fn, " L2 config added");
    // A subscriber may have removed the directory while its reactor was not there yet.
    if (!inConfig->l2SegmentDir()) handleL2Config();
  } else if (const Pith::Ptr<VrfSm> child = l2SegDirSm()) {
    Kiv::AllSteps steps;
    steps.run([&] { child->cleanup(); });
    steps.run([&] { l2SegDirSmDel(); });
    TWINLOG_FN(facility, 5, fn, " L2 config removed");
  }
}

void RootSm::cleanup() {
  FIREWALL_ENTRY("void Firewall::RootSm::cleanup()", ": ");
  FIREWALL_ONLY_WHILE(isWorking());
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

bool RootSm::addPolicyRule(const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum,
                           const Lanx::IpGenPrefix& sip, const Lanx::IpGenPrefix& dip,
                           Protocol::Optional protocol, PortRange dstPort, PortRange srcPort) {
  return rules_.addPolicyRule(inPolicy, seqnum, sip, dip, protocol, dstPort, srcPort);
}

void RootSm::addServicePolicyRules(const Pith::Ptr<const FwService>& fwService,
                                   const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum) {
  rules_.addServicePolicyRules(fwService, inPolicy, seqnum);
}

void RootSm::deletePolicyRules(const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum) {
  rules_.deletePolicyRules(inPolicy, seqnum);
}

void RootSm::handlePolicy() { policies_.handlePolicy(); }

void RootSm::handlePolicy(const Pith::String& name) { policies_.handlePolicy(name); }

void RootSm::handlePolicyRules(const Pith::Ptr<const Policy>& inPolicy) {
  policies_.handlePolicyRules(inPolicy);
}

void RootSm::handlePolicyRule(const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum) {
  policies_.handlePolicyRule(inPolicy, seqnum);
}

void RootSm::addPolicyRulesAll(const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum) {
  policies_.addPolicyRulesAll(inPolicy, seqnum);
}

void RootSm::handleService(const Pith::String& name) { services_.handleService(name); }

void RootSm::handleServiceChange(const Pith::Ptr<const FwService>& fwService) {
  services_.handleServiceChange(fwService);
}

void RootSm::deleteServicePolicyRules(const Pith::String& name) {
  services_.deleteServicePolicyRules(name);
}

bool RootSm::hasRules(const Pith::Ptr<const FwService>& fwService) const {
  return Firewall::hasRules(*fwService);
}

void RootSm::handleVersionForAppProfile(const Pith::String& name) {
  applications_.handleVersionForAppProfile(name);
}

void RootSm::handleClassMap() { classMaps_.handleClassMap(); }

void RootSm::handleClassMap(const Pith::String& name) { classMaps_.handleClassMap(name); }

void RootSm::handleClassMapIntfs(const Pith::Ptr<const ClassMapFirewall>& inClassMap) {
  classMaps_.handleClassMapIntfs(inClassMap);
}

void RootSm::handleClassMapIntf(const Pith::Ptr<const ClassMapFirewall>& inClassMap,
                                Lanx::IntfId intf) {
  classMaps_.handleClassMapIntf(inClassMap, intf);
}

void RootSm::addIntfSegmentAll(const Pith::String& className, Lanx::IntfId intf) {
  classMaps_.addIntfSegmentAll(className, intf);
}

void RootSm::deleteIntfSegmentAll(const Pith::String& className, Lanx::IntfId intf) {
  classMaps_.deleteIntfSegmentAll(className, intf);
}

void RootSm::handleIntfVlan(const Pith::Ptr<const ClassMapFirewall>& inClassMap,
                            const Pith::Ptr<const IntfVlanRangeSet>& intfVlanData,
                            VlanRange range) {
  classMaps_.handleIntfVlan(inClassMap, intfVlanData, range);
}

void RootSm::updateVlanSet(const Pith::Ptr<FwSegment>& fwSegment,
                           const Pith::Ptr<const IntfVlanRangeSet>& intfVlanData) {
  Firewall::updateVlanSet(fwSegment, intfVlanData);
}

void RootSm::PolicySm::handleNotifier() { owner().handlePolicyRules(notifier()); }

void RootSm::PolicySm::onAttribute(Pith::FieldId field, const void* key,
                                   const Pith::Change* /*change*/) {
  if (field != Policy::ruleField) return;
  owner().handlePolicyRule(notifier(), *static_cast<const std::uint32_t*>(key));
}

void RootSm::ServiceSm::handleNotifier() { kiv_handleService_version(); }

void RootSm::ServiceSm::onAttribute(Pith::FieldId field, const void* /*key*/,
                                    const Pith::Change* /*change*/) {
  if (field == FwService::versionField) kiv_handleService_version();
}

void RootSm::ServiceSm::kiv_handleService_version() { owner().handleServiceChange(notifier()); }

using ClassMapSm = RootSm::ClassMapSm;

Pith::Ptr<ClassMapSm::NestedSm_IntfVlanData> ClassMapSm::intfVlanDataIs(
    const Pith::Ptr<const IntfVlanRangeSet>& data) {
  return intfVlanData_.is(*this, data->intfId(), data);
}

void ClassMapSm::start(const Pith::Ptr<const ClassMapFirewall>& classMap) {
  for (Pith::Ptr<const IntfVlanRangeSet> entry : classMap->intfVlanData()) intfVlanDataIs(entry);
}

void ClassMapSm::handleNotifier() {
  Kiv::AllSteps steps;
  steps.run([this] { rootSm().handleClassMapIntfs(notifier()); });
  steps.run([this] {
    for (const auto& child : intfVlanData()) {
      const Lanx::IntfId intf = child.key;
      follow(intf);
    }
    for (Pith::Ptr<const IntfVlanRangeSet> entry : notifier()->intfVlanData()) {
      follow(entry->intfId());
    }
  });
}

void ClassMapSm::onAttribute(Pith::FieldId field, const void* key, const Pith::Change* /*change*/) {
  if (field != ClassMapFirewall::intfVlanDataField) return;
  const auto intf = *static_cast<const Lanx::IntfId*>(key);
  Kiv::AllSteps steps;
  steps.run([&] { rootSm().handleClassMapIntf(notifier(), intf); });
  steps.run([&] { follow(intf); });
}

void ClassMapSm::follow(const Lanx::IntfId& intf) {
  intfVlanData_.follow(*this, intf, notifier()->intfVlanData(intf));
}

void ClassMapSm::NestedSm_IntfVlanData::onAttribute(Pith::FieldId field, const void* key,
                                                    const Pith::Change* /*change*/) {
  if (field != IntfVlanRangeSet::vlanRangeField) return;
  kiv_handleIntfVlanData_vlanRange(*static_cast<const VlanRange*>(key));
}

void ClassMapSm::NestedSm_IntfVlanData::kiv_handleIntfVlanData_vlanRange(const VlanRange& range) {
  if (!notifier() || !owner().notifier()) return;
  owner().rootSm().handleIntfVlan(owner().notifier(), notifier(), range);
}

}  // namespace Firewall
