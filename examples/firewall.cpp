// What reaches the hardware, and when: a small switch whose operator enables a firewall, changes a
// rule and the ports of an application, and disables it again. Every line beginning with +, ~ or -
// is one write that a hardware agent sees.
#include <iostream>
#include <string>

#include "Firewall/Sources/SwitchStore.h"
#include "framework/Kiv/TreeWatcher.h"

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

void publishSwitch(Firewall::SwitchStore& store) {
  for (const char* name : {"Ethernet1", "Ethernet2"}) {
    const Lanx::IntfId interface { Pith::String(name) };
    store.intfStatusDir->intfStatusIs(interface);
    store.ipStatus->ipIntfStatusIs(interface, L3::VrfName("default"));
  }
  store.hwCapability->globalPrefixListSupportedIs(true);
}

void publishApplications(Firewall::SwitchStore& store) {
  store.fieldSetConfig->fieldSetL4PortIs("web")->subConfigIs("web")->portsIs({443, 443});
  const auto web = store.appRecConfig->appIs("web");
  web->protoIs({Firewall::Protocol::tcp, Firewall::Protocol::tcp});
  web->dstPortFieldSetIs("web");
  store.appRecConfig->appIs("ping")->protoIs({1, 1});
}

// Users may reach the servers' web; everything else between the two is dropped.
void publishFirewall(Firewall::SwitchStore& store, Firewall::Config& config) {
  using Firewall::Action;
  const auto policy = config.policyIs("users-to-servers");
  policy->ruleIs(10U, Pith::String("web"), Action::forward);
  policy->ruleIs(20U, Pith::String("ping"), Action::forward, true);

  const auto lists = store.matchListPathIs("lists");
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
  Firewall::SwitchStore store;
  publishSwitch(store);
  publishApplications(store);
  const auto config = store.sourceIs("cli");
  publishFirewall(store, *config);
  const WritePrinter printer(store.hwConfig);

  step("The agent starts; the source \"cli\" is not enabled yet.");
  store.start();

  step(
      "The operator enables it: segments, policies and, when the applications are compiled, "
      "rules.");
  config->enabledIs(true);

  step("Rule 20 drops now: its hardware rules alone are made anew.");
  config->policy("users-to-servers")->ruleIs(20U, Pith::String("ping"), Firewall::Action::drop);

  step("The application \"web\" gets another port: every rule that names it follows.");
  store.fieldSetConfig->fieldSetL4Port("web")->subConfig()->portsIs({8443, 8443});

  step("The operator disables the source: the output is emptied.");
  config->enabledIs(false);

  store.stop();
  return 0;
}
