// Tells path reactors of a change in a list. Those whose segment chose the list act on it; the
// others only trace it.
//
// The reactors that follow the lists of one kind in one configuration share a ListFollowers, and
// with it one subscription to each list. A change is told to the reactors whose segment chose the
// list; while the level of the trace is on, to all of them. They are told in the order in which
// they joined, as if each had its own subscription to each list. A reactor may not have heard yet
// that its segment made another choice: then it is asked for the choice first, so that tracing does
// not change who acts.
//
// Cost: one subscription for each list and one entry for each follower. A change of a list costs
// the followers that chose it. The first join() and the last leave() cost the number of lists.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"
#include "framework/Kiv/HashMap2018.h"
#include "framework/Kiv/OrderedMap.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/Publisher.h"
#include "framework/Pith/String.h"

namespace Firewall {

// Which list of a kind a segment chose. A choice that cannot be read may be any list: its follower
// is told of every list, and raises the error.
struct ListChoice {
  bool isAny = false;
  std::optional<Pith::String> name{};
};

// Kind is a MatchListsOf or a PrefixListsOf (MatchListFamily.h). Follower has `place`, `choice` and
// `isChoosing`, keep(name, list, watch), tell(list, field, key, change) and choiceChanged(), which
// calls choose(); see ListReactors.h.
template <class Kind, class Follower>
class ListFollowers final : public std::enable_shared_from_this<ListFollowers<Kind, Follower>> {
 public:
  using Input = typename Kind::Input;
  using List = typename Kind::List;
  using Ptr = std::shared_ptr<ListFollowers>;

  static Ptr of(const Pith::Ptr<const Input>& input) {
    std::weak_ptr<void>& slot = Kind::followed(*input).shared();
    if (const auto shared = slot.lock()) return std::static_pointer_cast<ListFollowers>(shared);
    auto made = std::make_shared<ListFollowers>(input);
    slot = made;
    return made;
  }

  explicit ListFollowers(Pith::Ptr<const Input> input) : input_(std::move(input)) {}

  // The follower has its choice, and gets a place behind all others.
  void join(Follower& follower) {
    // A follower that is made by a subscriber may see a list that listChanged() was not told of
    // yet.
    if (version_ != Kind::followed(*input_).version()) watchAll();
    follower.place = ++lastPlace_;
    all_.insert({follower.place, &follower});
    index(follower);
  }
  void leave(Follower& follower) {
    unindex(follower);
    chose(follower);
    all_.erase(follower.place);
    if (all_.empty()) forgetAll();
  }
  void choose(Follower& follower, const ListChoice& choice) {
    unindex(follower);
    follower.choice = choice;
    index(follower);
    chose(follower);
  }
  // The follower's segment is about to choose anew: until choose() says what, its choice is not
  // known here.
  void choiceChanges(Follower& follower) noexcept {
    if (!std::exchange(follower.isChoosing, true)) ++choosing_;
  }

  // A list of that name came, went or was replaced. Every follower keeps the former list, and the
  // watch on it, until the follower has dealt with the change.
  void listChanged(const Pith::String& name) {
    const Pith::Ptr<const List> present = Kind::list(*input_, name);
    const auto* const watch = watches_.find(name);
    const std::shared_ptr<Watch> was = watch == nullptr ? nullptr : watch->value;
    const Pith::Ptr<const List> listThatWas = was ? was->list : nullptr;
    if (present == listThatWas) return;
    for (const auto& follower : all_) follower.value->keep(name, listThatWas, was);
    watches_.erase(name);
    if (present) watches_.insert({name, std::make_shared<Watch>(*this, present)});
    // Nothing else has changed, unless a subscriber changed more lists before anybody was told.
    if (Kind::followed(*input_).version() == version_ + 1) ++version_;
  }

 private:
  using Places = Kiv::OrderedMap<Kiv::MapEntry<std::uint64_t, Follower*>,
                                 Kiv::MapEntryKey<std::uint64_t, Follower*>>;
  struct Watch {
    Watch(ListFollowers& owner, Pith::Ptr<const List> watched)
        : followers(&owner), list(std::move(watched)), subscriber(this, &Watch::deliver) {
      list->publisher().subscriberAdd(subscriber);
    }
    static void deliver(void* self, Pith::Publisher*, Pith::Subscriber*, Pith::FieldId field,
                        const void* key, const Pith::Change* change) {
      if (field != Kind::elementField()) return;
      const auto& watch = *static_cast<Watch*>(self);
      watch.followers->tell(watch.list, field, key, change);
    }
    ListFollowers* followers;
    Pith::Ptr<const List> list;
    Pith::Subscriber subscriber;
  };
  using WatchEntry = Kiv::MapEntry<Pith::String, std::shared_ptr<Watch>>;
  using PlacesEntry = Kiv::MapEntry<Pith::String, Places>;

  void watchAll() {
    for (const auto& watch : watches_) {
      const Pith::String name = watch.key;
      listChanged(name);
    }
    for (const Pith::Ptr<const List> list : Kind::lists(*input_)) listChanged(list->name());
    version_ = Kind::followed(*input_).version();
  }
  void forgetAll() {
    watches_.clear();
    version_ = 0;
  }

  void index(Follower& follower) {
    if (follower.choice.isAny) choseAny_.insert({follower.place, &follower});
    if (!follower.choice.name) return;
    auto* chose = chose_.find(*follower.choice.name);
    if (chose == nullptr) chose = chose_.insert({*follower.choice.name, Places()}).first;
    chose->value.insert({follower.place, &follower});
  }
  void unindex(Follower& follower) {
    if (follower.choice.isAny) choseAny_.erase(follower.place);
    if (!follower.choice.name) return;
    auto* const chose = chose_.find(*follower.choice.name);
    if (chose == nullptr) return;
    chose->value.erase(follower.place);
    if (chose->value.empty()) chose_.erase(*follower.choice.name);
  }

  void chose(Follower& follower) noexcept {
    if (std::exchange(follower.isChoosing, false)) --choosing_;
  }
  // Needed when a subscriber hears of a choice before the follower does, and changes a list.
  void askWhoIsChoosing() {
    for (auto follower = all_.begin(); choosing_ > 0 && follower != all_.end(); ++follower) {
      if (follower->value->isChoosing) follower->value->choiceChanged();
    }
  }

  static Follower* firstBehind(const Places& places, std::uint64_t place) {
    const auto next = places.upperBound(place);
    return next == places.end() ? nullptr : next->value;
  }
  Follower* nextToTell(const Pith::String& name, std::uint64_t place, bool isTraced) {
    askWhoIsChoosing();
    if (isTraced) return firstBehind(all_, place);
    Follower* const any = firstBehind(choseAny_, place);
    const auto* const chose = chose_.find(name);
    Follower* const named = chose == nullptr ? nullptr : firstBehind(chose->value, place);
    if (any == nullptr || named == nullptr) return any == nullptr ? named : any;
    return any->place < named->place ? any : named;
  }

  // A follower may change anything when it is told. Those that join meanwhile are not told of this
  // change.
  void tell(const Pith::Ptr<const List> list, Pith::FieldId field, const void* key,
            const Pith::Change* change) {
    const Ptr alive = this->shared_from_this();
    const Pith::String name = list->name();
    const bool isTraced = facility.enabled(Kind::traceLevel);
    const std::uint64_t last = lastPlace_;
    std::uint64_t place = 0;
    Kiv::AllSteps steps;
    for (Follower* next = nextToTell(name, place, isTraced); next != nullptr && next->place <= last;
         next = nextToTell(name, place, isTraced)) {
      place = next->place;
      steps.run([&] { next->tell(list, field, key, change); });
    }
  }

  Pith::Ptr<const Input> input_;
  Kiv::HashMap2018<WatchEntry, Kiv::MapEntryKey<Pith::String, std::shared_ptr<Watch>>> watches_;
  Places all_;
  Kiv::HashMap2018<PlacesEntry, Kiv::MapEntryKey<Pith::String, Places>> chose_;
  Places choseAny_;
  std::size_t choosing_ = 0;
  std::uint64_t lastPlace_ = 0;
  std::uint64_t version_ = 0;  // of the lists that are watched
};

}  // namespace Firewall
