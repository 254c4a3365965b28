// The command fleetlog, as a shell runs it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "tests/framework/Fleetlog/TraceSupport.h"

namespace {

using FleetlogTest::smallest;
using FleetlogTest::writeNumber;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

std::string contentOf(const std::filesystem::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

class CommandTest : public testing::Test {
 protected:
  struct Outcome {
    int status;
    std::string out;
    std::string err;
  };

  // Programs lie in the folder bin/ beside that of the tests.
  Outcome run(const std::string& arguments) {
    const auto program =
        std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() / "bin" /
        "fleetlog";
    EXPECT_TRUE(std::filesystem::exists(program)) << program << " is not built";
    const auto out = folder_ / "out";
    const auto err = folder_ / "err";
    const std::string command =
        "{ " + program.string() + " " + arguments + "; } >" + out.string() + " 2>" + err.string();
    const int status = std::system(command.c_str());
    return {WEXITSTATUS(status), contentOf(out), contentOf(err)};
  }

  std::string path() const { return (folder_ / "trace").string(); }

  FleetlogTest::TemporaryFolder folder_;
};

constexpr const char* time = "[0-9]+-[0-9]+-[0-9]+T[0-9]+:[0-9]+:[0-9]+[.][0-9][0-9][0-9]Z ";

TEST_F(CommandTest, WritesALineForEachMessageOfAFileInUse) {
  Fleetlog::TraceFile file(path(), smallest);
  writeNumber(file, 1, "one");
  writeNumber(file, 2, "line\nbreak");
  const Outcome outcome = run(path());
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  const std::string head = std::string(time) + "6 Test/Fleetlog:[0-9]+ \\[number\\] ";
  EXPECT_THAT(outcome.out,
              MatchesRegex(head + "number 1 one\n" + head + "number 2 line\\\\x0abreak\n"));
}

TEST_F(CommandTest, ChoosesByLevelAndModule) {
  static constinit Pith::TraceFacility neighbour("Test/Neighbour");
  static constexpr Fleetlog::Function fn("void f()");
  static constinit Fleetlog::MsgDesc three(neighbour, fn, "three", 1, 3,
                                           Fleetlog::withoutSignature);
  Fleetlog::TraceFile file(path(), smallest);
  writeNumber(file, 6);
  Fleetlog::RingBuf ring(file);
  ASSERT_TRUE(ring.startMsg(three));
  ring.endMsg();

  const auto texts = [this](const std::string& options) {
    const Outcome outcome = run(options + " " + path());
    EXPECT_EQ(outcome.status, 0);
    const bool six = outcome.out.find("number 6") != std::string::npos;
    const bool hasThree = outcome.out.find("three") != std::string::npos;
    return std::string(six ? "6" : "") + (hasThree ? "3" : "");
  };
  EXPECT_EQ(texts(""), "63");
  EXPECT_EQ(texts("--level 6"), "63");
  EXPECT_EQ(texts("--level=5"), "3");
  EXPECT_EQ(texts("-l 2"), "");
  EXPECT_EQ(texts("--module Test/Neighbour"), "3");
  EXPECT_EQ(texts("--module Test/Neigh"), "");
  EXPECT_EQ(texts("-m 'Test/F*'"), "6");
  EXPECT_EQ(texts("-m 'Test/*' -l 3"), "3");
}

TEST_F(CommandTest, ReadsWhatItCanOfADamagedFile) {
  {
    Fleetlog::TraceFile file(path(), smallest);
    writeNumber(file, 1, "one");
    writeNumber(file, 2, "two");
    writeNumber(file, 3, "three");
  }
  std::string bytes = contentOf(path());
  bytes[bytes.find("two")] = 'T';
  std::ofstream(path()) << bytes;
  Outcome outcome = run(path());
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, HasSubstr("number 1 one\n"));
  EXPECT_THAT(outcome.out, HasSubstr("number 3 three\n"));
  EXPECT_THAT(outcome.err,
              MatchesRegex("fleetlog: " + path() + ": byte [0-9]+: a message is damaged\n"));

  std::filesystem::resize_file(path(), 1000);
  outcome = run(path());
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err,
            "fleetlog: " + path() + ": byte 1000: the file is cut: it should have 135296 bytes\n");
}

TEST_F(CommandTest, TellsWhatWasNotRecorded) {
  Fleetlog::TraceFile file(path(), smallest);
  static constexpr Fleetlog::Function fn("void f()");
  static constinit Fleetlog::MsgDesc desc(FleetlogTest::facility, fn, "outer", 1, 3,
                                          Fleetlog::withoutSignature);
  Fleetlog::RingBuf ring(file);
  ASSERT_TRUE(ring.startMsg(desc));
  writeNumber(file, 1);
  ring.endMsg();
  const Outcome outcome = run(path());
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "fleetlog: " + path() + ": messages that were not recorded: 1\n");
}

TEST_F(CommandTest, RefusesWrongUsage) {
  for (const char* arguments :
       {"", "a b", "--level 10 a", "--level x a", "--level '' a", "--what a"}) {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr("Try 'fleetlog --help'.\n"));
  }
  EXPECT_THAT(run("--level 10 a").err, StartsWith("fleetlog: level '10' is not one of 0 to 9\n"));
}

TEST_F(CommandTest, SaysWhenItCannotReadOrWrite) {
  Outcome outcome = run(path());
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.err, "fleetlog: " + path() + ": No such file or directory\n");
  Fleetlog::TraceFile file(path(), smallest);
  writeNumber(file, 1);
  outcome = run(path() + " >/dev/full");
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.err, "fleetlog: the output cannot be written\n");
}

TEST_F(CommandTest, ExplainsItself) {
  EXPECT_EQ(run("--help").status, 0);
  EXPECT_THAT(run("--help").out, StartsWith("usage: fleetlog [--level N] [--module M] FILE\n"));
  EXPECT_EQ(run("--version").status, 0);
  EXPECT_THAT(run("--version").out, StartsWith("fleetlog"));
}

}  // namespace
