// The trace facility of this module; see framework/Twinlog/Twinlog.h for the macros.
#pragma once

#include "framework/Twinlog/Twinlog.h"

namespace Firewall {

inline constinit Twinlog::Facility facility("Firewall/FirewallConfigSm");

}  // namespace Firewall
