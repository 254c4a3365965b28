// What the running agent answers, whoever asks: words as they come over the socket.
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "agent/Command/Commands.h"
#include "agent/Process/ExitStatus.h"
#include "agent/Server/Questions.h"
#include "agent/Server/Verify.h"
#include "tests/agent/Program.h"

namespace {

using Agent::Answer;
using Agent::answerTo;
using Agent::RunningConfiguration;
using Agent::Words;

class QuestionTest : public ::testing::Test {
 protected:
  QuestionTest() { EXPECT_EQ(running_.begin(), Agent::done); }

  Answer ask(const Words& words) { return answerTo(running_, words); }

  RunningConfiguration running_{{"examples/campus"}, Agent::CommonOptions{}};
};

const std::string unknown = "the agent does not know this question\n";

TEST_F(QuestionTest, TheLongestNameIsAsked) {
  EXPECT_NE(ask({"show"}).text.find("hwConfig\n"), std::string::npos);
  EXPECT_NE(ask({"show", "stats"}).text.find("0 commits, 0 refused"), std::string::npos);
  EXPECT_NE(ask({"show", "hwConfig"}).text.find("\"policy\": {"), std::string::npos);
}

TEST_F(QuestionTest, WhatNobodyDeclaredIsRefused) {
  for (const Words& words :
       {Words{}, Words{""}, Words{"nothing"}, Words{"stats"}, Words{"show stats"}, Words{"Show"}}) {
    const Answer answer = ask(words);
    EXPECT_EQ(answer.status, Agent::refused);
    EXPECT_EQ(answer.text, unknown);
  }
}

TEST_F(QuestionTest, TooManyOrTooFewWordsAreRefused) {
  for (const Words& words :
       {Words{"show", "hwConfig", "x"}, Words{"show", "stats", "x"}, Words{"verify", "x"},
        Words{"resync", "x"}, Words{"trace-level"}, Words{"trace-level", "Firewall/*"},
        Words{"trace-level", "Firewall/*", "5", "6"}}) {
    const Answer answer = ask(words);
    EXPECT_EQ(answer.status, Agent::refused) << words.front();
    EXPECT_EQ(answer.text, unknown) << words.front();
  }
}

// The reactors end the process at anything else in the directory of the sources.
void expectSourcesAlone(RunningConfiguration& running, const std::set<std::string>& names) {
  std::set<std::string> found;
  for (auto entry = running.store().fwConfigDir->entityPtrIteratorConst(); entry; ++entry) {
    found.insert(std::string(entry.key().view()));
    EXPECT_EQ(entry.ptr()->typeData().name, "Firewall::Config") << entry.key().view();
  }
  EXPECT_EQ(found, names);
}

TEST_F(QuestionTest, NothingThatIsAskedMakesOrChangesASource) {
  const std::string before = ask({"show", "hwConfig"}).text;
  std::vector<std::string> paths{"source",
                                 "source/",
                                 "source/new",
                                 "source/new/enabled",
                                 "source//enabled",
                                 "source/cli%2Fx",
                                 "source/cli/policy/new",
                                 "source/cli/policy/new/rule/10",
                                 "source/cli/vrf/new/segment/new",
                                 "source/cli/l2SegmentDir/new",
                                 "sources/new",
                                 "entityPtr/new",
                                 "matchList/matchIpv4PrefixList/new",
                                 "/Firewall::Config@1",
                                 "/Kiv::Dir@1/entityPtr/new",
                                 "../sources",
                                 "hwConfig/vrf/new",
                                 std::string("source/\0x", 9),
                                 std::string(60000, '/')};
  const std::string objects = ask({"show"}).text;
  std::istringstream names(objects);
  for (std::string name; std::getline(names, name);) {
    for (const char* below : {"", "/", "//", "/new", "/new/new", "/enabled", "/%", "/%2F"}) {
      paths.push_back(name + below);
    }
  }
  for (const std::string& path : paths) {
    EXPECT_NE(ask({"show", path}).text, "") << path;
    for (const char* const name : {"source", "write", "set", "show source", "resync", ""}) {
      EXPECT_EQ(ask({name, path, "true"}).text, unknown) << path;
    }
  }
  EXPECT_EQ(ask({"show"}).text, objects);
  EXPECT_EQ(ask({"show", "hwConfig"}).text, before);
  expectSourcesAlone(running_, {"cli"});
  EXPECT_TRUE(Agent::verify(running_.store()).empty());
}

// A key of "source" is a name and never a type; whatever stands there is a Firewall::Config or is
// refused.
TEST(Sources, ADocumentMakesConfigurationsAlone) {
  const TestAgent::Folder folder;
  const std::string capable = "switch: {hwCapability: {globalPrefixListSupported: true}}\n";
  const std::string file = folder.file("a.yaml", capable + "source: {a: {enabled: true}}\n");
  RunningConfiguration running({file}, Agent::CommonOptions{.quiet = true});
  ASSERT_EQ(running.begin(), Agent::done);
  for (const char* const refused :
       {"source: {b: x}", "source: {b: [x]}", "source: {b: {entityPtr: {c: {}}}}", "source: [b]",
        "source: x", "source: {'': {}}", "source: {b: {source: {c: {}}}}",
        "source: {b: {classMap: {c: {}}}}", "source: {b: {'/Kiv::Dir@1': {}}}", "sources: {b: {}}",
        "entityPtr: {b: {}}", "switch: {source: {b: {}}}", "source: !Kiv::Dir {b: {}}",
        "source: {b: &x {}, c: *x}"}) {
    folder.file("a.yaml", capable + refused + "\n");
    running.commit();
    expectSourcesAlone(running, {"a"});
  }
  EXPECT_EQ(running.figures().commits, 0U);
  folder.file("a.yaml", capable +
                            "source: {'/Kiv::Dir@1': {enabled: true}, 'a/b': , 'fwagent': {}, "
                            "'Firewall::Config': {enabled: true}}\n");
  running.commit();
  EXPECT_EQ(running.figures().commits, 1U);
  expectSourcesAlone(running, {"/Kiv::Dir@1", "a/b", "fwagent", "Firewall::Config"});
  EXPECT_TRUE(Agent::verify(running.store()).empty());
}

TEST_F(QuestionTest, EachHasACommandThatAsksItOrBelongsToOneThatHas) {
  std::set<std::string> commands;
  for (const Agent::Command& command : Agent::program().below) commands.insert(command.name);
  for (const Agent::Question& question : Agent::questions()) {
    EXPECT_EQ(commands.count(question.name.substr(0, question.name.find(' '))), 1U)
        << question.name;
  }
}

TEST(Commands, AskingForAnOptionThatIsNotDeclaredIsAFault) {
  Agent::Arguments common;
  common.declare(Agent::Option::flag("-q,--quiet", "")) = true;
  Agent::Arguments own(&common);
  own.declare(Agent::Option::of("--to", "FILE", "").otherwise("here"));
  EXPECT_TRUE(own.flag("--quiet"));
  EXPECT_EQ(own.text("--to"), "here");
  EXPECT_THROW(static_cast<void>(own.text("--from")), std::logic_error);
  EXPECT_THROW(static_cast<void>(common.text("--to")), std::logic_error);
}

TEST(Commands, AnOptionOfWordsHasThem) {
  using Agent::Option;
  const auto words = [](const char* value) { return Option::of("--x", value, "").choices(); };
  EXPECT_EQ(words("text|json|yaml"), (Words{"text", "json", "yaml"}));
  EXPECT_EQ(words("FILE"), Words{});
  EXPECT_EQ(Option::of("-o,--output", "FILE", "").name(), "--output");
}

}  // namespace
