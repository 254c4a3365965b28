// The global prefixes of a VRF: which segment the VRF-wide list gives them to.
//
// The VRF-wide list has two writers: this one, when the configured global prefixes or the segments
// that they name change, and SubnetClassification.h, when the lists of a segment do.
#pragma once

#include <optional>

#include "Firewall/Attributes.h"
#include "Firewall/Stage.h"
#include "framework/Kiv/Collections.h"
#include "framework/Lanx/Prefix.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"

namespace Firewall {

class GlobalPrefixOwners {
 public:
  // The arguments must outlive this object.
  GlobalPrefixOwners(const VrfSmAttributes& at, const Stage& stage) noexcept
      : at_(at), stage_(stage) {}

  void handleGlobalPrefix(const Lanx::IpGenPrefix& prefix) const;
  void processGlobalPrefix(const Pith::Ptr<const Vrf>& vrf, bool configured,
                           const Lanx::IpGenPrefix& prefix) const;
  void processGlobalPrefixesForSegment(const Pith::String& segmentName) const;
  // Gives the prefix to the segment, or takes it out of the VRF-wide list when the output has no
  // such segment.
  void updateOrRemoveGlobalPrefix(const Lanx::IpGenPrefix& prefix,
                                  const Pith::String& segmentName) const;
  // The first segment by name that holds the prefix locally; empty when none does.
  Pith::String getSegmentForMatchListPrefix(const Lanx::IpGenPrefix& prefix) const;
  // The segment that the first enabled source with this global prefix names; empty for none.
  Pith::String getGlobalPrefixSegment(const Lanx::IpGenPrefix& prefix) const;

  // Brings what an earlier run left in line with the configuration.
  void reconcile(FwVrf& fwVrf) const;
  // This source lets go of a global prefix: the first other enabled source with it decides its
  // owner.
  void release(const Lanx::IpGenPrefix& prefix) const;

 private:
  bool takesVrfWideList() const;
  void replay(FwVrf& fwVrf, Kiv::HashSet<Lanx::IpGenPrefix>& leftToLists) const;
  // What the first enabled source with the global prefix names for it; none when no source has it.
  std::optional<Pith::String> namedSegment(const Lanx::IpGenPrefix& prefix) const;
  // The first configured segment that an enabled source names for the prefix; empty for none.
  Pith::String configuredSegment(const Lanx::IpGenPrefix& prefix) const;

  const VrfSmAttributes& at_;
  const Stage& stage_;
};

}  // namespace Firewall
