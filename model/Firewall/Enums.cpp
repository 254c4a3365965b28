#include "model/Firewall/Enums.h"

#include <ostream>

#include "framework/Kiv/Text.h"

namespace Firewall {

std::ostream& operator<<(std::ostream& out, Action action) {
  return out << Kiv::valueToStrep(action);
}

void ForwardingTypeMatch::appendTo(std::string& out) const {
  if (flags_ == 0) {
    out.append("none");
  } else if ((flags_ & ~(bridged | routed)) != 0) {
    Kiv::appendText(out, flags_);
  } else {
    if ((flags_ & bridged) != 0) out.append("bridged");
    if (flags_ == (bridged | routed)) out.push_back('|');
    if ((flags_ & routed) != 0) out.append("routed");
  }
}

ForwardingTypeMatch ForwardingTypeMatch::parse(std::string_view text) {
  if (text == "none") return ForwardingTypeMatch();
  if (text == "bridged") return ForwardingTypeMatch(bridged);
  if (text == "routed") return ForwardingTypeMatch(routed);
  if (text == "bridged|routed") return ForwardingTypeMatch(bridged | routed);
  if (!text.empty() && text.front() >= '0' && text.front() <= '9') {
    return ForwardingTypeMatch(Kiv::strepToValue<std::uint8_t>(text));
  }
  Kiv::Impl::throwBadText("forwarding type", text, "none, bridged, routed or bridged|routed");
}

}  // namespace Firewall
