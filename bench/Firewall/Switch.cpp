#include "bench/Firewall/Switch.h"

#include <algorithm>

namespace Bench {

void Switch::start() {
  SwitchStore::start();
  source->enabledIs(true);
}

void Switch::interface(const Lanx::IntfId& intf, const L3::VrfName& vrf) {
  intfStatusDir->intfStatusIs(intf);
  ipStatus->ipIntfStatusIs(intf, vrf);
}

void Switch::application(const Pith::String& name, std::uint32_t rules) {
  constexpr std::uint32_t mostDestinations = 1000;
  const std::uint32_t destinations = std::min(rules, mostDestinations);
  const auto prefixes = [this](const Pith::String& set, std::uint32_t count) {
    const auto all = fieldSetConfig->fieldSetIpPrefixIs(set)->subConfigIs(set);
    for (std::uint32_t i = 0; i < count; ++i) {
      all->prefixesIs(Lanx::IpGenPrefix(Lanx::IpGenAddrWithMask(subnet(i))));
    }
    return set;
  };
  const auto app = appRecConfig->appIs(name);
  app->srcPrefixFieldSetIs(prefixes(named("sources", rules / destinations), rules / destinations));
  app->dstPrefixFieldSetIs(prefixes(named("destinations", destinations), destinations));
}

Pith::Ptr<Firewall::Vrf> Switch::vrf(const Pith::String& name) {
  const L3::VrfName vrf(name);
  ipStatus->vrfIs(vrf);
  return source->vrfIs(vrf);
}

}  // namespace Bench
