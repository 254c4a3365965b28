#include "framework/Fleetlog/TraceFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "framework/Fleetlog/Fleetlog.h"
#include "framework/Pith/Assert.h"
#include "framework/Pith/RangeException.h"
#include "tests/framework/Fleetlog/TraceSupport.h"

namespace {

using FleetlogTest::areConsecutive;
using FleetlogTest::numberOf;
using FleetlogTest::Read;
using FleetlogTest::read;
using FleetlogTest::smallest;
using FleetlogTest::writeNumber;
using testing::ElementsAre;
using testing::SizeIs;

TEST(TraceFileTest, KeepsTheNewestMessagesWhenTheRingIsFull) {
  Fleetlog::TraceFile file(smallest);
  constexpr std::uint64_t laps = 5;
  constexpr std::uint64_t count = laps * 2 * 65536 / 32;
  for (std::uint64_t number = 0; number < count; ++number) writeNumber(file, number, "text");
  const Read found = read(file.bytes());
  EXPECT_EQ(found.result.faultCount, 0U);
  ASSERT_FALSE(found.texts.empty());
  EXPECT_TRUE(areConsecutive(found.texts));
  EXPECT_EQ(numberOf(found.texts.back()), count - 1);
  // A block less than the ring is always there: here about 60 KiB of 32 bytes each.
  EXPECT_GE(found.texts.size(), 60U * 1024 / 32);
  EXPECT_LE(found.texts.size(), 128U * 1024 / 32);
}

TEST(TraceFileTest, IsWholeAfterEveryMessageOfALap) {
  Fleetlog::TraceFile file(smallest);
  const std::string text(1000, 'x');
  for (std::uint64_t number = 0; number < 400; ++number) {
    writeNumber(file, number, text.substr(0, number * 37 % 1000));
    const Read found = read(file.bytes());
    ASSERT_EQ(found.result.faultCount, 0U) << found.result.faults.front().text;
    ASSERT_TRUE(areConsecutive(found.texts));
    ASSERT_EQ(numberOf(found.texts.back()), number);
  }
}

TEST(TraceFileTest, HoldsMessagesOfTheLargestSizeUpToTheEndOfABlock) {
  Fleetlog::TraceFile file(smallest);
  constexpr Fleetlog::Function fn("void Test::large()");
  static constinit Fleetlog::MsgDesc desc(FleetlogTest::facility, fn, "number %s%s%s%s%s", 1, 5,
                                          Fleetlog::withoutSignature);
  const std::string text(1000, 'x');
  for (std::uint64_t number = 0; number < 100; ++number) {
    Fleetlog::RingBuf ring(file);
    ASSERT_TRUE(ring.startMsg(desc));
    ring.put(number).put(text).put(text).put(text).put(text);
    ring.endMsg();
  }
  const Read found = read(file.bytes());
  EXPECT_EQ(found.result.faultCount, 0U);
  EXPECT_TRUE(areConsecutive(found.texts));
  EXPECT_GE(found.texts.size(), 15U);
}

TEST(TraceFileTest, CountsMessagesWhoseDescriptorsFindNoRoom) {
  Fleetlog::TraceFile file(smallest);
  constexpr Fleetlog::Function fn("void Test::descriptor()");
  // Descriptors for 4 KiB: of 32 bytes and the texts, here about 100 bytes each.
  const std::string format = "number %s" + std::string(50, '.');
  std::vector<std::unique_ptr<Fleetlog::MsgDesc>> descs;
  std::uint64_t written = 0;
  for (std::uint64_t number = 0; number < 100; ++number) {
    descs.push_back(std::make_unique<Fleetlog::MsgDesc>(FleetlogTest::facility, fn, format, 1, 5,
                                                        Fleetlog::withoutSignature));
    Fleetlog::RingBuf ring(file);
    if (!ring.startMsg(*descs.back())) continue;
    ring.put(number);
    ring.endMsg();
    ++written;
  }
  EXPECT_GT(written, 20U);
  EXPECT_LT(written, 50U);
  const Read found = read(file.bytes());
  EXPECT_THAT(found.texts, SizeIs(written));
  EXPECT_EQ(found.result.faultCount, 0U);
  EXPECT_EQ(found.result.lost, 100 - written);
  EXPECT_EQ(file.lost(), 100 - written);
}

TEST(TraceFileTest, CutsDescriptorsOfEndlessTexts) {
  Fleetlog::TraceFile file;
  const std::string text(5000, 's');
  const Fleetlog::Function fn{text};
  Fleetlog::MsgDesc desc(FleetlogTest::facility, fn, text, 1, 5, Fleetlog::withSignature);
  Fleetlog::RingBuf ring(file);
  ASSERT_TRUE(ring.startMsg(desc));
  ring.endMsg();
  EXPECT_THAT(read(file.bytes()).texts, ElementsAre(std::string(4000, 's')));
}

TEST(TraceFileTest, LeavesAFileThatHoldsAll) {
  const FleetlogTest::TemporaryFolder folder;
  const auto path = folder / "trace";
  {
    Fleetlog::TraceFile file(path, smallest);
    writeNumber(file, 1, "one");
    file.flush();
    writeNumber(file, 2, "two");
  }
  const Read found = read(Fleetlog::readTraceFile(path));
  EXPECT_THAT(found.texts, ElementsAre("number 1 one", "number 2 two"));
  EXPECT_EQ(found.result.faultCount, 0U);
  EXPECT_EQ(found.result.processId, static_cast<std::uint64_t>(getpid()));
}

TEST(TraceFileTest, KeepsThePreviousFile) {
  const FleetlogTest::TemporaryFolder folder;
  const auto path = folder / "trace";
  for (std::uint64_t run = 1; run <= 3; ++run) {
    Fleetlog::TraceFile file(path, smallest);
    writeNumber(file, run);
  }
  EXPECT_THAT(read(Fleetlog::readTraceFile(path)).texts, ElementsAre("number 3 "));
  EXPECT_THAT(read(Fleetlog::readTraceFile(folder / "trace.previous")).texts,
              ElementsAre("number 2 "));
}

TEST(TraceFileTest, RaisesWhatTheSystemRefuses) {
  const FleetlogTest::TemporaryFolder folder;
  const auto missing = folder / "missing" / "trace";
  EXPECT_THROW(Fleetlog::TraceFile{missing}, std::system_error);
  EXPECT_THROW(Fleetlog::readTraceFile(missing), std::system_error);
  EXPECT_THROW(Fleetlog::readTraceFile(missing.parent_path().parent_path()), std::system_error);
  EXPECT_THROW(Fleetlog::readTraceFile("/dev/null"), std::system_error);
  const Fleetlog::TraceFile::Sizes huge{.ringBytes = SIZE_MAX, .descriptorBytes = 0};
  EXPECT_THROW(Fleetlog::TraceFile{huge}, Pith::RangeException);
}

TEST(TraceFileTest, DetachesItselfWhenItEnds) {
  auto file = std::make_unique<Fleetlog::TraceFile>(smallest);
  Fleetlog::traceFileIs(file.get());
  EXPECT_EQ(Fleetlog::traceFile(), file.get());
  EXPECT_TRUE(FleetlogTest::facility.enabled(9));
  file.reset();
  EXPECT_EQ(Fleetlog::traceFile(), nullptr);
  EXPECT_FALSE(FleetlogTest::facility.enabled(0));
  Fleetlog::flush();
}

TEST(TraceFileDeathTest, IsFlushedByAFailedAssertion) {
  const FleetlogTest::TemporaryFolder folder;
  const auto path = folder / "trace";
  EXPECT_DEATH(
      {
        Fleetlog::TraceFile file(path, smallest);
        Fleetlog::traceFileIs(&file);
        writeNumber(file, 1, "last words");
        PITH_ASSERT(path.empty());
      },
      "assertion failed: path.empty\\(\\)");
  EXPECT_THAT(read(Fleetlog::readTraceFile(path)).texts, ElementsAre("number 1 last words"));
}

}  // namespace
