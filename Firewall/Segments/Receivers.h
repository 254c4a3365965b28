// The segments that have another one as a from-segment, whoever linked them: by its name, through
// "forwarding-segments", or for another source.
#pragma once

#include <optional>

#include "Firewall/Segments/SegmentLinks.h"
#include "framework/Kiv/AllSteps.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"
#include "model/Firewall/FwSegment.h"

namespace Firewall {

// Unlinks `gone`, which is about to leave the directory, from each of them.
inline void unlinkReceivers(const Pith::Ptr<FwSegmentDir>& directory, const FwSegment& gone,
                            Kiv::AllSteps& steps) {
  for (auto name = gone.receiver(std::nullopt); name; name = gone.receiver(name)) {
    const Pith::Ptr<FwSegment> receiver = directory->segment(*name);
    if (!receiver) continue;
    steps.run([&] { deleteInterimFromSegment(directory, receiver, gone.name()); });
  }
}

}  // namespace Firewall
