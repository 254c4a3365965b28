// compile and diff, as whole processes.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "agent/Command/Commands.h"
#include "agent/Process/Timing.h"
#include "tests/agent/Program.h"

namespace {

using TestAgent::contentOf;
using TestAgent::Folder;
using TestAgent::Result;
using TestAgent::run;

constexpr const char* example = "examples/campus";

TEST(Compile, TheExampleAsTextIsAsKept) {
  for (const std::string columns : {"80", "200"}) {
    const Result result = run({"compile", example}, {"COLUMNS=" + columns});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, contentOf("tests/agent/campus-" + columns + ".txt"));
  }
}

TEST(Compile, JsonAndYamlTwinsGiveTheSame) {
  const Folder folder;
  const std::string yaml = folder.file("a.yaml",
                                       "source:\n"
                                       "  cli:\n"
                                       "    enabled: true\n"
                                       "    policy: {p: {rule: {10: {service: web, action: drop, "
                                       "log: true}}}}\n"
                                       "    vrf: {default: {segment: {a: {policy: {a: p}, "
                                       "interfaces: [E1]}}}}\n"
                                       "    l2SegmentDir: {segment: {v: {interfaces: {E1: [5-9, "
                                       "11]}}}}\n"
                                       "app: {web: {proto: [tcp]}}\n"
                                       "switch: {intfStatus: [E1], ipIntfStatus: {E1: default}}\n");
  const std::string json = folder.file("a.json",
                                       R"({"source": {"cli": {"enabled": true,
      "policy": {"p": {"rule": {"10": {"service": "web", "action": "drop", "log": true}}}},
      "vrf": {"default": {"segment": {"a": {"policy": {"a": "p"}, "interfaces": ["E1"]}}}},
      "l2SegmentDir": {"segment": {"v": {"interfaces": {"E1": ["5-9", 11]}}}}}},
      "app": {"web": {"proto": ["tcp"]}},
      "switch": {"intfStatus": ["E1"], "ipIntfStatus": {"E1": "default"}}})");
  for (const std::string format : {"text", "json", "yaml"}) {
    const Result ofYaml = run({"compile", "--format", format, yaml});
    const Result ofJson = run({"compile", "--format", format, json});
    EXPECT_EQ(ofYaml.status, 0) << ofYaml.err;
    EXPECT_EQ(ofYaml.out, ofJson.out);
    EXPECT_NE(ofYaml.out.find("41943041"), std::string::npos) << ofYaml.out;
  }
}

TEST(Compile, JsonHasAVersionAndEverything) {
  const std::string text = run({"compile", "--format", "json", example}).out;
  EXPECT_EQ(text.rfind("{\n    \"schema_version\": 1,\n    \"hwConfig\": {", 0), 0U);
  EXPECT_NE(text.find("\"lenses\": {\n                                \"segment\": \"lenses\",\n"
                      "                                \"policy\": \"to-recorder\""),
            std::string::npos);
  EXPECT_NE(text.find("\"dstPort\": \"5000-5999\""), std::string::npos);
}

TEST(Compile, TheOrderOfAFileDoesNotShowInTheTree) {
  const Folder folder;
  const std::string first = folder.file("a.yaml",
                                        "app: {a: {proto: [1]}, b: {proto: [2]}}\n"
                                        "source: {x: {enabled: true}}\n");
  const std::string second = folder.file("b.yaml",
                                         "source: {x: {enabled: true}}\n"
                                         "app: {b: {proto: [2]}, a: {proto: [1]}}\n");
  EXPECT_EQ(run({"compile", "--format", "json", first}).out,
            run({"compile", "--format", "json", second}).out);
}

TEST(Compile, LongListsAreCountedAndCutUnlessAllIsAskedFor) {
  const Folder folder;
  std::string text =
      "source: {x: {enabled: true, vrf: {default: {segment: {a: {prefixIpv4Ml: "
      "'matchList:l'}}}}}}\nmatchIpv4PrefixList: {l: {subnets: [";
  for (int i = 0; i < 100; ++i) text += "10." + std::to_string(i) + ".0.0/16, ";
  const std::string file = folder.file("a.yaml", text + "]}}\n");
  const std::string cut = run({"compile", file}).out;
  EXPECT_NE(cut.find("... 94 more"), std::string::npos) << cut;
  EXPECT_EQ(cut.find("10.99.0.0/16"), std::string::npos);
  const std::string all = run({"compile", "--all", file}).out;
  EXPECT_NE(all.find("10.99.0.0/16"), std::string::npos);
}

TEST(Compile, WritesToAFile) {
  const Folder folder;
  const std::string file = folder.path() + "/out.json";
  const Result result = run({"compile", "--format", "json", "-o", file, example});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(contentOf(file), run({"compile", "--format", "json", example}).out);
  EXPECT_EQ(run({"compile", "-o", folder.path() + "/no/such", example}).status, 3);
}

TEST(Compile, ColoursOnlyWhenToldOrOnATerminal) {
  EXPECT_EQ(run({"compile", example}).out.find('\x1b'), std::string::npos);
  EXPECT_NE(run({"compile", "--color=always", example}, {"NO_COLOR=1"}).out.find('\x1b'),
            std::string::npos);
}

std::string withoutEscapes(const std::string& text) {
  return std::regex_replace(text, std::regex("\x1b\\[[0-9;]*m"), "");
}

TEST(Compile, OnATerminalItIsColouredAndAsWide) {
  const Result shown = TestAgent::runOnTerminal({"compile", example}, 200);
  EXPECT_EQ(shown.status, 0);
  EXPECT_NE(shown.out.find('\x1b'), std::string::npos);
  EXPECT_EQ(withoutEscapes(shown.out), contentOf("tests/agent/campus-200.txt"));
}

TEST(Compile, NoColorAndTheOptionGoBeforeTheTerminal) {
  const auto isColored = [](const std::string& option, const std::string& setting) {
    return TestAgent::runOnTerminal({"compile", option, example}, 80, {setting}).out.find('\x1b') !=
           std::string::npos;
  };
  EXPECT_FALSE(isColored("--color=auto", "NO_COLOR=1"));
  EXPECT_TRUE(isColored("--color=auto", "NO_COLOR="));
  EXPECT_FALSE(isColored("--color=never", "NO_COLOR="));
  EXPECT_TRUE(isColored("--color=always", "NO_COLOR=1"));
}

TEST(Compile, OutputThatCannotBeWrittenIsAnError) {
  const Result result =
      TestAgent::runProgram("/bin/sh", {"-c", std::string("exec ") + FWAGENT_PROGRAM +
                                                  " compile examples/campus "
                                                  "> /dev/full"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.err, "fwagent: standard output cannot be written\n");
}

TEST(Compile, ReadsStandardInput) {
  const Result result = TestAgent::runProgram(
      "/bin/sh",
      {"-c", std::string("cat examples/campus/*.yaml | ") + FWAGENT_PROGRAM + " compile -"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, contentOf("tests/agent/campus-80.txt"));
}

// A clock that the test sets.
std::chrono::steady_clock::time_point testTime;
std::chrono::steady_clock::time_point timeOfTest() { return testTime; }

TEST(Progress, IsToldOnATerminalWhenTheWorkTakesMoreThanASecond) {
  std::ostringstream terminal;
  Agent::Timing timing(false, &terminal, &timeOfTest);
  testTime += std::chrono::milliseconds(900);
  timing.step("read");
  EXPECT_EQ(terminal.str(), "");
  testTime += std::chrono::milliseconds(300);
  timing.step("check");
  EXPECT_EQ(terminal.str(), "fwagent: check: 0.3 s\n");
}

TEST(Timing, NamesEachStepOnStandardError) {
  const Result result = run({"compile", "--timing", example});
  EXPECT_EQ(result.out, contentOf("tests/agent/campus-80.txt"));
  for (const std::string step : {"read", "check", "publish", "compile", "show", "in all"}) {
    EXPECT_TRUE(std::regex_search(result.err, std::regex(" ms  " + step + "\n"))) << result.err;
  }
}

TEST(Compile, ShowsInEveryFormatWhatIsNotThere) {
  const Folder folder;
  const std::string file = folder.file("a.yaml", "app: {}\n");
  EXPECT_NE(run({"compile", file}).out.find("active: no"), std::string::npos);
  EXPECT_NE(run({"compile", "--format", "json", file}).out.find("\"l2Seg\": \"\""),
            std::string::npos);
  const Result yaml = run({"compile", "--format", "yaml", file});
  EXPECT_EQ(yaml.status, 0) << yaml.err;
  EXPECT_NE(yaml.out.find("l2Seg: \"\"\n"), std::string::npos) << yaml.out;
}

// "fwagent compile ..." of the help of a command, as words without "fwagent".
std::vector<std::string> exampleOf(const std::vector<std::string>& command) {
  std::vector<std::string> words = command;
  words.emplace_back("--help");
  const Result help = run(words);
  EXPECT_EQ(help.status, 0);
  const std::string before = "Example: fwagent ";
  const std::size_t at = help.out.find(before);
  EXPECT_NE(at, std::string::npos) << help.out;
  if (at == std::string::npos) return {};
  std::istringstream line(
      help.out.substr(at + before.size(), help.out.find('\n', at) - at - before.size()));
  return {std::istream_iterator<std::string>(line), {}};
}

// Those that talk to a running agent, or are one, name themselves at least.
void tryExamples(const Agent::Command& command, const std::vector<std::string>& name) {
  const std::vector<std::string> words = exampleOf(name);
  ASSERT_FALSE(words.empty());
  EXPECT_TRUE(name.empty() || words.front() == name.front());
  const bool isOfRunning =
      std::any_of(command.options.begin(), command.options.end(),
                  [](const Agent::Option& option) { return option.name() == "--socket"; });
  if (!isOfRunning) {
    const Result result = run(words);
    EXPECT_EQ(result.status, 0) << words.front() << result.err;
    EXPECT_EQ(result.err, "");
  }
  for (const Agent::Command& below : command.below) {
    std::vector<std::string> nameBelow = name;
    nameBelow.push_back(below.name);
    tryExamples(below, nameBelow);
  }
}

TEST(Help, HasAnExampleThatWorksForEachCommand) {
  EXPECT_GT(Agent::program().below.size(), 10U);
  tryExamples(Agent::program(), {});
}

TEST(Compile, WrongUsageIsTold) {
  EXPECT_EQ(run({"compile"}).status, 2);
  EXPECT_EQ(run({}).status, 2);
  EXPECT_EQ(run({"compile", "--format", "xml", example}).status, 2);
  EXPECT_EQ(run({"nothing"}).status, 2);
  EXPECT_EQ(run({"check", "--log", "Firewall", example}).status, 2);
  EXPECT_EQ(run({"check", "--max-errors", "-1", example}).status, 2);
  EXPECT_EQ(run({"check", "--max-errors", "many", example}).status, 2);
  const Result help = run({"compile", "--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("Example: fwagent compile"), std::string::npos);
}

// One policy with a rule, whose service has the ports.
std::string withPorts(const std::string& ports, const std::string& more = "") {
  return "source: {cli: {enabled: true, policy: {p: {rule: {10: {service: web, action: "
         "forward}}}" +
         more + "}}}\napp: {web: {proto: [tcp], dstPortFieldSet: web}}\n" +
         "fieldSetL4Port: {web: {ports: [" + ports + "]}}\n";
}

TEST(Diff, NothingChangesBetweenEqualConfigurations) {
  const Result result = run({"diff", "--exit-code", example, example});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "no writes\n");
}

TEST(Diff, ShowsEveryWriteInOrderWithItsSums) {
  const Folder folder;
  const std::string before = folder.file("a.yaml", withPorts("80"));
  const std::string after = folder.file("b.yaml", withPorts("80, 443"));
  const Result result = run({"diff", "--exit-code", before, after});
  EXPECT_EQ(result.status, 1);
  const std::string http =
      "policy/p/rule/41943041 = seqnum=10,sip=unset,dip=unset,protocol=6,dstPort=80,"
      "srcPort=0-65535,action=forward,log=false,nexthop=none\n";
  EXPECT_EQ(result.out,
            "~* updateInProgress = true\n"
            "-* services/web/protocol/6\n"
            "+* services/web/protocol/6\n"
            "+* services/web/dstPort/443 = 443\n"
            "-* policy/p/rule/41943041\n"
            "+* " +
                http +
                "+* policy/p/rule/41943042 = seqnum=10,sip=unset,dip=unset,protocol=6,dstPort=443,"
                "srcPort=0-65535,action=forward,log=false,nexthop=none\n"
                "~* services/web/version = 2\n"
                "~  updateInProgress = false\n"
                "\n"
                "9 writes, 8 while updateInProgress was true (marked *)\n"
                "  policy/p: +2 ~0 -1\n"
                "  services/web: +2 ~1 -1\n"
                "  updateInProgress: +0 ~2 -0\n"
                "\n"
                "the same in both, but taken away and put back on the way: 2\n"
                "  policy/p/rule/41943041\n"
                "  services/web/protocol/6\n");
}

TEST(Diff, OfAJsonLineEach) {
  const Folder folder;
  const std::string before = folder.file("a.yaml", withPorts("80"));
  const std::string after = folder.file("b.yaml", withPorts("80", ", more: {}"));
  EXPECT_EQ(run({"diff", "--format", "json", before, after}).out,
            "{\"write\":\"added\",\"path\":\"policy/more\",\"updateInProgress\":false}\n"
            "{\"sum\":\"policy/more\",\"added\":1,\"changed\":0,\"removed\":0}\n");
}

TEST(Diff, NamesWhatIsTheSameAndWasTakenAway) {
  const Folder folder;
  // The source is another one, so that all goes and comes again; one port is new.
  const std::string before = folder.file("a.yaml", withPorts("80"));
  std::string other = withPorts("80, 443");
  other.replace(other.find("cli"), 3, "net");
  const std::string out = run({"diff", before, folder.file("b.yaml", other)}).out;
  const std::size_t at = out.find("the same in both, but taken away and put back on the way: ");
  ASSERT_NE(at, std::string::npos) << out;
  const std::string named = out.substr(at);
  EXPECT_NE(named.find("\n  policy/p/rule/41943041\n"), std::string::npos) << out;
  EXPECT_EQ(named.find("\n  policy/p\n"), std::string::npos) << "it has another rule: " << out;
  EXPECT_EQ(named.find("41943042"), std::string::npos) << "it was not there: " << out;
}

TEST(Diff, NamesAnObjectOnceThatWasTakenAwayWithAllBelowIt) {
  const Folder folder;
  const std::string before = folder.file("a.yaml", withPorts("80"));
  std::string other = withPorts("80");
  other.replace(other.find("cli"), 3, "net");
  const std::string out = run({"diff", before, folder.file("b.yaml", other)}).out;
  EXPECT_NE(out.find("\n  policy/p\n"), std::string::npos) << out;
  EXPECT_EQ(out.find("\n  policy/p/rule/41943041\n"), std::string::npos) << out;
}

TEST(Diff, NeedsBothToBeRight) {
  const Folder folder;
  const std::string broken = folder.file("a.yaml", "x: 1\n");
  EXPECT_EQ(run({"diff", example, broken}).status, 2);
  EXPECT_EQ(run({"diff", broken, example}).status, 2);
  EXPECT_EQ(run({"diff", example}).status, 2);
}

TEST(Trace, TheFlightRecorderIsReadByFleetlog) {
  const Folder folder;
  const std::string file = folder.path() + "/trace";
  EXPECT_EQ(run({"compile", "--flight-recorder", file, example}).status, 0);
  const Result read = TestAgent::runProgram(FLEETLOG_PROGRAM, {file});
  EXPECT_EQ(read.status, 0);
  EXPECT_NE(read.out.find("Setting active status"), std::string::npos);
  EXPECT_EQ(run({"compile", "--flight-recorder", folder.path() + "/no/such", example}).status, 3);
}

TEST(Trace, LogsGoToStandardError) {
  const Result result = run({"compile", "--log", "Firewall/*/5", example});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.err.find("[handleFeatureStatus]  Creating RootSm: cli"), std::string::npos)
      << result.err;
}

}  // namespace
