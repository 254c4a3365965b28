#include "Firewall/Prefixes/MatchListConfigPathSm.h"

#include <utility>

#include "Firewall/Prefixes/MatchListFamily.h"
#include "Firewall/Prefixes/OtherSources.h"
#include "Firewall/Prefixes/SubnetClassification.h"
#include "Firewall/Prefixes/VrfSources.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"

namespace Firewall {
namespace {

// Calls visit(subnet) for each subnet of the family that the segment has; it may remove it.
template <class Lists, class Visit>
void eachSubnet(const FwSegment& segment, const Visit& visit) {
  for (const auto& entry : segment.subnets()) {
    const Lanx::IpGenAddrWithMask subnet = entry.key;
    if (subnet.family() == Lists::family) visit(subnet);
  }
}

}  // namespace

MatchListConfigPathSm::MatchListConfigPathSm(MatchListConfigPathSmAttributes attributes)
    : Reactor(std::move(attributes)),
      inSegmentSubscription_(*this, inSegment),
      matchListConfigSubscription_(*this, matchListConfig),
      aclListConfigSubscription_(*this, aclListConfig) {}

void MatchListConfigPathSm::start() {
  inSegment->choiceWatchIs(*this);
  matchIpv4PrefixList_.start();
  matchIpv6PrefixList_.start();
  aclIpv4PrefixList_.start();
  aclIpv6PrefixList_.start();
  handleInitialized();
}

MatchListConfigPathSm::NestedSm_MatchIpv4PrefixList::Ptr
MatchListConfigPathSm::matchIpv4PrefixListIs(
    const Pith::Ptr<const MatchList::MatchIpv4PrefixListConfig>& list) {
  return matchIpv4PrefixList_.is(list);
}

MatchListConfigPathSm::NestedSm_MatchIpv6PrefixList::Ptr
MatchListConfigPathSm::matchIpv6PrefixListIs(
    const Pith::Ptr<const MatchList::MatchIpv6PrefixListConfig>& list) {
  return matchIpv6PrefixList_.is(list);
}

MatchListConfigPathSm::NestedSm_AclIpv4PrefixList::Ptr MatchListConfigPathSm::aclIpv4PrefixListIs(
    const Pith::Ptr<const Acl::PrefixList>& list) {
  return aclIpv4PrefixList_.is(list);
}

MatchListConfigPathSm::NestedSm_AclIpv6PrefixList::Ptr MatchListConfigPathSm::aclIpv6PrefixListIs(
    const Pith::Ptr<const Acl::Ipv6PrefixList>& list) {
  return aclIpv6PrefixList_.is(list);
}

void MatchListConfigPathSm::choiceChanges(Lanx::AddressFamily family) noexcept {
  if (family == Lanx::AddressFamily::ipv4) {
    matchIpv4PrefixList_.choiceChanges();
    aclIpv4PrefixList_.choiceChanges();
  } else {
    matchIpv6PrefixList_.choiceChanges();
    aclIpv6PrefixList_.choiceChanges();
  }
}

void MatchListConfigPathSm::inSegmentDispatch(Pith::Publisher* /*publisher*/,
                                              Pith::Subscriber* /*subscriber*/, Pith::FieldId field,
                                              const void* /*key*/, const Pith::Change* /*change*/) {
  if (field == Segment::prefixIpv4MlField) {
    matchIpv4PrefixList_.choiceChanged();
    aclIpv4PrefixList_.choiceChanged();
  }
  if (field == Segment::prefixIpv6MlField) {
    matchIpv6PrefixList_.choiceChanged();
    aclIpv6PrefixList_.choiceChanged();
  }
  if (isZombie()) return;
  if (field == Segment::prefixIpv4MlField) handleIpv4PrefixList();
  if (field == Segment::prefixIpv6MlField) handleIpv6PrefixList();
}

void MatchListConfigPathSm::matchListConfigDispatch(Pith::Publisher* /*publisher*/,
                                                    Pith::Subscriber* /*subscriber*/,
                                                    Pith::FieldId field, const void* key,
                                                    const Pith::Change* /*change*/) {
  const auto* const name = static_cast<const Pith::String*>(key);
  switch (field) {
    case MatchList::Config::matchIpv4PrefixListField:
      listChanged<Ipv4Lists>(matchIpv4PrefixList_, *name);
      break;
    case MatchList::Config::matchIpv6PrefixListField:
      listChanged<Ipv6Lists>(matchIpv6PrefixList_, *name);
      break;
    default:
      break;
  }
}

void MatchListConfigPathSm::aclListConfigDispatch(Pith::Publisher* /*publisher*/,
                                                  Pith::Subscriber* /*subscriber*/,
                                                  Pith::FieldId field, const void* key,
                                                  const Pith::Change* /*change*/) {
  const auto* const name = static_cast<const Pith::String*>(key);
  switch (field) {
    case Acl::AclListConfig::prefixListField:
      listChanged<Ipv4Lists>(aclIpv4PrefixList_, *name);
      break;
    case Acl::AclListConfig::ipv6PrefixListField:
      listChanged<Ipv6Lists>(aclIpv6PrefixList_, *name);
      break;
    default:
      break;
  }
}

// The family is recomputed before the list's reactor comes or goes.
template <class Lists, class Reactors>
void MatchListConfigPathSm::listChanged(Reactors& reactors, const Pith::String& name) {
  reactors.listChanged(name);
  if (isZombie()) return;
  Kiv::AllSteps steps;
  steps.run([&] {
    if (isChosen<Lists>(name)) recompute<Lists>();
  });
  reactors.follow(name);
}

void MatchListConfigPathSm::handleInitialized() {
  static constexpr Twinlog::Function fn(
      "void Firewall::MatchListConfigPathSm::handleInitialized()");
  TWINLOG_FN(facility, 9, fn, " MatchList config path : %s", mlName);
  stage_.begin();
  handleIpv4PrefixList();
  handleIpv6PrefixList();
}

void MatchListConfigPathSm::handleIpv4PrefixList() { recompute<Ipv4Lists>(); }

void MatchListConfigPathSm::handleIpv6PrefixList() { recompute<Ipv6Lists>(); }

void MatchListConfigPathSm::handleIpv4PrefixList(const Pith::String& name) {
  if (isChosen<Ipv4Lists>(name)) handleIpv4PrefixList();
}

void MatchListConfigPathSm::handleIpv6PrefixList(const Pith::String& name) {
  if (isChosen<Ipv6Lists>(name)) handleIpv6PrefixList();
}

void MatchListConfigPathSm::cleanIpv4PrefixList() {
  ++changes_;
  withdrawAll<Ipv4Lists>();
}

void MatchListConfigPathSm::cleanIpv6PrefixList() {
  ++changes_;
  withdrawAll<Ipv6Lists>();
}

void MatchListConfigPathSm::cleanup() {
  if (!isWorking()) return;
  stage_.end();
  ++changes_;
  Kiv::AllSteps steps;
  steps.run([this] { withdrawOwn<Ipv4Lists>(); });
  steps.run([this] { withdrawOwn<Ipv6Lists>(); });
}

bool MatchListConfigPathSm::hasMatchList(const Pith::String& name, Lanx::AddressFamily af) const {
  static constexpr Twinlog::Function fn(
      "bool Firewall::MatchListConfigPathSm::hasMatchList(const String&, Lanx::AddressFamily) "
      "const");
  const auto found = [&](const Pith::String& path, const auto& /*list*/) {
    TWINLOG_FN(facility, 6, fn, " mlName: %s found in config path: %s", name, path);
    return true;
  };
  const bool isFound = af == Lanx::AddressFamily::ipv4
                           ? anyMatchList<Ipv4Lists>(*matchListConfigDir, name, found)
                           : anyMatchList<Ipv6Lists>(*matchListConfigDir, name, found);
  if (!isFound) TWINLOG_FN(facility, 6, fn, " Could not find matchlist: %s", name);
  return isFound;
}

bool MatchListConfigPathSm::hasPrefixList(const Pith::String& name, Lanx::AddressFamily af) const {
  static constexpr Twinlog::Function fn(
      "bool Firewall::MatchListConfigPathSm::hasPrefixList(const String&, Lanx::AddressFamily) "
      "const");
  const bool isFound = af == Lanx::AddressFamily::ipv4 ? aclListConfig->prefixListHas(name)
                                                       : aclListConfig->ipv6PrefixListHas(name);
  if (isFound) {
    TWINLOG_FN(facility, 6, fn, " plName: %s found in config path %s", name, mlName);
  } else {
    TWINLOG_FN(facility, 6, fn, " Could not find prefixlist: %s", name);
  }
  return isFound;
}

bool MatchListConfigPathSm::isMatchListConfigured(Lanx::AddressFamily af) const {
  if (!fwVrf) return false;
  return anyVrfOfSources(*fwConfigDir, fwVrf->name(), [&](const auto& /*config*/, const auto& vrf) {
    const Pith::Ptr<const Segment> segment = vrf->segment(mlSegmentName);
    if (!segment) return false;
    const ListSource& source =
        af == Lanx::AddressFamily::ipv4 ? segment->prefixIpv4Ml() : segment->prefixIpv6Ml();
    return !source.isNone();
  });
}

template <class Lists>
void MatchListConfigPathSm::recompute() {
  TWINLOG_FN(facility, 8, Lists::handleAll, " segment: %s name: %s", mlSegmentName, mlName);
  if (!isWorking()) {
    TWINLOG_FN(facility, 7, Lists::handleAll, " return ");
    return;
  }
  Kiv::AllSteps steps;
  std::uint32_t begun = 0;
  do {
    begun = ++changes_;
    steps.run([this] { applyChoice<Lists>(); });
  } while (isWorking() && changes_ != begun);
  TWINLOG_FN(facility, 7, Lists::handleAll, " return");
}

template <class Lists>
void MatchListConfigPathSm::applyChoice() {
  const ListSource source = Lists::source(*inSegment);
  if (source.isNone()) {
    if (!isMatchListConfigured(Lists::family)) withdrawAll<Lists>();
    return;
  }
  const bool usePrefixList = source.is(ListSource::Alternative::prefixList);
  TWINLOG_FN(facility, 8, Lists::handleAll, " usePrefixList: %s", usePrefixList);
  if (usePrefixList) {
    applyPrefixList<Lists>(source.name());
  } else {
    applyMatchList<Lists>(source.name());
  }
}

template <class Lists>
void MatchListConfigPathSm::applyPrefixList(const Pith::String& name) {
  const auto list = Lists::prefixList(*aclListConfig, name);
  if (!list) {
    if (!hasPrefixList(name, Lists::family)) withdrawAll<Lists>();
    return;
  }
  const std::uint32_t begun = changes_;
  SubnetClassification classification(*this);
  Kiv::HashSet<typename Lists::Prefix> wanted;
  wanted.reserve(Lists::entries(*list).size());
  Kiv::AllSteps steps;
  for (const auto& [seqnum, entry] : Lists::entries(*list)) {
    if (entry.action != Acl::Action::permit) continue;
    const typename Lists::Prefix prefix = entry.prefix;
    wanted.insert(typename Lists::Prefix(prefix));
    steps.run([&] { classification.add(prefix); });
    if (changes_ != begun) break;
  }
  if (changes_ == begun) {
    steps.run([&] {
      withdrawStale<Lists>(classification, [&wanted](const typename Lists::Subnet& subnet) {
        return wanted.has(typename Lists::Prefix(subnet.subnet()));
      });
    });
  }
}

template <class Lists>
void MatchListConfigPathSm::applyMatchList(const Pith::String& name) {
  const auto list = Lists::matchList(*matchListConfig, name);
  if (!list) {
    if (!hasMatchList(name, Lists::family)) withdrawAll<Lists>();
    return;
  }
  const std::uint32_t begun = changes_;
  SubnetClassification classification(*this);
  Kiv::AllSteps steps;
  for (const typename Lists::Subnet subnet : list->subnets()) {
    TWINLOG_FN(facility, 6, Lists::handleAll, " Adding prefix: %s to segment: %s name: %s", subnet,
               mlSegmentName, mlName);
    steps.run([&] { classification.add(subnet); });
    if (changes_ != begun) break;
  }
  if (changes_ == begun) {
    steps.run([&] {
      withdrawStale<Lists>(classification, [&list](const typename Lists::Subnet& subnet) {
        return list->subnetsHas(subnet);
      });
    });
  }
}

template <class Lists, class IsWanted>
void MatchListConfigPathSm::withdrawStale(SubnetClassification& classification,
                                          const IsWanted& isWanted) {
  const std::uint32_t begun = changes_;
  Kiv::AllSteps steps;
  eachSubnet<Lists>(*fwSegment, [&](const Lanx::IpGenAddrWithMask& subnet) {
    if (changes_ != begun || isWanted(Lists::typed(subnet))) return;
    TWINLOG_FN(facility, 6, Lists::handleAll, " Deleting prefix: %s from  segment: %s name: %s",
               subnet, mlSegmentName, mlName);
    steps.run([&] { classification.remove(subnet); });
  });
}

template <class Lists, class IsKept>
void MatchListConfigPathSm::withdraw(const IsKept& isKept) {
  TWINLOG_FN(facility, Lists::cleanLevel, Lists::clean, " segment: %s name: %s", mlSegmentName,
             mlName);
  const std::uint32_t begun = changes_;
  SubnetClassification classification(*this);
  Kiv::AllSteps steps;
  eachSubnet<Lists>(*fwSegment, [&](const Lanx::IpGenAddrWithMask& subnet) {
    if (changes_ != begun || isKept(subnet)) return;
    steps.run([&] { classification.remove(subnet); });
  });
}

template <class Lists>
void MatchListConfigPathSm::withdrawAll() {
  withdraw<Lists>([](const Lanx::IpGenAddrWithMask&) { return false; });
}

template <class Lists>
void MatchListConfigPathSm::withdrawOwn() {
  const OtherSources<Lists> others(attributes());
  withdraw<Lists>([&others](const Lanx::IpGenAddrWithMask& subnet) { return others.hold(subnet); });
}

template <class Lists>
bool MatchListConfigPathSm::isChosen(const Pith::String& name) const {
  TWINLOG_FN(facility, 8, Lists::handleNamed, " segment: %s name: %s", mlSegmentName, name);
  const ListSource& source = Lists::source(*inSegment);
  return !source.isNone() && source.name() == name;
}

template void MatchListConfigPathSm::recompute<Ipv4Lists>();
template void MatchListConfigPathSm::recompute<Ipv6Lists>();

template class ListReactors<MatchListsOf<Ipv4Lists>, MatchListConfigPathSm,
                            MatchListConfigPathSm::NestedSm_MatchIpv4PrefixList>;
template class ListReactors<MatchListsOf<Ipv6Lists>, MatchListConfigPathSm,
                            MatchListConfigPathSm::NestedSm_MatchIpv6PrefixList>;
template class ListReactors<PrefixListsOf<Ipv4Lists>, MatchListConfigPathSm,
                            MatchListConfigPathSm::NestedSm_AclIpv4PrefixList>;
template class ListReactors<PrefixListsOf<Ipv6Lists>, MatchListConfigPathSm,
                            MatchListConfigPathSm::NestedSm_AclIpv6PrefixList>;

}  // namespace Firewall
