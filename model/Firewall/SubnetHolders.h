// Which segments of a VRF hold a subnet in their own list: an index beside FwSegment.subnets.
//
//   holders.add(subnet, web);
//   holders.add(subnet, backend);
//   holders.first(subnet);                  // backend, the smallest name
//   holders.first(subnet, "backend");       // web
//
// Nearly every subnet has one holder, which stands beside it; the further ones of a shared subnet
// are kept apart. FwVrf owns the index, and FwSegment and FwSegmentDir keep it. It holds no
// references: a segment that leaves is taken out first.
//
// Cost: O(1) for a subnet with one holder, else O(log holders). About 45 bytes a subnet.
#pragma once

#include "framework/Kiv/Collections.h"
#include "framework/Lanx/IpAddrWithMask.h"
#include "framework/Pith/Export.h"
#include "framework/Pith/String.h"

namespace Firewall {

class PITH_EXPORT FwSegment;

class PITH_EXPORT SubnetHolders {
 public:
  // An exception (memory) leaves the index as it was.
  void add(const Lanx::IpGenAddrWithMask& subnet, const FwSegment& segment);
  // Does nothing where the segment is no holder.
  void remove(const Lanx::IpGenAddrWithMask& subnet, const FwSegment& segment) noexcept;

  // The holder with the smallest name, or with the smallest other than `except`; null when there is
  // none.
  const FwSegment* first(const Lanx::IpGenAddrWithMask& subnet) const;
  const FwSegment* first(const Lanx::IpGenAddrWithMask& subnet, const Pith::String& except) const;

  // The memory held beside the object itself, without that of shared subnets.
  std::size_t bytes() const noexcept { return first_.bytes() + others_.bytes(); }

 private:
  struct SegmentName {
    using Key = Pith::String;
    static const Key& key(const FwSegment* segment) noexcept;
  };
  using Segments = Kiv::OrderedMap<const FwSegment*, SegmentName>;

  Kiv::HashMap<Lanx::IpGenAddrWithMask, const FwSegment*>
      first_;                                               // the holder with the smallest name
  Kiv::HashMap<Lanx::IpGenAddrWithMask, Segments> others_;  // of shared subnets, never empty
};

}  // namespace Firewall
