// The reactor of one segment of a VRF or of the L2 segment directory.
//
// It owns the segment's FwSegment: its links from other segments and its fallback policy, the
// interfaces of its class map, and, through one MatchListConfigPathSm for each match-list path, its
// subnets. It tells its VrfSm whether the segment is on the subscriber or on the service side.
#pragma once

#include "Firewall/ActiveWorkManager.h"
#include "Firewall/MatchListConfigPathSm.h"
#include "Firewall/Stage.h"
#include "framework/Kiv/Dir.h"
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

class RootSm;
class VrfSm;

struct SegmentSMAttributes {
  Pith::String segmentName;
  Pith::String vrfName;  // empty for the L2 segment directory
  Pith::Ptr<const Kiv::Dir> fwConfigDir;
  Pith::Ptr<const Segment> inSegment;  // null: a segment of which nothing is configured
  Pith::Ptr<const Config> inConfig;
  Pith::Ptr<const SegmentDir> inFirewall;  // null: no other segment is configured
  Pith::Ptr<FwSegmentDir> fwVrfConfig;     // the output directory that the segment is in
  Pith::Ptr<HwConfig> outFirewallConfig;
  Pith::Ptr<const Interface::AllIntfStatusDir> intfStatusDir;
  Pith::Ptr<const Ip::Status> ipStatus;
  Pith::Ptr<const Kiv::Dir> matchListConfigDir;  // null: no paths, and so no subnets
  RootSm* rootSm = nullptr;
  Pith::Ptr<const HwCapability> hwCapability;
  VrfSm* vrfSm = nullptr;
  Pith::Ptr<const Acl::AclListConfig> aclListConfig;
  Pith::Ptr<ActiveWorkManager> activeWorkManager;
  KIV_FIELDS(segmentName, vrfName, fwConfigDir, inSegment, inConfig, inFirewall, fwVrfConfig,
             outFirewallConfig, intfStatusDir, ipStatus, matchListConfigDir, rootSm, hwCapability,
             vrfSm, aclListConfig, activeWorkManager)
};

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
  bool isForwardingPolicySupported() const;
  // What the configuration names for traffic from there, for traffic that no from-segment matches,
  // and for the interfaces; empty for nothing.
  Pith::String policyFor(const Pith::String& fromSegment) const;
  Pith::String fallbackPolicyName() const;
  Pith::String classMapName() const;
  // Every segment that names this one as a from-segment gets its link.
  void linkReceivers();
  bool hasIntfStatus(const Lanx::IntfId& intf) const;
  void bindL2Intf(const Pith::Ptr<const IntfVlanRangeSet>& data);
  void bindVrfIntf(const Lanx::IntfId& intf);

  Kiv::Subscription<&SegmentSM::inSegmentDispatch> inSegmentSubscription_;
  Kiv::Subscription<&SegmentSM::matchListConfigDirDispatch> matchListConfigDirSubscription_;
  Pith::Ptr<FwSegment> fwSegment_;
  Stage stage_;
};

PITH_EXPORT SegmentSM::Ptr segmentSMFactory(
    Pith::String segmentName, Pith::String vrfName, Pith::Ptr<const Kiv::Dir> fwConfigDir,
    Pith::Ptr<const Segment> inSegment, Pith::Ptr<const Config> inConfig,
    Pith::Ptr<const SegmentDir> inFirewall, Pith::Ptr<FwSegmentDir> fwVrfConfig,
    Pith::Ptr<HwConfig> outFirewallConfig,
    Pith::Ptr<const Interface::AllIntfStatusDir> intfStatusDir,
    Pith::Ptr<const Ip::Status> ipStatus, Pith::Ptr<const Kiv::Dir> matchListConfigDir,
    RootSm* rootSm, Pith::Ptr<const HwCapability> hwCapability, VrfSm* vrfSm,
    Pith::Ptr<const Acl::AclListConfig> aclListConfig,
    Pith::Ptr<ActiveWorkManager> activeWorkManager);

}  // namespace Firewall
