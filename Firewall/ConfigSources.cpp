#include "Firewall/ConfigSources.h"

#include "Firewall/Trace.h"

namespace Firewall {

bool isSegmentConfigured(const Pith::Ptr<const Kiv::Dir>& fwConfigDir, const Pith::String& vrfName,
                         const Pith::String& segmentName) {
  FIREWALL_ENTRY(
      "bool Firewall::isSegmentConfigured(const PtrConst&, const String&, const String&)",
      ": %s, %s", vrfName, segmentName);
  if (vrfName.empty()) return false;
  const L3::VrfName vrfKey(vrfName);
  return anySource(*fwConfigDir, [&](const Pith::String& source, const Config::PtrConst& config) {
    const Vrf::PtrConst vrf = config->vrf(vrfKey);
    if (!vrf || !vrf->segmentHas(segmentName)) return false;
    TWINLOG_FN(facility, 7, fn, " Source:%s has segment:%s configured in vrf:%s", source,
               segmentName, vrfName);
    return true;
  });
}

}  // namespace Firewall
