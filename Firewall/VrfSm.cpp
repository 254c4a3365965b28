#include "Firewall/VrfSm.h"

#include <optional>
#include <utility>

#include "Firewall/Receivers.h"
#include "Firewall/SegmentLinks.h"
#include "Firewall/Sources.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"
#include "framework/Pith/Assert.h"

namespace Firewall {

VrfSm::VrfSm(VrfSmAttributes attributes)
    : Reactor(std::move(attributes)),
      vrfConfigSubscription_(*this, vrfConfig),
      inFirewallSubscription_(*this, inFirewall),
      hwCapabilitySubscription_(*this, hwCapability) {}

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
  static constexpr Twinlog::Function fn("void Firewall::VrfSm::handleInitialized()");
  TWINLOG_FN(facility, 8, fn, ": ");
  ActiveWorkManager::Handle work(activeWorkManager);
  stage_.begin();
  if (vrfName.empty()) {
    if (outFirewallConfig->l2Seg()) outFirewallConfig->l2SegDel();
    outFirewallConfig->l2SegIs("l2SegDir");
  } else {
    if (!outFirewallConfig->vrfHas(vrfName)) outFirewallConfig->vrfIs(vrfName);
    const Pith::Ptr<FwVrf> fwVrf = outFirewallConfig->vrf(vrfName);
    PITH_ASSERT_TEXT(fwVrf, "fwVrf && \" FwVrf not found in HwConfig\"");
    reconcile(fwVrf);
  }
  handleSegment();
  TWINLOG_FN(facility, 7, fn, " return");
  work.close();
}

namespace {

constexpr Twinlog::Function reconcileFn("void Firewall::VrfSm::handleInitialized()");

// That of the first enabled source that gives the prefix to a segment that is configured; or empty.
Pith::String configuredSegment(const Pith::Ptr<const Kiv::Dir>& fwConfigDir,
                               const Pith::String& vrfName, const Lanx::IpGenPrefix& prefix) {
  Pith::String segment;
  const L3::VrfName vrfKey(vrfName);
  anySource(*fwConfigDir, [&](const Pith::String&, const Config::PtrConst& config) {
    const Vrf::PtrConst vrf = config->enabled() ? config->vrf(vrfKey) : nullptr;
    const Pith::String* const named = vrf ? vrf->prefix(prefix) : nullptr;
    if (named == nullptr || !isSegmentConfigured(fwConfigDir, vrfName, *named)) return false;
    segment = *named;
    return true;
  });
  return segment;
}

}  // namespace

void VrfSm::reconcile(const Pith::Ptr<FwVrf>& fwVrf) const {
  reconcileSegments(fwVrf);
  if (takesVrfWideList()) reconcilePrefixes(fwVrf);
}

void VrfSm::reconcileSegments(const Pith::Ptr<FwVrf>& fwVrf) const {
  Kiv::AllSteps steps;
  for (Pith::Ptr<FwSegment> segment : fwVrf->segment()) {
    const Pith::String& name = segment->name();
    if (isSegmentConfigured(fwConfigDir, vrfName, name)) continue;
    TWINLOG_FN(facility, 5, reconcileFn, " Clearning segment: %s", name);
    unlinkReceivers(fwVrf, *segment, steps);
    steps.run([&] { fwVrf->segmentDel(name); });
  }
}

void VrfSm::reconcilePrefixes(const Pith::Ptr<FwVrf>& fwVrf) const {
  Kiv::HashSet<Lanx::IpGenPrefix> leftToLists;  // by a source that gives them to no segment
  for (const auto& entry : fwVrf->prefixList()) {
    const Lanx::IpGenPrefix prefix = entry.key;
    const std::optional<Pith::String> named = globalPrefixSegment(prefix);
    Pith::String segment = named.value_or("");
    if (!segment.empty() && !isSegmentConfigured(fwConfigDir, vrfName, segment)) {
      segment = configuredSegment(fwConfigDir, vrfName, prefix);
    }
    if (!segment.empty()) {
      TWINLOG_FN(facility, 5, reconcileFn, " Updating segment for prefix: %s", prefix);
      fwVrf->prefixListIs(prefix, segment);
    } else if (getSegmentForMatchListPrefix(prefix).empty()) {
      TWINLOG_FN(facility, 5, reconcileFn, " Removing prefix: %s", prefix);
      fwVrf->prefixListDel(prefix);
    } else if (named) {
      leftToLists.insert(Lanx::IpGenPrefix(prefix));
    }
  }
  replayGlobalPrefixes(*fwVrf, leftToLists);
}

// What is there already stays, but for those: it was right just now, and among the sources the
// first wins.
void VrfSm::replayGlobalPrefixes(FwVrf& fwVrf, Kiv::HashSet<Lanx::IpGenPrefix>& leftToLists) const {
  anySource(*fwConfigDir, [&](const Pith::String& source, const Config::PtrConst& config) {
    const Vrf::PtrConst vrf = config->enabled() ? config->vrf(vrfName) : nullptr;
    if (!vrf) return false;
    for (const auto& entry : vrf->prefix()) {
      const Lanx::IpGenPrefix prefix = entry.key;
      const Pith::String segment = entry.value;
      if (segment.empty()) continue;
      if (fwVrf.prefixListHas(prefix) && !leftToLists.has(prefix)) continue;
      if (!isSegmentConfigured(fwConfigDir, vrfName, segment)) continue;
      leftToLists.erase(prefix);
      TWINLOG_FN(facility, 5, reconcileFn, " Replaying global prefix: %s for source: %s Vrf: %s",
                 prefix, source, vrfName);
      TWINLOG_FN(facility, 5, reconcileFn, " Updating segment for prefix: %s", prefix);
      fwVrf.prefixListIs(prefix, segment);
    }
    return false;
  });
}

void VrfSm::handleSegment() {
  static constexpr Twinlog::Function fn("void Firewall::VrfSm::handleSegment()");
  TWINLOG_FN(facility, 8, fn, ": ");
  if (inFirewall) {
    for (Pith::Ptr<const Segment> segment : inFirewall->segment()) handleSegment(segment->name());
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void VrfSm::handleSegment(const Pith::String& name) {
  static constexpr Twinlog::Function fn("void Firewall::VrfSm::handleSegment(const String&)");
  TWINLOG_FN(facility, 8, fn, ": %s", name);
  if (!isWorking()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  ActiveWorkManager::Handle work(activeWorkManager);
  Kiv::AllSteps steps;
  // Gone, or another one of its name was made in its place.
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
  }
  TWINLOG_FN(facility, 7, fn, " return");
  steps.run([&] { work.close(); });
}

void VrfSm::takeDown(const Pith::Ptr<SegmentSM>& child, Kiv::AllSteps& steps) {
  const Pith::String& name = child->attributes().segmentName;
  steps.run([&] { child->cleanup(); });
  if (segmentSm(name) == child) steps.run([&] { segmentSmDel(name); });
  // When the last source leaves, the output was cleared before.
  if (vrfName.empty() || !outFirewallConfig->vrfHas(vrfName)) return;
  steps.run([&] { processGlobalPrefixesForSegment(name); });
}

void VrfSm::handleSubcriberSideSegment(const Pith::String& name) {
  static constexpr Twinlog::Function fn(
      "void Firewall::VrfSm::handleSubcriberSideSegment(const String&)");
  TWINLOG_FN(facility, 8, fn, " seg:%s", name);
  if (!hwCapability || !hwCapability->forwardingSegmentsPolicySupported()) return;
  eachServiceSideSegment([&](SegmentSM& segment) { segment.updateSubcriberSegment(name); });
}

void VrfSm::handleForwardingSegmentsPolicySupported() {
  static constexpr Twinlog::Function fn(
      "void Firewall::VrfSm::handleForwardingSegmentsPolicySupported()");
  TWINLOG_FN(facility, 8, fn, ": ");
  eachServiceSideSegment(
      [](SegmentSM& segment) { segment.handleFromSegment("forwarding-segments"); });
}

template <class Visit>
void VrfSm::eachServiceSideSegment(const Visit& visit) const {
  Kiv::AllSteps steps;
  for (const Pith::String& each : serviceSideSegment_) {
    // One that is being made is not among the children yet.
    if (const Pith::Ptr<SegmentSM> segment = segmentSm(each)) steps.run([&] { visit(*segment); });
  }
}

void VrfSm::cleanup() {
  static constexpr Twinlog::Function fn("void Firewall::VrfSm::cleanup()");
  TWINLOG_FN(facility, 8, fn, " Vrf:%s", vrfName);
  if (!isWorking()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
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
      steps.run([&] { releaseGlobalPrefix(prefix); });
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

VrfSm::Ptr vrfSmFactory(Pith::String vrfName, Pith::Ptr<const Kiv::Dir> fwConfigDir,
                        Pith::Ptr<const Vrf> vrfConfig, Pith::Ptr<const SegmentDir> inFirewall,
                        Pith::Ptr<const Config> inConfig, Pith::Ptr<HwConfig> outFirewallConfig,
                        Pith::Ptr<const Interface::AllIntfStatusDir> intfStatusDir,
                        Pith::Ptr<const Ip::Status> ipStatus,
                        Pith::Ptr<const Kiv::Dir> matchListConfigDir, RootSm* rootSm,
                        Pith::Ptr<const HwCapability> hwCapability,
                        Pith::Ptr<const Acl::AclListConfig> aclListConfig,
                        Pith::Ptr<ActiveWorkManager> activeWorkManager) {
  return VrfSm::VrfSmIs(std::move(vrfName), std::move(fwConfigDir), std::move(vrfConfig),
                        std::move(inFirewall), std::move(inConfig), std::move(outFirewallConfig),
                        std::move(intfStatusDir), std::move(ipStatus),
                        std::move(matchListConfigDir), rootSm, std::move(hwCapability),
                        std::move(aclListConfig), std::move(activeWorkManager));
}

}  // namespace Firewall
