// The identifier of a hardware rule: which policy rule it came from, and a number among its kind.
//
//   computeRuleId(5, 1)      // 5 << 22 | 1
//   ruleSeqnum(id)           // 5
//
//   bits 31..22   the policy rule's sequence number, 0 to 1023
//   bits 21..0    an index within it, from 1 up
//
// So the rules of a policy sort by sequence number first, those of one sequence number are a range
// of the table, and 0 is no rule's identifier.
#pragma once

#include <cstddef>
#include <cstdint>

#include "framework/Pith/Export.h"

namespace Firewall {

inline constexpr unsigned ruleIndexBits = 22;
inline constexpr std::uint32_t maxRuleIndex = (1U << ruleIndexBits) - 1;
inline constexpr std::uint32_t maxRuleSeqnum = ~0U >> ruleIndexBits;

// 0 when the sequence number or the index is too large.
PITH_EXPORT std::uint32_t computeRuleId(std::uint32_t seqnum, std::uint32_t index);

constexpr std::uint32_t ruleSeqnum(std::uint32_t ruleId) noexcept {
  return ruleId >> ruleIndexBits;
}

struct FreeRuleIndex {
  std::uint32_t index;  // may be one that makes no identifier
  bool isBehindAll;     // no index above it is taken
};

// The smallest index, from 1 up, that no rule of the sequence number has in `rules`, a
// Kiv::OrderedMap by rule identifier. Costs O(log rules); where there are gaps, that for each
// halving of the indices.
template <class Rules>
FreeRuleIndex lowestFreeRuleIndex(const Rules& rules, std::uint32_t seqnum) {
  if (seqnum > maxRuleSeqnum) return {1, true};
  const std::uint32_t base = seqnum << ruleIndexBits;
  const std::size_t before = rules.rank(base + 1);
  // How many of the indices 1 to `last` are taken.
  const auto taken = [&](std::uint32_t last) {
    const std::uint32_t behind = base + last + 1;
    const std::size_t upTo = behind == 0 ? rules.size() : rules.rank(behind);
    return static_cast<std::uint32_t>(upTo - before);
  };
  const std::uint32_t all = taken(maxRuleIndex);
  if (taken(all) == all) return {all + 1, true};
  std::uint32_t low = 1;
  std::uint32_t high = all;
  while (low < high) {
    const std::uint32_t middle = low + (high - low) / 2;
    if (taken(middle) < middle) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  return {low, false};
}

}  // namespace Firewall
