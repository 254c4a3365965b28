#include "agent/Server/KnownDifferences.h"

#include <algorithm>
#include <set>
#include <utility>

#include "Firewall/Rules/RuleId.h"
#include "agent/Server/BehaviourLines.h"
#include "framework/Kiv/Path.h"

namespace Agent {
namespace {

constexpr std::string_view lastValues = behaviourLine("last-values");
constexpr std::string_view switchesOfAll = behaviourLine("switches-of-all");
constexpr std::string_view disabledLeavesSegments = behaviourLine("disabled-leaves-segments");
constexpr std::string_view disabledLeavesPolicies = behaviourLine("disabled-leaves-policies");
constexpr std::string_view oneL2Directory = behaviourLine("one-l2-directory");
constexpr std::string_view vrfLeft = behaviourLine("vrf-left");
constexpr std::string_view identifiersReused = behaviourLine("identifiers-reused");
constexpr std::string_view lastCompiled = behaviourLine("last-compiled");
constexpr std::string_view overlap = behaviourLine("ports-overlap");
constexpr std::string_view narrowerKept = behaviourLine("narrower-ports-kept");
constexpr std::string_view firstClaim = behaviourLine("first-claim");
constexpr std::string_view globalOfTwo = behaviourLine("global-of-two");
constexpr std::string_view globalOfDisabled = behaviourLine("global-of-disabled");
constexpr std::string_view globalOfNone = behaviourLine("global-of-none");
constexpr std::string_view listsOfTwo = behaviourLine("lists-of-two");
constexpr std::string_view noneChosen = behaviourLine("none-chosen");
constexpr std::string_view twoPermits = behaviourLine("two-permits");
constexpr std::string_view interfaceLater = behaviourLine("interface-later");
constexpr std::string_view interfaceGone = behaviourLine("interface-gone");
constexpr std::string_view classMapsOfTwo = behaviourLine("class-maps-of-two");
constexpr std::string_view stillSubscriber = behaviourLine("still-subscriber");
constexpr std::string_view segmentOfTwo = behaviourLine("segment-of-two");
constexpr std::string_view fallbackLeft = behaviourLine("fallback-left");
constexpr std::string_view policyLater = behaviourLine("policy-later");
constexpr std::string_view linksReplaced = behaviourLine("links-replaced");

constexpr std::string_view allForwarding = "forwarding-segments";

std::vector<std::string> stepsOf(const std::string& path) {
  std::vector<std::string> steps;
  for (Kiv::Path rest(path); !rest.atEnd();) steps.push_back(Kiv::pathKeyFromText(rest.step()));
  return steps;
}

// What the rules of a sequence number say, whatever their identifiers.
std::multiset<std::string> rulesOf(const FlatTree& tree, const std::string& rules,
                                   std::uint32_t seqnum) {
  std::multiset<std::string> result;
  for (auto at = tree.lower_bound(rules + "/"); at != tree.end() && isAtOrBelow(at->first, rules);
       ++at) {
    const auto id = static_cast<std::uint32_t>(std::stoul(at->first.substr(rules.size() + 1)));
    if (Firewall::ruleSeqnum(id) == seqnum) result.insert(at->second.text);
  }
  return result;
}

bool isPrefixList(const Firewall::ListSource& source) {
  return source.alternative() == Firewall::ListSource::Alternative::prefixList;
}

bool rangesMeet(const Classification::FieldSetConfig& sets, const Pith::String& name) {
  const auto set = sets.fieldSetL4Port(name);
  const auto ports = set ? set->subConfig() : nullptr;
  if (!ports) return false;
  for (const Classification::PortRange& one : ports->ports()) {
    for (const Classification::PortRange& other : ports->ports()) {
      if (one != other && one.start <= other.end && other.start <= one.end) return true;
    }
  }
  return false;
}

}  // namespace

KnownDifferences::KnownDifferences(const Store& running, const FlatTree& now, const FlatTree& fresh)
    : running_(running), now_(now), fresh_(fresh) {
  for (auto entry = running.fwConfigDir->entityPtrIteratorConst(); entry; ++entry) {
    sources_.push_back(running.source(entry.key()));
  }
}

template <class Predicate>
std::size_t KnownDifferences::sourcesWith(const Predicate& predicate) const {
  return static_cast<std::size_t>(std::count_if(
      sources_.begin(), sources_.end(), [&](const auto& source) { return predicate(*source); }));
}

std::string_view KnownDifferences::of(const std::string& path) const {
  const Steps steps = stepsOf(path);
  const std::string& first = steps.front();
  if (first == "defaultPolicyDrop" || first == "forwardType") {
    if (!running_.hwConfig->active()) return lastValues;
    const auto isDisabled = [](const Firewall::Config& source) { return !source.enabled(); };
    const bool isOfOther = running_.sourceHasLeft() || sourcesWith(isDisabled) != 0;
    return isOfOther ? switchesOfAll : std::string_view();
  }
  if (first == "policy") return ofPolicy(path, steps);
  if (first == "services") return ofService(path, steps);
  if (first == "vrf") return ofVrf(path, steps);
  if (first == "l2Seg") return ofSegment(path, steps, true);
  return {};
}

std::string_view KnownDifferences::ofPolicy(const std::string& path, const Steps& steps) const {
  const Pith::String name(steps[1]);
  const auto has = [&name](const Firewall::Config& source) {
    return source.policy(name) != nullptr;
  };
  if (sourcesWith([&](const auto& source) { return !source.enabled() && has(source); }) != 0) {
    return disabledLeavesPolicies;
  }
  const std::string_view left =
      running_.sourceHasLeft() && fresh_.count(path) == 0 ? disabledLeavesPolicies : "";
  if (steps.size() < 4 || steps[2] != "rule") return left;
  const auto seqnum = Firewall::ruleSeqnum(static_cast<std::uint32_t>(std::stoul(steps[3])));
  const std::string rules = path.substr(0, path.rfind('/'));
  if (rulesOf(now_, rules, seqnum) == rulesOf(fresh_, rules, seqnum)) return identifiersReused;
  const auto hasRule = [&](const Firewall::Config& source) {
    return has(source) && source.policy(name)->ruleHas(seqnum);
  };
  if (sourcesWith(hasRule) > 1) return lastCompiled;
  // A rule is as its service is.
  for (const auto& source : sources_) {
    if (!hasRule(*source)) continue;
    std::string service = "services/";
    Kiv::appendPathKey(service, source->policy(name)->rule(seqnum)->service.view());
    for (const auto& [portPath, ports] : now_) {
      if (!isAtOrBelow(portPath, service)) continue;
      const auto other = fresh_.find(portPath);
      if (other == fresh_.end() || !(other->second == ports)) return of(portPath);
    }
  }
  return left;
}

bool KnownDifferences::portsOverlap(const Pith::String& service) const {
  const auto app = running_.appRecConfig->app(service);
  return app && (rangesMeet(*running_.fieldSetConfig, app->dstPortFieldSet()) ||
                 rangesMeet(*running_.fieldSetConfig, app->srcPortFieldSet()));
}

std::string_view KnownDifferences::ofService(const std::string& path, const Steps& steps) const {
  const Pith::String name(steps[1]);
  if (portsOverlap(name)) return overlap;
  if (steps.size() < 4) return {};
  const auto app = running_.appRecConfig->app(name);
  if (!app || (steps[2] != "dstPort" && steps[2] != "srcPort")) return {};
  const auto set = running_.fieldSetConfig->fieldSetL4Port(
      steps[2] == "dstPort" ? app->dstPortFieldSet() : app->srcPortFieldSet());
  const auto ports = set ? set->subConfig() : nullptr;
  if (!ports || fresh_.count(path) != 0) return {};
  const auto kept = Classification::PortRange::parse(now_.at(path).text);
  for (const Classification::PortRange& range : ports->ports()) {
    if (range.start <= kept.start && kept.end <= range.end) return narrowerKept;
  }
  return {};
}

std::string_view KnownDifferences::ofVrf(const std::string& path, const Steps& steps) const {
  const L3::VrfName vrf(steps[1]);
  const auto has = [&vrf](const Firewall::Config& source) { return source.vrf(vrf) != nullptr; };
  const std::string vrfPath = path.substr(0, path.find('/', path.find('/') + 1));
  if (fresh_.count(vrfPath) == 0 && sourcesWith(has) > 1) return vrfLeft;
  if (steps.size() > 2 && steps[2] == "prefixList") return ofOwner(path, steps);
  if (steps.size() > 3) return ofSegment(path, steps, false);
  const auto isLeft = [&](const auto& source) { return !source.enabled() && has(source); };
  return sourcesWith(isLeft) != 0 ? disabledLeavesSegments : ofLeft(path);
}

// Who owns a VRF-wide prefix.
std::string_view KnownDifferences::ofOwner(const std::string& path, const Steps& steps) const {
  const L3::VrfName vrf(steps[1]);
  const Lanx::IpGenPrefix prefix = Lanx::IpGenPrefix::parse(steps.back());
  const auto names = [&](const Firewall::Config& source) {
    const auto there = source.vrf(vrf);
    return there && there->prefixHas(prefix);
  };
  if (sourcesWith([&](const auto& source) { return !source.enabled() && names(source); }) != 0) {
    return globalOfDisabled;
  }
  if (sourcesWith(names) > 1) return globalOfTwo;
  const auto namesNone = [&](const Firewall::Config& source) {
    return names(source) && !source.vrf(vrf)->segment(*source.vrf(vrf)->prefix(prefix));
  };
  if (sourcesWith(namesNone) != 0) return globalOfNone;
  const auto chooses = [&](const Firewall::Config& source) {
    const auto there = source.vrf(vrf);
    if (!there) return false;
    for (const auto& segment : there->segment()) {
      if (!segment->prefixIpv4Ml().isNone() || !segment->prefixIpv6Ml().isNone()) return true;
    }
    return false;
  };
  if (sourcesWith(chooses) > 1) return listsOfTwo;
  // Both know an owner, and both owners hold it.
  if (now_.count(path) == 0 || fresh_.count(path) == 0) return ofLeft(path);
  const auto compiled = running_.hwConfig->vrf(vrf);
  std::size_t holders = 0;
  for (const auto& segment : compiled->segment()) {
    for (const auto& entry : segment->subnets()) holders += Lanx::IpGenPrefix(entry.key) == prefix;
  }
  return holders > 1 ? firstClaim : std::string_view();
}

// What is there that the configuration has not: of a source that has gone.
std::string_view KnownDifferences::ofLeft(const std::string& path) const {
  const auto fresh = fresh_.find(path);
  const bool isLeft = fresh == fresh_.end() || fresh->second.text.empty();
  return running_.sourceHasLeft() && isLeft ? disabledLeavesSegments : "";
}

std::string_view KnownDifferences::ofSegment(const std::string& path, const Steps& steps,
                                             bool isL2) const {
  const auto directoryOf = [&](const Firewall::Config& source) {
    return isL2 ? Pith::Ptr<const Firewall::SegmentDir>(source.l2SegmentDir())
                : Pith::Ptr<const Firewall::SegmentDir>(source.vrf(L3::VrfName(steps[1])));
  };
  const auto hasDirectory = [&](const auto& source) { return directoryOf(source) != nullptr; };
  if (isL2 && (sourcesWith(hasDirectory) > 1 || now_.count("l2Seg") == 0)) return oneL2Directory;
  const std::size_t at = isL2 ? 2 : 3;  // where the segment's name is
  if (steps.size() <= at) return {};
  const Pith::String name(steps[at]);
  const auto segmentOf = [&](const Firewall::Config& source) {
    const auto directory = directoryOf(source);
    return directory ? directory->segment(name) : nullptr;
  };
  const auto isLeft = [&](const auto& source) { return !source.enabled() && segmentOf(source); };
  if (sourcesWith(isLeft) != 0) return disabledLeavesSegments;
  if (!isL2 && !ofLeft(path).empty()) return disabledLeavesSegments;
  if (isL2 && running_.sourceHasLeft()) return oneL2Directory;
  if (steps.size() <= at + 1) return {};
  Segments segments;
  for (const auto& source : sources_) {
    if (const auto segment = segmentOf(*source)) segments.push_back(segment);
  }
  const std::string& what = steps[at + 1];
  // A source that has left took its part away, too.
  const bool isOfTwo = running_.sourceHasLeft() || segments.size() > 1;
  if (isOfTwo && (what == "fromSegment" || what == "fallbackPolicy" || what == "className")) {
    return segmentOfTwo;
  }
  if (what == "fallbackPolicy") return ofFallback(path);
  if (what == "fromSegment") return ofLink(path, segments);
  if (what == "subnets") return ofSubnets(path, segments);
  return what == "intfVlanRangeSet" ? ofInterface(path, steps[at + 2], segments)
                                    : std::string_view();
}

std::string_view KnownDifferences::ofFallback(const std::string& path) const {
  const auto fresh = fresh_.find(path);
  const bool hasNone = fresh == fresh_.end() || fresh->second.text.empty();
  return sources_.size() > 1 && hasNone ? fallbackLeft : std::string_view();
}

std::string_view KnownDifferences::ofInterface(const std::string& path, const std::string& name,
                                               const Segments& segments) const {
  const auto hasClassMap = [](const auto& segment) { return !segment->className().empty(); };
  if (std::count_if(segments.begin(), segments.end(), hasClassMap) > 1) return classMapsOfTwo;
  if (running_.sourceHasLeft() || segments.size() > 1) return segmentOfTwo;
  if (now_.count(path) == 0) return interfaceLater;
  const Lanx::IntfId intf{std::string_view(name)};
  return running_.intfStatusDir->intfStatusHas(intf) ? std::string_view() : interfaceGone;
}

std::string_view KnownDifferences::ofSubnets(const std::string& path,
                                             const Segments& segments) const {
  const auto choosesList = [](const auto& segment) {
    return !segment->prefixIpv4Ml().isNone() || !segment->prefixIpv6Ml().isNone();
  };
  if (std::count_if(segments.begin(), segments.end(), choosesList) > 1) return listsOfTwo;
  if (now_.count(path) != 0) return sources_.size() > 1 ? noneChosen : std::string_view();
  const auto choosesPrefixList = [](const auto& segment) {
    return isPrefixList(segment->prefixIpv4Ml()) || isPrefixList(segment->prefixIpv6Ml());
  };
  const bool isOfPrefixList = std::any_of(segments.begin(), segments.end(), choosesPrefixList);
  return isOfPrefixList ? twoPermits : std::string_view();
}

std::string_view KnownDifferences::ofLink(const std::string& path, const Segments& segments) const {
  if (!running_.hwCapability->forwardingSegmentsPolicySupported()) return {};
  const bool namesForwarding = std::any_of(
      segments.begin(), segments.end(),
      [](const auto& segment) { return segment->policyHas(Pith::String(allForwarding)); });
  if (now_.count(path) == 0) return namesForwarding ? policyLater : linksReplaced;
  return namesForwarding ? stillSubscriber : std::string_view();
}

}  // namespace Agent
