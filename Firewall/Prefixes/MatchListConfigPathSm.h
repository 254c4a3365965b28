// Turns a segment's choice of lists into its subnets: one reactor for each segment and each
// match-list path.
//
// The segment names, for each family, a match list of the path or a prefix list. When the choice or
// a whole list changes, the family is recomputed: what is wanted is added, then what is stale
// withdrawn. The nested reactors, one for each list (ListReactors.h), apply single changes. Every
// subnet goes through the classification (SubnetClassification.h), which keeps the VRF-wide list
// beside the segment's own.
#pragma once

#include <cstdint>

#include "Firewall/Attributes.h"
#include "Firewall/Prefixes/ListReactors.h"
#include "Firewall/Prefixes/MatchListFamily.h"
#include "Firewall/Stage.h"
#include "framework/Kiv/Dir.h"
#include "framework/Kiv/Factory.h"
#include "framework/Kiv/Reactor.h"
#include "framework/Lanx/AddressFamily.h"
#include "framework/Lanx/IpAddrWithMask.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"
#include "model/Acl/PrefixList.h"
#include "model/Firewall/FwSegment.h"
#include "model/Firewall/HwCapability.h"
#include "model/Firewall/Segment.h"
#include "model/MatchList/MatchList.h"

namespace Firewall {

class SubnetClassification;

class PITH_EXPORT MatchListConfigPathSm final
    : public Kiv::Reactor<MatchListConfigPathSm, MatchListConfigPathSmAttributes>,
      private ChoiceWatch {
 public:
  class PITH_EXPORT NestedSm_MatchIpv4PrefixList final
      : public Kiv::NestedReactor<NestedSm_MatchIpv4PrefixList, MatchListConfigPathSm,
                                  MatchList::MatchIpv4PrefixListConfig> {
    KIV_NESTED_REACTOR(NestedSm_MatchIpv4PrefixList, MatchListConfigPathSm)
    static constexpr bool isToldByOwner = true;
    void handleNotifier() {}
    void onAttribute(Pith::FieldId field, const void* key, const Pith::Change* change);
    void kiv_handleMatchIpv4PrefixList_subnets(const Lanx::IpAddrWithMask& subnet);
    void handleIpv4Subnet(const Lanx::IpAddrWithMask& subnet);
  };

  class PITH_EXPORT NestedSm_MatchIpv6PrefixList final
      : public Kiv::NestedReactor<NestedSm_MatchIpv6PrefixList, MatchListConfigPathSm,
                                  MatchList::MatchIpv6PrefixListConfig> {
    KIV_NESTED_REACTOR(NestedSm_MatchIpv6PrefixList, MatchListConfigPathSm)
    static constexpr bool isToldByOwner = true;
    void handleNotifier() {}
    void onAttribute(Pith::FieldId field, const void* key, const Pith::Change* change);
    void kiv_handleMatchIpv6PrefixList_subnets(const Lanx::Ip6AddrWithMask& subnet);
    void handleIpv6Subnet(const Lanx::Ip6AddrWithMask& subnet);
  };

  class PITH_EXPORT NestedSm_AclIpv4PrefixList final
      : public Kiv::NestedReactor<NestedSm_AclIpv4PrefixList, MatchListConfigPathSm,
                                  Acl::PrefixList> {
    KIV_NESTED_REACTOR(NestedSm_AclIpv4PrefixList, MatchListConfigPathSm)
    static constexpr bool isToldByOwner = true;
    void handleNotifier() {}
    void onAttribute(Pith::FieldId field, const void* key, const Pith::Change* change);
    void kiv_handleAclIpv4PrefixList_prefixEntry(std::uint32_t seqnum, const Pith::Change& change);
    void handleIpv4Prefix(std::uint32_t seqnum, const Pith::Change& change);
  };

  class PITH_EXPORT NestedSm_AclIpv6PrefixList final
      : public Kiv::NestedReactor<NestedSm_AclIpv6PrefixList, MatchListConfigPathSm,
                                  Acl::Ipv6PrefixList> {
    KIV_NESTED_REACTOR(NestedSm_AclIpv6PrefixList, MatchListConfigPathSm)
    static constexpr bool isToldByOwner = true;
    void handleNotifier() {}
    void onAttribute(Pith::FieldId field, const void* key, const Pith::Change* change);
    void kiv_handleAclIpv6PrefixList_ipv6PrefixEntry(std::uint32_t seqnum,
                                                     const Pith::Change& change);
    void handleIpv6Prefix(std::uint32_t seqnum, const Pith::Change& change);
  };

  KIV_REACTOR(MatchListConfigPathSm)
  FIREWALL_LIST_REACTORS(MatchListsOf<Ipv4Lists>, MatchListConfigPathSm,
                         NestedSm_MatchIpv4PrefixList, matchIpv4PrefixList)
  FIREWALL_LIST_REACTORS(MatchListsOf<Ipv6Lists>, MatchListConfigPathSm,
                         NestedSm_MatchIpv6PrefixList, matchIpv6PrefixList)
  FIREWALL_LIST_REACTORS(PrefixListsOf<Ipv4Lists>, MatchListConfigPathSm,
                         NestedSm_AclIpv4PrefixList, aclIpv4PrefixList)
  FIREWALL_LIST_REACTORS(PrefixListsOf<Ipv6Lists>, MatchListConfigPathSm,
                         NestedSm_AclIpv6PrefixList, aclIpv6PrefixList)

  Pith::Ptr<NestedSm_MatchIpv4PrefixList> matchIpv4PrefixListIs(
      const Pith::Ptr<const MatchList::MatchIpv4PrefixListConfig>& list);
  Pith::Ptr<NestedSm_MatchIpv6PrefixList> matchIpv6PrefixListIs(
      const Pith::Ptr<const MatchList::MatchIpv6PrefixListConfig>& list);
  Pith::Ptr<NestedSm_AclIpv4PrefixList> aclIpv4PrefixListIs(
      const Pith::Ptr<const Acl::PrefixList>& list);
  Pith::Ptr<NestedSm_AclIpv6PrefixList> aclIpv6PrefixListIs(
      const Pith::Ptr<const Acl::Ipv6PrefixList>& list);

  bool initialized() const noexcept { return stage_.initialized(); }
  // From handleInitialized() to cleanup(); otherwise handlers do nothing.
  bool isWorking() const noexcept { return stage_.isWorking(); }

  void inSegmentDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                         Pith::FieldId field, const void* key, const Pith::Change* change);
  void matchListConfigDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                               Pith::FieldId field, const void* key, const Pith::Change* change);
  void aclListConfigDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                             Pith::FieldId field, const void* key, const Pith::Change* change);

  void handleInitialized();

  // Recompute the segment's subnets of the family from its choice.
  void handleIpv4PrefixList();
  void handleIpv6PrefixList();
  // A list of that name changed: recompute when the segment names it.
  void handleIpv4PrefixList(const Pith::String& name);
  void handleIpv6PrefixList(const Pith::String& name);
  // Withdraw every subnet of the family, even one that another source asks for too.
  // SegmentSM::cleanup() does not call this, but cleanup() below.
  void cleanIpv4PrefixList();
  void cleanIpv6PrefixList();
  // SegmentSM::cleanup() calls this when the segment leaves together with its source. Withdraws the
  // subnets of both families, IPv4 first, but not those that a list of the same segment in another
  // enabled source holds. Afterwards the reactor does nothing any more.
  void cleanup();

  // Whether any match-list path has such a list.
  bool hasMatchList(const Pith::String& name, Lanx::AddressFamily af) const;
  bool hasPrefixList(const Pith::String& name, Lanx::AddressFamily af) const;
  // Whether any configuration source gives the segment a list of the family.
  bool isMatchListConfigured(Lanx::AddressFamily af) const;

 private:
  template <class Lists>
  friend struct MatchListsOf;
  template <class Lists>
  friend struct PrefixListsOf;

  explicit MatchListConfigPathSm(MatchListConfigPathSmAttributes attributes);
  void start();
  void choiceChanges(Lanx::AddressFamily family) noexcept override;

  // Written once for both families, over the traits of MatchListFamily.h.
  template <class Lists>
  void recompute();
  template <class Lists>
  void applyChoice();
  template <class Lists>
  void applyPrefixList(const Pith::String& name);
  template <class Lists>
  void applyMatchList(const Pith::String& name);
  template <class Lists, class IsWanted>
  void withdrawStale(SubnetClassification& classification, const IsWanted& isWanted);
  template <class Lists, class IsKept>
  void withdraw(const IsKept& isKept);
  template <class Lists>
  void withdrawAll();
  // Spares what the lists of the same segment hold in other enabled sources.
  template <class Lists>
  void withdrawOwn();
  template <class Lists>
  bool isChosen(const Pith::String& name) const;
  template <class Lists, class Reactors>
  void listChanged(Reactors& reactors, const Pith::String& name);
  // What the nested reactors report (MatchListNestedSm.cpp).
  template <class Lists>
  void subnetChanged(const Pith::String& listName, const typename Lists::Subnet& subnet);
  template <class Lists>
  void entryChanged(const Pith::String& listName, const Pith::Change& change);
  template <class Lists>
  bool hasChosen(ListSource::Alternative alternative, const Pith::String& name) const;

  Kiv::Subscription<&MatchListConfigPathSm::inSegmentDispatch> inSegmentSubscription_;
  Kiv::Subscription<&MatchListConfigPathSm::matchListConfigDispatch> matchListConfigSubscription_;
  Kiv::Subscription<&MatchListConfigPathSm::aclListConfigDispatch> aclListConfigSubscription_;
  Stage stage_;
  // Counts everything that is done to the segment's subnets. By this a recompute notices that a
  // subscriber to the output changed the input meanwhile, and starts over.
  std::uint32_t changes_ = 0;
};

// Compiled once, in the library.
extern template class ListReactors<MatchListsOf<Ipv4Lists>, MatchListConfigPathSm,
                                   MatchListConfigPathSm::NestedSm_MatchIpv4PrefixList>;
extern template class ListReactors<MatchListsOf<Ipv6Lists>, MatchListConfigPathSm,
                                   MatchListConfigPathSm::NestedSm_MatchIpv6PrefixList>;
extern template class ListReactors<PrefixListsOf<Ipv4Lists>, MatchListConfigPathSm,
                                   MatchListConfigPathSm::NestedSm_AclIpv4PrefixList>;
extern template class ListReactors<PrefixListsOf<Ipv6Lists>, MatchListConfigPathSm,
                                   MatchListConfigPathSm::NestedSm_AclIpv6PrefixList>;

KIV_FACTORY(MatchListConfigPathSm, matchListConfigPathSmFactory)

}  // namespace Firewall
