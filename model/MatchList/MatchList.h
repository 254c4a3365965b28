// Match lists: named lists of subnets. There may be several configurations of them, each an entry
// of a directory under its path name.
#pragma once

#include <cstdint>

#include "framework/Kiv/Entity.h"
#include "framework/Kiv/Followed.h"
#include "framework/Lanx/AddressFamily.h"
#include "framework/Lanx/IpAddrWithMask.h"
#include "framework/Pith/String.h"

namespace MatchList {

class PITH_EXPORT MatchIpv4PrefixListConfig : public Kiv::Entity {
  KIV_ENTITY(MatchIpv4PrefixListConfig, Kiv::Entity)
  KIV_KEY(MatchIpv4PrefixListConfig, Pith::String, name)
  KIV_ORDERED_SET(Lanx::IpAddrWithMask, subnets)
};

class PITH_EXPORT MatchIpv6PrefixListConfig : public Kiv::Entity {
  KIV_ENTITY(MatchIpv6PrefixListConfig, Kiv::Entity)
  KIV_KEY(MatchIpv6PrefixListConfig, Pith::String, name)
  KIV_ORDERED_SET(Lanx::Ip6AddrWithMask, subnets)
};

class PITH_EXPORT Config : public Kiv::Entity {
  KIV_ENTITY(Config, Kiv::Entity)
  KIV_KEY(Config, Pith::String, name)
  KIV_CHILDREN_INDEXED(Pith::String, MatchIpv4PrefixListConfig, matchIpv4PrefixList,
                       ipv4Lists_.changed)
  KIV_CHILDREN_INDEXED(Pith::String, MatchIpv6PrefixListConfig, matchIpv6PrefixList,
                       ipv6Lists_.changed)

  // The lists of the family, for those who follow them.
  const Kiv::Followed& followed(Lanx::AddressFamily family) const noexcept {
    return family == Lanx::AddressFamily::ipv4 ? ipv4Lists_ : ipv6Lists_;
  }

 private:
  Kiv::Followed ipv4Lists_;
  Kiv::Followed ipv6Lists_;
};

}  // namespace MatchList
