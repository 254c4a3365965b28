// The reactor of one segment of a VRF or of the L2 segment directory.
//
// It owns the segment's FwSegment: its links from other segments and its fallback policy, the
// interfaces of its class map, and, through one MatchListConfigPathSm for each match-list path, its
// subnets. It tells its VrfSm whether the segment is on the subscriber or on the service side.
#pragma once

#include "Firewall/Attributes.h"
#include "Firewall/Prefixes/MatchListConfigPathSm.h"
#include "Firewall/Segments/FromSegments.h"
#include "Firewall/Stage.h"
#include "framework/Kiv/Dir.h"
#include "framework/Kiv/Factory.h"
#include "framework/Kiv/Reactor.h"
#include "framework/Lanx/IntfId.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"
#include "model/Acl/PrefixList.h"
#include "model/Firewall/Config.h"
#include "model/Firewall/HwCapability.h"
#include "model/Firewall/HwConfig.h"
#include "model/Interface/AllIntfStatusDir.h"
#include "model/Ip/Status.h"

namespace Firewall {

class PITH_EXPORT SegmentSM final : public Kiv::Reactor<SegmentSM, SegmentSMAttributes> {
  KIV_REACTOR(SegmentSM)
  KIV_CHILD_REACTORS(MatchListConfigPathSm, mlConfigPathSm, MlConfigPathSmKeyFunktor, Pith::String)

  // The arguments of MatchListConfigPathSm in order.
  template <class... Args>
  Pith::Ptr<MatchListConfigPathSm> mlConfigPathSmIs(const Pith::String& name, Args&&... args) {
    return mlConfigPathSm_.is(name,
                              MatchListConfigPathSmAttributes{name, std::forward<Args>(args)...});
  }

  bool initialized() const noexcept { return stage_.initialized(); }
  // The segment's output; null until handleInitialized().
  const Pith::Ptr<FwSegment>& fwSegment() const noexcept { return fwSegment_; }

  void inSegmentDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                         Pith::FieldId field, const void* key, const Pith::Change* change);
  void matchListConfigDirDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                                  Pith::FieldId field, const void* key, const Pith::Change* change);

  void handleInitialized();
  void handleFromSegment();
  void handleFromSegment(const Pith::String& name);
  void addInterimForwardingSegments();
  // Links the subscriber-side segment `from`, when it forwards to this one, for a segment that
  // receives from "forwarding-segments".
  void updateSubcriberSegment(const Pith::String& from);
  // Tells the VrfSm on which side the segment is.
  void updateLocalDataForVrfSegment();
  void handleFallbackPolicy();
  void removeFromSegments();
  bool isFromSegmentConfigured(const Pith::String& segment, const Pith::String& fromSegment) const;
  void handleMatchListConfigPath();
  void handleMatchListConfigPath(const Pith::String& name);
  void handleClassMap();
  void cleanClassmap();
  // Takes the segment's output down, as far as no other enabled source configures it. A second time
  // it changes nothing.
  void cleanup();

 private:
  explicit SegmentSM(SegmentSMAttributes attributes);
  void start();

  // Whether handlers may write: from handleInitialized() to cleanup().
  bool isWorking() const noexcept { return stage_.isWorking() && fwSegment_; }
  // The class map that the configuration names for the interfaces; empty for none.
  Pith::String classMapName() const;
  bool hasIntfStatus(const Lanx::IntfId& intf) const;
  void bindIntf(const Pith::Ptr<const IntfVlanRangeSet>& data, bool isL2);

  Kiv::Subscription<&SegmentSM::inSegmentDispatch> inSegmentSubscription_;
  Kiv::Subscription<&SegmentSM::matchListConfigDirDispatch> matchListConfigDirSubscription_;
  Pith::Ptr<FwSegment> fwSegment_;
  Stage stage_;
  FromSegments fromSegments_;
};

KIV_FACTORY(SegmentSM, segmentSMFactory)

}  // namespace Firewall
