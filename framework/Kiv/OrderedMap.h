// The ordered collection of the store: entries in ascending order of their keys (by <), which may
// be changed while they are walked.
//
//   Kiv::OrderedMap<Kiv::MapEntry<U32, Rule>, Kiv::MapEntryKey<U32, Rule>> rules;
//   rules.insert({10, rule});
//   for (auto walk = rules.lowerBound(5); walk; ++walk) {
//     if (isStale(walk->value)) rules.erase(walk->key);   // the walk goes on behind key
//   }
//   std::size_t before = rules.rank(10);
//
// The key lies in the entry (MapEntry.h) and is not to be changed while the entry is in the map.
// Notifying anybody of a change is the owner's affair.
//
// Walks. A walk remembers the key it stands at and the map's change counter; if that has moved it
// finds its place again by key. So any change is allowed during a walk: no entry is visited twice
// and none that stays is missed, and what is inserted ahead is visited. It costs a descent after a
// change and a copy of the key a step. A walk must not outlive the map.
//
// Addresses. A pointer or reference to an entry holds until the next change. A walk may be
// dereferenced after a change if its entry is still there (alive()).
//
// Exceptions. What throws in insert() or take() (memory, a copy, a comparison) leaves the map and
// the argument as they were. An entry's destructor may use the map.
//
// Cost. find, insert, erase, rank, at: O(log n). An insert or erase next to the last one takes no
// descent; one in ascending order leaves the leaves full. A step of a walk: O(1). An empty map is
// two words and holds no memory; up to a leaf's worth (about 1 KiB of entries) the memory grows
// with the entries: room for 4, 8, 16 and so on. An entry costs its size and 5 to 8 bytes when
// inserted in order, and about a quarter more at random. Memory is given back as entries are
// erased.
//
// Not for several threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <type_traits>
#include <utility>

#include "framework/Kiv/MapEntry.h"
#include "framework/Kiv/detail/OrderedTree.h"
#include "framework/Pith/Assert.h"

namespace Kiv {

template <class Entry, class KeyFunktor>
class OrderedMap {
  using Tree = detail::OrderedTree<Entry, KeyFunktor>;
  template <class Value>
  class Walk;

 public:
  using Key = typename KeyFunktor::Key;
  using value_type = Entry;
  using iterator = Walk<Entry>;
  using const_iterator = Walk<const Entry>;

  OrderedMap() noexcept = default;
  OrderedMap(OrderedMap&& other) noexcept { tree_.steal(other.tree_); }
  OrderedMap& operator=(OrderedMap&& other) noexcept {
    if (this != &other) tree_.steal(other.tree_);
    return *this;
  }
  OrderedMap(const OrderedMap&) = delete;
  OrderedMap& operator=(const OrderedMap&) = delete;
  ~OrderedMap() = default;

  // Null where there is none.
  Entry* find(const Key& key) { return tree_.find(key); }
  const Entry* find(const Key& key) const { return tree_.find(key); }
  bool has(const Key& key) const { return find(key) != nullptr; }

  // The entry with this key, and whether it is the one given. If the key is there already nothing
  // changes, and `entry` is not moved from. Raises std::bad_alloc; std::length_error at 2^32.
  std::pair<Entry*, bool> insert(Entry&& entry) { return tree_.insert(entry); }

  // False where there is none.
  bool erase(const Key& key) { return tree_.erase(key); }

  // Removes the entry and returns it.
  std::optional<Entry> take(const Key& key) { return tree_.take(key); }
  // The same for the smallest.
  std::optional<Entry> takeFirst();

  void clear() noexcept { tree_.clear(); }

  std::size_t size() const noexcept { return tree_.size(); }
  bool empty() const noexcept { return size() == 0; }

  // Does nothing: there is no room to make. For code that serves either container.
  void reserve(std::size_t) noexcept {}

  // The memory held beside the object itself; O(1).
  std::size_t bytes() const noexcept { return tree_.bytes(); }

  // Moves with every change, and never back.
  std::uint64_t version() const noexcept { return tree_.version(); }

  // Null if empty.
  Entry* first() noexcept { return entryAt(tree_.first()); }
  const Entry* first() const noexcept { return entryAt(tree_.first()); }
  Entry* last() noexcept { return entryAt(tree_.last()); }
  const Entry* last() const noexcept { return entryAt(tree_.last()); }

  // How many keys are smaller.
  std::size_t rank(const Key& key) const { return tree_.rank(key); }
  // The entry with `rank` smaller ones, or null.
  Entry* at(std::size_t rank) noexcept { return rank < size() ? tree_.at(rank) : nullptr; }
  const Entry* at(std::size_t rank) const noexcept {
    return rank < size() ? tree_.at(rank) : nullptr;
  }

  iterator begin() { return iterator(tree_, tree_.first()); }
  const_iterator begin() const { return const_iterator(tree_, tree_.first()); }
  std::default_sentinel_t end() const noexcept { return {}; }

  // A walk from the first entry whose key is not smaller, or that is greater.
  iterator lowerBound(const Key& key) { return iterator(tree_, tree_.lower(key)); }
  const_iterator lowerBound(const Key& key) const {
    return const_iterator(tree_, tree_.lower(key));
  }
  iterator upperBound(const Key& key) { return iterator(tree_, tree_.upper(key)); }
  const_iterator upperBound(const Key& key) const {
    return const_iterator(tree_, tree_.upper(key));
  }

 private:
  static Entry* entryAt(typename Tree::Position position) noexcept {
    return position.leaf == nullptr ? nullptr : &position.leaf->entry(position.place);
  }

  Tree tree_;
};

// A walk that is under way.
template <class Entry, class KeyFunktor>
template <class Value>
class OrderedMap<Entry, KeyFunktor>::Walk {
 public:
  using value_type = Entry;
  using difference_type = std::ptrdiff_t;

  Walk() noexcept = default;

  // Precondition: alive().
  Value& operator*() const {
    if (version_ != tree_->version()) {
      at_ = tree_->lower(*key_);
      PITH_ASSERT(at_.leaf != nullptr && !(*key_ < at_.leaf->key(at_.place)));
      version_ = tree_->version();
    }
    return at_.leaf->entry(at_.place);
  }
  Value* operator->() const { return &**this; }

  // Whether the walk is at an entry that is still in the map.
  bool alive() const {
    return key_.has_value() && (version_ == tree_->version() || tree_->find(*key_) != nullptr);
  }
  explicit operator bool() const { return alive(); }

  // Precondition: not at the end. The current entry need not be alive.
  Walk& operator++() {
    if (version_ == tree_->version()) {
      if (++at_.place == at_.leaf->count) at_ = {at_.leaf->next, 0};
    } else {
      at_ = tree_->upper(*key_);
    }
    stand();
    return *this;
  }
  void operator++(int) { ++*this; }

  friend bool operator==(const Walk& walk, std::default_sentinel_t) noexcept {
    return !walk.key_.has_value();
  }

 private:
  friend class OrderedMap;
  Walk(const Tree& tree, typename Tree::Position at) : tree_(&tree), at_(at) { stand(); }

  void stand() {
    if (at_.leaf != nullptr) {
      key_ = at_.leaf->key(at_.place);
    } else {
      key_.reset();
    }
    version_ = tree_->version();
  }

  const Tree* tree_ = nullptr;
  mutable typename Tree::Position at_;
  mutable std::uint64_t version_ = 0;
  std::optional<Key> key_;  // none at the end
};

template <class Entry, class KeyFunktor>
std::optional<Entry> OrderedMap<Entry, KeyFunktor>::takeFirst() {
  return empty() ? std::nullopt : tree_.take(KeyFunktor::key(*tree_.at(0)));
}

}  // namespace Kiv
