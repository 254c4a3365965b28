#include "Firewall/Rules/ServiceCompiler.h"

#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"

namespace Firewall {

namespace {

// Calls use(policy, sequence number) for each rule that names the service: policy by policy, in
// ascending order of sequence numbers. What a call changes is seen by those that follow.
template <class Use>
void eachRuleOfService(const Config& config, const Pith::String& service, const Use& use) {
  for (auto rule = config.ruleOfService(service, {}); rule;
       rule = config.ruleOfService(service, rule->place)) {
    use(rule->policy, rule->place.seqnum);
  }
}

}  // namespace

void ServiceCompiler::handleService(const Pith::String& name) const {
  FIREWALL_ENTRY("void Firewall::RootSm::handleService(const String&)", ": %s", name);
  if (stage_.isWorking()) {
    if (at_.outFirewallConfig->servicesHas(name)) {
      if (at_.firewallStatus) at_.firewallStatus->serviceIs(name);
    } else {
      Kiv::AllSteps steps;
      steps.run([&] { deleteServicePolicyRules(name); });
      steps.run([&] {
        if (at_.firewallStatus) at_.firewallStatus->serviceDel(name);
      });
      steps.run([&] { compileRulesInstead(name); });
      // A subscriber may have made it again while it was taken out.
      if (const auto again = at_.outFirewallConfig->services(name)) {
        steps.run([&] { handleService(name); });
        steps.run([&] { handleServiceChange(again); });
      }
    }
  }
  TWINLOG_FN(facility, 7, fn, " return ");
}

void ServiceCompiler::deleteServicePolicyRules(const Pith::String& name) const {
  FIREWALL_ENTRY("void Firewall::RootSm::deleteServicePolicyRules(const String&)", ": %s", name);
  Kiv::AllSteps steps;
  if (stage_.isWorking()) {
    eachRuleOfService(*at_.inConfig, name,
                      [&](const Policy::PtrConst& policy, std::uint32_t seqnum) {
                        steps.run([&] { rules_.deletePolicyRules(policy, seqnum); });
                      });
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void ServiceCompiler::handleServiceChange(const Pith::Ptr<const FwService>& fwService) const {
  FIREWALL_ENTRY("void Firewall::RootSm::handleServiceChange(const PtrConst&)", ": %s", fwService);
  if (!stage_.isWorking()) return;
  const Pith::Ptr<const FwService> service = fwService;
  ActiveWorkManager::Handle work(at_.activeWorkManager);
  Kiv::AllSteps steps;
  steps.run([&] { deleteServicePolicyRules(service->name()); });
  if (hasRules(*service)) {
    eachRuleOfService(*at_.inConfig, service->name(),
                      [&](const Policy::PtrConst& policy, std::uint32_t seqnum) {
                        steps.run([&] { rules_.addServicePolicyRules(service, policy, seqnum); });
                      });
  } else {
    steps.run([&] { compileRulesInstead(service->name()); });
  }
  steps.run([&] { work.close(); });
  TWINLOG_FN(facility, 7, fn, " return ");
}

// The service makes no hardware rules (any more): other sources may have some for the same numbers.
void ServiceCompiler::compileRulesInstead(const Pith::String& service) const {
  Kiv::AllSteps steps;
  eachRuleOfService(*at_.inConfig, service,
                    [&](const Policy::PtrConst& policy, std::uint32_t seqnum) {
                      steps.run([&] { policies_.compileRuleInstead(policy->name(), seqnum); });
                    });
}

}  // namespace Firewall
