#include "Firewall/Sources/SwitchStore.h"

namespace Firewall {

SwitchStore::SwitchStore()
    : fwConfigDir(Kiv::make<Kiv::Dir>()),
      hwConfig(Kiv::make<HwConfig>()),
      firewallStatus(Kiv::make<Status>()),
      intfStatusDir(Kiv::make<Interface::AllIntfStatusDir>()),
      ipStatus(Kiv::make<Ip::Status>()),
      matchListConfigDir(Kiv::make<Kiv::Dir>()),
      appRecConfig(Kiv::make<Classification::AppRecognitionConfig>()),
      fieldSetConfig(Kiv::make<Classification::FieldSetConfig>()),
      appRecStatus(Kiv::make<Classification::AppRecognitionStatus>()),
      hwCapability(Kiv::make<HwCapability>()),
      aclListConfig(Kiv::make<Acl::AclListConfig>()) {}

const RootDirSm::Ptr& SwitchStore::start() {
  root = rootDirSmFactory({.fwConfigDir = fwConfigDir,
                           .outFirewallConfig = hwConfig,
                           .firewallStatus = firewallStatus,
                           .intfStatusDir = intfStatusDir,
                           .ipStatus = ipStatus,
                           .matchListConfigDir = matchListConfigDir,
                           .appRecConfig = appRecConfig,
                           .fieldSetConfig = fieldSetConfig,
                           .appRecStatus = appRecStatus,
                           .hwCapability = hwCapability,
                           .aclListConfig = aclListConfig});
  return root;
}

void SwitchStore::stop() {
  if (!root) return;
  root->cleanup();
  root = nullptr;
}

namespace {

template <class T>
Pith::Ptr<T> entityIs(Kiv::Dir& directory, const Pith::String& name) {
  if (auto present = Pith::dynamicPtrCast<T>(directory.entityPtr(name))) return present;
  return directory.newEntity<T>(name);
}

}  // namespace

Config::Ptr SwitchStore::sourceIs(const Pith::String& name) {
  return entityIs<Config>(*fwConfigDir, name);
}

MatchList::Config::Ptr SwitchStore::matchListPathIs(const Pith::String& name) {
  return entityIs<MatchList::Config>(*matchListConfigDir, name);
}

}  // namespace Firewall
