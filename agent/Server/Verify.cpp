#include "agent/Server/Verify.h"

#include <cstdint>
#include <map>
#include <set>
#include <string_view>

#include "Firewall/RuleId.h"
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

// What docs/behaviour.md lists of where the way matters and not the configuration alone.
class Explanations {
 public:
  Explanations(const Store& running, const Values& now, const Values& fresh)
      : running_(running), now_(now), fresh_(fresh) {
    for (auto entry = running.sources->entityPtrIteratorConst(); entry; ++entry) {
      ++sources_;
      const auto source = running.source(entry.key());
      if (!source->enabled()) hasDisabled_ = true;
      if (source->l2SegmentDir()) ++l2Directories_;
    }
  }

  // Empty when none of them is the reason.
  std::string_view of(const std::string& path) const {
    const auto begins = [&path](std::string_view text) { return path.rfind(text, 0) == 0; };
    if (begins("defaultPolicyDrop") || begins("forwardType")) {
      if (!running_.hwConfig->active())
        return "they keep their last values while nothing is active";
      return hasDisabled_ ? "a change of a disabled source is looked at when an enabled one starts"
                          : "";
    }
    if (path.find("/prefixList/") != std::string::npos) {
      return "of several segments with a prefix the first that claimed it owns it";
    }
    if (begins("policy/") && path.find("/rule/") != std::string::npos) return ofRule(path);
    if (begins("policy/") || begins("vrf/")) {
      return hasDisabled_ ? "a source that is disabled beside an enabled one leaves its policies "
                            "and segments"
                          : "";
    }
    if (begins("l2Seg") && l2Directories_ > 1) {
      return "of several sources with an L2 directory the one enabled last has it alone";
    }
    return "";
  }

 private:
  std::string_view ofRule(const std::string& path) const {
    const std::size_t slash = path.rfind('/');
    const std::string policy = path.substr(0, slash + 1);
    const auto seqnum =
        Firewall::ruleSeqnum(static_cast<std::uint32_t>(std::stoul(path.substr(slash + 1))));
    if (rulesOf(now_, policy, seqnum) == rulesOf(fresh_, policy, seqnum)) {
      return "rule identifiers are reused as soon as they are free";
    }
    if (sources_ > 1) return "where sources meet, the rule that was compiled last holds";
    return "";
  }

  // What the rules of a sequence number say, whatever their identifiers.
  static std::multiset<std::string> rulesOf(const Values& values, const std::string& policy,
                                            std::uint32_t seqnum) {
    std::multiset<std::string> rules;
    for (auto at = values.lower_bound(policy);
         at != values.end() && at->first.rfind(policy, 0) == 0; ++at) {
      const auto id = static_cast<std::uint32_t>(std::stoul(at->first.substr(policy.size())));
      if (Firewall::ruleSeqnum(id) == seqnum) rules.insert(at->second);
    }
    return rules;
  }

  const Store& running_;
  const Values& now_;
  const Values& fresh_;
  std::size_t sources_ = 0;
  std::size_t l2Directories_ = 0;
  bool hasDisabled_ = false;
};

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
  const Explanations explanations(running, now, fresh);
  std::vector<Difference> differences;
  const auto add = [&](const std::string& path, const std::string& is, const std::string& wanted) {
    differences.push_back({path, is, wanted, std::string(explanations.of(path))});
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
