// What the program writes of itself: the schema for editors, the man page, the completions.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "agent/Command/Commands.h"
#include "agent/Document/Load.h"
#include "agent/Document/TreeWriter.h"
#include "agent/Schema/JsonSchema.h"
#include "tests/agent/Program.h"
#include "tests/agent/RefusedDocuments.h"

namespace {

using TestAgent::BySchema;
using TestAgent::Folder;
using TestAgent::RefusedDocument;
using TestAgent::refusedDocuments;
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
    if (std::filesystem::path(path).extension() == ".json") {
      words.push_back(path);
      continue;
    }
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

// The form of a document is the schema's matter; order and other places are the check's alone.
TEST(JsonSchema, AgreesAboutEveryRefusedDocumentOnItsForm) {
  const Folder folder;
  std::vector<std::string> files;
  std::vector<const RefusedDocument*> documents;
  for (const RefusedDocument& document : refusedDocuments()) {
    if (document.bySchema == BySchema::notADocument) continue;
    documents.push_back(&document);
    files.push_back(folder.file(document.name + "/" + document.file, document.content));
  }
  const std::vector<std::string> faults = faultsOf(files);
  ASSERT_EQ(faults.size(), documents.size());
  for (std::size_t i = 0; i < faults.size(); ++i) {
    EXPECT_EQ(faults[i] == "ok", documents[i]->bySchema == BySchema::taken)
        << documents[i]->content << faults[i];
  }
}

// The page that describes the configuration shows one.
TEST(JsonSchema, TakesTheConfigurationOfTheDocumentation) {
  std::istringstream page(TestAgent::contentOf("docs/agent.md"));
  std::string example;
  for (std::string line; std::getline(page, line);) {
    if (line.rfind("    ", 0) == 0) example += line.substr(4) + "\n";
  }
  const Folder folder;
  const std::string file = folder.file("a.yaml", example);
  EXPECT_EQ(faultsOf({file}), ok);
  const Result checked = run({"check", "--strict", file});
  EXPECT_EQ(checked.status, 0) << checked.err << example;
}

TEST(Generate, TheManPageNamesEveryCommandAndIsRight) {
  const Folder folder;
  const std::string page = folder.path() + "/fwagent.1";
  EXPECT_EQ(run({"generate", "man", "-o", page}).status, 0);
  const std::string text = TestAgent::contentOf(page);
  std::vector<std::string> commands;
  for (const Agent::Command& command : Agent::program().below) {
    commands.push_back(command.name);
    for (const Agent::Command& below : command.below) {
      commands.push_back(command.name + " " + below.name);
    }
  }
  EXPECT_NE(std::find(commands.begin(), commands.end(), "explain segment"), commands.end());
  for (std::string command : commands) {
    if (const std::size_t dash = command.find('-'); dash != std::string::npos) {
      command.insert(dash, "\\");
    }
    const bool isNamed = text.find(".SS fwagent " + command + "\n") != std::string::npos ||
                         text.find(".SS fwagent " + command + " ") != std::string::npos;
    EXPECT_TRUE(isNamed) << command;
  }
  EXPECT_NE(text.find("\\-\\-flight\\-recorder"), std::string::npos);
  EXPECT_NE(text.find("EXIT STATUS"), std::string::npos);
  const Result set = TestAgent::runProgram("/usr/bin/groff", {"-man", "-ww", "-Tutf8", page});
  EXPECT_EQ(set.status, 0);
  EXPECT_EQ(set.err, "");
  EXPECT_NE(set.out.find("\n       Example: fwagent check examples/campus\n"), std::string::npos)
      << set.out;
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
  EXPECT_EQ(completed("fwagent compile --format y", 3), "yaml\n");
  EXPECT_EQ(completed("fwagent diff --format y", 3), "\n");
  EXPECT_EQ(completed("fwagent trace --color al", 3), "always\n");
  EXPECT_EQ(completed("fwagent generate fi", 2), "fish\n");
}

// What fish itself would offer for the line.
std::string offeredByFish(const std::string& script, const std::string& line) {
  const Result result = TestAgent::runProgram(
      "/usr/bin/fish", {"--no-config", "-c", "source " + script + "; complete -C '" + line + "'"},
      {"HOME=" + std::filesystem::path(script).parent_path().string()});
  EXPECT_EQ(result.err, "");
  return result.out;
}

TEST(Generate, TheCompletionOfFishKnowsCommandsAndOptions) {
  const Folder folder;
  const std::string script = folder.path() + "/fwagent.fish";
  EXPECT_EQ(run({"generate", "fish", "-o", script}).status, 0);
  EXPECT_NE(offeredByFish(script, "fwagent comp").find("compile"), std::string::npos);
  EXPECT_NE(offeredByFish(script, "fwagent explain seg").find("segment"), std::string::npos);
  EXPECT_EQ(offeredByFish(script, "fwagent compile seg").find("segment"), std::string::npos);
  EXPECT_NE(offeredByFish(script, "fwagent diff --exi").find("--exit-code"), std::string::npos);
  EXPECT_NE(offeredByFish(script, "fwagent run --flig").find("--flight-recorder"),
            std::string::npos);
  EXPECT_EQ(offeredByFish(script, "fwagent compile --format y").substr(0, 5), "yaml\t");
  EXPECT_NE(offeredByFish(script, "fwagent generate sch").find("schema"), std::string::npos);
}

// What the completion adds in zsh for the words, of which the last is not finished.
std::string addedInZsh(const std::string& script, const std::string& words, int current) {
  const Result result = TestAgent::runProgram(
      "/usr/bin/zsh", {"-f", "-c",
                       "compadd() { print -l -- ${(P)2} }; _files() { print FILES }; words=(" +
                           words + "); CURRENT=" + std::to_string(current) + "; source " + script});
  EXPECT_EQ(result.err, "");
  return "\n" + result.out;
}

TEST(Generate, TheCompletionOfZshKnowsCommandsAndOptions) {
  const Folder folder;
  const std::string script = folder.path() + "/_fwagent";
  EXPECT_EQ(run({"generate", "zsh", "-o", script}).status, 0);
  EXPECT_NE(addedInZsh(script, "fwagent ''", 2).find("\ncompile\n"), std::string::npos);
  const std::string ofExplain = addedInZsh(script, "fwagent -q explain ''", 4);
  EXPECT_NE(ofExplain.find("\nsegment\n"), std::string::npos) << ofExplain;
  EXPECT_EQ(ofExplain.find("\ncompile\n"), std::string::npos) << ofExplain;
  EXPECT_NE(addedInZsh(script, "fwagent diff ''", 3).find("\n--exit-code\n"), std::string::npos);
  EXPECT_NE(addedInZsh(script, "fwagent run ''", 3).find("\n--flight-recorder\n"),
            std::string::npos);
  EXPECT_EQ(addedInZsh(script, "fwagent check --color ''", 4), "\nauto\nalways\nnever\n");
  EXPECT_EQ(addedInZsh(script, "fwagent diff --format ''", 4), "\ntext\njson\n");
  EXPECT_NE(addedInZsh(script, "fwagent generate ''", 3).find("\nschema\n"), std::string::npos);
}

}  // namespace
