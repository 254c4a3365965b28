// Match lists: named lists of subnets. There may be several configurations of them, each an entry
// of a directory under its path name.
#pragma once

#include <cstdint>
#include <memory>

#include "framework/Kiv/Entity.h"
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
                       countIpv4Change)
  KIV_CHILDREN_INDEXED(Pith::String, MatchIpv6PrefixListConfig, matchIpv6PrefixList,
                       countIpv6Change)

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

}  // namespace MatchList
