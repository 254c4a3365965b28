// The configuration sources: the entries of the configuration directory that are a
// Firewall::Config.
#pragma once

#include "framework/Kiv/Dir.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"
#include "model/Firewall/Config.h"

namespace Firewall {

// Calls visit(name, config) for each source in the directory's order, until it returns true;
// returns whether it did.
template <class Visit>
bool anySource(const Kiv::Dir& fwConfigDir, const Visit& visit) {
  for (auto entry = fwConfigDir.entityPtrIteratorConst(); entry; ++entry) {
    const auto config = Pith::dynamicPtrCast<const Config>(entry.ptr());
    if (config && visit(entry.key(), config)) return true;
  }
  return false;
}

}  // namespace Firewall
