// Rule identifiers, and the search for the lowest free index of a sequence number.
#include "Firewall/Rules/RuleId.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <set>

#include "framework/Kiv/Collections.h"
#include "tests/support/TraceCapture.h"

namespace {

using Firewall::computeRuleId;
using Firewall::FreeRuleIndex;
using Firewall::lowestFreeRuleIndex;
using Firewall::maxRuleIndex;
using Firewall::ruleSeqnum;
using ::testing::ElementsAre;
using TestSupport::module;
using TestSupport::TraceCapture;
using TestSupport::TraceRecord;

TEST(RuleIdTest, PacksTheSequenceNumberAboveTheIndex) {
  EXPECT_EQ(computeRuleId(5, 1), 5U << 22U | 1U);
  EXPECT_EQ(computeRuleId(0, 1), 1U);
  EXPECT_EQ(computeRuleId(0, 0), 0U);
  EXPECT_EQ(computeRuleId(1, 0), 0x400000U);
}

TEST(RuleIdTest, LargestSequenceNumberAndIndexFillTheWord) {
  EXPECT_EQ(computeRuleId(1023, 4194303), 0xFFFFFFFFU);
  EXPECT_EQ(ruleSeqnum(0xFFFFFFFFU), 1023U);
}

TEST(RuleIdTest, TraceNamesTheSequenceNumberAndTheIndex) {
  const TraceCapture traces;
  computeRuleId(7, 9);
  EXPECT_THAT(traces.records(), ElementsAre(TraceRecord{module, 8, "computeRuleId", ": 7, 9"}));
}

TEST(RuleIdTest, OverflowOfEitherYieldsZeroAndIsTraced) {
  const TraceCapture traces(3);
  EXPECT_EQ(computeRuleId(1024, 1), 0U);
  EXPECT_EQ(computeRuleId(0, 4194304), 0U);
  EXPECT_EQ(computeRuleId(0xFFFFFFFFU, 0xFFFFFFFFU), 0U);
  const TraceRecord overflow{module, 3, "computeRuleId",
                             "Failed to compute ruleId: value exceeded"};
  EXPECT_THAT(traces.records(), ElementsAre(overflow, overflow, overflow));
}

TEST(RuleIdTest, SequenceNumberComesBackFromEveryIdentifier) {
  for (const std::uint32_t seqnum : {0U, 1U, 511U, 1022U, 1023U}) {
    for (const std::uint32_t index : {1U, 2U, 4194302U, 4194303U}) {
      EXPECT_EQ(ruleSeqnum(computeRuleId(seqnum, index)), seqnum);
    }
  }
}

using Ids = Kiv::OrderedSet<std::uint32_t>;

// One probe an index, as the search is defined.
std::uint32_t lowestFreeByProbing(const Ids& ids, std::uint32_t seqnum) {
  std::uint32_t index = 1;
  while (index <= maxRuleIndex && ids.has(seqnum << 22U | index)) ++index;
  return index;
}

TEST(LowestFreeRuleIndexTest, IsOneWhereThereAreNoRules) {
  const Ids ids;
  EXPECT_EQ(lowestFreeRuleIndex(ids, 0).index, 1U);
  EXPECT_EQ(lowestFreeRuleIndex(ids, 1023).index, 1U);
}

TEST(LowestFreeRuleIndexTest, IndexZeroDoesNotCount) {
  Ids ids;
  ids.insert(computeRuleId(4, 0));
  ids.insert(computeRuleId(5, 0));
  EXPECT_EQ(lowestFreeRuleIndex(ids, 4).index, 1U);
  ids.insert(computeRuleId(4, 1));
  EXPECT_EQ(lowestFreeRuleIndex(ids, 4).index, 2U);
}

TEST(LowestFreeRuleIndexTest, NeighbouringSequenceNumbersDoNotCount) {
  Ids ids;
  ids.insert(computeRuleId(3, maxRuleIndex));
  ids.insert(computeRuleId(4, 1));
  ids.insert(computeRuleId(5, 1));
  EXPECT_EQ(lowestFreeRuleIndex(ids, 4).index, 2U);
}

TEST(LowestFreeRuleIndexTest, SequenceNumberWithoutIdentifiersStartsAtOne) {
  Ids ids;
  ids.insert(computeRuleId(0, 1));
  EXPECT_EQ(lowestFreeRuleIndex(ids, 1024).index, 1U);
}

// What OrderedMap answers when it holds every identifier from `first` to `last`, but one.
struct FullTable {
  std::uint64_t first;
  std::uint64_t last;
  std::uint64_t gap;  // 0: none

  std::size_t rank(std::uint32_t key) const {
    const std::uint64_t below = std::clamp<std::uint64_t>(key, first, last + 1) - first;
    return below - (gap != 0 && gap < key ? 1 : 0);
  }
  std::size_t size() const { return last - first + 1 - (gap != 0 ? 1 : 0); }
};

TEST(LowestFreeRuleIndexTest, EveryIndexTakenYieldsOneThatMakesNoIdentifier) {
  for (const std::uint64_t seqnum : {std::uint64_t{0}, std::uint64_t{9}, std::uint64_t{1023}}) {
    const FullTable table{seqnum << 22U | 1, seqnum << 22U | maxRuleIndex, 0};
    const auto number = static_cast<std::uint32_t>(seqnum);
    EXPECT_EQ(lowestFreeRuleIndex(table, number).index, maxRuleIndex + 1);
    EXPECT_EQ(computeRuleId(number, lowestFreeRuleIndex(table, number).index), 0U);
  }
}

TEST(LowestFreeRuleIndexTest, TheOneGapOfAFullSequenceNumberIsFound) {
  for (const std::uint64_t seqnum : {std::uint64_t{0}, std::uint64_t{9}, std::uint64_t{1023}}) {
    for (const std::uint32_t index : {1U, 2U, 3U, 2097151U, 2097152U, 4194302U, 4194303U}) {
      const FullTable table{seqnum << 22U | 1, seqnum << 22U | maxRuleIndex, seqnum << 22U | index};
      EXPECT_EQ(lowestFreeRuleIndex(table, static_cast<std::uint32_t>(seqnum)).index, index);
    }
  }
}

TEST(LowestFreeRuleIndexTest, AgreesWithProbingAfterRandomAdditionsAndRemovals) {
  std::mt19937 random(20240521);
  const auto below = [&](std::uint32_t bound) {
    return std::uniform_int_distribution<std::uint32_t>(0, bound - 1)(random);
  };
  for (int history = 0; history < 200; ++history) {
    Ids ids;
    const std::uint32_t spread = 1 + below(60);
    for (int step = 0; step < 200; ++step) {
      const std::uint32_t seqnum = below(3) == 0 ? 1023 : below(3);
      if (below(3) == 0) {
        ids.erase(computeRuleId(seqnum, below(spread)));
      } else if (below(2) == 0) {
        ids.insert(computeRuleId(seqnum, below(spread)));
      } else {
        ids.insert(computeRuleId(seqnum, lowestFreeRuleIndex(ids, seqnum).index));
      }
      for (const std::uint32_t asked : {0U, 1U, 2U, 1023U}) {
        const FreeRuleIndex found = lowestFreeRuleIndex(ids, asked);
        ASSERT_EQ(found.index, lowestFreeByProbing(ids, asked));
        const auto behind = ids.lowerBound(computeRuleId(asked, found.index));
        const bool isBehindAll = behind == ids.end() || ruleSeqnum(*behind) != asked;
        ASSERT_EQ(found.isBehindAll, isBehindAll);
      }
    }
  }
}

// Counts the questions that the search asks.
struct CountingTable {
  const Ids& ids;
  mutable int questions = 0;

  std::size_t rank(std::uint32_t key) const {
    ++questions;
    return ids.rank(key);
  }
  std::size_t size() const { return ids.size(); }
};

TEST(LowestFreeRuleIndexTest, AsksThreeTimesWhateverTheNumberOfRulesAndALogarithmWithGaps) {
  Ids ids;
  for (std::uint32_t index = 1; index <= 100000; ++index) ids.insert(computeRuleId(6, index));
  const CountingTable dense{ids};
  EXPECT_EQ(lowestFreeRuleIndex(dense, 6).index, 100001U);
  EXPECT_LE(dense.questions, 3);
  ids.erase(computeRuleId(6, 31415));
  const CountingTable sparse{ids};
  EXPECT_EQ(lowestFreeRuleIndex(sparse, 6).index, 31415U);
  EXPECT_LE(sparse.questions, 3 + 17);
}

}  // namespace
