// The switch's routed interfaces, each with its VRF, and the VRFs that exist.
#pragma once

#include "framework/Kiv/Entity.h"
#include "framework/Lanx/IntfId.h"
#include "model/L3/VrfName.h"

namespace Ip {

class PITH_EXPORT Status : public Kiv::Entity {
  KIV_ENTITY(Status, Kiv::Entity)
  KIV_MAP(Lanx::IntfId, L3::VrfName, ipIntfStatus)
  KIV_SET(L3::VrfName, vrf)
};

}  // namespace Ip
