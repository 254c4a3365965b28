// What OrderedMap promises beyond the contract that it shares with HashMap2018.
#include "framework/Kiv/OrderedMap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "tests/framework/Kiv/ContainerContract.h"
#include "tests/framework/Kiv/ContainerSubjects.h"
#include "tests/framework/Kiv/FailingNew.h"

namespace ContainerSubjects {
namespace {

template <class Kept>
using Of = Subject<Ordered, Kept>;
using Subjects =
    ::testing::Types<Of<Number>, Of<NamedValues>, Of<FragileValues>, Of<WideValues>, Of<Children>>;
INSTANTIATE_TYPED_TEST_SUITE_P(OrderedMap, ContainerContract, Subjects);
INSTANTIATE_TYPED_TEST_SUITE_P(OrderedMap, FailingEntries, Of<FragileValues>);
INSTANTIATE_TYPED_TEST_SUITE_P(OrderedMap, LongHistories, Of<Number>);
using CallerMap = Kiv::OrderedMap<Caller, CallerKey>;
INSTANTIATE_TYPED_TEST_SUITE_P(OrderedMap, CallingDestructors, CallerMap);

using Map = Kiv::OrderedMap<CountedValues::Entry, CountedValues::Funktor>;

void insert(Map& map, U32 n) { map.insert(CountedValues::entry(n, n)); }
std::vector<U32> walk(const Map& map) {
  std::vector<U32> seen;
  for (const auto& entry : map) seen.push_back(entry.key);
  return seen;
}

// 80 bytes of value, as a rule has.
struct Rule {
  std::array<U32, 20> words{};
};
using Rules = Kiv::OrderedMap<Kiv::MapEntry<U32, Rule>, Kiv::MapEntryKey<U32, Rule>>;
constexpr std::size_t ruleBytes = sizeof(Rules::value_type);

TEST(OrderedMap, isTwoWords) { EXPECT_EQ(sizeof(Map), 2 * sizeof(void*)); }

TEST(OrderedMap, firstAndLastAreTheOutermost) {
  Map map;
  EXPECT_EQ(map.first(), nullptr);
  EXPECT_EQ(map.last(), nullptr);
  for (U32 i = 0; i < 2'000; ++i) {
    insert(map, i * 7919 % 2'003 + 1);
    const auto order = walk(map);
    if (i % 100 != 0) continue;
    EXPECT_EQ(map.first()->key, order.front());
    EXPECT_EQ(std::as_const(map).last()->key, order.back());
  }
}

TEST(OrderedMap, boundsRanksAndPlacesAgreeWithASortedSet) {
  for (const U32 range : {8U, 300U, 40'000U}) {
    SCOPED_TRACE(range);
    std::mt19937 random(range);
    Map map;
    std::set<U32> model;
    for (U32 step = 0; step < 20'000; ++step) {
      const U32 n = static_cast<U32>(random()) % range;
      if (random() % 5 < 3) {
        insert(map, n);
        model.insert(n);
      } else {
        map.erase(n);
        model.erase(n);
      }
      if (step % 500 != 0) continue;
      const std::vector<U32> order(model.begin(), model.end());
      for (U32 probe = 0; probe <= 50; ++probe) {
        const U32 key = probe * range / 50;
        const auto lower = std::lower_bound(order.begin(), order.end(), key);
        const auto upper = std::upper_bound(order.begin(), order.end(), key);
        const auto rank = static_cast<std::size_t>(lower - order.begin());
        ASSERT_EQ(map.rank(key), rank);
        ASSERT_EQ(map.lowerBound(key) != map.end(), lower != order.end());
        ASSERT_EQ(map.upperBound(key) != map.end(), upper != order.end());
        if (lower != order.end()) {
          ASSERT_EQ(map.lowerBound(key)->key, *lower);
          ASSERT_EQ(map.at(rank)->key, *lower);
        }
        if (upper != order.end()) {
          ASSERT_EQ(std::as_const(map).upperBound(key)->key, *upper);
        }
      }
      ASSERT_EQ(map.at(order.size()), nullptr);
    }
  }
}

TEST(OrderedMap, aWalkFromAKeyGoesToTheEnd) {
  Map map;
  for (U32 n = 0; n < 100; ++n) insert(map, n * 10);
  std::vector<U32> seen;
  for (auto at = map.lowerBound(965); at != map.end(); ++at) seen.push_back(at->key);
  EXPECT_THAT(seen, ElementsAre(970, 980, 990));
}

TEST(OrderedMap, whatIsInsertedBehindTheWalkIsNotVisited) {
  Map map;
  for (const U32 n : {10U, 20U, 30U}) insert(map, n);
  std::vector<U32> seen;
  for (const auto& entry : map) {
    const U32 n = entry.key;
    seen.push_back(n);
    insert(map, n - 1);
    insert(map, n + 1);
    if (seen.size() > 10) break;
  }
  EXPECT_THAT(seen, ElementsAre(10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20));
}

TEST(OrderedMap, aWalkAtTheLastEntryGoesOnWithWhatComesBehind) {
  Map map;
  insert(map, 1);
  auto at = map.begin();
  insert(map, 2);
  ++at;
  EXPECT_EQ(at->key, 2U);
}

TEST(OrderedMap, aWalkFindsItsEntryAfterAChange) {
  Map map;
  for (U32 n = 0; n < 100; ++n) insert(map, 2 * n);
  auto at = map.lowerBound(100);
  for (U32 n = 0; n < 100; ++n) insert(map, 2 * n + 1);
  EXPECT_TRUE(at.alive());
  EXPECT_EQ(at->key, 100U);
  map.erase(100);
  EXPECT_FALSE(at.alive());
  insert(map, 100);
  EXPECT_TRUE(at.alive());
  EXPECT_EQ((*at).key, 100U);
}

TEST(OrderedMapDeathTest, aWalkIsNotDereferencedWhenItsEntryHasGone) {
  Map map;
  insert(map, 1);
  insert(map, 2);
  const auto at = map.begin();
  map.erase(1);
  EXPECT_DEATH(static_cast<void>(*at), "");
}

TEST(OrderedMap, aMoveEndsTheWalksOfBothMaps) {
  Map map;
  Map other;
  insert(map, 1);
  insert(other, 1);
  insert(other, 2);
  auto at = map.begin();
  auto elsewhere = other.begin();
  map = std::move(other);
  EXPECT_FALSE(elsewhere.alive());
  ++elsewhere;
  EXPECT_TRUE(elsewhere == other.end());
  ++at;
  EXPECT_EQ(at->key, 2U) << "finds its place by key in what the map has now";
}

TEST(OrderedMap, theVersionMovesByOneWithEachChange) {
  Map map;
  std::uint64_t version = map.version();
  std::mt19937 random(1);
  for (U32 step = 0; step < 5'000; ++step) {
    const U32 n = static_cast<U32>(random()) % 1'000;
    bool isChanged = false;
    switch (random() % 5) {
      case 0:
      case 1:
        isChanged = map.insert(CountedValues::entry(n, n)).second;
        break;
      case 2:
        isChanged = map.erase(n);
        break;
      case 3:
        isChanged = map.take(n).has_value();
        break;
      default:
        map.find(n);
        map.rank(n);
        map.lowerBound(n);
    }
    if (isChanged) ++version;
    ASSERT_EQ(map.version(), version);
  }
  map.clear();
  EXPECT_EQ(map.version(), version + 1);
  map.clear();
  EXPECT_EQ(map.version(), version + 1) << "nothing to clear";
}

TEST(OrderedMap, aFewEntriesHoldLittle) {
  Rules rules;
  rules.insert({1, {}});
  EXPECT_LE(rules.bytes(), 4 * ruleBytes + 32);
  for (U32 n = 2; n <= 8; ++n) rules.insert({n, {}});
  EXPECT_LE(rules.bytes(), 8 * ruleBytes + 32);
  for (U32 n = 9; n <= 1'000; ++n) rules.insert({n, {}});
  for (U32 n = 3; n <= 1'000; ++n) rules.erase(n);
  EXPECT_LE(rules.bytes(), 8 * ruleBytes + 32);
}

TEST(OrderedMap, entriesInsertedInOrderArePackedFull) {
  Rules ascending;
  for (U32 n = 0; n < 50'000; ++n) ascending.insert({n, {}});
  EXPECT_LE(ascending.bytes(), 50'000 * (ruleBytes + 5));

  Rules descending;
  for (U32 n = 50'000; n > 0; --n) descending.insert({n, {}});
  EXPECT_LE(descending.bytes(), 50'000 * (ruleBytes * 5 / 4 + 8));
}

// Rules of one sequence number come one behind the other, between those of two others.
TEST(OrderedMap, ascendingRunsInTheMiddleArePackedFull) {
  Rules rules;
  for (const U32 sequence : {500U, 100U, 900U, 300U, 700U}) {
    for (U32 n = 0; n < 5'000; ++n) rules.insert({sequence * 100'000 + n, {}});
  }
  EXPECT_LE(rules.bytes(), 25'000 * (ruleBytes + 6));
  EXPECT_EQ(rules.rank(500 * 100'000), 10'000U);
}

TEST(OrderedMap, entriesInsertedAtRandomFillThreeQuarters) {
  Rules rules;
  std::mt19937 random(3);
  while (rules.size() < 50'000) rules.insert({static_cast<U32>(random()), {}});
  EXPECT_LE(rules.bytes(), 50'000 * (ruleBytes * 4 / 3 + 8));
}

TEST(OrderedMap, erasingGivesMemoryBack) {
  Rules rules;
  for (U32 n = 0; n < 40'000; ++n) rules.insert({n, {}});
  const std::size_t most = rules.bytes();
  for (U32 n = 0; n < 20'000; ++n) rules.erase(n);
  EXPECT_LE(rules.bytes(), most * 51 / 100);
  std::mt19937 random(5);
  while (rules.size() > 2'000) rules.erase(20'000 + static_cast<U32>(random()) % 20'000);
  EXPECT_LE(rules.bytes(), most * 12 / 100);
}

// Nodes with few children each, so that the tree is deep.
struct LongKey {
  std::array<std::uint64_t, 4> words{};
  auto operator<=>(const LongKey&) const = default;
};
using DeepMap = Kiv::OrderedMap<Kiv::MapEntry<LongKey, Rule>, Kiv::MapEntryKey<LongKey, Rule>>;

TEST(OrderedMap, aDeepTreeGrowsAndShrinks) {
  const auto keyOf = [](U32 n) { return LongKey{{n / 1'000, n / 100, n / 10, n}}; };
  std::vector<U32> numbers(120'000);
  for (U32 n = 0; n < numbers.size(); ++n) numbers[n] = n;
  std::shuffle(numbers.begin(), numbers.end(), std::mt19937(11));
  DeepMap map;
  for (const U32 n : numbers) map.insert({keyOf(n), {}});
  for (U32 n = 0; n < numbers.size(); n += 101) {
    ASSERT_EQ(map.rank(keyOf(n)), n);
    ASSERT_EQ(map.at(n)->key, keyOf(n));
  }
  std::shuffle(numbers.begin(), numbers.end(), std::mt19937(12));
  U32 left = static_cast<U32>(numbers.size());
  for (const U32 n : numbers) {
    ASSERT_TRUE(map.erase(keyOf(n)));
    ASSERT_EQ(map.size(), --left);
    if (left % 20'000 != 0) continue;
    std::size_t rank = 0;
    for (const auto& entry : map) ASSERT_EQ(map.rank(entry.key), rank++);
    ASSERT_EQ(rank, left);
  }
  EXPECT_EQ(map.bytes(), 0U);
}

// A key whose copies and moves may fail.
struct FragileKey {
  U32 number;
  Fuse fuse;

  explicit FragileKey(U32 n) : number(n) {}
  FragileKey(const FragileKey&) = default;
  FragileKey& operator=(const FragileKey&) = default;
  ~FragileKey() = default;
  bool operator<(const FragileKey& other) const { return number < other.number; }
};

TEST(OrderedMap, aKeyThatCannotBeCopiedLeavesTheMapWhole) {
  {
    Kiv::OrderedMap<FragileKey, Kiv::SetKey<FragileKey>> set;
    std::set<U32> model;
    std::size_t failures = 0;
    for (U32 i = 0; i < 4'000; ++i) {
      const U32 n = i * 7919 % 4'001;
      FragileKey key(n);
      for (std::size_t left = 0;; ++left) {
        Fuse::copiesLeft = left;
        try {
          set.insert(std::move(key));
          Fuse::copiesLeft.reset();
          break;
        } catch (const std::runtime_error&) {
          Fuse::copiesLeft.reset();
          ++failures;
          ASSERT_EQ(set.size(), model.size());
          ASSERT_FALSE(set.has(key));
          ASSERT_EQ(set.rank(key),
                    static_cast<std::size_t>(std::distance(model.begin(), model.lower_bound(n))));
        }
      }
      model.insert(n);
    }
    EXPECT_GT(failures, 4'000U);
    std::vector<U32> seen;
    for (const auto& key : set) seen.push_back(key.number);
    EXPECT_TRUE(std::equal(seen.begin(), seen.end(), model.begin(), model.end()));
  }
  EXPECT_EQ(Fuse::live, 0U);
}

// A comparison that fails.
struct Incomparable {
  U32 number;
  static inline bool fails = false;
  bool operator<(const Incomparable& other) const {
    if (fails) throw std::runtime_error("incomparable");
    return number < other.number;
  }
};

TEST(OrderedMap, aComparisonThatFailsLeavesTheMapWhole) {
  Kiv::OrderedMap<Incomparable, Kiv::SetKey<Incomparable>> set;
  for (U32 n = 0; n < 1'000; ++n) {
    set.insert({n * 7919 % 2'003});
    Incomparable::fails = true;
    EXPECT_ANY_THROW(set.insert({2'500}));
    EXPECT_ANY_THROW(set.erase({n * 7919 % 2'003}));
    Incomparable::fails = false;
    ASSERT_EQ(set.size(), n + 1);
    ASSERT_TRUE(set.has({n * 7919 % 2'003}));
  }
  std::size_t rank = 0;
  for (const auto& entry : set) EXPECT_EQ(set.rank(entry), rank++);
}

}  // namespace
}  // namespace ContainerSubjects
