// The global prefixes of a VRF by the segment that they name: an index beside Vrf.prefix.
//
// A prefix keeps its place among those of a name when it is given to another segment and back: the
// order is that of the prefix collection. Vrf owns and keeps the index.
//
// Cost: O(log prefixes of the name) a change; named() copies what it returns.
#pragma once

#include <cstdint>
#include <vector>

#include "framework/Kiv/Collections.h"
#include "framework/Lanx/Prefix.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/String.h"

namespace Firewall {

class PITH_EXPORT GlobalPrefixes {
 public:
  // The prefix names `current` from now on; null: it leaves. An exception (memory) leaves the index
  // as it was, and there is none where `current` is null.
  void update(const Lanx::IpGenPrefix& prefix, const Pith::String* previous,
              const Pith::String* current);

  // The prefixes that name the segment, in the order in which they came.
  std::vector<Lanx::IpGenPrefix> named(const Pith::String& segment) const;

 private:
  using Place = std::uint64_t;
  using Prefixes = Kiv::OrderedValueMap<Place, Lanx::IpGenPrefix>;

  void link(Place place, const Lanx::IpGenPrefix& prefix, const Pith::String& segment);
  void unlink(Place place, const Pith::String& segment) noexcept;

  Kiv::HashMap<Lanx::IpGenPrefix, Place> places_;
  Kiv::HashMap<Pith::String, Prefixes> named_;  // never empty
  Place next_ = 0;
};

}  // namespace Firewall
