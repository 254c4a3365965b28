// Very many segments in one VRF, each with ten from-segments, beside the same writes to the output
// without reactors.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "bench/Firewall/Switch.h"

namespace {

constexpr std::uint32_t linksOfSegment = 10;

// Every segment receives from the ten that follow it, by one of as many policies as there are
// segments in ten.
struct World {
  explicit World(std::uint32_t segments) : count(segments) {
    sw.hwCapability->forwardingSegmentsPolicySupportedIs(true);
    for (std::uint32_t i = 0; i <= segments / 10; ++i) sw.source->policyIs(policy(i));
    vrf = sw.vrf("red");
    for (std::uint32_t i = 0; i < segments; ++i) segment(i);
  }

  static Pith::String policy(std::uint32_t number) { return Bench::named("policy", number); }
  static Pith::String name(std::uint32_t number) { return Bench::named("segment", number); }

  void segment(std::uint32_t number) const {
    const auto segment = vrf->segmentIs(name(number));
    for (std::uint32_t link = 1; link <= linksOfSegment; ++link) {
      segment->policyIs(name((number + link) % count), policy(number / 10));
    }
  }

  Bench::Switch sw;
  Pith::Ptr<Firewall::Vrf> vrf;
  std::uint32_t count;
};

void startUp(std::uint32_t segments, Bench::Life& life) {
  World world(segments);
  const std::size_t before = Bench::heapBytes();
  life.time("start", [&] { world.sw.start(); });
  life.note("bytes", Bench::heapBytes() - before);
  life.time("stop", [&] { world.sw.source->enabledIs(false); });
}

void write(std::uint32_t segments, Bench::Life& life) {
  const auto hwConfig = Kiv::make<Firewall::HwConfig>();
  const std::size_t before = Bench::heapBytes();
  const auto vrf = hwConfig->vrfIs(L3::VrfName("red"));
  life.time("start", [&] {
    for (std::uint32_t i = 0; i <= segments / 10; ++i) hwConfig->policyIs(World::policy(i));
    for (std::uint32_t i = 0; i < segments; ++i) vrf->segmentIs(World::name(i));
    for (std::uint32_t i = 0; i < segments; ++i) {
      const auto segment = vrf->segment(World::name(i));
      const auto policy = hwConfig->policy(World::policy(i / 10));
      for (std::uint32_t link = 1; link <= linksOfSegment; ++link) {
        const Pith::String from = World::name((i + link) % segments);
        segment->fromSegmentIs(from, vrf->segment(from), policy);
      }
    }
  });
  life.note("bytes", Bench::heapBytes() - before);
  life.time("stop", [&] {
    vrf->segmentDelAll();
    hwConfig->policyDelAll();
  });
}

void compareStarts(std::uint32_t segments) {
  Bench::compare("4a Start-up, " + std::to_string(segments) + " segments",
                 segments * linksOfSegment,
                 {{"reactors", [=](Bench::Life& life) { startUp(segments, life); }},
                  {"writes alone", [=](Bench::Life& life) { write(segments, life); }}},
                 10'000 / segments);
}

// What one segment or policy that comes and goes links anew: ten links to it, ten from it.
void change(World& world, Bench::Life& life) {
  const std::uint32_t number = world.count / 2;
  life.time("segment removed", [&] { world.vrf->segmentDel(World::name(number)); });
  life.time("segment added", [&] { world.segment(number); });
  life.time("policy removed", [&] { world.sw.source->policyDel(World::policy(number / 10)); });
  life.time("policy added", [&] { world.sw.source->policyIs(World::policy(number / 10)); });
}

struct Output {
  explicit Output(std::uint32_t segments) : count(segments) {
    for (std::uint32_t i = 0; i < segments; ++i) vrf->segmentIs(World::name(i));
    for (std::uint32_t i = 0; i < segments; ++i) link(i);
  }

  void link(std::uint32_t number) const {
    const auto segment = vrf->segmentIs(World::name(number));
    for (std::uint32_t i = 1; i <= linksOfSegment; ++i) {
      const Pith::String from = World::name((number + i) % count);
      segment->fromSegmentIs(from, vrf->segment(from), policy);
    }
  }

  Firewall::HwConfig::Ptr hwConfig = Kiv::make<Firewall::HwConfig>();
  Pith::Ptr<Firewall::FwVrf> vrf = hwConfig->vrfIs(L3::VrfName("red"));
  Firewall::FwPolicy::Ptr policy = hwConfig->policyIs("policy");
  std::uint32_t count;
};

void writeChange(Output& output, Bench::Life& life) {
  const std::uint32_t number = output.count / 2;
  const Pith::String name = World::name(number);
  const auto receiver = [&](std::uint32_t back) {
    return output.vrf->segment(World::name((number + output.count - back) % output.count));
  };
  life.time("segment removed", [&] {
    for (std::uint32_t i = 1; i <= linksOfSegment; ++i) receiver(i)->fromSegmentDel(name);
    output.vrf->segmentDel(name);
  });
  life.time("segment added", [&] {
    output.link(number);
    for (std::uint32_t i = 1; i <= linksOfSegment; ++i) {
      receiver(i)->fromSegmentIs(name, output.vrf->segment(name), output.policy);
    }
  });
}

void compareChanges(std::uint32_t segments) {
  Bench::compare(
      "4b One segment or policy, among " + std::to_string(segments), linksOfSegment * 10,
      {{"reactors", Bench::kept<World>(
                        [=] {
                          auto world = std::make_shared<World>(segments);
                          world->sw.start();
                          return world;
                        },
                        change)},
       {"writes alone",
        Bench::kept<Output>([=] { return std::make_shared<Output>(segments); }, writeChange)}});
}

// Segments that all receive from "forwarding-segments", which stands for the ten with an interface
// that receive from them.
struct Forwarding {
  explicit Forwarding(std::uint32_t segments) {
    const Pith::String policy = "policy";
    sw.source->policyIs(policy);
    const auto vrf = sw.vrf("red");
    for (std::uint32_t s = 0; s < linksOfSegment; ++s) {
      const Pith::String className = Bench::named("__VRF_red_segment_", s);
      const Lanx::IntfId intf(std::string_view("Ethernet" + std::to_string(s)));
      sw.interface(intf, L3::VrfName("red"));
      sw.source->classMapIs(className)->intfVlanDataIs(intf);
      const auto subscriber = vrf->segmentIs(Bench::named("subscriber", s));
      subscriber->classNameIs(className);
      for (std::uint32_t i = 0; i < segments; ++i) subscriber->policyIs(World::name(i), policy);
    }
    for (std::uint32_t i = 0; i < segments; ++i) {
      vrf->segmentIs(World::name(i))->policyIs("forwarding-segments", policy);
    }
    sw.start();
  }

  Bench::Switch sw;
};

void forward(Forwarding& world, Bench::Life& life) {
  for (const auto& segment : world.sw.hwConfig->vrf(L3::VrfName("red"))->segment()) {
    if (segment->intfVlanRangeSet().empty()) segment->fromSegmentDelAll();
  }
  life.time("on", [&] { world.sw.hwCapability->forwardingSegmentsPolicySupportedIs(true); });
  world.sw.hwCapability->forwardingSegmentsPolicySupportedIs(false);
}

// The links that a segment has with forwarding-segments.
struct ForwardedOutput {
  explicit ForwardedOutput(std::uint32_t segments) {
    for (std::uint32_t s = 0; s < linksOfSegment; ++s) {
      vrf->segmentIs(Bench::named("subscriber", s));
    }
    for (std::uint32_t i = 0; i < segments; ++i) vrf->segmentIs(World::name(i));
    count = segments;
  }

  Firewall::HwConfig::Ptr hwConfig = Kiv::make<Firewall::HwConfig>();
  Pith::Ptr<Firewall::FwVrf> vrf = hwConfig->vrfIs(L3::VrfName("red"));
  Firewall::FwPolicy::Ptr policy = hwConfig->policyIs("policy");
  std::uint32_t count = 0;
};

void writeForwarded(ForwardedOutput& output, Bench::Life& life) {
  for (const auto& segment : output.vrf->segment()) segment->fromSegmentDelAll();
  life.time("on", [&] {
    for (std::uint32_t i = 0; i < output.count; ++i) {
      const auto segment = output.vrf->segment(World::name(i));
      for (std::uint32_t s = 0; s < linksOfSegment; ++s) {
        const Pith::String from = Bench::named("subscriber", s);
        segment->fromSegmentIs(from, output.vrf->segment(from), output.policy);
      }
    }
  });
}

void compareForwarding(std::uint32_t segments) {
  const auto makeOutput = [=] { return std::make_shared<ForwardedOutput>(segments); };
  Bench::compare(
      "4c Forwarding-segments, " + std::to_string(segments) + " segments",
      segments * linksOfSegment,
      {{"reactors",
        Bench::kept<Forwarding>([=] { return std::make_shared<Forwarding>(segments); }, forward)},
       {"writes alone", Bench::kept<ForwardedOutput>(makeOutput, writeForwarded)}});
}

const bool registered = [] {
  for (const std::uint32_t segments : {100U, 1'000U, 10'000U}) compareStarts(segments);
  for (const std::uint32_t segments : {100U, 1'000U, 10'000U}) compareChanges(segments);
  for (const std::uint32_t segments : {100U, 1'000U, 10'000U}) compareForwarding(segments);
  return true;
}();

}  // namespace
