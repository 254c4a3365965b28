// A full source enabled and disabled: nobody watching the output, somebody watching all of it, and
// the flight recorder on; beside the same writes to the output without reactors. An entry is a
// prefix.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "bench/Firewall/Switch.h"
#include "framework/Fleetlog/Fleetlog.h"
#include "framework/Kiv/TreeWatcher.h"

namespace {

constexpr std::uint32_t segmentsOfVrf = 50;
constexpr std::uint32_t prefixesOfSegment = 156;
constexpr std::uint32_t rulesOfPolicy = 1'000;

struct Size {
  std::uint32_t vrfs;
  std::uint32_t prefixes() const { return vrfs * segmentsOfVrf * prefixesOfSegment; }
  std::uint32_t services() const { return vrfs * 31; }
  std::uint32_t rules() const { return services() * 10; }
};

struct World {
  explicit World(const Size& size) {
    sw.hwCapability->globalPrefixListSupportedIs(true);
    for (std::uint32_t i = 0; i < size.services(); ++i) {
      sw.application(Bench::named("service", i), 2);
    }
    for (std::uint32_t rule = 0; rule < size.rules(); ++rule) {
      sw.source->policyIs(Bench::named("policy", rule / rulesOfPolicy))
          ->ruleIs(rule % rulesOfPolicy, Bench::named("service", rule % size.services()),
                   Firewall::Action::forward);
    }
    std::uint32_t nextSubnet = 0;
    for (std::uint32_t v = 0; v < size.vrfs; ++v) {
      const auto vrf = sw.vrf(Bench::named("vrf", v));
      for (std::uint32_t s = 0; s < segmentsOfVrf; ++s) {
        const auto segment = vrf->segmentIs(Bench::named("segment", s));
        const Pith::String name = Bench::named("list", v * segmentsOfVrf + s);
        const auto list = sw.lists->matchIpv4PrefixListIs(name);
        for (std::uint32_t i = 0; i < prefixesOfSegment; ++i) {
          list->subnetsIs(Bench::subnet(nextSubnet++));
        }
        segment->prefixIpv4MlIs(Firewall::ListSource::matchList(name));
        segment->policyIs(Bench::named("segment", (s + 1) % segmentsOfVrf), "policy0");
      }
    }
    sw.start();
    sw.source->enabledIs(false);
  }

  Bench::Switch sw;
};

void enableAndDisable(World& world, Bench::Life& life) {
  const std::size_t before = Bench::heapBytes();
  life.time("enable", [&] { world.sw.source->enabledIs(true); });
  life.note("bytes", Bench::heapBytes() - before);
  life.time("disable", [&] { world.sw.source->enabledIs(false); });
}

// Counts what it is told.
class Watcher final : public Kiv::TreeWatcher {
 public:
  using TreeWatcher::TreeWatcher;

 private:
  void onChange(const Kiv::TreeChange& /*change*/) override { ++changes_; }
  std::uint64_t changes_ = 0;
};

void watched(World& world, Bench::Life& life) {
  const Watcher watcher(world.sw.hwConfig);
  enableAndDisable(world, life);
}

void recorded(World& world, Bench::Life& life) {
  static Fleetlog::TraceFile file;
  Fleetlog::traceFileIs(&file);
  enableAndDisable(world, life);
  Fleetlog::traceFileIs(nullptr);
}

void write(const Size& size, Bench::Life& life) {
  const auto hwConfig = Kiv::make<Firewall::HwConfig>();
  const std::size_t before = Bench::heapBytes();
  life.time("enable", [&] {
    for (std::uint32_t rule = 0; rule < size.rules(); ++rule) {
      const auto policy = hwConfig->policyIs(Bench::named("policy", rule / rulesOfPolicy));
      const std::uint32_t seqnum = rule % rulesOfPolicy;
      for (std::uint32_t index = 1; index <= 2; ++index) {
        const Lanx::IpGenPrefix prefix{Lanx::IpGenAddrWithMask(Bench::subnet(index))};
        policy->ruleIs(seqnum << 22U | index, seqnum, prefix, prefix,
                       Firewall::Protocol::Optional(), Firewall::PortRange::all(),
                       Firewall::PortRange::all(), Firewall::Action::forward, false,
                       Lanx::IpGenAddr());
      }
    }
    std::uint32_t nextSubnet = 0;
    for (std::uint32_t v = 0; v < size.vrfs; ++v) {
      const auto vrf = hwConfig->vrfIs(L3::VrfName(Bench::named("vrf", v)));
      for (std::uint32_t s = 0; s < segmentsOfVrf; ++s) {
        const Pith::String name = Bench::named("segment", s);
        const auto segment = vrf->segmentIs(name);
        for (std::uint32_t i = 0; i < prefixesOfSegment; ++i) {
          const Lanx::IpGenAddrWithMask subnet = Bench::subnet(nextSubnet++);
          vrf->prefixListIs(Lanx::IpGenPrefix(subnet), name);
          segment->subnetsIs(subnet, true);
        }
      }
    }
  });
  life.note("bytes", Bench::heapBytes() - before);
  life.time("disable", [&] {
    hwConfig->vrfDelAll();
    hwConfig->policyDelAll();
  });
}

const bool registered = [] {
  for (const Size size : {Size{1}, Size{8}, Size{64}}) {
    const auto make = [=] { return std::make_shared<World>(size); };
    Bench::compare("6 A full source, " + std::to_string(size.vrfs) + " VRFs", size.prefixes(),
                   {{"reactors", Bench::kept<World>(make, enableAndDisable)},
                    {"writes alone", [=](Bench::Life& life) { write(size, life); }},
                    {"watched", Bench::kept<World>(make, watched)},
                    {"recorded", Bench::kept<World>(make, recorded)}});
  }
  return true;
}();

}  // namespace
