// Policies: each becomes an output policy, compiled rule by rule, and is linked to the segments
// that name it.
#include <utility>
#include <vector>

#include "Firewall/RootSm.h"
#include "Firewall/RuleId.h"
#include "Firewall/SegmentLinks.h"
#include "Firewall/Sources.h"
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

// Deletes all rules of the output's policy of that name, whichever source they are from.
void deleteRules(RootSm& rootSm, const Policy::PtrConst& policy) {
  const FwPolicy::Ptr fwPolicy = rootSm.attributes().outFirewallConfig->policy(policy->name());
  if (!fwPolicy) return;
  Kiv::AllSteps steps;
  const auto deleteThose = [&](std::uint32_t seqnum) {
    steps.run([&] { rootSm.deletePolicyRules(policy, seqnum); });
  };
  for (const auto& rule : fwPolicy->rule()) deleteThose(ruleSeqnum(rule.key));
  for (const auto& rule : fwPolicy->serviceRule()) deleteThose(rule.key);
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

void RootSm::handlePolicy() {
  static constexpr Twinlog::Function fn("void Firewall::RootSm::handlePolicy()");
  TWINLOG_FN(facility, 8, fn, ": ");
  if (!isWorking()) return;
  Kiv::AllSteps steps;
  for (Policy::PtrConst inPolicy : inConfig->policy()) {
    steps.run([&] { handlePolicy(inPolicy->name()); });
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void RootSm::handlePolicy(const Pith::String& name) {
  static constexpr Twinlog::Function fn("void Firewall::RootSm::handlePolicy(const String&)");
  TWINLOG_FN(facility, 8, fn, ": %s", name);
  if (!isWorking()) return;
  // The segments of other sources can name the policy too.
  const auto eachLinkedDir = [this](const auto& use) {
    eachSegmentDir(*inConfig, *outFirewallConfig, use);
    anyOtherSource(*fwConfigDir, *inConfig, [&](const Config::PtrConst& other) {
      eachSegmentDir(*other, *outFirewallConfig, use);
      return false;
    });
  };
  Kiv::AllSteps steps;
  const Policy::PtrConst inPolicy = inConfig->policy(name);
  if (inPolicy) {
    steps.run([&] { outFirewallConfig->policyIs(name); });
    steps.run([&] { handlePolicyRules(inPolicy); });
    eachLinkedDir([&](const SegmentDir::PtrConst& segments, const FwSegmentDir::Ptr& fwSegments) {
      steps.run([&] {
        addInterFromSegAndFbPolicyAll(segments, outFirewallConfig, fwSegments, "", name);
      });
    });
  } else if (const auto others = policiesOfOtherSources(name); !others.empty()) {
    steps.run([&] { compileInstead(others); });
  } else {
    eachLinkedDir([&](const SegmentDir::PtrConst& segments, const FwSegmentDir::Ptr& fwSegments) {
      steps.run([&] {
        deleteInterFromSegAndFbPolicyAll(segments, outFirewallConfig, fwSegments, "", name);
      });
    });
    unlinkEverywhere(*outFirewallConfig, name, steps);
    steps.run([&] {
      if (const Policy::PtrConst again = inConfig->policy(name)) {
        deleteRules(*this, again);
      } else {
        outFirewallConfig->policyDel(name);
      }
    });
  }
  // A subscriber may have made it again while it was taken out.
  if (!inPolicy && inConfig->policyHas(name)) steps.run([&] { handlePolicy(name); });
  TWINLOG_FN(facility, 7, fn, " return");
}

// The policies of that name in the other enabled sources, in the directory's order.
std::vector<Pith::Ptr<const Policy>> RootSm::policiesOfOtherSources(
    const Pith::String& name) const {
  std::vector<Policy::PtrConst> policies;
  anyOtherSource(*fwConfigDir, *inConfig, [&](const Config::PtrConst& other) {
    if (auto policy = other->policy(name)) policies.push_back(std::move(policy));
    return false;
  });
  return policies;
}

// The policy left this source but not all: its rules are made anew from those that have it.
void RootSm::compileInstead(const std::vector<Pith::Ptr<const Policy>>& policies) {
  Kiv::AllSteps steps;
  steps.run([&] { deleteRules(*this, policies.front()); });
  for (const Policy::PtrConst& policy : policies) steps.run([&] { handlePolicyRules(policy); });
}

void RootSm::handlePolicyRules(const Pith::Ptr<const Policy>& inPolicy) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::handlePolicyRules(const PtrConst&)");
  TWINLOG_FN(facility, 8, fn, ": %s", inPolicy);
  if (!isWorking()) return;
  const Pith::Ptr<const Policy> policy = inPolicy;
  Kiv::AllSteps steps;
  for (const auto& rule : policy->rule()) {
    const std::uint32_t seqnum = rule.key;
    steps.run([&] { handlePolicyRule(policy, seqnum); });
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

void RootSm::handlePolicyRule(const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::handlePolicyRule(const PtrConst&, U32)");
  TWINLOG_FN(facility, 8, fn, ": %s, %s", inPolicy, seqnum);
  if (!isWorking()) return;
  const Pith::Ptr<const Policy> policy = inPolicy;
  if (!outFirewallConfig->policyHas(policy->name())) {
    TWINLOG(facility, 3, fn, "Policy %s not found", policy->name());
    return;
  }
  Kiv::AllSteps steps;
  steps.run([&] { deletePolicyRules(policy, seqnum); });
  if (policy->ruleHas(seqnum)) steps.run([&] { addPolicyRulesAll(policy, seqnum); });
  steps.run([&] {
    if (!serviceOfRule(*policy, seqnum)) compileRuleInstead(policy->name(), seqnum);
  });
  TWINLOG_FN(facility, 7, fn, " return");
}

void RootSm::addPolicyRulesAll(const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::addPolicyRulesAll(const PtrConst&, U32)");
  TWINLOG_FN(facility, 8, fn, ": %s, %s", inPolicy, seqnum);
  if (!isWorking()) return;
  if (!outFirewallConfig->policyHas(inPolicy->name())) {
    TWINLOG(facility, 3, fn, "Policy %s not found", inPolicy->name());
    return;
  }
  if (const auto service = serviceOfRule(*inPolicy, seqnum)) {
    addServicePolicyRules(service, inPolicy, seqnum);
  }
  TWINLOG_FN(facility, 7, fn, " return");
}

// The compiled service that the rule names; null where it makes no hardware rules.
Pith::Ptr<const FwService> RootSm::serviceOfRule(const Policy& inPolicy,
                                                 std::uint32_t seqnum) const {
  const PolicyRule* const rule = inPolicy.rule(seqnum);
  const auto service = rule == nullptr ? nullptr : outFirewallConfig->services(rule->service);
  return service && hasRules(service) ? service : nullptr;
}

// This source has no hardware rules for the number (any more): those that have compile theirs.
void RootSm::compileRuleInstead(const Pith::String& policyName, std::uint32_t seqnum) {
  Kiv::AllSteps steps;
  for (const Policy::PtrConst& other : policiesOfOtherSources(policyName)) {
    if (serviceOfRule(*other, seqnum)) steps.run([&] { handlePolicyRule(other, seqnum); });
  }
}

void RootSm::PolicySm::handleNotifier() { owner().handlePolicyRules(notifier()); }

void RootSm::PolicySm::onAttribute(Pith::FieldId field, const void* key,
                                   const Pith::Change* /*change*/) {
  if (field != Policy::ruleField) return;
  owner().handlePolicyRule(notifier(), *static_cast<const std::uint32_t*>(key));
}

}  // namespace Firewall
