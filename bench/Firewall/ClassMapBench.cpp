// An interface bound and unbound, and a VLAN range changed, among very many segments, beside the
// same writes to the output without reactors.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "bench/Firewall/Switch.h"

namespace {

constexpr std::uint32_t changesALife = 100;

const Lanx::IntfId interface { std::string_view("Ethernet1") };

Pith::String segmentName(std::uint32_t number) { return Bench::named("segment", number); }

// Every segment has a class map of its own.
struct World {
  World(std::uint32_t segments, bool isL2) {
    sw.interface(interface, L3::VrfName("red"));
    Firewall::SegmentDir::Ptr directory;
    if (isL2) {
      directory = sw.source->l2SegmentDirIs("l2");
    } else {
      directory = sw.vrf("red");
    }
    const std::string prefix = isL2 ? "__segment_" : "__VRF_red_segment_";
    for (std::uint32_t i = 0; i < segments; ++i) {
      const Pith::String className(prefix + std::to_string(i));
      const auto each = sw.source->classMapIs(className);
      if (i == segments / 2) classMap = each;
      directory->segmentIs(segmentName(i))->classNameIs(className);
    }
    sw.start();
  }

  Bench::Switch sw;
  Firewall::ClassMapFirewall::Ptr classMap;
};

void bind(World& world, Bench::Life& life) {
  for (std::uint32_t i = 0; i < changesALife; ++i) {
    life.time("bind", [&] { world.classMap->intfVlanDataIs(interface); });
    life.time("unbind", [&] { world.classMap->intfVlanDataDel(interface); });
  }
}

void changeRange(World& world, Bench::Life& life) {
  const auto data = world.classMap->intfVlanDataIs(interface);
  data->vlanRangeIs({1, 99});
  for (std::uint32_t i = 0; i < changesALife; ++i) {
    life.time("range added", [&] { data->vlanRangeIs({100, 199}); });
    life.time("range removed", [&] { data->vlanRangeDel({100, 199}); });
  }
}

struct Output {
  explicit Output(std::uint32_t segments) {
    for (std::uint32_t i = 0; i < segments; ++i) {
      vrf->segmentIs(segmentName(i))->classNameIs(Bench::named("__VRF_red_segment_", i));
    }
    segment = vrf->segment(segmentName(segments / 2));
  }

  Firewall::HwConfig::Ptr hwConfig = Kiv::make<Firewall::HwConfig>();
  Pith::Ptr<Firewall::FwVrf> vrf = hwConfig->vrfIs(L3::VrfName("red"));
  Firewall::FwSegment::Ptr segment;
};

void writeBinding(Output& output, Bench::Life& life) {
  for (std::uint32_t i = 0; i < changesALife; ++i) {
    life.time("bind",
              [&] { output.segment->intfVlanRangeSetIs(output.segment->className(), interface); });
    life.time("unbind", [&] { output.segment->intfVlanRangeSetDel(interface); });
  }
}

void writeRange(Output& output, Bench::Life& life) {
  const auto data = output.segment->intfVlanRangeSetIs(interface);
  data->vlanRangeIs({1, 99});
  for (std::uint32_t i = 0; i < changesALife; ++i) {
    life.time("range added", [&] { data->vlanRangeIs({100, 199}); });
    life.time("range removed", [&] { data->vlanRangeDel({100, 199}); });
  }
}

void compareChanges(const std::string& title, std::uint32_t segments, bool isL2,
                    void (*live)(World&, Bench::Life&), void (*write)(Output&, Bench::Life&)) {
  Bench::compare(
      title + ", " + std::to_string(segments) + " segments", changesALife,
      {{"reactors",
        Bench::kept<World>([=] { return std::make_shared<World>(segments, isL2); }, live)},
       {"writes alone",
        Bench::kept<Output>([=] { return std::make_shared<Output>(segments); }, write)}});
}

const bool registered = [] {
  for (const std::uint32_t segments : {10U, 1'000U, 10'000U}) {
    compareChanges("5a An interface", segments, false, bind, writeBinding);
  }
  for (const std::uint32_t segments : {10U, 1'000U, 10'000U}) {
    compareChanges("5b A VLAN range", segments, true, changeRange, writeRange);
  }
  return true;
}();

}  // namespace
