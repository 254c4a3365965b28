// Everything that the agents of a switch share and the library uses, made new, and the root on it:
// for a program that is all of these agents itself, such as a test, an example or a host.
//
//   Firewall::SwitchStore store;
//   store.sourceIs("cli")->enabledIs(true);
//   store.start();                              // the tables are in store.hwConfig
//   ...
//   store.stop();                               // they are empty; the inputs stand
//
// An agent of a switch hands over the objects that it shares with others instead:
//
//   auto root = Firewall::rootDirSmFactory({.fwConfigDir = directory, .outFirewallConfig = ...});
//
// The root is taken down before the objects go.
#pragma once

#include "Firewall/Sources/RootDirSm.h"
#include "framework/Kiv/Dir.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"
#include "model/Acl/PrefixList.h"
#include "model/Classification/AppRecognition.h"
#include "model/Firewall/Config.h"
#include "model/Firewall/HwCapability.h"
#include "model/Firewall/HwConfig.h"
#include "model/Interface/AllIntfStatusDir.h"
#include "model/Ip/Status.h"
#include "model/MatchList/MatchList.h"

namespace Firewall {

class PITH_EXPORT SwitchStore {
 public:
  SwitchStore();
  SwitchStore(const SwitchStore&) = delete;
  SwitchStore& operator=(const SwitchStore&) = delete;
  ~SwitchStore() { stop(); }

  // Makes the root, which replays what is in the inputs. Raises what the factory raises.
  const RootDirSm::Ptr& start();
  // Cleans the root up and drops it; nothing when there is none.
  void stop();

  // The configuration source, and the path of match lists, of that name; made when it is not there.
  Config::Ptr sourceIs(const Pith::String& name);
  MatchList::Config::Ptr matchListPathIs(const Pith::String& name);

  const Pith::Ptr<Kiv::Dir> fwConfigDir;
  const HwConfig::Ptr hwConfig;
  const Status::Ptr firewallStatus;
  const Interface::AllIntfStatusDir::Ptr intfStatusDir;
  const Ip::Status::Ptr ipStatus;
  const Pith::Ptr<Kiv::Dir> matchListConfigDir;
  const Classification::AppRecognitionConfig::Ptr appRecConfig;
  const Classification::FieldSetConfig::Ptr fieldSetConfig;
  const Classification::AppRecognitionStatus::Ptr appRecStatus;
  const HwCapability::Ptr hwCapability;
  const Acl::AclListConfig::Ptr aclListConfig;

  RootDirSm::Ptr root;  // null while it is not started
};

}  // namespace Firewall
