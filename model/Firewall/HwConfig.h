// The firewall configuration that the hardware is to have: what the reactors write and a hardware
// agent reads. While `updateInProgress` is true more is to come.
#pragma once

#include <optional>

#include "framework/Kiv/Entity.h"
#include "framework/Pith/String.h"
#include "model/Firewall/Enums.h"
#include "model/Firewall/FwPolicy.h"
#include "model/Firewall/FwSegment.h"
#include "model/Firewall/FwService.h"
#include "model/L3/VrfName.h"

namespace Firewall {

class PITH_EXPORT HwConfig : public Kiv::Entity {
  KIV_ENTITY(HwConfig, Kiv::Entity)
  KIV_VALUE(bool, active)  // at least one source is enabled
  KIV_VALUE(bool, updateInProgress)
  KIV_VALUE(bool, defaultPolicyDrop)  // traffic that no policy matches is dropped
  KIV_VALUE(ForwardingTypeMatch, forwardType)
  KIV_CHILDREN_INDEXED(L3::VrfName, FwVrf, vrf, indexVrf)
  KIV_CHILD(FwSegmentDir, l2Seg)  // segments made of VLANs
  KIV_CHILDREN(Pith::String, FwPolicy, policy)
  KIV_CHILDREN(Pith::String, FwService, services)

  // The first segment behind `place` that uses the class map, or none: VRF by VRF in their order
  // and by name, then those of the L2 segment directory. Costs O(log of those); anything may change
  // between two calls.
  std::optional<ClassUser> classUser(const Pith::String& className, const ClassPlace& place) const;

 private:
  friend class FwVrf;
  void indexVrf(const Pith::String& name, const FwVrf* previous, const FwVrf* current);

  ClassUsers vrfClassUsers_;
};

// What is reported back to the operator.
class PITH_EXPORT Status : public Kiv::Entity {
  KIV_ENTITY(Status, Kiv::Entity)
  KIV_SET(Pith::String, service)
};

}  // namespace Firewall
