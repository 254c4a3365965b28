#include "framework/Lanx/IpAddr.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <string>

#include "tests/framework/Lanx/AddressSupport.h"

namespace {

using Lanx::IpAddr;
using LanxTest::refusal;
using ::testing::AllOf;
using ::testing::HasSubstr;

std::array<std::uint8_t, 4> wireBytes(IpAddr address) {
  const std::uint32_t value = address.value();
  return {static_cast<std::uint8_t>(value >> 24U), static_cast<std::uint8_t>(value >> 16U),
          static_cast<std::uint8_t>(value >> 8U), static_cast<std::uint8_t>(value)};
}

static_assert(sizeof(IpAddr) == 4);
static_assert(IpAddr(0x0a010203).masked(16) == IpAddr(0x0a010000), "usable in constants");

TEST(IpAddrTest, valueIsTheDottedQuadFromLeftToRight) {
  EXPECT_EQ(IpAddr::parse("10.0.0.1").value(), 0x0a000001U);
  EXPECT_EQ(IpAddr(0xc0000201).toString(), "192.0.2.1");
}

TEST(IpAddrTest, everyByteIsReadAndWrittenInEveryPlace) {
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    for (const unsigned shift : {0U, 8U, 16U, 24U}) {
      const IpAddr address(byte << shift);
      EXPECT_EQ(address.toString(), LanxTest::oracleText(address));
      EXPECT_EQ(IpAddr::parse(address.toString()), address);
    }
  }
}

TEST(IpAddrTest, maskOfEveryLengthKeepsTheFirstBits) {
  for (const std::uint32_t value : {0U, 1U, 0x80000000U, 0xFFFFFFFFU, 0xA5A5A5A5U, 0x5A5A5A5AU}) {
    for (unsigned length = 0; length < 256; ++length) {
      const IpAddr masked = IpAddr(value).masked(static_cast<std::uint8_t>(length));
      EXPECT_EQ(wireBytes(masked), LanxTest::naivelyMasked(wireBytes(IpAddr(value)), length))
          << value << " masked to " << length;
    }
  }
}

TEST(IpAddrTest, randomTextsAreAcceptedExactlyWhereTheCLibraryDoes) {
  LanxTest::Random random(1);
  unsigned accepts = 0;
  for (unsigned round = 0; round < 200'000; ++round) {
    const IpAddr address = LanxTest::randomAddress(random, static_cast<IpAddr*>(nullptr));
    const std::string text =
        round % 8 == 0 ? LanxTest::garbage(random) : LanxTest::mutated(address.toString(), random);
    const auto value = LanxTest::accepted<IpAddr>(text);
    ASSERT_EQ(value, LanxTest::oracleOf(text, static_cast<IpAddr*>(nullptr))) << '"' << text << '"';
    if (!value) continue;
    ++accepts;
    ASSERT_EQ(value->toString(), text) << "an IPv4 address has one text";
  }
  EXPECT_GT(accepts, 1000U);
}

TEST(IpAddrTest, malformedTextIsRefusedWithWhatWasGivenAndWhatWouldBeRight) {
  const struct {
    const char* text;
    const char* fault;
  } cases[] = {
      {"", "a number is missing"},
      {"10", "four numbers are not joined by dots"},
      {"10.1", "four numbers are not joined by dots"},
      {"10.0.0", "four numbers are not joined by dots"},
      {"10.0.0.", "a number is missing"},
      {".10.0.0.1", "a number is missing"},
      {"10..0.1", "a number is missing"},
      {"10.0.0.1.", "something follows the fourth number"},
      {"10.0.0.1.2", "something follows the fourth number"},
      {"10.0.0.1/32", "something follows the fourth number"},
      {"10.0.0.256", "a number is above 255"},
      {"1000.0.0.1", "a number is above 255"},
      {"4294967297.0.0.1", "a number is above 255"},
      {"010.0.0.1", "a number has a leading zero"},
      {"10.0.0.00", "a number has a leading zero"},
      {"10.0.0.0000000000000000000001", "a number has a leading zero"},
      {"0x0a.0.0.1", "four numbers are not joined by dots"},
      {"a.0.0.1", "a number is missing"},
      {"-1.0.0.1", "a number is missing"},
      {"+1.0.0.1", "a number is missing"},
      {" 10.0.0.1", "a number is missing"},
      {"10.0.0.1 ", "something follows the fourth number"},
      {"10.0.0.1\n", "something follows the fourth number"},
      {"10,0,0,1", "four numbers are not joined by dots"},
      {"::1", "a number is missing"},
      {"none", "a number is missing"},
  };
  for (const auto& [text, fault] : cases) {
    EXPECT_THAT(refusal<IpAddr>(text), AllOf(HasSubstr("Lanx::IpAddr::text \""),
                                             HasSubstr(std::string("\" not allowed: ") + fault),
                                             HasSubstr("; write it like 192.0.2.1")))
        << text;
  }
}

TEST(IpAddrTest, refusalReadsAsOneSentence) {
  EXPECT_EQ(refusal<IpAddr>("10.0.0.256"),
            "Lanx::IpAddr::text \"10.0.0.256\" not allowed: a number is above 255; write it like "
            "192.0.2.1");
}

TEST(IpAddrTest, refusalIsOneLineAndCutsLongTexts) {
  EXPECT_THAT(refusal<IpAddr>(std::string_view("1\0\n\x7F", 4)),
              HasSubstr("\"1\\x00\\x0a\\x7f\" not allowed"));
  EXPECT_THAT(refusal<IpAddr>(std::string(64, 'x')), HasSubstr(std::string(64, 'x') + "\" not"));
  EXPECT_THAT(refusal<IpAddr>(std::string(65, 'x')),
              AllOf(HasSubstr("\"" + std::string(64, 'x') + "\"... not allowed")));
}

TEST(IpAddrTest, zeroByteDoesNotEndTheText) {
  EXPECT_NE(refusal<IpAddr>(std::string_view("10.0.0.1\0", 9)), "accepted");
}

}  // namespace
