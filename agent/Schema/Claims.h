// Which segment of a VRF claims a prefix first.
//
//   Claims claims;
//   claims.first("10.0.0.0/8", "staff")        // "staff", or who has claimed it before
//
// A hash table with open addressing: a full routing table has a million prefixes, and each is
// looked up once.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace Agent {

class Claims {
 public:
  // The texts have to outlive the table.
  std::string_view first(std::string_view prefix, std::string_view segment) {
    if (entries_.size() * 2 >= slots_.size()) grow();
    const auto hash = static_cast<std::uint32_t>(std::hash<std::string_view>()(prefix));
    Slot& slot = slotOf(hash, prefix);
    if (slot.entry == 0) {
      entries_.push_back({prefix, segment});
      slot = {hash, static_cast<std::uint32_t>(entries_.size())};
    }
    return entries_[slot.entry - 1].segment;
  }

 private:
  struct Entry {
    std::string_view prefix;
    std::string_view segment;
  };
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t entry = 0;  // from 1; 0: free
  };

  Slot& slotOf(std::uint32_t hash, std::string_view prefix) {
    std::size_t at = hash & (slots_.size() - 1);
    while (slots_[at].entry != 0 &&
           (slots_[at].hash != hash || entries_[slots_[at].entry - 1].prefix != prefix)) {
      at = (at + 1) & (slots_.size() - 1);
    }
    return slots_[at];
  }

  void grow() {
    constexpr std::size_t fewest = 64;
    std::vector<Slot> before(slots_.empty() ? fewest : slots_.size() * 2);
    before.swap(slots_);
    for (const Slot& slot : before) {
      if (slot.entry != 0) slotOf(slot.hash, entries_[slot.entry - 1].prefix) = slot;
    }
  }

  std::vector<Slot> slots_;  // a power of two
  std::vector<Entry> entries_;
};

}  // namespace Agent
