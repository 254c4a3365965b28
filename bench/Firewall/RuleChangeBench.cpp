// One rule changed among very many, and the version of one service raised, beside the same erasures
// and insertions in a tree. An entry is a hardware rule that changes.
#include <absl/container/btree_map.h>
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Firewall/Rules/RuleId.h"
#include "bench/Firewall/Switch.h"

namespace {

using Firewall::FwRule;
using Tree = absl::btree_map<std::uint32_t, FwRule>;

constexpr std::uint32_t rulesOfPolicy = 1'000;  // of the operator
constexpr std::uint32_t expansion = 10;         // hardware rules that change at a time

FwRule record(std::uint32_t seqnum) {
  const Lanx::IpGenPrefix prefix{Lanx::IpGenAddrWithMask(Bench::subnet(7))};
  return {seqnum,
          prefix,
          prefix,
          {},
          Firewall::PortRange::all(),
          Firewall::PortRange::all(),
          Firewall::Action::forward,
          false,
          {}};
}

void writeAgain(Tree& tree, std::uint32_t seqnum, std::uint32_t count) {
  for (std::uint32_t index = 1; index <= count; ++index) {
    tree.erase(Firewall::computeRuleId(seqnum, index));
  }
  for (std::uint32_t index = 1; index <= count; ++index) {
    tree.emplace(Firewall::computeRuleId(seqnum, index), record(seqnum));
  }
}

// One policy of so many hardware rules. Rule 500 names a small service.
struct OnePolicy {
  explicit OnePolicy(std::uint32_t hardwareRules) {
    sw.application("large", hardwareRules / rulesOfPolicy);
    sw.application("small", expansion);
    policy = sw.source->policyIs("policy");
    for (std::uint32_t seqnum = 0; seqnum < rulesOfPolicy; ++seqnum) {
      policy->ruleIs(seqnum, Pith::String(seqnum == 500 ? "small" : "large"),
                     Firewall::Action::forward);
    }
    sw.start();
  }

  Bench::Switch sw;
  Firewall::Policy::Ptr policy;
  bool log = false;
};

void changeRule(OnePolicy& world, Bench::Life& life) {
  world.log = !world.log;
  life.time("change", [&] {
    world.policy->ruleIs(500U, Pith::String("small"), Firewall::Action::forward, world.log);
  });
}

std::shared_ptr<Tree> treeOf(std::uint32_t hardwareRules) {
  auto tree = std::make_shared<Tree>();
  for (std::uint32_t seqnum = 0; seqnum < rulesOfPolicy; ++seqnum) {
    const std::uint32_t count = seqnum == 500 ? expansion : hardwareRules / rulesOfPolicy;
    for (std::uint32_t index = 1; index <= count; ++index) {
      tree->emplace_hint(tree->end(), Firewall::computeRuleId(seqnum, index), record(seqnum));
    }
  }
  return tree;
}

void compareRule(std::uint32_t hardwareRules) {
  Bench::compare(
      "2a One rule changed, " + std::to_string(hardwareRules) + " rules", expansion,
      {{"reactors", Bench::kept<OnePolicy>(
                        [=] { return std::make_shared<OnePolicy>(hardwareRules); }, changeRule)},
       {"absl btree", Bench::kept<Tree>([=] { return treeOf(hardwareRules); },
                                        [](Tree& tree, Bench::Life& life) {
                                          life.time("change",
                                                    [&] { writeAgain(tree, 500, expansion); });
                                        })}});
}

// Rules in policies of a thousand, each of one hardware rule; ten rules name the same service.
struct Services {
  explicit Services(std::uint32_t services) : count(services) {
    for (std::uint32_t i = 0; i < services; ++i) {
      sw.application(Bench::named("service", i), 1);
    }
    for (std::uint32_t rule = 0; rule < services * expansion; ++rule) {
      sw.source->policyIs(Bench::named("policy", rule / rulesOfPolicy))
          ->ruleIs(rule % rulesOfPolicy, Bench::named("service", rule % services),
                   Firewall::Action::forward);
    }
    sw.start();
  }

  Bench::Switch sw;
  std::uint32_t count;
  std::uint32_t next = 0;
};

void raiseVersion(Services& world, Bench::Life& life) {
  world.next = (world.next + 7) % world.count;
  const auto service = world.sw.hwConfig->services(Bench::named("service", world.next));
  life.time("raise", [&] { service->versionInc(1); });
}

struct Trees {
  explicit Trees(std::uint32_t services) : count(services) {
    for (std::uint32_t rule = 0; rule < services * expansion; ++rule) {
      const std::uint32_t policy = rule / rulesOfPolicy;
      const std::uint32_t seqnum = rule % rulesOfPolicy;
      if (trees.size() == policy) trees.emplace_back();
      trees[policy].emplace(Firewall::computeRuleId(seqnum, 1), record(seqnum));
    }
  }

  std::vector<Tree> trees;
  std::uint32_t count;
  std::uint32_t next = 0;
};

void raiseInTrees(Trees& world, Bench::Life& life) {
  world.next = (world.next + 7) % world.count;
  life.time("raise", [&] {
    for (std::uint32_t rule = world.next; rule < world.count * expansion; rule += world.count) {
      writeAgain(world.trees[rule / rulesOfPolicy], rule % rulesOfPolicy, 1);
    }
  });
}

void compareServices(std::uint32_t services) {
  Bench::compare(
      "2b A service's version raised, " + std::to_string(services) + " services", expansion,
      {{"reactors",
        Bench::kept<Services>([=] { return std::make_shared<Services>(services); }, raiseVersion)},
       {"absl btree",
        Bench::kept<Trees>([=] { return std::make_shared<Trees>(services); }, raiseInTrees)}});
}

const bool registered = [] {
  for (const std::uint32_t rules : {1'000U, 100'000U, 1'000'000U}) compareRule(rules);
  for (const std::uint32_t services : {10U, 1'000U, 10'000U}) compareServices(services);
  return true;
}();

}  // namespace
