#include "framework/Fleetlog/RingBuf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "tests/framework/Fleetlog/TraceSupport.h"

namespace {

using FleetlogTest::facility;
using FleetlogTest::read;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr Fleetlog::Function ringFn("void Test::ring()");

class RingBufTest : public testing::Test {
 protected:
  // The text of a message with one value.
  template <class T>
  std::string textOf(const T& value) {
    static constinit Fleetlog::MsgDesc desc(facility, ringFn, "%s", 1, 5,
                                            Fleetlog::withoutSignature);
    Fleetlog::RingBuf ring(file_);
    EXPECT_TRUE(ring.startMsg(desc));
    ring.put(value);
    ring.endMsg();
    return read(file_.bytes()).texts.back();
  }

  Fleetlog::TraceFile file_;
};

TEST_F(RingBufTest, KeepsIntegersOfEveryLength) {
  for (unsigned bit = 0; bit < 64; ++bit) {
    const std::uint64_t power = std::uint64_t{1} << bit;
    for (const std::uint64_t value : {power - 1, power, power + 1}) {
      EXPECT_EQ(textOf(value), std::to_string(value));
      EXPECT_EQ(textOf(static_cast<std::int64_t>(value)),
                std::to_string(static_cast<std::int64_t>(value)));
      EXPECT_EQ(textOf(static_cast<std::int64_t>(~value)),
                std::to_string(static_cast<std::int64_t>(~value)));
    }
  }
  EXPECT_EQ(textOf(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
  EXPECT_EQ(textOf(std::int8_t{-1}), "-1");
  EXPECT_EQ(textOf(std::uint16_t{65535}), "65535");
  EXPECT_EQ(read(file_.bytes()).result.faultCount, 0U);
}

TEST_F(RingBufTest, KeepsTextsOfEveryLength) {
  std::string text;
  for (int size = 0; size <= 1000; ++size) {
    EXPECT_EQ(textOf(text), text);
    text.push_back(static_cast<char>('a' + size % 26));
  }
  EXPECT_EQ(textOf(std::string_view("\0\xff\n", 3)), std::string("\0\xff\n", 3));
  EXPECT_EQ(textOf(true), "true");
  EXPECT_EQ(textOf(false), "false");
  EXPECT_EQ(textOf('x'), "x");
  EXPECT_EQ(textOf(static_cast<const char*>(nullptr)), "(null)");
}

TEST_F(RingBufTest, CutsATextAboveThousandBytes) {
  const std::string text(1001, 'x');
  EXPECT_EQ(textOf(text), std::string(1000, 'x') + "...");
  EXPECT_EQ(textOf(std::string(1'000'000, 'y')), std::string(1000, 'y') + "...");
  EXPECT_EQ(read(file_.bytes()).result.faultCount, 0U);
}

TEST_F(RingBufTest, CutsAMessageBehindTheLastValueThatFits) {
  static constinit Fleetlog::MsgDesc desc(facility, ringFn, "%s-%s-%s-%s-%s-%s.", 1, 5,
                                          Fleetlog::withoutSignature);
  const std::string text(1000, 'x');
  Fleetlog::RingBuf ring(file_);
  ASSERT_TRUE(ring.startMsg(desc));
  ring.put(text).put(text).put(text).put(text).put(text).put(6);
  ring.endMsg();
  EXPECT_THAT(read(file_.bytes()).texts,
              ElementsAre(text + "-" + text + "-" + text + "-" + text + "-...-...."));
  EXPECT_TRUE(FleetlogTest::writeNumber(file_, 1));
  EXPECT_THAT(read(file_.bytes()).texts, SizeIs(2));
  EXPECT_EQ(read(file_.bytes()).result.faultCount, 0U);
}

TEST_F(RingBufTest, KeepsAddressesAsTheirBytes) {
  static constinit Fleetlog::MsgDesc desc(facility, ringFn, "%s %s %s %s", 1, 5,
                                          Fleetlog::withoutSignature);
  Fleetlog::RingBuf ring(file_);
  ASSERT_TRUE(ring.startMsg(desc));
  ring.putIp4(0x0a000001).putIp4(0xffffffff).putIp6(0x20010db800000000, 1).putIp6(0, 0);
  ring.endMsg();
  EXPECT_THAT(read(file_.bytes()).texts, ElementsAre("10.0.0.1 255.255.255.255 2001:db8::1 ::"));
}

struct Range {
  std::uint16_t begin;
  std::uint16_t end;
  void fleetlogPut(Fleetlog::RingBuf& ring) const { ring.put(begin).put("-").put(end); }
};
struct Ranges {
  Range first;
  Range second;
  void fleetlogPut(Fleetlog::RingBuf& ring) const { ring.put(first).put(",").put(second); }
};
struct Nothing {
  void fleetlogPut(Fleetlog::RingBuf&) const {}
};

TEST_F(RingBufTest, JoinsThePiecesOfAValue) {
  static constinit Fleetlog::MsgDesc desc(facility, ringFn, "a %s b %s c %s d %s", 1, 5,
                                          Fleetlog::withoutSignature);
  Fleetlog::RingBuf ring(file_);
  ASSERT_TRUE(ring.startMsg(desc));
  ring.put(Range{80, 443}).put(Ranges{{1, 2}, {3, 4}}).put(Nothing()).put(7);
  ring.endMsg();
  EXPECT_THAT(read(file_.bytes()).texts, ElementsAre("a 80-443 b 1-2,3-4 c  d 7"));
}

TEST_F(RingBufTest, ShowsPlaceholdersWithoutValueAndValuesWithoutPlaceholder) {
  static constinit Fleetlog::MsgDesc one(facility, ringFn, "%s %s", 1, 5,
                                         Fleetlog::withoutSignature);
  static constinit Fleetlog::MsgDesc none(facility, ringFn, "none", 1, 5, Fleetlog::withSignature);
  Fleetlog::RingBuf ring(file_);
  ASSERT_TRUE(ring.startMsg(one));
  ring.put(1);
  ring.endMsg();
  ASSERT_TRUE(ring.startMsg(none));
  ring.put(2).put(3);
  ring.endMsg();
  EXPECT_THAT(read(file_.bytes()).texts, ElementsAre("1 %s", "void Test::ring()none 2 3"));
}

TEST_F(RingBufTest, ForgetsAMessageThatIsNotEnded) {
  static constinit Fleetlog::MsgDesc desc(facility, ringFn, "%s", 1, 5, Fleetlog::withoutSignature);
  {
    Fleetlog::RingBuf ring(file_);
    ASSERT_TRUE(ring.startMsg(desc));
    ring.put("never there");
    EXPECT_THAT(read(file_.bytes()).texts, IsEmpty());
  }
  EXPECT_TRUE(FleetlogTest::writeNumber(file_, 1));
  EXPECT_THAT(read(file_.bytes()).texts, ElementsAre("number 1 "));
  EXPECT_EQ(file_.lost(), 0U);
}

TEST_F(RingBufTest, RefusesAMessageInsideAnother) {
  static constinit Fleetlog::MsgDesc desc(facility, ringFn, "%s", 1, 5, Fleetlog::withoutSignature);
  Fleetlog::RingBuf ring(file_);
  ASSERT_TRUE(ring.startMsg(desc));
  ring.put("outer");
  EXPECT_FALSE(FleetlogTest::writeNumber(file_, 1));
  ring.endMsg();
  EXPECT_TRUE(FleetlogTest::writeNumber(file_, 2));
  EXPECT_THAT(read(file_.bytes()).texts, ElementsAre("outer", "number 2 "));
  EXPECT_EQ(file_.lost(), 1U);
  EXPECT_EQ(read(file_.bytes()).result.lost, 1U);
}

}  // namespace
