// What a container of the store holds, and where its key is.
//
//   Kiv::HashMap2018<Kiv::MapEntry<U32, Rule>, Kiv::MapEntryKey<U32, Rule>>   a map
//   Kiv::OrderedMap<Pith::String, Kiv::SetKey<Pith::String>>                  a set
//
// A collection of children brings a key functor of its own, which asks the child:
//
//   struct VrfSmKeyFunktor {
//     using Key = Pith::String;
//     static const Key& key(const Pith::Ptr<VrfSm>& child) { return child->vrfName(); }
//   };
#pragma once

namespace Kiv {

template <class K, class V>
struct MapEntry {
  K key;
  V value;
};

template <class K, class V>
struct MapEntryKey {
  using Key = K;
  static const Key& key(const MapEntry<K, V>& entry) noexcept { return entry.key; }
};

template <class K>
struct SetKey {
  using Key = K;
  static const Key& key(const K& entry) noexcept { return entry; }
};

}  // namespace Kiv
