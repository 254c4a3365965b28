// The index of the rules that name a service.
#include "model/Firewall/Config.h"

namespace Firewall {

std::optional<Config::RuleOfService> Config::ruleOfService(const Pith::String& service,
                                                           const RulePlace& place) const {
  const auto* const use = rulesOfServices_.after(service, place);
  if (use == nullptr) return std::nullopt;
  return RuleOfService{use->place, Pith::Ptr<const Policy>(use->target)};
}

void Config::indexPolicy(const Pith::String& /*key*/, const Policy* previous,
                         const Policy* current) {
  if (current != nullptr) current->place_ = ++lastPlace_;
  if (previous == nullptr) return;
  for (const auto& [seqnum, rule] : previous->rule()) {
    rulesOfServices_.remove(rule.service, {previous->place_, seqnum});
  }
}

void Policy::indexRule(std::uint32_t seqnum, const PolicyRule* previous,
                       const PolicyRule* current) {
  auto* const config = dynamic_cast<Config*>(parent());
  if (config == nullptr) return;
  if (previous != nullptr && current != nullptr && previous->service == current->service) return;
  const Config::RulePlace place{place_, seqnum};
  if (current != nullptr) config->rulesOfServices_.add(current->service, place, *this);
  if (previous != nullptr) config->rulesOfServices_.remove(previous->service, place);
}

}  // namespace Firewall
