// What reaches the hardware, and when: a small switch whose operator enables a firewall, changes a
// rule and the ports of an application, and disables it again. Every line beginning with +, ~ or -
// is one write that a hardware agent sees.
#include <iostream>
#include <string>

#include "Firewall/RootDirSm.h"
#include "framework/Kiv/Dir.h"
#include "framework/Kiv/TreeWatcher.h"
#include "model/Acl/PrefixList.h"
#include "model/Classification/AppRecognition.h"
#include "model/Firewall/Config.h"
#include "model/Firewall/HwCapability.h"
#include "model/Firewall/HwConfig.h"
#include "model/Interface/AllIntfStatusDir.h"
#include "model/Ip/Status.h"
#include "model/MatchList/MatchList.h"

namespace {

class WritePrinter final : public Kiv::TreeWatcher {
 public:
  using TreeWatcher::TreeWatcher;

 private:
  void onChange(const Kiv::TreeChange& change) override {
    using Kind = Kiv::TreeChange::Kind;
    const bool removed = change.kind == Kind::removed;
    std::cout << "  " << (removed ? "- " : change.kind == Kind::added ? "+ " : "~ ") << change.path;
    if (!removed && !change.value.empty()) std::cout << " = " << change.value;
    std::cout << '\n';
  }
};

// Everything that the agents of a switch share.
struct Store {
  Pith::Ptr<Kiv::Dir> sources = Kiv::make<Kiv::Dir>();
  Firewall::HwConfig::Ptr hwConfig = Kiv::make<Firewall::HwConfig>();
  Firewall::Status::Ptr status = Kiv::make<Firewall::Status>();
  Interface::AllIntfStatusDir::Ptr interfaces = Kiv::make<Interface::AllIntfStatusDir>();
  Ip::Status::Ptr ipStatus = Kiv::make<Ip::Status>();
  Pith::Ptr<Kiv::Dir> matchLists = Kiv::make<Kiv::Dir>();
  Classification::AppRecognitionConfig::Ptr applications =
      Kiv::make<Classification::AppRecognitionConfig>();
  Classification::FieldSetConfig::Ptr fieldSets = Kiv::make<Classification::FieldSetConfig>();
  Classification::AppRecognitionStatus::Ptr profiles =
      Kiv::make<Classification::AppRecognitionStatus>();
  Firewall::HwCapability::Ptr capabilities = Kiv::make<Firewall::HwCapability>();
  Acl::AclListConfig::Ptr prefixLists = Kiv::make<Acl::AclListConfig>();
};

void publishSwitch(const Store& store) {
  for (const char* name : {"Ethernet1", "Ethernet2"}) {
    const Lanx::IntfId interface { Pith::String(name) };
    store.interfaces->intfStatusIs(interface);
    store.ipStatus->ipIntfStatusIs(interface, L3::VrfName("default"));
  }
  store.capabilities->globalPrefixListSupportedIs(true);
}

void publishApplications(const Store& store) {
  store.fieldSets->fieldSetL4PortIs("web")->subConfigIs("web")->portsIs({443, 443});
  const auto web = store.applications->appIs("web");
  web->protoIs({Firewall::Protocol::tcp, Firewall::Protocol::tcp});
  web->dstPortFieldSetIs("web");
  store.applications->appIs("ping")->protoIs({1, 1});
}

// Users may reach the servers' web; everything else between the two is dropped.
void publishFirewall(const Store& store, Firewall::Config& config) {
  using Firewall::Action;
  const auto policy = config.policyIs("users-to-servers");
  policy->ruleIs(10U, Pith::String("web"), Action::forward);
  policy->ruleIs(20U, Pith::String("ping"), Action::forward, true);

  const auto lists = store.matchLists->newEntity<MatchList::Config>("lists");
  lists->matchIpv4PrefixListIs("offices")->subnetsIs(Lanx::IpAddrWithMask::parse("10.1.0.0/16"));
  lists->matchIpv4PrefixListIs("racks")->subnetsIs(Lanx::IpAddrWithMask::parse("10.2.0.0/16"));

  const auto vrf = config.vrfIs("default");
  const auto users = vrf->segmentIs("users");
  users->prefixIpv4MlIs(Firewall::ListSource::matchList("offices"));
  users->classNameIs("__VRF_default_segment_users");
  config.classMapIs("__VRF_default_segment_users")
      ->intfVlanDataIs(Lanx::IntfId{Pith::String("Ethernet1")});
  const auto servers = vrf->segmentIs("servers");
  servers->prefixIpv4MlIs(Firewall::ListSource::matchList("racks"));
  servers->policyIs("users", "users-to-servers");
}

void step(const std::string& what) { std::cout << '\n' << what << '\n'; }

}  // namespace

int main() {
  const Store store;
  publishSwitch(store);
  publishApplications(store);
  const auto config = store.sources->newEntity<Firewall::Config>("cli");
  publishFirewall(store, *config);
  const WritePrinter printer(store.hwConfig);

  step("The agent starts; the source \"cli\" is not enabled yet.");
  const auto root = Firewall::rootDirSmFactory(store.sources, store.hwConfig, store.status,
                                               store.interfaces, store.ipStatus, store.matchLists,
                                               store.applications, store.fieldSets, store.profiles,
                                               store.capabilities, store.prefixLists);

  step(
      "The operator enables it: segments, policies and, when the applications are compiled, "
      "rules.");
  config->enabledIs(true);

  step("Rule 20 drops now: its hardware rules alone are made anew.");
  config->policy("users-to-servers")->ruleIs(20U, Pith::String("ping"), Firewall::Action::drop);

  step("The application \"web\" gets another port: every rule that names it follows.");
  store.fieldSets->fieldSetL4Port("web")->subConfig()->portsIs({8443, 8443});

  step("The operator disables the source: the output is emptied.");
  config->enabledIs(false);

  root->cleanup();
  return 0;
}
