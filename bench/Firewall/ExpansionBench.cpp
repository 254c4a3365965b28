// One policy rule whose service expands to very many hardware rules, beside writing the same
// records into an ordered map with an end hint.
#include <absl/container/btree_map.h>
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "Firewall/Rules/RuleId.h"
#include "bench/Firewall/Switch.h"

namespace {

using Firewall::FwRule;

struct World {
  explicit World(std::uint32_t rules) {
    sw.application("big", rules);
    policy = sw.source->policyIs("policy");
    sw.start();
  }

  Bench::Switch sw;
  Firewall::Policy::Ptr policy;
};

void expand(World& world, Bench::Life& life) {
  const std::size_t before = Bench::heapBytes();
  life.time("expand",
            [&] { world.policy->ruleIs(10U, Pith::String("big"), Firewall::Action::forward); });
  life.note("bytes", Bench::heapBytes() - before);
  life.time("withdraw", [&] { world.policy->ruleDel(10U); });
}

void fillTree(std::uint32_t rules, Bench::Life& life) {
  absl::btree_map<std::uint32_t, FwRule> tree;
  const Lanx::IpGenPrefix prefix{Lanx::IpGenAddrWithMask(Bench::subnet(7))};
  const std::size_t before = Bench::heapBytes();
  life.time("expand", [&] {
    for (std::uint32_t index = 1; index <= rules; ++index) {
      tree.emplace_hint(tree.end(), Firewall::computeRuleId(10, index),
                        FwRule{10,
                               prefix,
                               prefix,
                               {},
                               Firewall::PortRange::all(),
                               Firewall::PortRange::all(),
                               Firewall::Action::forward,
                               false,
                               {}});
    }
  });
  life.note("bytes", Bench::heapBytes() - before);
  life.time("withdraw", [&] {
    for (auto rule = tree.begin(); rule != tree.end();) rule = tree.erase(rule);
  });
}

// What the keys and values are, without any container.
void records(std::uint32_t rules, Bench::Life& life) {
  life.note("bytes", rules * sizeof(Kiv::MapEntry<std::uint32_t, FwRule>));
}

const bool registered = [] {
  for (const std::uint32_t rules : {1'000U, 100'000U, 1'000'000U}) {
    Bench::compare(
        "1 Expansion, " + std::to_string(rules) + " rules", rules,
        {{"reactors", Bench::kept<World>([=] { return std::make_shared<World>(rules); }, expand)},
         {"absl btree", [=](Bench::Life& life) { fillTree(rules, life); }},
         {"records", [=](Bench::Life& life) { records(rules, life); }}});
  }
  return true;
}();

}  // namespace
