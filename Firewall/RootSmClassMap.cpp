// Class maps: which interfaces, and which of their VLANs, belong to the segments that use a class
// map.
#include "Firewall/ClassMapName.h"
#include "Firewall/RootSm.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/Deferred.h"
#include "framework/Lanx/RangeMaskGen.h"
#include "framework/Pith/Assert.h"

KIV_REACTOR_DEFINE(Firewall::RootSm::ClassMapSm)
KIV_REACTOR_DEFINE(Firewall::RootSm::ClassMapSm::NestedSm_IntfVlanData)

namespace Firewall {

using ClassMapSm = RootSm::ClassMapSm;

namespace {

// The nested reactor of an interface comes and goes with its entry. An entry that was replaced in
// one go gets a new reactor.
void followEntry(ClassMapSm& classMapSm, const Lanx::IntfId& intf) {
  const auto entry = classMapSm.notifier()->intfVlanData(intf);
  const auto child = classMapSm.intfVlanData(intf);
  if (child && child->notifier() != entry) classMapSm.intfVlanDataDel(intf);
  if (entry) classMapSm.intfVlanDataIs(entry);
}

Pith::String directoryName(const FwSegment& segment) {
  const auto* const directory = dynamic_cast<const FwSegmentDir*>(segment.parent());
  return directory == nullptr ? Pith::String() : directory->name();
}

}  // namespace

Pith::Ptr<ClassMapSm::NestedSm_IntfVlanData> ClassMapSm::intfVlanDataIs(
    const Pith::Ptr<const IntfVlanRangeSet>& data) {
  return intfVlanData_.is(*this, data->intfId(), data);
}

void ClassMapSm::start(const Pith::Ptr<const ClassMapFirewall>& classMap) {
  for (Pith::Ptr<const IntfVlanRangeSet> entry : classMap->intfVlanData()) intfVlanDataIs(entry);
}

void ClassMapSm::handleNotifier() {
  Kiv::Deferred steps;
  steps.run([this] { rootSm().handleClassMapIntfs(notifier()); });
  steps.run([this] {
    for (Pith::Ptr<NestedSm_IntfVlanData> child : intfVlanData()) {
      followEntry(*this, child->notifier()->intfId());
    }
    for (Pith::Ptr<const IntfVlanRangeSet> entry : notifier()->intfVlanData()) {
      followEntry(*this, entry->intfId());
    }
  });
  steps.rethrow();
}

void ClassMapSm::onAttribute(Pith::FieldId field, const void* key, const Pith::Change* /*change*/) {
  if (field != ClassMapFirewall::intfVlanDataField) return;
  const auto intf = *static_cast<const Lanx::IntfId*>(key);
  Kiv::Deferred steps;
  steps.run([&] { rootSm().handleClassMapIntf(notifier(), intf); });
  steps.run([&] { followEntry(*this, intf); });
  steps.rethrow();
}

void ClassMapSm::NestedSm_IntfVlanData::onAttribute(Pith::FieldId field, const void* key,
                                                    const Pith::Change* /*change*/) {
  if (field != IntfVlanRangeSet::vlanRangeField) return;
  kiv_handleIntfVlanData_vlanRange(*static_cast<const VlanRange*>(key));
}

void ClassMapSm::NestedSm_IntfVlanData::kiv_handleIntfVlanData_vlanRange(const VlanRange& range) {
  if (!notifier() || !owner().notifier()) return;
  owner().rootSm().handleIntfVlan(owner().notifier(), notifier(), range);
}

void RootSm::handleClassMap() {
  static constexpr Twinlog::Function fn("void Firewall::RootSm::handleClassMap()");
  TWINLOG_FN(facility, 8, fn, ": ");
  if (!initialized_) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  Kiv::Deferred steps;  // a class map that cannot be handled does not keep the others waiting
  for (Pith::Ptr<const ClassMapFirewall> classMap : inConfig->classMap()) {
    steps.run([&] { handleClassMap(classMap->name()); });
  }
  TWINLOG_FN(facility, 7, fn, " return");
  steps.rethrow();
}

void RootSm::handleClassMap(const Pith::String& name) {
  static constexpr Twinlog::Function fn("void Firewall::RootSm::handleClassMap(const String&)");
  TWINLOG_FN(facility, 8, fn, ": %s", name);
  if (!initialized_) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  if (const Pith::Ptr<const ClassMapFirewall> classMap = inConfig->classMap(name)) {
    handleClassMapIntfs(classMap);
  } else {
    deleteIntfSegmentAll(name, Lanx::IntfId());
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void RootSm::handleClassMapIntfs(const Pith::Ptr<const ClassMapFirewall>& inClassMap) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::handleClassMapIntfs(const PtrConst&)");
  TWINLOG_FN(facility, 8, fn, ": %s", inClassMap->name());
  if (!initialized_) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  Kiv::Deferred steps;
  for (Pith::Ptr<const IntfVlanRangeSet> entry : inClassMap->intfVlanData()) {
    steps.run([&] { handleClassMapIntf(inClassMap, entry->intfId()); });
  }
  TWINLOG_FN(facility, 7, fn, " return");
  steps.rethrow();
}

void RootSm::handleClassMapIntf(const Pith::Ptr<const ClassMapFirewall>& inClassMap,
                                Lanx::IntfId intf) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::handleClassMapIntf(const PtrConst&, Lanx::IntfId)");
  TWINLOG_FN(facility, 8, fn, ": %s, %s", inClassMap->name(), intf.shortName());
  if (!initialized_) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  if (inClassMap->intfVlanDataHas(intf)) {
    addIntfSegmentAll(inClassMap->name(), intf);
  } else {
    deleteIntfSegmentAll(inClassMap->name(), intf);
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void RootSm::addIntfSegmentAll(const Pith::String& className, Lanx::IntfId intf) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::addIntfSegmentAll(const String&, Lanx::IntfId)");
  TWINLOG_FN(facility, 8, fn, " className: %s intf: %s", className, intf.shortName());
  if (!intfStatusDir->intfStatusHas(intf)) {
    TWINLOG_FN(facility, 8, fn, " Early return, no intfStatus");
    return;
  }
  const auto bindVrfSegment = [&](const Pith::Ptr<FwSegment>& segment) {
    const Pith::Ptr<VrfSm> vrf = vrfSm(directoryName(*segment));
    if (doCheckIntfInVrf(className, intf, ipStatus)) {
      segment->intfVlanRangeSetIs(className, intf);
    } else {
      segment->intfVlanRangeSetDel(intf);
    }
    if (!vrf) return;
    const Pith::Ptr<SegmentSM> segmentSm = vrf->segmentSm(segment->name());
    if (segmentSm) segmentSm->updateLocalDataForVrfSegment();
  };
  const auto bindL2Segment = [&](const Pith::Ptr<FwSegment>& segment) {
    TWINLOG(facility, 8, fn, "Setting up L2 segment");
    segment->intfVlanRangeSetIs(className, intf);
    const Pith::Ptr<const ClassMapFirewall> classMap = inConfig->classMap(className);
    const auto vlans = classMap ? classMap->intfVlanData(intf) : nullptr;
    if (vlans) updateVlanSet(segment, vlans);
  };
  Kiv::Deferred steps;
  for (auto user = outFirewallConfig->classUser(className, {}); user;
       user = outFirewallConfig->classUser(className, user->place)) {
    steps.run([&] { user->isL2() ? bindL2Segment(user->segment) : bindVrfSegment(user->segment); });
  }
  steps.rethrow();
}

void RootSm::deleteIntfSegmentAll(const Pith::String& className, Lanx::IntfId intf) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::deleteIntfSegmentAll(const String&, Lanx::IntfId)");
  TWINLOG_FN(facility, 8, fn, " className: %s intf: %s", className, intf.shortName());
  Kiv::Deferred steps;
  for (auto user = outFirewallConfig->classUser(className, {}); user;
       user = outFirewallConfig->classUser(className, user->place)) {
    steps.run([&] {
      if (intf.empty()) {
        user->segment->intfVlanRangeSetDelAll();
      } else {
        user->segment->intfVlanRangeSetDel(intf);
      }
    });
  }
  steps.rethrow();
}

void RootSm::handleIntfVlan(const Pith::Ptr<const ClassMapFirewall>& inClassMap,
                            const Pith::Ptr<const IntfVlanRangeSet>& intfVlanData,
                            VlanRange range) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::handleIntfVlan(const PtrConst&, const PtrConst&, VlanRange)");
  TWINLOG_FN(facility, 8, fn, " class: %s intf: %s vlanRange: %s:%s", inClassMap->name(),
             intfVlanData->intfId().shortName(), range.first(), range.second());
  if (!initialized_) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  Kiv::Deferred steps;
  const Pith::String& className = inClassMap->name();
  for (auto user = outFirewallConfig->classUser(className, ClassPlace::beforeL2()); user;
       user = outFirewallConfig->classUser(className, user->place)) {
    if (!user->segment->intfVlanRangeSetHas(intfVlanData->intfId())) continue;
    steps.run([&] { updateVlanSet(user->segment, intfVlanData); });
  }
  steps.rethrow();
}

void RootSm::updateVlanSet(const Pith::Ptr<FwSegment>& fwSegment,
                           const Pith::Ptr<const IntfVlanRangeSet>& intfVlanData) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::updateVlanSet(const Ptr&, const PtrConst&)");
  TWINLOG_FN(facility, 8, fn, " className: %s intf: %s", fwSegment->className(),
             intfVlanData->intfId().shortName());
  const auto output = fwSegment->intfVlanRangeSet(intfVlanData->intfId());
  PITH_ASSERT_TEXT(output, "fwSegment->intfVlanRangeSetHas( cliIntfVlanData->intfId() )");

  // Whole before the first write: a range that is none leaves the output as it was.
  Kiv::HashSet<VlanRange> wanted;
  std::vector<Lanx::RangeMaskGen<std::uint16_t>::Entry> blocks;
  for (const VlanRange& range : intfVlanData->vlanRange()) {
    blocks.clear();
    Lanx::RangeMaskGen<std::uint16_t>::run(range.first(), range.second(), blocks);
    for (const auto& block : blocks) wanted.insert(VlanRange(block.low, block.high));
  }
  Kiv::Deferred steps;
  for (const VlanRange range : output->vlanRange()) {
    if (!wanted.has(range)) steps.run([&] { output->vlanRangeDel(range); });
  }
  for (const VlanRange& range : wanted) steps.run([&] { output->vlanRangeIs(range); });
  steps.rethrow();
}

}  // namespace Firewall
