// Committing a document onto a running tree.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "agent/Document/Load.h"
#include "agent/Document/TreeWriter.h"
#include "agent/Schema/Check.h"
#include "agent/Schema/Warnings.h"
#include "agent/Server/BehaviourLines.h"
#include "agent/Server/Verify.h"
#include "agent/Store/Reconcile.h"
#include "agent/View/CompiledTree.h"
#include "agent/View/Writes.h"
#include "tests/agent/Program.h"

namespace {

using Agent::apply;
using Agent::planOf;
using Agent::Store;
using TestAgent::Folder;

Agent::Document documentOf(const std::string& path) {
  Agent::Diagnostics diagnostics;
  Agent::Document document = Agent::load({path}, diagnostics);
  Agent::check(document, diagnostics);
  std::string errors;
  for (const auto& entry : diagnostics.entries()) errors += entry.path + ": " + entry.text + "\n";
  EXPECT_EQ(errors, "");
  return document;
}

// How often a service was compiled is history, not content; so are the global switches when no
// source is enabled (docs/behaviour.md).
std::string content(const std::string& tree) {
  const bool isActive = tree.find("\"active\": true") != std::string::npos;
  std::string result;
  std::istringstream lines(tree);
  for (std::string line; std::getline(lines, line);) {
    const auto names = [&line](const char* key) { return line.find(key) != std::string::npos; };
    if (names("\"version\":")) continue;
    if (!isActive && (names("\"defaultPolicyDrop\":") || names("\"forwardType\":"))) continue;
    result += line + "\n";
  }
  return result;
}

// A document as JSON, as it was read.
std::string asJson(const std::string& path) {
  Agent::Diagnostics diagnostics;
  const Agent::Document document = Agent::load({path}, diagnostics);
  std::string text;
  const auto writer = Agent::TreeWriter::json(text);
  const std::function<void(const Agent::Node&)> write = [&](const Agent::Node& node) {
    if (node.kind == Agent::Node::Kind::mapping) {
      writer->begin();
      for (const auto& member : node.members) {
        writer->key(member.key.text);
        write(member.value);
      }
      writer->end();
    } else if (node.kind == Agent::Node::Kind::sequence) {
      writer->beginList();
      for (const auto& member : node.members) write(member.value);
      writer->endList();
    } else if (node.kind == Agent::Node::Kind::boolean) {
      writer->boolean(node.text == "true");
    } else {
      writer->text(node.text);
    }
  };
  write(document.root);
  return text;
}

std::string outputOf(const Store& store) { return content(compiledTree(store, true)); }

std::string freshOutputOf(const std::string& path) {
  Store store;
  const Agent::Document document = documentOf(path);
  apply(planOf(store, document.root), store);
  store.start();
  return outputOf(store);
}

void commit(Store& store, const std::string& path) {
  const Agent::Document document = documentOf(path);
  apply(planOf(store, document.root), store);
  EXPECT_TRUE(planOf(store, document.root).empty()) << "what was written is not what was wanted";
}

constexpr const char* firewallPart = "examples/campus/firewall.yaml";

// Configurations that differ in every part.
std::vector<std::string> configurations(const Folder& folder) {
  const std::string text = TestAgent::contentOf(firewallPart);
  const std::string hardware = TestAgent::contentOf("examples/campus/switch.yaml");
  const auto replaced = [&](const std::string& what, const std::string& by) {
    std::string result = text;
    const std::size_t at = result.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return at == std::string::npos ? result : result.replace(at, what.size(), by);
  };
  int number = 0;
  const auto file = [&](const std::string& content) {
    return folder.file(std::to_string(++number) + ".yaml", content);
  };
  return {
      file(text + hardware),
      file(""),
      file(text),
      file(replaced("enabled: true", "enabled: false") + hardware),
      file(replaced("action: forward", "action: drop") + hardware),
      file(replaced("[80, 443, 8000-8080]", "[443, 8000-9000]") + hardware),
      file(replaced("[10.10.0.0/16, 192.0.2.0/25]", "[10.10.0.0/17]") + hardware),
      file(replaced("interfaces: [Ethernet3]", "interfaces: [Ethernet1, Ethernet3]") + hardware),
      file(replaced("staff: to-servers", "staff: to-anything") + hardware),
      file(replaced("      to-servers:\n", "      to-servers-2:\n") + hardware),
      file(replaced("      cameras:\n", "      cameras-2:\n") + hardware),
      file(replaced("    l2SegmentDir:\n      segment:\n",
                    "    l2SegmentDir:\n      segment:\n        more: {}\n") +
           hardware),
      file(replaced("  cli:\n", "  other:\n") + hardware),
      file(replaced("10.20.5.0/24: administrators", "10.20.5.0/24: servers") + hardware),
      file(replaced("  web: {proto: [tcp]", "  web: {proto: [udp], af: ipv4") + hardware)};
}

TEST(Reconcile, TheSameDocumentAgainWritesNothing) {
  Store store;
  commit(store, "examples/campus");
  store.start();
  const Agent::WriteRecord record(store.hwConfig);
  commit(store, "examples/campus");
  EXPECT_TRUE(record.writes().empty());
}

TEST(Reconcile, FromEachToEachEndsWhereAFreshStartDoes) {
  const Folder folder;
  const std::vector<std::string> files = configurations(folder);
  std::vector<std::string> fresh;
  for (const std::string& file : files) fresh.push_back(freshOutputOf(file));
  for (const std::string& from : files) {
    for (std::size_t to = 0; to < files.size(); ++to) {
      Store store;
      commit(store, from);
      store.start();
      commit(store, files[to]);
      EXPECT_EQ(outputOf(store), fresh[to]) << from << " to " << files[to];
    }
  }
}

TEST(Reconcile, ALongPathEndsWhereAFreshStartDoes) {
  const Folder folder;
  const std::vector<std::string> files = configurations(folder);
  std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same path in every run
  Store store;
  store.start();
  for (int step = 0; step < 100; ++step) {
    const std::string& file = files[random() % files.size()];
    commit(store, file);
    ASSERT_EQ(outputOf(store), freshOutputOf(file)) << "step " << step << ", " << file;
  }
}

TEST(Reconcile, ANewSourceIsEnabledLast) {
  const Folder folder;
  Store store;
  store.start();
  const Agent::WriteRecord record(store.hwConfig);
  commit(store, "examples/campus");
  ASSERT_FALSE(record.writes().empty());
  EXPECT_EQ(record.writes().front().path, "updateInProgress");  // enabled, and not before
  EXPECT_EQ(record.putBack(), std::vector<std::string>());
}

TEST(Reconcile, AChangeOfACapabilityEndsInAResync) {
  const Folder folder;
  const std::string text = TestAgent::contentOf(firewallPart);
  const std::string hardware = TestAgent::contentOf("examples/campus/switch.yaml");
  const std::string before = folder.file("a.yaml", text + hardware);
  const std::string after =
      folder.file("b.yaml", text + hardware + "    serviceRuleSupported: true\n");
  Store store;
  commit(store, before);
  store.start();
  commit(store, after);
  EXPECT_EQ(outputOf(store), freshOutputOf(after));
  EXPECT_EQ(store.hwConfig->policy("to-servers")->rule().size(), 0U);
}

TEST(Verify, TellsOfAForeignWriteAsAFault) {
  Store store;
  commit(store, "examples/campus");
  store.start();
  EXPECT_TRUE(Agent::verify(store).empty());
  store.hwConfig->policy("to-servers")->ruleDel(41943041);
  const auto differences = Agent::verify(store);
  ASSERT_EQ(differences.size(), 1U);
  EXPECT_EQ(differences[0].path, "policy/to-servers/rule/41943041");
  EXPECT_EQ(differences[0].running, "");
  EXPECT_NE(differences[0].fresh, "");
  EXPECT_EQ(differences[0].explanation, "");
}

TEST(Verify, TellsIdentifiersThatWereReusedFromOtherRules) {
  Store store;
  commit(store, "examples/campus");
  store.start();
  const auto policy = store.hwConfig->policy("to-servers");
  const Firewall::FwRule rule = *policy->rule(41943041);
  policy->ruleDel(41943041);
  policy->ruleIs(41943050, rule);
  const auto differences = Agent::verify(store);
  ASSERT_EQ(differences.size(), 2U);
  for (const auto& difference : differences) {
    EXPECT_EQ(difference.explanation,
              "Rule identifiers are reused as soon as they are free, also while one rule is "
              "recompiled. Do not keep them.");
  }
}

TEST(BehaviourLines, AreTheNamedLinesOfThePageWordForWord) {
  const std::string page = TestAgent::contentOf("docs/behaviour.md");
  std::size_t named = 0;
  for (std::size_t at = 0; (at = page.find("<a id=", at)) != std::string::npos; ++at) ++named;
  EXPECT_EQ(Agent::behaviourLines.size(), named);
  for (const auto& [name, text] : Agent::behaviourLines) {
    const std::string line = "\n- <a id=\"" + std::string(name) + "\"></a>" + std::string(text);
    EXPECT_NE(page.find(line + "\n"), std::string::npos) << line;
  }
}

// Bytes of a good configuration, changed at random: read and published, or refused; never more.
TEST(Reconcile, AMutatedDocumentIsRefusedOrPublished) {
  const Folder folder;
  const std::string json = asJson("examples/campus");
  const std::string yaml = TestAgent::contentOf(firewallPart);
  std::mt19937 random(3);  // NOLINT(cert-msc51-cpp): the same mutations in every run
  int published = 0;
  Store store;
  store.start();
  constexpr int rounds = 400;
  for (int round = 0; round < rounds; ++round) {
    std::string text = round % 2 == 0 ? json : yaml;
    for (std::size_t count = 1 + random() % 3; count > 0; --count) {
      const std::size_t at = random() % text.size();
      constexpr std::string_view bytes = "0127:/-,{}[]\"'\n abe\\\xff";
      switch (random() % 3) {
        case 0:
          text[at] = bytes[random() % bytes.size()];
          break;
        case 1:
          text.erase(at, 1 + random() % 8);
          break;
        default:
          text.insert(at, text.substr(random() % text.size(), random() % 20));
          break;
      }
    }
    Agent::Diagnostics diagnostics;
    Agent::Document document =
        Agent::load({folder.file(round % 2 == 0 ? "a.json" : "a.yaml", text)}, diagnostics);
    Agent::check(document, diagnostics);
    if (diagnostics.errors() != 0) continue;
    Agent::warn(document.root, {}, diagnostics);
    apply(planOf(store, document.root), store);
    ASSERT_TRUE(planOf(store, document.root).empty()) << text;
    ++published;
  }
  EXPECT_GT(published, rounds / 20);
  EXPECT_LT(published, rounds);
}

TEST(Reconcile, ResyncEndsWhereAFreshStartDoes) {
  Store store;
  commit(store, "examples/campus");
  store.start();
  store.hwConfig->policyDel("to-servers");  // as if somebody else had written there
  EXPECT_NE(outputOf(store), freshOutputOf("examples/campus"));
  Agent::resync(store);
  EXPECT_EQ(outputOf(store), freshOutputOf("examples/campus"));
}

}  // namespace
