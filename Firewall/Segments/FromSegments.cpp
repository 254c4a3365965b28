#include "Firewall/Segments/FromSegments.h"

#include "Firewall/ConfigSources.h"
#include "Firewall/Segments/Receivers.h"
#include "Firewall/Segments/SegmentLinks.h"
#include "Firewall/Segments/VrfSm.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"

namespace Firewall {
namespace {

// The from-segment that stands for every subscriber-side segment of the VRF.
constexpr std::string_view forwardingSegments = "forwarding-segments";

}  // namespace

bool FromSegments::isForwardingPolicySupported() const {
  return at_.hwCapability && at_.hwCapability->forwardingSegmentsPolicySupported();
}

Pith::String FromSegments::policyFor(const Pith::String& fromSegment) const {
  const Pith::String* const policy = at_.inSegment ? at_.inSegment->policy(fromSegment) : nullptr;
  return policy == nullptr ? Pith::String() : *policy;
}

Pith::String FromSegments::fallbackPolicyName() const {
  return at_.inSegment ? at_.inSegment->fallbackPolicy() : Pith::String();
}

void FromSegments::linkReceivers() const {
  if (at_.inFirewall) {
    addInterFromSegAndFbPolicyAll(at_.inFirewall, at_.outFirewallConfig, at_.fwVrfConfig,
                                  at_.segmentName, "");
  }
  if (at_.vrfName.empty()) return;
  anyVrfOfOtherSource(*at_.fwConfigDir, *at_.inConfig, at_.vrfName, [&](const Vrf::PtrConst& vrf) {
    addInterFromSegAndFbPolicyAll(vrf, at_.outFirewallConfig, at_.fwVrfConfig, at_.segmentName, "");
    return false;
  });
}

void FromSegments::handleFromSegment() const {
  FIREWALL_ENTRY("void Firewall::SegmentSM::handleFromSegment()", ": ");
  if (at_.inSegment) {
    for (const auto& entry : at_.inSegment->policy()) {
      const Pith::String name = entry.key;
      handleFromSegment(name);
    }
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void FromSegments::handleFromSegment(const Pith::String& name) const {
  FIREWALL_ENTRY("void Firewall::SegmentSM::handleFromSegment(const String&)", " fromSegment:%s",
                 name);
  if (!isWorking() || !at_.inConfig->enabled()) {
    TWINLOG_FN(facility, 7, fn, " return ");
    return;
  }
  Kiv::AllSteps steps;
  steps.run([&] { deleteInterimFromSegment(at_.fwVrfConfig, fwSegment_, name); });
  steps.run([&] {
    if (name == forwardingSegments && isForwardingPolicySupported()) {
      addInterimForwardingSegments();
      return;
    }
    if (policyFor(name).empty()) return;
    addInterimFromSegment(at_.inSegment, at_.outFirewallConfig, at_.fwVrfConfig, fwSegment_, name);
  });
  steps.run([&] { updateLocalDataForVrfSegment(); });
}

void FromSegments::addInterimForwardingSegments() const {
  FIREWALL_ENTRY("void Firewall::SegmentSM::addInterimForwardingSegments()", ": ");
  FIREWALL_ONLY_WHILE(isWorking());
  Kiv::AllSteps steps;
  steps.run([&] { fwSegment_->fromSegmentDelAll(); });
  for (const auto& subscriber : at_.vrfSm->subcriberSideSegment()) {
    const Pith::String from = subscriber.key;
    steps.run([&] { updateSubcriberSegment(from); });
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void FromSegments::updateSubcriberSegment(const Pith::String& from) const {
  FIREWALL_ENTRY("void Firewall::SegmentSM::updateSubcriberSegment(const String&)",
                 " seg:%s from:%s", at_.segmentName, from);
  FIREWALL_ONLY_WHILE(isWorking());
  const Pith::String policyName = policyFor(forwardingSegments);
  const auto policy = policyName.empty() ? nullptr : at_.outFirewallConfig->policy(policyName);
  if (!policy) {
    TWINLOG(facility, 7, fn, "Policy is not available:%s", policyName);
    return;
  }
  const Pith::Ptr<FwSegment> source = at_.fwVrfConfig->segment(from);
  if (!source || !source->fromSegmentHas(at_.segmentName)) {
    TWINLOG(facility, 7, fn,
            "Either FromSegment (%s ) is not available,"
            "or fromSegment doesnt forward to this segment:%s",
            from, at_.segmentName);
    fwSegment_->fromSegmentDel(from);
    return;
  }
  TWINLOG(facility, 6, fn, "Add segment entry:%s from%s policy%s", at_.segmentName, from,
          policyName);
  fwSegment_->fromSegmentIs(from, source, policy);
}

void FromSegments::updateLocalDataForVrfSegment() const {
  FIREWALL_ENTRY("void Firewall::SegmentSM::updateLocalDataForVrfSegment()", ": ");
  FIREWALL_ONLY_WHILE(isWorking());
  if (fwSegment_->intfVlanRangeSet().empty()) {
    at_.vrfSm->serviceSideSegmentIs(at_.segmentName);
    return;
  }
  at_.vrfSm->serviceSideSegmentDel(at_.segmentName);
  const std::uint16_t* const counter = at_.vrfSm->subcriberSideSegment(at_.segmentName);
  const unsigned next = (counter == nullptr ? 0U : *counter) + 1U;
  at_.vrfSm->subcriberSideSegmentIs(at_.segmentName, static_cast<std::uint16_t>(next));
}

void FromSegments::handleFallbackPolicy() const {
  FIREWALL_ENTRY("void Firewall::SegmentSM::handleFallbackPolicy()", ": ");
  FIREWALL_ONLY_WHILE(isWorking());
  const Pith::String name = fallbackPolicyName();
  if (name.empty()) {
    deleteFallbackPolicy(fwSegment_);
  } else {
    addFallbackPolicy(at_.outFirewallConfig, fwSegment_, name);
  }
}

void FromSegments::removeFromSegments() const {
  FIREWALL_ENTRY("void Firewall::SegmentSM::removeFromSegments()", ": ");
  // Before the segment's output is made, an entry of its name that is there already.
  const auto output = fwSegment_ ? fwSegment_ : at_.fwVrfConfig->segment(at_.segmentName);
  if (!output) return;
  Kiv::AllSteps steps;
  if (!isSegmentConfigured(at_.fwConfigDir, at_.vrfName, at_.segmentName)) {
    TWINLOG_FN(facility, 6, fn, " Segment is not configured. Removing:%s", at_.segmentName);
    steps.run([&] {
      if (!at_.inFirewall) return;
      deleteInterFromSegAndFbPolicyAll(at_.inFirewall, at_.outFirewallConfig, at_.fwVrfConfig,
                                       at_.segmentName, "");
    });
    // Those that others linked. In the L2 directory another source may have put a segment of its
    // own under the name.
    if (const auto leaving = at_.fwVrfConfig->segment(at_.segmentName)) {
      unlinkReceivers(at_.fwVrfConfig, *leaving, steps);
    }
    steps.run([&] { at_.fwVrfConfig->segmentDel(at_.segmentName); });
  } else {
    for (const auto& link : output->fromSegment()) {
      const Pith::String from = link.key;
      if (isFromSegmentConfigured(at_.segmentName, from)) {
        TWINLOG(facility, 6, fn, "%s is configured from multiple source.", from);
        continue;
      }
      TWINLOG_FN(facility, 6, fn, " Removing source segment:%s from destination segment:%s Vrf:%s",
                 from, at_.segmentName, at_.vrfName);
      steps.run([&] { output->fromSegmentDel(from); });
    }
  }
}

bool FromSegments::isFromSegmentConfigured(const Pith::String& segment,
                                           const Pith::String& fromSegment) const {
  FIREWALL_ENTRY("bool Firewall::SegmentSM::isFromSegmentConfigured(const String&, const String&)",
                 ": %s, %s", segment, fromSegment);
  const L3::VrfName vrfKey(at_.vrfName);
  return anySource(*at_.fwConfigDir, [&](const Pith::String&, const Config::PtrConst& config) {
    if (config == at_.inConfig) return false;
    const Vrf::PtrConst vrf = config->vrf(vrfKey);
    const Segment::PtrConst other = vrf ? vrf->segment(segment) : nullptr;
    return other && other->policyHas(fromSegment);
  });
}

}  // namespace Firewall
