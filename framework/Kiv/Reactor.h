// What every reactor has, written once.
//
// A reactor reads inputs, subscribes to them, and keeps outputs and child reactors right. Its class
// states its attributes, its subscriptions, its children and its handlers:
//
//   struct VrfSmAttributes {               // in the order in which they are given
//     Pith::String vrfName;
//     Pith::Ptr<const Firewall::SegmentDir> inFirewall;
//     KIV_FIELDS(vrfName, inFirewall)
//   };
//
//   class VrfSm final : public Kiv::Reactor<VrfSm, VrfSmAttributes> {
//    public:
//     KIV_REACTOR(VrfSm)                   // VrfSmIs(attributes...), made({...}), typeData()
//     KIV_CHILD_REACTORS(SegmentSM, segmentSm, SegmentSmKeyFunktor, Pith::String)
//     Pith::Ptr<SegmentSM> segmentSmIs(const Pith::String& name, ...);
//     void inFirewallDispatch(Pith::Publisher*, Pith::Subscriber*, Pith::FieldId field,
//                             const void* key, const Pith::Change*);
//    private:
//     explicit VrfSm(VrfSmAttributes attributes)
//         : Reactor(std::move(attributes)), inFirewallSubscription_(*this, inFirewall) {}
//     void start();                        // mandatory children, then handleInitialized()
//
//     Kiv::Subscription<&VrfSm::inFirewallDispatch> inFirewallSubscription_;
//   };
//
// and KIV_REACTOR_DEFINE(Firewall::VrfSm) in the Types.cpp that knows all reactors; for a nested
// reactor KIV_NESTED_REACTOR_DEFINE.
//
// Life. The creation function allocates and constructs the reactor (the subscriptions are on from
// there), runs start(), and switches notifications on. When start() throws, the reactor is taken
// down again as below and the exception goes on. An owner takes a child down by its cleanup(), by
// switching its notifications off, and by letting it go. The last reference gone, in this order:
// zombie flag off; notifications off, for the children too; cleanup(), where the class asks for it
// (`static constexpr bool cleanupOnDestruction = true`); children deleted; subscriptions removed;
// references released.
//
// Children under a key: xIs(key…) creates the child or returns the one that is there; asked for
// again with a reference that differs from the child's own it raises ReinstantiationError, naming
// type and attribute. xDel(key) switches the child's notifications off and lets it go.
//
// A zombie ignores what it is told. The handlers of a nested reactor are not called while it is
// one. A dispatch function is still called, for the upkeep of the children, but calls no handler
// while isZombie().
//
// While a dispatch function runs, its reactor and all reactors above it are kept alive, since what
// it does may take any of them down.
#pragma once

#include <array>
#include <cstddef>
#include <iterator>
#include <string_view>
#include <type_traits>
#include <utility>

#include "framework/Kiv/AllSteps.h"
#include "framework/Kiv/AllocTrack.h"
#include "framework/Kiv/Collections.h"
#include "framework/Kiv/Entity.h"
#include "framework/Kiv/Errors.h"
#include "framework/Kiv/Object.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/Publisher.h"

namespace Kiv {

class ReactorPart;

class PITH_EXPORT ReactorBase : public Object {
 public:
  // Switches the subscriptions of this reactor and of all below it on or off.
  virtual void hasNotificationActiveIs(bool on);
  // Makes the reactor a zombie, which ignores what it is told, or brings it back.
  void kivDoZombieReactors(bool on) noexcept;
  // True while the reactor ignores what it is told.
  bool isZombie() const noexcept { return markAndSweepFlag(); }

 protected:
  ReactorBase() = default;

  void onLastUse() noexcept override;
  // The part of the class in its own destruction; see above.
  virtual void lastCleanup() {}
  virtual void subscriptionsActiveIs(bool on);

 private:
  friend class ReactorPart;

  ReactorPart* firstPart_ = nullptr;
  ReactorPart* lastPart_ = nullptr;
};

// A subscription or the children of a reactor; a member of it.
class PITH_EXPORT ReactorPart {
 public:
  explicit ReactorPart(ReactorBase& owner) noexcept;
  ReactorPart(const ReactorPart&) = delete;
  ReactorPart& operator=(const ReactorPart&) = delete;

  virtual void notificationActiveIs(bool on) = 0;
  virtual void clear() = 0;
  ReactorPart* next() const noexcept { return next_; }

 protected:
  virtual ~ReactorPart();

  // A child left its owner.
  template <class Child>
  static void unhook(Pith::Ptr<Child> child) {
    if (!child) return;
    child->hasNotificationActiveIs(false);
    ParentLink::unlink(*child);
  }

 private:
  ReactorPart* next_ = nullptr;
};

namespace Impl {

// A reactor that is kept alive, and the one above it; on the stack.
struct Anchor {
  Pith::Ptr<Object> reactor;
  Anchor* above = nullptr;
};

template <class Work>
void anchoredFrom(Anchor& first, Anchor& last, const Work& work) {
  if (Object* const owner = last.reactor->parent()) {
    Anchor next{owner};
    last.above = &next;
    anchoredFrom(first, next, work);
    return;
  }
  struct Release {
    Anchor* anchor;
    ~Release() {
      for (; anchor != nullptr; anchor = anchor->above) anchor->reactor = nullptr;
    }
  };
  const Release release{&first};
  work();
}

}  // namespace Impl

// Runs `work` while `reactor` and all reactors above it are kept alive. Afterwards they are let go
// of from below, since a reactor may call its owner to the last.
template <class Work>
void anchored(Object* reactor, const Work& work) {
  Impl::Anchor anchor{reactor};
  Impl::anchoredFrom(anchor, anchor, work);
}

namespace Impl {
template <class>
struct DispatchOwner;
template <class Owner>
struct DispatchOwner<void (Owner::*)(Pith::Publisher*, Pith::Subscriber*, Pith::FieldId,
                                     const void*, const Pith::Change*)> {
  using Type = Owner;
};
}  // namespace Impl

// The subscription of a reactor to one of its inputs. An input that is null is not subscribed to.
template <auto dispatch>
class Subscription final : public ReactorPart {
 public:
  using Owner = typename Impl::DispatchOwner<decltype(dispatch)>::Type;

  template <class Input>
  Subscription(Owner& owner, const Pith::Ptr<Input>& input)
      : ReactorPart(owner), input_(input), subscriber_(&owner, &Subscription::deliver) {
    Subscription::notificationActiveIs(true);
  }

  void notificationActiveIs(bool on) override {
    if (!input_) return;
    if (on) {
      input_->publisher().subscriberAdd(subscriber_);
    } else {
      subscriber_.unsubscribeFrom(subscriber_.publisher());
    }
  }
  void clear() override { subscriber_.unsubscribeFrom(subscriber_.publisher()); }

 private:
  static void deliver(void* owner, Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                      Pith::FieldId field, const void* key, const Pith::Change* change) {
    auto* const reactor = static_cast<Owner*>(owner);
    anchored(reactor, [&] { (reactor->*dispatch)(publisher, subscriber, field, key, change); });
  }

  Pith::Ptr<const Entity> input_;
  Pith::Subscriber subscriber_;
};

namespace Impl {

// What a field refers to; null for plain values, which are not compared.
template <class T>
const void* referenceOf(const T& field) noexcept {
  if constexpr (isReference<T>) {
    return field.get();
  } else if constexpr (std::is_pointer_v<T>) {
    return field;
  } else {
    return nullptr;
  }
}

// Raises ReinstantiationError when a child is asked for again with other references than before.
template <class Attributes>
void checkSameReferences(std::string_view type, const Attributes& have, const Attributes& want) {
  std::array<const void*, std::size(Attributes::fieldNames)> given{};
  std::size_t at = 0;
  Attributes::eachField(want,
                        [&](const char*, const auto& field) { given[at++] = referenceOf(field); });
  at = 0;
  Attributes::eachField(have, [&](const char* name, const auto& field) {
    if (given[at++] != referenceOf(field)) throwMutatorReinstantiating(type, name);
  });
}

}  // namespace Impl

// A reactor with constructor attributes of its own. Base is for a reactor that is known to others
// by an interface alone.
template <class Derived, class Attributes_, class Base = ReactorBase>
class Reactor : public Base, protected Attributes_ {
 public:
  using Attributes = Attributes_;
  using Ptr = Pith::Ptr<Derived>;
  static constexpr bool cleanupOnDestruction = false;

  const Attributes& attributes() const noexcept { return *this; }

  static void* operator new(std::size_t bytes) { return SlabObject<Derived>::operator new(bytes); }
  static void operator delete(void* object, std::size_t bytes) noexcept {
    SlabObject<Derived>::operator delete(object, bytes);
  }

  // What every creation function does; `parent` is the reactor that will own it, or null.
  static Ptr create(Attributes attributes, Object* parent = nullptr) {
    auto reactor = Ptr::adopt(new Derived(std::move(attributes)));
    if (parent != nullptr) ParentLink::link(*reactor, *parent);
    reactor->start();
    reactor->hasNotificationActiveIs(true);
    return reactor;
  }

 protected:
  explicit Reactor(Attributes attributes) : Attributes_(std::move(attributes)) {}

  void lastCleanup() override {
    if constexpr (Derived::cleanupOnDestruction) static_cast<Derived*>(this)->cleanup();
  }
};

// A small reactor inside its owner's collection: it watches one object, its notifier, and its
// handlers call back into the owner. Derived has `void handleNotifier()`, called when it is pointed
// at an object, and `void onAttribute(Pith::FieldId, const void* key, const Pith::Change*)`, called
// for its changes; neither while it is a zombie.
template <class Derived, class Owner, class Notifier_>
class NestedReactor : public ReactorBase {
 public:
  using Notifier = Notifier_;
  using Ptr = Pith::Ptr<Derived>;
  struct Attributes {
    Pith::Ptr<const Notifier> notifier;
    KIV_FIELDS(notifier)
  };

  Attributes attributes() const { return {notifier_}; }

  static void* operator new(std::size_t bytes) { return SlabObject<Derived>::operator new(bytes); }
  static void operator delete(void* object, std::size_t bytes) noexcept {
    SlabObject<Derived>::operator delete(object, bytes);
  }

  // What its start and its handler raise is kept in `steps`: the object is there, so that its next
  // change has to be followed whatever became of the first.
  static Ptr create(Owner& owner, const Pith::Ptr<const Notifier>& input, AllSteps& steps) {
    auto reactor = Ptr::adopt(new Derived(owner));
    ParentLink::link(*reactor, owner);
    steps.run([&] { reactor->start(input); });
    reactor->hasNotificationActiveIs(true);
    steps.run([&] { reactor->notifierIs(input); });
    return reactor;
  }

  // A class that sets this to true does not subscribe: its owner watches the notifier and calls
  // tell().
  static constexpr bool isToldByOwner = false;

  const Pith::Ptr<const Notifier>& notifier() const noexcept { return notifier_; }

  // A reactor that was pointed at nothing is told nothing.
  void tell(Pith::FieldId field, const void* key, const Pith::Change* change) {
    if (isZombie() || !notifier_) return;
    anchored(this, [&] { derived().onAttribute(field, key, change); });
  }

  // Watches `node` from now on, or nothing when it is null or no Notifier. While notifications are
  // off it does so without a word, until they are on again.
  void notifierIs(const Pith::Ptr<const Object>& node) {
    auto given = Pith::dynamicPtrCast<const Notifier>(node);
    if (given == notifier_) return;
    subscriber_.unsubscribeFrom(subscriber_.publisher());
    notifier_ = std::move(given);
    if (!notifier_ || !hasNotificationActive()) return;
    if constexpr (!Derived::isToldByOwner) notifier_->publisher().subscriberAdd(subscriber_);
    if (!isZombie()) anchored(this, [this] { derived().handleNotifier(); });
  }

 protected:
  explicit NestedReactor(Owner& owner) noexcept
      : owner_(&owner), subscriber_(this, &NestedReactor::deliver) {}

  Owner& owner() const noexcept { return *owner_; }
  // Children that exist before the notifier is watched; the class may have its own.
  void start(const Pith::Ptr<const Notifier>& /*input*/) {}

  void subscriptionsActiveIs(bool on) override {
    ReactorBase::subscriptionsActiveIs(on);
    if (on && notifier_ && !Derived::isToldByOwner) {
      notifier_->publisher().subscriberAdd(subscriber_);
    } else {
      subscriber_.unsubscribeFrom(subscriber_.publisher());
    }
  }

 private:
  Derived& derived() noexcept { return static_cast<Derived&>(*this); }

  static void deliver(void* self, Pith::Publisher*, Pith::Subscriber*, Pith::FieldId field,
                      const void* key, const Pith::Change* change) {
    static_cast<NestedReactor*>(self)->tell(field, key, change);
  }

  Owner* owner_;
  Pith::Ptr<const Notifier> notifier_;
  Pith::Subscriber subscriber_;
};

// One child, or none.
template <class Child_>
class ChildReactor final : public ReactorPart {
 public:
  using Child = Child_;

  explicit ChildReactor(ReactorBase& owner) noexcept : ReactorPart(owner), owner_(&owner) {}

  const Pith::Ptr<Child>& get() const noexcept { return child_; }

  // The child that is there, or a new one.
  Pith::Ptr<Child> is(typename Child::Attributes attributes) {
    if (child_) {
      Impl::checkSameReferences(typeNameOf<Child>(), child_->attributes(), attributes);
      return child_;
    }
    auto child = Child::create(std::move(attributes), owner_);
    if (child_) {  // made while the new one started
      unhook(std::move(child));
    } else {
      child_ = std::move(child);
    }
    return child_;
  }
  // Takes the child out: the reference is cleared, then its notifications are switched off.
  void del() { unhook(std::exchange(child_, nullptr)); }

  void notificationActiveIs(bool on) override {
    if (child_) child_->hasNotificationActiveIs(on);
  }
  void clear() override { del(); }

 private:
  ReactorBase* owner_;
  Pith::Ptr<Child> child_;
};

// A child with the key that it was made under: what it watches may become another object, or none.
template <class Child, class Key_>
struct KeyedReactor {
  Pith::Ptr<Child> child;
  Key_ key;

  // A walk takes it for the child.
  operator const Pith::Ptr<Child>&() const noexcept {  // NOLINT(google-explicit-constructor)
    return child;
  }
  Child* get() const noexcept { return child.get(); }
  Child* operator->() const noexcept { return child.get(); }

  struct Funktor {
    using Key = Key_;
    static const Key& key(const KeyedReactor& child) noexcept { return child.key; }
  };
};

// Children under a key. Walks survive any change.
template <class Child_, class Key_>
class ChildReactors final : public ReactorPart {
  using Keyed = KeyedReactor<Child_, Key_>;

 public:
  using Child = Child_;
  using Key = Key_;
  using Map = HashMap2018<Keyed, typename Keyed::Funktor>;

  explicit ChildReactors(ReactorBase& owner) noexcept : ReactorPart(owner), owner_(&owner) {}

  const Map& map() const noexcept { return map_; }
  Pith::Ptr<Child> find(const Key& key) const {
    const Keyed* const entry = map_.find(key);
    return entry == nullptr ? Pith::Ptr<Child>() : entry->child;
  }

  // The child under the key that `attributes` hold, or a new one.
  Pith::Ptr<Child> is(const Key& key, typename Child::Attributes attributes) {
    if (auto present = find(key)) {
      Impl::checkSameReferences(typeNameOf<Child>(), present->attributes(), attributes);
      return present;
    }
    return added(key, Child::create(std::move(attributes), owner_));
  }
  // Nested reactors: the child that watches `input`.
  template <class Owner, class Notifier>
  Pith::Ptr<Child> is(Owner& owner, const Key& key, const Pith::Ptr<const Notifier>& input) {
    if (auto present = find(key)) {
      if (present->notifier() != input) {
        Impl::throwMutatorReinstantiating(typeNameOf<Child>(), "notifier");
      }
      return present;
    }
    Pith::Ptr<Child> child;
    {
      AllSteps steps;
      child = added(key, Child::create(owner, input, steps));
    }
    return child;
  }

  // Nested reactors: the child under the key watches `input` from now on; there is none when that
  // is null. One that watched another object goes, and a new one comes.
  template <class Owner, class Nested = Child>
  void follow(Owner& owner, const Key& key,
              const Pith::Ptr<const typename Nested::Notifier>& input) {
    const auto present = find(key);
    if (present && present->notifier() != input) del(key);
    if (input) is(owner, key, input);
  }

  void del(const Key& key) {
    if (auto gone = map_.take(key)) unhook(std::move(gone->child));
  }
  void delAll() {
    while (auto gone = map_.takeFirst()) unhook(std::move(gone->child));
  }

  void notificationActiveIs(bool on) override {
    for (const Keyed& entry : map_) {
      const Pith::Ptr<Child> child = entry.child;
      child->hasNotificationActiveIs(on);
    }
  }
  void clear() override { delAll(); }

 private:
  Pith::Ptr<Child> added(const Key& key, Pith::Ptr<Child> child) {
    const auto [entry, isNew] = map_.insert(Keyed{child, key});
    Pith::Ptr<Child> present = entry->child;
    if (!isNew) unhook(std::move(child));  // one of the same key was made while this one started
    return present;
  }

  ReactorBase* owner_;
  Map map_;
};

}  // namespace Kiv

// In the class of a reactor: its creation function and its place in the type tables.
#define KIV_REACTOR(Reactor_)                                   \
 public:                                                        \
  template <class... KivArgs>                                   \
  static Ptr Reactor_##Is(KivArgs&&... kivArgs) {               \
    return made(Attributes{std::forward<KivArgs>(kivArgs)...}); \
  }                                                             \
  static Ptr made(Attributes kivAttributes);                    \
  static const ::Kiv::TypeData& staticTypeData();               \
  const ::Kiv::TypeData& typeData() const override;             \
                                                                \
 private:                                                       \
  template <class, class, class>                                \
  friend class ::Kiv::Reactor;                                  \
  KIV_IMPL_REACTOR(Reactor_)

// In the class of a nested reactor: its constructor and its place in the type tables.
#define KIV_NESTED_REACTOR(Reactor_, Owner_)                       \
 public:                                                           \
  static const ::Kiv::TypeData& staticTypeData();                  \
  const ::Kiv::TypeData& typeData() const override;                \
                                                                   \
 private:                                                          \
  template <class, class, class>                                   \
  friend class ::Kiv::NestedReactor;                               \
  explicit Reactor_(Owner_& kivOwner) : NestedReactor(kivOwner) {} \
  KIV_IMPL_REACTOR(Reactor_)

#define KIV_IMPL_REACTOR(Reactor_)        \
  friend struct ::Kiv::Impl::TypeBuilder; \
  KIV_IMPL_NUMBER_FIRST(Reactor_)         \
                                          \
 public:

// In the .cpp, with the qualified name. A class that has to do more than create() in made() defines
// that itself, and its place in the type tables as a nested reactor does.
#define KIV_REACTOR_DEFINE(Reactor_)                       \
  Reactor_::Ptr Reactor_::made(Attributes kivAttributes) { \
    return create(std::move(kivAttributes));               \
  }                                                        \
  KIV_NESTED_REACTOR_DEFINE(Reactor_)
#define KIV_NESTED_REACTOR_DEFINE(Reactor_)                                                 \
  const ::Kiv::TypeData& Reactor_::staticTypeData() {                                       \
    static const ::Kiv::TypeData data = ::Kiv::Impl::TypeBuilder::buildReactor<Reactor_>(); \
    return data;                                                                            \
  }                                                                                         \
  const ::Kiv::TypeData& Reactor_::typeData() const { return staticTypeData(); }

#define KIV_IMPL_REACTOR_DECLARE(name_, Part_)                                 \
 private:                                                                      \
  Part_ name_##_{*this};                                                       \
  KIV_IMPL_NUMBER(name_)                                                       \
  struct name_##Access {                                                       \
    using Class = KivClass;                                                    \
    static constexpr bool writable = false;                                    \
    static constexpr auto declared() {                                         \
      return ::Kiv::Impl::Declared<Class, Part_>{#name_, 0, &Class::name_##_}; \
    }                                                                          \
  };                                                                           \
                                                                               \
 public:

// One child: x(), xDel(); the class states xIs(…).
#define KIV_CHILD_REACTOR(Child_, name_)                                       \
  KIV_IMPL_REACTOR_DECLARE(name_, ::Kiv::ChildReactor<Child_>)                 \
  const ::Pith::Ptr<Child_>& name_() const noexcept { return name_##_.get(); } \
  KIV_IMPL_LAZY                                                                \
  void name_##Del() { name_##_.del(); }

// Children under a key: x(), x(key), xHas(key), xDel(key), xDelAll(); the class states xIs(key, …).
#define KIV_CHILD_REACTORS(Child_, name_, Funktor_, KeyType_)                               \
  using Funktor_ = ::Kiv::KeyedReactor<Child_, KeyType_>::Funktor;                          \
  using name_##Part = ::Kiv::ChildReactors<Child_, KeyType_>;                               \
  KIV_IMPL_REACTOR_DECLARE(name_, name_##Part)                                              \
  const name_##Part::Map& name_() const noexcept { return name_##_.map(); }                 \
  ::Pith::Ptr<Child_> name_(const KeyType_& kivKey) const { return name_##_.find(kivKey); } \
  bool name_##Has(const KeyType_& kivKey) const { return name_##_.map().has(kivKey); }      \
  KIV_IMPL_LAZY                                                                             \
  void name_##Del(const KeyType_& kivKey) { name_##_.del(kivKey); }                         \
  KIV_IMPL_LAZY                                                                             \
  void name_##DelAll() { name_##_.delAll(); }
