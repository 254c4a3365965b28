#include "framework/Pith/Hash.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstdint>
#include <set>
#include <string>

namespace {

// Recorded figures depend on these: a change of the function shows here first.
TEST(HashTest, valuesAreTheSameInEveryBuild) {
  EXPECT_EQ(Pith::hashOf(std::uint32_t{1}), 0x38f94c439ac36242U);
  EXPECT_EQ(Pith::hashBytes("default", 7), 0x020b40ba05e91bf0U);
  EXPECT_EQ(Pith::hashBytes("Port-Channel100", 15), 0x9f23b734d28be633U);
}

TEST(HashTest, integersOfEveryWidthHashByValue) {
  EXPECT_EQ(Pith::hashOf(std::uint8_t{80}), Pith::hashOf(std::uint64_t{80}));
  EXPECT_EQ(Pith::hashOf(true), Pith::hashOf(1));
}

TEST(HashTest, lengthCountsWhereTheBytesAreZero) {
  const std::array<char, 32> zeros{};
  std::set<std::uint64_t> hashes;
  for (std::size_t size = 0; size <= zeros.size(); ++size) {
    hashes.insert(Pith::hashBytes(zeros.data(), size));
  }
  EXPECT_EQ(hashes.size(), zeros.size() + 1);
}

TEST(HashTest, orderCountsWhenTwoAreCombined) {
  EXPECT_NE(Pith::hashCombine(1, 2), Pith::hashCombine(2, 1));
}

// A hash table takes some bits of the hash: each input bit has to reach about half of them.
TEST(HashTest, everyBitOfANumberReachesTheWholeHash) {
  for (unsigned bit = 0; bit < 64; ++bit) {
    int changed = 0;
    for (std::uint64_t value = 0; value < 64; ++value) {
      const std::uint64_t number = value * 0x9E3779B97F4A7C15ULL;
      changed += std::popcount(Pith::hashOf(number) ^ Pith::hashOf(number ^ (1ULL << bit)));
    }
    EXPECT_GT(changed / 64, 24) << "bit " << bit;
    EXPECT_LT(changed / 64, 40) << "bit " << bit;
  }
}

}  // namespace
