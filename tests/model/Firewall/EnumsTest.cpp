#include "model/Firewall/Enums.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>

#include "framework/Kiv/Optional.h"
#include "framework/Kiv/Text.h"
#include "framework/Pith/RangeException.h"
#include "model/Firewall/Protocol.h"

namespace {

using Firewall::Action;
using Firewall::DefaultPolicy;
using Firewall::ForwardingTypeMatch;
using Firewall::Protocol;
using Kiv::strepToValue;
using Kiv::valueToStrep;

static_assert(sizeof(Action) == 1 && sizeof(DefaultPolicy) == 1 &&
              sizeof(ForwardingTypeMatch) == 1 && sizeof(Protocol) == 1);

TEST(ActionTest, isDropUnlessItIsSaid) { EXPECT_EQ(Action(), Action::drop); }

TEST(ActionTest, isStreamedByItsName) {
  std::ostringstream out;
  out << Action::forward << ' ' << Action::redirect << ' ' << Action::drop << ' '
      << static_cast<Action>(9);
  EXPECT_EQ(out.str(), "forward redirect drop 9");
}

TEST(DefaultPolicyTest, valueTwoForwards) {
  EXPECT_EQ(static_cast<DefaultPolicy>(2), DefaultPolicy::forward);
  EXPECT_EQ(DefaultPolicy(), DefaultPolicy::unset);
}

TEST(ForwardingTypeMatchTest, isASetOfFlags) {
  const ForwardingTypeMatch bridged(ForwardingTypeMatch::bridged);
  const ForwardingTypeMatch routed(ForwardingTypeMatch::routed);
  EXPECT_EQ(ForwardingTypeMatch().flags(), 0);
  EXPECT_EQ((bridged | routed).flags(), 3);
  EXPECT_EQ(bridged | bridged, bridged);
  EXPECT_EQ(bridged | ForwardingTypeMatch(), bridged);
  EXPECT_NE(bridged, routed);
}

TEST(ForwardingTypeMatchTest, everyByteRoundTripsAsText) {
  for (unsigned flags = 0; flags <= 255; ++flags) {
    const ForwardingTypeMatch match(static_cast<std::uint8_t>(flags));
    EXPECT_EQ(strepToValue<ForwardingTypeMatch>(valueToStrep(match)), match) << flags;
  }
  EXPECT_EQ(valueToStrep(ForwardingTypeMatch()), "none");
  EXPECT_EQ(valueToStrep(ForwardingTypeMatch(3)), "bridged|routed");
  EXPECT_EQ(valueToStrep(ForwardingTypeMatch(4)), "4");
}

TEST(ForwardingTypeMatchTest, malformedTextIsRefused) {
  for (const char* text :
       {"", "both", "bridged|", "bridged|bridged", "routed,bridged", "256", "-1"}) {
    EXPECT_THROW(strepToValue<ForwardingTypeMatch>(text), Pith::RangeException) << text;
  }
}

TEST(ProtocolTest, onlyTcpAndUdpHavePorts) {
  for (unsigned number = 0; number <= 255; ++number) {
    EXPECT_EQ(Protocol(static_cast<std::uint8_t>(number)).hasPorts(), number == 6 || number == 17)
        << number;
  }
}

TEST(ProtocolTest, textIsTheNumber) {
  EXPECT_EQ(valueToStrep(Protocol(6)), "6");
  EXPECT_EQ(strepToValue<Protocol>("17"), Protocol(17));
  for (const char* text : {"", "256", "tcp", "-1"}) {
    EXPECT_THROW(strepToValue<Protocol>(text), Pith::RangeException) << text;
  }
  EXPECT_LT(Protocol(6), Protocol(17));
}

TEST(ProtocolTest, readingAnAbsentOneRaisesBadOptionalAccess) {
  const Protocol::Optional absent;
  try {
    static_cast<void>(absent.value());
    FAIL() << "nothing was thrown";
  } catch (const std::exception& error) {
    EXPECT_STREQ(error.what(), "bad optional access");
  }
}

}  // namespace
