#include "Firewall/Segments/VrfSm.h"

#include <utility>

#include "Firewall/ConfigSources.h"
#include "Firewall/Segments/Receivers.h"
#include "Firewall/Segments/SegmentLinks.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"
#include "framework/Pith/Assert.h"

namespace Firewall {

VrfSm::VrfSm(VrfSmAttributes attributes)
    : Reactor(std::move(attributes)),
      vrfConfigSubscription_(*this, vrfConfig),
      inFirewallSubscription_(*this, inFirewall),
      hwCapabilitySubscription_(*this, hwCapability),
      globalPrefixOwners_(this->attributes(), stage_) {}

void VrfSm::start() { handleInitialized(); }

void VrfSm::vrfConfigDispatch(Pith::Publisher* /*publisher*/, Pith::Subscriber* /*subscriber*/,
                              Pith::FieldId field, const void* key,
                              const Pith::Change* /*change*/) {
  if (isZombie() || field != Vrf::prefixField) return;
  handleGlobalPrefix(*static_cast<const Lanx::IpGenPrefix*>(key));
}

void VrfSm::inFirewallDispatch(Pith::Publisher* /*publisher*/, Pith::Subscriber* /*subscriber*/,
                               Pith::FieldId field, const void* key,
                               const Pith::Change* /*change*/) {
  if (isZombie() || field != SegmentDir::segmentField) return;
  handleSegment(*static_cast<const Pith::String*>(key));
}

void VrfSm::hwCapabilityDispatch(Pith::Publisher* /*publisher*/, Pith::Subscriber* /*subscriber*/,
                                 Pith::FieldId field, const void* /*key*/,
                                 const Pith::Change* /*change*/) {
  if (isZombie() || field != HwCapability::forwardingSegmentsPolicySupportedField) return;
  handleForwardingSegmentsPolicySupported();
}

void VrfSm::serviceSideSegmentIs(const Pith::String& name) {
  serviceSideSegment_.insert(Pith::String(name));
}

void VrfSm::serviceSideSegmentDel(const Pith::String& name) { serviceSideSegment_.erase(name); }

void VrfSm::serviceSideSegmentDelAll() { serviceSideSegment_.clear(); }

const std::uint16_t* VrfSm::subcriberSideSegment(const Pith::String& name) const {
  const auto* const entry = subcriberSideSegment_.find(name);
  return entry == nullptr ? nullptr : &entry->value;
}

void VrfSm::subcriberSideSegmentIs(const Pith::String& name, std::uint16_t counter) {
  const auto [entry, isNew] = subcriberSideSegment_.insert({name, counter});
  if (!isNew && std::exchange(entry->value, counter) == counter) return;
  handleSubcriberSideSegment(name);
}

bool VrfSm::subcriberSideSegmentDel(const Pith::String& name) {
  const auto gone = subcriberSideSegment_.take(name);
  if (!gone) return false;
  handleSubcriberSideSegment(gone->key);
  return true;
}

void VrfSm::subcriberSideSegmentDelAll() { subcriberSideSegment_.clear(); }

Pith::Ptr<FwSegmentDir> VrfSm::segmentDirectory() const {
  if (vrfName.empty()) return outFirewallConfig->l2Seg();
  return outFirewallConfig->vrf(vrfName);
}

void VrfSm::handleInitialized() {
  FIREWALL_ENTRY("void Firewall::VrfSm::handleInitialized()", ": ");
  ActiveWorkManager::Handle work(activeWorkManager);
  stage_.begin();
  if (vrfName.empty()) {
    if (outFirewallConfig->l2Seg()) outFirewallConfig->l2SegDel();
    outFirewallConfig->l2SegIs("l2SegDir");
  } else {
    if (!outFirewallConfig->vrfHas(vrfName)) outFirewallConfig->vrfIs(vrfName);
    const Pith::Ptr<FwVrf> fwVrf = outFirewallConfig->vrf(vrfName);
    PITH_ASSERT_TEXT(fwVrf, "fwVrf && \" FwVrf not found in HwConfig\"");
    reconcileSegments(fwVrf);
    globalPrefixOwners_.reconcile(*fwVrf);
  }
  handleSegment();
  TWINLOG_FN(facility, 7, fn, " return");
  work.close();
}

void VrfSm::reconcileSegments(const Pith::Ptr<FwVrf>& fwVrf) const {
  static constexpr Twinlog::Function fn("void Firewall::VrfSm::handleInitialized()");
  Kiv::AllSteps steps;
  for (Pith::Ptr<FwSegment> segment : fwVrf->segment()) {
    const Pith::String& name = segment->name();
    if (isSegmentConfigured(fwConfigDir, vrfName, name)) continue;
    TWINLOG_FN(facility, 5, fn, " Clearning segment: %s", name);
    unlinkReceivers(fwVrf, *segment, steps);
    steps.run([&] { fwVrf->segmentDel(name); });
  }
}

void VrfSm::handleSegment() {
  FIREWALL_ENTRY("void Firewall::VrfSm::handleSegment()", ": ");
  if (inFirewall) {
    for (Pith::Ptr<const Segment> segment : inFirewall->segment()) handleSegment(segment->name());
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void VrfSm::handleSegment(const Pith::String& name) {
  FIREWALL_ENTRY("void Firewall::VrfSm::handleSegment(const String&)", ": %s", name);
  FIREWALL_ONLY_WHILE(isWorking());
  ActiveWorkManager::Handle work(activeWorkManager);
  Kiv::AllSteps steps;
  // The configured segment has gone, or another one of its name has taken its place.
  const Pith::Ptr<SegmentSM> child = segmentSm(name);
  if (child && child->attributes().inSegment != inputSegment(name)) {
    takeDown(child, steps);
  }
  const Pith::Ptr<const Segment> input = inputSegment(name);
  const Pith::Ptr<FwSegmentDir> directory = segmentDirectory();
  if (input && directory && !segmentSmHas(name)) {
    if (!vrfName.empty()) steps.run([&] { processGlobalPrefixesForSegment(name); });
    steps.run([&] {
      segmentSmIs(name, vrfName, fwConfigDir, input, inConfig, inFirewall, directory,
                  outFirewallConfig, intfStatusDir, ipStatus, matchListConfigDir, rootSm,
                  hwCapability, this, aclListConfig);
    });
    // A subscriber may have removed the segment, or made another, while the reactor was not there
    // yet.
    if (inputSegment(name) != input) steps.run([&] { handleSegment(name); });
  }
  TWINLOG_FN(facility, 7, fn, " return");
  steps.run([&] { work.close(); });
}

void VrfSm::takeDown(const Pith::Ptr<SegmentSM>& child, Kiv::AllSteps& steps) {
  const Pith::String& name = child->attributes().segmentName;
  steps.run([&] { child->cleanup(); });
  if (segmentSm(name) == child) steps.run([&] { segmentSmDel(name); });
  // The output has been cleared already when the last enabled source leaves.
  if (vrfName.empty() || !outFirewallConfig->vrfHas(vrfName)) return;
  steps.run([&] { processGlobalPrefixesForSegment(name); });
}

void VrfSm::handleSubcriberSideSegment(const Pith::String& name) {
  FIREWALL_ENTRY("void Firewall::VrfSm::handleSubcriberSideSegment(const String&)", " seg:%s",
                 name);
  if (!hwCapability || !hwCapability->forwardingSegmentsPolicySupported()) return;
  eachServiceSideSegment([&](SegmentSM& segment) { segment.updateSubcriberSegment(name); });
}

void VrfSm::handleForwardingSegmentsPolicySupported() {
  FIREWALL_ENTRY("void Firewall::VrfSm::handleForwardingSegmentsPolicySupported()", ": ");
  eachServiceSideSegment(
      [](SegmentSM& segment) { segment.handleFromSegment("forwarding-segments"); });
}

template <class Visit>
void VrfSm::eachServiceSideSegment(const Visit& visit) const {
  Kiv::AllSteps steps;
  for (const Pith::String& each : serviceSideSegment_) {
    // A segment's reactor that is still being made is not among the children yet.
    if (const Pith::Ptr<SegmentSM> segment = segmentSm(each)) steps.run([&] { visit(*segment); });
  }
}

void VrfSm::handleGlobalPrefix(const Lanx::IpGenPrefix& prefix) {
  globalPrefixOwners_.handleGlobalPrefix(prefix);
}

void VrfSm::processGlobalPrefix(const Pith::Ptr<const Vrf>& vrf, bool configured,
                                const Lanx::IpGenPrefix& prefix) {
  globalPrefixOwners_.processGlobalPrefix(vrf, configured, prefix);
}

void VrfSm::processGlobalPrefixesForSegment(const Pith::String& segment) {
  globalPrefixOwners_.processGlobalPrefixesForSegment(segment);
}

void VrfSm::updateOrRemoveGlobalPrefix(const Lanx::IpGenPrefix& prefix,
                                       const Pith::String& segment) {
  globalPrefixOwners_.updateOrRemoveGlobalPrefix(prefix, segment);
}

Pith::String VrfSm::getSegmentForMatchListPrefix(const Lanx::IpGenPrefix& prefix) const {
  return globalPrefixOwners_.getSegmentForMatchListPrefix(prefix);
}

Pith::String VrfSm::getGlobalPrefixSegment(const Lanx::IpGenPrefix& prefix) const {
  return globalPrefixOwners_.getGlobalPrefixSegment(prefix);
}

void VrfSm::handleIntfs(const Pith::String& segment) {
  if (const Pith::Ptr<SegmentSM> child = segmentSm(segment)) child->updateLocalDataForVrfSegment();
}

void VrfSm::cleanup() {
  FIREWALL_ENTRY("void Firewall::VrfSm::cleanup()", " Vrf:%s", vrfName);
  FIREWALL_ONLY_WHILE(isWorking());
  stage_.end();
  ActiveWorkManager::Handle work(activeWorkManager);
  Kiv::AllSteps steps;
  for (Pith::Ptr<SegmentSM> child : segmentSm()) takeDown(child, steps);
  if (vrfName.empty()) {
    steps.run([&] { outFirewallConfig->l2SegDel(); });
  } else if (isHeldByOtherSource()) {
    static const Vrf::prefixCollection none;
    for (const auto& entry : vrfConfig ? vrfConfig->prefix() : none) {
      const Lanx::IpGenPrefix prefix = entry.key;
      TWINLOG_FN(facility, 5, fn, " Processing global prefix: %s for vrf: %s", prefix, vrfName);
      steps.run([&] { globalPrefixOwners_.release(prefix); });
    }
  } else {
    steps.run([&] { outFirewallConfig->vrfDel(vrfName); });
  }
  TWINLOG_FN(facility, 7, fn, " return");
  steps.run([&] { work.close(); });
}

bool VrfSm::isHeldByOtherSource() const {
  static constexpr Twinlog::Function fn("void Firewall::VrfSm::cleanup()");
  return anySource(*fwConfigDir, [&](const Pith::String& source, const Config::PtrConst& config) {
    const bool hasVrf = config->vrfHas(vrfName);
    TWINLOG_FN(facility, 8, fn, " Source: %s hasVrf: %s enabled: %s", source, hasVrf,
               config->enabled());
    if (config == inConfig || !hasVrf || !config->enabled()) return false;
    TWINLOG_FN(facility, 5, fn, " Source: %s still has configuration enabled", source);
    return true;
  });
}

}  // namespace Firewall
