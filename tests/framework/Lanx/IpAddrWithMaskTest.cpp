#include "framework/Lanx/IpAddrWithMask.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "framework/Lanx/Prefix.h"
#include "tests/framework/Lanx/AddressSupport.h"

namespace {

using Lanx::AddressFamily;
using Lanx::Ip6Addr;
using Lanx::Ip6AddrWithMask;
using Lanx::IpAddr;
using Lanx::IpAddrWithMask;
using Lanx::IpGenAddr;
using Lanx::IpGenAddrWithMask;
using LanxTest::raisedFor;
using LanxTest::refusal;
using ::testing::AllOf;
using ::testing::HasSubstr;

static_assert(sizeof(IpAddrWithMask) == 8);
static_assert(sizeof(Ip6AddrWithMask) == 17 && alignof(Ip6AddrWithMask) == 1);
static_assert(sizeof(IpGenAddrWithMask) == 18 && alignof(IpGenAddrWithMask) == 1);
static_assert(!IpAddrWithMask(IpAddr(0x0a000001), 8).validAsPrefix(), "usable in constants");

TEST(IpAddrWithMaskTest, keepsHostBits) {
  const auto subnet = IpAddrWithMask::parse("192.0.2.1/24");
  EXPECT_EQ(subnet.address(), IpAddr::parse("192.0.2.1"));
  EXPECT_EQ(subnet.length(), 24);
  EXPECT_NE(subnet, IpAddrWithMask::parse("192.0.2.0/24"));
  const auto subnet6 = Ip6AddrWithMask::parse("2001:DB8::1/32");
  EXPECT_EQ(subnet6.address(), Ip6Addr::parse("2001:db8::1"));
  EXPECT_EQ(subnet6.length(), 32);
}

TEST(IpAddrWithMaskTest, subnetClearsHostBitsForEveryLength) {
  const IpAddr four(0xFFFFFFFF);
  const Ip6Addr six(~std::uint64_t{0}, ~std::uint64_t{0});
  for (std::uint8_t length = 0; length <= 128; ++length) {
    EXPECT_EQ(Ip6AddrWithMask(six, length).subnet(), Ip6AddrWithMask(six.masked(length), length));
    EXPECT_EQ(IpGenAddrWithMask(six, length).subnet(),
              IpGenAddrWithMask(IpGenAddr(six.masked(length)), length));
    if (length > 32) continue;
    EXPECT_EQ(IpAddrWithMask(four, length).subnet(), IpAddrWithMask(four.masked(length), length));
    EXPECT_EQ(IpGenAddrWithMask(four, length).subnet(),
              IpGenAddrWithMask(IpGenAddr(four.masked(length)), length));
  }
}

TEST(IpAddrWithMaskTest, validAsPrefixMeansNoHostBits) {
  const struct {
    const char* text;
    bool valid;
  } cases[] = {
      {"0.0.0.0/0", true},
      {"128.0.0.0/0", false},
      {"128.0.0.0/1", true},
      {"192.0.2.128/25", true},
      {"192.0.2.128/24", false},
      {"192.0.2.1/32", true},
      {"192.0.2.1/31", false},
      {"unset", true},
      {"::/0", true},
      {"8000::/0", false},
      {"2001:db8::/32", true},
      {"2001:db8::1/127", false},
      {"2001:db8::1/128", true},
      {"2001:db8:0:1::/64", true},
      {"2001:db8:0:1::/63", false},
      {"2001:db8::8000:0:0:0/65", true},
      {"2001:db8::8000:0:0:0/64", false},
  };
  for (const auto& [text, valid] : cases) {
    const auto subnet = IpGenAddrWithMask::parse(text);
    EXPECT_EQ(subnet.validAsPrefix(), valid) << text;
    EXPECT_TRUE(subnet.subnet().validAsPrefix()) << text;
    if (subnet.family() == AddressFamily::ipv4) {
      EXPECT_EQ(subnet.ipv4().validAsPrefix(), valid) << text;
    } else {
      EXPECT_EQ(subnet.ipv6().validAsPrefix(), valid) << text;
    }
  }
}

TEST(IpAddrWithMaskTest, unsetIsAddressZeroWithTheLengthByteAllOnes) {
  EXPECT_EQ(IpAddrWithMask(IpAddr(0), 0xFF), IpAddrWithMask());
  EXPECT_EQ(IpGenAddrWithMask(IpGenAddr(AddressFamily::ipv4), 0xFF), IpGenAddrWithMask());
  EXPECT_EQ(IpGenAddrWithMask(IpAddrWithMask()), IpGenAddrWithMask());
  EXPECT_EQ(IpGenAddrWithMask().ipv4(), IpAddrWithMask());
  EXPECT_FALSE(IpAddrWithMask().isSet());
  EXPECT_FALSE(IpGenAddrWithMask().isSet());
  EXPECT_TRUE(IpAddrWithMask::parse("0.0.0.0/0").isSet());
  EXPECT_TRUE(IpGenAddrWithMask::parse("::/0").isSet());
  EXPECT_EQ(IpAddrWithMask().subnet(), IpAddrWithMask());
  EXPECT_EQ(IpGenAddrWithMask().subnet(), IpGenAddrWithMask());
}

TEST(IpAddrWithMaskTest, tooLongLengthIsRefused) {
  EXPECT_EQ(raisedFor<IpAddrWithMask>(IpAddr(0), std::uint8_t{33}),
            "Lanx::IpAddrWithMask::length > 32 not allowed");
  EXPECT_EQ(raisedFor<IpAddrWithMask>(IpAddr(1), std::uint8_t{0xFF}),
            "Lanx::IpAddrWithMask::length > 32 not allowed");
  EXPECT_EQ(raisedFor<IpAddrWithMask>(IpAddr(1), std::uint8_t{32}), "nothing");
  EXPECT_EQ(raisedFor<Ip6AddrWithMask>(Ip6Addr(), std::uint8_t{129}),
            "Lanx::Ip6AddrWithMask::length > 128 not allowed");
  EXPECT_EQ(raisedFor<Ip6AddrWithMask>(Ip6Addr(), std::uint8_t{0xFF}),
            "Lanx::Ip6AddrWithMask::length > 128 not allowed");
  EXPECT_EQ(raisedFor<IpGenAddrWithMask>(IpGenAddr(IpAddr(0)), std::uint8_t{33}),
            "Lanx::IpGenAddrWithMask::length > 32 not allowed");
  EXPECT_EQ(raisedFor<IpGenAddrWithMask>(IpGenAddr(IpAddr(1)), std::uint8_t{0xFF}),
            "Lanx::IpGenAddrWithMask::length > 32 not allowed");
  EXPECT_EQ(raisedFor<IpGenAddrWithMask>(IpGenAddr(Ip6Addr()), std::uint8_t{129}),
            "Lanx::IpGenAddrWithMask::length > 128 not allowed");
  EXPECT_EQ(raisedFor<IpGenAddrWithMask>(IpGenAddr(Ip6Addr()), std::uint8_t{0xFF}),
            "Lanx::IpGenAddrWithMask::length > 128 not allowed");
}

TEST(IpAddrWithMaskTest, genericOneNeedsAFamily) {
  EXPECT_EQ(raisedFor<IpGenAddrWithMask>(IpGenAddr(), std::uint8_t{0}),
            "Lanx::IpGenAddrWithMask::family == 0 not allowed");
}

TEST(IpAddrWithMaskTest, genericOneHoldsEitherFamilyAndGivesItBack) {
  const auto four = IpAddrWithMask::parse("192.0.2.1/24");
  const auto six = Ip6AddrWithMask::parse("2001:db8::1/32");
  EXPECT_EQ(IpGenAddrWithMask(four).family(), AddressFamily::ipv4);
  EXPECT_EQ(IpGenAddrWithMask(four).ipv4(), four);
  EXPECT_EQ(IpGenAddrWithMask(four), IpGenAddrWithMask::parse("192.0.2.1/24"));
  EXPECT_EQ(IpGenAddrWithMask(six).family(), AddressFamily::ipv6);
  EXPECT_EQ(IpGenAddrWithMask(six).ipv6(), six);
  EXPECT_EQ(IpGenAddrWithMask(six), IpGenAddrWithMask::parse("2001:db8::1/32"));
  EXPECT_THROW(static_cast<void>(IpGenAddrWithMask(four).ipv6()), Pith::RangeException);
  EXPECT_THROW(static_cast<void>(IpGenAddrWithMask(six).ipv4()), Pith::RangeException);
}

TEST(IpAddrWithMaskTest, everyLengthIsReadAndWritten) {
  for (unsigned length = 0; length < 300; ++length) {
    const std::string four = "0.0.0.0/" + std::to_string(length);
    const std::string six = "::/" + std::to_string(length);
    if (length <= 32) {
      EXPECT_EQ(IpAddrWithMask::parse(four).length(), length);
      EXPECT_EQ(IpAddrWithMask::parse(four).toString(), four);
    } else {
      EXPECT_NE(refusal<IpAddrWithMask>(four), "accepted") << four;
      EXPECT_NE(refusal<IpGenAddrWithMask>(four), "accepted") << four;
    }
    if (length <= 128) {
      EXPECT_EQ(Ip6AddrWithMask::parse(six).length(), length);
      EXPECT_EQ(Ip6AddrWithMask::parse(six).toString(), six);
    } else {
      EXPECT_NE(refusal<Ip6AddrWithMask>(six), "accepted") << six;
      EXPECT_NE(refusal<IpGenAddrWithMask>(six), "accepted") << six;
    }
  }
}

TEST(IpAddrWithMaskTest, malformedTextIsRefusedWithWhatWasGivenAndWhatWouldBeRight) {
  const struct {
    const char* text;
    const char* fault;
  } cases[] = {
      {"", "a number is missing"},
      {"/", "a number is missing"},
      {"/24", "a number is missing"},
      {"10.0.0.1", "the '/' and the length are missing"},
      {"10.0.0.1/", "the length after the '/' is missing"},
      {"10.0.0.1/33", "the length is above 32"},
      {"10.0.0.1/255", "the length is above 32"},
      {"10.0.0.1/256", "the length is above 32"},
      {"10.0.0.1/999", "the length is above 32"},
      {"10.0.0.1/1000", "the length is not a decimal number of at most three digits"},
      {"10.0.0.1/4294967296", "the length is not a decimal number of at most three digits"},
      {"10.0.0.1/08", "the length has a leading zero"},
      {"10.0.0.1/00", "the length has a leading zero"},
      {"10.0.0.1/+8", "the length is not a decimal number"},
      {"10.0.0.1/-8", "the length is not a decimal number"},
      {"10.0.0.1/8 ", "the length is not a decimal number"},
      {"10.0.0.1/ 8", "the length is not a decimal number"},
      {"10.0.0.1 /8", "something follows the fourth number"},
      {" 10.0.0.1/8", "a number is missing"},
      {"10.0.0.1/8/8", "the length is not a decimal number"},
      {"10.0.0.1//8", "the length is not a decimal number"},
      {"10.0.0.1/a", "the length is not a decimal number"},
      {"10.0.0.1/0x8", "the length is not a decimal number"},
      {"10.0.0.1/255.0.0.0", "the length is not a decimal number"},
      {"10.0.0/8", "four numbers are not joined by dots"},
      {"010.0.0.0/8", "a number has a leading zero"},
      {"Unset", "a number is missing"},
      {"unset/255", "a number is missing"},
      {"unset ", "a number is missing"},
  };
  for (const auto& [text, fault] : cases) {
    const std::string given = "::text \"" + std::string(text) + "\" not allowed: ";
    EXPECT_THAT(refusal<IpAddrWithMask>(text),
                AllOf(HasSubstr("Lanx::IpAddrWithMask" + given), HasSubstr(fault),
                      HasSubstr("; write it like 192.0.2.1/24")));
    EXPECT_THAT(refusal<IpGenAddrWithMask>(text),
                AllOf(HasSubstr("Lanx::IpGenAddrWithMask" + given), HasSubstr(fault),
                      HasSubstr("; write it like 192.0.2.1/24 or 2001:db8::1/64")));
  }
}

TEST(IpAddrWithMaskTest, malformedIpv6TextIsRefusedWithWhatWasGivenAndWhatWouldBeRight) {
  const struct {
    const char* text;
    const char* fault;
  } cases[] = {
      {"::1", "the '/' and the length are missing"},
      {"::1/", "the length after the '/' is missing"},
      {"::1/129", "the length is above 128"},
      {"::1/999", "the length is above 128"},
      {"::1/1280", "the length is not a decimal number of at most three digits"},
      {"::1/064", "the length has a leading zero"},
      {"::1/64 ", "the length is not a decimal number"},
      {"::1/ffff::", "the length is not a decimal number"},
      {"fe80::1%eth0/64", "a group has something other than hexadecimal digits"},
      {"1::2::3/64", "'::' stands twice"},
  };
  for (const auto& [text, fault] : cases) {
    const std::string given = "::text \"" + std::string(text) + "\" not allowed: ";
    EXPECT_THAT(refusal<Ip6AddrWithMask>(text),
                AllOf(HasSubstr("Lanx::Ip6AddrWithMask" + given), HasSubstr(fault),
                      HasSubstr("; write it like 2001:db8::1/64")));
    EXPECT_THAT(refusal<IpGenAddrWithMask>(text),
                AllOf(HasSubstr("Lanx::IpGenAddrWithMask" + given), HasSubstr(fault)));
  }
  EXPECT_NE(refusal<Ip6AddrWithMask>("unset"), "accepted") << "IPv6 has no unset value";
  EXPECT_NE(refusal<Ip6AddrWithMask>("10.0.0.0/8"), "accepted");
  EXPECT_NE(refusal<IpAddrWithMask>("::/0"), "accepted");
}

// The value that the C library and the plainest reading of the length give a text.
template <class Address, class WithMask>
std::optional<WithMask> oracle(const std::string& text) {
  const std::size_t slash = text.find('/');
  if (slash == std::string::npos) return std::nullopt;
  const auto address = LanxTest::oracleOf(text.substr(0, slash), static_cast<Address*>(nullptr));
  for (unsigned length = 0; address && length <= Address::bits; ++length) {
    if (text.substr(slash + 1) == std::to_string(length)) {
      return WithMask(*address, static_cast<std::uint8_t>(length));
    }
  }
  return std::nullopt;
}

template <class Address, class WithMask>
void expectRandomTextsAcceptedAsTheOracleDoes(LanxTest::Random::result_type seed) {
  LanxTest::Random random(seed);
  unsigned accepts = 0;
  for (unsigned round = 0; round < 100'000; ++round) {
    const Address address = LanxTest::randomAddress(random, static_cast<Address*>(nullptr));
    const std::string right =
        address.toString() + '/' + std::to_string(LanxTest::below(random, Address::bits + 4));
    const std::string text =
        round % 8 == 0 ? LanxTest::garbage(random) : LanxTest::mutated(right, random);
    const auto value = LanxTest::accepted<WithMask>(text);
    const auto expected = oracle<Address, WithMask>(text);
    ASSERT_EQ(value, expected) << '"' << text << '"';
    if (!value) continue;
    ++accepts;
    ASSERT_EQ(WithMask::parse(value->toString()), *value) << text;
    ASSERT_EQ(IpGenAddrWithMask::parse(text), IpGenAddrWithMask(*value)) << text;
  }
  EXPECT_GT(accepts, 1000U);
}

TEST(IpAddrWithMaskTest, randomTextsAreAcceptedExactlyWhereTheOracleDoes) {
  expectRandomTextsAcceptedAsTheOracleDoes<IpAddr, IpAddrWithMask>(6);
}

TEST(IpAddrWithMaskTest, randomIpv6TextsAreAcceptedExactlyWhereTheOracleDoes) {
  expectRandomTextsAcceptedAsTheOracleDoes<Ip6Addr, Ip6AddrWithMask>(7);
}

}  // namespace
