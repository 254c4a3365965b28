// The texts of RFC 4291, 2.2 in, RFC 5952, 4 out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "framework/Lanx/IpAddr.h"
#include "tests/framework/Lanx/AddressSupport.h"

namespace {

using Lanx::Ip6Addr;
using LanxTest::refusal;
using ::testing::AllOf;
using ::testing::HasSubstr;

constexpr const Ip6Addr* ipv6 = nullptr;

std::string rewritten(const char* text) { return Ip6Addr::parse(text).toString(); }

static_assert(sizeof(Ip6Addr) == 16 && alignof(Ip6Addr) == 1);
static_assert(Ip6Addr(0x20010db800000000, 1).masked(32) == Ip6Addr(0x20010db800000000, 0));

TEST(Ip6AddrTest, wordsAndBytesAreInTheOrderOfTheWire) {
  const Ip6Addr address = Ip6Addr::parse("102:304:506:708:90a:b0c:d0e:f10");
  EXPECT_EQ(address.high(), 0x0102030405060708U);
  EXPECT_EQ(address.low(), 0x090a0b0c0d0e0f10U);
  EXPECT_EQ(Ip6Addr(address.high(), address.low()), address);
  EXPECT_EQ(Ip6Addr(address.bytes()), address);
  for (std::uint8_t i = 0; i < 16; ++i) EXPECT_EQ(address.bytes()[i], i + 1);
}

TEST(Ip6AddrTest, fullFormOfRfc4291IsRead) {
  EXPECT_EQ(Ip6Addr::parse("ABCD:EF01:2345:6789:ABCD:EF01:2345:6789"),
            Ip6Addr(0xABCDEF0123456789, 0xABCDEF0123456789));
  EXPECT_EQ(Ip6Addr::parse("2001:DB8:0:0:8:800:200C:417A"),
            Ip6Addr(0x20010DB800000000, 0x00080800200C417A));
}

TEST(Ip6AddrTest, compressedFormsOfRfc4291AreTheFullOnes) {
  const struct {
    const char* full;
    const char* compressed;
  } cases[] = {
      {"2001:DB8:0:0:8:800:200C:417A", "2001:DB8::8:800:200C:417A"},
      {"FF01:0:0:0:0:0:0:101", "FF01::101"},
      {"0:0:0:0:0:0:0:1", "::1"},
      {"0:0:0:0:0:0:0:0", "::"},
      {"1:0:0:0:0:0:0:0", "1::"},
      {"1:2:3:4:5:6:7:0", "1:2:3:4:5:6:7::"},
      {"0:2:3:4:5:6:7:8", "::2:3:4:5:6:7:8"},
      {"1:2:3:0:5:6:7:8", "1:2:3::5:6:7:8"},
  };
  for (const auto& [full, compressed] : cases) {
    EXPECT_EQ(Ip6Addr::parse(full), Ip6Addr::parse(compressed)) << compressed;
  }
}

TEST(Ip6AddrTest, mixedFormsOfRfc4291AreRead) {
  EXPECT_EQ(Ip6Addr::parse("0:0:0:0:0:0:13.1.68.3"), Ip6Addr(0, 0x0d014403));
  EXPECT_EQ(Ip6Addr::parse("::13.1.68.3"), Ip6Addr(0, 0x0d014403));
  EXPECT_EQ(Ip6Addr::parse("0:0:0:0:0:FFFF:129.144.52.38"), Ip6Addr(0, 0xFFFF81903426));
  EXPECT_EQ(Ip6Addr::parse("::FFFF:129.144.52.38"), Ip6Addr(0, 0xFFFF81903426));
  EXPECT_EQ(Ip6Addr::parse("64:ff9b::192.0.2.33"), Ip6Addr(0x0064ff9b00000000, 0xc0000221));
  EXPECT_EQ(Ip6Addr::parse("1:2:3:4:5::192.0.2.33"),
            Ip6Addr(0x0001000200030004, 0x00050000c0000221));
  EXPECT_EQ(Ip6Addr::parse("1:2:3:4:5:6:192.0.2.33"),
            Ip6Addr(0x0001000200030004, 0x00050006c0000221));
}

TEST(Ip6AddrTest, leadingZerosAreNotWritten) {
  EXPECT_EQ(rewritten("2001:0db8::0001"), "2001:db8::1");
  EXPECT_EQ(rewritten("0001:0020:0300:4000:0:00:000:0001"), "1:20:300:4000::1");
}

TEST(Ip6AddrTest, zeroRunIsShortenedAsMuchAsPossible) {
  EXPECT_EQ(rewritten("2001:db8:0:0:0:0:2:1"), "2001:db8::2:1");
  EXPECT_EQ(rewritten("2001:db8::0:0:2:1"), "2001:db8::2:1");
  EXPECT_EQ(rewritten("2001:db8:0:0::"), "2001:db8::");
}

TEST(Ip6AddrTest, oneZeroGroupIsNotShortened) {
  EXPECT_EQ(rewritten("2001:db8::1:1:1:1:1"), "2001:db8:0:1:1:1:1:1");
  EXPECT_EQ(rewritten("::2:3:4:5:6:7:8"), "0:2:3:4:5:6:7:8");
  EXPECT_EQ(rewritten("1:2:3:4:5:6:7::"), "1:2:3:4:5:6:7:0");
}

TEST(Ip6AddrTest, longestZeroRunIsShortened) {
  EXPECT_EQ(rewritten("2001:0:0:1:0:0:0:1"), "2001:0:0:1::1");
  EXPECT_EQ(rewritten("2001:0:0:0:1:0:0:1"), "2001::1:0:0:1");
  EXPECT_EQ(rewritten("0:0:1:0:0:0:1:0"), "0:0:1::1:0");
}

TEST(Ip6AddrTest, firstOfEqualZeroRunsIsShortened) {
  EXPECT_EQ(rewritten("2001:db8:0:0:1:0:0:1"), "2001:db8::1:0:0:1");
  EXPECT_EQ(rewritten("0:0:1:2:3:4:0:0"), "::1:2:3:4:0:0");
  EXPECT_EQ(rewritten("0:0:0:1:1:0:0:0"), "::1:1:0:0:0");
}

TEST(Ip6AddrTest, lowerCaseIsWritten) {
  EXPECT_EQ(rewritten("2001:DB8:AAAA:BBBB:CCCC:DDDD:EEEE:FFFF"),
            "2001:db8:aaaa:bbbb:cccc:dddd:eeee:ffff");
}

TEST(Ip6AddrTest, onlyMappedAddressesAreWrittenWithADottedQuad) {
  EXPECT_EQ(rewritten("::ffff:c000:201"), "::ffff:192.0.2.1");
  EXPECT_EQ(rewritten("::ffff:0:0"), "::ffff:0.0.0.0");
  EXPECT_EQ(rewritten("::192.0.2.1"), "::c000:201");
  EXPECT_EQ(rewritten("64:ff9b::192.0.2.33"), "64:ff9b::c000:221");
  EXPECT_EQ(rewritten("::1:ffff:192.0.2.1"), "::1:ffff:c000:201");
  EXPECT_EQ(rewritten("1::ffff:192.0.2.1"), "1::ffff:c000:201");
  EXPECT_EQ(rewritten("::fffe:192.0.2.1"), "::fffe:c000:201");
}

// Each group zero or not: all 256 shapes that "::" can take.
TEST(Ip6AddrTest, everyPatternOfZeroGroupsIsWrittenAsTheCLibraryDoes) {
  for (unsigned pattern = 0; pattern < 256; ++pattern) {
    Ip6Addr::Bytes bytes{};
    for (std::size_t group = 0; group < 8; ++group) {
      if ((pattern >> group & 1U) != 0) bytes[2 * group] = 0x12;
    }
    const Ip6Addr address(bytes);
    EXPECT_EQ(Ip6Addr::parse(address.toString()), address);
    const bool compatible = address.high() == 0 && address.low() >> 32U == 0;
    if (!compatible) {
      EXPECT_EQ(address.toString(), LanxTest::oracleText(address));
    }
  }
}

TEST(Ip6AddrTest, randomAddressesAreWrittenAsTheCLibraryDoes) {
  LanxTest::Random random(2);
  for (unsigned round = 0; round < 200'000; ++round) {
    const Ip6Addr address = LanxTest::randomAddress(random, ipv6);
    const std::string text = address.toString();
    ASSERT_EQ(Ip6Addr::parse(text), address) << text;
    const bool compatible = address.high() == 0 && address.low() >> 32U == 0;
    if (!compatible) {
      ASSERT_EQ(text, LanxTest::oracleText(address));
    }
  }
}

TEST(Ip6AddrTest, randomTextsAreAcceptedExactlyWhereTheCLibraryDoes) {
  LanxTest::Random random(3);
  unsigned accepts = 0;
  for (unsigned round = 0; round < 400'000; ++round) {
    const Ip6Addr address = LanxTest::randomAddress(random, ipv6);
    const std::string right = round % 2 == 0 ? LanxTest::oracleText(address) : address.toString();
    const std::string text =
        round % 8 == 0 ? LanxTest::garbage(random) : LanxTest::mutated(right, random);
    const auto value = LanxTest::accepted<Ip6Addr>(text);
    ASSERT_EQ(value, LanxTest::oracleOf(text, ipv6)) << '"' << text << '"';
    if (!value) continue;
    ++accepts;
    ASSERT_EQ(Ip6Addr::parse(value->toString()), *value) << text;
  }
  EXPECT_GT(accepts, 1000U);
}

TEST(Ip6AddrTest, maskOfEveryLengthKeepsTheFirstBits) {
  LanxTest::Random random(4);
  for (unsigned round = 0; round < 50; ++round) {
    const Ip6Addr address = round == 0 ? Ip6Addr(~std::uint64_t{0}, ~std::uint64_t{0})
                                       : LanxTest::randomAddress(random, ipv6);
    for (unsigned length = 0; length < 256; ++length) {
      EXPECT_EQ(address.masked(static_cast<std::uint8_t>(length)).bytes(),
                LanxTest::naivelyMasked(address.bytes(), length))
          << address << " masked to " << length;
    }
  }
}

TEST(Ip6AddrTest, orderIsThatOfTheBytesOnTheWire) {
  LanxTest::Random random(5);
  for (unsigned round = 0; round < 10'000; ++round) {
    const Ip6Addr a = LanxTest::randomAddress(random, ipv6);
    const Ip6Addr b = random() % 2 == 0 ? LanxTest::randomAddress(random, ipv6)
                                        : Ip6Addr(a.high(), LanxTest::randomWord(random));
    EXPECT_EQ(a < b, a.bytes() < b.bytes()) << a << ' ' << b;
    EXPECT_EQ(a == b, a.bytes() == b.bytes()) << a << ' ' << b;
  }
}

TEST(Ip6AddrTest, malformedTextIsRefusedWithWhatWasGivenAndWhatWouldBeRight) {
  const struct {
    const char* text;
    const char* fault;
  } cases[] = {
      {"", "there are fewer than eight groups and no '::'"},
      {"1", "there are fewer than eight groups and no '::'"},
      {"1:2:3:4:5:6:7", "there are fewer than eight groups and no '::'"},
      {"192.0.2.1", "there are fewer than eight groups and no '::'"},
      {"1:2:3:4:5:192.0.2.1", "there are fewer than eight groups and no '::'"},
      {"1:2:3:4:5:6:7:8:9", "there are more than eight groups"},
      {"1:2:3:4:5:6:7:192.0.2.1", "there are more than eight groups"},
      {"1:2:3:4:5:6:7:8::", "'::' stands for no group"},
      {"1:2:3:4::5:6:7:8", "'::' stands for no group"},
      {"::1:2:3:4:5:6:7:8", "'::' stands for no group"},
      {"::1:2:3:4:5:6:192.0.2.1", "'::' stands for no group"},
      {"1::2::3", "'::' stands twice"},
      {"::1::", "'::' stands twice"},
      {":", "a group of hexadecimal digits is missing"},
      {":::", "a group of hexadecimal digits is missing"},
      {"1:::2", "a group of hexadecimal digits is missing"},
      {":1:2:3:4:5:6:7", "a group of hexadecimal digits is missing"},
      {"1:2:3:4:5:6:7:", "it ends in a single ':'"},
      {"::1:", "it ends in a single ':'"},
      {"00001::", "a group has more than four digits"},
      {"12345::", "a group has more than four digits"},
      {"g::", "a group of hexadecimal digits is missing"},
      {"G::", "a group of hexadecimal digits is missing"},
      {"1g::", "a group has something other than hexadecimal digits"},
      {"::-1", "a group of hexadecimal digits is missing"},
      {"::0x1", "a group has something other than hexadecimal digits"},
      {"fe80::1%eth0", "a group has something other than hexadecimal digits"},
      {"[::1]", "a group of hexadecimal digits is missing"},
      {" ::1", "a group of hexadecimal digits is missing"},
      {"::1 ", "a group has something other than hexadecimal digits"},
      {"::1/128", "a group has something other than hexadecimal digits"},
      {"::192.0.2.256", "a number is above 255"},
      {"::192.0.2", "four numbers are not joined by dots"},
      {"::192.0.2.01", "a number has a leading zero"},
      {"::192.0.2.1:1", "something follows the fourth number"},
      {"::a.0.2.1", "a number is missing"},
      {"::.0.2.1", "a number is missing"},
      {"none", "a group of hexadecimal digits is missing"},
  };
  for (const auto& [text, fault] : cases) {
    EXPECT_THAT(refusal<Ip6Addr>(text),
                AllOf(HasSubstr("Lanx::Ip6Addr::text \"" + std::string(text) + "\" not allowed: "),
                      HasSubstr(fault), HasSubstr("; write it like 2001:db8::1")));
  }
}

}  // namespace
