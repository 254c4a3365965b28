// The running agent, with real files changed under it, signals and questions.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "agent/Server/Watch.h"
#include "tests/agent/Program.h"

#ifdef __SANITIZE_ADDRESS__
#define HAS_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define HAS_ADDRESS_SANITIZER
#endif
#endif

namespace {

using TestAgent::contentOf;
using TestAgent::Folder;
using TestAgent::Result;
using TestAgent::run;
using TestAgent::Running;

std::string oneRule(const std::string& ports) {
  return "source: {cli: {enabled: true, policy: {p: {rule: {10: {service: web, action: "
         "forward}}}}}}\n"
         "app: {web: {proto: [tcp], dstPortFieldSet: web}}\n"
         "fieldSetL4Port: {web: {ports: [" +
         ports + "]}}\n";
}

class RunTest : public ::testing::Test {
 protected:
  std::string socket() const { return folder_.path() + "/socket"; }
  std::vector<std::string> words(const std::string& file, std::vector<std::string> more = {}) {
    std::vector<std::string> result{"run", "--socket", socket(), file};
    result.insert(result.end(), more.begin(), more.end());
    return result;
  }
  Result ask(std::vector<std::string> question) const {
    question.insert(question.begin() + 1, {"--socket", socket()});
    return run(question);
  }

  Folder folder_;
};

TEST_F(RunTest, ShowsAnyObjectOfTheStore) {
  Running agent(words(folder_.file("a.yaml", oneRule("80"))));
  EXPECT_NE(agent.waitFor("ready").find(socket()), std::string::npos);
  EXPECT_NE(ask({"show"}).out.find("hwConfig\n"), std::string::npos);
  EXPECT_NE(ask({"show"}).out.find("source/cli\n"), std::string::npos);
  EXPECT_EQ(ask({"show", "source/cli/enabled"}).out, "true\n");
  EXPECT_EQ(ask({"show", "source/cli/policy/p/rule/10"}).out,
            "service=web,action=forward,log=false,nexthop=none\n");
  EXPECT_NE(ask({"show", "hwConfig/policy/p"}).out.find("\"41943041\": {"), std::string::npos);
  const Result missing = ask({"show", "hwConfig/policy/q"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.out, "there is no \"hwConfig/policy/q\"\n");
  EXPECT_EQ(ask({"show", "nothing"}).status, 1);
  EXPECT_EQ(ask({"show", "hwConfig/nothing/x"}).status, 2);
}

TEST_F(RunTest, ShowsItsStats) {
  Running agent(words(folder_.file("a.yaml", oneRule("80"))));
  agent.waitFor("ready");
  const std::string stats = ask({"show", "stats"}).out;
  EXPECT_NE(stats.find("Firewall::FwPolicy"), std::string::npos);
  EXPECT_NE(stats.find("0 commits, 0 refused"), std::string::npos) << stats;
}

TEST_F(RunTest, CommitsAChangedFileWhenItWatches) {
  const std::string file = folder_.file("a.yaml", oneRule("80"));
  Running agent(words(file, {"--watch"}));
  agent.waitFor("ready");
  folder_.file("a.yaml", oneRule("81"));
  const std::string line = agent.waitFor("committed");
  EXPECT_NE(line.find("committed: 2 changes, "), std::string::npos) << line;
  EXPECT_NE(ask({"show", "hwConfig/policy/p/rule/41943041"}).out.find("dstPort=81"),
            std::string::npos);
}

TEST_F(RunTest, CommitsAChangeInAWatchedFolder) {
  folder_.file("conf/a.yaml", oneRule("80"));
  Running agent(words(folder_.path() + "/conf", {"--watch"}));
  agent.waitFor("ready");
  folder_.file("conf/b.yaml", "app: {more: {}}\n");
  EXPECT_NE(agent.waitFor("committed").find("committed: 1 change, "), std::string::npos);
}

TEST(FileWatch, LooksAtNothingButDocumentsInAFolder) {
  const Folder folder;
  const std::string conf = folder.path();
  folder.file("a.yaml", "");
  std::string why;
  const Agent::FileWatch watch({conf}, why);
  EXPECT_EQ(why, "");
  EXPECT_FALSE(watch.changed());
  folder.file("note.txt", "");
  std::filesystem::create_symlink("a.yaml", conf + "/.a.yaml.swp");
  EXPECT_FALSE(watch.changed());
  for (const char* name : {"a.yaml", "b.yml", "c.json"}) {
    folder.file(name, "{}");
    EXPECT_TRUE(watch.changed()) << name;
  }
  std::filesystem::remove(conf + "/c.json");
  EXPECT_TRUE(watch.changed());
  EXPECT_FALSE(watch.changed());
}

TEST(FileWatch, LooksAtTheOneFileThatWasNamed) {
  const Folder folder;
  std::string why;
  const Agent::FileWatch watch({folder.file("a", "")}, why);
  folder.file("b.yaml", "");
  EXPECT_FALSE(watch.changed());
  folder.file("a", "");
  EXPECT_TRUE(watch.changed());
}

TEST(FileWatch, TellsWhatCannotBeWatched) {
  std::string why;
  const Agent::FileWatch watch({"/nowhere/a.yaml"}, why);
  EXPECT_EQ(why, "/nowhere: cannot be watched: No such file or directory");
}

TEST_F(RunTest, FollowsALinkThatIsMadeAndGoes) {
  folder_.file("conf/a.yaml", oneRule("80"));
  const std::string other = folder_.file("other.yaml", "app: {more: {}}\n");
  const std::string link = folder_.path() + "/conf/b.yaml";
  Running agent(words(folder_.path() + "/conf", {"--watch"}));
  agent.waitFor("ready");
  std::filesystem::create_symlink(other, link);
  EXPECT_NE(agent.waitFor("committed").find("committed: 1 change, "), std::string::npos);
  std::filesystem::remove(link);
  EXPECT_NE(agent.waitFor("committed").find("committed: 1 change, "), std::string::npos);
}

TEST_F(RunTest, KeepsWhatRunsWhenTheFileGoes) {
  const std::string file = folder_.file("a.yaml", oneRule("80"));
  Running agent(words(file, {"--watch"}));
  agent.waitFor("ready");
  const std::string before = ask({"show", "hwConfig"}).out;
  std::filesystem::remove(file);
  agent.waitFor("cannot be read: No such file or directory");
  agent.waitFor("refused; the running configuration stays");
  EXPECT_EQ(ask({"show", "hwConfig"}).out, before);
}

#ifndef HAS_ADDRESS_SANITIZER  // which wants all of the address space
TEST_F(RunTest, RefusesACandidateForWhichThereIsNoMemory) {
  const std::string file = folder_.file("a.json", "{}");
  Running agent(words(file));
  agent.waitFor("ready");
  const rlimit limit{std::size_t{256} << 20U, std::size_t{256} << 20U};
  ASSERT_EQ(prlimit(agent.id(), RLIMIT_AS, &limit, nullptr), 0);
  std::string text = "[";
  while (text.size() < 7'000'000) text += "0,";
  folder_.file("a.json", text + "0]");
  agent.signal(SIGHUP);
  agent.waitFor("the candidate cannot be read: std::bad_alloc");
  agent.waitFor("refused; the running configuration stays");
  folder_.file("a.json", "{\"app\": {\"web\": {}}}");
  agent.signal(SIGHUP);
  EXPECT_NE(agent.waitFor("committed").find("committed: 1 change, "), std::string::npos);
}
#endif

TEST_F(RunTest, AnswersOthersWhenSomebodyAsksNothing) {
  Running agent(words(folder_.file("a.yaml", oneRule("80"))));
  agent.waitFor("ready");
  const int silent = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  socket().copy(address.sun_path, sizeof(address.sun_path) - 1);
  ASSERT_EQ(connect(silent, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  EXPECT_EQ(ask({"show", "source/cli/enabled"}).out, "true\n");
  close(silent);
}

TEST_F(RunTest, NobodyElseMayConnect) {
  Running agent(words(folder_.file("a.yaml", oneRule("80"))));
  agent.waitFor("ready");
  using std::filesystem::perms;
  EXPECT_EQ(std::filesystem::status(socket()).permissions(),
            perms::owner_read | perms::owner_write);
}

TEST_F(RunTest, CommitsAtSighup) {
  const std::string file = folder_.file("a.yaml", oneRule("80"));
  Running agent(words(file));
  agent.waitFor("ready");
  folder_.file("a.yaml", oneRule("80, 90"));
  agent.signal(SIGHUP);
  EXPECT_NE(agent.waitFor("committed").find("committed: 1 change, "), std::string::npos);
  agent.signal(SIGHUP);
  EXPECT_NE(agent.waitFor("committed").find("committed: 0 changes, 0 writes"), std::string::npos);
}

TEST_F(RunTest, RefusesABadCandidateWholeAndKeepsWhatRuns) {
  const std::string file = folder_.file("a.yaml", oneRule("80"));
  Running agent(words(file, {"--watch"}));
  agent.waitFor("ready");
  const std::string before = ask({"show", "hwConfig"}).out;
  folder_.file("a.yaml", oneRule("90, x"));
  EXPECT_NE(agent.waitFor("error:").find("a.yaml:3:"), std::string::npos);
  agent.waitFor("refused; the running configuration stays");
  EXPECT_EQ(ask({"show", "hwConfig"}).out, before);
  EXPECT_NE(ask({"show", "stats"}).out.find("0 commits, 1 refused"), std::string::npos);
  folder_.file("a.yaml", oneRule("90"));
  agent.waitFor("committed");
}

TEST_F(RunTest, EndsCleanlyAtSigterm) {
  Running agent(words(folder_.file("a.yaml", oneRule("80"))));
  agent.waitFor("ready");
  agent.signal(SIGTERM);
  EXPECT_EQ(agent.wait(), 0);
  const Result nobody = ask({"show"});
  EXPECT_EQ(nobody.status, 3);
  EXPECT_NE(nobody.err.find("no agent answers"), std::string::npos);
}

TEST_F(RunTest, LeavesAReadableFlightRecorderWhenItIsKilled) {
  const std::string trace = folder_.path() + "/trace";
  const std::string file = folder_.file("a.yaml", oneRule("80"));
  {
    Running agent(words(file, {"--flight-recorder", trace}));
    agent.waitFor("ready");
    agent.signal(SIGKILL);
    EXPECT_EQ(agent.wait(), 128 + SIGKILL);
  }
  const Result read = TestAgent::runProgram(FLEETLOG_PROGRAM, {trace});
  EXPECT_EQ(read.status, 0);
  EXPECT_NE(read.out.find("Inserted new rule with ruleId=41943041"), std::string::npos);
  Running next(words(file));  // takes over the socket that was left
  EXPECT_NE(next.waitFor("ready").find("ready"), std::string::npos);
}

TEST_F(RunTest, TwoAgentsDoNotShareASocket) {
  const std::string file = folder_.file("a.yaml", oneRule("80"));
  Running agent(words(file));
  agent.waitFor("ready");
  const Result second = run({"run", "--socket", socket(), file});
  EXPECT_EQ(second.status, 3);
  EXPECT_NE(second.err.find("an agent is running there already"), std::string::npos);
}

TEST_F(RunTest, DoesNotTakeTheNameOfAFile) {
  const std::string file = folder_.file("a.yaml", oneRule("80"));
  EXPECT_EQ(run({"run", "--socket", file, file}).status, 3);
  EXPECT_EQ(contentOf(file), oneRule("80"));
}

TEST_F(RunTest, IsRefusedAtTheStartWithABadConfiguration) {
  EXPECT_EQ(run({"run", "--socket", socket(), folder_.file("a.yaml", "x: 1\n")}).status, 2);
}

TEST_F(RunTest, VerifiesThatItsOutputIsWhatItWouldBe) {
  Running agent(words("examples/campus"));
  agent.waitFor("ready");
  const Result verified = ask({"verify"});
  EXPECT_EQ(verified.status, 0);
  EXPECT_EQ(verified.out, "the output is what its configuration makes\n");
}

// Two segments claim a prefix; the file's order says who would be first from nothing.
std::string claimedBy(const std::string& segments) {
  return "switch: {hwCapability: {globalPrefixListSupported: true}}\n"
         "matchIpv4PrefixList: {l: {subnets: [10.0.0.0/8]}}\n"
         "source: {cli: {enabled: true, vrf: {default: {segment: {" +
         segments + "}}}}}\n";
}

TEST_F(RunTest, VerifyExplainsWhatTheWayDecidedAndResyncUndoesIt) {
  const std::string claimer = "{prefixIpv4Ml: 'matchList:l'}";
  const std::string file = folder_.file("a.yaml", claimedBy("a: {}, b: " + claimer));
  Running agent(words(file));
  agent.waitFor("ready");
  folder_.file("a.yaml", claimedBy("a: " + claimer + ", b: " + claimer));
  agent.signal(SIGHUP);
  agent.waitFor("committed");
  const Result differs = ask({"verify"});
  EXPECT_EQ(differs.status, 1);
  EXPECT_EQ(differs.out,
            "vrf/default/prefixList/10.0.0.0%2F8: is b, would be a\n"
            "    explained: Of several segments whose lists hold a prefix, the one that held it "
            "first owns it VRF-wide, until any of them gives it up: then the first of the others "
            "in the VRF does. Give such a prefix to its segment as a global prefix.\n"
            "1 difference\n");
  EXPECT_NE(ask({"resync"}).out.find(" writes\n"), std::string::npos);
  EXPECT_EQ(ask({"verify"}).status, 0);
}

TEST_F(RunTest, VerifyExplainsWhatADisabledSourceLeaves) {
  const auto two = [](const std::string& enabled) {
    return "source: {a: {enabled: true}, b: {enabled: " + enabled + ", policy: {p: {}}}}\n";
  };
  const std::string file = folder_.file("a.yaml", two("true"));
  Running agent(words(file));
  agent.waitFor("ready");
  folder_.file("a.yaml", two("false"));
  agent.signal(SIGHUP);
  agent.waitFor("committed");
  EXPECT_EQ(ask({"verify"}).out,
            "policy/p: is there, would be not there\n"
            "    explained: A disabled source leaves its policies and rules in the hardware while "
            "any other is enabled. Remove them before disabling it.\n"
            "1 difference\n");
  ask({"resync"});
  EXPECT_EQ(ask({"verify"}).status, 0);
}

TEST_F(RunTest, SetsTraceLevels) {
  const std::string file = folder_.file("a.yaml", oneRule("80"));
  Running agent(words(file));
  agent.waitFor("ready");
  EXPECT_EQ(ask({"trace-level", "Firewall/*", "5"}).status, 0);
  EXPECT_EQ(ask({"trace-level", "Firewall/*", "11"}).status, 2);
  folder_.file("a.yaml", "");
  agent.signal(SIGHUP);
  EXPECT_NE(agent.waitFor("Deleting RootSm").find("5 Firewall/"), std::string::npos);
}

}  // namespace
