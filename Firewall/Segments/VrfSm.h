// The reactor of one VRF of the configuration, or (with an empty name) of the L2 segment directory.
//
// It owns the output container of its segments, the *segment directory*: HwConfig.vrf[vrfName], or
// HwConfig.l2Seg. It keeps one SegmentSM for each segment of the input, knows which of them are on
// the subscriber side (they hold interfaces) and which on the service side, and attributes the
// VRF's global prefixes to segments.
#pragma once

#include <cstdint>

#include "Firewall/Attributes.h"
#include "Firewall/Prefixes/GlobalPrefixOwners.h"
#include "Firewall/Segments/SegmentSM.h"
#include "Firewall/Stage.h"
#include "framework/Kiv/AllSteps.h"
#include "framework/Kiv/Collections.h"
#include "framework/Kiv/Dir.h"
#include "framework/Kiv/Factory.h"
#include "framework/Kiv/Reactor.h"
#include "framework/Lanx/Prefix.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"
#include "model/Firewall/Config.h"
#include "model/Firewall/HwConfig.h"

namespace Firewall {

class PITH_EXPORT VrfSm final : public Kiv::Reactor<VrfSm, VrfSmAttributes> {
  KIV_REACTOR(VrfSm)
  KIV_CHILD_REACTORS(SegmentSM, segmentSm, SegmentSmKeyFunktor, Pith::String)

  static constexpr bool cleanupOnDestruction = true;

  // The arguments of SegmentSM in order, without the work manager, which is this one's.
  template <class... Args>
  Pith::Ptr<SegmentSM> segmentSmIs(const Pith::String& name, Args&&... args) {
    return segmentSm_.is(name,
                         SegmentSMAttributes{name, std::forward<Args>(args)..., activeWorkManager});
  }

  bool initialized() const noexcept { return stage_.initialized(); }
  // From handleInitialized() to cleanup(); otherwise handlers do nothing.
  bool isWorking() const noexcept { return stage_.isWorking(); }

  // Segments without interfaces.
  const Kiv::HashSet<Pith::String>& serviceSideSegment() const noexcept {
    return serviceSideSegment_;
  }
  void serviceSideSegmentIs(const Pith::String& name);
  void serviceSideSegmentDel(const Pith::String& name);
  void serviceSideSegmentDelAll();

  // Segments with interfaces, each with a counter that changes at every report.
  const Kiv::HashMap<Pith::String, std::uint16_t>& subcriberSideSegment() const noexcept {
    return subcriberSideSegment_;
  }
  // The segment's counter; null when it is not on the subscriber side.
  const std::uint16_t* subcriberSideSegment(const Pith::String& name) const;
  // With another counter than before: handleSubcriberSideSegment(name).
  void subcriberSideSegmentIs(const Pith::String& name, std::uint16_t counter);
  // True when there was an entry; then handleSubcriberSideSegment(name).
  bool subcriberSideSegmentDel(const Pith::String& name);
  void subcriberSideSegmentDelAll();

  void vrfConfigDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                         Pith::FieldId field, const void* key, const Pith::Change* change);
  void inFirewallDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                          Pith::FieldId field, const void* key, const Pith::Change* change);
  void hwCapabilityDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                            Pith::FieldId field, const void* key, const Pith::Change* change);

  void handleInitialized();
  void handleSegment();
  void handleSegment(const Pith::String& name);
  void handleSubcriberSideSegment(const Pith::String& name);
  void handleForwardingSegmentsPolicySupported();
  // Takes the segments down and, when no other enabled source holds the VRF, its output. A second
  // time it changes nothing.
  void cleanup();

  // The interfaces of a segment changed: it may be on the other side now.
  void handleIntfs(const Pith::String& segment);

  // Global prefixes (Prefixes/GlobalPrefixOwners.h).
  void handleGlobalPrefix(const Lanx::IpGenPrefix& prefix);
  void processGlobalPrefix(const Pith::Ptr<const Vrf>& vrf, bool configured,
                           const Lanx::IpGenPrefix& prefix);
  void processGlobalPrefixesForSegment(const Pith::String& segment);
  void updateOrRemoveGlobalPrefix(const Lanx::IpGenPrefix& prefix, const Pith::String& segment);
  // The first segment by name that holds the prefix locally; empty when none does.
  Pith::String getSegmentForMatchListPrefix(const Lanx::IpGenPrefix& prefix) const;
  // The segment that the first enabled source with this global prefix names; empty for none.
  Pith::String getGlobalPrefixSegment(const Lanx::IpGenPrefix& prefix) const;

 private:
  explicit VrfSm(VrfSmAttributes attributes);
  void start();

  // The segment as it is configured; null when it is not.
  Pith::Ptr<const Segment> inputSegment(const Pith::String& name) const {
    return inFirewall ? inFirewall->segment(name) : nullptr;
  }
  // The output container of the segments; null while the output is cleared.
  Pith::Ptr<FwSegmentDir> segmentDirectory() const;
  // Deletes the segments of an earlier run that no source configures any more.
  void reconcileSegments(const Pith::Ptr<FwVrf>& fwVrf) const;
  void takeDown(const Pith::Ptr<SegmentSM>& child, Kiv::AllSteps& steps);
  template <class Visit>
  void eachServiceSideSegment(const Visit& visit) const;
  bool isHeldByOtherSource() const;

  Kiv::Subscription<&VrfSm::vrfConfigDispatch> vrfConfigSubscription_;
  Kiv::Subscription<&VrfSm::inFirewallDispatch> inFirewallSubscription_;
  Kiv::Subscription<&VrfSm::hwCapabilityDispatch> hwCapabilitySubscription_;
  Kiv::HashMap<Pith::String, std::uint16_t> subcriberSideSegment_;
  Kiv::HashSet<Pith::String> serviceSideSegment_;
  Stage stage_;
  GlobalPrefixOwners globalPrefixOwners_;
};

KIV_FACTORY(VrfSm, vrfSmFactory)

}  // namespace Firewall
