// The firewall configuration of one source: what one client of the switch asks for. All sources are
// entries of one directory, under their names, and those that are enabled are merged.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>

#include "framework/Kiv/Entity.h"
#include "framework/Pith/String.h"
#include "model/Firewall/ClassMap.h"
#include "model/Firewall/Enums.h"
#include "model/Firewall/NameIndex.h"
#include "model/Firewall/Policy.h"
#include "model/Firewall/Segment.h"
#include "model/L3/VrfName.h"

namespace Firewall {

class PITH_EXPORT Config : public Kiv::Entity {
  KIV_ENTITY(Config, Kiv::Entity)
  KIV_KEY(Config, Pith::String, name)
  KIV_CHILDREN(Pith::String, ClassMapFirewall, classMap)
  KIV_CHILDREN_INDEXED(Pith::String, Policy, policy, indexPolicy)
  KIV_CHILDREN_INDEXED(L3::VrfName, Vrf, vrf, countVrfChange)
  KIV_CHILD(SegmentDir, l2SegmentDir)
  KIV_VALUE(bool, enabled)
  KIV_VALUE(ForwardingTypeMatch, forwardType)
  KIV_VALUE(DefaultPolicy, defaultPolicy)

  // Where a rule stands in a walk over all policies and the rules of each; the default is before
  // all.
  struct RulePlace {
    std::uint64_t policy = 0;
    std::uint32_t seqnum = 0;
    friend auto operator<=>(const RulePlace&, const RulePlace&) = default;
  };
  struct RuleOfService {
    RulePlace place;
    Pith::Ptr<const Policy> policy;
  };
  // The first rule behind `place` that names the service, or none. Costs O(log rules of the
  // service); the configuration may change between two calls.
  std::optional<RuleOfService> ruleOfService(const Pith::String& service,
                                             const RulePlace& place) const;

  // Another one after each VRF that came or went: who has looked one up knows by it whether it is
  // still the same.
  std::uint64_t vrfVersion() const noexcept { return vrfVersion_; }

 private:
  friend class Policy;

  void indexPolicy(const Pith::String& key, const Policy* previous, const Policy* current);

  void countVrfChange(const L3::VrfName& /*key*/, const Vrf* /*previous*/, const Vrf* /*current*/) {
    ++vrfVersion_;
  }

  NameIndex<RulePlace, const Policy> rulesOfServices_;
  std::uint64_t lastPlace_ = 0;
  std::uint64_t vrfVersion_ = 0;
};

}  // namespace Firewall
