#include <gtest/gtest.h>

#include "framework/Kiv/Text.h"
#include "framework/Pith/RangeException.h"
#include "model/Classification/AppRecognition.h"

namespace {

using Classification::PortRange;
using Classification::ProtocolRange;
using Kiv::strepToValue;
using Kiv::valueToStrep;

TEST(PublishedRangeTest, holdsWhatWasPublishedAStartAboveTheEndToo) {
  EXPECT_EQ(valueToStrep(PortRange{443, 80}), "443-80");
  EXPECT_EQ(strepToValue<PortRange>("443-80"), (PortRange{443, 80}));
  EXPECT_EQ(strepToValue<ProtocolRange>("17-6"), (ProtocolRange{17, 6}));
}

TEST(PublishedRangeTest, textIsTheBoundsOrTheOneValue) {
  EXPECT_EQ(valueToStrep(PortRange{80, 443}), "80-443");
  EXPECT_EQ(valueToStrep(PortRange{80, 80}), "80");
  EXPECT_EQ(strepToValue<PortRange>("80"), (PortRange{80, 80}));
  for (const char* text : {"", "-", "80-", "-80", "1-2-3", "65536", "x"}) {
    EXPECT_THROW(strepToValue<PortRange>(text), Pith::RangeException) << text;
  }
  EXPECT_THROW(strepToValue<ProtocolRange>("256"), Pith::RangeException);
}

TEST(PublishedRangeTest, isOrderedByStartThenEndAndHashed) {
  EXPECT_LT((PortRange{80, 443}), (PortRange{81, 0}));
  EXPECT_LT((PortRange{80, 80}), (PortRange{80, 443}));
  EXPECT_NE((PortRange{1, 2}).hash(), (PortRange{2, 1}).hash());
  EXPECT_EQ((PortRange{1, 2}).hash(), (PortRange{1, 2}).hash());
}

}  // namespace
