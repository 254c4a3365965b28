#include "Firewall/RootFeatureEnableSm.h"

#include <utility>

#include "Firewall/RootDirSm.h"
#include "Firewall/Sources.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/Deferred.h"

KIV_REACTOR_DEFINE(Firewall::RootFeatureEnableSm)

namespace Firewall {

RootFeatureEnableSm::RootFeatureEnableSm(RootFeatureEnableSmAttributes attributes)
    : Reactor(std::move(attributes)), inConfigSubscription_(*this, inConfig) {}

void RootFeatureEnableSm::start() { handleInitialized(); }

void RootFeatureEnableSm::inConfigDispatch(Pith::Publisher* /*publisher*/,
                                           Pith::Subscriber* /*subscriber*/, Pith::FieldId field,
                                           const void* /*key*/, const Pith::Change* /*change*/) {
  if (field == Config::enabledField && !isZombie()) handleFeatureStatus();
}

void RootFeatureEnableSm::handleInitialized() {
  static constexpr Twinlog::Function fn("void Firewall::RootFeatureEnableSm::handleInitialized()");
  TWINLOG_FN(facility, 8, fn, ": ");
  initialized_ = true;
  handleFeatureStatus();
}

void RootFeatureEnableSm::handleFeatureStatus() {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootFeatureEnableSm::handleFeatureStatus()");
  TWINLOG_FN(facility, 8, fn, " enabled: %s", inConfig->enabled());
  if (inConfig->enabled()) {
    TWINLOG_FN(facility, 5, fn, " Creating RootSm: %s", configSource);
    Kiv::Deferred steps;
    steps.run([this] {
      rootSmIs(configSource, fwConfigDir, inConfig, outFirewallConfig, firewallStatus,
               intfStatusDir, ipStatus, matchListConfigDir, appRecConfig, fieldSetConfig,
               appRecStatus, hwCapability, aclListConfig, activeWorkManager);
    });
    steps.run([this] {
      if (rootSm()) {
        rootDirSm->evaluateHwConfigEnableStatus();
        if (!inConfig->enabled()) handleFeatureStatus();  // a subscriber disabled it meanwhile
      } else if (!isAnotherEnabled()) {
        rootDirSm->cleanupOutput();  // what it compiled before it failed
      }
    });
    steps.rethrow();
    return;
  }
  const Pith::Ptr<RootSm> child = rootSm();
  if (!child) return;
  TWINLOG_FN(facility, 5, fn, " Deleting RootSm: %s", configSource);
  Kiv::Deferred steps;
  // While the RootSm is there: when this was the last source, its output is cleared first.
  steps.run([this] { rootDirSm->evaluateHwConfigEnableStatus(); });
  steps.run([&child] { child->cleanup(); });
  steps.run([this] { rootSmDel(); });
  steps.rethrow();
}

bool RootFeatureEnableSm::isAnotherEnabled() const {
  return anySource(*fwConfigDir, [this](const Pith::String&, const auto& config) {
    return config != inConfig && config->enabled();
  });
}

void RootFeatureEnableSm::cleanup() {
  static constexpr Twinlog::Function fn("void Firewall::RootFeatureEnableSm::cleanup()");
  TWINLOG_FN(facility, 8, fn, ": ");
  const Pith::Ptr<RootSm> child = rootSm();
  if (!child) return;
  Kiv::Deferred steps;
  steps.run([&child] { child->cleanup(); });
  steps.run([this] { rootSmDel(); });
  steps.run([this] { rootDirSm->evaluateHwConfigEnableStatus(); });
  steps.rethrow();
}

RootFeatureEnableSm::Ptr rootFeatureEnableSmFactory(
    Pith::String configSource, Pith::Ptr<const Kiv::Dir> fwConfigDir,
    Pith::Ptr<const Config> inConfig, Pith::Ptr<HwConfig> outFirewallConfig,
    Pith::Ptr<Status> firewallStatus, Pith::Ptr<const Interface::AllIntfStatusDir> intfStatusDir,
    Pith::Ptr<const Ip::Status> ipStatus, Pith::Ptr<const Kiv::Dir> matchListConfigDir,
    Pith::Ptr<const Classification::AppRecognitionConfig> appRecConfig,
    Pith::Ptr<const Classification::FieldSetConfig> fieldSetConfig,
    Pith::Ptr<Classification::AppRecognitionStatus> appRecStatus,
    Pith::Ptr<const HwCapability> hwCapability, RootDirSm* rootDirSm,
    Pith::Ptr<const Acl::AclListConfig> aclListConfig,
    Pith::Ptr<ActiveWorkManager> activeWorkManager) {
  return RootFeatureEnableSm::RootFeatureEnableSmIs(
      std::move(configSource), std::move(fwConfigDir), std::move(inConfig),
      std::move(outFirewallConfig), std::move(firewallStatus), std::move(intfStatusDir),
      std::move(ipStatus), std::move(matchListConfigDir), std::move(appRecConfig),
      std::move(fieldSetConfig), std::move(appRecStatus), std::move(hwCapability), rootDirSm,
      std::move(aclListConfig), std::move(activeWorkManager));
}

}  // namespace Firewall
