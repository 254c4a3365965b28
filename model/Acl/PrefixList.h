// Prefix lists: sequenced entries, each a prefix and whether it is permitted.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>

#include "framework/Kiv/Entity.h"
#include "framework/Lanx/AddressFamily.h"
#include "framework/Lanx/Prefix.h"
#include "framework/Pith/String.h"

namespace Acl {

enum class Action : std::uint8_t { deny = 0, permit = 1 };
constexpr std::array<std::string_view, 2> enumNames(Action /*any*/) { return {"deny", "permit"}; }

template <class PrefixType>
struct Entry {
  PrefixType prefix;
  Action action = Action::deny;
  KIV_FIELDS(prefix, action)
  bool operator==(const Entry&) const = default;
};
using PrefixEntry = Entry<Lanx::Prefix>;
using Ipv6PrefixEntry = Entry<Lanx::Ip6Prefix>;

class PITH_EXPORT PrefixList : public Kiv::Entity {
  KIV_ENTITY(PrefixList, Kiv::Entity)
  KIV_KEY(PrefixList, Pith::String, name)
  KIV_ORDERED_MAP(std::uint32_t, PrefixEntry, prefixEntry)  // by sequence number
};

class PITH_EXPORT Ipv6PrefixList : public Kiv::Entity {
  KIV_ENTITY(Ipv6PrefixList, Kiv::Entity)
  KIV_KEY(Ipv6PrefixList, Pith::String, name)
  KIV_ORDERED_MAP(std::uint32_t, Ipv6PrefixEntry, ipv6PrefixEntry)  // by sequence number
};

class PITH_EXPORT AclListConfig : public Kiv::Entity {
  KIV_ENTITY(AclListConfig, Kiv::Entity)
  KIV_CHILDREN_INDEXED(Pith::String, PrefixList, prefixList, countIpv4Change)
  KIV_CHILDREN_INDEXED(Pith::String, Ipv6PrefixList, ipv6PrefixList, countIpv6Change)

  // What those who follow the lists of the family share about them; theirs to set.
  std::weak_ptr<void>& sharedByFollowers(Lanx::AddressFamily family) const noexcept {
    return family == Lanx::AddressFamily::ipv4 ? sharedByIpv4Followers_ : sharedByIpv6Followers_;
  }

  // Another one after each list of the family that came or went.
  std::uint64_t listsVersion(Lanx::AddressFamily family) const noexcept {
    return family == Lanx::AddressFamily::ipv4 ? ipv4Version_ : ipv6Version_;
  }

 private:
  void countIpv4Change(const Pith::String& /*key*/, const void* /*previous*/,
                       const void* /*current*/) {
    ++ipv4Version_;
  }
  void countIpv6Change(const Pith::String& /*key*/, const void* /*previous*/,
                       const void* /*current*/) {
    ++ipv6Version_;
  }

  mutable std::weak_ptr<void> sharedByIpv4Followers_;
  mutable std::weak_ptr<void> sharedByIpv6Followers_;
  std::uint64_t ipv4Version_ = 0;
  std::uint64_t ipv6Version_ = 0;
};

}  // namespace Acl
