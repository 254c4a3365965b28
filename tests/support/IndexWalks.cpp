#include "tests/support/IndexWalks.h"

#include <utility>

namespace TestSupport {

using namespace Firewall;

namespace {

template <class Entries, class Test>
bool anyOf(const Entries& entries, const Test& test) {
  for (const auto& entry : entries) {
    if (test(entry)) return true;
  }
  return false;
}

}  // namespace

template <class T>
void IndexWalks::expectSame(const char* index, const Pith::String& name,
                            const std::vector<T>& indexed, const std::vector<T>& walked) {
  if (indexed == walked || !fault_.empty()) return;
  fault_ = std::string(index) + " of \"" + std::string(name.view()) + "\": the index has " +
           std::to_string(indexed.size()) + ", the walk " + std::to_string(walked.size());
}

std::string IndexWalks::fault(const HwConfig& hwConfig, const std::vector<Config::Ptr>& configs) {
  fault_.clear();
  for (const Config::Ptr& config : configs) rulesOfServices(*config);
  for (const Config::Ptr& config : configs) {
    for (const auto& each : std::as_const(*config).vrf()) {
      segmentsNaming(*each);
      globalPrefixes(*each);
    }
    if (const auto l2 = std::as_const(*config).l2SegmentDir()) segmentsNaming(*l2);
  }
  for (const auto& each : hwConfig.vrf()) {
    segmentDir(*each);
    vrf(*each);
  }
  if (const auto l2 = hwConfig.l2Seg()) segmentDir(*l2);
  classUsers(hwConfig);
  return std::exchange(fault_, {});
}

void IndexWalks::classUsers(const HwConfig& hwConfig) {
  std::vector<std::pair<Pith::String, const FwSegment*>> all;
  const auto walk = [&](const FwSegmentDir& directory) {
    for (const auto& segment : directory.segment()) {
      all.emplace_back(segment->className(), segment.get());
      if (!segment->className().empty()) classNames_.insert(segment->className());
    }
  };
  for (const auto& each : hwConfig.vrf()) walk(*each);
  if (const auto l2 = hwConfig.l2Seg()) walk(*l2);
  for (const Pith::String& name : classNames_) {
    std::vector<const FwSegment*> walked;
    for (const auto& [used, segment] : all) {
      if (used == name) walked.push_back(segment);
    }
    std::vector<const FwSegment*> indexed;
    for (auto user = hwConfig.classUser(name, {}); user;
         user = hwConfig.classUser(name, user->place)) {
      indexed.push_back(user->segment.get());
    }
    expectSame("users of class maps", name, indexed, walked);
  }
}

void IndexWalks::segmentDir(const FwSegmentDir& directory) {
  for (const auto& from : directory.segment()) {
    segments_.insert(from->name());
    std::vector<Pith::String> walked;
    for (const auto& segment : directory.segment()) {
      const auto isFrom = [&](const auto& link) { return link.value.segment.get() == from.get(); };
      if (anyOf(segment->fromSegment(), isFrom)) walked.push_back(segment->name());
    }
    std::vector<Pith::String> indexed;
    for (auto name = from->receiver(std::nullopt); name; name = from->receiver(name)) {
      indexed.push_back(*name);
    }
    expectSame("receivers", from->name(), indexed, walked);
  }
}

void IndexWalks::vrf(const FwVrf& vrf) {
  for (const auto& segment : vrf.segment()) {
    for (const auto& entry : segment->subnets()) subnets_.insert(entry.key);
  }
  for (const Lanx::IpGenAddrWithMask& subnet : subnets_) {
    std::vector<const FwSegment*> walked;
    for (const auto& segment : vrf.segment()) {
      if (segment->subnetsHas(subnet)) walked.push_back(segment.get());
    }
    const std::vector<const FwSegment*> first(
        walked.begin(), walked.begin() + static_cast<std::ptrdiff_t>(walked.empty() ? 0 : 1));
    const auto alone = [](const Pith::Ptr<const FwSegment>& holder) {
      return holder ? std::vector<const FwSegment*>{holder.get()} : std::vector<const FwSegment*>();
    };
    expectSame("holders of subnets", subnet.toString(), alone(vrf.segmentHolding(subnet)), first);
    if (walked.empty()) continue;
    std::vector<const FwSegment*> heir;
    if (walked.size() > 1) heir.push_back(walked[1]);
    expectSame("heirs of subnets", subnet.toString(),
               alone(vrf.segmentHolding(subnet, walked.front()->name())), heir);
  }
}

void IndexWalks::rulesOfServices(const Config& config) {
  using Rule = std::pair<const Policy*, std::uint32_t>;
  std::vector<std::pair<Pith::String, Rule>> all;
  for (const auto& policy : config.policy()) {
    policies_.insert(policy->name());
    for (const auto& entry : policy->rule()) {
      services_.insert(entry.value.service);
      all.emplace_back(entry.value.service, Rule(policy.get(), entry.key));
    }
  }
  for (const Pith::String& service : services_) {
    std::vector<Rule> walked;
    for (const auto& [named, rule] : all) {
      if (named == service) walked.push_back(rule);
    }
    std::vector<Rule> indexed;
    for (auto rule = config.ruleOfService(service, {}); rule;
         rule = config.ruleOfService(service, rule->place)) {
      indexed.emplace_back(rule->policy.get(), rule->place.seqnum);
    }
    expectSame("rules of services", service, indexed, walked);
  }
}

void IndexWalks::segmentsNaming(const SegmentDir& directory) {
  for (const auto& segment : directory.segment()) {
    segments_.insert(segment->name());
    policies_.insert(segment->fallbackPolicy());
    for (const auto& entry : segment->policy()) {
      segments_.insert(entry.key);
      policies_.insert(entry.value);
    }
  }
  const auto compare = [&](const Pith::String& from, const Pith::String& policy) {
    std::vector<const Segment*> walked;
    for (const auto& segment : directory.segment()) {
      const bool names =
          (!from.empty() && segment->policyHas(from)) ||
          (!policy.empty() &&
           (segment->fallbackPolicy() == policy ||
            anyOf(segment->policy(), [&](const auto& entry) { return entry.value == policy; })));
      if (names) walked.push_back(segment.get());
    }
    std::vector<const Segment*> indexed;
    for (auto next = directory.segmentNaming(from, policy, 0); next;
         next = directory.segmentNaming(from, policy, next->place)) {
      indexed.push_back(next->segment.get());
    }
    expectSame("segments naming", from.empty() ? policy : from, indexed, walked);
  };
  for (const Pith::String& from : segments_) compare(from, {});
  for (const Pith::String& policy : policies_) compare({}, policy);
}

void IndexWalks::globalPrefixes(const Vrf& vrf) {
  for (const auto& entry : vrf.prefix()) segments_.insert(entry.value);
  for (const Pith::String& segment : segments_) {
    std::vector<Lanx::IpGenPrefix> walked;
    for (const auto& entry : vrf.prefix()) {
      if (entry.value == segment) walked.push_back(entry.key);
    }
    expectSame("global prefixes of", segment, vrf.prefixesNaming(segment), walked);
  }
}

}  // namespace TestSupport
