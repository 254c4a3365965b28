// From a hash to the ordinals of the entries that may bear it: the table beside a hash map's
// entries.
//
// The table is an array of groups, a cache line each: 12 ordinals, and of each entry a tag of 8
// bits of its hash, so that a group is looked through at once and a wrong entry is rarely touched.
// An entry that finds its home group full goes to the next one with room, and leaves in each group
// that it passes a bit, by its hash, that keeps searches going; these bits stay until the owner
// makes a new index, which it does when the ordinals reach limit(), 10 a group. Little memory, no
// tombstones, and a search for what is not there mostly ends in the home group.
//
// Source: the layouts of "F14" (Bronson and Shi, 2019) and of open addressing with overflow bits
// (Munoz, 2022) in one.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Kiv::detail {

class HashIndex {
 public:
  using Ordinal = std::uint32_t;
  using Tag = std::uint8_t;

  static constexpr Ordinal none = ~Ordinal{0};
  static constexpr unsigned maxBits = 27;

  struct Found {
    Ordinal ordinal = none;
    Tag* tag = nullptr;  // for remove()
    explicit operator bool() const noexcept { return ordinal != none; }
  };

  HashIndex() noexcept = default;
  // 2^bits groups, bits at least 1. Raises std::bad_alloc.
  explicit HashIndex(unsigned bits)
      : groups_(std::make_unique<Group[]>(std::size_t{1} << bits)), shift_(hashBits - bits) {}
  HashIndex(HashIndex&& other) noexcept = default;
  HashIndex& operator=(HashIndex&& other) noexcept = default;

  bool exists() const noexcept { return groups_ != nullptr; }
  // Of an index that exists.
  unsigned bits() const noexcept { return hashBits - shift_; }
  Ordinal limit() const noexcept { return limitFor(bits()); }
  std::size_t bytes() const noexcept { return exists() ? sizeof(Group) << bits() : 0; }

  // The smallest index for `count` ordinals; above maxBits if there is none.
  static unsigned bitsFor(std::uint64_t count) noexcept {
    unsigned bits = 1;
    while (bits <= maxBits && limitFor(bits) < count) ++bits;
    return bits;
  }

  // The entry with this hash for which `same(ordinal)` holds.
  template <class Same>
  Found find(std::uint32_t hash, const Same& same) const {
    for (std::size_t at = home(hash);; at = next(at)) {
      Group& group = groups_[at];
      for (unsigned tags = group.match(tagOf(hash)); tags != 0; tags &= tags - 1) {
        const unsigned cell = static_cast<unsigned>(std::countr_zero(tags));
        const Ordinal ordinal = group.ordinals[cell];
        if (same(ordinal)) return {ordinal, &group.tags[cell]};
      }
      if (!group.hasPassed(hash)) return {};
    }
  }

  // Notes an entry that is not in the index. Precondition: ordinal < limit().
  void add(std::uint32_t hash, Ordinal ordinal) noexcept {
    std::size_t at = home(hash);
    unsigned room = groups_[at].match(vacant);
    while (room == 0) {
      groups_[at].passed |= 1U << passedBit(hash);
      at = next(at);
      room = groups_[at].match(vacant);
    }
    const unsigned cell = static_cast<unsigned>(std::countr_zero(room));
    groups_[at].tags[cell] = tagOf(hash);
    groups_[at].ordinals[cell] = ordinal;
  }

  void prefetch(std::uint32_t hash) const noexcept { __builtin_prefetch(&groups_[home(hash)]); }

  static void remove(Tag* tag) noexcept { *tag = vacant; }

 private:
  static constexpr Tag vacant = 0;
  static constexpr unsigned cells = 12;
  static constexpr unsigned hashBits = 32;

  struct alignas(64) Group {
    Tag tags[cells];
    std::uint32_t passed;
    Ordinal ordinals[cells];

    bool hasPassed(std::uint32_t hash) const noexcept {
      return (passed >> passedBit(hash) & 1U) != 0;
    }

    // Bit i is set where tag i is `wanted`.
    unsigned match(Tag wanted) const noexcept {
#ifdef __SSE2__
      const __m128i all = _mm_load_si128(reinterpret_cast<const __m128i*>(this));
      const __m128i equal = _mm_cmpeq_epi8(all, _mm_set1_epi8(static_cast<char>(wanted)));
      return static_cast<unsigned>(_mm_movemask_epi8(equal)) & ((1U << cells) - 1);
#else
      unsigned found = 0;
      for (unsigned i = 0; i < cells; ++i) found |= static_cast<unsigned>(tags[i] == wanted) << i;
      return found;
#endif
    }
  };
  static_assert(sizeof(Group) == 64);

  static Ordinal limitFor(unsigned bits) noexcept { return Ordinal{10} << bits; }
  static Tag tagOf(std::uint32_t hash) noexcept {
    const Tag tag = static_cast<Tag>(hash >> 8U);
    return tag != vacant ? tag : 1;
  }
  static unsigned passedBit(std::uint32_t hash) noexcept { return (hash >> 1U) & 31U; }
  std::size_t home(std::uint32_t hash) const noexcept { return hash >> shift_; }
  std::size_t next(std::size_t group) const noexcept {
    return (group + 1) & ((std::size_t{1} << bits()) - 1);
  }

  std::unique_ptr<Group[]> groups_;
  unsigned shift_ = 0;  // from a hash to its home group
};

}  // namespace Kiv::detail
