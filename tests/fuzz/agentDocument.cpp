// What the agent does with a configuration: the readers of both languages, the check, the warnings,
// and the commit onto a running store.
//
// What is accepted has to be published as it was meant: committed again it changes nothing. From
// nothing to it and back to nothing the reactors have to come through.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>

#include "agent/Document/Load.h"
#include "agent/Schema/Check.h"
#include "agent/Schema/Expansion.h"
#include "agent/Schema/Warnings.h"
#include "agent/Store/Reconcile.h"

namespace {

using Agent::Node;

const Node& below(const Node& node, std::string_view name) {
  static const Node none;
  const Node* const found = node.find(name);
  return found == nullptr ? none : *found;
}

// Whether the rules make so few that compiling them takes no time to speak of.
bool isSmall(const Node& root) {
  constexpr std::uint64_t most = 20'000;
  std::uint64_t rules = 0;
  for (const auto& source : below(root, "source").members) {
    for (const auto& policy : below(source.value, "policy").members) {
      for (const auto& rule : below(policy.value, "rule").members) {
        rules += Agent::Expansion::of(root, below(rule.value, "service").text).rules();
        if (rules > most) return false;
      }
    }
  }
  return true;
}

void commit(Agent::Store& store, const Node& root) {
  apply(planOf(store, root), store);
  if (!planOf(store, root).empty()) {
    std::cerr << "what was written is not what was wanted\n";
    std::abort();
  }
}

void read(std::string_view text, Agent::Language language) {
  Agent::Diagnostics diagnostics;
  Agent::Document document;
  loadText(document, "input", std::string(text), language, diagnostics);
  check(document, diagnostics);
  if (diagnostics.errors() == 0) {
    warn(document.root, {}, diagnostics);
    if (isSmall(document.root)) {
      Agent::Store store;
      store.start();
      commit(store, document.root);
      commit(store, Node{});
    }
  }
  std::ostringstream messages;
  diagnostics.print(messages, {});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text{reinterpret_cast<const char*>(data), size};
  read(text, Agent::Language::json);
  read(text, Agent::Language::yaml);
  return 0;
}
