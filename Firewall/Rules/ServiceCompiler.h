// Follows the compiled services: keeps their status, and compiles the rules that name one anew when
// it changed.
#pragma once

#include "Firewall/Attributes.h"
#include "Firewall/Rules/PolicyCompiler.h"
#include "Firewall/Rules/RuleWriter.h"
#include "Firewall/Stage.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"

namespace Firewall {

class ServiceCompiler {
 public:
  // The arguments must outlive this object.
  ServiceCompiler(const RootSmAttributes& at, const Stage& stage, const RuleWriter& rules,
                  const PolicyCompiler& policies) noexcept
      : at_(at), stage_(stage), rules_(rules), policies_(policies) {}

  void handleService(const Pith::String& name) const;
  void handleServiceChange(const Pith::Ptr<const FwService>& fwService) const;
  void deleteServicePolicyRules(const Pith::String& name) const;

 private:
  void compileRulesInstead(const Pith::String& service) const;

  const RootSmAttributes& at_;
  const Stage& stage_;
  const RuleWriter& rules_;
  const PolicyCompiler& policies_;
};

}  // namespace Firewall
