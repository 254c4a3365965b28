#include "tests/plain/Change.h"

#include <stdexcept>

namespace Plain {
namespace {

std::string unescaped(const std::string& step) {
  std::string text = step;
  for (const auto& [from, to] : {std::pair("%2F", "/"), std::pair("%25", "%")}) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; ++at) {
      text.replace(at, 3, to);
    }
  }
  return text;
}

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts{""};
  for (const char c : text) {
    if (c == separator) {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

Range rangeFrom(const std::string& text) {
  const auto parts = split(text, '-');
  return {std::stoul(parts.front()), std::stoul(parts.back())};
}

Rule ruleFrom(const std::string& text) {
  Rule rule;
  for (const std::string& field : split(text, ',')) {
    const std::size_t equals = field.find('=');
    const std::string name = field.substr(0, equals);
    const std::string value = field.substr(equals + 1);
    (name == "service"  ? rule.service
     : name == "action" ? rule.action
     : name == "log"    ? rule.log
                        : rule.nexthop) = value;
  }
  return rule;
}

ListSource sourceFrom(const std::string& text) {
  if (text == "none") return {};
  const auto parts = split(text, ':');
  return {parts[0] == "matchList" ? ListSource::matchList : ListSource::prefixList, parts[1]};
}

// "10.0.0.0/8" of a permitting entry, the empty text of another.
std::string entryFrom(const std::string& text) {
  const auto fields = split(text, ',');
  return fields.at(1) == "action=permit" ? fields.at(0).substr(std::string("prefix=").size()) : "";
}

using Steps = std::vector<std::string>;

std::string textOf(const Range& range) { return rangeText(range); }
std::string textOf(const std::string& text) { return text; }
template <class T>
std::string textOf(const T& value) {
  return value.toString();
}
template <class Values>
Steps textsOf(const Values& values) {
  Steps texts;
  for (const auto& value : values) texts.push_back(textOf(value));
  return texts;
}

std::string keyText(const std::string& key) { return key; }
std::string keyText(std::uint32_t key) { return std::to_string(key); }
template <class Map>
Steps keysOf(const Map& map) {
  Steps keys;
  for (const auto& entry : map) keys.push_back(keyText(entry.first));
  return keys;
}

void refuseLongNames(const Change& change) {
  const auto check = [](const std::string& name, std::size_t longest) {
    if (name.size() > longest)
      throw Refused(name + " has more bytes than " + std::to_string(longest));
  };
  for (std::size_t at = 1; at < change.steps.size(); ++at) {
    const std::string& collection = change.steps[at - 1];
    if (collection == "vrf") check(change.steps[at], 100);
    const bool isIntf = collection == "intfVlanData" || collection.ends_with("ntfStatus");
    if (isIntf) check(change.steps[at], 64);
  }
  if (change.kind == Change::Kind::write && change.steps.at(1) == "ipIntfStatus")
    check(change.text, 100);
}

bool endsAtCollection(const Steps& steps) {
  static const std::set<std::string> collections{
      "source",    "lists",           "vrf",         "policy",
      "classMap",  "segment",         "prefix",      "rule",
      "vlanRange", "intfVlanData",    "subnets",     "matchIpv4PrefixList",
      "app",       "ipv6PrefixList",  "prefixList",  "matchIpv6PrefixList",
      "proto",     "ipv6PrefixEntry", "prefixEntry", "fieldSetIpPrefix",
      "ports",     "ipIntfStatus",    "prefixes",    "fieldSetL4Port",
      "intfStatus"};
  return collections.contains(steps.back());
}

template <class T>
bool setValue(const Watched& owner, const std::string& what, T& member, const T& value) {
  if (member == value) return true;
  member = value;
  owner.tell({what, "", {}, {}});
  return true;
}

// A set held as a list or ordered.
template <class Set, class T>
bool setMember(const Watched& owner, const std::string& what, const std::string& key, Set& set,
               const T& value, bool erase) {
  const bool present = std::ranges::find(set, value) != set.end();
  if (present == !erase) return true;
  if (erase) {
    std::erase_if(set, [&value](const auto& each) { return each == value; });
  } else {
    set.insert(set.end(), value);
  }
  owner.tell({what, key, {}, {}});
  return true;
}

template <class Map, class Key, class T>
bool setEntry(const Watched& owner, const std::string& what, const std::string& keyText, Map& map,
              const Key& key, const T& value, bool erase) {
  const auto found = map.find(key);
  if constexpr (requires { map.items(); }) {
    if (erase ? found == nullptr : found != nullptr && *found == value) return true;
    erase ? void(map.erase(key)) : map.set(key, value);
  } else {
    if (erase ? found == map.end() : found != map.end() && found->second == value) return true;
    erase ? void(map.erase(key)) : void(map[key] = value);
  }
  owner.tell({what, keyText, {}, {}});
  return true;
}

// A child appears or goes.
template <class Map, class T>
bool setChild(const Watched& owner, const std::string& what, const std::string& key, Map& map,
              const std::shared_ptr<T>& child, bool erase) {
  bool present = false;
  if constexpr (requires { map.items(); }) {
    present = map.has(key);
  } else {
    present = map.contains(key);
  }
  if (present == !erase) return true;
  if (erase) {
    map.erase(key);
  } else if constexpr (requires { map.items(); }) {
    map.set(key, child);
  } else {
    map[key] = child;
  }
  owner.tell({what, key, {}, {}});
  return true;
}

bool applySegment(const std::shared_ptr<Segment>& segment, const Steps& steps, std::size_t at,
                  const Change& change) {
  if (!segment) return false;
  const std::string& what = steps.at(at);
  if (what == "className") return setValue(*segment, what, segment->className, change.text);
  if (what == "fallbackPolicy")
    return setValue(*segment, what, segment->fallbackPolicy, change.text);
  if (what == "policy") {
    return setEntry(*segment, what, steps.at(at + 1), segment->policy, steps.at(at + 1),
                    change.text, change.kind == Change::Kind::erase);
  }
  const Family family = what == "prefixIpv4Ml" ? ipv4 : ipv6;
  return setValue(*segment, what, segment->source[family], sourceFrom(change.text));
}

bool applySegmentDir(const std::shared_ptr<SegmentDir>& directory, const Steps& steps,
                     std::size_t at, const Change& change) {
  if (!directory) return false;
  const bool erase = change.kind == Change::Kind::erase;
  const std::string& what = steps.at(at);
  const std::string& key = steps.at(at + 1);
  if (what == "prefix") {
    return setEntry(*directory, what, key, directory->prefix, Prefix::parse(key), change.text,
                    erase);
  }
  if (steps.size() > at + 2)
    return applySegment(directory->segment.get(key), steps, at + 2, change);
  const auto made = std::make_shared<Segment>();
  made->name = key;
  return setChild(*directory, what, key, directory->segment, made, erase);
}

}  // namespace

Change::Change(const std::string& line) {
  if (line == "start" || line == "stop") {
    if (line == "stop") kind = Kind::stop;
    return;
  }
  kind = line.at(0) == '+' ? Kind::write : Kind::erase;
  const std::size_t equals = line.find(" =");
  if (equals != std::string::npos) text = line.substr(std::min(equals + 3, line.size()));
  const std::string path =
      line.substr(2, equals == std::string::npos ? std::string::npos : equals - 2);
  for (const std::string& step : split(path, '/')) steps.push_back(unescaped(step));
  std::size_t top = steps[0].size();
  if ((steps[0] == "source" || steps[0] == "lists") && steps.size() > 1) top += 1 + steps[1].size();
  if (path.size() > top) below = path.substr(top + 1);
}

bool ModelInputs::apply(const Change& change) {
  if (change.kind == Change::Kind::start) {
    if (model_->started()) return false;
    model_->start();
    return true;
  }
  if (change.kind == Change::Kind::stop) {
    if (!model_->started()) return false;
    model_->stop();
    return true;
  }
  refuseLongNames(change);
  if (endsAtCollection(change.steps)) {
    const auto keys = keysAt(change.steps);
    if (!keys) return false;
    AllSteps steps;
    for (const std::string& key : *keys) {
      Change one = change;
      one.steps.push_back(key);
      steps.run([&] { apply(one); });
    }
    steps.end();
    return true;
  }
  if (change.steps[0] == "source") return applySource(change);
  if (change.steps[0] == "lists") return applyLists(change);
  return applyShared(change);
}

template <class T>
bool ModelInputs::applyEntity(const Change& change, Directory<T>& directory,
                              std::map<std::string, std::shared_ptr<T>>& objects) {
  const std::string& name = change.steps.at(1);
  auto& object = objects.at(name);
  if (change.text.empty())
    return setChild(directory, "entity", name, directory.entry, object,
                    change.kind == Change::Kind::erase);
  object = std::make_shared<T>();
  if constexpr (std::is_same_v<T, Config>) object->name = name;
  AllSteps steps;
  const auto other = object;
  steps.run([&] { setChild(directory, "entity", name, directory.entry, other, true); });
  steps.run([&] { setChild(directory, "entity", name, directory.entry, other, false); });
  steps.end();
  return true;
}

bool ModelInputs::applySource(const Change& change) {
  const Steps& steps = change.steps;
  const bool erase = change.kind == Change::Kind::erase;
  auto& config = configs_[steps.at(1)];
  if (!config) config = std::make_shared<Config>();
  config->name = steps[1];
  if (steps.size() == 2) return applyEntity(change, *model_->in.configs, configs_);
  const std::string& what = steps[2];
  if (what == "enabled") return setValue(*config, what, config->enabled, change.text == "true");
  if (what == "defaultPolicy") return setValue(*config, what, config->defaultPolicy, change.text);
  if (what == "forwardType") {
    unsigned flags = 0;
    while (forwardTypeText(flags) != change.text) ++flags;
    return setValue(*config, what, config->forwardType, flags);
  }
  if (what == "l2SegmentDir") {
    if (steps.size() > 3) return applySegmentDir(config->l2, steps, 3, change);
    if (erase ? !config->l2 : config->l2 != nullptr) return true;
    config->l2 = erase ? nullptr : std::make_shared<SegmentDir>();
    config->tell({"l2", "", {}, {}});
    return true;
  }
  const std::string& key = steps.at(3);
  if (what == "vrf") {
    if (steps.size() > 4) return applySegmentDir(config->vrf.get(key), steps, 4, change);
    return setChild(*config, what, key, config->vrf, std::make_shared<SegmentDir>(), erase);
  }
  if (what == "policy") {
    if (steps.size() > 4) {
      const auto policy = config->policy.get(key);
      if (!policy) return false;
      return setEntry(*policy, "rule", steps.at(5), policy->rule,
                      static_cast<std::uint32_t>(std::stoul(steps.at(5))), ruleFrom(change.text),
                      erase);
    }
    const auto made = std::make_shared<Policy>();
    made->name = key;
    return setChild(*config, what, key, config->policy, made, erase);
  }
  if (what != "classMap") throw std::invalid_argument(what);
  if (steps.size() == 4) {
    const auto made = std::make_shared<ClassMap>();
    made->name = key;
    return setChild(*config, what, key, config->classMap, made, erase);
  }
  const auto classMap = config->classMap.get(key);
  if (!classMap) return false;
  const std::string& intf = steps.at(5);
  if (steps.size() == 6) {
    return setChild(*classMap, "intfVlanData", intf, classMap->intfVlanData,
                    std::make_shared<VlanSet>(), erase);
  }
  const auto data = classMap->intfVlanData.get(intf);
  if (!data) return false;
  return setMember(*data, "vlanRange", "", data->vlanRange, rangeFrom(steps.at(7)), erase);
}

bool ModelInputs::applyLists(const Change& change) {
  const Steps& steps = change.steps;
  const bool erase = change.kind == Change::Kind::erase;
  auto& path = paths_[steps.at(1)];
  if (!path) path = std::make_shared<ListPath>();
  if (steps.size() == 2) return applyEntity(change, *model_->in.paths, paths_);
  const Family family = steps[2] == "matchIpv4PrefixList" ? ipv4 : ipv6;
  const std::string& key = steps.at(3);
  if (steps.size() == 4)
    return setChild(*path, steps[2], key, path->list[family], std::make_shared<MatchList>(), erase);
  const auto list = path->list[family].get(key);
  if (!list) return false;
  return setMember(*list, "subnets", steps.at(5), list->subnets, Subnet::parse(steps[5]), erase);
}

bool ModelInputs::applyShared(const Change& change) {
  const Steps& steps = change.steps;
  const bool erase = change.kind == Change::Kind::erase;
  const std::string& what = steps.at(1);
  if (steps[0] == "cap") {
    auto& capability = *model_->in.capability;
    const auto flag = what == "serviceRuleSupported"        ? &Capability::serviceRuleSupported
                      : what == "globalPrefixListSupported" ? &Capability::globalPrefixListSupported
                      : what == "portRangeBlocksRequired"
                          ? &Capability::portRangeBlocksRequired
                          : &Capability::forwardingSegmentsPolicySupported;
    return setValue(capability, what, capability.*flag, change.text == "true");
  }
  const std::string& key = steps.at(2);
  if (steps[0] == "ip") {
    IpStatus& ip = *model_->in.ip;
    if (what == "vrf") return setMember(ip, what, key, ip.vrf, key, erase);
    return setEntry(ip, what, key, ip.intf, key, change.text, erase);
  }
  if (steps[0] == "intf") {
    erase ? void(model_->in.intfStatus.erase(key)) : void(model_->in.intfStatus.insert(key));
    return true;
  }
  if (steps[0] == "acl") {
    auto& lists = model_->in.prefixLists->list[what == "prefixList" ? ipv4 : ipv6];
    if (steps.size() == 3)
      return setChild(*model_->in.prefixLists, what, key, lists, std::make_shared<PrefixList>(),
                      erase);
    const auto list = lists.get(key);
    if (!list) return false;
    return list->change(static_cast<std::uint32_t>(std::stoul(steps.at(4))),
                        erase ? std::nullopt : std::optional(change.text),
                        erase ? std::string() : entryFrom(change.text));
  }
  Applications& apps = *model_->in.applications;
  if (steps[0] == "apps") {
    if (steps.size() == 3)
      return setChild(apps, what, key, apps.app, std::make_shared<Application>(), erase);
    const auto found = apps.app.find(key);
    if (found == apps.app.end()) return false;
    const auto app = found->second;
    if (steps[3] == "af") return setValue(*app, "af", app->af, change.text);
    if (steps[3] == "proto")
      return setMember(*app, "proto", "", app->proto, rangeFrom(steps.at(4)), erase);
    return setValue(*app, steps[3], app->fieldSet[steps[3]], change.text);
  }
  if (steps[0] != "sets") throw std::invalid_argument(steps[0]);
  const auto applySet = [&](auto& sets, const char* kind, const auto& member) {
    if (steps.size() == 3) {
      if (sets.has(key) == !erase) return true;
      erase ? void(sets.erase(key)) : sets.set(key, {});
      apps.tell({kind, key, {}, {}});
      return true;
    }
    auto* const set = sets.find(key);
    if (set == nullptr) return false;
    auto& contents = set->contents;
    if (steps.size() == 4) {
      if (contents.has_value() == !erase) return true;
      erase ? contents.reset() : void(contents.emplace());
      apps.tell({kind, key, {}, {}});
      return true;
    }
    if (!contents) return false;
    return setMember(apps, kind, key, *contents, member(steps.at(5)), erase);
  };
  if (what == "fieldSetL4Port") return applySet(apps.ports, "ports", rangeFrom);
  return applySet(apps.prefixes, "prefixes",
                  [](const std::string& text) { return Prefix::parse(text); });
}

// As it is in the collection of the store: by key where that is ordered, else as they came.
std::optional<Steps> ModelInputs::keysAt(const Steps& steps) {
  Inputs& in = model_->in;
  const std::string& collection = steps.back();
  if (collection == "source") return in.configs->entry.keys();
  if (collection == "lists") return in.paths->entry.keys();
  if (steps[0] == "source") return keysOfSource(steps);
  if (steps[0] == "intf") return textsOf(in.intfStatus);
  if (steps[0] == "ip") return collection == "vrf" ? in.ip->vrf : in.ip->intf.keys();
  if (steps[0] == "lists") {
    const auto path = paths_[steps[1]];
    if (!path) return {};
    const auto& lists = path->list[steps[2] == "matchIpv4PrefixList" ? ipv4 : ipv6];
    if (collection != "subnets") return lists.keys();
    const auto list = lists.get(steps[3]);
    return list ? std::optional(textsOf(list->subnets)) : std::nullopt;
  }
  if (steps[0] == "acl") {
    const auto& lists = in.prefixLists->list[steps[1] == "prefixList" ? ipv4 : ipv6];
    if (steps.size() == 2) return lists.keys();
    const auto list = lists.get(steps[2]);
    return list ? std::optional(keysOf(list->text)) : std::nullopt;
  }
  Applications& apps = *in.applications;
  if (collection == "app") return keysOf(apps.app);
  if (collection == "proto") {
    const auto found = apps.app.find(steps[2]);
    return found == apps.app.end() ? std::nullopt : std::optional(textsOf(found->second->proto));
  }
  if (collection == "fieldSetL4Port") return apps.ports.keys();
  if (collection == "fieldSetIpPrefix") return apps.prefixes.keys();
  const auto ports = apps.ports.get(steps[2]).contents;
  const auto prefixes = apps.prefixes.get(steps[2]).contents;
  if (collection == "ports") return ports ? std::optional(textsOf(*ports)) : std::nullopt;
  return prefixes ? std::optional(textsOf(*prefixes)) : std::nullopt;
}

std::optional<Steps> ModelInputs::keysOfSource(const Steps& steps) {
  const auto& config = configs_[steps[1]];
  if (!config) return {};
  const std::string& what = steps[2];
  if (steps.size() == 3) {
    return what == "vrf"      ? config->vrf.keys()
           : what == "policy" ? config->policy.keys()
                              : config->classMap.keys();
  }
  if (what == "policy") {
    const auto policy = config->policy.get(steps[3]);
    return policy ? std::optional(keysOf(policy->rule)) : std::nullopt;
  }
  if (what == "classMap") {
    const auto classMap = config->classMap.get(steps[3]);
    if (!classMap) return {};
    if (steps.size() == 5) return classMap->intfVlanData.keys();
    const auto data = classMap->intfVlanData.get(steps[5]);
    return data ? std::optional(textsOf(data->vlanRange)) : std::nullopt;
  }
  const auto directory = what == "vrf" ? config->vrf.get(steps[3]) : config->l2;
  if (!directory) return {};
  const std::size_t at = what == "vrf" ? 4 : 3;
  if (steps[at] == "prefix") return textsOf(directory->prefix.keys());
  if (steps.size() == at + 1) return directory->segment.keys();
  const auto segment = directory->segment.get(steps[at + 1]);
  return segment ? std::optional(keysOf(segment->policy)) : std::nullopt;
}

}  // namespace Plain
