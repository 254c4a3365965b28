// The VLAN ranges of one interface of a segment, as hardware matches them: each configured range is
// split into aligned blocks.
#pragma once

#include "framework/Pith/Ptr.h"
#include "model/Firewall/ClassMap.h"
#include "model/Firewall/FwSegment.h"

namespace Firewall {

// Brings the output's ranges in line with the configured ones; deletions come first. The segment
// has the interface, or the process ends. RangeException when a block begins or ends at no VLAN id;
// the output is then as it was.
void updateVlanSet(const Pith::Ptr<FwSegment>& fwSegment,
                   const Pith::Ptr<const IntfVlanRangeSet>& intfVlanData);

}  // namespace Firewall
