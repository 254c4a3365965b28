// Writes the hardware rules of a policy rule, and takes them away. It chooses their identifiers,
// and expands a service where the hardware takes no service rules.
#pragma once

#include <cstdint>

#include "Firewall/Attributes.h"
#include "Firewall/Stage.h"
#include "framework/Lanx/Prefix.h"
#include "framework/Pith/Ptr.h"
#include "model/Firewall/Protocol.h"
#include "model/Firewall/Range.h"

namespace Firewall {

class RuleWriter {
 public:
  // The arguments must outlive this object. Nothing is written while the stage is not working.
  RuleWriter(const RootSmAttributes& at, const Stage& stage) noexcept : at_(at), stage_(stage) {}

  // One hardware rule under the next free identifier; false when there is none, or no policy.
  bool addPolicyRule(const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum,
                     const Lanx::IpGenPrefix& sip, const Lanx::IpGenPrefix& dip,
                     Protocol::Optional protocol, PortRange dstPort, PortRange srcPort) const;
  // All that the service stands for: one service rule, or its expansion.
  void addServicePolicyRules(const Pith::Ptr<const FwService>& fwService,
                             const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum) const;
  void deletePolicyRules(const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum) const;
  // Deletes all rules of the output's policy of that name, whichever source they are from.
  void deleteAllRules(const Pith::Ptr<const Policy>& inPolicy) const;

 private:
  class Target;

  bool addPolicyRule(Target& target, const Lanx::IpGenPrefix& sip, const Lanx::IpGenPrefix& dip,
                     Protocol::Optional protocol, PortRange dstPort, PortRange srcPort) const;

  const RootSmAttributes& at_;
  const Stage& stage_;
};

}  // namespace Firewall
