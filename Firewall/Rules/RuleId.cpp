#include "Firewall/Rules/RuleId.h"

#include "Firewall/Trace.h"

namespace Firewall {

std::uint32_t computeRuleId(std::uint32_t seqnum, std::uint32_t index) {
  FIREWALL_ENTRY("U32 Firewall::computeRuleId(U32, U32)", ": %s, %s", seqnum, index);
  if (seqnum <= maxRuleSeqnum && index <= maxRuleIndex) return seqnum << ruleIndexBits | index;
  TWINLOG(facility, 3, fn, "Failed to compute ruleId: value exceeded");
  return 0;
}

}  // namespace Firewall
