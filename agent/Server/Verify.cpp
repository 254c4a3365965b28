#include "agent/Server/Verify.h"

#include <string_view>

#include "agent/Server/KnownDifferences.h"
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
  copy(*from.hwCapability, *to.hwCapability);
  copy(*from.intfStatusDir, *to.intfStatusDir);
  copy(*from.ipStatus, *to.ipStatus);
  copy(*from.fieldSetConfig, *to.fieldSetConfig);
  copy(*from.appRecConfig, *to.appRecConfig);
  copy(*from.matchLists, *to.matchLists);
  copy(*from.aclListConfig, *to.aclListConfig);
  for (auto entry = from.fwConfigDir->entityPtrIteratorConst(); entry; ++entry) {
    copy(*from.source(entry.key()), *to.fwConfigDir->newEntity<Firewall::Config>(entry.key()));
  }
}

}  // namespace

std::vector<Difference> verify(const Store& running) {
  Store aside;
  copyInputs(running, aside);
  aside.start();
  const auto outputOf = [](const Store& store) {
    FlatTree tree = flatTree(*store.hwConfig, {});
    tree.merge(flatTree(*store.firewallStatus, "status/"));
    // How often a service was compiled is history.
    std::erase_if(tree, [](const auto& entry) {
      return entry.first.starts_with("services/") && entry.first.ends_with("/version");
    });
    return tree;
  };
  const FlatTree now = outputOf(running);
  const FlatTree fresh = outputOf(aside);
  const KnownDifferences known(running, now, fresh);
  std::vector<Difference> differences;
  const auto add = [&](const std::string& path, const std::string& is, const std::string& wanted) {
    differences.push_back({path, is, wanted, std::string(known.of(path))});
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
