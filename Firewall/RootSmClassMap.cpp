// Class maps: which interfaces, and which of their VLANs, belong to the segments that use a class
// map.
#include "Firewall/ClassMapName.h"
#include "Firewall/RootSm.h"
#include "Firewall/Trace.h"
#include "Firewall/VlanSets.h"
#include "framework/Kiv/AllSteps.h"

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
  Kiv::AllSteps steps;
  steps.run([this] { rootSm().handleClassMapIntfs(notifier()); });
  steps.run([this] {
    for (const auto& child : intfVlanData()) {
      const Lanx::IntfId intf = child.key;
      followEntry(*this, intf);
    }
    for (Pith::Ptr<const IntfVlanRangeSet> entry : notifier()->intfVlanData()) {
      followEntry(*this, entry->intfId());
    }
  });
}

void ClassMapSm::onAttribute(Pith::FieldId field, const void* key, const Pith::Change* /*change*/) {
  if (field != ClassMapFirewall::intfVlanDataField) return;
  const auto intf = *static_cast<const Lanx::IntfId*>(key);
  Kiv::AllSteps steps;
  steps.run([&] { rootSm().handleClassMapIntf(notifier(), intf); });
  steps.run([&] { followEntry(*this, intf); });
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
  if (!isWorking()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  Kiv::AllSteps steps;  // a class map that cannot be handled does not keep the others waiting
  for (Pith::Ptr<const ClassMapFirewall> classMap : inConfig->classMap()) {
    steps.run([&] { handleClassMap(classMap->name()); });
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void RootSm::handleClassMap(const Pith::String& name) {
  static constexpr Twinlog::Function fn("void Firewall::RootSm::handleClassMap(const String&)");
  TWINLOG_FN(facility, 8, fn, ": %s", name);
  if (!isWorking()) {
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
  if (!isWorking()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  Kiv::AllSteps steps;
  for (Pith::Ptr<const IntfVlanRangeSet> entry : inClassMap->intfVlanData()) {
    steps.run([&] { handleClassMapIntf(inClassMap, entry->intfId()); });
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void RootSm::handleClassMapIntf(const Pith::Ptr<const ClassMapFirewall>& inClassMap,
                                Lanx::IntfId intf) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::handleClassMapIntf(const PtrConst&, Lanx::IntfId)");
  TWINLOG_FN(facility, 8, fn, ": %s, %s", inClassMap->name(), intf.shortName());
  if (!isWorking()) {
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
  Kiv::AllSteps steps;
  for (auto user = outFirewallConfig->classUser(className, {}); user;
       user = outFirewallConfig->classUser(className, user->place)) {
    steps.run([&] { user->isL2() ? bindL2Segment(user->segment) : bindVrfSegment(user->segment); });
  }
}

void RootSm::deleteIntfSegmentAll(const Pith::String& className, Lanx::IntfId intf) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::deleteIntfSegmentAll(const String&, Lanx::IntfId)");
  TWINLOG_FN(facility, 8, fn, " className: %s intf: %s", className, intf.shortName());
  Kiv::AllSteps steps;
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
}

void RootSm::handleIntfVlan(const Pith::Ptr<const ClassMapFirewall>& inClassMap,
                            const Pith::Ptr<const IntfVlanRangeSet>& intfVlanData,
                            VlanRange range) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::handleIntfVlan(const PtrConst&, const PtrConst&, VlanRange)");
  TWINLOG_FN(facility, 8, fn, " class: %s intf: %s vlanRange: %s:%s", inClassMap->name(),
             intfVlanData->intfId().shortName(), range.first(), range.second());
  if (!isWorking()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  Kiv::AllSteps steps;
  const Pith::String& className = inClassMap->name();
  for (auto user = outFirewallConfig->classUser(className, ClassPlace::beforeL2()); user;
       user = outFirewallConfig->classUser(className, user->place)) {
    if (!user->segment->intfVlanRangeSetHas(intfVlanData->intfId())) continue;
    steps.run([&] { updateVlanSet(user->segment, intfVlanData); });
  }
}

void RootSm::updateVlanSet(const Pith::Ptr<FwSegment>& fwSegment,
                           const Pith::Ptr<const IntfVlanRangeSet>& intfVlanData) {
  Firewall::updateVlanSet(fwSegment, intfVlanData);
}

}  // namespace Firewall
