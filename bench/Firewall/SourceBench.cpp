// A full source enabled and disabled, beside the same writes to the output without reactors; and
// with the flight recorder on, beside the same with it off, nobody or somebody watching all of the
// output. An entry is a prefix.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

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

// Keeps what it is told.
class Watcher final : public Kiv::TreeWatcher {
 public:
  using TreeWatcher::TreeWatcher;

 private:
  void onChange(const Kiv::TreeChange& change) override {
    changes_.push_back(change.path);
    values_.push_back(change.value);
  }
  std::vector<std::string> changes_;
  std::vector<std::string> values_;
};

void watched(World& world, Bench::Life& life) {
  const Watcher watcher(world.sw.hwConfig);
  enableAndDisable(world, life);
}

// What `live` does, with the flight recorder on.
void recorded(World& world, Bench::Life& life, void (*live)(World&, Bench::Life&)) {
  static Fleetlog::TraceFile file;
  Fleetlog::traceFileIs(&file);
  live(world, life);
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

// The flight recorder on and off in the same world.
void compareRecorder(const std::string& title, const Size& size,
                     void (*live)(World&, Bench::Life&)) {
  const auto world = Bench::inOne<World>([=] { return std::make_shared<World>(size); });
  const auto record = [=](World& each, Bench::Life& life) { recorded(each, life, live); };
  Bench::compare(title + ", " + std::to_string(size.vrfs) + " VRFs", size.prefixes(),
                 {{"recorded", Bench::kept<World>(world, record)},
                  {"not recorded", Bench::kept<World>(world, live)}});
}

const bool registered = [] {
  constexpr Size sizes[] = {{1}, {8}, {64}};
  for (const Size size : sizes) {
    const auto make = [=] { return std::make_shared<World>(size); };
    Bench::compare("6a A full source, " + std::to_string(size.vrfs) + " VRFs", size.prefixes(),
                   {{"reactors", Bench::kept<World>(make, enableAndDisable)},
                    {"writes alone", [=](Bench::Life& life) { write(size, life); }}});
  }
  for (const Size size : sizes) {
    compareRecorder("6b A full source recorded", size, enableAndDisable);
  }
  for (const Size size : sizes) {
    compareRecorder("6c A full source recorded and watched", size, watched);
  }
  return true;
}();

}  // namespace
