// The base of store objects, and the declaration of their attributes.
//
//   class PITH_EXPORT FwSegment : public Kiv::Entity {
//     KIV_ENTITY(FwSegment, Kiv::Entity)
//     KIV_KEY(FwSegment, Pith::String, name)
//     KIV_VALUE(Pith::String, className)
//     KIV_MAP(Lanx::IpGenAddrWithMask, bool, subnets)
//     KIV_CHILDREN(Lanx::IntfId, FwIntfVlanRangeSet, intfVlanRangeSet)
//   };
//
// and one line, KIV_ENTITY_DEFINE(Firewall::FwSegment), in the .cpp of the folder. KIV_KEY is the
// object's name in the collection that owns it. From each other line follow the accessor, the
// mutators, the field identifier (`classNameField`), the notification and the entry in typeData():
//
//   declaration                     accessors               mutators
//
//   KIV_VALUE(T, x)                 x()                     xIs(v)
//   KIV_SET(T, x)                   x()  xHas(v)            xIs(v)      xDel(v)     xDelAll()
//   KIV_MAP(K, V, x)                x()  x(k)  xHas(k)      xIs(k, v)   xDel(k)     xDelAll()
//   KIV_CHILD(T, x)                 x()                     xIs(name)   xDel()
//   KIV_CHILDREN(K, T, x)           x()  x(k)  xHas(k)      xIs(k)      xDel(k)     xDelAll()
//
// KIV_ORDERED_SET, KIV_ORDERED_MAP and KIV_ORDERED_CHILDREN are the same, walked in the order of
// the keys; those above are walked in the order of insertion.
//
// x() of a collection is the collection, for iteration and count. x(k) of a map is a pointer to the
// value, good until the collection next changes, or null; x(k) of children is a reference, or null.
// xIs of a collection or a child returns the entry in the same form, of a set a pointer to the
// member; of a map or set it is null where a subscriber removed it again. V of a map may be a
// struct: xIs(k, fields...). A reference to another object is a KIV_VALUE of a Pith::Ptr, or a
// field of a map's value.
//
// What a mutator tells: an equal value tells nobody. A new or changed value tells the subscribers
// once, with the value before and after (Pith::Change: pointers to T, V, or the child itself). Del
// of an absent key does nothing; DelAll tells of each entry, in iteration order. An entry has left
// its collection before its removal is told, and the object lives as long as anyone holds it: it
// has no parent any more and its references to other objects are cut (also those of what it owns),
// while its plain values can still be read. A single child of another name is removed, then the new
// one added.
//
// Subscribers may change the same attribute again, and the later write wins: DelAll removes the
// keys that were there when it began, and what is added meanwhile stays. An exception from a
// subscriber reaches the writer when the write, DelAll included, is complete.
//
// Cost: a write without subscribers is the container's (HashMap2018.h, OrderedMap.h); a child is
// one allocation.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "framework/Kiv/AllocTrack.h"
#include "framework/Kiv/Attribute.h"
#include "framework/Kiv/Object.h"
#include "framework/Kiv/TypeBuilder.h"
#include "framework/Kiv/TypeData.h"
#include "framework/Kiv/detail/Numbering.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/Publisher.h"

namespace Kiv {

class PITH_EXPORT Entity : public Object {
 public:
  Pith::Publisher& publisher() const noexcept { return publisher_; }
  // "attribute/key" below the parent ("attribute" for a single child); empty without parent.
  std::string step() const override;

  // Lets go of the references to other objects that this one and what it owns hold.
  void linksCut();

 protected:
  static constexpr int kivLevel = 0;  // classes between Entity and a type

 private:
  mutable Pith::Publisher publisher_;
};

// Makes an object that no other object owns (a directory entry, or the top of a tree).
template <class T, class... Args>
Pith::Ptr<T> make(Args&&... args) {
  return Pith::Ptr<T>::adopt(new T(std::forward<Args>(args)...));
}

}  // namespace Kiv

#define KIV_ENTITY(Entity_, Base_)                                                      \
 public:                                                                                \
  using Ptr = ::Pith::Ptr<Entity_>;                                                     \
  using PtrConst = ::Pith::Ptr<const Entity_>;                                          \
  static constexpr std::string_view typeName() { return ::Kiv::typeNameOf<Entity_>(); } \
  static const ::Kiv::TypeData& staticTypeData();                                       \
  const ::Kiv::TypeData& typeData() const override;                                     \
  static void* operator new(std::size_t bytes) {                                        \
    return ::Kiv::SlabObject<Entity_>::operator new(bytes);                             \
  }                                                                                     \
  static void operator delete(void* object, std::size_t bytes) noexcept {               \
    ::Kiv::SlabObject<Entity_>::operator delete(object, bytes);                         \
  }                                                                                     \
                                                                                        \
 protected:                                                                             \
  static constexpr int kivLevel = Base_::kivLevel + 1;                                  \
                                                                                        \
 private:                                                                               \
  friend struct ::Kiv::Impl::TypeBuilder;                                               \
  using KivBase = Base_;                                                                \
  KIV_IMPL_NUMBER_FIRST(Entity_)                                                        \
                                                                                        \
 public:

// In the .cpp of the type's folder, with the qualified name: the table, and where the type is
// emitted.
#define KIV_ENTITY_DEFINE(Entity_)                                                  \
  const ::Kiv::TypeData& Entity_::staticTypeData() {                                \
    static const ::Kiv::TypeData data = ::Kiv::Impl::TypeBuilder::build<Entity_>(); \
    return data;                                                                    \
  }                                                                                 \
  const ::Kiv::TypeData& Entity_::typeData() const { return staticTypeData(); }

// A function that is compiled only where it is called: without it, every source that includes the
// type would compile all its mutators, which takes longer than the source itself.
#define KIV_IMPL_LAZY template <class KivOnce = void>

#define KIV_KEY(Entity_, KeyType_, name_)                   \
 public:                                                    \
  using Key = KeyType_;                                     \
  KIV_IMPL_LAZY                                             \
  explicit Entity_(const Key& kivKey) : name_##_(kivKey) {} \
  const Key& name_() const noexcept { return name_##_; }    \
  const Key& key() const noexcept { return name_##_; }      \
                                                            \
 private:                                                   \
  const Key name_##_;                                       \
                                                            \
 public:

// What every declaration has: the field's identifier and its entry in the type table.
#define KIV_IMPL_DECLARE(name_, Attribute_)                                                    \
 private:                                                                                      \
  KIV_IMPL_NUMBER(name_)                                                                       \
                                                                                               \
 public:                                                                                       \
  static constexpr ::Pith::FieldId name_##Field =                                              \
      (kivLevel - 1) * ::Kiv::Impl::attributesOfClass + name_##Number;                         \
                                                                                               \
 private:                                                                                      \
  Attribute_ name_##_;                                                                         \
  struct name_##Access {                                                                       \
    using Class = KivClass;                                                                    \
    static constexpr bool writable = true;                                                     \
    static constexpr auto declared() {                                                         \
      return ::Kiv::Impl::Declared<Class, Attribute_>{#name_, name_##Field, &Class::name_##_}; \
    }                                                                                          \
    template <class Self, class... Args>                                                       \
    static void set(Self& self, const Args&... args) {                                         \
      self.name_##Is(args...);                                                                 \
    }                                                                                          \
    template <class Self, class... Args>                                                       \
    static void erase(Self& self, const Args&... args) {                                       \
      self.name_##Del(args...);                                                                \
    }                                                                                          \
    template <class Self>                                                                      \
    static void eraseAll(Self& self) {                                                         \
      self.name_##DelAll();                                                                    \
    }                                                                                          \
  };                                                                                           \
                                                                                               \
 public:

#define KIV_IMPL_VALUE(Type_, name_, index_)                     \
  KIV_IMPL_DECLARE(name_, ::Kiv::ValueAttribute<Type_>)          \
  const Type_& name_() const noexcept { return name_##_.get(); } \
  KIV_IMPL_LAZY                                                  \
  void name_##Is(Type_ kivValue) { name_##_.set(*this, name_##Field, std::move(kivValue), index_); }

#define KIV_IMPL_SET(Key_, name_, Template_, index_)                                           \
  using name_##Collection = Template_<Key_>;                                                   \
  KIV_IMPL_DECLARE(name_, ::Kiv::SetAttribute<name_##Collection>)                              \
  const name_##Collection& name_() const noexcept { return name_##_.map(); }                   \
  bool name_##Has(const Key_& kivKey) const { return name_##_.map().has(kivKey); }             \
  KIV_IMPL_LAZY                                                                                \
  const Key_* name_##Is(const Key_& kivKey) {                                                  \
    return name_##_.insert(*this, name_##Field, kivKey, index_);                               \
  }                                                                                            \
  KIV_IMPL_LAZY                                                                                \
  void name_##Del(const Key_& kivKey) { name_##_.erase(*this, name_##Field, kivKey, index_); } \
  KIV_IMPL_LAZY                                                                                \
  void name_##DelAll() { name_##_.eraseAll(*this, name_##Field, index_); }

#define KIV_IMPL_MAP(Key_, Value_, name_, Template_, index_)                                   \
  using name_##Collection = Template_<Key_, Value_>;                                           \
  KIV_IMPL_DECLARE(name_, ::Kiv::MapAttribute<name_##Collection>)                              \
  const name_##Collection& name_() const noexcept { return name_##_.map(); }                   \
  const Value_* name_(const Key_& kivKey) const { return name_##_.find(kivKey); }              \
  bool name_##Has(const Key_& kivKey) const { return name_##_.map().has(kivKey); }             \
  template <class... KivFields>                                                                \
  const Value_* name_##Is(const Key_& kivKey, KivFields&&... kivFields) {                      \
    return name_##_.set(*this, name_##Field, kivKey,                                           \
                        Value_{std::forward<KivFields>(kivFields)...}, index_);                \
  }                                                                                            \
  KIV_IMPL_LAZY                                                                                \
  void name_##Del(const Key_& kivKey) { name_##_.erase(*this, name_##Field, kivKey, index_); } \
  KIV_IMPL_LAZY                                                                                \
  void name_##DelAll() { name_##_.eraseAll(*this, name_##Field, index_); }

#define KIV_IMPL_CHILDREN(Key_, Type_, name_, Template_, index_)                               \
  using name_##Collection = Template_<Type_>;                                                  \
  using name_##Attribute = ::Kiv::ChildrenAttribute<name_##Collection, Key_>;                  \
  KIV_IMPL_DECLARE(name_, name_##Attribute)                                                    \
  const name_##Collection& name_() const noexcept { return name_##_.map(); }                   \
  ::Pith::Ptr<Type_> name_(const Key_& kivKey) { return name_##_.find(kivKey); }               \
  ::Pith::Ptr<const Type_> name_(const Key_& kivKey) const { return name_##_.find(kivKey); }   \
  bool name_##Has(const Key_& kivKey) const { return name_##_.map().has(kivKey); }             \
  KIV_IMPL_LAZY                                                                                \
  ::Pith::Ptr<Type_> name_##Is(const Key_& kivKey) {                                           \
    return name_##_.set(*this, name_##Field, kivKey, index_);                                  \
  }                                                                                            \
  KIV_IMPL_LAZY                                                                                \
  void name_##Del(const Key_& kivKey) { name_##_.erase(*this, name_##Field, kivKey, index_); } \
  KIV_IMPL_LAZY                                                                                \
  void name_##DelAll() { name_##_.eraseAll(*this, name_##Field, index_); }

#define KIV_CHILD(Type_, name_)                                     \
  KIV_IMPL_DECLARE(name_, ::Kiv::ChildAttribute<Type_>)             \
  ::Pith::Ptr<Type_> name_() { return name_##_.get(); }             \
  ::Pith::Ptr<const Type_> name_() const { return name_##_.get(); } \
  KIV_IMPL_LAZY                                                     \
  ::Pith::Ptr<Type_> name_##Is(const Type_::Key& kivKey) {          \
    return name_##_.set(*this, name_##Field, kivKey);               \
  }                                                                 \
  KIV_IMPL_LAZY                                                     \
  void name_##Del() { name_##_.erase(*this, name_##Field); }

#define KIV_VALUE(Type_, name_) KIV_IMPL_VALUE(Type_, name_, ::Kiv::Impl::noIndex)
#define KIV_SET(Type_, name_) KIV_IMPL_SET(Type_, name_, ::Kiv::HashSet, ::Kiv::Impl::noIndex)
#define KIV_ORDERED_SET(Type_, name_) \
  KIV_IMPL_SET(Type_, name_, ::Kiv::OrderedSet, ::Kiv::Impl::noIndex)
#define KIV_MAP(Key_, Value_, name_) \
  KIV_IMPL_MAP(Key_, Value_, name_, ::Kiv::HashMap, ::Kiv::Impl::noIndex)
#define KIV_ORDERED_MAP(Key_, Value_, name_) \
  KIV_IMPL_MAP(Key_, Value_, name_, ::Kiv::OrderedValueMap, ::Kiv::Impl::noIndex)
#define KIV_CHILDREN(Key_, Type_, name_) \
  KIV_IMPL_CHILDREN(Key_, Type_, name_, ::Kiv::HashChildren, ::Kiv::Impl::noIndex)
#define KIV_ORDERED_CHILDREN(Key_, Type_, name_) \
  KIV_IMPL_CHILDREN(Key_, Type_, name_, ::Kiv::OrderedChildren, ::Kiv::Impl::noIndex)

// The same, with an index that the type keeps beside the attribute: `index_` names a member
// function of the type, called for every change as index_(previous, current) of a value, and as
// index_(key, previous, current) of an entry (Attribute.h).
#define KIV_VALUE_INDEXED(Type_, name_, index_)                                          \
  KIV_IMPL_VALUE(Type_, name_, [this](const auto& kivPrevious, const auto& kivCurrent) { \
    this->index_(kivPrevious, kivCurrent);                                               \
  })
#define KIV_IMPL_INDEX(index_)                                                 \
  [this](const auto& kivAt, const auto* kivPrevious, const auto* kivCurrent) { \
    this->index_(kivAt, kivPrevious, kivCurrent);                              \
  }
#define KIV_SET_INDEXED(Type_, name_, index_) \
  KIV_IMPL_SET(Type_, name_, ::Kiv::HashSet, KIV_IMPL_INDEX(index_))
#define KIV_MAP_INDEXED(Key_, Value_, name_, index_) \
  KIV_IMPL_MAP(Key_, Value_, name_, ::Kiv::HashMap, KIV_IMPL_INDEX(index_))
#define KIV_ORDERED_MAP_INDEXED(Key_, Value_, name_, index_) \
  KIV_IMPL_MAP(Key_, Value_, name_, ::Kiv::OrderedValueMap, KIV_IMPL_INDEX(index_))
#define KIV_CHILDREN_INDEXED(Key_, Type_, name_, index_) \
  KIV_IMPL_CHILDREN(Key_, Type_, name_, ::Kiv::HashChildren, KIV_IMPL_INDEX(index_))
#define KIV_ORDERED_CHILDREN_INDEXED(Key_, Type_, name_, index_) \
  KIV_IMPL_CHILDREN(Key_, Type_, name_, ::Kiv::OrderedChildren, KIV_IMPL_INDEX(index_))
