// Compiles policies: each becomes an output policy, rule by rule, and is linked to the segments
// that name it. Sources that have a policy of the same name take turns: where one has no hardware
// rules for a sequence number, the others' are compiled in their place.
#pragma once

#include <cstdint>
#include <vector>

#include "Firewall/Attributes.h"
#include "Firewall/Rules/RuleWriter.h"
#include "Firewall/Stage.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"

namespace Firewall {

class PolicyCompiler {
 public:
  // The arguments must outlive this object.
  PolicyCompiler(const RootSmAttributes& at, const Stage& stage, const RuleWriter& rules) noexcept
      : at_(at), stage_(stage), rules_(rules) {}

  void handlePolicy() const;
  void handlePolicy(const Pith::String& name) const;
  void handlePolicyRules(const Pith::Ptr<const Policy>& inPolicy) const;
  void handlePolicyRule(const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum) const;
  void addPolicyRulesAll(const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum) const;
  // This source has no hardware rules for the sequence number (any more): compiles the rules of the
  // other sources that have some.
  void compileRuleInstead(const Pith::String& policyName, std::uint32_t seqnum) const;

 private:
  std::vector<Pith::Ptr<const Policy>> policiesOfOtherSources(const Pith::String& name) const;
  void compileInstead(const std::vector<Pith::Ptr<const Policy>>& policies) const;
  Pith::Ptr<const FwService> serviceOfRule(const Policy& inPolicy, std::uint32_t seqnum) const;

  const RootSmAttributes& at_;
  const Stage& stage_;
  const RuleWriter& rules_;
};

// Whether the service makes hardware rules. Ports alone match nothing: they need a protocol.
bool hasRules(const FwService& fwService) noexcept;

}  // namespace Firewall
