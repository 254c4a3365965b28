// The global prefixes of a VRF: which segment the VRF-wide list gives them to.
#include "Firewall/SegmentLinks.h"
#include "Firewall/Sources.h"
#include "Firewall/Trace.h"
#include "Firewall/VrfSm.h"
#include "Firewall/VrfSources.h"
#include "framework/Kiv/AllSteps.h"
#include "framework/Pith/Assert.h"

namespace Firewall {

bool VrfSm::takesVrfWideList() const {
  return hwCapability && hwCapability->globalPrefixListSupported();
}

void VrfSm::handleGlobalPrefix(const Lanx::IpGenPrefix& prefix) {
  static constexpr Twinlog::Function fn(
      "void Firewall::VrfSm::handleGlobalPrefix(const Lanx::IpGenPrefix&)");
  TWINLOG_FN(facility, 8, fn, " Vrf: %s prefix: %s", vrfName, prefix);
  if (!isWorking() || !vrfConfig || !takesVrfWideList()) return;
  if (!outFirewallConfig->vrfHas(vrfName)) return;  // the output was cleared; it does not come back
  if (vrfConfig->prefixHas(prefix)) {
    processGlobalPrefix(vrfConfig, true, prefix);
  } else {
    releaseGlobalPrefix(prefix);
  }
}

void VrfSm::releaseGlobalPrefix(const Lanx::IpGenPrefix& prefix) {
  if (!outFirewallConfig->vrfHas(vrfName)) return;
  const auto isHeldBy = [&](const Vrf::PtrConst& vrf) {
    if (!vrf->prefixHas(prefix)) return false;
    processGlobalPrefix(vrf, true, prefix);
    return true;
  };
  if (!anyVrfOfOtherSource(*fwConfigDir, *inConfig, vrfName, isHeldBy)) {
    processGlobalPrefix(vrfConfig, inConfig->enabled(), prefix);
  }
}

void VrfSm::processGlobalPrefix(const Pith::Ptr<const Vrf>& vrf, bool configured,
                                const Lanx::IpGenPrefix& prefix) {
  static constexpr Twinlog::Function fn(
      "void Firewall::VrfSm::processGlobalPrefix(const PtrConst&, bool, const "
      "Lanx::IpGenPrefix&)");
  TWINLOG_FN(facility, 8, fn, " Vrf: %s prefix: %s", vrfName, prefix);
  if (!takesVrfWideList()) return;
  const Pith::String matchListSegment = getSegmentForMatchListPrefix(prefix);
  const Pith::String* const named = vrf->prefix(prefix);
  if (!configured || named == nullptr) {
    TWINLOG_FN(facility, 7, fn, " Removing prefix: %s", prefix);
    updateOrRemoveGlobalPrefix(prefix, matchListSegment);
    return;
  }
  const Pith::String segment = *named;
  if (!isSegmentConfigured(fwConfigDir, vrfName, segment)) {
    updateOrRemoveGlobalPrefix(prefix, matchListSegment);
    return;
  }
  TWINLOG_FN(facility, 7, fn, " Adding prefix: %s to segment: %s", prefix, segment);
  outFirewallConfig->vrf(vrfName)->prefixListIs(prefix, segment);
}

void VrfSm::processGlobalPrefixesForSegment(const Pith::String& segmentName) {
  static constexpr Twinlog::Function fn(
      "void Firewall::VrfSm::processGlobalPrefixesForSegment(const String&)");
  TWINLOG_FN(facility, 8, fn, " segment: %s", segmentName);
  if (vrfName.empty()) return;  // L2 segments have no global prefixes
  TWINLOG_FN(facility, 5, fn, " Processing global list of segment: %s Vrf: %s source: %s",
             segmentName, vrfName, inConfig->name());
  const Pith::Ptr<FwVrf> fwVrf = outFirewallConfig->vrf(vrfName);
  PITH_ASSERT_TEXT(fwVrf, "fwVrf && \" fwVrf not found\"");
  Kiv::AllSteps steps;
  anyVrfOfSources(*fwConfigDir, vrfName, [&](const auto& /*config*/, const auto& vrf) {
    for (const Lanx::IpGenPrefix& prefix : vrf->prefixesNaming(segmentName)) {
      steps.run([&] { processGlobalPrefix(vrf, true, prefix); });
    }
    return false;
  });
}

void VrfSm::updateOrRemoveGlobalPrefix(const Lanx::IpGenPrefix& prefix,
                                       const Pith::String& segmentName) {
  static constexpr Twinlog::Function fn(
      "void Firewall::VrfSm::updateOrRemoveGlobalPrefix(const Lanx::IpGenPrefix&, const "
      "String&)");
  const Pith::Ptr<FwVrf> fwVrf = outFirewallConfig->vrf(vrfName);
  if (!fwVrf) return;
  if (!segmentName.empty() && fwVrf->segmentHas(segmentName)) {
    TWINLOG_FN(facility, 8, fn,
               " Prefix is also configured in MatchList of segment: %s. Updaing segment of prefix",
               segmentName);
    fwVrf->prefixListIs(prefix, segmentName);
  } else {
    TWINLOG_FN(facility, 6, fn, " Removing as prefix is not configured from MatchList.");
    fwVrf->prefixListDel(prefix);
  }
}

Pith::String VrfSm::getSegmentForMatchListPrefix(const Lanx::IpGenPrefix& prefix) const {
  if (vrfName.empty()) return {};
  const Pith::Ptr<const FwVrf> segDir = outFirewallConfig->vrf(vrfName);
  PITH_ASSERT_TEXT(segDir, "segDir && \"SegmentDir not found\"");
  const auto segment = segDir->segmentHolding(prefix);
  return segment ? segment->name() : Pith::String();
}

Pith::String VrfSm::getGlobalPrefixSegment(const Lanx::IpGenPrefix& prefix) const {
  return globalPrefixSegment(prefix).value_or("");
}

std::optional<Pith::String> VrfSm::globalPrefixSegment(const Lanx::IpGenPrefix& prefix) const {
  std::optional<Pith::String> segment;
  anyVrfOfSources(*fwConfigDir, vrfName, [&](const auto& config, const auto& vrf) {
    if (!config->enabled()) return false;
    const Pith::String* const named = vrf->prefix(prefix);
    if (named == nullptr) return false;
    segment = *named;
    return true;
  });
  return segment;
}

}  // namespace Firewall
