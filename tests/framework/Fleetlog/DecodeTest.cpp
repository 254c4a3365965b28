// What the decoder makes of files that are cut and damaged. The rule of all tests: what it reads
// was written, in that order, and it says so when that is not all.
#include "framework/Fleetlog/Decode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tests/framework/Fleetlog/TraceSupport.h"

namespace {

using FleetlogTest::facility;
using FleetlogTest::isSubsequence;
using FleetlogTest::Read;
using FleetlogTest::read;
using FleetlogTest::smallest;
using FleetlogTest::writeNumber;
using testing::HasSubstr;
using testing::IsEmpty;

using Bytes = std::vector<std::byte>;

constexpr std::size_t headerBytes = 128;
constexpr std::size_t descriptorBytes = 4096;
constexpr std::size_t ringAt = headerBytes + descriptorBytes;
constexpr std::size_t blockBytes = 65536;

// Messages of all kinds of values from two sites.
Bytes someMessages(std::uint64_t count) {
  static constexpr Fleetlog::Function fn("void Test::kinds()");
  static constinit Fleetlog::MsgDesc desc(facility, fn, ": %s %s %s %s %s", 7, 8,
                                          Fleetlog::withSignature);
  Fleetlog::TraceFile file(smallest);
  for (std::uint64_t number = 0; number < count; ++number) {
    writeNumber(file, number, "some text");
    Fleetlog::RingBuf ring(file);
    if (!ring.startMsg(desc)) continue;
    ring.put(number % 2 == 0).put(-static_cast<std::int64_t>(number)).put(number << 40U);
    ring.putIp4(static_cast<std::uint32_t>(number)).putIp6(number, 1);
    ring.endMsg();
  }
  return {file.bytes().begin(), file.bytes().end()};
}

// Where the bytes that mean something end: zeros from there on.
std::size_t endOfUse(const Bytes& bytes, std::size_t begin, std::size_t end) {
  while (end > begin && bytes[end - 1] == std::byte{0}) --end;
  return end;
}

void expectHonest(const Read& found, const std::vector<std::string>& written,
                  const std::string& what) {
  ASSERT_TRUE(isSubsequence(found.texts, written)) << what;
  ASSERT_TRUE(found.result.faultCount > 0 || found.texts == written) << what;
}

TEST(DecodeTest, ReadsTheBeginningOfAFileThatIsCutAnywhere) {
  const Bytes whole = someMessages(20);
  const std::vector<std::string> written = read(whole).texts;
  const std::size_t descriptorsEnd = endOfUse(whole, headerBytes, ringAt) + 16;
  const std::size_t messagesEnd = endOfUse(whole, ringAt, ringAt + blockBytes) + 16;
  std::size_t longest = 0;
  for (std::size_t size = 0; size < whole.size(); ++size) {
    // Every byte where something is written, and around each change of what it is.
    if (size > descriptorsEnd && size < ringAt - 2) size = ringAt - 2;
    if (size > messagesEnd && size < ringAt + blockBytes - 2) size = ringAt + blockBytes - 2;
    if (size > ringAt + blockBytes + 32 && size < whole.size() - 2) size = whole.size() - 2;
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    const Read found = read(cut);
    ASSERT_EQ(found.result.faultCount, 1U) << size;
    ASSERT_THAT(found.result.faults.front().text, HasSubstr("cut")) << size;
    ASSERT_LE(found.texts.size(), written.size());
    ASSERT_TRUE(std::equal(found.texts.begin(), found.texts.end(), written.begin())) << size;
    ASSERT_GE(found.texts.size(), longest) << size;
    longest = found.texts.size();
    ASSERT_TRUE(size < messagesEnd || found.texts == written) << size;
  }
}

TEST(DecodeTest, NoticesEveryWrongByte) {
  const Bytes whole = someMessages(10);
  const std::vector<std::string> written = read(whole).texts;
  const std::size_t descriptorsEnd = endOfUse(whole, headerBytes, ringAt) + 16;
  const std::size_t messagesEnd = endOfUse(whole, ringAt, ringAt + blockBytes) + 16;
  std::mt19937_64 random(1);
  Bytes damaged = whole;
  for (std::size_t at = 0; at < messagesEnd; ++at) {
    if (at == descriptorsEnd) at = ringAt;
    const std::byte change{static_cast<unsigned char>(random() % 255 + 1)};
    damaged[at] ^= change;
    expectHonest(read(damaged), written, "byte " + std::to_string(at));
    damaged[at] = whole[at];
  }
}

TEST(DecodeTest, ReadsAroundADamagedMessage) {
  const Bytes whole = someMessages(10);
  const std::vector<std::string> written = read(whole).texts;
  const std::string text = "some text";
  for (std::size_t message = 0; message < 10; ++message) {
    Bytes damaged = whole;
    auto at = damaged.begin();
    const auto* const begin = reinterpret_cast<const std::byte*>(text.data());
    for (std::size_t i = 0; i <= message; ++i) {
      at = std::search(at, damaged.end(), begin, begin + text.size()) + 1;
    }
    *at ^= std::byte{1};
    const Read found = read(damaged);
    std::vector<std::string> others = written;
    others.erase(others.begin() + static_cast<std::ptrdiff_t>(2 * message));
    EXPECT_EQ(found.texts, others);
    ASSERT_EQ(found.result.faultCount, 1U);
    EXPECT_EQ(found.result.faults.front().text, "a message is damaged");
    const auto offset = static_cast<std::size_t>(at - damaged.begin());
    EXPECT_LT(found.result.faults.front().at, offset);
    EXPECT_GT(found.result.faults.front().at + 64, offset);
  }
}

TEST(DecodeTest, NamesTheMessagesOfADamagedDescriptor) {
  Bytes damaged = someMessages(3);
  const std::vector<std::string> written = read(damaged).texts;
  damaged[headerBytes + 30] ^= std::byte{1};  // of the first, which is that of writeNumber()
  const Read found = read(damaged);
  EXPECT_EQ(found.texts, (std::vector<std::string>{written[1], written[3], written[5]}));
  ASSERT_EQ(found.result.faultCount, 4U);
  EXPECT_EQ(found.result.faults[0].text, "a descriptor is damaged");
  EXPECT_EQ(found.result.faults[1].text, "the descriptor 1 of a message is missing");
}

TEST(DecodeTest, SurvivesDamageOfAnyExtentInARingThatWentRound) {
  const Bytes whole = someMessages(5000);
  const Read original = read(whole);
  ASSERT_EQ(original.result.faultCount, 0U);
  ASSERT_GT(original.texts.size(), 1000U);
  std::mt19937_64 random(2);
  for (int round = 0; round < 200; ++round) {
    Bytes damaged = whole;
    const std::size_t changes = random() % 20 + 1;
    for (std::size_t i = 0; i < changes; ++i) {
      damaged[random() % damaged.size()] = static_cast<std::byte>(random());
    }
    expectHonest(read(damaged), original.texts, "round " + std::to_string(round));
  }
}

TEST(DecodeTest, NoticesSectorsThatAreZero) {
  const Bytes whole = someMessages(5000);
  const std::vector<std::string> written = read(whole).texts;
  for (std::size_t at = ringAt; at < whole.size(); at += 512) {
    Bytes damaged = whole;
    std::fill_n(damaged.begin() + static_cast<std::ptrdiff_t>(at),
                std::min<std::size_t>(512, whole.size() - at), std::byte{0});
    const Read found = read(damaged);
    ASSERT_TRUE(isSubsequence(found.texts, written)) << at;
    // In the newest block zeros are where the writer has not been yet; the other one tells.
    const bool inNewest = found.result.faultCount == 0 && found.texts.size() < written.size();
    if (inNewest) {
      ASSERT_TRUE(std::equal(found.texts.begin(), found.texts.end(), written.begin())) << at;
    }
  }
}

TEST(DecodeTest, SaysWhyAFileIsNotATraceFile) {
  const auto faultOf = [](const Bytes& bytes) {
    const Read found = read(bytes);
    EXPECT_THAT(found.texts, IsEmpty());
    EXPECT_EQ(found.result.faultCount, 1U);
    return found.result.faults.front().text;
  };
  EXPECT_EQ(faultOf({}), "not a trace file, or cut: 0 bytes, less than a header has");
  EXPECT_EQ(faultOf(Bytes(1000, std::byte{'x'})),
            "not a trace file: it does not begin with FLEETLOG");
  Bytes bytes = someMessages(1);
  const auto with = [&](std::size_t at, std::uint32_t word) {
    Bytes changed = bytes;
    std::memcpy(&changed[at], &word, sizeof word);
    return changed;
  };
  EXPECT_EQ(faultOf(with(8, 0x04030201)),
            "written on a machine of the other byte order, or damaged");
  EXPECT_EQ(faultOf(with(12, 2)), "version 2 is not known");
  EXPECT_EQ(faultOf(with(48, 12345)), "the header is damaged: wrong check sum");
}

TEST(DecodeTest, KeepsTheFirstHundredFaultsAndCountsAll) {
  Bytes bytes = someMessages(500);
  const std::string text = "some text";
  const auto* const begin = reinterpret_cast<const std::byte*>(text.data());
  std::uint64_t damaged = 0;
  auto at = bytes.begin();
  while ((at = std::search(at, bytes.end(), begin, begin + text.size())) != bytes.end()) {
    *at++ ^= std::byte{1};
    ++damaged;
  }
  const Read found = read(bytes);
  EXPECT_EQ(damaged, 500U);
  EXPECT_EQ(found.result.faultCount, damaged);
  EXPECT_EQ(found.result.faults.size(), 100U);
  EXPECT_EQ(found.texts.size(), 500U);
}

}  // namespace
