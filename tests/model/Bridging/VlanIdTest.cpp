#include "model/Bridging/VlanId.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

using Bridging::VlanId;

TEST(VlanIdTest, isOneTo4094) {
  for (unsigned value = 0; value <= 65535; ++value) {
    std::string error = "no error";
    try {
      EXPECT_EQ(VlanId(static_cast<std::uint16_t>(value)).value(), value);
    } catch (const Pith::RangeException& exception) {
      error = exception.what();
    }
    const bool allowed = value >= 1 && value <= 4094;
    ASSERT_EQ(error, allowed ? "no error" : "Bridging::VlanId::value < 1 or > 4094 not allowed")
        << value;
  }
}

TEST(VlanIdTest, isOrderedByValue) {
  EXPECT_LT(VlanId(1), VlanId(2));
  EXPECT_EQ(VlanId(7), VlanId(7));
}

}  // namespace
