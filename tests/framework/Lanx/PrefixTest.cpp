#include "framework/Lanx/Prefix.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <concepts>
#include <string>
#include <vector>

#include "tests/framework/Lanx/AddressSupport.h"

namespace {

using Lanx::AddressFamily;
using Lanx::Ip6Addr;
using Lanx::Ip6AddrWithMask;
using Lanx::Ip6Prefix;
using Lanx::IpAddr;
using Lanx::IpAddrWithMask;
using Lanx::IpGenAddr;
using Lanx::IpGenAddrWithMask;
using Lanx::IpGenPrefix;
using Lanx::Prefix;
using LanxTest::raisedFor;
using LanxTest::refusal;
using ::testing::AllOf;
using ::testing::HasSubstr;

static_assert(sizeof(Prefix) == 8);
static_assert(sizeof(Ip6Prefix) == 17 && alignof(Ip6Prefix) == 1);
static_assert(sizeof(IpGenPrefix) <= 20 && alignof(IpGenPrefix) == 1);
static_assert(IpGenPrefix(IpGenAddr(IpAddr(0x0a000001)), 8).length() == 8, "usable in constants");

// What loses nothing happens by itself; what refuses or clears host bits has to be written down.
static_assert(std::convertible_to<Prefix, IpGenPrefix>);
static_assert(std::convertible_to<Ip6Prefix, IpGenPrefix>);
static_assert(std::convertible_to<Prefix, IpAddrWithMask>);
static_assert(std::convertible_to<Prefix, IpGenAddrWithMask>);
static_assert(std::convertible_to<Ip6Prefix, Ip6AddrWithMask>);
static_assert(std::convertible_to<Ip6Prefix, IpGenAddrWithMask>);
static_assert(std::convertible_to<IpGenPrefix, IpGenAddrWithMask>);
static_assert(!std::convertible_to<IpAddrWithMask, Prefix>);
static_assert(!std::convertible_to<IpAddrWithMask, IpGenPrefix>);
static_assert(!std::convertible_to<IpGenAddrWithMask, IpGenPrefix>);
static_assert(!std::convertible_to<IpGenPrefix, Prefix>);

constexpr const char* hostBits = "Lanx::Prefix::validAsPrefix != true not allowed";
constexpr const char* hostBits6 = "Lanx::Ip6Prefix::validAsPrefix != true not allowed";

TEST(PrefixTest, hostBitsAreRefusedFromTextSubnetAndAddress) {
  EXPECT_EQ(refusal<Prefix>("192.0.2.1/24"), hostBits);
  EXPECT_EQ(raisedFor<Prefix>(IpAddrWithMask::parse("192.0.2.1/24")), hostBits);
  EXPECT_EQ(raisedFor<Prefix>(IpAddr(1), std::uint8_t{31}), hostBits);
  EXPECT_EQ(raisedFor<Prefix>(IpAddr(1), std::uint8_t{32}), "nothing");
  EXPECT_EQ(refusal<Ip6Prefix>("2001:db8::1/64"), hostBits6);
  EXPECT_EQ(raisedFor<Ip6Prefix>(Ip6AddrWithMask::parse("2001:db8::1/64")), hostBits6);
  EXPECT_EQ(raisedFor<Ip6Prefix>(Ip6Addr(0, 1), std::uint8_t{127}), hostBits6);
  EXPECT_EQ(raisedFor<Ip6Prefix>(Ip6Addr(0, 1), std::uint8_t{128}), "nothing");
}

TEST(PrefixTest, genericOneClearsHostBitsFromTextSubnetAndAddress) {
  const IpGenPrefix network = Prefix::parse("192.0.2.0/24");
  EXPECT_EQ(IpGenPrefix::parse("192.0.2.1/24"), network);
  EXPECT_EQ(IpGenPrefix(IpGenAddrWithMask::parse("192.0.2.1/24")), network);
  EXPECT_EQ(IpGenPrefix(IpAddrWithMask::parse("192.0.2.1/24")), network);
  EXPECT_EQ(IpGenPrefix(IpGenAddr::parse("192.0.2.1"), 24), network);
  const IpGenPrefix network6 = Ip6Prefix::parse("2001:db8::/64");
  EXPECT_EQ(IpGenPrefix::parse("2001:db8::1/64"), network6);
  EXPECT_EQ(IpGenPrefix(IpGenAddrWithMask::parse("2001:db8::1/64")), network6);
  EXPECT_EQ(IpGenPrefix(Ip6AddrWithMask::parse("2001:db8::1/64")), network6);
  EXPECT_EQ(IpGenPrefix(IpGenAddr::parse("2001:db8::1"), 64), network6);
}

template <class Address>
void expectSubnetBecomesThePrefixOfItsText(LanxTest::Random::result_type seed) {
  LanxTest::Random random(seed);
  for (unsigned round = 0; round < 20'000; ++round) {
    const Address address = LanxTest::randomAddress(random, static_cast<Address*>(nullptr));
    const auto length = static_cast<std::uint8_t>(LanxTest::below(random, Address::bits + 1U));
    const IpGenAddrWithMask subnet(address, length);
    const IpGenPrefix prefix(subnet);
    ASSERT_EQ(prefix, IpGenPrefix::parse(subnet.toString())) << subnet;
    ASSERT_EQ(prefix, IpGenPrefix(IpGenAddrWithMask::parse(subnet.subnet().toString()))) << subnet;
    ASSERT_EQ(prefix.toString(), address.masked(length).toString() + '/' + std::to_string(length));
    ASSERT_EQ(prefix.hash(), IpGenPrefix(subnet.subnet()).hash());
    ASSERT_EQ(IpGenAddrWithMask(prefix), subnet.subnet());
  }
}

TEST(PrefixTest, subnetBecomesThePrefixThatItsTextWouldGive) {
  expectSubnetBecomesThePrefixOfItsText<IpAddr>(8);
  expectSubnetBecomesThePrefixOfItsText<Ip6Addr>(9);
}

TEST(PrefixTest, unsetIsTheDefaultAndOneValueInEveryForm) {
  EXPECT_EQ(Prefix(IpAddr(0), 0xFF), Prefix());
  EXPECT_EQ(Prefix().address(), IpAddr(0));
  EXPECT_EQ(Prefix().length(), 0xFF);
  EXPECT_EQ(IpGenPrefix(Prefix()), IpGenPrefix());
  EXPECT_EQ(IpGenPrefix(Prefix()).hash(), IpGenPrefix().hash());
  EXPECT_EQ(IpGenPrefix().family(), AddressFamily::ipv4);
  EXPECT_EQ(IpGenPrefix().length(), 0xFF);
  EXPECT_EQ(IpGenPrefix().ipv4(), Prefix());
  EXPECT_EQ(IpGenPrefix(IpGenAddrWithMask()), IpGenPrefix());
  EXPECT_EQ(IpGenAddrWithMask(IpGenPrefix()), IpGenAddrWithMask());
  EXPECT_EQ(IpGenPrefix::parse("unset"), IpGenPrefix());
  EXPECT_EQ(Prefix::parse("unset"), Prefix());
  EXPECT_FALSE(Prefix().isSet());
  EXPECT_FALSE(IpGenPrefix().isSet());
  EXPECT_TRUE(IpGenPrefix::parse("0.0.0.0/0").isSet());
  EXPECT_TRUE(Prefix::parse("0.0.0.0/0").isSet());
  EXPECT_NE(refusal<Ip6Prefix>("unset"), "accepted") << "IPv6 has no unset value";
}

TEST(PrefixTest, lengthAndFamilyAreCheckedAsThoseOfASubnet) {
  EXPECT_EQ(raisedFor<Prefix>(IpAddr(0), std::uint8_t{33}),
            "Lanx::IpAddrWithMask::length > 32 not allowed");
  EXPECT_EQ(raisedFor<Ip6Prefix>(Ip6Addr(), std::uint8_t{129}),
            "Lanx::Ip6AddrWithMask::length > 128 not allowed");
  EXPECT_EQ(raisedFor<IpGenPrefix>(IpGenAddr(IpAddr()), std::uint8_t{33}),
            "Lanx::IpGenAddrWithMask::length > 32 not allowed");
  EXPECT_EQ(raisedFor<IpGenPrefix>(IpGenAddr(), std::uint8_t{0}),
            "Lanx::IpGenAddrWithMask::family == 0 not allowed");
  EXPECT_THROW(static_cast<void>(IpGenPrefix::parse("::/0").ipv4()), Pith::RangeException);
  EXPECT_THROW(static_cast<void>(IpGenPrefix().ipv6()), Pith::RangeException);
}

TEST(PrefixTest, conversionsKeepFamilyAddressAndLength) {
  const auto four = Prefix::parse("192.0.2.0/24");
  const IpGenPrefix generic = four;
  EXPECT_EQ(generic.family(), AddressFamily::ipv4);
  EXPECT_EQ(generic.address(), IpGenAddr(four.address()));
  EXPECT_EQ(generic.length(), 24);
  EXPECT_EQ(generic.ipv4(), four);
  EXPECT_EQ(IpAddrWithMask(four), IpAddrWithMask::parse("192.0.2.0/24"));
  EXPECT_EQ(IpGenAddrWithMask(four), IpGenAddrWithMask::parse("192.0.2.0/24"));
  EXPECT_EQ(generic.subnet(), IpGenAddrWithMask(generic));

  const auto six = Ip6Prefix::parse("2001:db8::/32");
  const IpGenPrefix generic6 = six;
  EXPECT_EQ(generic6.family(), AddressFamily::ipv6);
  EXPECT_EQ(generic6.ipv6(), six);
  EXPECT_EQ(Ip6AddrWithMask(six), Ip6AddrWithMask::parse("2001:db8::/32"));
  EXPECT_EQ(IpGenAddrWithMask(six), IpGenAddrWithMask::parse("2001:db8::/32"));
}

// The prefixes of at most four bits, and the sixteen addresses that tell them apart.
template <class Address>
Address topBits(unsigned bits);
template <>
IpAddr topBits<IpAddr>(unsigned bits) {
  return IpAddr(bits << 28U);
}
template <>
Ip6Addr topBits<Ip6Addr>(unsigned bits) {
  return {std::uint64_t{bits} << 60U, 0};
}

template <class Address, class PrefixType>
void expectContainsIsInclusionOfSets() {
  struct Network {
    PrefixType prefix;
    std::array<bool, 16> members;
  };
  std::vector<Network> networks;
  for (unsigned length = 0; length <= 4; ++length) {
    for (unsigned bits = 0; bits < 16; bits += 16U >> length) {
      Network network{PrefixType(topBits<Address>(bits), static_cast<std::uint8_t>(length)), {}};
      for (unsigned member = 0; member < 16; ++member) {
        network.members[member] = member >= bits && member < bits + (16U >> length);
      }
      networks.push_back(network);
    }
  }
  ASSERT_EQ(networks.size(), 31U);
  for (const Network& a : networks) {
    for (unsigned member = 0; member < 16; ++member) {
      EXPECT_EQ(a.prefix.contains(topBits<Address>(member)), a.members[member]) << a.prefix;
    }
    for (const Network& b : networks) {
      bool included = true;
      for (unsigned member = 0; member < 16; ++member) {
        included = included && (a.members[member] || !b.members[member]);
      }
      EXPECT_EQ(a.prefix.contains(b.prefix), included) << a.prefix << ' ' << b.prefix;
      if (included && a.prefix != b.prefix) {
        EXPECT_LT(a.prefix, b.prefix) << "a prefix comes before those that it contains";
      }
    }
  }
}

TEST(PrefixTest, containsIsInclusionOfSets) {
  expectContainsIsInclusionOfSets<IpAddr, Prefix>();
  expectContainsIsInclusionOfSets<Ip6Addr, Ip6Prefix>();
  expectContainsIsInclusionOfSets<IpAddr, IpGenPrefix>();
  expectContainsIsInclusionOfSets<Ip6Addr, IpGenPrefix>();
}

TEST(PrefixTest, otherFamilyIsNotContained) {
  const auto all = IpGenPrefix::parse("0.0.0.0/0");
  const auto all6 = IpGenPrefix::parse("::/0");
  EXPECT_FALSE(all.contains(all6));
  EXPECT_FALSE(all6.contains(all));
  EXPECT_FALSE(all.contains(IpGenAddr(Ip6Addr())));
  EXPECT_FALSE(all6.contains(IpGenAddr(IpAddr())));
  EXPECT_FALSE(all.contains(IpGenAddr()));
  EXPECT_FALSE(all6.contains(IpGenAddr()));
}

TEST(PrefixTest, unsetContainsNothingAndNothingContainsIt) {
  const auto all = Prefix::parse("0.0.0.0/0");
  EXPECT_FALSE(Prefix().contains(IpAddr(0)));
  EXPECT_FALSE(Prefix().contains(Prefix()));
  EXPECT_FALSE(Prefix().contains(all));
  EXPECT_FALSE(all.contains(Prefix()));
  EXPECT_FALSE(IpGenPrefix().contains(IpGenAddr(IpAddr(0))));
  EXPECT_FALSE(IpGenPrefix().contains(IpGenPrefix()));
  EXPECT_FALSE(IpGenPrefix(all).contains(IpGenPrefix()));
  EXPECT_FALSE(IpGenPrefix().contains(IpGenPrefix(all)));
}

TEST(PrefixTest, neighboursHashApart) {
  std::vector<std::uint64_t> hashes;
  for (std::uint8_t length = 0; length <= 32; ++length) {
    hashes.push_back(IpGenPrefix(IpGenAddr(IpAddr(0)), length).hash());
  }
  for (std::uint8_t length = 0; length <= 128; ++length) {
    hashes.push_back(IpGenPrefix(IpGenAddr(Ip6Addr()), length).hash());
  }
  hashes.push_back(IpGenPrefix().hash());
  for (std::uint32_t host = 1; host < 100'000; ++host) {
    hashes.push_back(IpGenPrefix(IpGenAddr(IpAddr(host)), 32).hash());
    hashes.push_back(IpGenPrefix(IpGenAddr(Ip6Addr(host, 0)), 64).hash());
    hashes.push_back(IpGenPrefix(IpGenAddr(Ip6Addr(0, host)), 128).hash());
  }
  const std::size_t count = hashes.size();
  std::sort(hashes.begin(), hashes.end());
  hashes.erase(std::unique(hashes.begin(), hashes.end()), hashes.end());
  EXPECT_EQ(hashes.size(), count);
}

TEST(PrefixTest, malformedTextIsRefusedUnderItsOwnName) {
  for (const char* text : {"", "10.0.0.0", "10.0.0.0/", "10.0.0.0/33", "10.0.0.0/08", "10.0.0/8",
                           "10.0.0.0/8 ", " 10.0.0.0/8", "Unset", "none"}) {
    const std::string given = "::text \"" + std::string(text) + "\" not allowed: ";
    EXPECT_THAT(refusal<Prefix>(text), AllOf(HasSubstr("Lanx::Prefix" + given),
                                             HasSubstr("; write it like 192.0.2.0/24")));
    EXPECT_THAT(refusal<IpGenPrefix>(text),
                AllOf(HasSubstr("Lanx::IpGenPrefix" + given),
                      HasSubstr("; write it like 192.0.2.0/24 or 2001:db8::/32")));
  }
  for (const char* text :
       {"", "::", "::/", "::/129", "::/00", "1::2::3/64", "::/0 ", "10.0.0.0/8"}) {
    EXPECT_THAT(refusal<Ip6Prefix>(text), AllOf(HasSubstr("Lanx::Ip6Prefix::text \"" +
                                                          std::string(text) + "\" not allowed: "),
                                                HasSubstr("; write it like 2001:db8::/32")));
  }
}

}  // namespace
