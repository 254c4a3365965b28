// Which segments of the output use a class map: an index beside FwSegment.className.
//
//   ClassPlace place;
//   while (const auto user = hwConfig.classUser(name, place)) {
//     place = user->place;
//     bind(*user->segment);                      // may change the index
//   }
//
// HwConfig owns the index of its VRFs' segments, the L2 segment directory one of its own; the
// segments and their directories keep them. A segment without a class map is in none.
#pragma once

#include <compare>
#include <cstdint>
#include <limits>

#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"
#include "model/Firewall/NameIndex.h"

namespace Firewall {

class PITH_EXPORT FwSegment;

// Orders the users of a class map: VRFs as their collection does, segments by name, L2 last.
struct ClassPlace {
  static constexpr std::uint64_t l2 = std::numeric_limits<std::uint64_t>::max();

  static ClassPlace beforeL2() { return {l2 - 1, {}}; }

  std::uint64_t directory = 0;
  Pith::String segment;

  friend auto operator<=>(const ClassPlace&, const ClassPlace&) = default;
};

struct ClassUser {
  ClassPlace place;
  Pith::Ptr<FwSegment> segment;

  bool isL2() const noexcept { return place.directory == ClassPlace::l2; }
};

using ClassUsers = NameIndex<ClassPlace, FwSegment>;

}  // namespace Firewall
