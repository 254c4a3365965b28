#include "model/Firewall/FwSegment.h"

namespace Firewall {

void FwSegment::indexSubnet(const Lanx::IpGenAddrWithMask& subnet, const bool* previous,
                            const bool* current) {
  auto* const vrf = dynamic_cast<FwVrf*>(parent());
  if (vrf == nullptr) return;
  if (current == nullptr) {
    vrf->subnetHolders_.remove(subnet, *this);
  } else if (previous == nullptr) {
    vrf->subnetHolders_.add(subnet, *this);
  }
}

void FwVrf::indexSegment(const Pith::String& /*name*/, const FwSegment* previous,
                         const FwSegment* current) {
  if (current != nullptr) return;
  for (const auto& entry : previous->subnets()) subnetHolders_.remove(entry.key, *previous);
}

}  // namespace Firewall
