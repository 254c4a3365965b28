#include "framework/Kiv/Dir.h"

#include "framework/Kiv/AllSteps.h"
#include "framework/Pith/Assert.h"

namespace Kiv {
namespace {

Dir& asDir(Object& object) { return static_cast<Dir&>(object); }
const Dir& asDir(const Object& object) { return static_cast<const Dir&>(object); }

// The entries are of any type, so they are described here and not by a declaration; for the same
// reason a text cannot create one.
TypeData describeDir() {
  AttributeData entity{};
  entity.name = "entity";
  entity.field = Dir::entityField;
  entity.kind = AttributeKind::children;
  entity.key = &valueDataOf<Pith::String>();
  entity.count = [](const Object& object) { return asDir(object).entity().size(); };
  entity.each = [](const Object& object, const AttributeData::Visit& visit) {
    for (const auto& entry : asDir(object).entity()) visit(entry.key.view(), {}, entry.value.get());
  };
  entity.child = [](Object& object, std::string_view key) -> Object* {
    return asDir(object).entityPtr(key).get();
  };
  entity.erase = [](Object& object, std::string_view key) { asDir(object).entityDel(key); };
  entity.eraseAll = [](Object& object) { asDir(object).entityDelAll(); };
  entity.cutLinks = [](Object& object) {
    for (const auto& entry : asDir(object).entity()) entry.value->linksCut();
  };
  return {typeNameOf<Dir>(), sizeof(Dir), {entity}};
}

}  // namespace

const TypeData& Dir::staticTypeData() {
  static const TypeData data = describeDir();
  return data;
}
const TypeData& Dir::typeData() const { return staticTypeData(); }

Dir::~Dir() {
  for (const auto& entry : entities_) Impl::orphan(*entry.value);
}

Pith::Ptr<Entity> Dir::entityPtr(const Pith::String& name) {
  const auto* const entry = entities_.find(name);
  return entry == nullptr ? Pith::Ptr<Entity>() : entry->value;
}
Pith::Ptr<const Entity> Dir::entityPtr(const Pith::String& name) const {
  return const_cast<Dir*>(this)->entityPtr(name);
}

void Dir::entityIs(const Pith::String& name, const Pith::Ptr<Entity>& entity) {
  if (!entity) Pith::RangeException::throwException("Kiv::Dir::entity == nullptr");
  if (entityPtr(name) == entity) return;
  if (entity->parent() != nullptr) {
    Pith::RangeException::throwException("Kiv::Dir::entity owned by another object");
  }
  for (const Object* above = this; above != nullptr; above = above->parent()) {
    if (above == entity.get())
      Pith::RangeException::throwException("Kiv::Dir::entity above itself");
  }
  const Pith::AnchorPtr<Dir> alive(this);
  const Pith::String key = name;
  const Pith::Ptr<Entity> held = entity;
  AllSteps steps;
  steps.run([&] { entityDel(key); });
  if (entities_.insert({key, held}).second) {
    ++version_;
    ParentLink::link(*held, *this);
    steps.run([&] { Impl::tell(*this, entityField, &key, nullptr, held.get()); });
  }
}

void Dir::entityDel(const Pith::String& name) {
  const auto gone = entities_.take(name);
  if (!gone) return;
  ++version_;
  Impl::orphan(*gone->value);
  Impl::tell(*this, entityField, &gone->key, gone->value.get(), nullptr);
}

void Dir::entityDelAll() {
  const Pith::AnchorPtr<Dir> alive(this);
  Impl::removeEach(entities_, [this](const Pith::String& name) { entityDel(name); });
}

Dir::EntityPtrIteratorConst& Dir::EntityPtrIteratorConst::operator++() {
  PITH_ASSERT_TEXT(iter_ != dir_->entities_.end(), "iter_");
  ++iter_;
  return *this;
}

const Pith::String& Dir::EntityPtrIteratorConst::key() const {
  PITH_ASSERT_TEXT(iter_.alive(), "eit_");
  return iter_->key;
}

Pith::Ptr<const Entity> Dir::EntityPtrIteratorConst::ptr() const {
  PITH_ASSERT_TEXT(iter_.alive(), "eit_");
  return iter_->value;
}

}  // namespace Kiv
