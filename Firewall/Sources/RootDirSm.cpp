#include "Firewall/Sources/RootDirSm.h"

#include <utility>

#include "Firewall/ConfigSources.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"

namespace Firewall {

Pith::Ptr<AppRecogConfigSm> AppRecogChild::is(
    const Pith::Ptr<const Classification::AppRecognitionConfig>& appRecConfig,
    const Pith::Ptr<Classification::AppRecognitionStatus>& appRecStatus,
    const Pith::Ptr<const Classification::FieldSetConfig>& fieldSetConfig) {
  if (child_ && appRecConfig == appRecConfig_ && appRecStatus == appRecStatus_ &&
      fieldSetConfig == fieldSetConfig_) {
    return child_;
  }
  auto child = AppRecogConfigSm::AppRecogConfigSmIs(appRecConfig, appRecStatus, fieldSetConfig);
  appRecConfig_ = appRecConfig;
  appRecStatus_ = appRecStatus;
  fieldSetConfig_ = fieldSetConfig;
  unhook(std::exchange(child_, child));
  child->hasNotificationActiveIs(true);  // which raises what is thrown at the versions
  return child;
}

void AppRecogChild::notificationActiveIs(bool on) {
  if (child_) child_->hasNotificationActiveIs(on);
}

RootDirSm::RootDirSm(RootDirSmAttributes attributes)
    : Reactor(std::move(attributes)), fwConfigDirSubscription_(*this, fwConfigDir) {}

void RootDirSm::start() {
  activeWorkManagerIs(outFirewallConfig);
  handleInitialized();
}

void RootDirSm::fwConfigDirDispatch(Pith::Publisher* /*publisher*/,
                                    Pith::Subscriber* /*subscriber*/, Pith::FieldId field,
                                    const void* key, const Pith::Change* /*change*/) {
  if (field != Kiv::Dir::entityField || isZombie()) return;
  handleConfigurationSource(*static_cast<const Pith::String*>(key));
}

void RootDirSm::handleInitialized() {
  FIREWALL_ENTRY("void Firewall::RootDirSm::handleInitialized()", ": ");
  ActiveWorkManager::Handle work(activeWorkManager());
  cleanupOutput();
  stage_.begin();
  bool isComplete = false;
  Kiv::AllSteps steps;
  steps.run([&] {
    if (fwConfigDir) {
      for (auto entry = fwConfigDir->entityPtrIteratorConst(); entry; ++entry) {
        startSource(Pith::String(entry.key()));
      }
    }
    work.close();
    isComplete = true;
  });
  // Nobody will hold this root then, nor clean it up.
  if (!isComplete) steps.run([this] { cleanup(); });
}

// If one bad application raised its error here, nobody would hold the root, and the switch would
// have no firewall.
void RootDirSm::startSource(const Pith::String& name) {
  static constexpr Twinlog::Function fn("void Firewall::RootDirSm::handleInitialized()");
  try {
    handleConfigurationSource(name);
  } catch (const Pith::RangeException& error) {
    const auto source = rootFeatureSm(name);
    if (!source || !source->rootSm()) throw;
    TWINLOG(facility, 3, fn, "Source %s runs, but: %s", name, Pith::String(error.what()));
  }
}

void RootDirSm::handleConfigurationSource(const Pith::String& name) {
  FIREWALL_ENTRY("void Firewall::RootDirSm::handleConfigurationSource(const String&)",
                 " Source: %s", name);
  FIREWALL_ONLY_WHILE(isWorking());
  if (const auto config = fwConfigDir ? fwConfigDir->entityPtrAs<Config>(name) : nullptr) {
    const bool isNew = !rootFeatureSmHas(name);
    Kiv::AllSteps steps;
    steps.run([&] {
      rootFeatureSmIs(name, fwConfigDir, config, outFirewallConfig, firewallStatus, intfStatusDir,
                      ipStatus, matchListConfigDir, appRecConfig, fieldSetConfig, appRecStatus,
                      hwCapability, this, aclListConfig);
    });
    // A subscriber may have removed the source while its reactor was not there yet.
    const auto child = rootFeatureSm(name);
    const auto present = fwConfigDir->entityPtrAs<Config>(name);
    if (isNew && child && child->attributes().inConfig != present) {
      steps.run([&] { rootFeatureSmDel(name); });
    }
  } else {
    rootFeatureSmDel(name);
  }
}

void RootDirSm::evaluateHwConfigEnableStatus() {
  FIREWALL_ENTRY("void Firewall::RootDirSm::evaluateHwConfigEnableStatus()", ": ");
  const auto isAnyEnabled = [this] {
    return fwConfigDir && anySource(*fwConfigDir, [](const Pith::String&, const auto& config) {
             return config->enabled();
           });
  };
  const bool active = isAnyEnabled();
  Kiv::AllSteps steps;
  if (active) {
    steps.run([this] { appRecogConfigSmIs(appRecConfig, appRecStatus, fieldSetConfig); });
  } else {
    appRecogConfigSmDel();
    steps.run([this] { cleanupOutput(); });
  }
  if (active != isAnyEnabled()) {  // a subscriber changed that meanwhile
    steps.run([this] { evaluateHwConfigEnableStatus(); });
  } else {
    TWINLOG_FN(facility, 5, fn, " Setting active status: %s", active);
    steps.run([&] { outFirewallConfig->activeIs(active); });
  }
}

void RootDirSm::cleanupOutput() {
  Kiv::AllSteps steps;  // whatever a subscriber throws, it is empty afterwards
  steps.run([this] { outFirewallConfig->activeIs(false); });
  if (!outFirewallConfig->active()) {  // else a subscriber had another source take over
    steps.run([this] { outFirewallConfig->vrfDelAll(); });
    steps.run([this] { outFirewallConfig->policyDelAll(); });
    steps.run([this] { outFirewallConfig->l2SegDel(); });
    steps.run([this] { outFirewallConfig->servicesDelAll(); });
    steps.run([this] {
      if (firewallStatus) firewallStatus->serviceDelAll();
    });
  }
}

void RootDirSm::cleanup() {
  FIREWALL_ENTRY("void Firewall::RootDirSm::cleanup()", ": ");
  FIREWALL_ONLY_WHILE(isWorking());
  stage_.end();
  ActiveWorkManager::Handle work(activeWorkManager());
  rootFeatureSmDelAll();
  cleanupOutput();
  work.close();
}

}  // namespace Firewall
