#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "framework/Lanx/IpAddr.h"
#include "tests/framework/Lanx/AddressSupport.h"

namespace {

using Lanx::AddressFamily;
using Lanx::Ip6Addr;
using Lanx::IpAddr;
using Lanx::IpGenAddr;
using LanxTest::refusal;
using ::testing::AllOf;
using ::testing::HasSubstr;

static_assert(sizeof(IpGenAddr) == 17 && alignof(IpGenAddr) == 1);
static_assert(static_cast<int>(AddressFamily::unspecified) == 0);
static_assert(static_cast<int>(AddressFamily::ipv4) == 1);
static_assert(static_cast<int>(AddressFamily::ipv6) == 2);

template <class Function>
std::string raised(Function function) {
  try {
    function();
    return "nothing";
  } catch (const Pith::RangeException& error) {
    return error.what();
  }
}

TEST(AddressFamilyTest, hasANameAndAWidth) {
  std::ostringstream out;
  out << AddressFamily::unspecified << ' ' << AddressFamily::ipv4 << ' ' << AddressFamily::ipv6
      << ' ' << static_cast<AddressFamily>(7);
  EXPECT_EQ(out.str(), "unspecified ipv4 ipv6 7");
  EXPECT_EQ(addressBits(AddressFamily::unspecified), 0);
  EXPECT_EQ(addressBits(AddressFamily::ipv4), 32);
  EXPECT_EQ(addressBits(AddressFamily::ipv6), 128);
}

TEST(IpGenAddrTest, defaultIsNoAddress) {
  EXPECT_EQ(IpGenAddr().family(), AddressFamily::unspecified);
  EXPECT_EQ(IpGenAddr().bits(), 0);
  EXPECT_EQ(IpGenAddr(AddressFamily::unspecified), IpGenAddr());
  EXPECT_EQ(IpGenAddr::parse("none"), IpGenAddr());
}

TEST(IpGenAddrTest, familyAloneIsItsAddressZero) {
  EXPECT_EQ(IpGenAddr(AddressFamily::ipv4), IpGenAddr(IpAddr()));
  EXPECT_EQ(IpGenAddr(AddressFamily::ipv6), IpGenAddr(Ip6Addr()));
  EXPECT_EQ(raised([] { IpGenAddr(static_cast<AddressFamily>(3)); }),
            "Lanx::IpGenAddr::family > 2 not allowed");
}

TEST(IpGenAddrTest, holdsEitherFamilyAndGivesItBack) {
  const IpAddr four = IpAddr::parse("192.0.2.1");
  const Ip6Addr six = Ip6Addr::parse("2001:db8::1");
  EXPECT_EQ(IpGenAddr(four).family(), AddressFamily::ipv4);
  EXPECT_EQ(IpGenAddr(four).bits(), 32);
  EXPECT_EQ(IpGenAddr(four).ipv4(), four);
  EXPECT_EQ(IpGenAddr(six).family(), AddressFamily::ipv6);
  EXPECT_EQ(IpGenAddr(six).bits(), 128);
  EXPECT_EQ(IpGenAddr(six).ipv6(), six);
}

TEST(IpGenAddrTest, wrongFamilyIsRefused) {
  const IpGenAddr four = IpAddr(1);
  const IpGenAddr six = Ip6Addr(0, 1);
  EXPECT_EQ(raised([&] { static_cast<void>(four.ipv6()); }),
            "Lanx::IpGenAddr::family != 2 not allowed");
  EXPECT_EQ(raised([&] { static_cast<void>(six.ipv4()); }),
            "Lanx::IpGenAddr::family != 1 not allowed");
  EXPECT_NE(raised([] { static_cast<void>(IpGenAddr().ipv4()); }), "nothing");
  EXPECT_NE(raised([] { static_cast<void>(IpGenAddr().ipv6()); }), "nothing");
}

TEST(IpGenAddrTest, colonInTheTextTellsTheFamily) {
  EXPECT_EQ(IpGenAddr::parse("192.0.2.1"), IpGenAddr(IpAddr::parse("192.0.2.1")));
  EXPECT_EQ(IpGenAddr::parse("::ffff:192.0.2.1"), IpGenAddr(Ip6Addr::parse("::ffff:192.0.2.1")));
}

TEST(IpGenAddrTest, familiesAreDifferentKeysEvenForTheSameBytes) {
  const IpGenAddr four = IpAddr(0x20010db8);
  const IpGenAddr six = Ip6Addr(0x20010db800000000, 0);
  EXPECT_NE(four, six);
  EXPECT_LT(four, six);
  EXPECT_NE(four.hash(), six.hash());
  EXPECT_NE(IpGenAddr(AddressFamily::ipv4).hash(), IpGenAddr(AddressFamily::ipv6).hash());
  EXPECT_NE(IpGenAddr(AddressFamily::ipv4).hash(), IpGenAddr().hash());
}

TEST(IpGenAddrTest, masksAsItsFamilyDoes) {
  const IpAddr four(0xA5A5A5A5);
  const Ip6Addr six(0xA5A5A5A5A5A5A5A5, 0x5A5A5A5A5A5A5A5A);
  for (unsigned length = 0; length < 256; ++length) {
    const auto bits = static_cast<std::uint8_t>(length);
    EXPECT_EQ(IpGenAddr(four).masked(bits), IpGenAddr(four.masked(bits)));
    EXPECT_EQ(IpGenAddr(six).masked(bits), IpGenAddr(six.masked(bits)));
    EXPECT_EQ(IpGenAddr().masked(bits), IpGenAddr());
  }
}

TEST(IpGenAddrTest, malformedTextIsRefusedUnderItsOwnName) {
  for (const char* text : {"", "None", "none ", "NONE", "unset", "10.0.0.256", "1::2::3",
                           "10.0.0.1/8", "::/0", "host"}) {
    EXPECT_THAT(
        refusal<IpGenAddr>(text),
        AllOf(HasSubstr("Lanx::IpGenAddr::text \"" + std::string(text) + "\" not allowed: "),
              HasSubstr("; write it like 192.0.2.1, 2001:db8::1 or none")));
  }
}

}  // namespace
