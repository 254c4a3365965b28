// The storage behind an attribute's declaration (Entity.h): one class for each kind.
//
// Each class holds the data, decides whether a write changes anything, updates the index if the
// attribute has one, and tells the owner's subscribers. The classes are used through the accessors
// and mutators of the declaration, not by themselves.
//
// An index is a function object. For a collection it is called with (key, value before, value
// after), null for no value: before an entry is added or changed, and after an entry was removed.
// For a single value it is called with (value before, value after), before the value changes. An
// index may refuse an addition or a change by an exception; then nothing has changed.
#pragma once

#include <cstddef>
#include <new>
#include <optional>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "framework/Kiv/AllSteps.h"
#include "framework/Kiv/Collections.h"
#include "framework/Kiv/Object.h"
#include "framework/Kiv/TypeData.h"
#include "framework/Pith/FieldId.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/Publisher.h"

namespace Kiv {

// Who may set an object's parent.
class ParentLink {
 public:
  static void link(Object& object, Object& parent) noexcept { object.parent_ = &parent; }
  static void unlink(Object& object) noexcept { object.parent_ = nullptr; }
};

namespace Impl {

// A child left its owner.
template <class Child>
void orphan(Child& child) {
  ParentLink::unlink(child);
  child.linksCut();
}

struct NoIndex {
  void operator()(const auto& /*previous*/, const auto& /*current*/) const noexcept {}
  void operator()(const auto& /*key*/, const auto* /*previous*/,
                  const auto* /*current*/) const noexcept {}
};
inline constexpr NoIndex noIndex;

template <class Owner>
bool isWatched(const Owner& owner) noexcept {
  return owner.publisher().mayHaveSubscribers();
}

template <class Owner>
void tell(Owner& owner, Pith::FieldId field, const void* key, const void* previous,
          const void* current) {
  const Pith::AnchorPtr<Owner> alive(&owner);
  owner.publisher().publish(field, key, Pith::Change{previous, current});
}

// Calls remove(key) for each key that is there now, in iteration order, whatever the calls do to
// the map; then raises the first exception of a call. The keys are copied first. When there is no
// memory for that, it removes the first entry as often as there are entries now.
template <class Map, class Remove>
void removeEach(Map& map, const Remove& remove) {
  using Funktor = typename MapTraits<Map>::Funktor;
  AllSteps removals;
  std::vector<typename Map::Key> keys;
  try {
    keys.reserve(map.size());
  } catch (const std::bad_alloc&) {
    for (std::size_t left = map.size(); left > 0 && map.size() > 0; --left) {
      const typename Map::Key key = Funktor::key(*map.begin());
      removals.run([&] { remove(key); });
    }
    return;
  }
  for (const auto& entry : map) keys.push_back(Funktor::key(entry));
  for (const typename Map::Key& key : keys) {
    removals.run([&] { remove(key); });
  }
}

template <class T>
bool holdsReference() {
  if constexpr (isReference<T>) {
    return true;
  } else if constexpr (HasFields<T>) {
    bool holds = false;
    T::eachFieldType([&holds]<class Field>(const char*, std::type_identity<Field>) {
      holds = holds || isReference<Field>;
    });
    return holds;
  } else {
    return false;
  }
}

}  // namespace Impl

template <class T>
class ValueAttribute {
 public:
  using Value = T;

  const T& get() const noexcept { return value_; }

  template <class Owner, class Index = Impl::NoIndex>
  void set(Owner& owner, Pith::FieldId field, T value, const Index& index = Impl::noIndex) {
    if (value_ == value) return;
    index(value_, value);
    std::swap(value_, value);
    if (!Impl::isWatched(owner)) return;
    const T current = value_;
    Impl::tell(owner, field, nullptr, &value, &current);
  }

  static bool holdsLinks() { return Impl::isReference<T>; }
  void cutLinks() { value_ = T(); }

 private:
  T value_{};
};

template <class Map>
class SetAttribute {
 public:
  using Key = typename Map::Key;

  const Map& map() const noexcept { return map_; }

  // The member that is there after the write; null when a subscriber removed it again.
  template <class Owner, class Index = Impl::NoIndex>
  const Key* insert(Owner& owner, Pith::FieldId field, const Key& key,
                    const Index& index = Impl::noIndex) {
    constexpr const Key* none = nullptr;
    if constexpr (!std::is_same_v<Index, Impl::NoIndex>) {
      if (const Key* const present = map_.find(key)) return present;
      index(key, none, &key);
    }
    const Key* member = nullptr;
    bool isNew = false;
    try {
      std::tie(member, isNew) = map_.insert(Key(key));
    } catch (...) {
      index(key, &key, none);
      throw;
    }
    if (!isNew || !Impl::isWatched(owner)) return member;
    const Key copy = key;
    const Pith::AnchorPtr<Owner> alive(&owner);
    Impl::tell(owner, field, &copy, nullptr, &copy);
    return map_.find(copy);
  }

  template <class Owner, class Index = Impl::NoIndex>
  void erase(Owner& owner, Pith::FieldId field, const Key& key,
             const Index& index = Impl::noIndex) {
    const std::optional<Key> gone = map_.take(key);
    if (!gone) return;
    index(*gone, &*gone, static_cast<const Key*>(nullptr));
    if (Impl::isWatched(owner)) Impl::tell(owner, field, &*gone, &*gone, nullptr);
  }

  template <class Owner, class Index = Impl::NoIndex>
  void eraseAll(Owner& owner, Pith::FieldId field, const Index& index = Impl::noIndex) {
    const Pith::AnchorPtr<Owner> alive(&owner);
    Impl::removeEach(map_, [&](const Key& key) { erase(owner, field, key, index); });
  }

 private:
  Map map_;
};

template <class Map>
class MapAttribute {
 public:
  using Key = typename Map::Key;
  using Entry = typename MapTraits<Map>::Entry;
  using Value = decltype(Entry::value);

  const Map& map() const noexcept { return map_; }
  const Value* find(const Key& key) const {
    const auto* entry = map_.find(key);
    return entry == nullptr ? nullptr : &entry->value;
  }

  // The entry's value after the write; null when a subscriber removed it again.
  template <class Owner, class Index = Impl::NoIndex>
  const Value* set(Owner& owner, Pith::FieldId field, const Key& key, Value value,
                   const Index& index = Impl::noIndex) {
    constexpr bool indexed = !std::is_same_v<Index, Impl::NoIndex>;
    constexpr const Value* none = nullptr;
    auto* entry = indexed ? map_.find(key) : nullptr;
    if (entry == nullptr) {
      index(key, none, &value);
      bool isNew = false;
      try {
        std::tie(entry, isNew) = map_.insert(Entry{key, value});
      } catch (...) {
        index(key, &value, none);
        throw;
      }
      if (isNew) {
        if (!Impl::isWatched(owner)) return &entry->value;
        const Key copy = key;
        const Pith::AnchorPtr<Owner> alive(&owner);
        Impl::tell(owner, field, &copy, nullptr, &value);
        return find(copy);
      }
    }
    if (entry->value == value) return &entry->value;
    index(key, &entry->value, &value);
    std::swap(entry->value, value);
    if (!Impl::isWatched(owner)) return &entry->value;
    const Key copy = key;
    const Value current = entry->value;
    const Pith::AnchorPtr<Owner> alive(&owner);
    Impl::tell(owner, field, &copy, &value, &current);
    return find(copy);
  }

  template <class Owner, class Index = Impl::NoIndex>
  void erase(Owner& owner, Pith::FieldId field, const Key& key,
             const Index& index = Impl::noIndex) {
    const auto gone = map_.take(key);
    if (!gone) return;
    index(gone->key, &gone->value, static_cast<const Value*>(nullptr));
    if (Impl::isWatched(owner)) Impl::tell(owner, field, &gone->key, &gone->value, nullptr);
  }

  template <class Owner, class Index = Impl::NoIndex>
  void eraseAll(Owner& owner, Pith::FieldId field, const Index& index = Impl::noIndex) {
    const Pith::AnchorPtr<Owner> alive(&owner);
    Impl::removeEach(map_, [&](const Key& key) { erase(owner, field, key, index); });
  }

  static bool holdsLinks() { return Impl::holdsReference<Value>(); }
  void cutLinks() { map_.clear(); }

 private:
  Map map_;
};

// Key_ is what the declaration calls the key: the children's own, or a narrower type.
template <class Map, class Key_>
class ChildrenAttribute {
 public:
  using Key = Key_;
  using Child = typename MapTraits<Map>::Entry::Pointee;

  ChildrenAttribute() = default;
  ChildrenAttribute(const ChildrenAttribute&) = delete;
  ChildrenAttribute& operator=(const ChildrenAttribute&) = delete;
  ~ChildrenAttribute() {
    for (const Pith::Ptr<Child>& child : map_) Impl::orphan(*child);
  }

  const Map& map() const noexcept { return map_; }
  Pith::Ptr<Child> find(const Key& key) const {
    const Pith::Ptr<Child>* child = map_.find(key);
    return child == nullptr ? Pith::Ptr<Child>() : *child;
  }

  template <class Owner, class Index = Impl::NoIndex>
  Pith::Ptr<Child> set(Owner& owner, Pith::FieldId field, const Key& key,
                       const Index& index = Impl::noIndex) {
    if (const Pith::Ptr<Child>* present = map_.find(key)) return *present;
    constexpr const Child* none = nullptr;
    auto child = Pith::Ptr<Child>::adopt(new Child(key));
    index(child->key(), none, child.get());
    try {
      map_.insert(Pith::Ptr<Child>(child));
    } catch (...) {
      index(child->key(), child.get(), none);
      throw;
    }
    ParentLink::link(*child, owner);
    Impl::tell(owner, field, &child->key(), nullptr, child.get());
    return child;
  }

  template <class Owner, class Index = Impl::NoIndex>
  void erase(Owner& owner, Pith::FieldId field, const Key& key,
             const Index& index = Impl::noIndex) {
    const auto gone = map_.take(key);
    if (!gone) return;
    Child& child = **gone;
    index(child.key(), &child, static_cast<const Child*>(nullptr));
    Impl::orphan(child);
    Impl::tell(owner, field, &child.key(), &child, nullptr);
  }

  template <class Owner, class Index = Impl::NoIndex>
  void eraseAll(Owner& owner, Pith::FieldId field, const Index& index = Impl::noIndex) {
    const Pith::AnchorPtr<Owner> alive(&owner);
    Impl::removeEach(map_, [&](const Key& key) { erase(owner, field, key, index); });
  }

  static bool holdsLinks() { return true; }
  void cutLinks() {
    for (const Pith::Ptr<Child>& child : map_) child->linksCut();
  }

 private:
  Map map_;
};

template <class T>
class ChildAttribute {
 public:
  using Child = T;

  ChildAttribute() = default;
  ChildAttribute(const ChildAttribute&) = delete;
  ChildAttribute& operator=(const ChildAttribute&) = delete;
  ~ChildAttribute() {
    if (child_) Impl::orphan(*child_);
  }

  const Pith::Ptr<T>& get() const noexcept { return child_; }

  // A child of another name is removed first. When a subscriber answers that by a child of its own,
  // that one stays and is returned: the later write wins.
  template <class Owner>
  Pith::Ptr<T> set(Owner& owner, Pith::FieldId field, const typename T::Key& key) {
    if (child_ && child_->key() == key) return child_;
    const Pith::AnchorPtr<Owner> alive(&owner);
    auto child = Pith::Ptr<T>::adopt(new T(key));
    {
      AllSteps steps;
      steps.run([&] { erase(owner, field); });
      if (child_) {
        child = child_;
      } else {
        child_ = child;
        ParentLink::link(*child, owner);
        steps.run([&] { Impl::tell(owner, field, nullptr, nullptr, child.get()); });
      }
    }
    return child;
  }

  template <class Owner>
  void erase(Owner& owner, Pith::FieldId field) {
    const Pith::Ptr<T> gone = std::exchange(child_, nullptr);
    if (!gone) return;
    Impl::orphan(*gone);
    Impl::tell(owner, field, nullptr, gone.get(), nullptr);
  }

  static bool holdsLinks() { return true; }
  void cutLinks() {
    if (child_) child_->linksCut();
  }

 private:
  Pith::Ptr<T> child_;
};

}  // namespace Kiv
