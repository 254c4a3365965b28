// The configuration sources: the entries of the configuration directory that are a
// Firewall::Config.
#pragma once

#include "framework/Kiv/Dir.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"
#include "model/Firewall/Config.h"
#include "model/L3/VrfName.h"

namespace Firewall {

// Calls visit(name, config) for each source in the directory's order, until it returns true;
// returns whether it did.
template <class Visit>
bool anySource(const Kiv::Dir& fwConfigDir, const Visit& visit) {
  for (auto entry = fwConfigDir.entityPtrIteratorConst(); entry; ++entry) {
    const auto config = Pith::dynamicPtrCast<const Config>(entry.ptr());
    if (config && visit(entry.key(), config)) return true;
  }
  return false;
}

// The same for visit(config) and the enabled sources other than `own`.
template <class Visit>
bool anyOtherSource(const Kiv::Dir& fwConfigDir, const Config& own, const Visit& visit) {
  return anySource(fwConfigDir, [&](const Pith::String&, const Config::PtrConst& config) {
    return config.get() != &own && config->enabled() && visit(config);
  });
}

// The same for visit(vrf) and those of them that have the VRF.
template <class Visit>
bool anyVrfOfOtherSource(const Kiv::Dir& fwConfigDir, const Config& own, const L3::VrfName& name,
                         const Visit& visit) {
  return anyOtherSource(fwConfigDir, own, [&](const Config::PtrConst& config) {
    const Vrf::PtrConst vrf = config->vrf(name);
    return vrf && visit(vrf);
  });
}

// Whether any source, enabled or not, configures the segment in that VRF; false for the empty VRF
// name.
PITH_EXPORT bool isSegmentConfigured(const Pith::Ptr<const Kiv::Dir>& fwConfigDir,
                                     const Pith::String& vrfName, const Pith::String& segmentName);

}  // namespace Firewall
