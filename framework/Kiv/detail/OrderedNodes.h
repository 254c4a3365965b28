// The nodes of an OrderedMap: leaves of packed entries in a chain, and above them inner nodes of
// packed keys. What is placed and moved within them is here; the tree as a whole is OrderedTree.h.
//
// An inner node has `count` children. Between two neighbours lies a separator: greater than every
// key of the left one, not greater than any of the right one. Beside each child stands the number
// of entries below it, so that a rank is known on the way down.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <numeric>
#include <type_traits>
#include <utility>

#include "framework/Kiv/detail/Slot.h"

namespace Kiv::detail {

using Place = std::uint32_t;  // of a slot or a child in its node

// How many of the places [0, count) are `before`, which holds for the first ones and not for the
// rest. Plain numbers are compared without branches, the last few all at once, so that the memory
// they lie in is fetched side by side.
template <class Key, class Before>
Place placesBefore(Place count, const Before& before) {
  constexpr bool isPlain =
      std::is_trivially_copyable_v<Key> && sizeof(Key) <= sizeof(std::uint64_t);
  constexpr Place scanned = isPlain ? 8 : 0;
  Place low = 0;
  while (count > scanned) {
    const Place half = (count + 1) / 2;
    low += before(low + half - 1) ? half : 0;
    count -= half;
  }
  Place found = low;
  for (Place i = 0; i < count; ++i) found += before(low + i) ? 1U : 0U;
  return found;
}

struct OrderedNode {
  std::uint16_t height;  // 0 is a leaf's
  std::uint16_t count = 0;
};

template <class Entry, class KeyFunktor>
struct OrderedLeaf : OrderedNode {
  using Key = typename KeyFunktor::Key;
  using EntrySlot = Slot<Entry>;

  static constexpr Place smallest = 4;
  static constexpr Place largest =
      static_cast<Place>(std::clamp<std::size_t>(std::size_t{1024} / sizeof(EntrySlot), 8, 64));

  std::uint32_t capacity;
  OrderedLeaf* next = nullptr;
  OrderedLeaf* previous = nullptr;

  static std::size_t bytes(Place capacity) noexcept {
    return slotsOffset + capacity * sizeof(EntrySlot);
  }
  // Raises std::bad_alloc.
  static OrderedLeaf* make(Place capacity) {
    auto* leaf = static_cast<OrderedLeaf*>(allocate<Whole>(bytes(capacity)));
    std::construct_at(leaf, capacity);
    Hoard::poison(leaf->slots(), capacity * sizeof(EntrySlot));
    return leaf;
  }
  // Destroys the entries too.
  struct End {
    void operator()(OrderedLeaf* leaf) const noexcept {
      std::destroy_n(leaf->slots(), leaf->count);
      deallocate<Whole>(leaf, bytes(leaf->capacity));
    }
  };
  using Pointer = std::unique_ptr<OrderedLeaf, End>;

  explicit OrderedLeaf(Place slots) noexcept : OrderedNode{0}, capacity(slots) {}

  EntrySlot* slots() noexcept {
    return reinterpret_cast<EntrySlot*>(reinterpret_cast<std::byte*>(this) + slotsOffset);
  }
  Entry& entry(Place place) noexcept { return slots()[place].value(); }
  const Key& key(Place place) noexcept { return KeyFunktor::key(entry(place)); }
  bool isFull() const noexcept { return count == capacity; }

  // The first place whose key is not smaller; the first whose key is greater.
  Place lower(const Key& sought) {
    return placesBefore<Key>(count, [&](Place place) { return key(place) < sought; });
  }
  Place upper(const Key& sought) {
    return placesBefore<Key>(count, [&](Place place) { return !(sought < key(place)); });
  }
  // Whether the entry at lower(sought) is the one sought.
  bool holds(Place place, const Key& sought) { return place < count && !(sought < key(place)); }

  Entry* put(Place place, typename EntrySlot::Pending pending) noexcept {
    shift(place, place + 1);
    std::construct_at(slots() + place, std::move(pending));
    countIs(count + 1);
    return &entry(place);
  }
  void remove(Place place) noexcept {
    std::destroy_at(slots() + place);
    shift(place + 1, place);
    countIs(count - 1);
  }
  // Moves the entries from `first` on behind those of `to`, or before them.
  void moveTailBehind(Place first, OrderedLeaf& to) noexcept {
    to.fill(to.count, slots() + first, count - first);
    to.countIs(to.count + count - first);
    countIs(first);
  }
  void moveTailBefore(Place first, OrderedLeaf& to) noexcept {
    to.shift(0, count - first);
    to.fill(0, slots() + first, count - first);
    to.countIs(to.count + count - first);
    countIs(first);
  }
  // Moves the entries before `end` behind those of `to`.
  void moveHeadBehind(Place end, OrderedLeaf& to) noexcept {
    to.fill(to.count, slots(), end);
    to.countIs(to.count + end);
    shift(end, 0);
    countIs(count - end);
  }

 private:
  struct alignas(EntrySlot) alignas(void*) Whole {};
  static constexpr std::size_t headerBytes = 3 * sizeof(void*);
  static constexpr std::size_t slotsOffset =
      (headerBytes + alignof(EntrySlot) - 1) / alignof(EntrySlot) * alignof(EntrySlot);

  void countIs(Place places) noexcept {
    static_assert(sizeof(OrderedLeaf) <= headerBytes);
    count = static_cast<std::uint16_t>(places);
    Hoard::poison(slots() + count, (capacity - count) * sizeof(EntrySlot));
  }
  // Moves the entries from `first` on, so that the first of them is at `to`.
  void shift(Place first, Place to) noexcept { fill(to, slots() + first, count - first); }
  void fill(Place place, EntrySlot* from, Place number) noexcept {
    Hoard::unpoison(slots(), capacity * sizeof(EntrySlot));
    relocate(from, number, slots() + place);
  }
};

template <class Key>
struct OrderedInner : OrderedNode {
  using KeySlot = Slot<Key>;

  static constexpr Place largest = sizeof(KeySlot) <= 16 ? 64 : 32;

  std::uint32_t sizes[largest];
  OrderedNode* children[largest];

  explicit OrderedInner(unsigned level) noexcept : OrderedNode{static_cast<std::uint16_t>(level)} {}
  OrderedInner(const OrderedInner&) = delete;
  OrderedInner& operator=(const OrderedInner&) = delete;
  ~OrderedInner() {
    if (count > 1) std::destroy_n(keys(), count - 1U);
  }

  KeySlot* keys() noexcept { return reinterpret_cast<KeySlot*>(keyBytes_); }
  bool isFull() const noexcept { return count == largest; }
  std::uint32_t total() const noexcept { return std::accumulate(sizes, sizes + count, 0U); }
  std::uint32_t totalBefore(Place place) const noexcept {
    return std::accumulate(sizes, sizes + place, 0U);
  }

  // The child that has `sought`, if any has.
  Place childFor(const Key& sought) {
    if (count <= 1) return 0;
    return placesBefore<Key>(count - 1U,
                             [&](Place place) { return !(sought < keys()[place].value()); });
  }

  void separatorIs(Place place, KeySlot separator) noexcept {
    std::destroy_at(keys() + place);
    std::construct_at(keys() + place, std::move(separator));
  }
  // Makes `child` the only one.
  void onlyChildIs(OrderedNode* child, std::uint32_t size) noexcept {
    children[0] = child;
    sizes[0] = size;
    count = 1;
  }
  // Puts `child` behind the one at `place`.
  void putBehind(Place place, KeySlot separator, OrderedNode* child, std::uint32_t size) noexcept {
    relocate(keys() + place, count - 1U - place, keys() + place + 1);
    std::construct_at(keys() + place, std::move(separator));
    std::copy_backward(children + place + 1, children + count, children + count + 1);
    std::copy_backward(sizes + place + 1, sizes + count, sizes + count + 1);
    children[place + 1] = child;
    sizes[place + 1] = size;
    ++count;
  }
  // Forgets the child at `place` and a separator beside it.
  void remove(Place place) noexcept {
    if (count > 1) {
      const Place separator = place == 0 ? 0 : place - 1;
      std::destroy_at(keys() + separator);
      relocate(keys() + separator + 1, count - 2U - separator, keys() + separator);
    }
    std::copy(children + place + 1, children + count, children + place);
    std::copy(sizes + place + 1, sizes + count, sizes + place);
    --count;
  }
  // Moves the children from `first` (at least 1) on to the empty node `to`; returns the separator
  // between the two.
  KeySlot split(Place first, OrderedInner& to) noexcept {
    relocate(keys() + first, count - 1U - first, to.keys());
    std::copy(children + first, children + count, to.children);
    std::copy(sizes + first, sizes + count, to.sizes);
    to.count = static_cast<std::uint16_t>(count - first);
    count = static_cast<std::uint16_t>(first);
    KeySlot separator(std::move(keys()[first - 1]));
    std::destroy_at(keys() + first - 1);
    return separator;
  }
  // Moves all children behind those of `to`, `separator` between.
  void mergeBehind(KeySlot separator, OrderedInner& to) noexcept {
    std::construct_at(to.keys() + to.count - 1, std::move(separator));
    relocate(keys(), count - 1U, to.keys() + to.count);
    std::copy_n(children, count, to.children + to.count);
    std::copy_n(sizes, count, to.sizes + to.count);
    to.count = static_cast<std::uint16_t>(to.count + count);
    count = 0;
  }

 private:
  alignas(KeySlot) std::byte keyBytes_[(largest - 1) * sizeof(KeySlot)];
};

}  // namespace Kiv::detail
