// Which kind of address a value holds. The numbers are fixed: stored values and queries use them.
//
//   Lanx::addressBits(Lanx::AddressFamily::ipv6)   // 128
#pragma once

#include <cstdint>
#include <iosfwd>

#include "framework/Pith/Export.h"

namespace Lanx {

enum class AddressFamily : std::uint8_t { unspecified = 0, ipv4 = 1, ipv6 = 2 };

// The width of an address of the family, which is also its longest prefix length; 0 for
// unspecified.
constexpr std::uint8_t addressBits(AddressFamily family) noexcept {
  return family == AddressFamily::ipv4 ? 32 : family == AddressFamily::ipv6 ? 128 : 0;
}

// "unspecified", "ipv4" or "ipv6"; the number, for a value that is none of them.
PITH_EXPORT std::ostream& operator<<(std::ostream& out, AddressFamily family);

}  // namespace Lanx
