// The reactors of single lists: each applies one change of its list, when the segment has chosen
// it.
#include "Firewall/Prefixes/MatchListConfigPathSm.h"
#include "Firewall/Prefixes/MatchListFamily.h"
#include "Firewall/Prefixes/SubnetClassification.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"
#include "framework/Pith/Assert.h"

namespace Firewall {

template <class Lists>
bool MatchListConfigPathSm::hasChosen(ListSource::Alternative alternative,
                                      const Pith::String& name) const {
  const ListSource& source = Lists::source(*inSegment);
  return isWorking() && source.alternative() == alternative && source.name() == name;
}

template <class Lists>
void MatchListConfigPathSm::subnetChanged(const Pith::String& listName,
                                          const typename Lists::Subnet& subnet) {
  TWINLOG_FN(facility, 8, Lists::handleSubnet, ": %s", subnet);
  if (!hasChosen<Lists>(ListSource::Alternative::matchList, listName)) return;
  const auto list = Lists::matchList(*matchListConfig, listName);
  PITH_ASSERT(list);
  const std::uint32_t begun = ++changes_;
  Kiv::AllSteps steps;
  steps.run([&] {
    if (list->subnetsHas(subnet)) {
      addMatchListConfiguredSubnet(this, subnet);
    } else {
      removeMatchListConfiguredSubnet(this, subnet);
    }
  });
  // A subscriber to the output changed the input under it.
  if (changes_ != begun) steps.run([this] { recompute<Lists>(); });
}

template <class Lists>
void MatchListConfigPathSm::entryChanged(const Pith::String& listName, const Pith::Change& change) {
  TWINLOG_FN(facility, 7, Lists::handlePrefix, " segment: %s prefixList: %s", mlSegmentName,
             listName);
  if (!hasChosen<Lists>(ListSource::Alternative::prefixList, listName)) return;
  const std::uint32_t begun = ++changes_;
  const auto permitted = [](const void* value) -> const typename Lists::Prefix* {
    const auto* const entry = static_cast<const typename Lists::PrefixEntry*>(value);
    return entry != nullptr && entry->action == Acl::Action::permit ? &entry->prefix : nullptr;
  };
  Kiv::AllSteps steps;
  if (const auto* const previous = permitted(change.previous)) {
    steps.run([&] { removeMatchListConfiguredSubnet(this, *previous); });
  }
  if (const auto* const current = permitted(change.current)) {
    steps.run([&] { addMatchListConfiguredSubnet(this, *current); });
  }
  if (changes_ != begun) steps.run([this] { recompute<Lists>(); });
}

template void MatchListConfigPathSm::subnetChanged<Ipv4Lists>(const Pith::String&,
                                                              const Ipv4Lists::Subnet&);
template void MatchListConfigPathSm::subnetChanged<Ipv6Lists>(const Pith::String&,
                                                              const Ipv6Lists::Subnet&);
template void MatchListConfigPathSm::entryChanged<Ipv4Lists>(const Pith::String&,
                                                             const Pith::Change&);
template void MatchListConfigPathSm::entryChanged<Ipv6Lists>(const Pith::String&,
                                                             const Pith::Change&);

using PathSm = MatchListConfigPathSm;

void PathSm::NestedSm_MatchIpv4PrefixList::onAttribute(Pith::FieldId field, const void* key,
                                                       const Pith::Change* /*change*/) {
  if (field != MatchList::MatchIpv4PrefixListConfig::subnetsField) return;
  kiv_handleMatchIpv4PrefixList_subnets(*static_cast<const Lanx::IpAddrWithMask*>(key));
}

void PathSm::NestedSm_MatchIpv4PrefixList::kiv_handleMatchIpv4PrefixList_subnets(
    const Lanx::IpAddrWithMask& subnet) {
  handleIpv4Subnet(subnet);
}

void PathSm::NestedSm_MatchIpv4PrefixList::handleIpv4Subnet(const Lanx::IpAddrWithMask& subnet) {
  owner().subnetChanged<Ipv4Lists>(notifier()->name(), subnet);
}

void PathSm::NestedSm_MatchIpv6PrefixList::onAttribute(Pith::FieldId field, const void* key,
                                                       const Pith::Change* /*change*/) {
  if (field != MatchList::MatchIpv6PrefixListConfig::subnetsField) return;
  kiv_handleMatchIpv6PrefixList_subnets(*static_cast<const Lanx::Ip6AddrWithMask*>(key));
}

void PathSm::NestedSm_MatchIpv6PrefixList::kiv_handleMatchIpv6PrefixList_subnets(
    const Lanx::Ip6AddrWithMask& subnet) {
  handleIpv6Subnet(subnet);
}

void PathSm::NestedSm_MatchIpv6PrefixList::handleIpv6Subnet(const Lanx::Ip6AddrWithMask& subnet) {
  owner().subnetChanged<Ipv6Lists>(notifier()->name(), subnet);
}

void PathSm::NestedSm_AclIpv4PrefixList::onAttribute(Pith::FieldId field, const void* key,
                                                     const Pith::Change* change) {
  if (field != Acl::PrefixList::prefixEntryField) return;
  kiv_handleAclIpv4PrefixList_prefixEntry(*static_cast<const std::uint32_t*>(key), *change);
}

void PathSm::NestedSm_AclIpv4PrefixList::kiv_handleAclIpv4PrefixList_prefixEntry(
    std::uint32_t seqnum, const Pith::Change& change) {
  handleIpv4Prefix(seqnum, change);
}

void PathSm::NestedSm_AclIpv4PrefixList::handleIpv4Prefix(std::uint32_t /*seqnum*/,
                                                          const Pith::Change& change) {
  owner().entryChanged<Ipv4Lists>(notifier()->name(), change);
}

void PathSm::NestedSm_AclIpv6PrefixList::onAttribute(Pith::FieldId field, const void* key,
                                                     const Pith::Change* change) {
  if (field != Acl::Ipv6PrefixList::ipv6PrefixEntryField) return;
  kiv_handleAclIpv6PrefixList_ipv6PrefixEntry(*static_cast<const std::uint32_t*>(key), *change);
}

void PathSm::NestedSm_AclIpv6PrefixList::kiv_handleAclIpv6PrefixList_ipv6PrefixEntry(
    std::uint32_t seqnum, const Pith::Change& change) {
  handleIpv6Prefix(seqnum, change);
}

void PathSm::NestedSm_AclIpv6PrefixList::handleIpv6Prefix(std::uint32_t /*seqnum*/,
                                                          const Pith::Change& change) {
  owner().entryChanged<Ipv6Lists>(notifier()->name(), change);
}

}  // namespace Firewall
