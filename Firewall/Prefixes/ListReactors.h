// The nested reactors of a path reactor, one for each list of a kind. A reactor is made only when
// somebody asks for it, or when its list changes while the segment has chosen that list.
//
//   sm->matchIpv4PrefixListHas("web")     // there is such a list in the configuration
//   sm->matchIpv4PrefixList("web")        // its reactor, made now if it was not there
//
// The contents are the lists of the configuration, in its order. While the path reactor deals with
// a list that came or went, the contents are still those from before. A segment chooses one list of
// very many, so a list that it did not choose costs it nothing. A walk makes all reactors; it
// survives any change.
//
// ListFollowers brings the changes of a list; the list's reactor is told of them if there is one. A
// list that somebody puts in by is(), and that the configuration does not have, is not watched.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include "Firewall/Prefixes/ListFollowers.h"
#include "framework/Kiv/AllSteps.h"
#include "framework/Kiv/Collections.h"
#include "framework/Kiv/Errors.h"
#include "framework/Kiv/Reactor.h"
#include "framework/Kiv/TypeName.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"

namespace Firewall {

template <class Kind, class Owner, class Child_>
class PITH_EXPORT ListReactors final : public Kiv::ReactorPart {
  using List = typename Kind::List;

 public:
  using Child = Child_;
  using Key = Pith::String;
  struct Funktor {
    using Key = Pith::String;
    static const Key& key(const Pith::Ptr<Child>& child) noexcept {
      static const Pith::String none;  // for a reactor that watches nothing
      return child->notifier() ? child->notifier()->name() : none;
    }
  };
  class Walk;

  explicit ListReactors(Owner& owner) noexcept : ReactorPart(owner), owner_(&owner) {}

  const ListReactors& map() const noexcept { return *this; }
  bool has(const Pith::String& name) const { return listNamed(name) != nullptr; }
  std::size_t size() const {
    std::size_t size = input().size();
    for (const auto& [name, list, watch] : kept_) {
      size += list ? 1U : 0U;
      size -= Kind::list(*Kind::input(*owner_), name) ? 1U : 0U;
    }
    return size;
  }
  bool empty() const { return size() == 0; }
  Walk begin() const { return Walk(*this); }
  std::default_sentinel_t end() const noexcept { return {}; }

  // The reactor, or null when there is no such list.
  Pith::Ptr<Child> find(const Pith::String& name) const {
    if (const auto* const present = made_.find(name)) return present->child;
    const Pith::Ptr<const List> list = listNamed(name);
    if (!list) return nullptr;
    Pith::Ptr<Child> made;
    {
      Kiv::AllSteps steps;
      auto child = Child::create(*owner_, list, steps);
      if (!followers_) child->hasNotificationActiveIs(false);
      made = made_.insert(Made{child, name}).first->child;
    }
    return made;
  }
  Pith::Ptr<Child> is(const Pith::Ptr<const List>& list) {
    const Pith::String name = list->name();
    const Pith::Ptr<const List> present = listNamed(name);
    if (present && present != list) {
      Kiv::Impl::throwMutatorReinstantiating(Kiv::typeNameOf<Child>(), "notifier");
    }
    if (!present) put(name, list);
    return find(name);
  }
  void del(const Pith::String& name) {
    if (has(name)) put(name, nullptr);
  }
  void delAll() {
    for (const auto& list : input()) put(list->name(), nullptr);
    const auto kept = kept_;
    for (const auto& each : kept) del(each.name);
  }

  // For the path reactor. From start() on changes are followed.
  void start() { notificationActiveIs(true); }
  // The path reactor deals with a list that came or went between listChanged() and follow().
  void listChanged(const Pith::String& name) {
    if (followers_) followers_->listChanged(name);
  }
  void follow(const Pith::String& name) {
    std::erase_if(kept_, [&name](const auto& kept) { return kept.name == name; });
    dropStale(name);
  }
  // choiceChanges(): the segment is about to choose another list. choiceChanged(): it has done so.
  void choiceChanges() noexcept {
    if (followers_) followers_->choiceChanges(*this);
  }
  void choiceChanged() {
    if (followers_) followers_->choose(*this, Kind::choice(*owner_->attributes().inSegment));
  }

  void notificationActiveIs(bool on) override {
    if (on == (followers_ != nullptr)) return;
    if (on) {
      choice = Kind::choice(*owner_->attributes().inSegment);
      followers_ = Followers::of(Kind::input(*owner_));
      followers_->join(*this);
    } else {
      leave();
    }
    for (const Made& each : made_) {
      const Made child = each;
      child->hasNotificationActiveIs(on);
      dropStale(child.key);  // the list may have been replaced while it was off
    }
  }
  void clear() override {
    if (followers_) leave();
    while (auto gone = made_.takeFirst()) unhook(std::move(gone->child));
  }

  // For ListFollowers.
  void keep(const Pith::String& name, const Pith::Ptr<const List>& list,
            const std::shared_ptr<const void>& watch) {
    const auto isNamed = [&name](const auto& kept) { return kept.name == name; };
    if (std::none_of(kept_.begin(), kept_.end(), isNamed)) kept_.push_back({name, list, watch});
  }
  void tell(const Pith::Ptr<const List>& list, Pith::FieldId field, const void* key,
            const Pith::Change* change) {
    const Pith::String& name = list->name();
    if (listNamed(name) != list) return;
    Pith::Ptr<Child> child;
    if (choice.name == name || made_.has(name)) child = find(name);
    if (child) {
      if (child->hasNotificationActive()) child->tell(field, key, change);
    } else {
      Kiv::anchored(owner_, [&] { Kind::handle(*owner_, name, key, *change); });
    }
  }
  std::uint64_t place = 0;
  ListChoice choice;
  bool isChoosing = false;

 private:
  using Followers = ListFollowers<Kind, ListReactors>;
  using Made = Kiv::KeyedReactor<Child, Pith::String>;
  struct Kept {
    Pith::String name;
    Pith::Ptr<const List> list;
    std::shared_ptr<const void> watch;
  };

  void leave() {
    for (Kept& kept : kept_) kept.watch = nullptr;
    std::exchange(followers_, nullptr)->leave(*this);
  }
  const auto& input() const { return Kind::lists(*Kind::input(*owner_)); }
  Pith::Ptr<const List> listNamed(const Pith::String& name) const {
    for (const Kept& kept : kept_) {
      if (kept.name == name) return kept.list;
    }
    return Kind::list(*Kind::input(*owner_), name);
  }
  void put(const Pith::String& name, const Pith::Ptr<const List>& list) {
    follow(name);
    if (listNamed(name) != list) kept_.push_back({name, list, nullptr});
    dropStale(name);
  }
  void dropStale(const Pith::String& name) {
    const auto* const made = made_.find(name);
    if (made == nullptr || made->child->notifier() == listNamed(name)) return;
    unhook(std::move(made_.take(name)->child));
  }

  Owner* owner_;
  typename Followers::Ptr followers_;
  // The names for which the contents differ from the configuration, each with its list or null.
  std::vector<Kept> kept_;
  mutable Kiv::HashMap2018<Made, typename Made::Funktor> made_;
};

// The lists of the configuration, and then those that are no longer there.
template <class Kind, class Owner, class Child_>
class ListReactors<Kind, Owner, Child_>::Walk {
 public:
  explicit Walk(const ListReactors& reactors)
      : reactors_(&reactors), at_(reactors.input().begin()) {
    settle();
  }
  Pith::Ptr<Child> operator*() const { return child_; }
  Walk& operator++() {
    at_ != reactors_->input().end() ? static_cast<void>(++at_) : static_cast<void>(++keptAt_);
    settle();
    return *this;
  }
  friend bool operator==(const Walk& walk, std::default_sentinel_t) noexcept {
    return walk.child_ == nullptr;
  }

 private:
  void settle() {
    for (; at_ != reactors_->input().end(); ++at_) {
      child_ = reactors_->find((*at_)->name());
      if (child_) return;
    }
    const auto& kept = reactors_->kept_;
    for (; keptAt_ < kept.size(); ++keptAt_) {
      const Pith::String name = kept[keptAt_].name;
      if (Kind::list(*Kind::input(*reactors_->owner_), name)) continue;  // seen
      child_ = reactors_->find(name);
      if (child_) return;
    }
    child_ = nullptr;
  }

  const ListReactors* reactors_;
  decltype(std::declval<const ListReactors&>().input().begin()) at_;
  std::size_t keptAt_ = 0;
  Pith::Ptr<Child> child_;
};

}  // namespace Firewall

template <class Kind, class Owner, class Child>
struct Kiv::MapTraits<Firewall::ListReactors<Kind, Owner, Child>> {
  using Funktor = typename Firewall::ListReactors<Kind, Owner, Child>::Funktor;
  static constexpr bool ordered = false;
};

// In the class of the path reactor, like KIV_CHILD_REACTORS: x(), x(key), xHas(key), xDel(key),
// xDelAll(), xIs(list).
#define FIREWALL_LIST_REACTORS(Kind_, Owner_, Child_, name_)                                      \
  using name_##Part = ::Firewall::ListReactors<Kind_, Owner_, Child_>;                            \
  KIV_IMPL_REACTOR_DECLARE(name_, name_##Part)                                                    \
  const name_##Part& name_() const noexcept { return name_##_; }                                  \
  ::Pith::Ptr<Child_> name_(const ::Pith::String& kivKey) const { return name_##_.find(kivKey); } \
  bool name_##Has(const ::Pith::String& kivKey) const { return name_##_.has(kivKey); }            \
  void name_##Del(const ::Pith::String& kivKey) { name_##_.del(kivKey); }                         \
  void name_##DelAll() { name_##_.delAll(); }
