// The trace facility of this module (framework/Twinlog/Twinlog.h has the macros), and how a handler
// begins:
//
//   void VrfSm::handleSegment(const Pith::String& name) {
//     FIREWALL_ENTRY("void Firewall::VrfSm::handleSegment(const String&)", ": %s", name);
//     FIREWALL_ONLY_WHILE(isWorking());
//     ...
//     TWINLOG_FN(facility, 7, fn, " return");
#pragma once

#include <string_view>

#include "framework/Twinlog/Twinlog.h"

namespace Firewall {

inline constinit Twinlog::Facility facility("Firewall/FirewallConfigSm");

}  // namespace Firewall

// The function's signature as the traces show it, known as `fn` from here on, and the trace of the
// entry. The signature is typed, since no two compilers print one alike; that it is this function's
// is checked.
#define FIREWALL_ENTRY(signature, /* text, values */...)                            \
  static constexpr ::Twinlog::Function fn(signature);                               \
  static_assert(fn.shortName == std::string_view(__func__), "another's signature"); \
  TWINLOG_FN(::Firewall::facility, 8, fn, __VA_ARGS__)

// The way out of a handler that has nothing to do yet, or any more.
#define FIREWALL_ONLY_WHILE(isWorking)                     \
  do {                                                     \
    if (!(isWorking)) {                                    \
      TWINLOG_FN(::Firewall::facility, 7, fn, " return "); \
      return;                                              \
    }                                                      \
  } while (false)
