// How the class maps that define segments are named.
//
//   vrfSegmentClassMap("red", "web")               // "__VRF_red_segment_web"
//   l2SegmentClassMap("lab")                       // "__segment_lab"
//   vrfNameOf("__VRF_red_segment_web")             // "red"
//
// The VRF's name ends at the first "_segment_", so that a VRF whose own name holds that text is not
// found again. A name of neither form is a mistake of whoever made it, and ends the process where
// the form is needed.
#pragma once

#include "framework/Lanx/IntfId.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"
#include "model/Ip/Status.h"
#include "model/L3/VrfName.h"

namespace Firewall {

PITH_EXPORT Pith::String vrfSegmentClassMap(const L3::VrfName& vrf, const Pith::String& segment);
PITH_EXPORT Pith::String l2SegmentClassMap(const Pith::String& segment);

// Whether the interfaces of the class map are bound with their VLAN ranges: its name begins with
// "__segment_".
PITH_EXPORT bool isL2ClassMap(const Pith::String& className) noexcept;

// Of a name that holds "__VRF_". RangeException when it is longer than a VRF's name may be.
PITH_EXPORT L3::VrfName vrfNameOf(const Pith::String& className);

// Whether the interface may be bound by the class map: to a segment of a VRF when it is routed in
// that VRF, to an L2 segment always.
PITH_EXPORT bool doCheckIntfInVrf(const Pith::String& cmapName, const Lanx::IntfId& intf,
                                  const Pith::Ptr<const Ip::Status>& ipStatus);

}  // namespace Firewall
