// Services: their status, and the recompilation of the rules that name one that changed.
#include "Firewall/RootSm.h"
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

void RootSm::handleService(const Pith::String& name) {
  static constexpr Twinlog::Function fn("void Firewall::RootSm::handleService(const String&)");
  TWINLOG_FN(facility, 8, fn, ": %s", name);
  if (isWorking()) {
    if (outFirewallConfig->servicesHas(name)) {
      if (firewallStatus) firewallStatus->serviceIs(name);
    } else {
      Kiv::AllSteps steps;
      steps.run([&] { deleteServicePolicyRules(name); });
      steps.run([&] {
        if (firewallStatus) firewallStatus->serviceDel(name);
      });
      steps.run([&] { compileRulesInstead(name); });
      // A subscriber may have made it again while it was taken out.
      if (const auto again = outFirewallConfig->services(name)) {
        steps.run([&] { handleService(name); });
        steps.run([&] { handleServiceChange(again); });
      }
    }
  }
  TWINLOG_FN(facility, 7, fn, " return ");
}

void RootSm::deleteServicePolicyRules(const Pith::String& name) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::deleteServicePolicyRules(const String&)");
  TWINLOG_FN(facility, 8, fn, ": %s", name);
  Kiv::AllSteps steps;
  if (isWorking()) {
    eachRuleOfService(*inConfig, name, [&](const Policy::PtrConst& policy, std::uint32_t seqnum) {
      steps.run([&] { deletePolicyRules(policy, seqnum); });
    });
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

// Ports alone match nothing: they need a protocol.
bool RootSm::hasRules(const Pith::Ptr<const FwService>& fwService) const {
  return !fwService->srcIpPrefix().empty() || !fwService->dstIpPrefix().empty() ||
         !fwService->protocol().empty();
}

void RootSm::handleServiceChange(const Pith::Ptr<const FwService>& fwService) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::handleServiceChange(const PtrConst&)");
  TWINLOG_FN(facility, 8, fn, ": %s", fwService);
  if (!isWorking()) return;
  const Pith::Ptr<const FwService> service = fwService;
  ActiveWorkManager::Handle work(activeWorkManager);
  Kiv::AllSteps steps;
  steps.run([&] { deleteServicePolicyRules(service->name()); });
  if (hasRules(service)) {
    eachRuleOfService(*inConfig, service->name(),
                      [&](const Policy::PtrConst& policy, std::uint32_t seqnum) {
                        steps.run([&] { addServicePolicyRules(service, policy, seqnum); });
                      });
  } else {
    steps.run([&] { compileRulesInstead(service->name()); });
  }
  steps.run([&] { work.close(); });
  TWINLOG_FN(facility, 7, fn, " return ");
}

// The service makes no hardware rules (any more): other sources may have some for the same numbers.
void RootSm::compileRulesInstead(const Pith::String& service) {
  Kiv::AllSteps steps;
  eachRuleOfService(*inConfig, service, [&](const Policy::PtrConst& policy, std::uint32_t seqnum) {
    steps.run([&] { compileRuleInstead(policy->name(), seqnum); });
  });
}

void RootSm::ServiceSm::handleNotifier() { kiv_handleService_version(); }

void RootSm::ServiceSm::onAttribute(Pith::FieldId field, const void* /*key*/,
                                    const Pith::Change* /*change*/) {
  if (field == FwService::versionField) kiv_handleService_version();
}

void RootSm::ServiceSm::kiv_handleService_version() { owner().handleServiceChange(notifier()); }

}  // namespace Firewall
