// A switch for measuring: every input and output of the library, and nobody who watches the output.
//
//   Bench::Switch sw;
//   sw.source->policyIs("web");
//   sw.start();                       // the reactors stand; the source is enabled
//
// The size of what is there is up to the benchmark. A benchmark's switch may be kept from turn to
// turn:
//
//   Bench::kept<World>([=] { return std::make_shared<World>(size); },
//                      [](World& world, Bench::Life& life) { ... })
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "Firewall/Sources/SwitchStore.h"
#include "bench/framework/Table.h"

namespace Bench {

struct Switch : Firewall::SwitchStore {
  // Makes the reactors and enables the source.
  void start();
  // An application of so many hardware rules, no more than 2^24: pairs of prefixes.
  void application(const Pith::String& name, std::uint32_t rules);
  // The VRF of the source, which is one of the switch's too.
  Pith::Ptr<Firewall::Vrf> vrf(const Pith::String& name);
  // An interface that exists, routed in the VRF.
  void interface(const Lanx::IntfId& intf, const L3::VrfName& vrf);

  Firewall::Config::Ptr source = sourceIs("source");
  MatchList::Config::Ptr lists = matchListPathIs("lists");
};

// "segment17" and the like.
inline Pith::String named(const char* what, std::uint32_t number) {
  return Pith::String(what + std::to_string(number));
}

// 10.0.0.0/32 and on: 2^24 prefixes.
inline Lanx::IpAddrWithMask subnet(std::uint32_t number) {
  return {Lanx::IpAddr(0x0A00'0000U + number), 32};
}

// A contender whose world is made at its first turn, kept over the turns, and gone with the
// comparison.
template <class World>
std::function<void(Life&)> kept(std::function<std::shared_ptr<World>()> make,
                                std::function<void(World&, Life&)> live) {
  return [make = std::move(make), live = std::move(live),
          world = std::shared_ptr<World>()](Life& life) mutable {
    if (!world) world = make();
    live(*world, life);
  };
}

// For kept(): contenders that live in one world, made at the first turn of any of them.
template <class World>
std::function<std::shared_ptr<World>()> inOne(std::function<std::shared_ptr<World>()> make) {
  return [make = std::move(make), last = std::make_shared<std::weak_ptr<World>>()] {
    auto world = last->lock();
    if (!world) *last = world = make();
    return world;
  };
}

}  // namespace Bench
