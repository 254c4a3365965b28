// Who mentions a name: kept beside a collection, so that those who mention it are found without a
// walk.
//
//   NameIndex<std::uint64_t, const Segment> fromSegments;  // a place is a number, from 1 up
//   fromSegments.add("web", 7, segment);
//   for (std::uint64_t place = 0; const auto* use = fromSegments.after("web", place);) {
//     place = use->place;
//     ...                                                  // may change the index
//   }
//
// A place is what orders those that mention a name; it has a default, which is before all of them.
// One place may mention a name several times, and then counts until each mention is removed.
//
// The targets are not held: whoever leaves the collection removes its mentions first. Each
// operation costs O(log mentions of the name).
#pragma once

#include <cstdint>

#include "framework/Kiv/Collections.h"
#include "framework/Pith/String.h"

namespace Firewall {

template <class Place, class Target>
class NameIndex {
 public:
  struct Use {
    Place place;
    Target* target;
    std::uint32_t mentions;
  };

  // Raises std::bad_alloc, and then nothing has changed.
  void add(const Pith::String& name, const Place& place, Target& target) {
    auto* const users = uses_.insert({name, {}}).first;
    try {
      ++users->value.insert({place, &target, 0}).first->mentions;
    } catch (...) {
      dropIfUnused(name, users->value);
      throw;
    }
  }

  void remove(const Pith::String& name, const Place& place) noexcept {
    auto* const users = uses_.find(name);
    Use* const use = users->value.find(place);
    if (--use->mentions > 0) return;
    users->value.erase(place);
    dropIfUnused(name, users->value);
  }

  // The first use behind `place`, or null; good until the index next changes.
  const Use* after(const Pith::String& name, const Place& place) const {
    const auto* const users = uses_.find(name);
    if (users == nullptr) return nullptr;
    const auto next = users->value.upperBound(place);
    return next ? &*next : nullptr;
  }

 private:
  struct UseKey {
    using Key = Place;
    static const Place& key(const Use& use) noexcept { return use.place; }
  };
  using Users = Kiv::OrderedMap<Use, UseKey>;

  void dropIfUnused(const Pith::String& name, const Users& users) noexcept {
    if (users.empty()) uses_.erase(name);
  }

  Kiv::HashMap<Pith::String, Users> uses_;
};

}  // namespace Firewall
