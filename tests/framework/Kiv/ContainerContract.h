// What HashMap2018 and OrderedMap promise alike, over entries of every kind: the tests of either
// container instantiate it with their subjects.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "tests/framework/Kiv/ContainerSubjects.h"
#include "tests/framework/Kiv/FailingNew.h"

namespace ContainerSubjects {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

template <class T>
class ContainerContract : public ::testing::Test {
 protected:
  using Container = typename T::Container;

  ~ContainerContract() override { EXPECT_EQ(Fuse::live, 0U) << "entries leaked"; }

  static void insert(Container& map, U32 n) {
    auto entry = T::entry(n, n + 1);
    EXPECT_TRUE(map.insert(std::move(entry)).second);
  }
  static void insert(Container& map, std::initializer_list<U32> numbers) {
    for (const U32 n : numbers) insert(map, n);
  }
  static std::vector<U32> walk(const Container& map) {
    std::vector<U32> seen;
    for (const auto& entry : map) seen.push_back(T::numberOf(entry));
    return seen;
  }
  // Walks, and calls `at(n)` at every entry.
  template <class At>
  static std::vector<U32> walk(Container& map, const At& at) {
    std::vector<U32> seen;
    for (auto& entry : map) {
      const U32 n = T::numberOf(entry);
      seen.push_back(n);
      if (seen.size() > 1'000) return seen;
      at(n);
    }
    return seen;
  }
  template <class SomeModel>
  static void expectSame(const Container& map, const SomeModel& model) {
    ASSERT_EQ(map.size(), model.size());
    ASSERT_EQ(map.empty(), model.size() == 0);
    const std::vector<U32> order = model.inOrder();
    ASSERT_THAT(walk(map), ElementsAreArray(order));
    for (const U32 n : order) ASSERT_TRUE(map.has(T::key(n))) << n;
  }
};

TYPED_TEST_SUITE_P(ContainerContract);

TYPED_TEST_P(ContainerContract, emptyHoldsNoMemory) {
  const std::size_t before = FailingNew::liveAllocations();
  typename TestFixture::Container map;
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(map.size(), 0U);
  EXPECT_EQ(map.bytes(), 0U);
  EXPECT_FALSE(map.has(TypeParam::key(1)));
  EXPECT_FALSE(map.erase(TypeParam::key(1)));
  EXPECT_FALSE(map.take(TypeParam::key(1)).has_value());
  EXPECT_FALSE(map.takeFirst().has_value());
  EXPECT_THAT(TestFixture::walk(map), IsEmpty());
  map.clear();
  EXPECT_EQ(FailingNew::liveAllocations(), before);
}

TYPED_TEST_P(ContainerContract, insertFindsRoomAndReturnsTheEntry) {
  typename TestFixture::Container map;
  for (U32 n = 0; n < 300; ++n) {
    auto entry = TypeParam::entry(n, 2 * n);
    const auto [inserted, isNew] = map.insert(std::move(entry));
    EXPECT_TRUE(isNew);
    EXPECT_EQ(TypeParam::numberOf(*inserted), n);
    EXPECT_EQ(map.find(TypeParam::key(n)), inserted);
    EXPECT_EQ(map.size(), n + 1);
  }
  EXPECT_FALSE(map.has(TypeParam::key(300)));
}

TYPED_TEST_P(ContainerContract, insertUnderAPresentKeyChangesNothing) {
  if constexpr (requires(typename TypeParam::Entry entry) { TypeParam::movedFrom(entry); }) {
    typename TestFixture::Container map;
    for (U32 n = 0; n < 100; ++n) {
      TestFixture::insert(map, n);
      auto* present = map.find(TypeParam::key(n));
      auto other = TypeParam::entry(n, 77);
      const auto [found, isNew] = map.insert(std::move(other));
      EXPECT_FALSE(isNew);
      EXPECT_EQ(found, present);
      EXPECT_EQ(TypeParam::numberOf(*found), n);
      EXPECT_FALSE(TypeParam::movedFrom(other));
      EXPECT_EQ(map.size(), n + 1);
    }
  }
}

TYPED_TEST_P(ContainerContract, eraseTellsWhetherTheKeyWasThere) {
  typename TestFixture::Container map;
  TestFixture::insert(map, {1, 2, 3});
  EXPECT_TRUE(map.erase(TypeParam::key(2)));
  EXPECT_FALSE(map.erase(TypeParam::key(2)));
  EXPECT_FALSE(map.has(TypeParam::key(2)));
  EXPECT_THAT(TestFixture::walk(map), ElementsAre(1, 3));
}

TYPED_TEST_P(ContainerContract, takeMovesTheEntryOut) {
  typename TestFixture::Container map;
  TestFixture::insert(map, {1, 2, 3});
  const auto taken = map.take(TypeParam::key(2));
  ASSERT_TRUE(taken.has_value());
  EXPECT_EQ(TypeParam::numberOf(*taken), 2U);
  EXPECT_FALSE(map.take(TypeParam::key(2)).has_value());
  EXPECT_THAT(TestFixture::walk(map), ElementsAre(1, 3));
}

TYPED_TEST_P(ContainerContract, takeFirstFollowsTheOrderOfTheWalk) {
  typename TestFixture::Container map;
  for (U32 n = 0; n < 200; ++n) TestFixture::insert(map, n * 7919 % 200);
  const auto order = TestFixture::walk(map);
  std::vector<U32> taken;
  while (const auto entry = map.takeFirst()) taken.push_back(TypeParam::numberOf(*entry));
  EXPECT_EQ(taken, order);
  EXPECT_EQ(map.bytes(), 0U);
}

TYPED_TEST_P(ContainerContract, aKeyInsideItsEntryMayNameTheEntryToErase) {
  typename TestFixture::Container map;
  for (U32 n = 0; n < 50; ++n) TestFixture::insert(map, n);
  for (auto& entry : map) EXPECT_TRUE(map.erase(TypeParam::Funktor::key(entry)));
  EXPECT_TRUE(map.empty());
}

TYPED_TEST_P(ContainerContract, theCurrentEntryIsErasedInTheWalk) {
  typename TestFixture::Container map;
  for (U32 n = 0; n < 100; ++n) TestFixture::insert(map, n);
  const auto order = TestFixture::walk(map);
  EXPECT_EQ(TestFixture::walk(map, [&](U32 n) { map.erase(TypeParam::key(n)); }), order);
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(map.bytes(), 0U);
}

TYPED_TEST_P(ContainerContract, everyOtherEntryIsErasedInTheWalk) {
  typename TestFixture::Container map;
  for (U32 n = 0; n < 100; ++n) TestFixture::insert(map, n);
  const auto order = TestFixture::walk(map);
  const auto seen = TestFixture::walk(map, [&](U32 n) {
    if (n % 2 == 0) map.erase(TypeParam::key(n));
  });
  EXPECT_EQ(seen, order);
  EXPECT_EQ(map.size(), 50U);
}

TYPED_TEST_P(ContainerContract, thePreviousEntryIsErasedInTheWalk) {
  typename TestFixture::Container map;
  for (U32 n = 0; n < 100; ++n) TestFixture::insert(map, n);
  const auto order = TestFixture::walk(map);
  EXPECT_EQ(TestFixture::walk(map, [&](U32 n) { map.erase(TypeParam::key(n - 1)); }), order);
  EXPECT_THAT(TestFixture::walk(map), ElementsAre(99));
}

TYPED_TEST_P(ContainerContract, theNextEntryIsErasedInTheWalk) {
  typename TestFixture::Container map;
  for (U32 n = 0; n < 100; ++n) TestFixture::insert(map, n);
  std::vector<U32> even;
  for (U32 n = 0; n < 100; n += 2) even.push_back(n);
  EXPECT_EQ(TestFixture::walk(map, [&](U32 n) { map.erase(TypeParam::key(n + 1)); }), even);
  EXPECT_EQ(TestFixture::walk(map), even);
}

TYPED_TEST_P(ContainerContract, allEntriesAreErasedInTheWalk) {
  typename TestFixture::Container map;
  for (U32 n = 0; n < 100; ++n) TestFixture::insert(map, n);
  const auto seen = TestFixture::walk(map, [&](U32) {
    for (U32 n = 0; n < 100; ++n) map.erase(TypeParam::key(n));
  });
  EXPECT_THAT(seen, ElementsAre(0));
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(map.bytes(), 0U);
}

TYPED_TEST_P(ContainerContract, clearEndsTheWalk) {
  typename TestFixture::Container map;
  for (U32 n = 0; n < 100; ++n) TestFixture::insert(map, n);
  EXPECT_EQ(TestFixture::walk(map,
                              [&](U32 n) {
                                if (n == 40) map.clear();
                              })
                .size(),
            41U);
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(map.bytes(), 0U);
}

TYPED_TEST_P(ContainerContract, whatIsInsertedAheadOfTheWalkIsVisited) {
  typename TestFixture::Container map;
  TestFixture::insert(map, 0);
  const auto seen = TestFixture::walk(map, [&](U32 n) {
    if (n < 300) TestFixture::insert(map, n + 1);
  });
  EXPECT_EQ(seen.size(), 301U);
  EXPECT_EQ(TestFixture::walk(map), seen);
}

TYPED_TEST_P(ContainerContract, manyAreInsertedInOneStepOfTheWalk) {
  typename TestFixture::Container map;
  for (U32 n = 0; n < 5; ++n) TestFixture::insert(map, n);
  const auto seen = TestFixture::walk(map, [&](U32 n) {
    for (U32 other = 10; n == 2 && other < 400; ++other) TestFixture::insert(map, other);
  });
  EXPECT_EQ(seen.size(), 395U);
  EXPECT_EQ(TestFixture::walk(map), seen);
  TestFixture::insert(map, 400);
  EXPECT_EQ(map.size(), 396U);
  for (const U32 n : seen) EXPECT_TRUE(map.has(TypeParam::key(n)));
}

TYPED_TEST_P(ContainerContract, theOnlyEntryIsErasedAndInsertedAgainInTheWalk) {
  typename TestFixture::Container map;
  TestFixture::insert(map, 5);
  bool isFirst = true;
  const auto seen = TestFixture::walk(map, [&](U32 n) {
    map.erase(TypeParam::key(n));
    if (std::exchange(isFirst, false)) TestFixture::insert(map, n);
  });
  // Insertion order puts it at the end, ahead of the walk; key order where the walk has been.
  EXPECT_EQ(seen.size(), TypeParam::isOrdered ? 1U : 2U);
  EXPECT_EQ(map.size(), TypeParam::isOrdered ? 1U : 0U);
}

TYPED_TEST_P(ContainerContract, anEntryIsErasedAndInsertedAgainInTheWalk) {
  typename TestFixture::Container map;
  TestFixture::insert(map, {1, 2, 3, 4});
  bool isFirst = true;
  const auto seen = TestFixture::walk(map, [&](U32 n) {
    if (n != 2 || !std::exchange(isFirst, false)) return;
    map.erase(TypeParam::key(2));
    TestFixture::insert(map, 2);
  });
  if (TypeParam::isOrdered) {
    EXPECT_THAT(seen, ElementsAre(1, 2, 3, 4));
  } else {
    EXPECT_THAT(seen, ElementsAre(1, 2, 3, 4, 2));
    EXPECT_THAT(TestFixture::walk(map), ElementsAre(1, 3, 4, 2));
  }
}

TYPED_TEST_P(ContainerContract, aWalkKnowsWhetherItsEntryIsAlive) {
  typename TestFixture::Container map;
  TestFixture::insert(map, {1, 2});
  {
    auto at = map.begin();
    EXPECT_TRUE(at.alive());
    EXPECT_TRUE(map.erase(TypeParam::key(2)));
    EXPECT_TRUE(at.alive());
    EXPECT_EQ(TypeParam::numberOf(*at), 1U);
    EXPECT_TRUE(map.erase(TypeParam::key(1)));
    EXPECT_FALSE(at.alive());
    EXPECT_FALSE(static_cast<bool>(at));
    EXPECT_FALSE(at == map.end());
    ++at;
    EXPECT_FALSE(at.alive());
    EXPECT_TRUE(at == map.end());
  }
  EXPECT_EQ(map.bytes(), 0U);
}

TYPED_TEST_P(ContainerContract, walksAreIndependent) {
  typename TestFixture::Container map;
  TestFixture::insert(map, {1, 2, 3});
  std::vector<U32> seen;
  for (auto outer = map.begin(); outer != map.end(); ++outer) {
    auto inner = outer;
    ++inner;
    for (; inner != map.end(); ++inner) {
      seen.push_back(TypeParam::numberOf(*outer) * 10 + TypeParam::numberOf(*inner));
    }
  }
  EXPECT_THAT(seen, ElementsAre(12, 13, 23));
}

TYPED_TEST_P(ContainerContract, aWalkThatIsBrokenOffLeavesNothingBehind) {
  typename TestFixture::Container map;
  for (U32 n = 0; n < 200; ++n) TestFixture::insert(map, n);
  for (auto& entry : map) {
    if (TypeParam::numberOf(entry) == 100) break;
  }
  for (U32 n = 0; n < 200; ++n) EXPECT_TRUE(map.erase(TypeParam::key(n)));
  EXPECT_EQ(map.bytes(), 0U);
}

TYPED_TEST_P(ContainerContract, movingTheMapMovesItsEntries) {
  typename TestFixture::Container map;
  TestFixture::insert(map, {1, 2, 3});
  typename TestFixture::Container other(std::move(map));
  EXPECT_TRUE(map.empty());
  EXPECT_THAT(TestFixture::walk(other), ElementsAre(1, 2, 3));
  TestFixture::insert(map, {7, 8});
  map = std::move(other);
  EXPECT_THAT(TestFixture::walk(map), ElementsAre(1, 2, 3));
  EXPECT_TRUE(other.empty());
  auto& itself = map;
  map = std::move(itself);
  EXPECT_EQ(map.size(), 3U);
}

TYPED_TEST_P(ContainerContract, bytesGrowWithTheEntriesAndComeBack) {
  typename TestFixture::Container map;
  const std::size_t entryBytes = sizeof(typename TypeParam::Entry);
  std::size_t most = 0;
  for (U32 n = 0; n < 3'000; ++n) {
    TestFixture::insert(map, n);
    EXPECT_GE(map.bytes(), map.size() * entryBytes);
    most = std::max(most, map.bytes());
  }
  EXPECT_LE(most, 3 * 3'000 * (entryBytes + 16));
  for (U32 n = 0; n < 2'900; ++n) map.erase(TypeParam::key(n));
  TestFixture::insert(map, 5'000);
  EXPECT_LT(map.bytes(), most / 4);
  for (U32 n = 2'900; n < 3'000; ++n) map.erase(TypeParam::key(n));
  map.erase(TypeParam::key(5'000));
  EXPECT_EQ(map.bytes(), 0U);
}

TYPED_TEST_P(ContainerContract, aMapThatIsUsedAsAQueueStaysSmall) {
  typename TestFixture::Container map;
  for (U32 n = 0; n < 100; ++n) TestFixture::insert(map, n);
  for (U32 n = 100; n < 20'000; ++n) {
    TestFixture::insert(map, n);
    EXPECT_EQ(TypeParam::numberOf(*map.takeFirst()), n - 100);
  }
  EXPECT_LE(map.bytes(), 8 * 100 * (sizeof(typename TypeParam::Entry) + 64));
}

TYPED_TEST_P(ContainerContract, memoryThatRunsOutInInsertLeavesTheMapWhole) {
  typename TestFixture::Container map;
  Model<TypeParam::isOrdered> model;
  std::size_t failures = 0;
  for (U32 i = 0; i < 500; ++i) {
    const U32 n = i * 7919 % 1'000;
    for (std::size_t left = 0;; ++left) {
      auto entry = TypeParam::entry(n, n + 1);
      try {
        const FailingNew::Scope scope(left);
        map.insert(std::move(entry));
        break;
      } catch (const std::bad_alloc&) {
        ++failures;
        EXPECT_EQ(TypeParam::numberOf(entry), n) << "moved from";
        EXPECT_FALSE(map.has(TypeParam::key(n)));
        TestFixture::expectSame(map, model);
      }
    }
    model.insert(n);
  }
  TestFixture::expectSame(map, model);
  EXPECT_GE(failures, 9U);
}

TYPED_TEST_P(ContainerContract, aFirstInsertThatFailsLeavesNoMemory) {
  typename TestFixture::Container map;
  for (std::size_t left = 0;; ++left) {
    auto entry = TypeParam::entry(1, 1);
    try {
      const FailingNew::Scope scope(left);
      map.insert(std::move(entry));
      break;
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(map.bytes(), 0U);
    }
  }
  EXPECT_EQ(map.size(), 1U);
}

TYPED_TEST_P(ContainerContract, memoryThatRunsOutDoesNotHinderErasing) {
  typename TestFixture::Container map;
  for (U32 n = 0; n < 500; ++n) TestFixture::insert(map, n);
  for (U32 n = 0; n < 500; ++n) {
    const auto key = TypeParam::key(n * 7919 % 500);
    const FailingNew::Scope scope(0);
    map.erase(key);
  }
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(map.bytes(), 0U);
}

// Inserts, erases, takes and clears at random, in steps of several open walks, and compares all of
// it with the model.
TYPED_TEST_P(ContainerContract, randomHistoriesAgreeWithTheModel) {
  using SomeModel = Model<TypeParam::isOrdered>;
  struct Walker {
    typename TestFixture::Container::iterator at;
    std::uint64_t place;
  };
  for (U32 seed = 0; seed < 12; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    typename TestFixture::Container map;
    SomeModel model;
    std::vector<Walker> walkers;
    const U32 range = seed % 3 == 0 ? 12 : seed % 3 == 1 ? 150 : 900;
    for (U32 step = 0; step < 4'000; ++step) {
      const U32 n = static_cast<U32>(random()) % range;
      const bool isGrowing = step / 800 % 2 == 0;
      const U32 action = static_cast<U32>(random()) % 1'000;
      if (action < (isGrowing ? 600U : 250U)) {
        auto entry = TypeParam::entry(n, step);
        ASSERT_EQ(map.insert(std::move(entry)).second, model.insert(n));
      } else if (action < 850) {
        ASSERT_EQ(map.erase(TypeParam::key(n)), model.erase(n));
      } else if (action < 900) {
        ASSERT_EQ(map.take(TypeParam::key(n)).has_value(), model.erase(n));
      } else if (action < 930) {
        const auto first = model.first();
        const auto taken = map.takeFirst();
        ASSERT_EQ(taken.has_value(), first.has_value());
        if (taken) {
          ASSERT_EQ(TypeParam::numberOf(*taken), *first);
          model.erase(*first);
        }
      } else if (action < 931 && walkers.empty()) {
        map.clear();
        model.clear();
      } else if (action < 940 && walkers.size() < 3 && model.size() != 0) {
        walkers.push_back({map.begin(), model.from(0)->first});
      } else if (action < 945 && !walkers.empty()) {
        walkers.push_back(walkers[random() % walkers.size()]);
      } else if (action < 950 && !walkers.empty()) {
        walkers.pop_back();
      }
      for (std::size_t i = 0; i < walkers.size(); ++i) {
        Walker& walker = walkers[i];
        ASSERT_EQ(walker.at.alive(), model.stands(walker.place));
        if (random() % 4 != 0) continue;
        ++walker.at;
        const auto next = model.behind(walker.place);
        ASSERT_EQ(walker.at != map.end(), next.has_value());
        if (next) {
          ASSERT_EQ(TypeParam::numberOf(*walker.at), next->second);
          walker.place = next->first;
        } else {
          walkers.erase(walkers.begin() + static_cast<std::ptrdiff_t>(i--));
        }
      }
      ASSERT_EQ(map.size(), model.size());
      ASSERT_EQ(map.has(TypeParam::key(n)), model.has(n));
      if (step % 97 == 0) TestFixture::expectSame(map, model);
    }
  }
}

template <class T>
class FailingEntries : public ContainerContract<T> {
 protected:
  ~FailingEntries() override {
    Fuse::copiesLeft.reset();
    Fuse::movesLeft.reset();
  }
};
TYPED_TEST_SUITE_P(FailingEntries);

TYPED_TEST_P(FailingEntries, aMoveThatFailsInInsertLeavesTheMapWhole) {
  typename TestFixture::Container map;
  Model<TypeParam::isOrdered> model;
  for (U32 i = 0; i < 400; ++i) {
    const U32 n = i * 7919 % 1'000;
    auto entry = TypeParam::entry(n, n);
    Fuse::movesLeft = 0;
    EXPECT_THROW(map.insert(std::move(entry)), std::runtime_error);
    Fuse::movesLeft.reset();
    EXPECT_FALSE(TypeParam::movedFrom(entry));
    TestFixture::expectSame(map, model);
    map.insert(std::move(entry));
    model.insert(n);
  }
}

TYPED_TEST_P(FailingEntries, aMoveThatFailsInTakeLeavesTheMapWhole) {
  typename TestFixture::Container map;
  for (U32 n = 0; n < 100; ++n) TestFixture::insert(map, n);
  Fuse::movesLeft = 0;
  EXPECT_THROW(map.take(TypeParam::key(50)), std::runtime_error);
  EXPECT_THROW(map.takeFirst(), std::runtime_error);
  EXPECT_EQ(map.size(), 100U);
  EXPECT_TRUE(map.has(TypeParam::key(50)));
  EXPECT_TRUE(map.erase(TypeParam::key(50))) << "erasing moves nothing that can fail";
  Fuse::movesLeft.reset();
  EXPECT_EQ(TestFixture::walk(map).size(), 99U);
}

TYPED_TEST_P(FailingEntries, entriesAreNeverCopied) {
  Fuse::copiesLeft = 0;
  typename TestFixture::Container map;
  for (U32 n = 0; n < 1'000; ++n) {
    auto entry = TypeParam::entry(n, n);
    map.insert(std::move(entry));
    if (n % 3 != 0) map.erase(TypeParam::key(n / 2));
  }
  typename TestFixture::Container other(std::move(map));
  EXPECT_TRUE(other.takeFirst().has_value());
}

// An entry whose destructor uses the map it was in.
struct Caller {
  U32 number;
  bool isLast;
  const std::function<void(U32)>* atEnd;

  Caller(U32 n, const std::function<void(U32)>* function)
      : number(n), isLast(true), atEnd(function) {}
  Caller(Caller&& other) noexcept
      : number(other.number), isLast(std::exchange(other.isLast, false)), atEnd(other.atEnd) {}
  Caller& operator=(Caller&&) = delete;
  ~Caller() {
    if (isLast) (*atEnd)(number);
  }
};
struct CallerKey {
  using Key = U32;
  static const U32& key(const Caller& caller) { return caller.number; }
};

template <class Map>
class CallingDestructors : public ::testing::Test {};
TYPED_TEST_SUITE_P(CallingDestructors);

TYPED_TEST_P(CallingDestructors, anErasedEntryMayEraseAnother) {
  TypeParam map;
  const std::function<void(U32)> eraseNext = [&](U32 n) { map.erase(n + 1); };
  for (U32 n = 0; n < 300; ++n) map.insert(Caller(n, &eraseNext));
  map.erase(100);
  EXPECT_EQ(map.size(), 100U);
  map.erase(0);
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(map.bytes(), 0U);
}

TYPED_TEST_P(CallingDestructors, anErasedEntryMayInsertOthers) {
  const std::function<void(U32)> nothing = [](U32) {};
  TypeParam map;
  const std::function<void(U32)> insertMany = [&](U32 n) {
    EXPECT_FALSE(map.find(n));
    for (U32 i = 0; i < 200; ++i) map.insert(Caller(1'000 + i, &nothing));
  };
  map.insert(Caller(1, &insertMany));
  EXPECT_TRUE(map.erase(1));
  EXPECT_EQ(map.size(), 200U);
}

TYPED_TEST_P(CallingDestructors, anErasedEntryMayClearTheMap) {
  TypeParam map;
  const std::function<void(U32)> clear = [&](U32) { map.clear(); };
  for (U32 n = 0; n < 100; ++n) map.insert(Caller(n, &clear));
  map.erase(50);
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(map.bytes(), 0U);
}

TYPED_TEST_P(CallingDestructors, aClearedEntryMayUseTheMap) {
  const std::function<void(U32)> nothing = [](U32) {};
  TypeParam map;
  const std::function<void(U32)> insertAgain = [&](U32 n) { map.insert(Caller(n, &nothing)); };
  for (U32 n = 0; n < 50; ++n) map.insert(Caller(n, &insertAgain));
  map.clear();
  EXPECT_EQ(map.size(), 50U);
}

template <class T>
class LongHistories : public ContainerContract<T> {};
TYPED_TEST_SUITE_P(LongHistories);

TYPED_TEST_P(LongHistories, aMillionOperationsAgreeWithTheModel) {
  typename TestFixture::Container map;
  Model<TypeParam::isOrdered> model;
  std::mt19937 random(7);
  U32 cursor = 0;
  for (U32 step = 0; step < 1'000'000; ++step) {
    // Phases of growth and decline, at random and in order.
    const U32 phase = step / 50'000 % 4;
    const U32 n = phase % 2 == 0 ? static_cast<U32>(random()) % 60'000 : ++cursor % 60'000;
    if (random() % 10 < (phase < 2 ? 7U : 3U)) {
      ASSERT_EQ(map.insert(TypeParam::entry(n, n)).second, model.insert(n));
    } else {
      ASSERT_EQ(map.erase(n), model.erase(n));
    }
    if (step % 50'000 == 0) TestFixture::expectSame(map, model);
  }
  TestFixture::expectSame(map, model);
}

REGISTER_TYPED_TEST_SUITE_P(
    ContainerContract, emptyHoldsNoMemory, insertFindsRoomAndReturnsTheEntry,
    insertUnderAPresentKeyChangesNothing, eraseTellsWhetherTheKeyWasThere, takeMovesTheEntryOut,
    takeFirstFollowsTheOrderOfTheWalk, aKeyInsideItsEntryMayNameTheEntryToErase,
    theCurrentEntryIsErasedInTheWalk, everyOtherEntryIsErasedInTheWalk,
    thePreviousEntryIsErasedInTheWalk, theNextEntryIsErasedInTheWalk, allEntriesAreErasedInTheWalk,
    clearEndsTheWalk, whatIsInsertedAheadOfTheWalkIsVisited, manyAreInsertedInOneStepOfTheWalk,
    theOnlyEntryIsErasedAndInsertedAgainInTheWalk, anEntryIsErasedAndInsertedAgainInTheWalk,
    aWalkKnowsWhetherItsEntryIsAlive, walksAreIndependent, aWalkThatIsBrokenOffLeavesNothingBehind,
    movingTheMapMovesItsEntries, bytesGrowWithTheEntriesAndComeBack,
    aMapThatIsUsedAsAQueueStaysSmall, memoryThatRunsOutInInsertLeavesTheMapWhole,
    aFirstInsertThatFailsLeavesNoMemory, memoryThatRunsOutDoesNotHinderErasing,
    randomHistoriesAgreeWithTheModel);
REGISTER_TYPED_TEST_SUITE_P(FailingEntries, aMoveThatFailsInInsertLeavesTheMapWhole,
                            aMoveThatFailsInTakeLeavesTheMapWhole, entriesAreNeverCopied);
REGISTER_TYPED_TEST_SUITE_P(CallingDestructors, anErasedEntryMayEraseAnother,
                            anErasedEntryMayInsertOthers, anErasedEntryMayClearTheMap,
                            aClearedEntryMayUseTheMap);
REGISTER_TYPED_TEST_SUITE_P(LongHistories, aMillionOperationsAgreeWithTheModel);

}  // namespace ContainerSubjects
