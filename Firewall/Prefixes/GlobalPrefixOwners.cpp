#include "Firewall/Prefixes/GlobalPrefixOwners.h"

#include "Firewall/ConfigSources.h"
#include "Firewall/Prefixes/VrfSources.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"
#include "framework/Pith/Assert.h"

namespace Firewall {

bool GlobalPrefixOwners::takesVrfWideList() const {
  return at_.hwCapability && at_.hwCapability->globalPrefixListSupported();
}

void GlobalPrefixOwners::handleGlobalPrefix(const Lanx::IpGenPrefix& prefix) const {
  FIREWALL_ENTRY("void Firewall::VrfSm::handleGlobalPrefix(const Lanx::IpGenPrefix&)",
                 " Vrf: %s prefix: %s", at_.vrfName, prefix);
  if (!stage_.isWorking() || !at_.vrfConfig || !takesVrfWideList()) return;
  if (!at_.outFirewallConfig->vrfHas(at_.vrfName))
    return;  // the output was cleared; it does not come back
  if (at_.vrfConfig->prefixHas(prefix)) {
    processGlobalPrefix(at_.vrfConfig, true, prefix);
  } else {
    release(prefix);
  }
}

void GlobalPrefixOwners::release(const Lanx::IpGenPrefix& prefix) const {
  if (!at_.outFirewallConfig->vrfHas(at_.vrfName)) return;
  const auto isHeldBy = [&](const Vrf::PtrConst& vrf) {
    if (!vrf->prefixHas(prefix)) return false;
    processGlobalPrefix(vrf, true, prefix);
    return true;
  };
  if (!anyVrfOfOtherSource(*at_.fwConfigDir, *at_.inConfig, at_.vrfName, isHeldBy)) {
    processGlobalPrefix(at_.vrfConfig, at_.inConfig->enabled(), prefix);
  }
}

void GlobalPrefixOwners::processGlobalPrefix(const Pith::Ptr<const Vrf>& vrf, bool configured,
                                             const Lanx::IpGenPrefix& prefix) const {
  FIREWALL_ENTRY(
      "void Firewall::VrfSm::processGlobalPrefix(const PtrConst&, bool, const "
      "Lanx::IpGenPrefix&)",
      " Vrf: %s prefix: %s", at_.vrfName, prefix);
  if (!takesVrfWideList()) return;
  const Pith::String matchListSegment = getSegmentForMatchListPrefix(prefix);
  const Pith::String* const named = vrf->prefix(prefix);
  if (!configured || named == nullptr) {
    TWINLOG_FN(facility, 7, fn, " Removing prefix: %s", prefix);
    updateOrRemoveGlobalPrefix(prefix, matchListSegment);
    return;
  }
  const Pith::String segment = *named;
  if (!isSegmentConfigured(at_.fwConfigDir, at_.vrfName, segment)) {
    updateOrRemoveGlobalPrefix(prefix, matchListSegment);
    return;
  }
  TWINLOG_FN(facility, 7, fn, " Adding prefix: %s to segment: %s", prefix, segment);
  at_.outFirewallConfig->vrf(at_.vrfName)->prefixListIs(prefix, segment);
}

void GlobalPrefixOwners::processGlobalPrefixesForSegment(const Pith::String& segmentName) const {
  FIREWALL_ENTRY("void Firewall::VrfSm::processGlobalPrefixesForSegment(const String&)",
                 " segment: %s", segmentName);
  if (at_.vrfName.empty()) return;  // L2 segments have no global prefixes
  TWINLOG_FN(facility, 5, fn, " Processing global list of segment: %s Vrf: %s source: %s",
             segmentName, at_.vrfName, at_.inConfig->name());
  const Pith::Ptr<FwVrf> fwVrf = at_.outFirewallConfig->vrf(at_.vrfName);
  PITH_ASSERT_TEXT(fwVrf, "fwVrf && \" fwVrf not found\"");
  Kiv::AllSteps steps;
  anyVrfOfSources(*at_.fwConfigDir, at_.vrfName, [&](const auto& /*config*/, const auto& vrf) {
    for (const Lanx::IpGenPrefix& prefix : vrf->prefixesNaming(segmentName)) {
      steps.run([&] { processGlobalPrefix(vrf, true, prefix); });
    }
    return false;
  });
}

void GlobalPrefixOwners::updateOrRemoveGlobalPrefix(const Lanx::IpGenPrefix& prefix,
                                                    const Pith::String& segmentName) const {
  static constexpr Twinlog::Function fn(
      "void Firewall::VrfSm::updateOrRemoveGlobalPrefix(const Lanx::IpGenPrefix&, const "
      "String&)");
  const Pith::Ptr<FwVrf> fwVrf = at_.outFirewallConfig->vrf(at_.vrfName);
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

Pith::String GlobalPrefixOwners::getSegmentForMatchListPrefix(
    const Lanx::IpGenPrefix& prefix) const {
  if (at_.vrfName.empty()) return {};
  const Pith::Ptr<const FwVrf> segDir = at_.outFirewallConfig->vrf(at_.vrfName);
  PITH_ASSERT_TEXT(segDir, "segDir && \"SegmentDir not found\"");
  const auto segment = segDir->segmentHolding(prefix);
  return segment ? segment->name() : Pith::String();
}

Pith::String GlobalPrefixOwners::getGlobalPrefixSegment(const Lanx::IpGenPrefix& prefix) const {
  return namedSegment(prefix).value_or("");
}

std::optional<Pith::String> GlobalPrefixOwners::namedSegment(
    const Lanx::IpGenPrefix& prefix) const {
  std::optional<Pith::String> segment;
  anyVrfOfSources(*at_.fwConfigDir, at_.vrfName, [&](const auto& config, const auto& vrf) {
    if (!config->enabled()) return false;
    const Pith::String* const named = vrf->prefix(prefix);
    if (named == nullptr) return false;
    segment = *named;
    return true;
  });
  return segment;
}

namespace {

constexpr Twinlog::Function reconcileFn("void Firewall::VrfSm::handleInitialized()");

}  // namespace

void GlobalPrefixOwners::reconcile(FwVrf& fwVrf) const {
  if (!takesVrfWideList()) return;
  Kiv::HashSet<Lanx::IpGenPrefix> leftToLists;  // global prefixes that stay with a list
  for (const auto& entry : fwVrf.prefixList()) {
    const Lanx::IpGenPrefix prefix = entry.key;
    const std::optional<Pith::String> named = namedSegment(prefix);
    Pith::String segment = named.value_or("");
    if (!segment.empty() && !isSegmentConfigured(at_.fwConfigDir, at_.vrfName, segment)) {
      segment = configuredSegment(prefix);
    }
    if (!segment.empty()) {
      TWINLOG_FN(facility, 5, reconcileFn, " Updating segment for prefix: %s", prefix);
      fwVrf.prefixListIs(prefix, segment);
    } else if (getSegmentForMatchListPrefix(prefix).empty()) {
      TWINLOG_FN(facility, 5, reconcileFn, " Removing prefix: %s", prefix);
      fwVrf.prefixListDel(prefix);
    } else if (named) {
      leftToLists.insert(Lanx::IpGenPrefix(prefix));
    }
  }
  replay(fwVrf, leftToLists);
}

// A prefix that has an owner keeps it, unless it is in leftToLists: reconcile() has just put the
// owner right. Of several sources the first that names a configured segment decides.
void GlobalPrefixOwners::replay(FwVrf& fwVrf, Kiv::HashSet<Lanx::IpGenPrefix>& leftToLists) const {
  anySource(*at_.fwConfigDir, [&](const Pith::String& source, const Config::PtrConst& config) {
    const Vrf::PtrConst vrf = config->enabled() ? config->vrf(at_.vrfName) : nullptr;
    if (!vrf) return false;
    for (const auto& entry : vrf->prefix()) {
      const Lanx::IpGenPrefix prefix = entry.key;
      const Pith::String segment = entry.value;
      if (segment.empty()) continue;
      if (fwVrf.prefixListHas(prefix) && !leftToLists.has(prefix)) continue;
      if (!isSegmentConfigured(at_.fwConfigDir, at_.vrfName, segment)) continue;
      leftToLists.erase(prefix);
      TWINLOG_FN(facility, 5, reconcileFn, " Replaying global prefix: %s for source: %s Vrf: %s",
                 prefix, source, at_.vrfName);
      TWINLOG_FN(facility, 5, reconcileFn, " Updating segment for prefix: %s", prefix);
      fwVrf.prefixListIs(prefix, segment);
    }
    return false;
  });
}

Pith::String GlobalPrefixOwners::configuredSegment(const Lanx::IpGenPrefix& prefix) const {
  Pith::String segment;
  const L3::VrfName vrfKey(at_.vrfName);
  anySource(*at_.fwConfigDir, [&](const Pith::String&, const Config::PtrConst& config) {
    const Vrf::PtrConst vrf = config->enabled() ? config->vrf(vrfKey) : nullptr;
    const Pith::String* const named = vrf ? vrf->prefix(prefix) : nullptr;
    if (named == nullptr || !isSegmentConfigured(at_.fwConfigDir, at_.vrfName, *named))
      return false;
    segment = *named;
    return true;
  });
  return segment;
}

}  // namespace Firewall
