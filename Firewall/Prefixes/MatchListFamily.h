// What differs between IPv4 and IPv6 in the choice of a segment's lists: the types, the attributes
// and how the functions are named in traces. The reactor is written once, as templates over these.
#pragma once

#include <cstdint>

#include "Firewall/Prefixes/ListFollowers.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/Dir.h"
#include "framework/Kiv/Followed.h"
#include "framework/Lanx/AddressFamily.h"
#include "framework/Lanx/IpAddrWithMask.h"
#include "framework/Lanx/Prefix.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/FieldId.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/Publisher.h"
#include "framework/Pith/RangeException.h"
#include "framework/Pith/String.h"
#include "model/Acl/PrefixList.h"
#include "model/Firewall/ListSource.h"
#include "model/Firewall/Segment.h"
#include "model/MatchList/MatchList.h"

namespace Firewall {

// The list that the source names, when it is one of the alternative.
inline ListChoice listChoice(const ListSource& source, ListSource::Alternative alternative) {
  try {
    if (source.alternative() == alternative) return {false, source.name()};
    return {};
  } catch (const Pith::RangeException&) {
    return {true, {}};
  }
}

struct PITH_EXPORT Ipv4Lists {
  static constexpr auto family = Lanx::AddressFamily::ipv4;
  using Subnet = Lanx::IpAddrWithMask;
  using Prefix = Lanx::Prefix;
  using MatchListConfig = MatchList::MatchIpv4PrefixListConfig;
  using PrefixList = Acl::PrefixList;
  using PrefixEntry = Acl::PrefixEntry;

  static const ListSource& source(const Segment& segment) { return segment.prefixIpv4Ml(); }
  static const auto& matchLists(const MatchList::Config& config) {
    return config.matchIpv4PrefixList();
  }
  static Pith::Ptr<const MatchListConfig> matchList(const MatchList::Config& config,
                                                    const Pith::String& name) {
    return config.matchIpv4PrefixList(name);
  }
  static const auto& prefixLists(const Acl::AclListConfig& config) { return config.prefixList(); }
  static Pith::Ptr<const PrefixList> prefixList(const Acl::AclListConfig& config,
                                                const Pith::String& name) {
    return config.prefixList(name);
  }
  static const auto& entries(const PrefixList& list) { return list.prefixEntry(); }
  static constexpr Pith::FieldId entryField() { return PrefixList::prefixEntryField; }
  // Of a subnet that has this family.
  static Subnet typed(const Lanx::IpGenAddrWithMask& subnet) { return subnet.ipv4(); }

  static constexpr int cleanLevel = 8;
  static constexpr Twinlog::Function handleAll{
      "void Firewall::MatchListConfigPathSm::handleIpv4PrefixList()"};
  static constexpr Twinlog::Function handleNamed{
      "void Firewall::MatchListConfigPathSm::handleIpv4PrefixList(const String&)"};
  static constexpr Twinlog::Function clean{
      "void Firewall::MatchListConfigPathSm::cleanIpv4PrefixList()"};
  static constexpr Twinlog::Function handleSubnet{
      "void Firewall::MatchListConfigPathSm::NestedSm_MatchIpv4PrefixList::handleIpv4Subnet("
      "const Lanx::IpAddrWithMask&)"};
  static constexpr Twinlog::Function handlePrefix{
      "void Firewall::MatchListConfigPathSm::NestedSm_AclIpv4PrefixList::handleIpv4Prefix(U32)"};
};

struct PITH_EXPORT Ipv6Lists {
  static constexpr auto family = Lanx::AddressFamily::ipv6;
  using Subnet = Lanx::Ip6AddrWithMask;
  using Prefix = Lanx::Ip6Prefix;
  using MatchListConfig = MatchList::MatchIpv6PrefixListConfig;
  using PrefixList = Acl::Ipv6PrefixList;
  using PrefixEntry = Acl::Ipv6PrefixEntry;

  static const ListSource& source(const Segment& segment) { return segment.prefixIpv6Ml(); }
  static const auto& matchLists(const MatchList::Config& config) {
    return config.matchIpv6PrefixList();
  }
  static Pith::Ptr<const MatchListConfig> matchList(const MatchList::Config& config,
                                                    const Pith::String& name) {
    return config.matchIpv6PrefixList(name);
  }
  static const auto& prefixLists(const Acl::AclListConfig& config) {
    return config.ipv6PrefixList();
  }
  static Pith::Ptr<const PrefixList> prefixList(const Acl::AclListConfig& config,
                                                const Pith::String& name) {
    return config.ipv6PrefixList(name);
  }
  static const auto& entries(const PrefixList& list) { return list.ipv6PrefixEntry(); }
  static constexpr Pith::FieldId entryField() { return PrefixList::ipv6PrefixEntryField; }
  static Subnet typed(const Lanx::IpGenAddrWithMask& subnet) { return subnet.ipv6(); }

  static constexpr int cleanLevel = 7;
  static constexpr Twinlog::Function handleAll{
      "void Firewall::MatchListConfigPathSm::handleIpv6PrefixList()"};
  static constexpr Twinlog::Function handleNamed{
      "void Firewall::MatchListConfigPathSm::handleIpv6PrefixList(const String&)"};
  static constexpr Twinlog::Function clean{
      "void Firewall::MatchListConfigPathSm::cleanIpv6PrefixList()"};
  static constexpr Twinlog::Function handleSubnet{
      "void Firewall::MatchListConfigPathSm::NestedSm_MatchIpv6PrefixList::handleIpv6Subnet("
      "const Lanx::Ip6AddrWithMask&)"};
  static constexpr Twinlog::Function handlePrefix{
      "void Firewall::MatchListConfigPathSm::NestedSm_AclIpv6PrefixList::handleIpv6Prefix(U32)"};
};

// What ListReactors and ListFollowers need to know of a kind of list: where the lists are, which
// one a segment chose, and which handler a change goes to.
template <class Lists>
struct PITH_EXPORT MatchListsOf {
  using Input = MatchList::Config;
  using List = typename Lists::MatchListConfig;
  static constexpr int traceLevel = 8;  // of Lists::handleSubnet

  template <class Owner>
  static const Pith::Ptr<const Input>& input(const Owner& owner) {
    return owner.attributes().matchListConfig;
  }
  static const auto& lists(const Input& input) { return Lists::matchLists(input); }
  static Pith::Ptr<const List> list(const Input& input, const Pith::String& name) {
    return Lists::matchList(input, name);
  }
  static const Kiv::Followed& followed(const Input& input) { return input.followed(Lists::family); }
  static ListChoice choice(const Segment& segment) {
    return listChoice(Lists::source(segment), ListSource::Alternative::matchList);
  }
  static constexpr Pith::FieldId elementField() { return List::subnetsField; }
  template <class Owner>
  static void handle(Owner& owner, const Pith::String& name, const void* key,
                     const Pith::Change& /*change*/) {
    owner.template subnetChanged<Lists>(name, *static_cast<const typename Lists::Subnet*>(key));
  }
};

template <class Lists>
struct PITH_EXPORT PrefixListsOf {
  using Input = Acl::AclListConfig;
  using List = typename Lists::PrefixList;
  static constexpr int traceLevel = 7;  // of Lists::handlePrefix

  template <class Owner>
  static const Pith::Ptr<const Input>& input(const Owner& owner) {
    return owner.attributes().aclListConfig;
  }
  static const auto& lists(const Input& input) { return Lists::prefixLists(input); }
  static Pith::Ptr<const List> list(const Input& input, const Pith::String& name) {
    return Lists::prefixList(input, name);
  }
  static const Kiv::Followed& followed(const Input& input) { return input.followed(Lists::family); }
  static ListChoice choice(const Segment& segment) {
    return listChoice(Lists::source(segment), ListSource::Alternative::prefixList);
  }
  static constexpr Pith::FieldId elementField() { return Lists::entryField(); }
  template <class Owner>
  static void handle(Owner& owner, const Pith::String& name, const void* /*key*/,
                     const Pith::Change& change) {
    owner.template entryChanged<Lists>(name, change);
  }
};

// Calls visit(path, list) for the match list of that name in each path that has it, until it
// returns true; returns whether it did.
template <class Lists, class Visit>
bool anyMatchList(const Kiv::Dir& matchListConfigDir, const Pith::String& name,
                  const Visit& visit) {
  for (auto entry = matchListConfigDir.entityPtrIteratorConst(); entry; ++entry) {
    const auto path = Pith::dynamicPtrCast<const MatchList::Config>(entry.ptr());
    if (!path) continue;
    const auto list = Lists::matchList(*path, name);
    if (list && visit(entry.key(), list)) return true;
  }
  return false;
}

}  // namespace Firewall
