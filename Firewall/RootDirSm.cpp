#include "Firewall/RootDirSm.h"

#include <utility>

#include "Firewall/Sources.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/Deferred.h"

KIV_REACTOR_DEFINE(Firewall::RootDirSm)

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
  child->hasNotificationActiveIs(true);
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
  static constexpr Twinlog::Function fn("void Firewall::RootDirSm::handleInitialized()");
  TWINLOG_FN(facility, 8, fn, ": ");
  ActiveWorkManager::Handle work(activeWorkManager());
  cleanupOutput();
  initialized_ = true;
  bool isComplete = false;
  Kiv::Deferred steps;
  steps.run([&] {
    if (fwConfigDir) {
      for (auto entry = fwConfigDir->entityPtrIteratorConst(); entry; ++entry) {
        handleConfigurationSource(entry.key());
      }
    }
    work.handleDestroyed();
    isComplete = true;
  });
  // Nobody will hold this root then, nor clean it up.
  if (!isComplete) steps.run([this] { cleanup(); });
  steps.rethrow();
}

void RootDirSm::handleConfigurationSource(const Pith::String& name) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootDirSm::handleConfigurationSource(const String&)");
  TWINLOG_FN(facility, 8, fn, " Source: %s", name);
  if (!initialized_) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  if (const auto config = fwConfigDir ? fwConfigDir->entityPtrAs<Config>(name) : nullptr) {
    rootFeatureSmIs(name, fwConfigDir, config, outFirewallConfig, firewallStatus, intfStatusDir,
                    ipStatus, matchListConfigDir, appRecConfig, fieldSetConfig, appRecStatus,
                    hwCapability, this, aclListConfig);
  } else {
    rootFeatureSmDel(name);
  }
}

void RootDirSm::evaluateHwConfigEnableStatus() {
  static constexpr Twinlog::Function fn("void Firewall::RootDirSm::evaluateHwConfigEnableStatus()");
  TWINLOG_FN(facility, 8, fn, ": ");
  const auto isAnyEnabled = [this] {
    return fwConfigDir && anySource(*fwConfigDir, [](const Pith::String&, const auto& config) {
             return config->enabled();
           });
  };
  const bool active = isAnyEnabled();
  Kiv::Deferred steps;
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
  steps.rethrow();
}

void RootDirSm::cleanupOutput() {
  Kiv::Deferred steps;  // whatever a subscriber throws, it is empty afterwards
  steps.run([this] { outFirewallConfig->activeIs(false); });
  if (!outFirewallConfig->active()) {  // else a subscriber had another source take over
    steps.run([this] { outFirewallConfig->vrfDelAll(); });
    steps.run([this] { outFirewallConfig->policyDelAll(); });
    steps.run([this] { outFirewallConfig->l2SegDel(); });
    steps.run([this] { outFirewallConfig->servicesDelAll(); });
    steps.run([this] { firewallStatus->serviceDelAll(); });
  }
  steps.rethrow();
}

void RootDirSm::cleanup() {
  static constexpr Twinlog::Function fn("void Firewall::RootDirSm::cleanup()");
  TWINLOG_FN(facility, 8, fn, ": ");
  if (!initialized_) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  initialized_ = false;  // no source comes back
  ActiveWorkManager::Handle work(activeWorkManager());
  rootFeatureSmDelAll();
  cleanupOutput();
  work.handleDestroyed();
}

RootDirSm::Ptr rootDirSmFactory(
    Pith::Ptr<const Kiv::Dir> fwConfigDir, Pith::Ptr<HwConfig> outFirewallConfig,
    Pith::Ptr<Status> firewallStatus, Pith::Ptr<const Interface::AllIntfStatusDir> intfStatusDir,
    Pith::Ptr<const Ip::Status> ipStatus, Pith::Ptr<const Kiv::Dir> matchListConfigDir,
    Pith::Ptr<const Classification::AppRecognitionConfig> appRecConfig,
    Pith::Ptr<const Classification::FieldSetConfig> fieldSetConfig,
    Pith::Ptr<Classification::AppRecognitionStatus> appRecStatus,
    Pith::Ptr<const HwCapability> hwCapability, Pith::Ptr<const Acl::AclListConfig> aclListConfig) {
  return RootDirSm::RootDirSmIs(
      std::move(fwConfigDir), std::move(outFirewallConfig), std::move(firewallStatus),
      std::move(intfStatusDir), std::move(ipStatus), std::move(matchListConfigDir),
      std::move(appRecConfig), std::move(fieldSetConfig), std::move(appRecStatus),
      std::move(hwCapability), std::move(aclListConfig));
}

}  // namespace Firewall
