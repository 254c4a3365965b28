// An IP protocol number (IANA "Protocol Numbers"). Rules carry ports for TCP and UDP alone.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "framework/Kiv/Optional.h"
#include "framework/Kiv/Text.h"

namespace Firewall {

class Protocol {
 public:
  using Optional = Kiv::Optional<Protocol>;
  static constexpr std::uint8_t tcp = 6;
  static constexpr std::uint8_t udp = 17;

  constexpr Protocol() noexcept = default;
  constexpr explicit Protocol(std::uint8_t value) noexcept : value_(value) {}

  constexpr std::uint8_t value() const noexcept { return value_; }
  constexpr bool hasPorts() const noexcept { return value_ == tcp || value_ == udp; }

  friend constexpr auto operator<=>(Protocol, Protocol) = default;
  void appendTo(std::string& out) const { Kiv::appendText(out, value_); }
  static Protocol parse(std::string_view text) {
    return Protocol(Kiv::strepToValue<std::uint8_t>(text));
  }

 private:
  std::uint8_t value_ = 0;
};

}  // namespace Firewall
