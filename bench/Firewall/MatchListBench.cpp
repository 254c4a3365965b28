// A segment's match list: applied, one prefix added and withdrawn, and switched for another that
// shares most of it, beside the two insertions into hash maps that a prefix needs.
#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "bench/Firewall/Switch.h"

namespace {

using Firewall::ListSource;

struct HashOf {
  template <class Value>
  std::size_t operator()(const Value& value) const noexcept {
    return static_cast<std::size_t>(value.hash());
  }
};

// A list of so many prefixes, one that shares 99 in 100 with it, and other segments in the VRF.
struct World {
  World(std::uint32_t prefixes, std::uint32_t others) : count(prefixes) {
    const auto vrf = sw.vrf("red");
    sw.hwCapability->globalPrefixListSupportedIs(true);
    list = sw.lists->matchIpv4PrefixListIs("first");
    const auto second = sw.lists->matchIpv4PrefixListIs("second");
    for (std::uint32_t i = 0; i < prefixes; ++i) {
      list->subnetsIs(Bench::subnet(i));
      second->subnetsIs(Bench::subnet(i + prefixes / 100));
    }
    for (std::uint32_t i = 0; i < others; ++i) vrf->segmentIs(Bench::named("other", i));
    segment = vrf->segmentIs("segment");
    sw.start();
  }

  Bench::Switch sw;
  MatchList::MatchIpv4PrefixListConfig::Ptr list;
  Firewall::Segment::Ptr segment;
  std::uint32_t count;
};

void apply(World& world, Bench::Life& life) {
  life.time("apply", [&] { world.segment->prefixIpv4MlIs(ListSource::matchList("first")); });
  life.time("switch", [&] { world.segment->prefixIpv4MlIs(ListSource::matchList("second")); });
  life.time("withdraw", [&] { world.segment->prefixIpv4MlIs(ListSource()); });
}

// The tables that the hardware is to have of it.
class Tables {
 public:
  void add(const Lanx::IpGenAddrWithMask& subnet) {
    owners_.try_emplace(Lanx::IpGenPrefix(subnet), segment_);
    subnets_.try_emplace(subnet, true);
  }
  void remove(const Lanx::IpGenAddrWithMask& subnet) {
    owners_.erase(Lanx::IpGenPrefix(subnet));
    subnets_.erase(subnet);
  }
  void removeAll() {
    owners_ = {};
    subnets_ = {};
  }
  // Those before `first`.
  void removeBefore(std::uint32_t first) {
    for (std::uint32_t i = 0; i < first; ++i) remove(Bench::subnet(i));
  }

 private:
  Pith::String segment_ = "segment";
  absl::flat_hash_map<Lanx::IpGenPrefix, Pith::String, HashOf> owners_;
  absl::flat_hash_map<Lanx::IpGenAddrWithMask, bool, HashOf> subnets_;
};

void applyToTables(std::uint32_t prefixes, Bench::Life& life) {
  Tables tables;
  const auto addFrom = [&](std::uint32_t first) {
    for (std::uint32_t i = 0; i < prefixes; ++i) tables.add(Bench::subnet(first + i));
  };
  life.time("apply", [&] { addFrom(0); });
  life.time("switch", [&] {
    addFrom(prefixes / 100);
    tables.removeBefore(prefixes / 100);
  });
  life.time("withdraw", [&] { tables.removeAll(); });
}

void compareLists(std::uint32_t prefixes) {
  Bench::compare(
      "3a A match list, " + std::to_string(prefixes) + " prefixes", prefixes,
      {{"reactors",
        Bench::kept<World>([=] { return std::make_shared<World>(prefixes, 1); }, apply)},
       {"absl flat_hash_map", [=](Bench::Life& life) { applyToTables(prefixes, life); }}});
}

constexpr std::uint32_t changesALife = 100;

void change(World& world, Bench::Life& life) {
  life.time("one added", [&] {
    for (std::uint32_t i = 0; i < changesALife; ++i) {
      world.list->subnetsIs(Bench::subnet((1U << 23) + i));
    }
  });
  life.time("one withdrawn", [&] {
    for (std::uint32_t i = 0; i < changesALife; ++i) {
      world.list->subnetsDel(Bench::subnet((1U << 23) + i));
    }
  });
}

void changeTables(Tables& tables, Bench::Life& life) {
  life.time("one added", [&] {
    for (std::uint32_t i = 0; i < changesALife; ++i) tables.add(Bench::subnet((1U << 23) + i));
  });
  life.time("one withdrawn", [&] {
    for (std::uint32_t i = 0; i < changesALife; ++i) tables.remove(Bench::subnet((1U << 23) + i));
  });
}

void compareChanges(const std::string& title, std::uint32_t prefixes, std::uint32_t others) {
  const auto makeWorld = [=] {
    auto world = std::make_shared<World>(prefixes, others);
    world->segment->prefixIpv4MlIs(ListSource::matchList("first"));
    return world;
  };
  const auto makeTables = [=] {
    auto tables = std::make_shared<Tables>();
    for (std::uint32_t i = 0; i < prefixes; ++i) tables->add(Bench::subnet(i));
    return tables;
  };
  Bench::compare(title, changesALife,
                 {{"reactors", Bench::kept<World>(makeWorld, change)},
                  {"absl flat_hash_map", Bench::kept<Tables>(makeTables, changeTables)}});
}

const bool registered = [] {
  for (const std::uint32_t prefixes : {1'000U, 100'000U, 1'000'000U}) compareLists(prefixes);
  for (const std::uint32_t prefixes : {1'000U, 100'000U, 1'000'000U}) {
    compareChanges("3b One prefix changed, list of " + std::to_string(prefixes), prefixes, 1);
  }
  for (const std::uint32_t others : {1U, 100U, 10'000U}) {
    compareChanges("3c One prefix changed, " + std::to_string(others) + " other segments", 1'000,
                   others);
  }
  return true;
}();

}  // namespace
