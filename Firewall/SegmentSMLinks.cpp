// A segment's links: from which segments it receives, which receive from it, and its fallback
// policy.
#include "Firewall/Receivers.h"
#include "Firewall/SegmentLinks.h"
#include "Firewall/SegmentSM.h"
#include "Firewall/Sources.h"
#include "Firewall/Trace.h"
#include "Firewall/VrfSm.h"
#include "framework/Kiv/AllSteps.h"

namespace Firewall {
namespace {

// The from-segment that stands for every subscriber-side segment of the VRF.
constexpr std::string_view forwardingSegments = "forwarding-segments";

}  // namespace

bool SegmentSM::isForwardingPolicySupported() const {
  return hwCapability && hwCapability->forwardingSegmentsPolicySupported();
}

Pith::String SegmentSM::policyFor(const Pith::String& fromSegment) const {
  const Pith::String* const policy = inSegment ? inSegment->policy(fromSegment) : nullptr;
  return policy == nullptr ? Pith::String() : *policy;
}

Pith::String SegmentSM::fallbackPolicyName() const {
  return inSegment ? inSegment->fallbackPolicy() : Pith::String();
}

void SegmentSM::linkReceivers() {
  if (inFirewall) {
    addInterFromSegAndFbPolicyAll(inFirewall, outFirewallConfig, fwVrfConfig, segmentName, "");
  }
  if (vrfName.empty()) return;
  anyVrfOfOtherSource(*fwConfigDir, *inConfig, vrfName, [&](const Vrf::PtrConst& vrf) {
    addInterFromSegAndFbPolicyAll(vrf, outFirewallConfig, fwVrfConfig, segmentName, "");
    return false;
  });
}

void SegmentSM::handleFromSegment() {
  static constexpr Twinlog::Function fn("void Firewall::SegmentSM::handleFromSegment()");
  TWINLOG_FN(facility, 8, fn, ": ");
  if (inSegment) {
    for (const auto& entry : inSegment->policy()) {
      const Pith::String name = entry.key;
      handleFromSegment(name);
    }
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void SegmentSM::handleFromSegment(const Pith::String& name) {
  static constexpr Twinlog::Function fn(
      "void Firewall::SegmentSM::handleFromSegment(const String&)");
  TWINLOG_FN(facility, 8, fn, " fromSegment:%s", name);
  if (!isWorking() || !inConfig->enabled()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  Kiv::AllSteps steps;
  steps.run([&] { deleteInterimFromSegment(fwVrfConfig, fwSegment_, name); });
  steps.run([&] {
    if (name == forwardingSegments && isForwardingPolicySupported()) {
      addInterimForwardingSegments();
      return;
    }
    if (policyFor(name).empty()) return;
    addInterimFromSegment(inSegment, outFirewallConfig, fwVrfConfig, fwSegment_, name);
  });
  steps.run([&] { updateLocalDataForVrfSegment(); });
}

void SegmentSM::addInterimForwardingSegments() {
  static constexpr Twinlog::Function fn("void Firewall::SegmentSM::addInterimForwardingSegments()");
  TWINLOG_FN(facility, 8, fn, ": ");
  if (!isWorking()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  Kiv::AllSteps steps;
  steps.run([&] { fwSegment_->fromSegmentDelAll(); });
  for (const auto& subscriber : vrfSm->subcriberSideSegment()) {
    const Pith::String from = subscriber.key;
    steps.run([&] { updateSubcriberSegment(from); });
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void SegmentSM::updateSubcriberSegment(const Pith::String& from) {
  static constexpr Twinlog::Function fn(
      "void Firewall::SegmentSM::updateSubcriberSegment(const String&)");
  TWINLOG_FN(facility, 8, fn, " seg:%s from:%s", segmentName, from);
  if (!isWorking()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  const Pith::String policyName = policyFor(forwardingSegments);
  const auto policy = policyName.empty() ? nullptr : outFirewallConfig->policy(policyName);
  if (!policy) {
    TWINLOG(facility, 7, fn, "Policy is not available:%s", policyName);
    return;
  }
  const Pith::Ptr<FwSegment> source = fwVrfConfig->segment(from);
  if (!source || !source->fromSegmentHas(segmentName)) {
    TWINLOG(facility, 7, fn,
            "Either FromSegment (%s ) is not available,"
            "or fromSegment doesnt forward to this segment:%s",
            from, segmentName);
    fwSegment_->fromSegmentDel(from);
    return;
  }
  TWINLOG(facility, 6, fn, "Add segment entry:%s from%s policy%s", segmentName, from, policyName);
  fwSegment_->fromSegmentIs(from, source, policy);
}

void SegmentSM::handleFallbackPolicy() {
  static constexpr Twinlog::Function fn("void Firewall::SegmentSM::handleFallbackPolicy()");
  TWINLOG_FN(facility, 8, fn, ": ");
  if (!isWorking()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  const Pith::String name = fallbackPolicyName();
  if (name.empty()) {
    deleteFallbackPolicy(fwSegment_);
  } else {
    addFallbackPolicy(outFirewallConfig, fwSegment_, name);
  }
}

void SegmentSM::removeFromSegments() {
  static constexpr Twinlog::Function fn("void Firewall::SegmentSM::removeFromSegments()");
  TWINLOG_FN(facility, 8, fn, ": ");
  // At a stale start, the entry that is there already.
  const auto output = fwSegment_ ? fwSegment_ : fwVrfConfig->segment(segmentName);
  if (!output) return;
  Kiv::AllSteps steps;
  if (!isSegmentConfigured(fwConfigDir, vrfName, segmentName)) {
    TWINLOG_FN(facility, 6, fn, " Segment is not configured. Removing:%s", segmentName);
    steps.run([&] {
      if (!inFirewall) return;
      deleteInterFromSegAndFbPolicyAll(inFirewall, outFirewallConfig, fwVrfConfig, segmentName, "");
    });
    // Those that others linked. In the L2 directory another source may have put a segment of its
    // own under the name.
    if (const auto leaving = fwVrfConfig->segment(segmentName)) {
      unlinkReceivers(fwVrfConfig, *leaving, steps);
    }
    steps.run([&] { fwVrfConfig->segmentDel(segmentName); });
  } else {
    for (const auto& link : output->fromSegment()) {
      const Pith::String from = link.key;
      if (isFromSegmentConfigured(segmentName, from)) {
        TWINLOG(facility, 6, fn, "%s is configured from multiple source.", from);
        continue;
      }
      TWINLOG_FN(facility, 6, fn, " Removing source segment:%s from destination segment:%s Vrf:%s",
                 from, segmentName, vrfName);
      steps.run([&] { output->fromSegmentDel(from); });
    }
  }
}

bool SegmentSM::isFromSegmentConfigured(const Pith::String& segment,
                                        const Pith::String& fromSegment) const {
  static constexpr Twinlog::Function fn(
      "bool Firewall::SegmentSM::isFromSegmentConfigured(const String&, const String&)");
  TWINLOG_FN(facility, 8, fn, ": %s, %s", segment, fromSegment);
  const L3::VrfName vrfKey(vrfName);
  return anySource(*fwConfigDir, [&](const Pith::String&, const Config::PtrConst& config) {
    if (config == inConfig) return false;
    const Vrf::PtrConst vrf = config->vrf(vrfKey);
    const Segment::PtrConst other = vrf ? vrf->segment(segment) : nullptr;
    return other && other->policyHas(fromSegment);
  });
}

}  // namespace Firewall
