// The objects that the agents of a switch share, and the reactors that work on them.
//
//   Store store;
//   apply(planOf(store, document.root), store);     // Reconcile.h
//   store.start();                                  // the tables are there now
//   store.hwConfig->vrf(...)
//
// The destructor stops the reactors before the objects go.
#pragma once

#include <string_view>
#include <vector>

#include "Firewall/Sources/SwitchStore.h"

namespace Agent {

class Store : public Firewall::SwitchStore {
 public:
  bool isStarted() const noexcept { return root != nullptr; }

  // Whether a source was disabled or removed while another stayed enabled, since everything was
  // last compiled from nothing. What such a source leaves in the output is not in the
  // configuration.
  bool sourceHasLeft() const noexcept { return sourceHasLeft_; }
  void sourceHasLeftIs(bool hasLeft) noexcept { sourceHasLeft_ = hasLeft; }

  // The one input object of that type (Part::owner in Schema.h).
  Kiv::Object& input(const Kiv::TypeData& type) const;
  // The objects that `show` can begin a path with, each with its name there.
  struct Named {
    std::string_view name;
    Kiv::Object* object;
  };
  std::vector<Named> objects() const;

  // Null when there is none of that name.
  Firewall::Config::Ptr source(const Pith::String& name) const {
    return Pith::dynamicPtrCast<Firewall::Config>(fwConfigDir->entityPtr(name));
  }

  // The one match-list path, which is always there.
  const MatchList::Config::Ptr matchLists = matchListPathIs("fwagent");

 private:
  bool sourceHasLeft_ = false;
};

}  // namespace Agent
