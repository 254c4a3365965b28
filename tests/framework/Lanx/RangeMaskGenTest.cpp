#include "framework/Lanx/RangeMaskGen.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <random>
#include <utility>
#include <vector>

namespace Lanx {

static void PrintTo(const RangeMaskGen<unsigned short>::Entry& entry, std::ostream* out) {
  *out << '(' << entry.low << ", " << entry.high << ", " << entry.mask << ')';
}

}  // namespace Lanx

namespace {

using Generator = Lanx::RangeMaskGen<unsigned short>;
using Entry = Generator::Entry;
using Entries = std::vector<Entry>;

Entries blocks(unsigned start, unsigned end) {
  Entries out;
  Generator::run(static_cast<unsigned short>(start), static_cast<unsigned short>(end), out);
  return out;
}

std::vector<std::pair<unsigned, unsigned>> bounds(const Entries& entries) {
  std::vector<std::pair<unsigned, unsigned>> result;
  for (const Entry& entry : entries) result.emplace_back(entry.low, entry.high);
  return result;
}

// The textbook answer: halve the space until a half is inside the range or outside of it.
void halve(unsigned low, unsigned high, unsigned start, unsigned end, Entries& out) {
  if (high < start || low > end) return;
  if (low >= start && high <= end) {
    out.push_back({static_cast<unsigned short>(low), static_cast<unsigned short>(high),
                   static_cast<unsigned short>(0xFFFFU - (high - low))});
    return;
  }
  const unsigned middle = low + (high - low) / 2;
  halve(low, middle, start, end, out);
  halve(middle + 1, high, start, end, out);
}

Entries byHalving(unsigned start, unsigned end) {
  Entries out;
  halve(0, 0xFFFF, start, end, out);
  return out;
}

TEST(RangeMaskGenTest, entryIsLowHighMask) {
  const Entry entry{1, 2, 3};
  EXPECT_EQ(entry.low, 1);
  EXPECT_EQ(entry.high, 2);
  EXPECT_EQ(entry.mask, 3);
  EXPECT_EQ(sizeof(Entry), 6U);
}

TEST(RangeMaskGenTest, fullRangeIsOneEntryThatMatchesAnything) {
  EXPECT_EQ(blocks(0, 65535), (Entries{{0, 65535, 0}}));
}

TEST(RangeMaskGenTest, singleNumberIsOneEntryWithEveryMaskBit) {
  for (unsigned number = 0; number <= 0xFFFF; ++number) {
    const auto n = static_cast<unsigned short>(number);
    ASSERT_EQ(blocks(number, number), (Entries{{n, n, 65535}}));
  }
}

TEST(RangeMaskGenTest, rangeUpToTheLastNumberStopsThere) {
  EXPECT_EQ(blocks(65534, 65535), (Entries{{65534, 65535, 0xFFFE}}));
  EXPECT_EQ(blocks(65533, 65535), (Entries{{65533, 65533, 0xFFFF}, {65534, 65535, 0xFFFE}}));
  const Entries upper = blocks(1, 65535);
  EXPECT_EQ(upper.size(), 16U);
  EXPECT_EQ(upper.back(), (Entry{32768, 65535, 0x8000}));
}

TEST(RangeMaskGenTest, vlanRangeGrowsAndShrinksByPowersOfTwo) {
  const std::vector<std::pair<unsigned, unsigned>> expected{
      {1, 1},       {2, 3},       {4, 7},       {8, 15},      {16, 31},     {32, 63},
      {64, 127},    {128, 255},   {256, 511},   {512, 1023},  {1024, 2047}, {2048, 3071},
      {3072, 3583}, {3584, 3839}, {3840, 3967}, {3968, 4031}, {4032, 4063}, {4064, 4079},
      {4080, 4087}, {4088, 4091}, {4092, 4093}, {4094, 4094}};
  EXPECT_EQ(bounds(blocks(1, 4094)), expected);
}

TEST(RangeMaskGenTest, port80IsItselfWithAllMaskBits) {
  EXPECT_EQ(blocks(80, 80), (Entries{{80, 80, 65535}}));
}

TEST(RangeMaskGenTest, portRangeOfTwoUnalignedEnds) {
  EXPECT_EQ(blocks(1000, 1999), (Entries{{1000, 1007, 0xFFF8},
                                         {1008, 1023, 0xFFF0},
                                         {1024, 1535, 0xFE00},
                                         {1536, 1791, 0xFF00},
                                         {1792, 1919, 0xFF80},
                                         {1920, 1983, 0xFFC0},
                                         {1984, 1999, 0xFFF0}}));
}

TEST(RangeMaskGenTest, entriesAreAppended) {
  Entries out{{7, 7, 7}};
  Generator::run(80, 80, out);
  Generator::run(443, 443, out);
  EXPECT_EQ(out, (Entries{{7, 7, 7}, {80, 80, 65535}, {443, 443, 65535}}));
}

TEST(RangeMaskGenTest, startAboveTheEndIsAnEmptyRange) {
  EXPECT_EQ(blocks(2, 1), Entries{});
  EXPECT_EQ(blocks(65535, 0), Entries{});
  EXPECT_EQ(blocks(65535, 65534), Entries{});
}

TEST(RangeMaskGenTest, everyRangeOfSmallNumbersIsSplitAsByHalving) {
  for (unsigned start = 0; start < 256; ++start) {
    for (unsigned end = start; end < 256; ++end) {
      ASSERT_EQ(blocks(start, end), byHalving(start, end)) << start << '-' << end;
    }
  }
}

TEST(RangeMaskGenTest, everyRangeOfLargeNumbersIsSplitAsByHalving) {
  for (unsigned start = 65536 - 256; start < 65536; ++start) {
    for (unsigned end = start; end < 65536; ++end) {
      ASSERT_EQ(blocks(start, end), byHalving(start, end)) << start << '-' << end;
    }
  }
}

TEST(RangeMaskGenTest, randomRangesAreSplitAsByHalving) {
  std::mt19937 random(10);
  std::uniform_int_distribution<unsigned> number(0, 0xFFFF);
  for (unsigned round = 0; round < 50'000; ++round) {
    const unsigned a = number(random);
    const unsigned b = number(random);
    const unsigned start = std::min(a, b);
    const unsigned end = std::max(a, b);
    const Entries entries = blocks(start, end);
    ASSERT_EQ(entries, byHalving(start, end)) << start << '-' << end;
    ASSERT_LE(entries.size(), 30U) << start << '-' << end;
  }
}

TEST(RangeMaskGenTest, numbersOfABlockAreThoseThatMatchIt) {
  std::mt19937 random(11);
  std::uniform_int_distribution<unsigned> number(0, 0xFFFF);
  for (unsigned round = 0; round < 40; ++round) {
    const unsigned a = number(random);
    const unsigned b = number(random);
    const unsigned start = std::min(a, b);
    const unsigned end = std::max(a, b);
    const Entries entries = blocks(start, end);
    for (unsigned x = 0; x <= 0xFFFF; ++x) {
      unsigned matches = 0;
      for (const Entry& entry : entries) matches += (x & entry.mask) == entry.low ? 1 : 0;
      ASSERT_EQ(matches, x >= start && x <= end ? 1U : 0U) << x << " in " << start << '-' << end;
    }
  }
}

// The bound of the header is reached: both ends one off a power of two.
TEST(RangeMaskGenTest, widestSplitHasThirtyBlocks) { EXPECT_EQ(blocks(1, 65534).size(), 30U); }

TEST(RangeMaskGenTest, otherWidthsSplitAlike) {
  std::vector<Lanx::RangeMaskGen<std::uint8_t>::Entry> bytes;
  Lanx::RangeMaskGen<std::uint8_t>::run(0, 255, bytes);
  EXPECT_EQ(bytes, (decltype(bytes){{0, 255, 0}}));
  std::vector<Lanx::RangeMaskGen<std::uint32_t>::Entry> words;
  Lanx::RangeMaskGen<std::uint32_t>::run(0, 0xFFFFFFFF, words);
  EXPECT_EQ(words, (decltype(words){{0, 0xFFFFFFFF, 0}}));
  words.clear();
  Lanx::RangeMaskGen<std::uint32_t>::run(0xFFFFFFFD, 0xFFFFFFFF, words);
  EXPECT_EQ(words, (decltype(words){{0xFFFFFFFD, 0xFFFFFFFD, 0xFFFFFFFF},
                                    {0xFFFFFFFE, 0xFFFFFFFF, 0xFFFFFFFE}}));
}

TEST(RangeMaskGenTest, maskBitsAreBoundedByAlignmentAndByTheEnd) {
  EXPECT_EQ(Generator::getMaskBits(0, 0), 0U);
  EXPECT_EQ(Generator::getMaskBits(0, 1), 1U);
  EXPECT_EQ(Generator::getMaskBits(0, 2), 1U);
  EXPECT_EQ(Generator::getMaskBits(0, 65534), 15U);
  EXPECT_EQ(Generator::getMaskBits(0, 65535), 16U);
  EXPECT_EQ(Generator::getMaskBits(8, 65535), 3U);
  EXPECT_EQ(Generator::getMaskBits(65535, 65535), 0U);
}

TEST(RangeMaskGenDeathTest, blockWiderThanTheTypeIsAnAssertion) {
  EXPECT_DEATH(Generator::getMaskBits(0, 0x1FFFF), "mask <= 8 \\* sizeof\\( T \\)");
  EXPECT_DEATH(Generator::getMaskBits(0, ~std::uint64_t{0}), "mask <= 8 \\* sizeof\\( T \\)");
}

TEST(RangeMaskGenDeathTest, boundsInTheWrongOrderAreAnAssertion) {
  EXPECT_DEATH(Generator::getMaskBits(2, 1), "low <= high");
}

}  // namespace
