// A VLAN id, 1 to 4094 (IEEE 802.1Q, where 0 and 4095 are reserved). Any other value raises the
// range error "Bridging::VlanId::value < 1 or > 4094 not allowed".
#pragma once

#include <compare>
#include <cstdint>

#include "framework/Pith/RangeException.h"

namespace Bridging {

class VlanId {
 public:
  static constexpr std::uint16_t min = 1;
  static constexpr std::uint16_t max = 4094;

  explicit VlanId(std::uint16_t value) : value_(value) {
    if (value < min || value > max) {
      Pith::RangeException::throwException("Bridging::VlanId::value < 1 or > 4094");
    }
  }

  std::uint16_t value() const noexcept { return value_; }
  friend auto operator<=>(const VlanId&, const VlanId&) = default;

 private:
  std::uint16_t value_;
};

}  // namespace Bridging
