// The tree of an OrderedMap. Up to a leaf's worth of entries there is one leaf, which begins small;
// beyond that a trunk, with the inner nodes and leaves of a B+tree.
//
// The trunk remembers the path to the leaf last changed, so that changes that follow each other in
// order do without a descent. It holds until the tree's nodes change.
//
// A full leaf gives entries to a neighbour that has room, or is split; in an ascending run,
// wherever in the map it is, a new leaf is begun instead and the full one stays full. Nodes that
// have become half empty are merged where a neighbour has room; that needs no memory, so erasing
// never fails.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <utility>

#include "framework/Kiv/detail/OrderedNodes.h"
#include "framework/Pith/Assert.h"

namespace Kiv::detail {

template <class Entry, class KeyFunktor>
class OrderedTree {
 public:
  using Key = typename KeyFunktor::Key;
  using Leaf = OrderedLeaf<Entry, KeyFunktor>;

  // Where an entry lies; a null leaf behind the last one.
  struct Position {
    Leaf* leaf = nullptr;
    Place place = 0;
  };

  OrderedTree() noexcept = default;
  OrderedTree(const OrderedTree&) = delete;
  OrderedTree& operator=(const OrderedTree&) = delete;
  ~OrderedTree() { clear(); }

  std::uint64_t version() const noexcept { return version_; }
  std::size_t size() const noexcept {
    if (top_ == nullptr) return 0;
    return top_->height == 0 ? top_->count : trunk().size;
  }

  // Takes over what `other` has; walks of either find that it changed.
  void steal(OrderedTree& other) noexcept {
    clear();
    top_ = std::exchange(other.top_, nullptr);
    ++other.version_;
    version_ = std::max(version_, other.version_) + 1;
  }

  Entry* find(const Key& key) const {
    if (top_ == nullptr) return nullptr;
    Leaf& leaf = leafOf(key);
    const Place place = leaf.lower(key);
    return leaf.holds(place, key) ? &leaf.entry(place) : nullptr;
  }
  Position lower(const Key& key) const {
    if (top_ == nullptr) return {};
    Leaf& leaf = leafOf(key);
    return atOrBehind(leaf, leaf.lower(key));
  }
  Position upper(const Key& key) const {
    if (top_ == nullptr) return {};
    Leaf& leaf = leafOf(key);
    return atOrBehind(leaf, leaf.upper(key));
  }
  Position first() const noexcept { return {top_ == nullptr ? nullptr : &outerLeaf(false), 0}; }
  Position last() const noexcept {
    if (top_ == nullptr) return {};
    Leaf& leaf = outerLeaf(true);
    return {&leaf, leaf.count - 1U};
  }

  std::size_t rank(const Key& key) const {
    if (top_ == nullptr) return 0;
    std::size_t smaller = 0;
    OrderedNode* node = root();
    while (node->height != 0) {
      Inner& inner = innerOf(node);
      const Place place = inner.childFor(key);
      smaller += inner.totalBefore(place);
      node = inner.children[place];
    }
    return smaller + leafOfNode(node).lower(key);
  }
  // Precondition: rank < size().
  Entry* at(std::size_t rank) const noexcept {
    OrderedNode* node = root();
    while (node->height != 0) {
      Inner& inner = innerOf(node);
      Place place = 0;
      while (rank >= inner.sizes[place]) rank -= inner.sizes[place++];
      node = inner.children[place];
    }
    return &leafOfNode(node).entry(static_cast<Place>(rank));
  }

  std::pair<Entry*, bool> insert(Entry& entry) {
    const Key& key = KeyFunktor::key(entry);
    if (top_ == nullptr) {
      typename Leaf::Pointer leaf(Leaf::make(Leaf::smallest));
      Entry* put = leaf->put(0, Leaf::EntrySlot::prepare(entry));
      top_ = leaf.release();
      ++version_;
      return {put, true};
    }
    Leaf& leaf = leafToChange(key);
    const Place place = leaf.lower(key);
    if (leaf.holds(place, key)) return {&leaf.entry(place), false};
    if (leaf.isFull()) return {insertInFull(leaf, place, entry), true};
    Entry* put = leaf.put(place, Leaf::EntrySlot::prepare(entry));
    if (top_->height != 0) {
      addToPath(0, 1);
      trunk().finger.inserted = place;
    }
    ++version_;
    return {put, true};
  }

  bool erase(const Key& key) {
    if (top_ == nullptr) return false;
    Leaf& leaf = leafToChange(key);
    const Place place = leaf.lower(key);
    if (!leaf.holds(place, key)) return false;
    if constexpr (std::is_trivially_destructible_v<Entry>) {
      remove(leaf, place);
    } else {
      // Its destructor runs when all is done, and may use the map.
      typename Leaf::EntrySlot erased(std::move(leaf.slots()[place]));
      remove(leaf, place);
    }
    return true;
  }

  std::optional<Entry> take(const Key& key) {
    if (top_ == nullptr) return std::nullopt;
    Leaf& leaf = leafToChange(key);
    const Place place = leaf.lower(key);
    if (!leaf.holds(place, key)) return std::nullopt;
    std::optional<Entry> taken(std::move(leaf.entry(place)));
    remove(leaf, place);
    return taken;
  }

  void clear() noexcept {
    if (top_ == nullptr) return;
    ++version_;
    OrderedNode* top = std::exchange(top_, nullptr);
    if (top->height == 0) {
      typename Leaf::End()(&leafOfNode(top));
    } else {
      const std::unique_ptr<Trunk> trunk(static_cast<Trunk*>(top));
      endBelow(trunk->root);
    }
  }

  std::size_t bytes() const noexcept {
    if (top_ == nullptr) return 0;
    const std::size_t boxes = size() * Leaf::EntrySlot::boxBytes;
    if (top_->height == 0) return Leaf::bytes(leafOfNode(top_).capacity) + boxes;
    return sizeof(Trunk) + trunk().inners * sizeof(Inner) +
           trunk().leaves * (Leaf::bytes(Leaf::largest) + Inner::KeySlot::boxBytes) + boxes;
  }

 private:
  using Inner = OrderedInner<Key>;
  using KeySlot = typename Inner::KeySlot;

  static constexpr unsigned maxHeight = 16;
  static constexpr Place nowhere = ~Place{0} - 1;
  // Neighbours are merged when they fill three quarters of a node, and share when one has this
  // room.
  static constexpr Place mergedLeaf = Leaf::largest * 3 / 4;
  static constexpr Place mergedInner = Inner::largest * 3 / 4;
  static constexpr Place worthSharing = std::max<Place>(2, Leaf::largest / 4);

  struct Step {
    Inner* inner;
    Place place;
  };
  struct Finger {
    Leaf* leaf = nullptr;      // null: the path does not hold
    KeySlot* end = nullptr;    // keys of the leaf are smaller; null: there is no leaf behind it
    Place inserted = nowhere;  // where the leaf was last inserted in
    std::array<Step, maxHeight> path;  // from the leaf's parent up
  };
  // `height` is that of the root.
  struct Trunk : OrderedNode {
    std::uint32_t size = 0;
    std::uint32_t leaves = 1;
    std::uint32_t inners = 0;
    OrderedNode* root = nullptr;
    Finger finger;
  };

  Trunk& trunk() const noexcept { return *static_cast<Trunk*>(top_); }
  OrderedNode* root() const noexcept { return top_->height == 0 ? top_ : trunk().root; }
  static Inner& innerOf(OrderedNode* node) noexcept { return *static_cast<Inner*>(node); }
  static Leaf& leafOfNode(OrderedNode* node) noexcept { return *static_cast<Leaf*>(node); }

  Leaf& leafOf(const Key& key) const {
    OrderedNode* node = root();
    while (node->height != 0) node = innerOf(node).children[innerOf(node).childFor(key)];
    return leafOfNode(node);
  }
  Leaf& outerLeaf(bool last) const noexcept {
    OrderedNode* node = root();
    while (node->height != 0) node = innerOf(node).children[last ? node->count - 1 : 0];
    return leafOfNode(node);
  }
  static Position atOrBehind(Leaf& leaf, Place place) noexcept {
    if (place < leaf.count) return {&leaf, place};
    return {leaf.next, 0};
  }

  // The leaf that `key` belongs in, the finger on it.
  Leaf& leafToChange(const Key& key) {
    if (top_->height == 0) return leafOfNode(top_);
    Finger& finger = trunk().finger;
    if (finger.leaf != nullptr && !(key < finger.leaf->key(0)) &&
        (finger.end == nullptr || key < finger.end->value())) {
      return *finger.leaf;
    }
    finger.leaf = nullptr;
    finger.end = nullptr;
    finger.inserted = nowhere;
    OrderedNode* node = trunk().root;
    while (node->height != 0) {
      Inner& inner = innerOf(node);
      const Place place = inner.childFor(key);
      finger.path[inner.height - 1U] = {&inner, place};
      if (place + 1 < inner.count) finger.end = inner.keys() + place;
      node = inner.children[place];
    }
    finger.leaf = &leafOfNode(node);
    return *finger.leaf;
  }

  // Adds to the sizes along the finger's path, from `level` up.
  void addToPath(unsigned level, std::int32_t number) noexcept {
    const auto change = static_cast<std::uint32_t>(number);
    for (; level < top_->height; ++level) {
      const Step& step = trunk().finger.path[level];
      step.inner->sizes[step.place] += change;
    }
    trunk().size += change;
  }

  static KeySlot copied(const Key& key) {
    Key copy(key);
    return KeySlot(KeySlot::prepare(copy));
  }
  static void replace(KeySlot& slot, KeySlot other) noexcept {
    std::destroy_at(&slot);
    std::construct_at(&slot, std::move(other));
  }

  Entry* insertInFull(Leaf& leaf, Place place, Entry& entry) {
    if (leaf.capacity < Leaf::largest) return insertInLarger(leaf, place, entry);
    if (size() == std::numeric_limits<std::uint32_t>::max()) {
      throw std::length_error("Kiv::OrderedMap: too many entries");
    }
    if (top_->height == 0) return split(leaf, place, entry, place == leaf.count);
    const Finger& finger = trunk().finger;
    if (finger.inserted + 1 == place || (place == leaf.count && leaf.next == nullptr)) {
      return split(leaf, place, entry, true);
    }
    const auto [parent, at] = finger.path[0];
    if (at > 0 && parent->sizes[at - 1] + worthSharing <= Leaf::largest) {
      return shareWithPrevious(leaf, place, entry);
    }
    if (at + 1 < parent->count && parent->sizes[at + 1] + worthSharing <= Leaf::largest) {
      return shareWithNext(leaf, place, entry);
    }
    return split(leaf, place, entry, false);
  }

  Entry* insertInLarger(Leaf& leaf, Place place, Entry& entry) {
    typename Leaf::Pointer larger(Leaf::make(std::min(leaf.capacity * 2, Leaf::largest)));
    auto pending = Leaf::EntrySlot::prepare(entry);
    leaf.moveTailBehind(0, *larger);
    typename Leaf::End()(&leaf);
    top_ = larger.get();
    ++version_;
    return larger.release()->put(place, std::move(pending));
  }

  Entry* shareWithPrevious(Leaf& leaf, Place place, Entry& entry) {
    const auto [parent, at] = trunk().finger.path[0];
    Leaf& previous = *leaf.previous;
    const Place moved = (Leaf::largest - previous.count) / 2;
    KeySlot separator = copied(leaf.key(moved));
    auto pending = Leaf::EntrySlot::prepare(entry);
    parent->separatorIs(at - 1, std::move(separator));
    leaf.moveHeadBehind(moved, previous);
    Entry* put = place <= moved ? previous.put(previous.count - moved + place, std::move(pending))
                                : leaf.put(place - moved, std::move(pending));
    nodesChanged();
    parent->sizes[at - 1] = previous.count;
    parent->sizes[at] = leaf.count;
    addToPath(1, 1);
    return put;
  }

  Entry* shareWithNext(Leaf& leaf, Place place, Entry& entry) {
    const auto [parent, at] = trunk().finger.path[0];
    Leaf& next = *leaf.next;
    const Place first = leaf.count - (Leaf::largest - next.count) / 2;
    KeySlot separator = copied(leaf.key(first));
    auto pending = Leaf::EntrySlot::prepare(entry);
    parent->separatorIs(at, std::move(separator));
    leaf.moveTailBefore(first, next);
    Entry* put = place <= first ? leaf.put(place, std::move(pending))
                                : next.put(place - first, std::move(pending));
    nodesChanged();
    parent->sizes[at] = leaf.count;
    parent->sizes[at + 1] = next.count;
    addToPath(1, 1);
    return put;
  }

  // What a split needs: allocated before anything is changed.
  struct Growth {
    std::unique_ptr<Trunk> trunk;
    typename Leaf::Pointer leaf;
    std::array<std::unique_ptr<Inner>, maxHeight + 1> inners;  // by level; the topmost a new root
  };
  Growth growthFor() const {
    Growth growth;
    unsigned level = 0;
    while (level < top_->height && trunk().finger.path[level].inner->isFull()) {
      growth.inners[level] = std::make_unique<Inner>(level + 1);
      ++level;
    }
    if (level == top_->height) {
      PITH_ASSERT(level < maxHeight);
      growth.inners[level] = std::make_unique<Inner>(level + 1);
    }
    if (top_->height == 0) growth.trunk = std::make_unique<Trunk>();
    growth.leaf.reset(Leaf::make(Leaf::largest));
    return growth;
  }

  // Puts a new leaf behind `leaf`: half of the entries go there. In an ascending run it is those
  // behind the new entry instead, or the new entry if it is the last, so that `leaf` is or becomes
  // full.
  Entry* split(Leaf& leaf, Place place, Entry& entry, bool isRun) {
    const Place first = isRun ? place : leaf.count / 2U;
    const bool isFirstBehind = first == leaf.count;
    Growth growth = growthFor();
    KeySlot separator = copied(isFirstBehind ? KeyFunktor::key(entry) : leaf.key(first));
    auto pending = Leaf::EntrySlot::prepare(entry);

    Leaf& behind = *growth.leaf.release();
    behind.previous = &leaf;
    behind.next = std::exchange(leaf.next, &behind);
    if (behind.next != nullptr) behind.next->previous = &behind;
    leaf.moveTailBehind(first, behind);
    Entry* put = place > first || isFirstBehind ? behind.put(place - first, std::move(pending))
                                                : leaf.put(place, std::move(pending));
    if (growth.trunk != nullptr) {
      growth.trunk->root = &leaf;
      growth.trunk->size = leaf.count + behind.count - 1U;
      top_ = growth.trunk.release();
    }
    ++trunk().leaves;
    nodesChanged();
    putInParents(growth, std::move(separator), leaf.count, &behind, behind.count, isRun);
    return put;
  }

  // The child that the finger's path leads to has been split: it has `size` entries now, and
  // `fresh` with `freshSize` is to be put behind it.
  void putInParents(Growth& growth, KeySlot separator, std::uint32_t size, OrderedNode* fresh,
                    std::uint32_t freshSize, bool isRun) noexcept {
    Trunk& trunk = this->trunk();
    for (unsigned level = 0; level < trunk.height; ++level) {
      const auto [inner, at] = trunk.finger.path[level];
      inner->sizes[at] = size;
      if (!inner->isFull()) {
        inner->putBehind(at, std::move(separator), fresh, freshSize);
        addToPath(level + 1, 1);
        return;
      }
      Inner* sibling = growth.inners[level].release();
      ++trunk.inners;
      if (isRun && at + 1 == inner->count) {
        sibling->onlyChildIs(fresh, freshSize);
      } else {
        const Place first = inner->count / 2U;
        KeySlot between = inner->split(first, *sibling);
        Inner& half = at < first ? *inner : *sibling;
        half.putBehind(at < first ? at : at - first, std::move(separator), fresh, freshSize);
        replace(separator, std::move(between));
      }
      size = inner->total();
      fresh = sibling;
      freshSize = sibling->total();
    }
    Inner* top = growth.inners[trunk.height].release();
    ++trunk.inners;
    top->onlyChildIs(trunk.root, size);
    top->putBehind(0, std::move(separator), fresh, freshSize);
    trunk.root = top;
    ++trunk.height;
    ++trunk.size;
  }

  void nodesChanged() noexcept {
    ++version_;
    trunk().finger.leaf = nullptr;
  }

  // The finger is on `leaf`.
  void remove(Leaf& leaf, Place place) noexcept {
    ++version_;
    leaf.remove(place);
    if (top_->height == 0) {
      shrink(leaf);
      return;
    }
    trunk().finger.inserted = nowhere;
    addToPath(0, -1);
    if (leaf.count <= Leaf::largest / 2 && mergeLeaf(leaf)) mergeInners();
  }

  // Gives memory back if there is memory to do it with.
  void shrink(Leaf& leaf) noexcept {
    if (leaf.count == 0) {
      top_ = nullptr;
      typename Leaf::End()(&leaf);
    } else if (leaf.capacity > Leaf::smallest && leaf.count <= leaf.capacity / 4) {
      try {
        Leaf* smaller = Leaf::make(std::max(Leaf::smallest, leaf.capacity / 2));
        leaf.moveTailBehind(0, *smaller);
        top_ = smaller;
        typename Leaf::End()(&leaf);
      } catch (const std::bad_alloc&) {
      }
    }
  }

  // Whether a leaf has gone.
  bool mergeLeaf(Leaf& leaf) noexcept {
    const auto [parent, at] = trunk().finger.path[0];
    if (leaf.count == 0) {
      endLeaf(leaf);
      parent->remove(at);
    } else if (at + 1 < parent->count && leaf.count + parent->sizes[at + 1] <= mergedLeaf) {
      mergeWithNext(leaf, *parent, at);
    } else if (at > 0 && leaf.count + parent->sizes[at - 1] <= mergedLeaf) {
      mergeWithNext(*leaf.previous, *parent, at - 1);
    } else {
      return false;
    }
    return true;
  }
  void mergeWithNext(Leaf& leaf, Inner& parent, Place at) noexcept {
    Leaf& next = *leaf.next;
    next.moveTailBehind(0, leaf);
    endLeaf(next);
    parent.sizes[at] = leaf.count;
    parent.remove(at + 1);
  }
  void endLeaf(Leaf& leaf) noexcept {
    if (leaf.previous != nullptr) leaf.previous->next = leaf.next;
    if (leaf.next != nullptr) leaf.next->previous = leaf.previous;
    typename Leaf::End()(&leaf);
    --trunk().leaves;
  }

  // A leaf above which the finger's path goes has gone: merges and ends inner nodes upwards.
  void mergeInners() noexcept {
    Trunk& trunk = this->trunk();
    trunk.finger.leaf = nullptr;
    for (unsigned level = 0; level + 1 < trunk.height; ++level) {
      Inner& inner = *trunk.finger.path[level].inner;
      Inner& parent = *trunk.finger.path[level + 1].inner;
      const Place at = trunk.finger.path[level + 1].place;
      const auto fits = [&](Place other) {
        return inner.count + parent.children[other]->count <= mergedInner;
      };
      if (inner.count == 0) {
        parent.remove(at);
        endInner(&inner);
      } else if (at + 1 < parent.count && fits(at + 1)) {
        mergeWithNext(parent, at);
      } else if (at > 0 && fits(at - 1)) {
        mergeWithNext(parent, at - 1);
      } else {
        return;
      }
    }
    while (trunk.height != 0 && trunk.root->count == 1) {
      Inner* top = &innerOf(trunk.root);
      trunk.root = top->children[0];
      --trunk.height;
      endInner(top);
    }
    if (trunk.height == 0) {
      top_ = trunk.root;
      delete &trunk;
    }
  }
  void mergeWithNext(Inner& parent, Place at) noexcept {
    Inner& inner = innerOf(parent.children[at]);
    Inner* next = &innerOf(parent.children[at + 1]);
    next->mergeBehind(std::move(parent.keys()[at]), inner);
    parent.sizes[at] = inner.total();
    parent.remove(at + 1);
    endInner(next);
  }
  void endInner(Inner* inner) noexcept {
    --trunk().inners;
    delete inner;
  }

  static void endBelow(OrderedNode* node) noexcept {
    if (node->height == 0) {
      typename Leaf::End()(&leafOfNode(node));
      return;
    }
    const std::unique_ptr<Inner> inner(&innerOf(node));
    for (Place place = 0; place < inner->count; ++place) endBelow(inner->children[place]);
  }

  OrderedNode* top_ = nullptr;  // a leaf, or the trunk
  std::uint64_t version_ = 0;
};

}  // namespace Kiv::detail
