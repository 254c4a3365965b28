#include "model/Firewall/Range.h"

namespace Firewall {
namespace Impl {

RangeText splitRange(std::string_view text) {
  const std::size_t dash = text.find('-');
  if (dash == std::string_view::npos) return {text, text};
  return {text.substr(0, dash), text.substr(dash + 1)};
}

void appendRange(std::string& out, std::uint16_t start, std::uint16_t end) {
  Kiv::appendText(out, start);
  if (start == end) return;
  out.push_back('-');
  Kiv::appendText(out, end);
}

}  // namespace Impl

PortRange PortRange::parse(std::string_view text) {
  const auto [start, end] = Impl::splitRange(text);
  return {Kiv::strepToValue<std::uint16_t>(start), Kiv::strepToValue<std::uint16_t>(end)};
}

ProtocolRange ProtocolRange::parse(std::string_view text) {
  const auto [start, end] = Impl::splitRange(text);
  return {Kiv::strepToValue<std::uint8_t>(start), Kiv::strepToValue<std::uint8_t>(end)};
}

VlanRange VlanRange::parse(std::string_view text) {
  const auto [first, second] = Impl::splitRange(text);
  return {Kiv::strepToValue<std::uint16_t>(first), Kiv::strepToValue<std::uint16_t>(second)};
}

}  // namespace Firewall
