// Random configurations, committed one after the other onto a running store: the output is what the
// last of them makes from nothing, whatever came before.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <memory>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "agent/Document/Load.h"
#include "agent/Schema/Check.h"
#include "agent/Schema/Schema.h"
#include "agent/Schema/Warnings.h"
#include "agent/Server/Verify.h"
#include "agent/Store/Reconcile.h"
#include "agent/View/FlatTree.h"
#include "agent/View/Writes.h"
#include "tests/agent/Program.h"
#include "tests/agent/RandomConfiguration.h"

namespace {

using Agent::FlatTree;
using Agent::Store;
using TestAgent::randomConfiguration;

void commitText(Store& store, const std::string& text) {
  Agent::Diagnostics diagnostics;
  Agent::Document document;
  loadText(document, "random", text, Agent::Language::yaml, diagnostics);
  check(document, diagnostics);
  std::string errors;
  for (const auto& entry : diagnostics.entries()) errors += entry.path + ": " + entry.text + "\n";
  ASSERT_EQ(errors, "") << text;
  apply(planOf(store, document.root), store);
  ASSERT_TRUE(planOf(store, document.root).empty()) << text;
}

std::string differencesOf(const Store& store) {
  std::string result;
  for (const auto& each : Agent::verify(store)) {
    result += each.path + ": is " + each.running + ", would be " + each.fresh + ": " +
              each.explanation + "\n";
  }
  return result;
}

// Apart from what has to be expected in any life: rule identifiers are reused as soon as they are
// free, and the switches keep their values when nothing is active.
std::string otherThanExpected(const std::string& differences) {
  std::istringstream lines(differences);
  std::string result;
  for (std::string line; std::getline(lines, line);) {
    const auto holds = [&line](const char* text) { return line.find(text) != std::string::npos; };
    if (holds(": Rule identifiers are reused") || holds(": These two keep their last")) continue;
    result += line + "\n";
  }
  return result;
}

TEST(RandomPath, EndsWhereAFreshStartDoes) {
  std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same paths in every run
  constexpr int lives = 30;
  constexpr int steps = 20;
  for (int life = 0; life < lives; ++life) {
    Store store;
    store.start();
    std::string before = "nothing\n";
    for (int step = 0; step < steps; ++step) {
      const std::string text = randomConfiguration(random, {.ofItsOwn = true});
      commitText(store, text);
      ASSERT_EQ(otherThanExpected(differencesOf(store)), "")
          << "life " << life << ", step " << step << ", from\n"
          << before << "to\n"
          << text;
      before = text;
    }
  }
}

TEST(RandomPath, DiffersFromAFreshStartOnlyByWhatIsKnown) {
  std::mt19937 random(2);  // NOLINT(cert-msc51-cpp): the same paths in every run
  constexpr unsigned lives = 60;
  constexpr int steps = 15;
  int explained = 0;
  for (unsigned life = 0; life < lives; ++life) {
    Store store;
    store.start();
    std::string before = "nothing\n";
    for (int step = 0; step < steps; ++step) {
      const std::string text = randomConfiguration(random, {.sources = 1 + life % 2});
      commitText(store, text);
      for (const auto& difference : Agent::verify(store)) {
        ASSERT_NE(difference.explanation, "")
            << difference.path << ": is " << difference.running << ", would be " << difference.fresh
            << ", life " << life << ", step " << step << ", from\n"
            << before << "to\n"
            << text;
        ++explained;
      }
      before = text;
    }
  }
  EXPECT_GT(explained, 0);
}

TEST(RandomPath, ResyncLeavesNoDifference) {
  std::mt19937 random(3);  // NOLINT(cert-msc51-cpp): the same paths in every run
  Store store;
  store.start();
  for (int step = 0; step < 100; ++step) {
    commitText(store, randomConfiguration(random, {.sources = 1}));
    Agent::resync(store);
    ASSERT_EQ(otherThanExpected(differencesOf(store)), "") << "step " << step;
  }
}

// What the writes make of the entries and objects that were there before.
FlatTree afterWrites(FlatTree tree, const std::vector<Agent::WriteRecord::Write>& writes) {
  using Kind = Kiv::TreeChange::Kind;
  for (const auto& write : writes) {
    if (write.kind == Kind::removed) {
      auto at = tree.lower_bound(write.path);
      while (at != tree.end() && Agent::isAtOrBelow(at->first, write.path)) at = tree.erase(at);
    } else {
      tree.insert_or_assign(write.path, Agent::FlatValue{write.value, true});
    }
  }
  return tree;
}

std::string entriesOf(const FlatTree& tree) {
  std::string text;
  for (const auto& [path, value] : tree) {
    if (!value.isEntry) continue;
    text.append(path);
    // A policy that has gone has no name.
    if (value.text != "there")
      text.append(" = ").append(value.text, 0, value.text.find(",policy="));
    text.push_back('\n');
  }
  return text;
}

TEST(RandomPath, TheWritesThatDiffShowsMakeTheNewOfTheOld) {
  std::mt19937 random(4);  // NOLINT(cert-msc51-cpp): the same paths in every run
  Store store;
  store.start();
  for (int step = 0; step < 200; ++step) {
    const FlatTree before = Agent::flatTree(*store.hwConfig, {});
    const Agent::WriteRecord record(store.hwConfig);
    commitText(store, randomConfiguration(random, {.sources = 2}));
    FlatTree made = afterWrites(before, record.writes());
    FlatTree now = Agent::flatTree(*store.hwConfig, {});
    // A child is written without its name, and single values are no entries.
    for (auto& [path, value] : made) {
      if (const auto is = now.find(path); is != now.end()) {
        value.isEntry = is->second.isEntry;
        if (is->second.text == "there") value.text = "there";
      }
    }
    ASSERT_EQ(entriesOf(made), entriesOf(now)) << "step " << step;
    for (const std::string& path : record.putBack()) {
      ASSERT_EQ(before.at(path), now.at(path)) << path;
    }
  }
}

// A warning of a prefix that several segments claim names the one that the tables give it to.
TEST(RandomConfiguration, WarningsNameTheOwnerThatIsCompiled) {
  std::mt19937 random(6);  // NOLINT(cert-msc51-cpp): the same configurations in every run
  const std::regex claim(
      "(\\S+)( and \\d+ more prefix(es)?)? of this list: .*; \"(.*)\" owns it .*");
  const std::regex place("source/[^/]+/vrf/([^/]+)/.*");
  int compared = 0;
  for (int round = 0; round < 300; ++round) {
    const std::string text =
        randomConfiguration(random, {.sources = 1U + static_cast<unsigned>(round) % 2U});
    Agent::Diagnostics diagnostics;
    Agent::Document document;
    loadText(document, "random", text, Agent::Language::yaml, diagnostics);
    check(document, diagnostics);
    ASSERT_EQ(diagnostics.errors(), 0U);
    warn(document.root, {}, diagnostics);
    Store store;
    apply(planOf(store, document.root), store);
    store.start();
    for (const auto& entry : diagnostics.entries()) {
      std::smatch said;
      std::smatch where;
      if (!std::regex_match(entry.text, said, claim)) continue;
      ASSERT_TRUE(std::regex_match(entry.path, where, place)) << entry.path;
      const auto vrf = store.hwConfig->vrf(L3::VrfName(where[1].str()));
      if (!vrf) continue;
      const auto* const owner = vrf->prefixList(Lanx::IpGenPrefix::parse(said[1].str()));
      ASSERT_EQ(owner == nullptr ? "nobody" : std::string(owner->view()), said[4].str())
          << entry.path << ": " << entry.text << "\n"
          << text;
      ++compared;
    }
  }
  EXPECT_GT(compared, 50);
}

// The writes of the inputs, one line each with the part that they are of.
class InputRecord final : public Kiv::TreeWatcher {
 public:
  InputRecord(const Pith::Ptr<Kiv::Entity>& object, std::vector<std::string>& lines)
      : TreeWatcher(object), lines_(lines) {}

 private:
  void onChange(const Kiv::TreeChange& change) override {
    const bool isRemoved = change.kind == Kiv::TreeChange::Kind::removed;
    lines_.push_back((isRemoved ? "-" : "+") + change.path.substr(0, change.path.find('/')));
  }

  std::vector<std::string>& lines_;
};

// What is written of the inputs when the text is committed, runs of one part as one.
std::vector<std::string> inputsWritten(Store& store, const std::string& text) {
  std::vector<std::string> lines;
  const InputRecord capabilities(store.hwCapability, lines);
  const InputRecord interfaces(store.intfStatusDir, lines);
  const InputRecord ipStatus(store.ipStatus, lines);
  const InputRecord fieldSets(store.fieldSetConfig, lines);
  const InputRecord applications(store.appRecConfig, lines);
  const InputRecord matchLists(store.matchLists, lines);
  const InputRecord prefixLists(store.aclListConfig, lines);
  std::vector<std::unique_ptr<InputRecord>> sources;
  for (auto entry = store.fwConfigDir->entityPtrIteratorConst(); entry; ++entry) {
    sources.push_back(std::make_unique<InputRecord>(store.source(entry.key()), lines));
  }
  commitText(store, text);
  lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
  return lines;
}

TEST(Order, APrefixThatMovesToAnotherEntryStays) {
  const auto text = [](const std::string& entries) {
    return "source: {cli: {enabled: true, vrf: {default: {segment: {a: {prefixIpv4Ml: "
           "'prefixList:l'}}}}}}\nprefixList: {l: {prefixEntry: {" +
           entries + "}}}\n";
  };
  const std::string one = "{prefix: 10.1.0.0/16, action: permit}";
  const std::string two = "{prefix: 10.2.0.0/16, action: permit}";
  Store store;
  store.start();
  const auto subnets = [&store] {
    return store.hwConfig->vrf("default")->segment("a")->subnets().size();
  };
  commitText(store, text("1: " + one + ", 2: " + two));
  EXPECT_EQ(subnets(), 2U);
  commitText(store, text("1: " + two));
  EXPECT_EQ(subnets(), 1U);
  commitText(store, text("1: " + two + ", 2: " + one));
  commitText(store, text("1: " + one + ", 2: " + two));
  EXPECT_EQ(subnets(), 2U);
  EXPECT_EQ(differencesOf(store), "");
}

TEST(Order, WhatOthersDependOnComesFirstAndGoesLast) {
  const std::string of = "source: {cli: {enabled: ";
  const std::string parts =
      ", policy: {p: {}}, vrf: {default: {segment: {a: {interfaces: [E1]}}}}, "
      "l2SegmentDir: {segment: {b: {}}}, defaultPolicy: forward}}\n"
      "switch: {intfStatus: [E1], ipIntfStatus: {E1: default}, vrf: [red]}\n"
      "fieldSetL4Port: {s: {}}\nfieldSetIpPrefix: {t: {}}\napp: {web: {}}\n"
      "matchIpv4PrefixList: {l: {}}\nmatchIpv6PrefixList: {l: {}}\n"
      "prefixList: {l: {}}\nipv6PrefixList: {l: {}}\n";
  const std::string bare = "source: {cli: {enabled: ";
  Store store;
  store.start();
  commitText(store, bare + "false}}\n");
  const std::vector<std::string> up{"+intfStatus",
                                    "+ipIntfStatus",
                                    "+vrf",
                                    "+fieldSetL4Port",
                                    "+fieldSetIpPrefix",
                                    "+app",
                                    "+matchIpv4PrefixList",
                                    "+matchIpv6PrefixList",
                                    "+prefixList",
                                    "+ipv6PrefixList",
                                    "+classMap",
                                    "+policy",
                                    "+vrf",
                                    "+l2SegmentDir",
                                    "+defaultPolicy",
                                    "+enabled"};
  EXPECT_EQ(inputsWritten(store, of + "true" + parts), up);
  const std::vector<std::string> down{"+enabled",
                                      "+defaultPolicy",
                                      "-l2SegmentDir",
                                      "-vrf",
                                      "-policy",
                                      "-classMap",
                                      "-ipv6PrefixList",
                                      "-prefixList",
                                      "-matchIpv6PrefixList",
                                      "-matchIpv4PrefixList",
                                      "-app",
                                      "-fieldSetIpPrefix",
                                      "-fieldSetL4Port",
                                      "-vrf",
                                      "-ipIntfStatus",
                                      "-intfStatus"};
  EXPECT_EQ(inputsWritten(store, bare + "false}}\n"), down);
}

// The lines of JSON that say what the hardware has, in the order of the alphabet: without how often
// something was compiled, and without the identifiers of rules, which are reused.
std::string contentLines(const std::string& text) {
  std::istringstream lines(text);
  std::multiset<std::string> content;
  const std::regex leftOut("\"version\": .*|\"[0-9]+\": \\{|[{}\\],]*");
  for (std::string line; std::getline(lines, line);) {
    line.erase(0, std::min(line.find_first_not_of(' '), line.size()));
    if (!line.empty() && line.back() == ',') line.pop_back();
    if (!std::regex_match(line, leftOut)) content.insert(line);
  }
  std::string result;
  for (const std::string& line : content) result += line + "\n";
  return result;
}

// The part of `compile --format json` that `show hwConfig` shows.
std::string hwConfigOf(const std::string& compiled) {
  const std::string begin = "\"hwConfig\": ";
  const std::size_t at = compiled.find(begin) + begin.size();
  return compiled.substr(at, compiled.find("\n    \"status\": ") - at);
}

TEST(RandomPath, OfTheRunningProgramEndsWhereCompileDoes) {
  const TestAgent::Folder folder;
  std::mt19937 random(5);  // NOLINT(cert-msc51-cpp): the same path in every run
  const std::string socket = folder.path() + "/socket";
  const std::string file = folder.file("a.yaml", "");
  TestAgent::Running agent({"run", "--quiet", "--socket", socket, file});
  agent.waitFor("ready");
  for (int step = 0; step < 10; ++step) {
    folder.file("a.yaml", randomConfiguration(random, {.ofItsOwn = true}));
    agent.signal(SIGHUP);
    agent.waitFor("committed");
    const auto shown = TestAgent::run({"show", "--socket", socket, "hwConfig"});
    const auto compiled = TestAgent::run({"compile", "--quiet", "--format", "json", file});
    ASSERT_EQ(compiled.status, 0) << compiled.err;
    ASSERT_EQ(contentLines(shown.out), contentLines(hwConfigOf(compiled.out))) << "step " << step;
  }
}

}  // namespace
