#include "model/L3/VrfName.h"

#include <gtest/gtest.h>

#include <string>

#include "framework/Kiv/Text.h"

namespace {

using L3::VrfName;

TEST(VrfNameTest, isAtMost100Bytes) {
  EXPECT_EQ(VrfName(std::string(100, 'v')).size(), 100U);
  try {
    VrfName(std::string(101, 'v'));
    FAIL() << "nothing was thrown";
  } catch (const Pith::RangeException& error) {
    EXPECT_STREQ(error.what(), "Kiv::String::bytes > maxLength() not allowed");
  }
}

TEST(VrfNameTest, isAStringOtherwise) {
  const Pith::String text("default");
  const VrfName name = text;
  EXPECT_EQ(name, text);
  EXPECT_EQ(name.hash(), text.hash());
  EXPECT_EQ(Kiv::valueToStrep(name), "default");
  EXPECT_EQ(Kiv::strepToValue<VrfName>("default"), name);
  EXPECT_THROW(Kiv::strepToValue<VrfName>(std::string(101, 'v')), Pith::RangeException);
}

}  // namespace
