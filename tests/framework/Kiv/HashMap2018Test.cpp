// What HashMap2018 promises beyond the contract that it shares with OrderedMap.
#include "framework/Kiv/HashMap2018.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "tests/framework/Kiv/ContainerContract.h"
#include "tests/framework/Kiv/ContainerSubjects.h"
#include "tests/framework/Kiv/FailingNew.h"

namespace ContainerSubjects {
namespace {

template <class Kept>
using Of = Subject<Hashed, Kept>;
using Subjects = ::testing::Types<Of<Number>, Of<NamedValues>, Of<FragileValues>, Of<CollidingKeys>,
                                  Of<WideValues>, Of<Children>>;
INSTANTIATE_TYPED_TEST_SUITE_P(HashMap2018, ContainerContract, Subjects);
INSTANTIATE_TYPED_TEST_SUITE_P(HashMap2018, FailingEntries, Of<FragileValues>);
INSTANTIATE_TYPED_TEST_SUITE_P(HashMap2018, LongHistories, Of<Number>);
using CallerMap = Kiv::HashMap2018<Caller, CallerKey>;
INSTANTIATE_TYPED_TEST_SUITE_P(HashMap2018, CallingDestructors, CallerMap);

using Map = Kiv::HashMap2018<CountedValues::Entry, CountedValues::Funktor>;

void insert(Map& map, U32 n) { map.insert(CountedValues::entry(n, n)); }
void insert(Map& map, U32 first, U32 end) {
  for (U32 n = first; n < end; ++n) insert(map, n);
}
std::vector<U32> walk(const Map& map) {
  std::vector<U32> seen;
  for (const auto& entry : map) seen.push_back(entry.key);
  return seen;
}

TEST(HashMap2018, isOnePointer) { EXPECT_EQ(sizeof(Map), sizeof(void*)); }

TEST(HashMap2018, walksInTheOrderOfInsertion) {
  Map map;
  std::vector<U32> order;
  for (U32 i = 0; i < 5'000; ++i) order.push_back(i * 7919 % 5'003);
  for (const U32 n : order) insert(map, n);
  EXPECT_EQ(walk(map), order);
}

TEST(HashMap2018, orderSurvivesTheClosingOfGaps) {
  Map map;
  std::vector<U32> order;
  for (U32 n = 0; n < 20'000; ++n) {
    insert(map, n);
    if (n % 4 == 0) {
      order.push_back(n);
    } else {
      map.erase(n);
    }
  }
  EXPECT_THAT(walk(map), ElementsAreArray(order));
}

TEST(HashMap2018, addressesHoldWhileAWalkIsOpen) {
  Map map;
  insert(map, 0, 5);
  const auto at = map.begin();
  std::vector<const CountedValues::Entry*> addresses;
  for (U32 n = 0; n < 5; ++n) addresses.push_back(map.find(n));
  insert(map, 5, 10'000);
  for (U32 n = 5; n < 9'900; ++n) map.erase(n);
  insert(map, 10'000, 12'000);
  for (U32 n = 0; n < 5; ++n) EXPECT_EQ(map.find(n), addresses[n]);
  EXPECT_EQ(&*at, addresses[0]);
}

TEST(HashMap2018, eraseMovesNoOtherEntry) {
  Map map;
  insert(map, 0, 10'000);
  const auto* const survivor = map.find(9'000);
  for (U32 n = 0; n < 10'000; ++n) {
    if (n != 9'000) map.erase(n);
  }
  EXPECT_EQ(map.find(9'000), survivor);
  EXPECT_THAT(walk(map), ElementsAre(9'000));
}

TEST(HashMap2018, insertedAfterAClearIsNotOfTheWalk) {
  Map map;
  insert(map, 0, 10);
  std::vector<U32> seen;
  for (const auto& entry : map) {
    seen.push_back(entry.key);
    map.clear();
    insert(map, 100, 110);
  }
  EXPECT_THAT(seen, ElementsAre(0));
  EXPECT_EQ(map.size(), 10U);
}

TEST(HashMap2018, aMovedMapTakesItsWalksAlong) {
  Map map;
  insert(map, 0, 3);
  auto at = map.begin();
  Map other(std::move(map));
  insert(other, 3);
  insert(map, 50);
  std::vector<U32> seen;
  for (; at != other.end(); ++at) seen.push_back(at->key);
  EXPECT_THAT(seen, ElementsAre(0, 1, 2, 3));
}

TEST(HashMap2018, aWalkMayOutliveTheEntriesOfAMapThatIsAssigned) {
  Map map;
  insert(map, 0, 3);
  auto at = map.begin();
  map = Map();
  EXPECT_FALSE(at.alive());
  ++at;
  EXPECT_TRUE(at == map.end());
}

TEST(HashMap2018, aCopyOfAWalkKeepsThePlace) {
  Map map;
  insert(map, 0, 4);
  auto at = map.begin();
  ++at;
  const auto place = at;
  ++at;
  map.erase(1);
  EXPECT_FALSE(place.alive());
  EXPECT_EQ(at->key, 2U);
  at = place;
  ++at;
  EXPECT_EQ(at->key, 2U);
}

TEST(HashMap2018, closedWalksLetMemoryGo) {
  Map map;
  insert(map, 0, 20'000);
  const std::size_t most = map.bytes();
  {
    const auto at = map.begin();
    for (U32 n = 0; n < 19'990; ++n) map.erase(n);
    EXPECT_EQ(map.bytes(), most);
  }
  EXPECT_LT(map.bytes(), most / 2);
  EXPECT_EQ(walk(map).size(), 10U);
}

TEST(HashMap2018, erasedRunsGiveMemoryBackAtOnce) {
  Map map;
  insert(map, 0, 20'000);
  const std::size_t most = map.bytes();
  for (U32 n = 0; n < 19'000; ++n) map.erase(n);
  EXPECT_LT(map.bytes(), most / 2);
}

TEST(HashMap2018, reservedRoomNeedsNoMemoryLater) {
  Map map;
  map.reserve(100);
  EXPECT_TRUE(map.empty());
  {
    const FailingNew::Scope scope(0);
    insert(map, 0, 100);
  }
  EXPECT_EQ(map.size(), 100U);
  map.reserve(10);
  map.reserve(50'000);
  EXPECT_EQ(walk(map).size(), 100U);
  EXPECT_EQ(map.find(99)->key, 99U);
}

// Tables sized for many entries do not stay when there are few.
TEST(HashMap2018, theIndexShrinksWithTheEntries) {
  Map map;
  insert(map, 0, 50'000);
  for (U32 n = 0; n < 49'990; ++n) map.erase(n);
  for (U32 n = 50'000; n < 52'000; ++n) {
    insert(map, n);
    map.erase(n);
  }
  EXPECT_EQ(map.size(), 10U);
  EXPECT_LT(map.bytes(), 2'100 * sizeof(CountedValues::Entry));
}

// The hash as the test wants it: only some of its bits differ.
template <unsigned shift>
struct Shifted {
  U32 number = 0;
  std::uint64_t hash() const noexcept { return std::uint64_t{number} << shift; }
  bool operator==(const Shifted&) const = default;
};

template <unsigned shift>
void findsAllWithHashesShiftedBy() {
  SCOPED_TRACE(shift);
  Kiv::HashMap2018<Shifted<shift>, Kiv::SetKey<Shifted<shift>>> set;
  Model<false> model;
  std::mt19937 random(shift);
  for (U32 step = 0; step < 6'000; ++step) {
    const U32 n = static_cast<U32>(random()) % 500;
    if (random() % 3 != 0) {
      ASSERT_EQ(set.insert({n}).second, model.insert(n));
    } else {
      ASSERT_EQ(set.erase({n}), model.erase(n));
    }
  }
  std::vector<U32> seen;
  for (const auto& key : set) seen.push_back(key.number);
  EXPECT_EQ(seen, model.inOrder());
  for (U32 n = 0; n < 500; ++n) EXPECT_EQ(set.has({n}), model.has(n));
}

TEST(HashMap2018, poorHashesCostOnlyTime) {
  findsAllWithHashesShiftedBy<0>();
  findsAllWithHashesShiftedBy<33>();
  findsAllWithHashesShiftedBy<40>();
  findsAllWithHashesShiftedBy<48>();
  findsAllWithHashesShiftedBy<55>();
  findsAllWithHashesShiftedBy<60>();
}

TEST(HashMap2018DeathTest, mayNotBeDestroyedInAWalk) {
  EXPECT_DEATH(
      {
        auto* map = new Map;
        insert(*map, 1);
        const auto at = map->begin();
        delete map;
      },
      "is being walked");
}

}  // namespace
}  // namespace ContainerSubjects
