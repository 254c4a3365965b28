// Kiv::OrderedMap beside the ordered maps that a user would take instead.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#if __has_include(<absl/container/btree_map.h>)
#include <absl/container/btree_map.h>
#define BENCH_ABSL 1
#endif

#include "bench/framework/Records.h"
#include "bench/framework/Table.h"
#include "framework/Kiv/OrderedMap.h"

namespace {

using Bench::KivMap;
using Bench::Record;
using Bench::shuffled;
using Bench::StandardMap;

// A network prefix by size: 20 bytes.
struct WideKey {
  std::array<std::uint32_t, 5> words;
  auto operator<=>(const WideKey&) const = default;
};

template <class Key>
Key keyOf(std::uint32_t number);
template <>
std::uint32_t keyOf(std::uint32_t number) {
  return number * 8;
}
template <>
WideKey keyOf(std::uint32_t number) {
  return {{7, number / 256, number % 256, 0, 64}};
}

template <class Key, class Map>
void lifeInOrder(Bench::Life& life, std::uint32_t count) {
  const std::size_t before = Bench::heapBytes();
  {
    Map map;
    life.time("1 insert in order", [&] {
      for (std::uint32_t number = 1; number <= count; ++number) {
        map.insert(keyOf<Key>(number), number);
      }
    });
    life.note("2 bytes, in order", Bench::heapBytes() - before);
    Bench::timeWalk(life, "3 walk, in order", map);
    life.time("4 erase in order", [&] {
      for (std::uint32_t number = 1; number <= count; ++number) map.erase(keyOf<Key>(number));
    });
  }
  Map map;
  life.time("1 insert, hint: end", [&] {
    for (std::uint32_t number = 1; number <= count; ++number) {
      map.insertLast(keyOf<Key>(number), number);
    }
  });
}

template <class Key, class Map>
void lifeAtRandom(Bench::Life& life, const std::vector<std::uint32_t>& inserted,
                  const std::vector<std::uint32_t>& sought) {
  const std::size_t before = Bench::heapBytes();
  Map map;
  life.time("5 insert", [&] {
    for (const std::uint32_t number : inserted) map.insert(keyOf<Key>(number), number);
  });
  life.note("6 bytes", Bench::heapBytes() - before);
  Bench::timeFind(life, "7", map, keyOf<Key>, sought);
  Bench::timeWalk(life, "8 walk", map);
  life.time("9 erase", [&] {
    for (const std::uint32_t number : sought) map.erase(keyOf<Key>(number));
  });
}

template <class Key, class Map>
Bench::Contenders::value_type contender(const char* name, std::uint32_t count) {
  return {name, [inserted = shuffled(count, 1), sought = shuffled(count, 2), count](auto& life) {
            lifeInOrder<Key, Map>(life, count);
            lifeAtRandom<Key, Map>(life, inserted, sought);
          }};
}

template <class Key>
void compareMaps(const std::string& keyName) {
  using Map = Kiv::OrderedMap<Kiv::MapEntry<Key, Record>, Kiv::MapEntryKey<Key, Record>>;
  Bench::compareAtSizes("F2 Ordered map, " + keyName + " key", [](std::uint32_t count) {
    return Bench::Contenders{
        contender<Key, KivMap<Key, Map>>("Kiv", count),
#ifdef BENCH_ABSL
        contender<Key, StandardMap<Key, absl::btree_map<Key, Record>>>("absl btree", count),
#endif
        contender<Key, StandardMap<Key, std::map<Key, Record>>>("std::map", count),
    };
  });
}

const bool registered = [] {
  compareMaps<std::uint32_t>("4-byte");
  compareMaps<WideKey>("20-byte");
  return true;
}();

}  // namespace
