#include "Firewall/Prefixes/SubnetClassification.h"

#include "Firewall/Prefixes/VrfSources.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"

namespace Firewall {

bool isGloballyConfigured(const Pith::Ptr<const Kiv::Dir>& fwConfigDir, const L3::VrfName& vrf,
                          const Lanx::IpGenAddrWithMask& subnet) {
  const Lanx::IpGenPrefix prefix(subnet);
  return anyVrfOfSources(*fwConfigDir, vrf, [&prefix](const auto&, const auto& vrfOfSource) {
    return vrfOfSource->prefixHas(prefix);
  });
}

SubnetClassification::SubnetClassification(const MatchListConfigPathSm& sm, Subnets subnets)
    : sm_(sm), at_(sm.attributes()) {
  if (at_.fwVrf && subnets == Subnets::many) vrfs_.emplace(at_.fwConfigDir, at_.fwVrf->name());
}

bool SubnetClassification::ownsVrfWide(const Lanx::IpGenPrefix& prefix) {
  if (!at_.fwVrf || !at_.hwCapability || !at_.hwCapability->globalPrefixListSupported()) {
    return false;
  }
  if (vrfs_) return !vrfs_->haveGlobalPrefix(prefix);
  return !anyVrfOfSources(
      *at_.fwConfigDir, at_.fwVrf->name(),
      [&prefix](const auto&, const auto& vrf) { return vrf->prefixHas(prefix); });
}

void SubnetClassification::add(const Lanx::IpGenAddrWithMask& subnet) {
  static constexpr Twinlog::Function fn(
      "void Firewall::addMatchListConfiguredSubnet(Ptr<MatchListConfigPathSm>, "
      "const Lanx::IpGenAddrWithMask&)");
  TWINLOG_FN(facility, 6, fn, " Add request for subnet: %s in segment: %s name: %s", subnet,
             at_.mlSegmentName, at_.mlName);
  Kiv::AllSteps steps;
  const Lanx::IpGenPrefix prefix(subnet);
  // A segment that left the output claims nothing any more.
  if (at_.fwSegment->parent() != nullptr && ownsVrfWide(prefix) &&
      !at_.fwVrf->prefixListHas(prefix)) {
    TWINLOG_FN(facility, 6, fn, " Adding to global subnet list");
    const bool wasWorking = sm_.isWorking();
    steps.run([&] { at_.fwVrf->prefixListIs(prefix, at_.mlSegmentName); });
    // A subscriber may have removed the segment, which could not withdraw what it did not hold yet.
    if (at_.fwSegment->parent() == nullptr || (wasWorking && !sm_.isWorking())) {
      steps.run([&] { disown(prefix); });
      return;
    }
  }
  TWINLOG_FN(facility, 6, fn, " Adding to segment local subnet list");
  steps.run([&] { at_.fwSegment->subnetsIs(subnet, true); });
}

void SubnetClassification::remove(const Lanx::IpGenAddrWithMask& subnet) {
  static constexpr Twinlog::Function fn(
      "void Firewall::removeMatchListConfiguredSubnet(Ptr<MatchListConfigPathSm>, "
      "const Lanx::IpGenAddrWithMask&)");
  TWINLOG_FN(facility, 6, fn, " Delete request for subnet: %s in segment: %s name: %s", subnet,
             at_.mlSegmentName, at_.mlName);
  Kiv::AllSteps steps;
  const Lanx::IpGenPrefix prefix(subnet);
  if (ownsVrfWide(prefix)) {
    TWINLOG_FN(facility, 6, fn, " Remove from global prefix list");
    steps.run([&] { giveToHeir(prefix); });
  }
  TWINLOG_FN(facility, 6, fn, " Removing from segment local prefix list");
  steps.run([&] { at_.fwSegment->subnetsDel(subnet); });
  // A subscriber may have made the heir withdraw its claim, while this segment still held the
  // prefix and inherited it in turn.
  if (at_.fwVrf && at_.fwVrf->publisher().mayHaveSubscribers()) {
    steps.run([&] { disown(prefix); });
  }
}

void SubnetClassification::giveToHeir(const Lanx::IpGenPrefix& prefix) {
  static constexpr Twinlog::Function fn(
      "void Firewall::removeMatchListConfiguredSubnet(Ptr<MatchListConfigPathSm>, "
      "const Lanx::IpGenAddrWithMask&)");
  if (const auto heir = at_.fwVrf->segmentHolding(prefix, at_.mlSegmentName)) {
    TWINLOG_FN(facility, 6, fn, " Applying segment: %s", heir->name());
    at_.fwVrf->prefixListIs(prefix, heir->name());
  } else {
    at_.fwVrf->prefixListDel(prefix);
  }
}

void SubnetClassification::disown(const Lanx::IpGenPrefix& prefix) {
  const Pith::String* const owner = at_.fwVrf->prefixList(prefix);
  const bool isOwn = owner != nullptr && *owner == at_.mlSegmentName;
  if (isOwn && !at_.fwSegment->subnetsHas(prefix) && ownsVrfWide(prefix)) giveToHeir(prefix);
}

void addMatchListConfiguredSubnet(const Pith::Ptr<MatchListConfigPathSm>& sm,
                                  const Lanx::IpGenAddrWithMask& subnet) {
  SubnetClassification(*sm, SubnetClassification::Subnets::one).add(subnet);
}

void removeMatchListConfiguredSubnet(const Pith::Ptr<MatchListConfigPathSm>& sm,
                                     const Lanx::IpGenAddrWithMask& subnet) {
  SubnetClassification(*sm, SubnetClassification::Subnets::one).remove(subnet);
}

}  // namespace Firewall
