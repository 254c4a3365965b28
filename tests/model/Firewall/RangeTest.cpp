#include "model/Firewall/Range.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "framework/Kiv/Text.h"

namespace {

using Firewall::PortRange;
using Firewall::ProtocolRange;
using Firewall::VlanRange;
using Kiv::strepToValue;
using Kiv::valueToStrep;

template <class Action>
std::string errorOf(const Action& action) {
  try {
    action();
  } catch (const Pith::RangeException& error) {
    return error.what();
  }
  return "no error";
}

template <class T>
void expectRefused(const std::vector<std::string>& texts) {
  for (const std::string& text : texts) {
    EXPECT_THROW(strepToValue<T>(text), Pith::RangeException) << '"' << text << '"';
  }
}

TEST(PortRangeTest, refusesAStartAboveTheEnd) {
  EXPECT_EQ(errorOf([] { PortRange(443, 80); }), "Firewall::PortRange::start > _end not allowed");
  EXPECT_EQ(errorOf([] { PortRange::parse("443-80"); }),
            "Firewall::PortRange::start > _end not allowed");
  EXPECT_EQ(errorOf([] { PortRange(80, 80); }), "no error");
}

TEST(PortRangeTest, holdsItsBounds) {
  const PortRange range(80, 443);
  EXPECT_EQ(range.start(), 80);
  EXPECT_EQ(range.end(), 443);
  EXPECT_EQ(PortRange(), PortRange(0, 0));
  EXPECT_EQ(PortRange::all(), PortRange(0, 65535));
}

TEST(PortRangeTest, isOrderedByStartThenEnd) {
  EXPECT_LT(PortRange(80, 443), PortRange(81, 81));
  EXPECT_LT(PortRange(80, 80), PortRange(80, 443));
  EXPECT_NE(PortRange(80, 80), PortRange(80, 443));
}

TEST(PortRangeTest, hashTellsStartFromEnd) {
  EXPECT_EQ(PortRange(1, 2).hash(), PortRange(1, 2).hash());
  EXPECT_EQ((std::set<std::uint64_t>{PortRange(0, 1).hash(), PortRange(1, 1).hash(),
                                     PortRange(0, 2).hash(), PortRange(0, 0).hash()})
                .size(),
            4U);
}

TEST(PortRangeTest, textIsTheBoundsOrTheOneValue) {
  EXPECT_EQ(valueToStrep(PortRange(80, 443)), "80-443");
  EXPECT_EQ(valueToStrep(PortRange(80, 80)), "80");
  EXPECT_EQ(strepToValue<PortRange>("80-443"), PortRange(80, 443));
  EXPECT_EQ(strepToValue<PortRange>("80"), PortRange(80, 80));
  EXPECT_EQ(strepToValue<PortRange>("80-80"), PortRange(80, 80));
  expectRefused<PortRange>(
      {"", "-", "80-", "-80", "80-90-100", "65536", "80 - 90", "80,90", "all"});
}

TEST(ProtocolRangeTest, refusesAStartAboveTheEnd) {
  EXPECT_EQ(errorOf([] { ProtocolRange(17, 6); }),
            "Firewall::ProtocolRange::start > _end not allowed");
  EXPECT_EQ(errorOf([] { ProtocolRange(6, 17); }), "no error");
}

TEST(ProtocolRangeTest, isTheSameForProtocols) {
  EXPECT_EQ(ProtocolRange(), ProtocolRange(0, 0));
  EXPECT_LT(ProtocolRange(6, 17), ProtocolRange(7, 7));
  EXPECT_LT(ProtocolRange(6, 6), ProtocolRange(6, 17));
  EXPECT_NE(ProtocolRange(6, 17).hash(), ProtocolRange(6, 6).hash());
  EXPECT_EQ(valueToStrep(ProtocolRange(6, 17)), "6-17");
  EXPECT_EQ(strepToValue<ProtocolRange>("6"), ProtocolRange(6, 6));
  expectRefused<ProtocolRange>({"", "256", "6-256", "tcp"});
}

TEST(VlanRangeTest, refusesWhatIsNoVlanIdInEitherPlace) {
  const std::string expected = "Bridging::VlanId::value < 1 or > 4094 not allowed";
  EXPECT_EQ(errorOf([] { VlanRange(std::uint16_t{0}, std::uint16_t{1}); }), expected);
  EXPECT_EQ(errorOf([] { VlanRange(std::uint16_t{1}, std::uint16_t{0}); }), expected);
  EXPECT_EQ(errorOf([] { VlanRange(std::uint16_t{4095}, std::uint16_t{1}); }), expected);
  EXPECT_EQ(errorOf([] { VlanRange(std::uint16_t{1}, std::uint16_t{4095}); }), expected);
  EXPECT_EQ(errorOf([] { VlanRange(std::uint16_t{1}, std::uint16_t{4094}); }), "no error");
  EXPECT_EQ(errorOf([] { VlanRange::parse("0-100"); }), expected);
}

TEST(VlanRangeTest, keepsTheOrderOfItsTwoValues) {
  const VlanRange range(std::uint16_t{200}, std::uint16_t{100});
  EXPECT_EQ(range.first(), 200);
  EXPECT_EQ(range.second(), 100);
  EXPECT_NE(range, VlanRange(std::uint16_t{100}, std::uint16_t{200}));
}

TEST(VlanRangeTest, hasEqualityAndHash) {
  const VlanRange range(Bridging::VlanId(1), Bridging::VlanId(2));
  EXPECT_EQ(range, VlanRange(std::uint16_t{1}, std::uint16_t{2}));
  EXPECT_TRUE(range.isEq(VlanRange(std::uint16_t{1}, std::uint16_t{2})));
  EXPECT_FALSE(range.isEq(VlanRange(std::uint16_t{1}, std::uint16_t{3})));
  EXPECT_FALSE(range.isEq(VlanRange(std::uint16_t{3}, std::uint16_t{2})));
  EXPECT_EQ(range.hash(), VlanRange(std::uint16_t{1}, std::uint16_t{2}).hash());
  EXPECT_NE(range.hash(), VlanRange(std::uint16_t{2}, std::uint16_t{1}).hash());
}

TEST(VlanRangeTest, textIsTheTwoValuesOrTheOne) {
  EXPECT_EQ(valueToStrep(VlanRange::parse("100-200")), "100-200");
  EXPECT_EQ(valueToStrep(VlanRange::parse("100")), "100");
  expectRefused<VlanRange>({"", "0", "4095", "1-", "1-2-3", "x"});
}

}  // namespace
