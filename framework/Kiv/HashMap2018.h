// The keyed collection of the store: a hash map that is walked in the order of insertion and may be
// changed while it is walked.
//
//   Kiv::HashMap2018<Pith::Ptr<VrfSm>, VrfSmKeyFunktor> vrfSm;
//   auto [child, inserted] = vrfSm.insert(std::move(ptr));
//   for (auto& each : vrfSm) {
//     if (each->isStale()) vrfSm.erase(each->vrfName());   // safe, here and for any other entry
//   }
//
// The key lies in the entry (MapEntry.h has the entries of a map and of a set); it is hashed with
// Pith::hashOf, compared with ==, and not to be changed while the entry is in the map. Notifying
// anybody of a change is the owner's affair.
//
// Walks. The order is a pure function of the operations done: an entry stands where it was
// inserted; erased and inserted again it is the last. During a walk any entry may be erased, the
// current one too, and any inserted; what is inserted is visited. clear() ends the walk. Moving the
// map takes its walks along; destroying it while one is open is an error (asserted).
//
// Addresses. An entry stays where it is until the next insert(), reserve() or clear(), and while
// any walk is open, until it is erased. Entries of a type whose move may throw are kept in boxes of
// their own.
//
// Exceptions. What throws (memory, a copy, a comparison) leaves the map and the argument as they
// were. An entry's destructor may use the map.
//
// Cost. find, insert, erase, take, takeFirst: O(1), insert amortised. A step of a walk: O(1) where
// few entries have been erased, at most O(erased) a walk. An empty map is a pointer, and holds no
// memory unless a walk is open or room was reserved. An entry costs its size, 4 bytes and a share
// of 6 to 13 in the index. Memory is given back as whole chunks (64 KiB) of entries are erased, by
// an insert that finds more than a third of the slots empty, and by the last erase.
//
// Not for several threads.
#pragma once

#include <cstddef>
#include <iterator>
#include <optional>
#include <type_traits>
#include <utility>

#include "framework/Kiv/MapEntry.h"
#include "framework/Kiv/detail/HashBody.h"
#include "framework/Pith/Assert.h"

namespace Kiv {

template <class Entry, class KeyFunktor>
class HashMap2018 {
  using Body = detail::HashBody<Entry, KeyFunktor>;
  template <class Value>
  class Walk;

 public:
  using Key = typename KeyFunktor::Key;
  using value_type = Entry;
  using iterator = Walk<Entry>;
  using const_iterator = Walk<const Entry>;

  HashMap2018() noexcept = default;
  HashMap2018(HashMap2018&& other) noexcept { steal(other); }
  HashMap2018& operator=(HashMap2018&& other) noexcept {
    if (this != &other) {
      clear();
      steal(other);
    }
    return *this;
  }
  HashMap2018(const HashMap2018&) = delete;
  HashMap2018& operator=(const HashMap2018&) = delete;
  ~HashMap2018() {
    PITH_ASSERT_TEXT(body_ == nullptr || body_->walks() == 0, "Kiv::HashMap2018 is being walked");
    clear();
  }

  // Null where there is none.
  Entry* find(const Key& key) { return body_ == nullptr ? nullptr : body_->find(key); }
  const Entry* find(const Key& key) const { return body_ == nullptr ? nullptr : body_->find(key); }
  bool has(const Key& key) const { return find(key) != nullptr; }

  // The entry with this key, and whether it is the one given. If the key is there already nothing
  // changes, and `entry` is not moved from. Raises std::bad_alloc; std::length_error beyond 1.7e9.
  std::pair<Entry*, bool> insert(Entry&& entry);

  // False where there is none.
  bool erase(const Key& key) { return body_ != nullptr && body_->erase(key); }

  // Removes the entry and returns it.
  std::optional<Entry> take(const Key& key) {
    return body_ == nullptr ? std::nullopt : body_->take(key);
  }
  // The same for the entry that a walk would begin with.
  std::optional<Entry> takeFirst() { return empty() ? std::nullopt : body_->takeFirst(); }

  void clear() noexcept {
    if (body_ != nullptr) std::exchange(body_, nullptr)->abandon();
  }

  std::size_t size() const noexcept { return body_ == nullptr ? 0 : body_->size(); }
  bool empty() const noexcept { return size() == 0; }

  // Makes room in the index for `count` entries in all. Raises what insert() raises.
  void reserve(std::size_t count) { bodyMade().reserve(count); }

  // The memory held beside the object itself; O(size / 16).
  std::size_t bytes() const noexcept { return body_ == nullptr ? 0 : body_->bytes(); }

  iterator begin() noexcept { return iterator(body_); }
  const_iterator begin() const noexcept { return const_iterator(body_); }
  std::default_sentinel_t end() const noexcept { return {}; }

 private:
  Body& bodyMade() {
    if (body_ == nullptr) body_ = new Body(&body_);
    return *body_;
  }
  void steal(HashMap2018& other) noexcept {
    body_ = std::exchange(other.body_, nullptr);
    if (body_ != nullptr) body_->ownerIs(&body_);
  }

  Body* body_ = nullptr;
};

// A walk that is under way; at its end it lets go of the map.
template <class Entry, class KeyFunktor>
template <class Value>
class HashMap2018<Entry, KeyFunktor>::Walk {
 public:
  using value_type = Entry;
  using difference_type = std::ptrdiff_t;

  Walk() noexcept = default;
  Walk(const Walk& other) noexcept
      : body_(other.body_), run_(other.run_), chunk_(other.chunk_), at_(other.at_) {
    if (body_ != nullptr) body_->walkBegins();
  }
  Walk(Walk&& other) noexcept
      : body_(std::exchange(other.body_, nullptr)),
        run_(other.run_),
        chunk_(other.chunk_),
        at_(other.at_) {}
  Walk& operator=(Walk other) noexcept {
    std::swap(body_, other.body_);
    std::swap(run_, other.run_);
    std::swap(chunk_, other.chunk_);
    std::swap(at_, other.at_);
    return *this;
  }
  ~Walk() { close(); }

  // Preconditions: not at the end; the entry is alive.
  Value& operator*() const noexcept { return run_.slots[at_].value(); }
  Value* operator->() const noexcept { return &**this; }

  // Whether there is a current entry that has not been erased.
  bool alive() const noexcept { return body_ != nullptr && run_.marks[at_] != 0; }
  explicit operator bool() const noexcept { return alive(); }

  // Precondition: not at the end. The current entry need not be alive.
  Walk& operator++() noexcept {
    do {
      if (++at_ == run_.capacity && !nextRun()) return *this;
    } while (run_.marks[at_] == 0);
    return *this;
  }
  void operator++(int) noexcept { ++*this; }

  friend bool operator==(const Walk& walk, std::default_sentinel_t) noexcept {
    return walk.body_ == nullptr;
  }

 private:
  friend class HashMap2018;
  explicit Walk(Body* body) noexcept {
    if (body == nullptr || body->size() == 0) return;
    body_ = body;
    body_->walkBegins();
    chunk_ = body_->firstOrdinal() / Body::chunkCapacity;
    run_ = body_->run(chunk_);
    at_ = body_->firstOrdinal() % Body::chunkCapacity;
  }

  bool nextRun() noexcept {
    at_ = 0;
    do {
      if (!body_->hasRun(++chunk_)) {
        close();
        return false;
      }
      run_ = body_->run(chunk_);
    } while (run_.slots == nullptr);
    return true;
  }
  void close() noexcept {
    if (body_ != nullptr) std::exchange(body_, nullptr)->walkEnds();
  }

  Body* body_ = nullptr;  // null at the end
  typename Body::Run run_;
  typename Body::Ordinal chunk_ = 0;
  typename Body::Ordinal at_ = 0;
};

template <class Entry, class KeyFunktor>
std::pair<Entry*, bool> HashMap2018<Entry, KeyFunktor>::insert(Entry&& entry) {
  Body& body = bodyMade();
  try {
    return body.insert(entry);
  } catch (...) {
    if (body.size() == 0 && body.walks() == 0) clear();
    throw;
  }
}

}  // namespace Kiv
