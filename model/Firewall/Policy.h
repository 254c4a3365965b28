// Policies as the operator configures them: rules in the order of their sequence numbers.
#pragma once

#include <cstdint>

#include "framework/Kiv/Entity.h"
#include "framework/Lanx/IpAddr.h"
#include "framework/Pith/String.h"
#include "model/Firewall/Enums.h"

namespace Firewall {

class Config;

struct PolicyRule {
  Pith::String service{};
  Action action = Action::drop;
  bool log = false;
  Lanx::IpGenAddr nexthop{};  // where `redirect` sends
  KIV_FIELDS(service, action, log, nexthop)
  bool operator==(const PolicyRule&) const = default;
};

class PITH_EXPORT Policy : public Kiv::Entity {
  KIV_ENTITY(Policy, Kiv::Entity)
  KIV_KEY(Policy, Pith::String, name)
  KIV_ORDERED_MAP_INDEXED(std::uint32_t, PolicyRule, rule, indexRule)  // by sequence number

 private:
  friend class Config;

  // Keeps the Config's index of the services that rules name.
  void indexRule(std::uint32_t seqnum, const PolicyRule* previous, const PolicyRule* current);

  // In the order of the Config's policies. The Config sets it when the policy joins them.
  mutable std::uint64_t place_ = 0;
};

}  // namespace Firewall
