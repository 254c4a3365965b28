// Splits a range of numbers into blocks that hardware can match by value and mask.
//
//   std::vector<Lanx::RangeMaskGen<std::uint16_t>::Entry> blocks;
//   Lanx::RangeMaskGen<std::uint16_t>::run(80, 84, blocks);
//   // (80, 83, mask 0xFFFC), (84, 84, mask 0xFFFF)
//
// A number x is in the block when (x & mask) == low. The blocks are the fewest that cover the range
// exactly, since each is the largest power of two that is aligned where the one before it ended;
// for b-bit numbers there are at most 2b - 2 of them. One pass, no allocation but the vector's
// growth.
//
// T is an unsigned type of at most 32 bits. Instantiated once, for unsigned 16-bit numbers (ports
// and VLAN ids), in RangeMaskGen.cpp.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "framework/Pith/Assert.h"
#include "framework/Pith/Export.h"

namespace Lanx {

template <class T>
class RangeMaskGen {
  static_assert(std::is_unsigned_v<T> && sizeof(T) <= sizeof(std::uint32_t));

 public:
  struct Entry {
    T low;
    T high;
    T mask;

    friend bool operator==(const Entry&, const Entry&) = default;
  };

  // Appends the blocks of the numbers from `start` to `end`, both included, in ascending order.
  // Where `start` is above `end` the range is empty and nothing is appended.
  static void run(T start, T end, std::vector<Entry>& out);

  // How many low bits are free in the largest aligned block that begins at `low` and does not pass
  // `high`. The arguments are wider than T, so that bounds that are no T meet the assertion that
  // the block fits T rather than being cut. `low` is at most `high`.
  static unsigned getMaskBits(std::uint64_t low, std::uint64_t high);
};

template <class T>
unsigned RangeMaskGen<T>::getMaskBits(std::uint64_t low, std::uint64_t high) {
  PITH_ASSERT(low <= high);
  const auto aligned = static_cast<unsigned>(std::countr_zero(low));
  const auto fitting = static_cast<unsigned>(std::bit_width(high - low + 1)) - 1;
  const unsigned mask = std::min(aligned, fitting);
  PITH_ASSERT_TEXT(mask <= 8 * sizeof(T), "mask <= 8 * sizeof( T )");
  return mask;
}

template <class T>
void RangeMaskGen<T>::run(T start, T end, std::vector<Entry>& out) {
  for (std::uint64_t low = start; low <= end;) {
    const std::uint64_t lowBits = (std::uint64_t{1} << getMaskBits(low, end)) - 1;
    out.push_back({static_cast<T>(low), static_cast<T>(low | lowBits), static_cast<T>(~lowBits)});
    low = (low | lowBits) + 1;
  }
}

extern template class PITH_EXPORT RangeMaskGen<unsigned short>;

}  // namespace Lanx
