// How many objects of each type there are: equal before and after something that leaks nothing.
//
//   const auto before = TestSupport::liveCounts();
//   ...
//   EXPECT_EQ(TestSupport::liveCounts(), before);
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "framework/Kiv/AllocTrack.h"

namespace TestSupport {

// Types without an object are left out.
inline std::map<std::string, std::uint64_t> liveCounts() {
  std::map<std::string, std::uint64_t> counts;
  Kiv::AllocTrackTypeInfo::each([&counts](const Kiv::AllocTrackTypeInfo& type) {
    if (type.live() > 0) counts[type.name()] = type.live();
  });
  return counts;
}

}  // namespace TestSupport
