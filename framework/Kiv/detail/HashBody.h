// What a non-empty HashMap2018 holds: its entries in the order of their insertion, in chunks, and
// the index beside them.
//
// An entry's number, its ordinal, says where it lies: chunk ordinal / chunkCapacity, slot ordinal %
// chunkCapacity. Beside the slots each chunk has a mark a slot, the hash of the entry or 0 where
// there is none, and the count of its live entries. Entries are appended; an erased one leaves its
// slot empty until compact() closes up the gaps. The first chunk begins small and grows by moving;
// the others are whole from the start, and given back when their last entry goes.
//
// A walk is whoever needs slots to stay where they are: an open iterator, or an erase whose entry's
// destructor is running. While there is one, nothing moves and no chunk goes. The body outlives its
// map (clear() in a walk) until the last walk ends.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include "framework/Kiv/detail/HashIndex.h"
#include "framework/Kiv/detail/Slot.h"
#include "framework/Pith/Hash.h"

namespace Kiv::detail {

template <class Entry, class KeyFunktor>
class HashBody {
 public:
  using Key = typename KeyFunktor::Key;
  using EntrySlot = Slot<Entry>;
  using Ordinal = std::uint32_t;
  using Mark = std::uint32_t;

  static constexpr Ordinal chunkCapacity = static_cast<Ordinal>(
      std::clamp<std::size_t>(std::bit_floor(std::size_t{65536} / sizeof(EntrySlot)), 16, 1024));

  // A run of slots and their marks, as an iterator steps through them.
  struct Run {
    EntrySlot* slots = nullptr;
    const Mark* marks = nullptr;
    Ordinal capacity = 0;
  };

  explicit HashBody(HashBody** owner) : owner_(owner), only_(newChunk(smallestCapacity)) {}
  HashBody(const HashBody&) = delete;
  HashBody& operator=(const HashBody&) = delete;
  ~HashBody() {
    destroyEntries();
    for (Ordinal chunk = 0; chunk < chunkCount_; ++chunk) deleteChunk(chunk);
    if (directory_ != &only_) delete[] directory_;
  }

  Ordinal size() const noexcept { return size_; }
  Ordinal walks() const noexcept { return walks_; }
  Ordinal firstOrdinal() const noexcept { return first_; }
  void ownerIs(HashBody** owner) noexcept { owner_ = owner; }

  // The run of a chunk; without slots if the chunk has been given back.
  bool hasRun(Ordinal chunk) const noexcept { return chunk < chunkCount_; }
  Run run(Ordinal chunk) const noexcept {
    if (directory_[chunk] == nullptr) return {};
    return {directory_[chunk], marksOf(chunk), capacityOf(chunk)};
  }

  void walkBegins() noexcept { ++walks_; }
  // May end this body.
  void walkEnds() noexcept {
    if (--walks_ == 0) settle();
  }

  Entry* find(const Key& key) const {
    const Mark hash = hashOf(key);
    Entry* entry = nullptr;
    locate(hash, [&](Ordinal ordinal) {
      Entry& candidate = slotAt(ordinal)->value();
      if (!(KeyFunktor::key(candidate) == key)) return false;
      entry = &candidate;
      return true;
    });
    return entry;
  }

  std::pair<Entry*, bool> insert(Entry& entry) {
    const Key& key = KeyFunktor::key(entry);
    const Mark hash = hashOf(key);
    if (const Found found = locate(hash, key)) return {&slotAt(found.ordinal)->value(), false};
    if (used_ == end_) makeRoom();
    auto pending = EntrySlot::prepare(entry);
    EntrySlot* slot = slotAt(used_);
    Hoard::unpoison(slot, sizeof(EntrySlot));
    std::construct_at(slot, std::move(pending));
    mark(used_) = hash;
    ++live(used_ / chunkCapacity);
    if (index_.exists()) index_.add(hash, used_);
    ++used_;
    ++size_;
    return {&slot->value(), true};
  }

  // May end this body.
  bool erase(const Key& key) {
    const Found found = locate(hashOf(key), key);
    if (found) remove(found);
    return static_cast<bool>(found);
  }

  // May end this body.
  std::optional<Entry> take(const Key& key) { return take(locate(hashOf(key), key)); }

  // Precondition: size() != 0. May end this body.
  std::optional<Entry> takeFirst() {
    if (!index_.exists()) return take(Found{first_, nullptr});
    return take(index_.find(mark(first_), [&](Ordinal ordinal) { return ordinal == first_; }));
  }

  // Destroys the entries; the owner forgets this body, which ends with the last walk.
  void abandon() noexcept {
    owner_ = nullptr;
    walkBegins();
    destroyEntries();
    walkEnds();
  }

  void reserve(std::size_t count) {
    if (count <= size_) return;
    const std::uint64_t ordinals = std::uint64_t{used_} + (count - size_);
    if (ordinals > indexLimit()) reindex(bitsFor(ordinals));
    if (walks_ == 0 && chunkCount_ == 1 && count > firstCapacity_) {
      resizeFirst(static_cast<Ordinal>(
          std::min<std::size_t>(std::bit_ceil(std::min(count, ordinals)), chunkCapacity)));
    }
    endUpdate();
  }

  std::size_t bytes() const noexcept {
    std::size_t sum = sizeof *this + index_.bytes() + size_ * EntrySlot::boxBytes;
    if (directory_ != &only_) sum += directoryCapacity_ * sizeof *directory_;
    for (Ordinal chunk = 0; chunk < chunkCount_; ++chunk) {
      if (directory_[chunk] != nullptr) sum += chunkBytes(capacityOf(chunk));
    }
    return sum;
  }

 private:
  static constexpr Ordinal smallestCapacity = 2;
  static constexpr Ordinal smallLimit = 8;  // up to here the marks are looked through instead

  using Found = HashIndex::Found;

  struct alignas(EntrySlot) alignas(Mark) ChunkStart {};

  // A chunk is [slots][marks][count of live entries].
  static constexpr std::size_t marksOffset(Ordinal capacity) noexcept {
    return (capacity * sizeof(EntrySlot) + alignof(Mark) - 1) / alignof(Mark) * alignof(Mark);
  }
  static constexpr std::size_t chunkBytes(Ordinal capacity) noexcept {
    return marksOffset(capacity) + (std::size_t{capacity} + 1) * sizeof(Mark);
  }
  static Mark* marksIn(EntrySlot* slots, Ordinal capacity) noexcept {
    return reinterpret_cast<Mark*>(reinterpret_cast<std::byte*>(slots) + marksOffset(capacity));
  }
  static EntrySlot* newChunk(Ordinal capacity) {
    auto* slots = static_cast<EntrySlot*>(allocate<ChunkStart>(chunkBytes(capacity)));
    std::fill_n(marksIn(slots, capacity), capacity + 1, Mark{0});
    Hoard::poison(slots, capacity * sizeof(EntrySlot));
    return slots;
  }
  void deleteChunk(Ordinal chunk) noexcept {
    if (directory_[chunk] == nullptr) return;
    deallocate<ChunkStart>(directory_[chunk], chunkBytes(capacityOf(chunk)));
    directory_[chunk] = nullptr;
  }

  Ordinal capacityOf(Ordinal chunk) const noexcept {
    return chunk == 0 ? firstCapacity_ : chunkCapacity;
  }
  Mark* marksOf(Ordinal chunk) const noexcept {
    return marksIn(directory_[chunk], capacityOf(chunk));
  }
  Mark& live(Ordinal chunk) const noexcept { return marksOf(chunk)[capacityOf(chunk)]; }
  Mark& mark(Ordinal ordinal) const noexcept {
    return marksOf(ordinal / chunkCapacity)[ordinal % chunkCapacity];
  }
  EntrySlot* slotAt(Ordinal ordinal) const noexcept {
    return directory_[ordinal / chunkCapacity] + ordinal % chunkCapacity;
  }

  static Mark hashOf(const Key& key) noexcept {
    return static_cast<Mark>(Pith::hashOf(key) >> 32U) | 1U;
  }

  // The entry with this hash for which `same(ordinal)` holds.
  template <class Same>
  Found locate(Mark hash, const Same& same) const {
    if (index_.exists()) return index_.find(hash, same);
    const Mark* marks = marksOf(0);
    for (Ordinal ordinal = 0; ordinal < used_; ++ordinal) {
      if (marks[ordinal] == hash && same(ordinal)) return {ordinal, nullptr};
    }
    return {};
  }
  Found locate(Mark hash, const Key& key) const {
    return locate(
        hash, [&](Ordinal ordinal) { return KeyFunktor::key(slotAt(ordinal)->value()) == key; });
  }

  // The first live ordinal from `ordinal` on, or used_.
  Ordinal nextLive(Ordinal ordinal) const noexcept {
    while (ordinal < used_) {
      const Ordinal chunk = ordinal / chunkCapacity;
      if (directory_[chunk] != nullptr) {
        const Mark* marks = marksOf(chunk);
        const Mark* end = marks + capacityOf(chunk);
        const Mark* found =
            std::find_if(marks + ordinal % chunkCapacity, end, [](Mark mark) { return mark != 0; });
        if (found != end) return chunk * chunkCapacity + static_cast<Ordinal>(found - marks);
      }
      ordinal = (chunk + 1) * chunkCapacity;
    }
    return used_;
  }

  std::optional<Entry> take(Found found) {
    if (!found) return std::nullopt;
    std::optional<Entry> taken(std::move(slotAt(found.ordinal)->value()));
    remove(found);
    return taken;
  }

  // The map is as it will be before the entry's destructor runs, which may use it. May end this
  // body.
  void remove(Found found) noexcept {
    const Ordinal chunk = found.ordinal / chunkCapacity;
    Mark* marks = marksOf(chunk);
    if (found.tag != nullptr) HashIndex::remove(found.tag);
    marks[found.ordinal % chunkCapacity] = 0;
    --size_;
    if (size_ < used_ / 4) end_ = used_;  // the next insert closes the gaps
    if (found.ordinal == first_) first_ = nextLive(first_ + 1);
    const bool chunkIsDead =
        --marks[capacityOf(chunk)] == 0 && chunk != 0 && chunk + 1 != chunkCount_;
    walkBegins();
    destroy(directory_[chunk] + found.ordinal % chunkCapacity);
    if (chunkIsDead && walks_ == 1) {
      deleteChunk(chunk);
    } else if (chunkIsDead) {
      hasDeadChunk_ = true;
    }
    walkEnds();
  }

  static void destroy(EntrySlot* slot) noexcept {
    std::destroy_at(slot);
    Hoard::poison(slot, sizeof(EntrySlot));
  }

  void destroyEntries() noexcept {
    for (Ordinal ordinal = first_; ordinal < used_; ordinal = nextLive(ordinal + 1)) {
      mark(ordinal) = 0;
      destroy(slotAt(ordinal));
    }
    first_ = used_;
    size_ = 0;
  }

  // What had to wait for the last walk. May end this body.
  void settle() noexcept {
    if (size_ == 0) {
      if (owner_ != nullptr) *owner_ = nullptr;
      delete this;
    } else if (hasDeadChunk_) {
      for (Ordinal chunk = 1; chunk + 1 < chunkCount_; ++chunk) {
        if (directory_[chunk] != nullptr && live(chunk) == 0) deleteChunk(chunk);
      }
      hasDeadChunk_ = false;
    }
  }

  Ordinal indexLimit() const noexcept { return index_.exists() ? index_.limit() : smallLimit; }
  static unsigned bitsFor(std::uint64_t ordinals) {
    const unsigned bits = HashIndex::bitsFor(ordinals);
    if (bits > HashIndex::maxBits) throw std::length_error("Kiv::HashMap2018: too many entries");
    return bits;
  }
  void endUpdate() noexcept {
    const Ordinal slots = chunkCount_ == 1 ? firstCapacity_ : chunkCount_ * chunkCapacity;
    end_ = std::min(indexLimit(), slots);
  }

  // Makes used_ an ordinal that can be filled. Closing the gaps costs a pass over the slots, paid
  // for by the erasures that left many of them empty.
  void makeRoom() {
    if (walks_ == 0) {
      if (chunkCount_ > 1 && firstCapacity_ < chunkCapacity) resizeFirst(chunkCapacity);
      const std::uint64_t dead = used_ - size_;
      if (dead * 3 > used_ || (dead * 4 > used_ && used_ == indexLimit())) compact();
    }
    Ordinal next = used_;
    if (chunkCount_ == 1 && next == firstCapacity_ && next < chunkCapacity) {
      if (walks_ == 0) {
        resizeFirst(next * 2);
      } else {
        next = chunkCapacity;  // the first chunk may not move: go on in a second one
      }
    }
    if (next >= indexLimit()) reindex(bitsFor(std::uint64_t{next} + 1));
    if (next == chunkCount_ * chunkCapacity) addChunk();
    if (first_ == used_) first_ = next;
    used_ = next;
    endUpdate();
  }

  // Precondition: no walk is open, and no entry of the first chunk lies beyond `capacity`.
  void resizeFirst(Ordinal capacity) {
    EntrySlot* slots = newChunk(capacity);
    Mark* marks = marksIn(slots, capacity);
    for (Ordinal i = 0; i < std::min(capacity, firstCapacity_); ++i) {
      if ((marks[i] = mark(i)) != 0) relocate(slotAt(i), slots + i);
    }
    marks[capacity] = live(0);
    deleteChunk(0);
    directory_[0] = slots;
    firstCapacity_ = capacity;
  }

  void addChunk() {
    if (chunkCount_ == directoryCapacity_) {
      auto** grown = new EntrySlot*[std::size_t{2} * directoryCapacity_];
      std::copy_n(directory_, chunkCount_, grown);
      if (directory_ != &only_) delete[] directory_;
      directory_ = grown;
      directoryCapacity_ *= 2;
    }
    directory_[chunkCount_] = newChunk(chunkCapacity);
    ++chunkCount_;
  }

  void reindex(unsigned bits) {
    HashIndex fresh(bits);
    addAllTo(fresh);
    index_ = std::move(fresh);
  }

  void addAllTo(HashIndex& index) const noexcept {
    constexpr Ordinal ahead = 16;
    for (Ordinal chunk = first_ / chunkCapacity; chunk < chunkCount_; ++chunk) {
      const Run run = this->run(chunk);
      for (Ordinal i = 0; i < run.capacity; ++i) {
        if (i + ahead < run.capacity) index.prefetch(run.marks[i + ahead]);
        if (run.marks[i] != 0) index.add(run.marks[i], chunk * chunkCapacity + i);
      }
    }
  }

  // Precondition: no walk is open and the first chunk is whole or the only one.
  void compact() {
    HashIndex fresh;
    if (size_ > smallLimit && index_.exists()) {
      fresh = HashIndex(std::min(index_.bits(), HashIndex::bitsFor(std::uint64_t{size_} * 3 / 2)));
    }
    EntrySlot** end = std::remove(directory_ + 1, directory_ + chunkCount_, nullptr);
    chunkCount_ = static_cast<Ordinal>(end - directory_);
    Ordinal to = 0;
    for (Ordinal chunk = 0; chunk < chunkCount_; ++chunk) {
      EntrySlot* slots = directory_[chunk];
      Mark* marks = marksOf(chunk);
      for (Ordinal i = 0; i < capacityOf(chunk); ++i) {
        if (marks[i] == 0) continue;
        if (chunk * chunkCapacity + i != to) {
          relocate(slots + i, slotAt(to));
          Hoard::poison(slots + i, sizeof(EntrySlot));
          mark(to) = std::exchange(marks[i], 0);
        }
        ++to;
      }
    }
    const Ordinal needed = std::max(1U, (size_ + chunkCapacity - 1) / chunkCapacity);
    while (chunkCount_ > needed) deleteChunk(--chunkCount_);
    for (Ordinal chunk = 0; chunk < chunkCount_; ++chunk) {
      live(chunk) = std::min(capacityOf(chunk), size_ - chunk * chunkCapacity);
    }
    first_ = 0;
    used_ = size_;
    if (fresh.exists()) addAllTo(fresh);
    index_ = std::move(fresh);
    endUpdate();
    const Ordinal wanted = std::bit_ceil(std::max(smallestCapacity, size_ * 2));
    if (chunkCount_ == 1 && wanted < firstCapacity_ / 2) {
      resizeFirst(wanted);
      endUpdate();
    }
  }

  HashBody** owner_;  // null once the map has let go
  HashIndex index_;   // none while the entries are few
  EntrySlot* only_;   // the directory of the only chunk
  EntrySlot** directory_ = &only_;
  Ordinal directoryCapacity_ = 1;
  Ordinal chunkCount_ = 1;
  Ordinal firstCapacity_ = smallestCapacity;
  Ordinal size_ = 0;
  Ordinal used_ = 0;                // ordinals given out since the last compact()
  Ordinal first_ = 0;               // the first live ordinal, or used_
  Ordinal end_ = smallestCapacity;  // ordinals below it can be filled without further ado
  Ordinal walks_ = 0;
  bool hasDeadChunk_ = false;
};

}  // namespace Kiv::detail
