// What the maps hold while they are compared, and in which order it comes and is sought.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "bench/framework/Table.h"

namespace Bench {

// Of the size of a policy's rule.
struct Record {
  std::array<std::uint32_t, 20> words;
};

inline Record recordOf(std::uint32_t number) {
  Record record{};
  record.words.fill(number);
  return record;
}

inline std::vector<std::uint32_t> shuffled(std::uint32_t count, std::uint32_t seed) {
  std::vector<std::uint32_t> numbers(count);
  std::iota(numbers.begin(), numbers.end(), 1U);
  std::shuffle(numbers.begin(), numbers.end(), std::mt19937(seed));
  return numbers;
}

// A map of the standard library's interface as the lives use one.
template <class Key, class Map>
class StandardMap {
 public:
  void insert(const Key& key, std::uint32_t number) { map_.emplace(key, recordOf(number)); }
  void insertLast(const Key& key, std::uint32_t number) {
    map_.emplace_hint(map_.end(), key, recordOf(number));
  }
  const Record* find(const Key& key) const {
    const auto found = map_.find(key);
    return found == map_.end() ? nullptr : &found->second;
  }
  void erase(const Key& key) { map_.erase(key); }
  template <class Visit>
  void walk(const Visit& visit) const {
    for (const auto& entry : map_) visit(entry.second);
  }

 private:
  Map map_;
};

// And one of ours.
template <class Key, class Map>
class KivMap {
 public:
  void insert(const Key& key, std::uint32_t number) { map_.insert({key, recordOf(number)}); }
  void insertLast(const Key& key, std::uint32_t number) { insert(key, number); }
  const Record* find(const Key& key) const {
    const auto* entry = map_.find(key);
    return entry == nullptr ? nullptr : &entry->value;
  }
  void erase(const Key& key) { map_.erase(key); }
  template <class Visit>
  void walk(const Visit& visit) const {
    for (const auto& entry : map_) visit(entry.value);
  }

 private:
  Map map_;
};

// The figures "find" and "find, one by one" (each needs the one before) of all that is sought,
// which stand at that place of the table.
void timeFind(Life& life, const std::string& place, const auto& map, const auto& keyOf,
              const std::vector<std::uint32_t>& sought) {
  life.time(place + " find", [&] {
    for (const std::uint32_t number : sought) {
      benchmark::DoNotOptimize(map.find(keyOf(number))->words[0]);
    }
  });
  life.time(place + " find, one by one", [&] {
    std::uint32_t found = 0;
    for (const std::uint32_t number : sought) {
      found = map.find(keyOf(number ^ (found >> 31U)))->words[0];
    }
    benchmark::DoNotOptimize(found);
  });
}

void timeWalk(Life& life, const std::string& figure, const auto& map) {
  life.time(figure, [&] {
    std::uint64_t sum = 0;
    map.walk([&](const Record& record) { sum += record.words[0]; });
    benchmark::DoNotOptimize(sum);
  });
}

// Registers the comparison at each size: contenders(count) gives who takes part.
void compareAtSizes(const std::string& title, const auto& contenders) {
  for (const std::uint32_t count : {10U, 1'000U, 100'000U, 1'000'000U}) {
    compare(title + ", " + std::to_string(count), count, contenders(count));
  }
}

}  // namespace Bench
