// A compiled policy: the hardware's rules, in the order in which it tries them.
#pragma once

#include <cstdint>

#include "framework/Kiv/Entity.h"
#include "framework/Lanx/IpAddr.h"
#include "framework/Lanx/Prefix.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"
#include "model/Firewall/Enums.h"
#include "model/Firewall/FwService.h"
#include "model/Firewall/Protocol.h"
#include "model/Firewall/Range.h"

namespace Firewall {

// One combination of prefixes, protocol and ports; an unset prefix or protocol matches all.
struct FwRule {
  std::uint32_t seqnum = 0;
  Lanx::IpGenPrefix sip;
  Lanx::IpGenPrefix dip;
  Protocol::Optional protocol;
  PortRange dstPort;
  PortRange srcPort;
  Action action = Action::drop;
  bool log = false;
  Lanx::IpGenAddr nexthop{};
  KIV_FIELDS(seqnum, sip, dip, protocol, dstPort, srcPort, action, log, nexthop)
  bool operator==(const FwRule&) const = default;
};

// A rule that the hardware expands itself.
struct FwServiceRule {
  Pith::Ptr<const FwService> service;
  Action action = Action::drop;
  bool log = false;
  Lanx::IpGenAddr nexthop{};
  KIV_FIELDS(service, action, log, nexthop)
  bool operator==(const FwServiceRule&) const = default;
};

class PITH_EXPORT FwPolicy : public Kiv::Entity {
  KIV_ENTITY(FwPolicy, Kiv::Entity)
  KIV_KEY(FwPolicy, Pith::String, name)
  KIV_ORDERED_MAP(std::uint32_t, FwRule, rule)                // by rule identifier
  KIV_ORDERED_MAP(std::uint32_t, FwServiceRule, serviceRule)  // by sequence number
};

}  // namespace Firewall
