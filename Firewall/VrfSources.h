// What the configuration sources hold for one VRF.
#pragma once

#include "framework/Kiv/Dir.h"
#include "framework/Pith/Assert.h"
#include "framework/Pith/Ptr.h"
#include "model/Firewall/Config.h"
#include "model/L3/VrfName.h"

namespace Firewall {

// Calls visit(config, vrf) for each source, enabled or not, that has the VRF, in the directory's
// order, until it returns true; returns whether it did. An entity that is no source ends the
// process.
template <class Visit>
bool anyVrfOfSources(const Kiv::Dir& fwConfigDir, const L3::VrfName& name, const Visit& visit) {
  for (auto entry = fwConfigDir.entityPtrIteratorConst(); entry; ++entry) {
    const auto config = Pith::dynamicPtrCast<const Config>(entry.ptr());
    PITH_ASSERT_TEXT(config, "fwConfig");
    const Pith::Ptr<const Vrf> vrf = config->vrf(name);
    if (vrf && visit(config, vrf)) return true;
  }
  return false;
}

}  // namespace Firewall
