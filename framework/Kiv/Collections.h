// The collections that attributes are made of: HashMap2018 (insertion order) and OrderedMap (order
// of keys), holding keys alone, values under keys, or objects under a key of theirs.
#pragma once

#include "framework/Kiv/HashMap2018.h"
#include "framework/Kiv/MapEntry.h"
#include "framework/Kiv/OrderedMap.h"
#include "framework/Pith/Ptr.h"

namespace Kiv {

// The key of a child in its owner's collection.
template <class Child>
struct ChildKey {
  using Key = typename Child::Key;
  static const Key& key(const Pith::Ptr<Child>& child) noexcept { return child->key(); }
};

template <class K>
using HashSet = HashMap2018<K, SetKey<K>>;
template <class K, class V>
using HashMap = HashMap2018<MapEntry<K, V>, MapEntryKey<K, V>>;
template <class Child>
using HashChildren = HashMap2018<Pith::Ptr<Child>, ChildKey<Child>>;

template <class K>
using OrderedSet = OrderedMap<K, SetKey<K>>;
template <class K, class V>
using OrderedValueMap = OrderedMap<MapEntry<K, V>, MapEntryKey<K, V>>;
template <class Child>
using OrderedChildren = OrderedMap<Pith::Ptr<Child>, ChildKey<Child>>;

// What a collection is made of.
template <class Map>
struct MapTraits;
template <class E, class F>
struct MapTraits<HashMap2018<E, F>> {
  using Entry = E;
  using Funktor = F;
  static constexpr bool ordered = false;
};
template <class E, class F>
struct MapTraits<OrderedMap<E, F>> {
  using Entry = E;
  using Funktor = F;
  static constexpr bool ordered = true;
};

}  // namespace Kiv
