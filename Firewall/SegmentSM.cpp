#include "Firewall/SegmentSM.h"

#include <utility>

#include "Firewall/ClassMapName.h"
#include "Firewall/Trace.h"
#include "Firewall/VlanSets.h"
#include "Firewall/VrfSm.h"
#include "framework/Kiv/AllSteps.h"

namespace Firewall {

SegmentSM::SegmentSM(SegmentSMAttributes attributes)
    : Reactor(std::move(attributes)),
      inSegmentSubscription_(*this, inSegment),
      matchListConfigDirSubscription_(*this, matchListConfigDir) {}

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
  static constexpr Twinlog::Function fn("void Firewall::SegmentSM::handleInitialized()");
  TWINLOG_FN(facility, 8, fn, ": %s", segmentName);
  stage_.begin();
  if (fwVrfConfig->segmentHas(segmentName)) {
    TWINLOG(facility, 6, fn, "Delete stale interim segment:%s", segmentName);
    removeFromSegments();
  }
  fwVrfConfig->segmentIs(segmentName);
  linkReceivers();
  fwSegment_ = fwVrfConfig->segment(segmentName);
  handleClassMap();
  handleMatchListConfigPath();
  handleFromSegment();
  handleFallbackPolicy();
  TWINLOG_FN(facility, 7, fn, " return");
}

void SegmentSM::handleMatchListConfigPath() {
  static constexpr Twinlog::Function fn("void Firewall::SegmentSM::handleMatchListConfigPath()");
  TWINLOG_FN(facility, 8, fn, ": ");
  if (!matchListConfigDir) return;
  for (auto path = matchListConfigDir->entityPtrIteratorConst(); path; ++path) {
    const Pith::String name = path.key();
    handleMatchListConfigPath(name);
  }
}

void SegmentSM::handleMatchListConfigPath(const Pith::String& name) {
  static constexpr Twinlog::Function fn(
      "void Firewall::SegmentSM::handleMatchListConfigPath(const String&)");
  TWINLOG_FN(facility, 8, fn, " MatchList config path:%s", name);
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
}

namespace {

constexpr Twinlog::Function handleClassMapFn("void Firewall::SegmentSM::handleClassMap()");

}  // namespace

void SegmentSM::handleClassMap() {
  static constexpr const Twinlog::Function& fn = handleClassMapFn;
  const Pith::String className = classMapName();
  TWINLOG_FN(facility, 8, fn, " className:%s", className);
  if (!isWorking()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
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
  // A subscriber may name another class map meanwhile, which is then bound already; and the name
  // may not have been written for want of memory.
  const auto isNamed = [&] {
    return classMapName() == className && fwSegment_->className() == className;
  };
  for (Pith::Ptr<const IntfVlanRangeSet> data : classMap->intfVlanData()) {
    if (!isNamed()) break;
    steps.run([&] { isL2 ? bindL2Intf(data) : bindVrfIntf(data->intfId()); });
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

void SegmentSM::bindL2Intf(const Pith::Ptr<const IntfVlanRangeSet>& data) {
  if (!hasIntfStatus(data->intfId())) return;
  fwSegment_->intfVlanRangeSetIs(fwSegment_->className(), data->intfId());
  updateVlanSet(fwSegment_, data);
  TWINLOG(facility, 8, handleClassMapFn, "Setting HW config for segment");
}

void SegmentSM::bindVrfIntf(const Lanx::IntfId& intf) {
  if (!hasIntfStatus(intf)) return;
  if (!doCheckIntfInVrf(fwSegment_->className(), intf, ipStatus)) {
    fwSegment_->intfVlanRangeSetDel(intf);
    return;
  }
  const auto bound = fwSegment_->intfVlanRangeSetIs(fwSegment_->className(), intf);
  bound->vlanRangeDelAll();  // of the L2 class map that bound it before: it is bound whole now
}

void SegmentSM::cleanClassmap() {
  static constexpr Twinlog::Function fn("void Firewall::SegmentSM::cleanClassmap()");
  TWINLOG_FN(facility, 8, fn, ": ");
  if (!fwSegment_) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  fwSegment_->intfVlanRangeSetDelAll();
  TWINLOG_FN(facility, 7, fn, " return");
}

void SegmentSM::updateLocalDataForVrfSegment() {
  static constexpr Twinlog::Function fn("void Firewall::SegmentSM::updateLocalDataForVrfSegment()");
  TWINLOG_FN(facility, 8, fn, ": ");
  if (!isWorking()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  if (fwSegment_->intfVlanRangeSet().empty()) {
    vrfSm->serviceSideSegmentIs(segmentName);
    return;
  }
  vrfSm->serviceSideSegmentDel(segmentName);
  const std::uint16_t* const counter = vrfSm->subcriberSideSegment(segmentName);
  const unsigned next = (counter == nullptr ? 0U : *counter) + 1U;
  vrfSm->subcriberSideSegmentIs(segmentName, static_cast<std::uint16_t>(next));
}

void SegmentSM::cleanup() {
  static constexpr Twinlog::Function fn("void Firewall::SegmentSM::cleanup()");
  TWINLOG_FN(facility, 8, fn, ": ");
  if (!isWorking()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
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

SegmentSM::Ptr segmentSMFactory(
    Pith::String segmentName, Pith::String vrfName, Pith::Ptr<const Kiv::Dir> fwConfigDir,
    Pith::Ptr<const Segment> inSegment, Pith::Ptr<const Config> inConfig,
    Pith::Ptr<const SegmentDir> inFirewall, Pith::Ptr<FwSegmentDir> fwVrfConfig,
    Pith::Ptr<HwConfig> outFirewallConfig,
    Pith::Ptr<const Interface::AllIntfStatusDir> intfStatusDir,
    Pith::Ptr<const Ip::Status> ipStatus, Pith::Ptr<const Kiv::Dir> matchListConfigDir,
    RootSm* rootSm, Pith::Ptr<const HwCapability> hwCapability, VrfSm* vrfSm,
    Pith::Ptr<const Acl::AclListConfig> aclListConfig,
    Pith::Ptr<ActiveWorkManager> activeWorkManager) {
  return SegmentSM::SegmentSMIs(std::move(segmentName), std::move(vrfName), std::move(fwConfigDir),
                                std::move(inSegment), std::move(inConfig), std::move(inFirewall),
                                std::move(fwVrfConfig), std::move(outFirewallConfig),
                                std::move(intfStatusDir), std::move(ipStatus),
                                std::move(matchListConfigDir), rootSm, std::move(hwCapability),
                                vrfSm, std::move(aclListConfig), std::move(activeWorkManager));
}

}  // namespace Firewall
