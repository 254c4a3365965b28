#include "agent/Server/Verify.h"

#include <array>
#include <map>
#include <string_view>

#include "agent/View/Text.h"
#include "framework/Kiv/Inspector.h"
#include "framework/Kiv/Path.h"

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

using Values = std::map<std::string, std::string>;

// Every value below the object by its path, references as names.
void collect(const Kiv::Object& object, const std::string& prefix, Values& values) {
  for (const Kiv::AttributeData& attribute : object.typeData().attributes) {
    if (attribute.name == "version") continue;
    attribute.each(object,
                   [&](std::string_view key, std::string_view text, const Kiv::Object* child) {
                     std::string path = prefix + std::string(attribute.name);
                     if (attribute.key != nullptr) {
                       path.push_back('/');
                       Kiv::appendPathKey(path, key);
                     }
                     std::string value = "there";
                     if (child == nullptr && attribute.value != nullptr)
                       value = valueText(*attribute.value, text);
                     if (!value.empty()) values.emplace(path, value);
                     if (child != nullptr) collect(*child, path + "/", values);
                   });
  }
}

struct Known {
  std::string_view begin;
  std::string_view part;
  bool onlyInactive;
  std::string_view explanation;
};

// What docs/behaviour.md lists of where the way matters and not the configuration alone.
constexpr std::array<Known, 7> known{{
    {"defaultPolicyDrop", "", true, "the switches keep their values when no source is enabled"},
    {"forwardType", "", true, "the switches keep their values when no source is enabled"},
    {"vrf/", "/prefixList/", false,
     "of several segments with a prefix the first that claimed it owns it"},
    {"policy/", "/rule/", false,
     "rule identifiers are reused as soon as they are free, and where sources meet, the rule that "
     "was compiled last holds"},
    {"policy/", "/serviceRule/", false, "capabilities are read when something is compiled"},
    {"policy/", "", false, "a disabled source leaves its policies while another is enabled"},
    {"l2Seg", "", false, "of several sources the one enabled last has the L2 directory"},
}};

std::string explanationOf(const std::string& path, bool isActive) {
  for (const Known& one : known) {
    if (path.rfind(one.begin, 0) != 0 || (one.onlyInactive && isActive)) continue;
    if (path.find(one.part) != std::string::npos) return std::string(one.explanation);
  }
  return {};
}

}  // namespace

std::vector<Difference> verify(const Store& running) {
  Store aside;
  copyInputs(running, aside);
  aside.start();
  Values now;
  Values fresh;
  collect(*running.hwConfig, {}, now);
  collect(*running.status, "status/", now);
  collect(*aside.hwConfig, {}, fresh);
  collect(*aside.status, "status/", fresh);
  std::vector<Difference> differences;
  const auto add = [&](const std::string& path, const std::string& is, const std::string& wanted) {
    differences.push_back({path, is, wanted, explanationOf(path, running.hwConfig->active())});
  };
  for (const auto& [path, value] : now) {
    const auto wanted = fresh.find(path);
    const std::string& other = wanted == fresh.end() ? std::string() : wanted->second;
    if (other != value) add(path, value, other);
  }
  for (const auto& [path, value] : fresh) {
    if (now.count(path) == 0) add(path, {}, value);
  }
  return differences;
}

}  // namespace Agent
