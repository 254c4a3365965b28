// What the program writes of itself: the schema for editors, the man page, the completions.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "agent/Document/Load.h"
#include "agent/View/JsonSchema.h"
#include "agent/View/TreeWriter.h"
#include "tests/agent/Program.h"

namespace {

using TestAgent::Folder;
using TestAgent::Result;
using TestAgent::run;

void write(const Agent::Node& node, Agent::TreeWriter& writer) {
  using Kind = Agent::Node::Kind;
  switch (node.kind) {
    case Kind::null:
      writer.null();
      break;
    case Kind::boolean:
      writer.boolean(node.text == "true");
      break;
    case Kind::number:
      writer.number(std::stoull(std::string(node.text)));
      break;
    case Kind::string:
      writer.text(node.text);
      break;
    case Kind::sequence:
      writer.beginList();
      for (const auto& each : node.members) write(each.value, writer);
      writer.endList();
      break;
    case Kind::mapping:
      writer.begin();
      for (const auto& each : node.members) {
        writer.key(each.key.text);
        write(each.value, writer);
      }
      writer.end();
      break;
  }
}

// Where the schema says that each of the documents is wrong, or "ok".
std::vector<std::string> faultsOf(const std::vector<std::string>& paths) {
  const Folder folder;
  std::vector<std::string> words{"tests/agent/validate.py",
                                 folder.file("schema.json", Agent::jsonSchema())};
  for (const std::string& path : paths) {
    Agent::Diagnostics diagnostics;
    const Agent::Document document = Agent::load({path}, diagnostics);
    EXPECT_EQ(diagnostics.errors(), 0U);
    std::string json;
    write(document.root, *Agent::TreeWriter::json(json));
    words.push_back(folder.file(std::to_string(words.size()) + ".json", json));
  }
  const Result result = TestAgent::runProgram("/usr/bin/python3", words);
  EXPECT_EQ(result.status, 0) << result.err;
  std::vector<std::string> faults;
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);) faults.push_back(line);
  EXPECT_EQ(faults.size(), paths.size());
  return faults;
}

const std::vector<std::string> ok{"ok"};

TEST(JsonSchema, TakesTheExample) { EXPECT_EQ(faultsOf({"examples/campus"}), ok); }

TEST(JsonSchema, TakesWhatTheMachinesServicesMake) {
  const Folder folder;
  const Result made = TestAgent::runProgram(
      "/usr/bin/python3", {"tools/configurations.py", "-o", folder.path() + "/a.json", "services"});
  ASSERT_EQ(made.status, 0) << made.err;
  EXPECT_EQ(faultsOf({folder.path() + "/a.json"}), ok);
  EXPECT_EQ(run({"check", "--strict", folder.path() + "/a.json"}).status, 0);
}

TEST(JsonSchema, TakesEachWayToWriteInterfacesAndEmptyParts) {
  const Folder folder;
  EXPECT_EQ(faultsOf({folder.file("a.yaml",
                                  "app:\nsource: {cli: {l2SegmentDir: {segment: {a: {interfaces: "
                                  "[E1]}, b: {interfaces: {E1: [5, 6-7], E2: []}}, c: }}}}\n")}),
            ok);
}

TEST(JsonSchema, RefusesWhatTheCheckRefusesForItsForm) {
  const std::vector<std::string> refused{
      "ap: {}\n",
      "app: [web]\n",
      "app: {web: {proto: tcp}}\n",
      "app: {web: {af: ipv5}}\n",
      "app: {web: {proto: [tcp, tcp]}}\n",
      "app: {web: {prot: [tcp]}}\n",
      "switch: {hwCapability: {x: true}}\n",
      "switch: {intfStatus: [Ethernet 1]}\n",
      "source: {cli: {enabled: yes}}\n",
      "source: {cli: {forwardType: routed}, other: {forwardType: both}}\n",
      "source: {cli: {policy: {p: {rule: {10: {action: drop}}}}}}\n",
      "source: {cli: {policy: {p: {rule: {10: {service: a, action: forwrad}}}}}}\n",
      "source: {cli: {policy: {p: {rule: {ten: {service: a, action: drop}}}}}}\n",
      "source: {cli: {policy: {p: {rule: {10: web}}}}}\n",
      "source: {cli: {vrf: {red: {segment: {a: {prefixIpv4Ml: offices}}}}}}\n",
      "source: {cli: {vrf: {red: {segment: {a: {interfaces: Ethernet1}}}}}}\n",
      "source: {cli: {classMap: {}}}\n",
      "fieldSetL4Port: {s: {ports: [http]}}\n",
      "fieldSetL4Port: {s: {subConfig: {}}}\n",
      "matchIpv4PrefixList: {l: {subnets: [10.0.0.1]}}\n",
      "matchIpv6PrefixList: {l: {subnets: [10.0.0.0/8]}}\n",
      "prefixList: {l: {prefixEntry: {10: {prefix: 10.0.0.0/8}}}}\n"};
  const Folder folder;
  std::vector<std::string> files;
  for (const std::string& content : refused) {
    files.push_back(folder.file(std::to_string(files.size()) + ".yaml", content));
    EXPECT_EQ(run({"check", files.back()}).status, 2) << content;
  }
  const std::vector<std::string> faults = faultsOf(files);
  for (std::size_t i = 0; i < faults.size(); ++i) EXPECT_NE(faults[i], "ok") << refused[i];
}

TEST(Generate, TheManPageNamesEveryCommandAndIsRight) {
  const Folder folder;
  const std::string page = folder.path() + "/fwagent.1";
  EXPECT_EQ(run({"generate", "man", "-o", page}).status, 0);
  const std::string text = TestAgent::contentOf(page);
  for (const std::string command :
       {"check", "compile", "diff", "explain rule", "explain hw", "explain prefix",
        "explain segment", "trace", "run", "show", "verify", "resync"}) {
    const bool isNamed = text.find(".SS fwagent " + command + "\n") != std::string::npos ||
                         text.find(".SS fwagent " + command + " ") != std::string::npos;
    EXPECT_TRUE(isNamed) << command;
  }
  EXPECT_NE(text.find("\\-\\-flight\\-recorder"), std::string::npos);
  EXPECT_NE(text.find("EXIT STATUS"), std::string::npos);
}

TEST(Generate, TheCompletionOfBashKnowsCommandsAndOptions) {
  const Folder folder;
  const std::string script = folder.path() + "/fwagent";
  EXPECT_EQ(run({"generate", "bash", "-o", script}).status, 0);
  const auto completed = [&script](const std::string& words, int at) {
    return TestAgent::runProgram("/bin/bash", {"-c", "source " + script + "; COMP_WORDS=(" + words +
                                                         "); COMP_CWORD=" + std::to_string(at) +
                                                         "; _fwagent; echo \"${COMPREPLY[@]}\""})
        .out;
  };
  EXPECT_EQ(completed("fwagent comp", 1), "compile\n");
  EXPECT_EQ(completed("fwagent explain seg", 2), "segment\n");
  EXPECT_EQ(completed("fwagent diff --exi", 2), "--exit-code\n");
  EXPECT_EQ(completed("fwagent compile --time --flig", 3), "--flight-recorder\n");
}

TEST(Generate, TheOtherCompletionsKnowTheSame) {
  for (const std::string shell : {"zsh", "fish"}) {
    const std::string text = run({"generate", shell}).out;
    for (const std::string word : {"compile", "explain", "exit-code", "flight-recorder"}) {
      EXPECT_NE(text.find(word), std::string::npos) << shell << " " << word;
    }
  }
}

}  // namespace
