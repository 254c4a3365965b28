// A directory: store objects of any type under names.
//
//   auto dir = Kiv::make<Kiv::Dir>();
//   Pith::Ptr<Firewall::Config> config = dir->newEntity<Firewall::Config>("cli");
//   for (auto entry = dir->entityPtrIteratorConst(); entry; ++entry) use(entry.key(), entry.ptr());
//
// Subscribers are told of `entityField` with the entry's name. Putting another object under a name
// that is taken is told as the removal of the old one, then the addition of the new one.
//
// Iteration is in the order in which the names were added and survives any change of the directory;
// an iterator may not be asked for an entry that was removed while it stood there (asserted).
// Look-ups are constant; an object removed from its directory is treated like a child that left its
// collection (Entity.h).
#pragma once

#include <cstdint>
#include <string_view>

#include "framework/Kiv/Entity.h"
#include "framework/Pith/String.h"

namespace Kiv {

class PITH_EXPORT Dir : public Entity {
  KIV_ENTITY(Dir, Entity)

  class EntityPtrIteratorConst;

  static constexpr Pith::FieldId entityField = 1;

  ~Dir() override;

  // The object under the name, or null.
  Pith::Ptr<Entity> entityPtr(const Pith::String& name);
  Pith::Ptr<const Entity> entityPtr(const Pith::String& name) const;
  // The same as a T; null as well when it is of another type.
  template <class T>
  Pith::Ptr<const T> entityPtrAs(const Pith::String& name) const {
    return Pith::dynamicPtrCast<const T>(entityPtr(name));
  }
  bool entityHas(const Pith::String& name) const { return entities_.has(name); }
  // Another one after each entry that came or went: who has walked the entries knows by it whether
  // they are still the same.
  std::uint64_t version() const noexcept { return version_; }

  // Puts `entity` under the name. One that stands there already, the same object, is left alone.
  // When a subscriber answers the removal of the old one by an entry of its own, that one stays.
  // RangeException when `entity` is null, owned already, or the directory itself or above it.
  void entityIs(const Pith::String& name, const Pith::Ptr<Entity>& entity);
  void entityDel(const Pith::String& name);
  void entityDelAll();
  // Makes a T of that name, in place of what is there.
  template <class T>
  Pith::Ptr<T> newEntity(const Pith::String& name) {
    auto entity = makeNamed<T>(name);
    entityIs(name, entity);
    return entity;
  }

  EntityPtrIteratorConst entityPtrIteratorConst() const;
  const HashMap<Pith::String, Pith::Ptr<Entity>>& entity() const noexcept { return entities_; }

 private:
  template <class T>
  static Pith::Ptr<T> makeNamed(const Pith::String& name) {
    if constexpr (std::is_constructible_v<T, const Pith::String&>) {
      return make<T>(name);
    } else {
      return make<T>();
    }
  }

  HashMap<Pith::String, Pith::Ptr<Entity>> entities_;
  std::uint64_t version_ = 0;
};

// One walk over a directory: true while it stands on an entry.
class PITH_EXPORT Dir::EntityPtrIteratorConst {
 public:
  explicit EntityPtrIteratorConst(const Dir& dir) : dir_(&dir), iter_(dir.entities_.begin()) {}

  explicit operator bool() const { return iter_ != dir_->entities_.end(); }
  EntityPtrIteratorConst& operator++();
  const Pith::String& key() const;
  Pith::Ptr<const Entity> ptr() const;

 private:
  Pith::Ptr<const Dir> dir_;
  decltype(std::declval<const HashMap<Pith::String, Pith::Ptr<Entity>>&>().begin()) iter_;
};

inline Dir::EntityPtrIteratorConst Dir::entityPtrIteratorConst() const {
  return EntityPtrIteratorConst(*this);
}

}  // namespace Kiv
