// Kiv::OrderedMap beside the ordered maps that a user would take instead.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#if __has_include(<absl/container/btree_map.h>)
#include <absl/container/btree_map.h>
#define BENCH_ABSL 1
#endif

#include "bench/framework/Table.h"
#include "framework/Kiv/OrderedMap.h"

namespace {

struct Record {
  std::array<std::uint32_t, 20> words;
};

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

Record recordOf(std::uint32_t number) {
  Record record{};
  record.words.fill(number);
  return record;
}

template <class Key>
class KivMap {
 public:
  void insert(const Key& key, std::uint32_t number) { map_.insert({key, recordOf(number)}); }
  void insertLast(const Key& key, std::uint32_t number) { insert(key, number); }
  const Record* find(const Key& key) const { return &map_.find(key)->value; }
  void erase(const Key& key) { map_.erase(key); }
  template <class Visit>
  void walk(const Visit& visit) const {
    for (const auto& entry : map_) visit(entry.value);
  }

 private:
  Kiv::OrderedMap<Kiv::MapEntry<Key, Record>, Kiv::MapEntryKey<Key, Record>> map_;
};

template <class Key, class Map>
class StandardMap {
 public:
  void insert(const Key& key, std::uint32_t number) { map_.emplace(key, recordOf(number)); }
  void insertLast(const Key& key, std::uint32_t number) {
    map_.emplace_hint(map_.end(), key, recordOf(number));
  }
  const Record* find(const Key& key) const { return &map_.find(key)->second; }
  void erase(const Key& key) { map_.erase(key); }
  template <class Visit>
  void walk(const Visit& visit) const {
    for (const auto& entry : map_) visit(entry.second);
  }

 private:
  Map map_;
};

std::vector<std::uint32_t> shuffled(std::uint32_t count, std::uint32_t seed) {
  std::vector<std::uint32_t> numbers(count);
  std::iota(numbers.begin(), numbers.end(), 1U);
  std::shuffle(numbers.begin(), numbers.end(), std::mt19937(seed));
  return numbers;
}

template <class Map>
void walk(const Map& map) {
  std::uint64_t sum = 0;
  map.walk([&](const Record& record) { sum += record.words[0]; });
  benchmark::DoNotOptimize(sum);
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
    life.time("3 walk, in order", [&] { walk(map); });
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
  life.time("7 find", [&] {
    for (const std::uint32_t number : sought) {
      benchmark::DoNotOptimize(map.find(keyOf<Key>(number))->words[0]);
    }
  });
  life.time("7 find, one by one", [&] {
    std::uint32_t found = 0;
    for (const std::uint32_t number : sought) {
      found = map.find(keyOf<Key>(number ^ (found >> 31U)))->words[0];
    }
    benchmark::DoNotOptimize(found);
  });
  life.time("8 walk", [&] { walk(map); });
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
  for (const std::uint32_t count : {10U, 1'000U, 100'000U, 1'000'000U}) {
    Bench::compare(
        "OrderedMap, " + keyName + " key, " + std::to_string(count), count,
        {
            contender<Key, KivMap<Key>>("Kiv", count),
#ifdef BENCH_ABSL
            contender<Key, StandardMap<Key, absl::btree_map<Key, Record>>>("absl btree", count),
#endif
            contender<Key, StandardMap<Key, std::map<Key, Record>>>("std::map", count),
        });
  }
}

const bool registered = [] {
  compareMaps<std::uint32_t>("4-byte");
  compareMaps<WideKey>("20-byte");
  return true;
}();

}  // namespace
