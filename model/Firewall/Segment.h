// Segments as the operator configures them, and the directories that hold them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "framework/Kiv/Entity.h"
#include "framework/Lanx/Prefix.h"
#include "framework/Pith/String.h"
#include "model/Firewall/ChoiceWatch.h"
#include "model/Firewall/GlobalPrefixes.h"
#include "model/Firewall/ListSource.h"
#include "model/Firewall/NameIndex.h"

namespace Firewall {

class SegmentDir;

class PITH_EXPORT Segment : public Kiv::Entity {
 public:
  // An entry of `policy`: the from-segment's name and the name of the policy for traffic from
  // there.
  using KivPolicy = Kiv::MapEntry<Pith::String, Pith::String>;

  KIV_ENTITY(Segment, Kiv::Entity)
  KIV_KEY(Segment, Pith::String, name)
  KIV_VALUE(Pith::String, className)  // the class map with its interfaces
  KIV_ORDERED_MAP_INDEXED(Pith::String, Pith::String, policy,
                          indexPolicy)                                  // from-segment to policy
  KIV_VALUE_INDEXED(Pith::String, fallbackPolicy, indexFallbackPolicy)  // empty: none
  KIV_VALUE_INDEXED(ListSource, prefixIpv4Ml, tellIpv4Choice)
  KIV_VALUE_INDEXED(ListSource, prefixIpv6Ml, tellIpv6Choice)

  // Joins those that hear at once of another choice of lists.
  void choiceWatchIs(ChoiceWatch& watch) const noexcept { choiceWatches_.join(watch); }

 private:
  friend class SegmentDir;

  // Keep the SegmentDir's index of who names which from-segments and policies.
  void indexPolicy(const Pith::String& from, const Pith::String* previous,
                   const Pith::String* current);
  void indexFallbackPolicy(const Pith::String& previous, const Pith::String& current);
  void tellIpv4Choice(const ListSource& /*previous*/, const ListSource& /*current*/) {
    choiceWatches_.tell(Lanx::AddressFamily::ipv4);
  }
  void tellIpv6Choice(const ListSource& /*previous*/, const ListSource& /*current*/) {
    choiceWatches_.tell(Lanx::AddressFamily::ipv6);
  }

  // In the order of the SegmentDir's segments. The SegmentDir sets it when the segment joins them.
  mutable std::uint64_t place_ = 0;
  mutable ChoiceWatches choiceWatches_;
};

class PITH_EXPORT SegmentDir : public Kiv::Entity {
  KIV_ENTITY(SegmentDir, Kiv::Entity)
  KIV_KEY(SegmentDir, Pith::String, name)
  KIV_CHILDREN_INDEXED(Pith::String, Segment, segment, indexSegment)

  struct Dependent {
    std::uint64_t place;  // in the order of `segment`
    Pith::Ptr<const Segment> segment;
  };
  // The first segment behind `place` (0: the first of all) that names `from` as a from-segment, or
  // `policy` as the policy for one or as its fallback policy; or none. An empty name is no name.
  // Costs O(log of those); the directory may change between two calls.
  std::optional<Dependent> segmentNaming(const Pith::String& from, const Pith::String& policy,
                                         std::uint64_t place) const;

 private:
  friend class Segment;
  using Mentions = NameIndex<std::uint64_t, const Segment>;

  static void update(Mentions& mentions, const Segment& segment, const Pith::String* previous,
                     const Pith::String* current);
  void indexSegment(const Pith::String& key, const Segment* previous, const Segment* current);

  Mentions fromSegments_;
  Mentions policies_;
  std::uint64_t lastPlace_ = 0;
};

class PITH_EXPORT Vrf : public SegmentDir {
  KIV_ENTITY(Vrf, SegmentDir)
  using SegmentDir::SegmentDir;
  KIV_MAP_INDEXED(Lanx::IpGenPrefix, Pith::String, prefix, indexPrefix)  // global prefix to segment

  // The global prefixes that name the segment, in the order of `prefix`. Costs what it returns.
  std::vector<Lanx::IpGenPrefix> prefixesNaming(const Pith::String& segment) const {
    return globalPrefixes_.named(segment);
  }

 private:
  void indexPrefix(const Lanx::IpGenPrefix& prefix, const Pith::String* previous,
                   const Pith::String* current) {
    globalPrefixes_.update(prefix, previous, current);
  }

  GlobalPrefixes globalPrefixes_;
};

}  // namespace Firewall
