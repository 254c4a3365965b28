// What binds an interface to a segment, for a whole class map and for a single interface alike.
#pragma once

#include "framework/Lanx/IntfId.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"
#include "model/Firewall/ClassMap.h"
#include "model/Firewall/FwSegment.h"
#include "model/Ip/Status.h"

namespace Firewall {

// Binds the whole interface to a segment of a VRF when it is routed in the class map's VRF, and
// unbinds it otherwise. Returns what is bound, or null. The process ends where ClassMapName.h says
// so.
Pith::Ptr<FwIntfVlanRangeSet> bindVrfIntf(const Pith::Ptr<FwSegment>& fwSegment,
                                          const Pith::String& className, const Lanx::IntfId& intf,
                                          const Pith::Ptr<const Ip::Status>& ipStatus);

// Binds the interface to an L2 segment with the VLAN ranges of the data. When the data is null, the
// interface keeps the ranges that it has.
void bindL2Intf(const Pith::Ptr<FwSegment>& fwSegment, const Pith::String& className,
                const Lanx::IntfId& intf, const Pith::Ptr<const IntfVlanRangeSet>& intfVlanData);

// The VLAN ranges of a bound interface, as hardware matches them: each configured range is split
// into aligned blocks. Brings the output's in line with the configured ones; deletions come first.
// The process ends when the interface is not bound. RangeException when a block begins or ends at
// no VLAN id; the output is then as it was.
void updateVlanSet(const Pith::Ptr<FwSegment>& fwSegment,
                   const Pith::Ptr<const IntfVlanRangeSet>& intfVlanData);

}  // namespace Firewall
