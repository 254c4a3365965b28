// Follows the class maps: which interfaces, and which of their VLANs, belong to the segments that
// use a class map.
#pragma once

#include "Firewall/Attributes.h"
#include "Firewall/Segments/VrfSm.h"
#include "Firewall/Stage.h"
#include "framework/Kiv/Reactor.h"
#include "framework/Lanx/IntfId.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"

namespace Firewall {

class ClassMapBinder {
 public:
  // The reactors of the VRFs, which are told when the interfaces of one of their segments changed.
  using Vrfs = Kiv::ChildReactors<VrfSm, Pith::String>;

  // The arguments must outlive this object.
  ClassMapBinder(const RootSmAttributes& at, const Stage& stage, const Vrfs& vrfs) noexcept
      : at_(at), stage_(stage), vrfs_(vrfs) {}

  void handleClassMap() const;
  void handleClassMap(const Pith::String& name) const;
  void handleClassMapIntfs(const Pith::Ptr<const ClassMapFirewall>& inClassMap) const;
  void handleClassMapIntf(const Pith::Ptr<const ClassMapFirewall>& inClassMap,
                          Lanx::IntfId intf) const;
  void addIntfSegmentAll(const Pith::String& className, Lanx::IntfId intf) const;
  // The empty interface stands for all.
  void deleteIntfSegmentAll(const Pith::String& className, Lanx::IntfId intf) const;
  void handleIntfVlan(const Pith::Ptr<const ClassMapFirewall>& inClassMap,
                      const Pith::Ptr<const IntfVlanRangeSet>& intfVlanData, VlanRange range) const;

 private:
  void bindToVrfSegment(const Pith::String& className, const Lanx::IntfId& intf,
                        const Pith::Ptr<FwSegment>& segment) const;
  void bindToL2Segment(const Pith::String& className, const Lanx::IntfId& intf,
                       const Pith::Ptr<FwSegment>& segment) const;

  const RootSmAttributes& at_;
  const Stage& stage_;
  const Vrfs& vrfs_;
};

}  // namespace Firewall
