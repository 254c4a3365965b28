// Class maps: the interfaces of a segment and, for L2 segments, their VLAN ranges. An interface
// belongs to the class map when it has an entry, be it without ranges.
#pragma once

#include "framework/Kiv/Entity.h"
#include "framework/Lanx/IntfId.h"
#include "framework/Pith/String.h"
#include "model/Firewall/Range.h"

namespace Firewall {

class PITH_EXPORT IntfVlanRangeSet : public Kiv::Entity {
  KIV_ENTITY(IntfVlanRangeSet, Kiv::Entity)
  KIV_KEY(IntfVlanRangeSet, Lanx::IntfId, intfId)
  KIV_SET(VlanRange, vlanRange)
};

class PITH_EXPORT ClassMapFirewall : public Kiv::Entity {
  KIV_ENTITY(ClassMapFirewall, Kiv::Entity)
  KIV_KEY(ClassMapFirewall, Pith::String, name)
  KIV_CHILDREN(Lanx::IntfId, IntfVlanRangeSet, intfVlanData)
};

}  // namespace Firewall
