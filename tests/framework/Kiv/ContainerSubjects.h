// The entries that the contract of the containers is tested with, and a naive model of a container.
//
// A subject says how to make an entry from a number and back: key n, value v.
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "framework/Kiv/HashMap2018.h"
#include "framework/Kiv/OrderedMap.h"
#include "framework/Pith/Hash.h"

namespace ContainerSubjects {

using U32 = std::uint32_t;

// Counts its objects; copies and moves count down to a failure where the test arms one.
struct Fuse {
  static inline std::size_t live = 0;
  static inline std::optional<std::size_t> copiesLeft;
  static inline std::optional<std::size_t> movesLeft;

  static void burn(std::optional<std::size_t>& left) {
    if (!left.has_value()) return;
    if (*left == 0) throw std::runtime_error("fuse");
    --*left;
  }

  Fuse() noexcept { ++live; }
  Fuse(const Fuse&) {
    burn(copiesLeft);
    ++live;
  }
  Fuse& operator=(const Fuse&) = default;
  ~Fuse() { --live; }
};

// Moves cannot fail, and leave the source recognisable.
struct Counted {
  U32 number = 0;
  bool moved = false;
  Fuse fuse;

  explicit Counted(U32 n) noexcept : number(n) {}
  Counted(const Counted&) = default;
  Counted(Counted&& other) noexcept
      : number(other.number), moved(std::exchange(other.moved, true)) {}
  Counted& operator=(const Counted&) = default;
  Counted& operator=(Counted&& other) noexcept {
    number = other.number;
    moved = std::exchange(other.moved, true);
    return *this;
  }
  ~Counted() = default;
};

// Moves may fail like copies, and then leave the source as it was.
struct Fragile {
  U32 number = 0;
  bool moved = false;
  Fuse fuse;

  explicit Fragile(U32 n) : number(n) {}
  Fragile(const Fragile&) = default;
  Fragile(Fragile&& other) : number(other.number) {
    Fuse::burn(Fuse::movesLeft);
    moved = std::exchange(other.moved, true);
  }
  Fragile& operator=(const Fragile&) = default;
  ~Fragile() = default;
};

// A key that owns memory.
struct Name {
  std::string text;

  explicit Name(U32 number) : text("a name that is too long for the small buffer ") {
    const std::string digits = std::to_string(number);
    text.append(10 - digits.size(), '0').append(digits);
  }
  std::uint64_t hash() const noexcept { return Pith::hashBytes(text.data(), text.size()); }
  bool operator==(const Name&) const = default;
  auto operator<=>(const Name&) const = default;
};

// Keys of one hash.
struct Colliding {
  U32 number = 0;

  explicit Colliding(U32 n) noexcept : number(n) {}
  std::uint64_t hash() const noexcept { return 42; }
  auto operator<=>(const Colliding&) const = default;
};

struct Number {
  using Entry = U32;
  using Funktor = Kiv::SetKey<U32>;
  static U32 key(U32 n) { return n; }
  static Entry entry(U32 n, U32) { return n; }
  static U32 numberOf(const Entry& entry) { return entry; }
};

template <class Key, class Value, U32 (*keyNumber)(const Key&)>
struct Map {
  using Entry = Kiv::MapEntry<Key, Value>;
  using Funktor = Kiv::MapEntryKey<Key, Value>;
  static Key key(U32 n) { return Key(n); }
  static Entry entry(U32 n, U32 v) { return {Key(n), Value(v)}; }
  static U32 numberOf(const Entry& entry) { return keyNumber(entry.key); }
  static U32 valueOf(const Entry& entry) { return entry.value.number; }
  static bool movedFrom(const Entry& entry) { return entry.value.moved; }
};

inline U32 same(const U32& n) { return n; }
inline U32 digits(const Name& name) {
  return static_cast<U32>(std::stoul(name.text.substr(name.text.size() - 10)));
}
inline U32 ofColliding(const Colliding& key) { return key.number; }

struct alignas(64) Wide {
  U32 number = 0;
  bool moved = false;
  std::array<unsigned char, 600> bytes{};

  explicit Wide(U32 n) noexcept : number(n) {}
};

using CountedValues = Map<U32, Counted, same>;
using FragileValues = Map<U32, Fragile, same>;
using NamedValues = Map<Name, Counted, digits>;
using CollidingKeys = Map<Colliding, Counted, ofColliding>;
using WideValues = Map<U32, Wide, same>;

// An object that knows its key, held by pointer.
struct Child {
  Name name;
  U32 value;
  Fuse fuse;
};
struct Children {
  using Entry = std::unique_ptr<Child>;
  struct Funktor {
    using Key = Name;
    static const Name& key(const Entry& child) { return child->name; }
  };
  static Name key(U32 n) { return Name(n); }
  static Entry entry(U32 n, U32 v) { return std::make_unique<Child>(Child{Name(n), v, {}}); }
  static U32 numberOf(const Entry& entry) { return digits(entry->name); }
  static U32 valueOf(const Entry& entry) { return entry->value; }
  static bool movedFrom(const Entry& entry) { return entry == nullptr; }
};

struct Hashed {
  static constexpr bool isOrdered = false;
  template <class Entry, class Funktor>
  using Container = Kiv::HashMap2018<Entry, Funktor>;
};
struct Ordered {
  static constexpr bool isOrdered = true;
  template <class Entry, class Funktor>
  using Container = Kiv::OrderedMap<Entry, Funktor>;
};

template <class Kind, class Kept>
struct Subject : Kept {
  static constexpr bool isOrdered = Kind::isOrdered;
  using Container = typename Kind::template Container<typename Kept::Entry, typename Kept::Funktor>;
};

// Which keys there are, and in which order they are walked.
template <bool isOrdered>
class Model {
 public:
  using Place = std::uint64_t;

  bool insert(U32 key) {
    if (places_.contains(key)) return false;
    const Place place = isOrdered ? key : ++inserted_;
    places_.emplace(key, place);
    keys_.emplace(place, key);
    return true;
  }
  bool erase(U32 key) {
    const auto found = places_.find(key);
    if (found == places_.end()) return false;
    keys_.erase(found->second);
    places_.erase(found);
    return true;
  }
  void clear() {
    places_.clear();
    keys_.clear();
  }
  std::size_t size() const { return places_.size(); }
  bool has(U32 key) const { return places_.contains(key); }
  std::optional<U32> first() const {
    return keys_.empty() ? std::nullopt : std::optional(keys_.begin()->second);
  }
  std::vector<U32> inOrder() const {
    std::vector<U32> all;
    for (const auto& [place, key] : keys_) all.push_back(key);
    return all;
  }

  // A walk stands at a place, and goes to the next one that there is.
  std::optional<std::pair<Place, U32>> from(Place place) const {
    const auto found = keys_.lower_bound(place);
    return found == keys_.end() ? std::nullopt
                                : std::optional(std::pair(found->first, found->second));
  }
  std::optional<std::pair<Place, U32>> behind(Place place) const { return from(place + 1); }
  bool stands(Place place) const { return keys_.contains(place); }

 private:
  std::map<U32, Place> places_;
  std::map<Place, U32> keys_;
  Place inserted_ = 0;
};

}  // namespace ContainerSubjects
