// Which segment a subnet belongs to.
//
// A subnet stands in its segment's own list and, where the hardware takes one, in the VRF-wide
// list, which gives each prefix to exactly one segment. A global prefix of the configuration always
// wins. Among the segments whose lists claim a subnet, the first keeps it while it lasts; when a
// claim is withdrawn, whosesoever, the segment with the smallest name that still holds the subnet
// inherits it.
//
// The local list keeps host bits, the VRF-wide one does not: 10.0.0.1/24 is claimed as 10.0.0.0/24,
// and only a segment that holds 10.0.0.0/24 itself inherits that.
//
// An exception from a subscriber reaches the caller when both lists are written.
#pragma once

#include <optional>

#include "Firewall/Prefixes/MatchListConfigPathSm.h"
#include "Firewall/Prefixes/VrfSources.h"
#include "framework/Kiv/Dir.h"
#include "framework/Lanx/IpAddrWithMask.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/Ptr.h"
#include "model/L3/VrfName.h"

namespace Firewall {

// The list of `sm`'s segment gained, or lost, the subnet.
PITH_EXPORT void addMatchListConfiguredSubnet(const Pith::Ptr<MatchListConfigPathSm>& sm,
                                              const Lanx::IpGenAddrWithMask& subnet);
PITH_EXPORT void removeMatchListConfiguredSubnet(const Pith::Ptr<MatchListConfigPathSm>& sm,
                                                 const Lanx::IpGenAddrWithMask& subnet);

// Whether any source has the subnet as a global prefix of the VRF.
PITH_EXPORT bool isGloballyConfigured(const Pith::Ptr<const Kiv::Dir>& fwConfigDir,
                                      const L3::VrfName& vrf,
                                      const Lanx::IpGenAddrWithMask& subnet);

// Does what addMatchListConfiguredSubnet() and removeMatchListConfiguredSubnet() do, for a run of
// subnets of one segment. Where the hardware takes a VRF-wide list, the sources' VRFs are looked up
// once, and again when they changed during the run.
class SubnetClassification {
 public:
  // Whether there is one subnet to classify, or a run of them.
  enum class Subnets { one, many };

  explicit SubnetClassification(const MatchListConfigPathSm& sm, Subnets subnets = Subnets::many);

  void add(const Lanx::IpGenAddrWithMask& subnet);
  void remove(const Lanx::IpGenAddrWithMask& subnet);

 private:
  // Whether the segments' lists decide who owns the prefix VRF-wide: not when it is a global
  // prefix, nor where there is no VRF-wide list.
  bool ownsVrfWide(const Lanx::IpGenPrefix& prefix);
  // The VRF-wide list gives the prefix to the first other segment that holds it, or to none.
  void giveToHeir(const Lanx::IpGenPrefix& prefix);
  // The same where the list gives the prefix to this segment and the lists may write it.
  void disown(const Lanx::IpGenPrefix& prefix);

  const MatchListConfigPathSm& sm_;
  const MatchListConfigPathSmAttributes& at_;
  std::optional<VrfOfSources> vrfs_;  // for a run, and not in the L2 segment directory
};

}  // namespace Firewall
