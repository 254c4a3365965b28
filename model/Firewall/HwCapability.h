// What the hardware can do.
#pragma once

#include "framework/Kiv/Entity.h"

namespace Firewall {

class PITH_EXPORT HwCapability : public Kiv::Entity {
  KIV_ENTITY(HwCapability, Kiv::Entity)
  KIV_VALUE(bool, serviceRuleSupported)               // takes rules that name a service, unexpanded
  KIV_VALUE(bool, forwardingSegmentsPolicySupported)  // "forwarding-segments" as a from-segment
  KIV_VALUE(bool, globalPrefixListSupported)          // a VRF-wide list from prefix to segment
  KIV_VALUE(bool, portRangeBlocksRequired)  // takes port ranges as value/mask blocks alone
};

}  // namespace Firewall
