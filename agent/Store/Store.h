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

#include "Firewall/RootDirSm.h"
#include "framework/Kiv/Dir.h"
#include "model/Acl/PrefixList.h"
#include "model/Classification/AppRecognition.h"
#include "model/Firewall/Config.h"
#include "model/Firewall/HwCapability.h"
#include "model/Firewall/HwConfig.h"
#include "model/Interface/AllIntfStatusDir.h"
#include "model/Ip/Status.h"
#include "model/MatchList/MatchList.h"

namespace Agent {

class Store {
 public:
  Store() = default;
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;
  ~Store() { stop(); }

  void start();
  void stop();
  bool isStarted() const noexcept { return root_ != nullptr; }

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

  Firewall::Config::Ptr source(const Pith::String& name) const {
    return Pith::dynamicPtrCast<Firewall::Config>(sources->entityPtr(name));
  }

  const Pith::Ptr<Kiv::Dir> sources = Kiv::make<Kiv::Dir>();
  const Firewall::HwConfig::Ptr hwConfig = Kiv::make<Firewall::HwConfig>();
  const Firewall::Status::Ptr status = Kiv::make<Firewall::Status>();
  const Interface::AllIntfStatusDir::Ptr interfaces = Kiv::make<Interface::AllIntfStatusDir>();
  const Ip::Status::Ptr ipStatus = Kiv::make<Ip::Status>();
  const Pith::Ptr<Kiv::Dir> matchListPaths = Kiv::make<Kiv::Dir>();
  const Classification::AppRecognitionConfig::Ptr applications =
      Kiv::make<Classification::AppRecognitionConfig>();
  const Classification::FieldSetConfig::Ptr fieldSets = Kiv::make<Classification::FieldSetConfig>();
  const Classification::AppRecognitionStatus::Ptr profiles =
      Kiv::make<Classification::AppRecognitionStatus>();
  const Firewall::HwCapability::Ptr capabilities = Kiv::make<Firewall::HwCapability>();
  const Acl::AclListConfig::Ptr prefixLists = Kiv::make<Acl::AclListConfig>();
  // The one match-list path, which is always there.
  const MatchList::Config::Ptr matchLists = matchListPaths->newEntity<MatchList::Config>("fwagent");

 private:
  Firewall::RootDirSm::Ptr root_;
  bool sourceHasLeft_ = false;
};

}  // namespace Agent
