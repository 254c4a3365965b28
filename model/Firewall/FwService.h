// A compiled service: what an application matches, as the hardware rules are made from it.
#pragma once

#include <cstdint>

#include "framework/Kiv/Entity.h"
#include "framework/Lanx/Prefix.h"
#include "framework/Pith/String.h"
#include "model/Classification/AddressFamily.h"
#include "model/Firewall/Range.h"

namespace Firewall {

class PITH_EXPORT FwService : public Kiv::Entity {
  KIV_ENTITY(FwService, Kiv::Entity)
  KIV_KEY(FwService, Pith::String, name)
  KIV_SET(Lanx::IpGenPrefix, srcIpPrefix)
  KIV_SET(Lanx::IpGenPrefix, dstIpPrefix)
  KIV_ORDERED_SET(ProtocolRange, protocol)
  KIV_ORDERED_MAP_INDEXED(std::uint16_t, PortRange, dstPort, checkStart)  // by start
  KIV_ORDERED_MAP_INDEXED(std::uint16_t, PortRange, srcPort, checkStart)  // by start
  KIV_VALUE(Classification::AddressFamily, af)
  KIV_VALUE(std::uint32_t, version)  // raised when the rest is consistent again

  // A range whose start is there already takes its place.
  const PortRange* dstPortIs(const PortRange& range) { return dstPortIs(range.start(), range); }
  const PortRange* srcPortIs(const PortRange& range) { return srcPortIs(range.start(), range); }
  void versionInc(std::uint32_t by) { versionIs(version() + by); }

 private:
  void checkStart(std::uint16_t start, const PortRange* /*previous*/,
                  const PortRange* current) const {
    if (current == nullptr || current->start() == start) return;
    Pith::RangeException::throwException("Firewall::FwService::port key != start");
  }
};

}  // namespace Firewall
