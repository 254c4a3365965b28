// Kiv::HashMap2018 beside the hash maps that a user would take instead.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <string>
#include <unordered_map>

#if __has_include(<absl/container/flat_hash_map.h>)
#include <absl/container/flat_hash_map.h>
#include <absl/container/node_hash_map.h>
#define BENCH_ABSL 1
#endif
#if __has_include(<boost/unordered/unordered_flat_map.hpp>)
#include <boost/unordered/unordered_flat_map.hpp>
#define BENCH_BOOST 1
#endif

#include "bench/framework/Records.h"
#include "bench/framework/Table.h"
#include "framework/Kiv/HashMap2018.h"
#include "framework/Pith/Hash.h"

namespace {

using Bench::KivMap;
using Bench::Record;
using Bench::shuffled;
using Bench::StandardMap;

// A network prefix by size: 20 bytes.
struct WideKey {
  std::array<std::uint32_t, 5> words;
  bool operator==(const WideKey&) const = default;
  std::uint64_t hash() const noexcept { return Pith::hashBytes(words.data(), sizeof words); }
};

template <class Key>
Key keyOf(std::uint32_t number);
template <>
std::uint32_t keyOf(std::uint32_t number) {
  return number * 2654435761U;
}
template <>
WideKey keyOf(std::uint32_t number) {
  return {{number, number * 2654435761U, 7, number ^ 0x5bd1e995U, 64}};
}

// The same hash for all, so that the tables are compared and not the mixes.
struct Hasher {
  using is_avalanching = void;
  template <class Key>
  std::size_t operator()(const Key& key) const noexcept {
    return Pith::hashOf(key);
  }
};

template <class Key, class Map>
Bench::Contenders::value_type contender(const char* name, std::uint32_t count) {
  return {name, [inserted = shuffled(count, 1), sought = shuffled(count, 2), count](auto& life) {
            const std::size_t before = Bench::heapBytes();
            Map map;
            life.time("1 insert", [&] {
              for (const std::uint32_t number : inserted) map.insert(keyOf<Key>(number), number);
            });
            life.note("7 bytes", Bench::heapBytes() - before);
            Bench::timeFind(life, "2", map, keyOf<Key>, sought);
            life.time("3 find absent", [&] {
              for (const std::uint32_t number : sought) {
                benchmark::DoNotOptimize(map.find(keyOf<Key>(number + count)));
              }
            });
            Bench::timeWalk(life, "4 walk", map);
            life.time("5 erase and insert", [&] {
              for (const std::uint32_t number : sought) {
                map.erase(keyOf<Key>(number));
                map.insert(keyOf<Key>(number + count), number);
              }
            });
            life.time("6 erase", [&] {
              for (const std::uint32_t number : sought) map.erase(keyOf<Key>(number + count));
            });
          }};
}

template <class Key>
void compareMaps(const std::string& keyName) {
  using Map = Kiv::HashMap2018<Kiv::MapEntry<Key, Record>, Kiv::MapEntryKey<Key, Record>>;
  Bench::compareAtSizes("F1 Hash map, " + keyName + " key", [](std::uint32_t count) {
    return Bench::Contenders{
        contender<Key, KivMap<Key, Map>>("Kiv", count),
#ifdef BENCH_ABSL
        contender<Key, StandardMap<Key, absl::flat_hash_map<Key, Record, Hasher>>>("absl flat",
                                                                                   count),
        contender<Key, StandardMap<Key, absl::node_hash_map<Key, Record, Hasher>>>("absl node",
                                                                                   count),
#endif
#ifdef BENCH_BOOST
        contender<Key, StandardMap<Key, boost::unordered_flat_map<Key, Record, Hasher>>>(
            "boost flat", count),
#endif
        contender<Key, StandardMap<Key, std::unordered_map<Key, Record, Hasher>>>("std::unordered",
                                                                                  count),
    };
  });
}

const bool registered = [] {
  compareMaps<std::uint32_t>("4-byte");
  compareMaps<WideKey>("20-byte");
  return true;
}();

}  // namespace
