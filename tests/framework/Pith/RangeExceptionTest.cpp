#include "framework/Pith/RangeException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

TEST(RangeExceptionTest, textIsTheConditionFollowedByNotAllowed) {
  try {
    Pith::RangeException::throwException("Bridging::VlanId::value < 1 or > 4094");
    FAIL() << "nothing was thrown";
  } catch (const Pith::RangeException& error) {
    EXPECT_STREQ(error.what(), "Bridging::VlanId::value < 1 or > 4094 not allowed");
  }
}

TEST(RangeExceptionTest, isCaughtAsARuntimeErrorOutsideTheLibrary) {
  EXPECT_THROW(Pith::RangeException::throwException("a"), std::runtime_error);
}

}  // namespace
