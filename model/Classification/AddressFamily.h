// The address family that an application matches; `unspecified` matches both.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace Classification {

enum class AddressFamily : std::uint8_t { unspecified = 0, ipv4 = 1, ipv6 = 2 };
constexpr std::array<std::string_view, 3> enumNames(AddressFamily /*any*/) {
  return {"unspecified", "ipv4", "ipv6"};
}

}  // namespace Classification
