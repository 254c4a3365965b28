#include "agent/Server/Verify.h"

#include <string_view>

#include "agent/Server/Explanations.h"
#include "agent/View/FlatTree.h"
#include "framework/Kiv/Inspector.h"

namespace Agent {
namespace {

void copy(Kiv::Object& from, Kiv::Object& to) {
  const Kiv::Inspector target(to);
  Kiv::Inspector(from).each(
      [&target](std::string_view path, std::string_view text) { target.write(path, text); });
}

void copyInputs(const Store& from, const Store& to) {
  copy(*from.capabilities, *to.capabilities);
  copy(*from.interfaces, *to.interfaces);
  copy(*from.ipStatus, *to.ipStatus);
  copy(*from.fieldSets, *to.fieldSets);
  copy(*from.applications, *to.applications);
  copy(*from.matchLists, *to.matchLists);
  copy(*from.prefixLists, *to.prefixLists);
  for (auto entry = from.sources->entityPtrIteratorConst(); entry; ++entry) {
    copy(*from.source(entry.key()), *to.sources->newEntity<Firewall::Config>(entry.key()));
  }
}

}  // namespace

std::vector<Difference> verify(const Store& running) {
  Store aside;
  copyInputs(running, aside);
  aside.start();
  const auto outputOf = [](const Store& store) {
    FlatTree tree = flatTree(*store.hwConfig, {});
    tree.merge(flatTree(*store.status, "status/"));
    // How often a service was compiled is history.
    std::erase_if(tree, [](const auto& entry) {
      return entry.first.starts_with("services/") && entry.first.ends_with("/version");
    });
    return tree;
  };
  const FlatTree now = outputOf(running);
  const FlatTree fresh = outputOf(aside);
  const Explanations explanations(running, now, fresh);
  std::vector<Difference> differences;
  const auto add = [&](const std::string& path, const std::string& is, const std::string& wanted) {
    differences.push_back({path, is, wanted, std::string(explanations.of(path))});
  };
  for (const auto& [path, value] : now) {
    const auto wanted = fresh.find(path);
    const std::string other = wanted == fresh.end() ? std::string() : wanted->second.text;
    if (other != value.text) add(path, value.text, other);
  }
  for (const auto& [path, value] : fresh) {
    if (now.count(path) == 0 && !value.text.empty()) add(path, {}, value.text);
  }
  return differences;
}

}  // namespace Agent
