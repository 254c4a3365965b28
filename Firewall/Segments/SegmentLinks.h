// The links between a segment's output and other output objects: from which segments it receives
// under which policy, and its fallback policy.
//
// A link can be written only when both ends are in the output. One whose source segment or policy
// is not there yet is left out, and written when the missing end arrives, by the ...All functions.
// Nothing here fails.
#pragma once

#include "framework/Kiv/Dir.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"
#include "model/Firewall/HwConfig.h"
#include "model/Firewall/Segment.h"

namespace Firewall {

// Sets the target's fallback policy, to none when the output has no policy of that name.
PITH_EXPORT void addFallbackPolicy(const Pith::Ptr<HwConfig>& hwConfig,
                                   const Pith::Ptr<FwSegment>& target,
                                   const Pith::String& policyName);
PITH_EXPORT void deleteFallbackPolicy(const Pith::Ptr<FwSegment>& target);

// Writes the link from segment `from`, with the policy that `segment` names for it.
PITH_EXPORT void addInterimFromSegment(const Pith::Ptr<const Segment>& segment,
                                       const Pith::Ptr<HwConfig>& hwConfig,
                                       const Pith::Ptr<FwSegmentDir>& fwSegmentDir,
                                       const Pith::Ptr<FwSegment>& target,
                                       const Pith::String& from);
PITH_EXPORT void deleteInterimFromSegment(const Pith::Ptr<FwSegmentDir>& fwSegmentDir,
                                          const Pith::Ptr<FwSegment>& target,
                                          const Pith::String& from);

// Link or unlink whatever depends on the segment `from` or on the policy; the other one is empty,
// and an empty name matches nothing.
PITH_EXPORT void addInterFromSegAndFbPolicyAll(const Pith::Ptr<const SegmentDir>& segmentDir,
                                               const Pith::Ptr<HwConfig>& hwConfig,
                                               const Pith::Ptr<FwSegmentDir>& fwSegmentDir,
                                               const Pith::String& from,
                                               const Pith::String& policyName);
PITH_EXPORT void deleteInterFromSegAndFbPolicyAll(const Pith::Ptr<const SegmentDir>& segmentDir,
                                                  const Pith::Ptr<HwConfig>& hwConfig,
                                                  const Pith::Ptr<FwSegmentDir>& fwSegmentDir,
                                                  const Pith::String& from,
                                                  const Pith::String& policyName);

}  // namespace Firewall
