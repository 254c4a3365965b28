#include "Firewall/Segments/SegmentSM.h"

#include <utility>

#include "Firewall/Segments/ClassMapName.h"
#include "Firewall/Segments/IntfBinding.h"
#include "Firewall/Segments/VrfSm.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"

namespace Firewall {

SegmentSM::SegmentSM(SegmentSMAttributes attributes)
    : Reactor(std::move(attributes)),
      inSegmentSubscription_(*this, inSegment),
      matchListConfigDirSubscription_(*this, matchListConfigDir),
      fromSegments_(this->attributes(), stage_, fwSegment_) {}

void SegmentSM::start() { handleInitialized(); }

void SegmentSM::inSegmentDispatch(Pith::Publisher* /*publisher*/, Pith::Subscriber* /*subscriber*/,
                                  Pith::FieldId field, const void* key,
                                  const Pith::Change* /*change*/) {
  if (isZombie()) return;
  switch (field) {
    case Segment::policyField:
      handleFromSegment(*static_cast<const Pith::String*>(key));
      break;
    case Segment::fallbackPolicyField:
      handleFallbackPolicy();
      break;
    case Segment::classNameField:
      handleClassMap();
      break;
    default:
      break;
  }
}

void SegmentSM::matchListConfigDirDispatch(Pith::Publisher* /*publisher*/,
                                           Pith::Subscriber* /*subscriber*/, Pith::FieldId field,
                                           const void* key, const Pith::Change* /*change*/) {
  if (isZombie() || field != Kiv::Dir::entityField) return;
  handleMatchListConfigPath(*static_cast<const Pith::String*>(key));
}

void SegmentSM::handleInitialized() {
  FIREWALL_ENTRY("void Firewall::SegmentSM::handleInitialized()", ": %s", segmentName);
  stage_.begin();
  if (fwVrfConfig->segmentHas(segmentName)) {
    TWINLOG(facility, 6, fn, "Delete stale interim segment:%s", segmentName);
    removeFromSegments();
  }
  fwVrfConfig->segmentIs(segmentName);
  fromSegments_.linkReceivers();
  fwSegment_ = fwVrfConfig->segment(segmentName);
  handleClassMap();
  handleMatchListConfigPath();
  handleFromSegment();
  handleFallbackPolicy();
  TWINLOG_FN(facility, 7, fn, " return");
}

void SegmentSM::handleMatchListConfigPath() {
  FIREWALL_ENTRY("void Firewall::SegmentSM::handleMatchListConfigPath()", ": ");
  if (!matchListConfigDir) return;
  for (auto path = matchListConfigDir->entityPtrIteratorConst(); path; ++path) {
    const Pith::String name = path.key();
    handleMatchListConfigPath(name);
  }
}

void SegmentSM::handleMatchListConfigPath(const Pith::String& name) {
  FIREWALL_ENTRY("void Firewall::SegmentSM::handleMatchListConfigPath(const String&)",
                 " MatchList config path:%s", name);
  if (!isWorking() || !inSegment || !matchListConfigDir) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  const auto path = matchListConfigDir->entityPtrAs<MatchList::Config>(name);
  const auto child = mlConfigPathSm(name);
  if (!path || (child && child->attributes().matchListConfig != path)) mlConfigPathSmDel(name);
  if (!path) return;
  mlConfigPathSmIs(name, segmentName, fwConfigDir, Pith::dynamicPtrCast<FwVrf>(fwVrfConfig),
                   matchListConfigDir, path, inSegment, fwSegment_, hwCapability, aclListConfig,
                   activeWorkManager);
  // A subscriber may have removed the path, or made another, while the reactor was not there yet.
  if (matchListConfigDir->entityPtrAs<MatchList::Config>(name) != path) {
    handleMatchListConfigPath(name);
  }
}

namespace {

constexpr Twinlog::Function handleClassMapFn("void Firewall::SegmentSM::handleClassMap()");

}  // namespace

void SegmentSM::handleClassMap() {
  static constexpr const Twinlog::Function& fn = handleClassMapFn;
  const Pith::String className = classMapName();
  TWINLOG_FN(facility, 8, fn, " className:%s", className);
  FIREWALL_ONLY_WHILE(isWorking());
  const bool isNew = fwSegment_->className() != className;
  Kiv::AllSteps steps;
  steps.run([&] { fwSegment_->classNameIs(className); });
  const auto classMap = className.empty() ? nullptr : inConfig->classMap(className);
  if (!classMap) {
    steps.run([&] { cleanClassmap(); });
    return;
  }
  const bool isL2 = isL2ClassMap(className);
  if (isNew) {
    TWINLOG(facility, 6, fn, "Adding classMap %s to interim segment %s", className, segmentName);
  } else {
    TWINLOG(facility, 6, fn, "Update intf list from class %s to interim segment %s L2=%s",
            className, segmentName, isL2);
  }
  // A subscriber may name another class map meanwhile; that one is then bound already. The name is
  // not in the output when memory ran out at its write.
  const auto isNamed = [&] {
    return classMapName() == className && fwSegment_->className() == className;
  };
  for (Pith::Ptr<const IntfVlanRangeSet> data : classMap->intfVlanData()) {
    if (!isNamed()) break;
    steps.run([&] { bindIntf(data, isL2); });
  }
  for (Pith::Ptr<FwIntfVlanRangeSet> bound : fwSegment_->intfVlanRangeSet()) {
    if (!isNamed() || classMap->intfVlanDataHas(bound->intfId())) continue;
    steps.run([&] { fwSegment_->intfVlanRangeSetDel(bound->intfId()); });
  }
  steps.run([&] { updateLocalDataForVrfSegment(); });
  TWINLOG_FN(facility, 7, fn, " return");
}

Pith::String SegmentSM::classMapName() const {
  return inSegment ? inSegment->className() : Pith::String();
}

bool SegmentSM::hasIntfStatus(const Lanx::IntfId& intf) const {
  TWINLOG(facility, 8, handleClassMapFn, "Processing intf %s", intf);
  if (intfStatusDir->intfStatusHas(intf)) return true;
  TWINLOG(facility, 8, handleClassMapFn, "Intf%s not in intfStatus", intf);
  return false;
}

void SegmentSM::bindIntf(const Pith::Ptr<const IntfVlanRangeSet>& data, bool isL2) {
  const Lanx::IntfId& intf = data->intfId();
  if (!hasIntfStatus(intf)) return;
  if (isL2) {
    bindL2Intf(fwSegment_, fwSegment_->className(), intf, data);
    TWINLOG(facility, 8, handleClassMapFn, "Setting HW config for segment");
  } else if (const auto bound = bindVrfIntf(fwSegment_, fwSegment_->className(), intf, ipStatus)) {
    bound->vlanRangeDelAll();  // of the L2 class map that bound it before: it is bound whole now
  }
}

void SegmentSM::cleanClassmap() {
  FIREWALL_ENTRY("void Firewall::SegmentSM::cleanClassmap()", ": ");
  if (!fwSegment_) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  fwSegment_->intfVlanRangeSetDelAll();
  TWINLOG_FN(facility, 7, fn, " return");
}

void SegmentSM::handleFromSegment() { fromSegments_.handleFromSegment(); }

void SegmentSM::handleFromSegment(const Pith::String& name) {
  fromSegments_.handleFromSegment(name);
}

void SegmentSM::addInterimForwardingSegments() { fromSegments_.addInterimForwardingSegments(); }

void SegmentSM::updateSubcriberSegment(const Pith::String& from) {
  fromSegments_.updateSubcriberSegment(from);
}

void SegmentSM::updateLocalDataForVrfSegment() { fromSegments_.updateLocalDataForVrfSegment(); }

void SegmentSM::handleFallbackPolicy() { fromSegments_.handleFallbackPolicy(); }

void SegmentSM::removeFromSegments() { fromSegments_.removeFromSegments(); }

bool SegmentSM::isFromSegmentConfigured(const Pith::String& segment,
                                        const Pith::String& fromSegment) const {
  return fromSegments_.isFromSegmentConfigured(segment, fromSegment);
}

void SegmentSM::cleanup() {
  FIREWALL_ENTRY("void Firewall::SegmentSM::cleanup()", ": ");
  FIREWALL_ONLY_WHILE(isWorking());
  stage_.end();
  Kiv::AllSteps steps;
  steps.run([this] { removeFromSegments(); });
  for (Pith::Ptr<MatchListConfigPathSm> child : mlConfigPathSm()) {
    steps.run([&] { child->cleanup(); });
  }
  steps.run([this] { vrfSm->subcriberSideSegmentDel(segmentName); });
  vrfSm->serviceSideSegmentDel(segmentName);
  TWINLOG_FN(facility, 7, fn, " return");
}

}  // namespace Firewall
