#include "Firewall/Rules/PolicyCompiler.h"

#include <utility>

#include "Firewall/ConfigSources.h"
#include "Firewall/Rules/RuleId.h"
#include "Firewall/Segments/SegmentLinks.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"

namespace Firewall {

namespace {

// Calls use(directory, output directory) for each directory of segments that has an output.
template <class Use>
void eachSegmentDir(const Config& config, HwConfig& out, const Use& use) {
  for (Vrf::PtrConst vrf : config.vrf()) {
    if (const FwVrf::Ptr fwVrf = out.vrf(vrf->name())) use(vrf, fwVrf);
  }
  const SegmentDir::PtrConst l2 = config.l2SegmentDir();
  if (!l2 || l2->segment().empty()) return;
  if (const FwSegmentDir::Ptr fwL2 = out.l2Seg()) use(l2, fwL2);
}

// The policy is about to leave, and nothing may keep a link to it: neither the segments that a
// source left behind when it was disabled, nor the links that stand under the names of subscribers
// because an entry "forwarding-segments" asked for them. Walks all segments where somebody still
// refers to it.
void unlinkEverywhere(HwConfig& hwConfig, const Pith::String& policyName, Kiv::AllSteps& steps) {
  const FwPolicy::Ptr gone = hwConfig.policy(policyName);
  constexpr std::uint32_t unlinked = 2;  // the collection's use, and the one here
  if (!gone || gone->useCount() == unlinked) return;
  const auto unlinkIn = [&](const FwSegmentDir::Ptr& directory) {
    for (Pith::Ptr<FwSegment> segment : directory->segment()) {
      for (const auto& link : segment->fromSegment()) {
        if (link.value.policy != gone) continue;
        const Pith::String from = link.key;
        steps.run([&] { deleteInterimFromSegment(directory, segment, from); });
      }
      if (segment->fallbackPolicy() == gone) steps.run([&] { deleteFallbackPolicy(segment); });
    }
  };
  for (Pith::Ptr<FwVrf> vrf : hwConfig.vrf()) unlinkIn(vrf);
  if (const auto l2Seg = hwConfig.l2Seg()) unlinkIn(l2Seg);
}

}  // namespace

void PolicyCompiler::handlePolicy() const {
  FIREWALL_ENTRY("void Firewall::RootSm::handlePolicy()", ": ");
  if (!stage_.isWorking()) return;
  Kiv::AllSteps steps;
  for (Policy::PtrConst inPolicy : at_.inConfig->policy()) {
    steps.run([&] { handlePolicy(inPolicy->name()); });
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void PolicyCompiler::handlePolicy(const Pith::String& name) const {
  FIREWALL_ENTRY("void Firewall::RootSm::handlePolicy(const String&)", ": %s", name);
  if (!stage_.isWorking()) return;
  // The segments of other sources can name the policy too.
  const auto eachLinkedDir = [this](const auto& use) {
    eachSegmentDir(*at_.inConfig, *at_.outFirewallConfig, use);
    anyOtherSource(*at_.fwConfigDir, *at_.inConfig, [&](const Config::PtrConst& other) {
      eachSegmentDir(*other, *at_.outFirewallConfig, use);
      return false;
    });
  };
  Kiv::AllSteps steps;
  const Policy::PtrConst inPolicy = at_.inConfig->policy(name);
  if (inPolicy) {
    steps.run([&] { at_.outFirewallConfig->policyIs(name); });
    steps.run([&] { handlePolicyRules(inPolicy); });
    eachLinkedDir([&](const SegmentDir::PtrConst& segments, const FwSegmentDir::Ptr& fwSegments) {
      steps.run([&] {
        addInterFromSegAndFbPolicyAll(segments, at_.outFirewallConfig, fwSegments, "", name);
      });
    });
  } else if (const auto others = policiesOfOtherSources(name); !others.empty()) {
    steps.run([&] { compileInstead(others); });
  } else {
    eachLinkedDir([&](const SegmentDir::PtrConst& segments, const FwSegmentDir::Ptr& fwSegments) {
      steps.run([&] {
        deleteInterFromSegAndFbPolicyAll(segments, at_.outFirewallConfig, fwSegments, "", name);
      });
    });
    unlinkEverywhere(*at_.outFirewallConfig, name, steps);
    steps.run([&] {
      if (const Policy::PtrConst again = at_.inConfig->policy(name)) {
        rules_.deleteAllRules(again);
      } else {
        at_.outFirewallConfig->policyDel(name);
      }
    });
  }
  // A subscriber may have made it again while it was taken out.
  if (!inPolicy && at_.inConfig->policyHas(name)) steps.run([&] { handlePolicy(name); });
  TWINLOG_FN(facility, 7, fn, " return");
}

// The policies of that name in the other enabled sources, in the directory's order.
std::vector<Pith::Ptr<const Policy>> PolicyCompiler::policiesOfOtherSources(
    const Pith::String& name) const {
  std::vector<Policy::PtrConst> policies;
  anyOtherSource(*at_.fwConfigDir, *at_.inConfig, [&](const Config::PtrConst& other) {
    if (auto policy = other->policy(name)) policies.push_back(std::move(policy));
    return false;
  });
  return policies;
}

// The policy left this source but not all: its rules are made anew from those that have it.
void PolicyCompiler::compileInstead(const std::vector<Pith::Ptr<const Policy>>& policies) const {
  Kiv::AllSteps steps;
  steps.run([&] { rules_.deleteAllRules(policies.front()); });
  for (const Policy::PtrConst& policy : policies) steps.run([&] { handlePolicyRules(policy); });
}

void PolicyCompiler::handlePolicyRules(const Pith::Ptr<const Policy>& inPolicy) const {
  FIREWALL_ENTRY("void Firewall::RootSm::handlePolicyRules(const PtrConst&)", ": %s", inPolicy);
  if (!stage_.isWorking()) return;
  const Pith::Ptr<const Policy> policy = inPolicy;
  Kiv::AllSteps steps;
  for (const auto& rule : policy->rule()) {
    const std::uint32_t seqnum = rule.key;
    steps.run([&] { handlePolicyRule(policy, seqnum); });
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void PolicyCompiler::handlePolicyRule(const Pith::Ptr<const Policy>& inPolicy,
                                      std::uint32_t seqnum) const {
  FIREWALL_ENTRY("void Firewall::RootSm::handlePolicyRule(const PtrConst&, U32)", ": %s, %s",
                 inPolicy, seqnum);
  if (!stage_.isWorking()) return;
  const Pith::Ptr<const Policy> policy = inPolicy;
  if (!at_.outFirewallConfig->policyHas(policy->name())) {
    TWINLOG(facility, 3, fn, "Policy %s not found", policy->name());
    return;
  }
  Kiv::AllSteps steps;
  steps.run([&] { rules_.deletePolicyRules(policy, seqnum); });
  if (policy->ruleHas(seqnum)) steps.run([&] { addPolicyRulesAll(policy, seqnum); });
  steps.run([&] {
    if (!serviceOfRule(*policy, seqnum)) compileRuleInstead(policy->name(), seqnum);
  });
  TWINLOG_FN(facility, 7, fn, " return");
}

void PolicyCompiler::addPolicyRulesAll(const Pith::Ptr<const Policy>& inPolicy,
                                       std::uint32_t seqnum) const {
  FIREWALL_ENTRY("void Firewall::RootSm::addPolicyRulesAll(const PtrConst&, U32)", ": %s, %s",
                 inPolicy, seqnum);
  if (!stage_.isWorking()) return;
  if (!at_.outFirewallConfig->policyHas(inPolicy->name())) {
    TWINLOG(facility, 3, fn, "Policy %s not found", inPolicy->name());
    return;
  }
  if (const auto service = serviceOfRule(*inPolicy, seqnum)) {
    rules_.addServicePolicyRules(service, inPolicy, seqnum);
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

// The compiled service that the rule names; null where it makes no hardware rules.
Pith::Ptr<const FwService> PolicyCompiler::serviceOfRule(const Policy& inPolicy,
                                                         std::uint32_t seqnum) const {
  const PolicyRule* const rule = inPolicy.rule(seqnum);
  const auto service = rule == nullptr ? nullptr : at_.outFirewallConfig->services(rule->service);
  return service && hasRules(*service) ? service : nullptr;
}

void PolicyCompiler::compileRuleInstead(const Pith::String& policyName,
                                        std::uint32_t seqnum) const {
  Kiv::AllSteps steps;
  for (const Policy::PtrConst& other : policiesOfOtherSources(policyName)) {
    if (serviceOfRule(*other, seqnum)) steps.run([&] { handlePolicyRule(other, seqnum); });
  }
}

bool hasRules(const FwService& fwService) noexcept {
  return !fwService.srcIpPrefix().empty() || !fwService.dstIpPrefix().empty() ||
         !fwService.protocol().empty();
}

}  // namespace Firewall
