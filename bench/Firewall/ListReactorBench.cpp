// Segments with a match list each, beside the same segments that share one list. An entry is a
// segment.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "bench/Firewall/Switch.h"

namespace {

constexpr std::uint32_t prefixesOfList = 10;

void startUp(std::uint32_t segments, std::uint32_t lists, Bench::Life& life) {
  Bench::Switch sw;
  for (std::uint32_t l = 0; l < lists; ++l) {
    const auto list = sw.lists->matchIpv4PrefixListIs(Bench::named("list", l));
    for (std::uint32_t i = 0; i < prefixesOfList; ++i) {
      list->subnetsIs(Bench::subnet(l * prefixesOfList + i));
    }
  }
  const auto vrf = sw.vrf("red");
  for (std::uint32_t s = 0; s < segments; ++s) {
    vrf->segmentIs(Bench::named("segment", s))
        ->prefixIpv4MlIs(Firewall::ListSource::matchList(Bench::named("list", s % lists)));
  }
  const std::size_t before = Bench::heapBytes();
  life.time("start", [&] { sw.start(); });
  life.note("bytes", Bench::heapBytes() - before);
  life.time("list added", [&] { sw.lists->matchIpv4PrefixListIs("new"); });
  life.time("list removed", [&] { sw.lists->matchIpv4PrefixListDel("new"); });
  life.time("stop", [&] { sw.source->enabledIs(false); });
}

const bool registered = [] {
  for (const std::uint32_t segments : {100U, 1'000U, 5'000U}) {
    Bench::compare("7 A list for each segment, " + std::to_string(segments) + " segments", segments,
                   {{"a list each", [=](Bench::Life& life) { startUp(segments, segments, life); }},
                    {"one list", [=](Bench::Life& life) { startUp(segments, 1, life); }}},
                   1);
  }
  return true;
}();

}  // namespace
