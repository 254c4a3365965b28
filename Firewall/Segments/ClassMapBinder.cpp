#include "Firewall/Segments/ClassMapBinder.h"

#include "Firewall/Segments/IntfBinding.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"

namespace Firewall {

namespace {

Pith::String directoryName(const FwSegment& segment) {
  const auto* const directory = dynamic_cast<const FwSegmentDir*>(segment.parent());
  return directory == nullptr ? Pith::String() : directory->name();
}

}  // namespace

void ClassMapBinder::handleClassMap() const {
  FIREWALL_ENTRY("void Firewall::RootSm::handleClassMap()", ": ");
  FIREWALL_ONLY_WHILE(stage_.isWorking());
  Kiv::AllSteps steps;  // a class map that cannot be handled does not keep the others waiting
  for (Pith::Ptr<const ClassMapFirewall> classMap : at_.inConfig->classMap()) {
    steps.run([&] { handleClassMap(classMap->name()); });
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void ClassMapBinder::handleClassMap(const Pith::String& name) const {
  FIREWALL_ENTRY("void Firewall::RootSm::handleClassMap(const String&)", ": %s", name);
  FIREWALL_ONLY_WHILE(stage_.isWorking());
  if (const Pith::Ptr<const ClassMapFirewall> classMap = at_.inConfig->classMap(name)) {
    handleClassMapIntfs(classMap);
  } else {
    deleteIntfSegmentAll(name, Lanx::IntfId());
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void ClassMapBinder::handleClassMapIntfs(
    const Pith::Ptr<const ClassMapFirewall>& inClassMap) const {
  FIREWALL_ENTRY("void Firewall::RootSm::handleClassMapIntfs(const PtrConst&)", ": %s",
                 inClassMap->name());
  FIREWALL_ONLY_WHILE(stage_.isWorking());
  Kiv::AllSteps steps;
  for (Pith::Ptr<const IntfVlanRangeSet> entry : inClassMap->intfVlanData()) {
    steps.run([&] { handleClassMapIntf(inClassMap, entry->intfId()); });
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void ClassMapBinder::handleClassMapIntf(const Pith::Ptr<const ClassMapFirewall>& inClassMap,
                                        Lanx::IntfId intf) const {
  FIREWALL_ENTRY("void Firewall::RootSm::handleClassMapIntf(const PtrConst&, Lanx::IntfId)",
                 ": %s, %s", inClassMap->name(), intf.shortName());
  FIREWALL_ONLY_WHILE(stage_.isWorking());
  if (inClassMap->intfVlanDataHas(intf)) {
    addIntfSegmentAll(inClassMap->name(), intf);
  } else {
    deleteIntfSegmentAll(inClassMap->name(), intf);
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void ClassMapBinder::addIntfSegmentAll(const Pith::String& className, Lanx::IntfId intf) const {
  FIREWALL_ENTRY("void Firewall::RootSm::addIntfSegmentAll(const String&, Lanx::IntfId)",
                 " className: %s intf: %s", className, intf.shortName());
  if (!at_.intfStatusDir->intfStatusHas(intf)) {
    TWINLOG_FN(facility, 8, fn, " Early return, no intfStatus");
    return;
  }
  Kiv::AllSteps steps;
  for (auto user = at_.outFirewallConfig->classUser(className, {}); user;
       user = at_.outFirewallConfig->classUser(className, user->place)) {
    steps.run([&] {
      if (user->isL2()) {
        bindToL2Segment(className, intf, user->segment);
      } else {
        bindToVrfSegment(className, intf, user->segment);
      }
    });
  }
}

void ClassMapBinder::bindToVrfSegment(const Pith::String& className, const Lanx::IntfId& intf,
                                      const Pith::Ptr<FwSegment>& segment) const {
  const Pith::Ptr<VrfSm> vrfSm = vrfs_.find(directoryName(*segment));
  bindVrfIntf(segment, className, intf, at_.ipStatus);
  if (vrfSm) vrfSm->handleIntfs(segment->name());
}

void ClassMapBinder::bindToL2Segment(const Pith::String& className, const Lanx::IntfId& intf,
                                     const Pith::Ptr<FwSegment>& segment) const {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::addIntfSegmentAll(const String&, Lanx::IntfId)");
  TWINLOG(facility, 8, fn, "Setting up L2 segment");
  const Pith::Ptr<const ClassMapFirewall> classMap = at_.inConfig->classMap(className);
  bindL2Intf(segment, className, intf, classMap ? classMap->intfVlanData(intf) : nullptr);
}

void ClassMapBinder::deleteIntfSegmentAll(const Pith::String& className, Lanx::IntfId intf) const {
  FIREWALL_ENTRY("void Firewall::RootSm::deleteIntfSegmentAll(const String&, Lanx::IntfId)",
                 " className: %s intf: %s", className, intf.shortName());
  Kiv::AllSteps steps;
  for (auto user = at_.outFirewallConfig->classUser(className, {}); user;
       user = at_.outFirewallConfig->classUser(className, user->place)) {
    steps.run([&] {
      if (intf.empty()) {
        user->segment->intfVlanRangeSetDelAll();
      } else {
        user->segment->intfVlanRangeSetDel(intf);
      }
    });
  }
}

void ClassMapBinder::handleIntfVlan(const Pith::Ptr<const ClassMapFirewall>& inClassMap,
                                    const Pith::Ptr<const IntfVlanRangeSet>& intfVlanData,
                                    VlanRange range) const {
  FIREWALL_ENTRY(
      "void Firewall::RootSm::handleIntfVlan(const PtrConst&, const PtrConst&, VlanRange)",
      " class: %s intf: %s vlanRange: %s:%s", inClassMap->name(),
      intfVlanData->intfId().shortName(), range.first(), range.second());
  FIREWALL_ONLY_WHILE(stage_.isWorking());
  Kiv::AllSteps steps;
  const Pith::String& className = inClassMap->name();
  for (auto user = at_.outFirewallConfig->classUser(className, ClassPlace::beforeL2()); user;
       user = at_.outFirewallConfig->classUser(className, user->place)) {
    if (!user->segment->intfVlanRangeSetHas(intfVlanData->intfId())) continue;
    steps.run([&] { updateVlanSet(user->segment, intfVlanData); });
  }
}

}  // namespace Firewall
