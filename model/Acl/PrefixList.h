// Prefix lists: sequenced entries, each a prefix and whether it is permitted.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "framework/Kiv/Entity.h"
#include "framework/Kiv/Followed.h"
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
  KIV_CHILDREN_INDEXED(Pith::String, PrefixList, prefixList, ipv4Lists_.changed)
  KIV_CHILDREN_INDEXED(Pith::String, Ipv6PrefixList, ipv6PrefixList, ipv6Lists_.changed)

  // The lists of the family, for those who follow them.
  const Kiv::Followed& followed(Lanx::AddressFamily family) const noexcept {
    return family == Lanx::AddressFamily::ipv4 ? ipv4Lists_ : ipv6Lists_;
  }

 private:
  Kiv::Followed ipv4Lists_;
  Kiv::Followed ipv6Lists_;
};

}  // namespace Acl
