// Files of processes that were killed, and of processes that write while they are read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "tests/framework/Fleetlog/TraceSupport.h"

namespace {

using FleetlogTest::areConsecutive;
using FleetlogTest::numberOf;
using FleetlogTest::Read;
using FleetlogTest::read;
using FleetlogTest::writeNumber;

// A process that writes numbers from 0 on into a trace file until it is killed.
class Writer {
 public:
  // Returns when it has written `count` of them.
  Writer(const std::filesystem::path& path, const Fleetlog::TraceFile::Sizes& sizes,
         std::uint64_t count) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("pipe");
    process_ = fork();
    if (process_ == 0) {
      write(path, sizes, count, ends[1]);
      _exit(1);
    }
    close(ends[1]);
    char ready = 0;
    const bool told = ::read(ends[0], &ready, 1) == 1;
    close(ends[0]);
    if (!told) throw std::runtime_error("the writer ended");
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;
  ~Writer() { kill(); }

  void kill() {
    if (process_ <= 0) return;
    ::kill(process_, SIGKILL);
    int status = 0;
    waitpid(process_, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    process_ = 0;
  }

 private:
  static void write(const std::filesystem::path& path, const Fleetlog::TraceFile::Sizes& sizes,
                    std::uint64_t count, int pipeEnd) {
    Fleetlog::TraceFile file(path, sizes);
    for (std::uint64_t number = 0;; ++number) {
      if (number == count && ::write(pipeEnd, "r", 1) != 1) return;
      writeNumber(file, number, std::string(number % 50, 'x'));
    }
  }

  pid_t process_ = -1;
};

void expectWhole(const Read& found) {
  ASSERT_EQ(found.result.faultCount, 0U)
      << found.result.faults.front().at << ": " << found.result.faults.front().text;
  ASSERT_FALSE(found.texts.empty());
  ASSERT_TRUE(areConsecutive(found.texts));
  for (const std::string& text : found.texts) {
    ASSERT_EQ(text, "number " + std::to_string(numberOf(text)) + " " +
                        std::string(numberOf(text) % 50, 'x'));
  }
}

TEST(KilledWriterTest, LeavesEveryMessageUpToItsEnd) {
  const FleetlogTest::TemporaryFolder folder;
  const auto path = folder / "trace";
  for (std::uint64_t round = 0; round < 30; ++round) {
    const std::uint64_t count = round * 997;  // in the first laps and in later ones
    Writer writer(path, {.ringBytes = 0, .descriptorBytes = 0}, count);
    writer.kill();
    const Read found = read(Fleetlog::readTraceFile(path));
    if (count == 0 && found.texts.empty()) continue;
    expectWhole(found);
    EXPECT_GE(numberOf(found.texts.back()) + 1, count);
  }
}

TEST(KilledWriterTest, LeavesTheFirstMessageToo) {
  const FleetlogTest::TemporaryFolder folder;
  const auto path = folder / "trace";
  Writer writer(path, {.ringBytes = std::size_t{8} << 20U, .descriptorBytes = 0}, 50'000);
  writer.kill();
  const Read found = read(Fleetlog::readTraceFile(path));
  expectWhole(found);
  EXPECT_GE(found.texts.size(), 50'000U);
}

TEST(KilledWriterTest, IsReadWhileItWrites) {
  const FleetlogTest::TemporaryFolder folder;
  const auto path = folder / "trace";
  const Writer writer(path, {.ringBytes = std::size_t{2} << 20U, .descriptorBytes = 0}, 100'000);
  std::uint64_t last = 0;
  for (int round = 0; round < 10; ++round) {
    const Read found = read(Fleetlog::readTraceFile(path));
    expectWhole(found);
    EXPECT_GE(numberOf(found.texts.back()), last);
    last = numberOf(found.texts.back());
  }
  EXPECT_GE(last, 99'999U);
}

}  // namespace
