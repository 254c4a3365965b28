// Policies: each becomes an output policy, compiled rule by rule, and is linked to the segments
// that name it.
#include <utility>
#include <vector>

#include "Firewall/RootSm.h"
#include "Firewall/RuleId.h"
#include "Firewall/SegmentLinks.h"
#include "Firewall/Sources.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/Deferred.h"

KIV_REACTOR_DEFINE(Firewall::RootSm::PolicySm)

namespace Firewall {

namespace {

// Calls use(config) for each enabled source other than `own`.
template <class Use>
void eachOtherSource(const Kiv::Dir& fwConfigDir, const Config& own, const Use& use) {
  anySource(fwConfigDir, [&](const Pith::String& /*name*/, const Config::PtrConst& config) {
    if (config.get() != &own && config->enabled()) use(*config);
    return false;
  });
}

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
  Kiv::Deferred steps;
  const auto deleteThose = [&](std::uint32_t seqnum) {
    steps.run([&] { rootSm.deletePolicyRules(policy, seqnum); });
  };
  for (const auto& rule : fwPolicy->rule()) deleteThose(ruleSeqnum(rule.key));
  for (const auto& rule : fwPolicy->serviceRule()) deleteThose(rule.key);
  steps.rethrow();
}

// Nobody configures the segments that a source left behind when it was disabled: they are unlinked
// here from the policy, which is about to leave. Walks all segments where somebody still refers to
// it.
void clearFallbacks(HwConfig& hwConfig, const Pith::String& policyName, Kiv::Deferred& steps) {
  const FwPolicy::Ptr gone = hwConfig.policy(policyName);
  constexpr std::uint32_t unlinked = 2;  // the collection's use, and the one here
  if (!gone || gone->useCount() == unlinked) return;
  const auto clearIn = [&](FwSegmentDir& directory) {
    for (Pith::Ptr<FwSegment> segment : directory.segment()) {
      if (segment->fallbackPolicy() == gone) steps.run([&] { deleteFallbackPolicy(segment); });
    }
  };
  for (Pith::Ptr<FwVrf> vrf : hwConfig.vrf()) clearIn(*vrf);
  if (const auto l2Seg = hwConfig.l2Seg()) clearIn(*l2Seg);
}

}  // namespace

void RootSm::handlePolicy() {
  static constexpr Twinlog::Function fn("void Firewall::RootSm::handlePolicy()");
  TWINLOG_FN(facility, 8, fn, ": ");
  if (!initialized_) return;
  Kiv::Deferred steps;
  for (Policy::PtrConst inPolicy : inConfig->policy()) {
    steps.run([&] { handlePolicy(inPolicy->name()); });
  }
  TWINLOG_FN(facility, 7, fn, " return");
  steps.rethrow();
}

void RootSm::handlePolicy(const Pith::String& name) {
  static constexpr Twinlog::Function fn("void Firewall::RootSm::handlePolicy(const String&)");
  TWINLOG_FN(facility, 8, fn, ": %s", name);
  if (!initialized_) return;
  // The segments of other sources can name the policy too.
  const auto eachLinkedDir = [this](const auto& use) {
    eachSegmentDir(*inConfig, *outFirewallConfig, use);
    eachOtherSource(*fwConfigDir, *inConfig,
                    [&](const Config& other) { eachSegmentDir(other, *outFirewallConfig, use); });
  };
  Kiv::Deferred steps;
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
    clearFallbacks(*outFirewallConfig, name, steps);
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
  steps.rethrow();
}

// The policies of that name in the other enabled sources, in the directory's order.
std::vector<Pith::Ptr<const Policy>> RootSm::policiesOfOtherSources(
    const Pith::String& name) const {
  std::vector<Policy::PtrConst> policies;
  eachOtherSource(*fwConfigDir, *inConfig, [&](const Config& other) {
    if (auto policy = other.policy(name)) policies.push_back(std::move(policy));
  });
  return policies;
}

// The policy left this source but not all: its rules are made anew from those that have it.
void RootSm::compileInstead(const std::vector<Pith::Ptr<const Policy>>& policies) {
  Kiv::Deferred steps;
  steps.run([&] { deleteRules(*this, policies.front()); });
  for (const Policy::PtrConst& policy : policies) steps.run([&] { handlePolicyRules(policy); });
  steps.rethrow();
}

void RootSm::handlePolicyRules(const Pith::Ptr<const Policy>& inPolicy) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::handlePolicyRules(const PtrConst&)");
  TWINLOG_FN(facility, 8, fn, ": %s", inPolicy);
  if (!initialized_) return;
  const Pith::Ptr<const Policy> policy = inPolicy;
  Kiv::Deferred steps;
  for (const auto& rule : policy->rule()) {
    const std::uint32_t seqnum = rule.key;
    steps.run([&] { handlePolicyRule(policy, seqnum); });
  }
  TWINLOG_FN(facility, 7, fn, " return");
  steps.rethrow();
}

void RootSm::handlePolicyRule(const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::handlePolicyRule(const PtrConst&, U32)");
  TWINLOG_FN(facility, 8, fn, ": %s, %s", inPolicy, seqnum);
  if (!initialized_) return;
  const Pith::Ptr<const Policy> policy = inPolicy;
  if (!outFirewallConfig->policyHas(policy->name())) {
    TWINLOG(facility, 3, fn, "Policy %s not found", policy->name());
    return;
  }
  Kiv::Deferred steps;
  steps.run([&] { deletePolicyRules(policy, seqnum); });
  if (policy->ruleHas(seqnum)) steps.run([&] { addPolicyRulesAll(policy, seqnum); });
  steps.run([&] {
    if (!serviceOfRule(*policy, seqnum)) compileRuleInstead(policy->name(), seqnum);
  });
  TWINLOG_FN(facility, 7, fn, " return");
  steps.rethrow();
}

void RootSm::addPolicyRulesAll(const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum) {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::addPolicyRulesAll(const PtrConst&, U32)");
  TWINLOG_FN(facility, 8, fn, ": %s, %s", inPolicy, seqnum);
  if (!initialized_) return;
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
  Kiv::Deferred steps;
  for (const Policy::PtrConst& other : policiesOfOtherSources(policyName)) {
    if (serviceOfRule(*other, seqnum)) steps.run([&] { handlePolicyRule(other, seqnum); });
  }
  steps.rethrow();
}

void RootSm::PolicySm::handleNotifier() { owner().handlePolicyRules(notifier()); }

void RootSm::PolicySm::onAttribute(Pith::FieldId field, const void* key,
                                   const Pith::Change* /*change*/) {
  if (field != Policy::ruleField) return;
  owner().handlePolicyRule(notifier(), *static_cast<const std::uint32_t*>(key));
}

}  // namespace Firewall
