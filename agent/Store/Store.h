// Everything that the agents of a switch share, and the reactors on it.
//
//   Store store;
//   Reconciler(store).commit(document);
//   store.start();                                  // the tables are there now
//   store.hwConfig->vrf(...)
//
// The reactors are stopped before the objects go.
#pragma once

#include <string_view>
#include <vector>

#include "Firewall/Sources/SwitchStore.h"

namespace Agent {

class Store : public Firewall::SwitchStore {
 public:
  bool isStarted() const noexcept { return root != nullptr; }

  // A source was switched off or went beside an enabled one since everything was last compiled from
  // nothing: what it leaves in the output is not of the configuration any more.
  bool sourceHasLeft() const noexcept { return sourceHasLeft_; }
  void sourceHasLeftIs(bool hasLeft) noexcept { sourceHasLeft_ = hasLeft; }

  // The object of an input type of which there is one (Schema.h's Part::owner).
  Kiv::Object& input(const Kiv::TypeData& type) const;
  // The object at a path, its first step one of the names that `show` lists; null for none.
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
