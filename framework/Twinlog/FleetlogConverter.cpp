#include "framework/Twinlog/FleetlogConverter.h"

namespace Twinlog {

void FleetlogConverter::put(const Kiv::TraceStream& text) const {
  if (!facility_.enabled(level_) || !facility_.enabled(Pith::TraceConsumer::recorder, level_))
    return;
  Fleetlog::writeText(facility_, level_, function_, text.view());
}

}  // namespace Twinlog
