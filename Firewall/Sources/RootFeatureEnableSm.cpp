#include "Firewall/Sources/RootFeatureEnableSm.h"

#include <utility>

#include "Firewall/ConfigSources.h"
#include "Firewall/Sources/RootDirSm.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"

namespace Firewall {

RootFeatureEnableSm::RootFeatureEnableSm(RootFeatureEnableSmAttributes attributes)
    : Reactor(std::move(attributes)), inConfigSubscription_(*this, inConfig) {}

RootFeatureEnableSm::Ptr RootFeatureEnableSm::made(Attributes attributes) {
  auto source = create(std::move(attributes));
  source->startErrorRaise();
  return source;
}

void RootFeatureEnableSm::start() {
  try {
    handleInitialized();
  } catch (...) {
    startError_ = std::current_exception();
  }
}

void RootFeatureEnableSm::inConfigDispatch(Pith::Publisher* /*publisher*/,
                                           Pith::Subscriber* /*subscriber*/, Pith::FieldId field,
                                           const void* /*key*/, const Pith::Change* /*change*/) {
  if (field == Config::enabledField && !isZombie()) handleFeatureStatus();
}

void RootFeatureEnableSm::handleInitialized() {
  FIREWALL_ENTRY("void Firewall::RootFeatureEnableSm::handleInitialized()", ": ");
  initialized_ = true;
  handleFeatureStatus();
}

void RootFeatureEnableSm::handleFeatureStatus() {
  FIREWALL_ENTRY("void Firewall::RootFeatureEnableSm::handleFeatureStatus()", " enabled: %s",
                 inConfig->enabled());
  if (inConfig->enabled()) {
    TWINLOG_FN(facility, 5, fn, " Creating RootSm: %s", configSource);
    Kiv::AllSteps steps;
    steps.run([this] {
      rootSmIs(configSource, fwConfigDir, inConfig, outFirewallConfig, firewallStatus,
               intfStatusDir, ipStatus, matchListConfigDir, appRecConfig, fieldSetConfig,
               appRecStatus, hwCapability, aclListConfig, activeWorkManager);
    });
    isRootMissing_ = !rootSm() && inConfig->enabled();
    steps.run([this] {
      if (rootSm()) {
        rootDirSm->evaluateHwConfigEnableStatus();
      } else if (!isAnotherRunning()) {
        rootDirSm->cleanupOutput();  // what it compiled before it failed
      }
    });
    // A subscriber may have disabled it meanwhile.
    if (rootSm() && !inConfig->enabled()) steps.run([this] { handleFeatureStatus(); });
    return;
  }
  const Pith::Ptr<RootSm> child = rootSm();
  if (!child) {
    // The output was evaluated since, with this source counted as enabled.
    if (std::exchange(isRootMissing_, false)) rootDirSm->evaluateHwConfigEnableStatus();
    return;
  }
  TWINLOG_FN(facility, 5, fn, " Deleting RootSm: %s", configSource);
  Kiv::AllSteps steps;
  // While the RootSm is there: when this was the last source, its output is cleared first.
  steps.run([this] { rootDirSm->evaluateHwConfigEnableStatus(); });
  steps.run([&child] { child->cleanup(); });
  steps.run([this] { rootSmDel(); });
}

// A source that is just being made counts as running: a subscriber to its writes may have enabled
// this source.
bool RootFeatureEnableSm::isAnotherRunning() const {
  return anySource(*fwConfigDir, [this](const Pith::String& name, const auto& config) {
    if (config == inConfig || !config->enabled()) return false;
    const auto source = rootDirSm->rootFeatureSm(name);
    return !source || !source->isRootMissing_;
  });
}

void RootFeatureEnableSm::cleanup() {
  FIREWALL_ENTRY("void Firewall::RootFeatureEnableSm::cleanup()", ": ");
  const Pith::Ptr<RootSm> child = rootSm();
  if (!child) {
    if (std::exchange(isRootMissing_, false) && rootDirSm->isWorking()) {
      rootDirSm->evaluateHwConfigEnableStatus();
    }
    return;
  }
  Kiv::AllSteps steps;
  steps.run([&child] { child->cleanup(); });
  steps.run([this] { rootSmDel(); });
  steps.run([this] { rootDirSm->evaluateHwConfigEnableStatus(); });
}

}  // namespace Firewall
