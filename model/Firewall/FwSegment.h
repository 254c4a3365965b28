// Segments as the hardware takes them: their subnets and interfaces, and which policy applies to
// traffic from which other segment.
#pragma once

#include <cstdint>
#include <optional>

#include "framework/Kiv/Entity.h"
#include "framework/Lanx/IntfId.h"
#include "framework/Lanx/IpAddrWithMask.h"
#include "framework/Lanx/Prefix.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"
#include "model/Firewall/ClassUsers.h"
#include "model/Firewall/FwPolicy.h"
#include "model/Firewall/Range.h"
#include "model/Firewall/SubnetHolders.h"

namespace Firewall {

class PITH_EXPORT FwSegment;

// Traffic from `segment` is judged by `policy`.
struct FwFromSegment {
  Pith::Ptr<FwSegment> segment;
  Pith::Ptr<FwPolicy> policy;
  KIV_FIELDS(segment, policy)
  bool operator==(const FwFromSegment&) const = default;
};

// An interface of a segment; without ranges the whole interface.
class PITH_EXPORT FwIntfVlanRangeSet : public Kiv::Entity {
  KIV_ENTITY(FwIntfVlanRangeSet, Kiv::Entity)
  KIV_KEY(FwIntfVlanRangeSet, Lanx::IntfId, intfId)
  KIV_VALUE(Pith::String, className)  // the class map that bound it
  KIV_SET(VlanRange, vlanRange)
};

class PITH_EXPORT FwSegment : public Kiv::Entity {
  KIV_ENTITY(FwSegment, Kiv::Entity)
  KIV_KEY(FwSegment, Pith::String, name)
  KIV_MAP_INDEXED(Lanx::IpGenAddrWithMask, bool, subnets, indexSubnet)
  KIV_CHILDREN(Lanx::IntfId, FwIntfVlanRangeSet, intfVlanRangeSet)
  KIV_MAP_INDEXED(Pith::String, FwFromSegment, fromSegment, indexFromSegment)
  KIV_VALUE(Pith::Ptr<FwPolicy>, fallbackPolicy)  // when no from-segment matches
  KIV_VALUE_INDEXED(Pith::String, className, indexClassName)

  // The first segment by name, behind `after` when one is given, that has this one as a
  // from-segment, under whatever name; or none. Costs O(log of those); they may change between two
  // calls.
  std::optional<Pith::String> receiver(const std::optional<Pith::String>& after) const;

  Pith::Ptr<FwIntfVlanRangeSet> intfVlanRangeSetIs(const Pith::String& boundBy,
                                                   const Lanx::IntfId& intf) {
    auto entry = intfVlanRangeSetIs(intf);
    entry->classNameIs(boundBy);
    return entry;
  }

 private:
  // In the VRF that the segment is in.
  void indexSubnet(const Lanx::IpGenAddrWithMask& subnet, const bool* previous,
                   const bool* current);
  // At the segments that this one receives from.
  void indexFromSegment(const Pith::String& from, const FwFromSegment* previous,
                        const FwFromSegment* current);
  // Among the users of class maps.
  void indexClassName(const Pith::String& previous, const Pith::String& current);

  friend class FwSegmentDir;
  void receiverAdd(const Pith::String& segment);
  void receiverRemove(const Pith::String& segment) noexcept;

  Kiv::OrderedValueMap<Pith::String, std::uint32_t> receivers_;  // how many links each has
};

class PITH_EXPORT FwSegmentDir : public Kiv::Entity {
  KIV_ENTITY(FwSegmentDir, Kiv::Entity)
  KIV_KEY(FwSegmentDir, Pith::String, name)
  KIV_ORDERED_CHILDREN_INDEXED(Pith::String, FwSegment, segment, index)

 private:
  friend class FwSegment;
  friend class HwConfig;

  void index(const Pith::String& name, const FwSegment* previous, const FwSegment* current) {
    if (previous != nullptr) unindex(*previous);
    indexSegment(name, previous, current);
  }
  // A segment has gone from the indexes of the class maps' users and of receivers.
  void unindex(const FwSegment& gone) noexcept;
  // The index, or null for none, and the place of this directory in it.
  virtual ClassUsers* classUsers() noexcept { return &l2ClassUsers_; }
  virtual std::uint64_t order() const noexcept { return ClassPlace::l2; }
  // A segment comes, without anything in it, or has gone.
  virtual void indexSegment(const Pith::String& /*name*/, const FwSegment* /*previous*/,
                            const FwSegment* /*current*/) {}

  ClassUsers l2ClassUsers_;
};

class PITH_EXPORT FwVrf : public FwSegmentDir {
  KIV_ENTITY(FwVrf, FwSegmentDir)
  using FwSegmentDir::FwSegmentDir;
  KIV_MAP(Lanx::IpGenPrefix, Pith::String, prefixList)  // prefix to the segment that owns it

  // The segment with the smallest name, or with the smallest other than `except`, that has the
  // subnet, host bits and all, among its `subnets`; null when there is none. O(1) for a subnet that
  // one segment has.
  Pith::Ptr<const FwSegment> segmentHolding(const Lanx::IpGenAddrWithMask& subnet) const {
    return subnetHolders_.first(subnet);
  }
  Pith::Ptr<const FwSegment> segmentHolding(const Lanx::IpGenAddrWithMask& subnet,
                                            const Pith::String& except) const {
    return subnetHolders_.first(subnet, except);
  }

 private:
  friend class FwSegment;
  friend class HwConfig;
  ClassUsers* classUsers() noexcept override;
  std::uint64_t order() const noexcept override { return order_; }
  static std::uint64_t nextOrder() noexcept;
  void indexSegment(const Pith::String& name, const FwSegment* previous,
                    const FwSegment* current) override;

  SubnetHolders subnetHolders_;
  const std::uint64_t order_ = nextOrder();  // rises as the VRFs of a HwConfig were made
};

}  // namespace Firewall
