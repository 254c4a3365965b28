#include "tests/plain/Segments.h"

namespace Plain {
namespace {

const Range allPorts{0, 65535};

std::string ruleRest(const Policy& policy, std::uint32_t seqnum) {
  const auto found = policy.rule.find(seqnum);
  const Rule rule = found == policy.rule.end() ? Rule() : found->second;
  return "action=" + rule.action + ",log=" + rule.log + ",nexthop=" + rule.nexthop;
}

std::vector<Range> orAll(const std::map<unsigned, unsigned>& ports) {
  std::vector<Range> ranges(ports.begin(), ports.end());
  if (ranges.empty()) ranges.push_back(allPorts);
  return ranges;
}

std::vector<Prefix> orUnset(std::vector<Prefix> prefixes) {
  if (prefixes.empty()) prefixes.emplace_back();
  return prefixes;
}

}  // namespace

void Root::watchPolicy(const std::string& name) {
  const auto policy = config_->policy.get(name);
  if (!policy) {
    policies_.erase(name);
    return;
  }
  if (policies_.contains(name)) return;
  policies_[name] = Watching(policy, [this, policy](const News& news) {
    if (news.what == "rule")
      handlePolicyRule(*policy, static_cast<std::uint32_t>(std::stoul(news.key)));
  });
  if (initialized_) handlePolicyRules(*policy);
}

void Root::handlePolicy(const std::string& name) {
  const auto policy = config_->policy.get(name);
  if (policy) {
    model_->hw->policyIs(name);
    handlePolicyRules(*policy);
    linkPolicy(name, true);
    return;
  }
  std::vector<std::shared_ptr<Policy>> remaining;
  for (const auto& config : model_->enabledConfigs(config_.get())) {
    if (const auto other = config->policy.get(name)) remaining.push_back(other);
  }
  if (remaining.empty()) {
    linkPolicy(name, false);
    unlinkEverywhere(model_->hw->policy.get(name));
    model_->hw->policyDel(name);
    return;
  }
  const auto out = model_->hw->policy.get(name);
  if (!out) return;
  while (!out->rule.empty()) out->ruleDel(out->rule.begin()->first);
  while (!out->serviceRule.empty()) out->serviceRuleDel(out->serviceRule.begin()->first);
  for (const auto& other : remaining) handlePolicyRules(*other);
}

// In the segments of this source, then in those of the other enabled ones.
void Root::linkPolicy(const std::string& name, bool add) {
  auto configs = model_->enabledConfigs(config_.get());
  configs.insert(configs.begin(), config_);
  const auto link = [&](const SegmentDir& input, FwDir& output) {
    if (add) {
      addLinksAll(*model_, input, output, "", name);
    } else {
      deleteLinksAll(input, output, "", name);
    }
  };
  for (const auto& config : configs) {
    for (const auto& [vrf, input] : config->vrf.items()) {
      if (const auto output = model_->hw->vrf.get(vrf)) link(*input, *output);
    }
    if (config->l2 && model_->hw->l2Seg) link(*config->l2, *model_->hw->l2Seg);
  }
}

// In segments that nobody configures any more, too, and under whatever name.
void Root::unlinkEverywhere(const std::shared_ptr<FwPolicy>& policy) {
  std::vector<std::shared_ptr<FwDir>> directories;
  for (const auto& [name, directory] : model_->hw->vrf.items()) directories.push_back(directory);
  if (model_->hw->l2Seg) directories.push_back(model_->hw->l2Seg);
  for (const auto& directory : directories) {
    for (const auto& [name, segment] : directory->segment) {
      if (!policy) continue;
      for (const auto& [from, link] : segment->fromSegment.items()) {
        if (link.policy == policy) segment->fromSegmentDel(from);
      }
      if (segment->fallbackPolicy == policy) segment->fallbackPolicyIs(nullptr);
    }
  }
}

void Root::handlePolicyRules(const Policy& policy) {
  for (const auto& rule : std::map(policy.rule)) handlePolicyRule(policy, rule.first);
}

void Root::handlePolicyRule(const Policy& policy, std::uint32_t seqnum) {
  if (!model_->hw->policy.get(policy.name)) return;
  deletePolicyRules(policy.name, seqnum);
  if (policy.rule.contains(seqnum) && addPolicyRulesAll(policy, seqnum)) return;
  takeOver(policy.name, seqnum);
}

// A sequence number that this source leaves empty is that of the other sources again.
void Root::takeOver(const std::string& policy, std::uint32_t seqnum) {
  for (const auto& config : model_->enabledConfigs(config_.get())) {
    const auto other = config->policy.get(policy);
    if (!other || !other->rule.contains(seqnum)) continue;
    const auto service = model_->hw->services.get(other->rule.at(seqnum).service);
    if (!service || !service->hasRules()) continue;
    deletePolicyRules(policy, seqnum);
    addPolicyRulesAll(*other, seqnum);
  }
}

// Whether there was a service to add the rules of.
bool Root::addPolicyRulesAll(const Policy& policy, std::uint32_t seqnum) {
  const auto service = model_->hw->services.get(policy.rule.at(seqnum).service);
  if (!service || !service->hasRules()) return false;
  addServicePolicyRules(service, policy, seqnum);
  return true;
}

void Root::addServicePolicyRules(const std::shared_ptr<FwService>& service, const Policy& policy,
                                 std::uint32_t seqnum) {
  if (model_->in.capability->serviceRuleSupported) {
    if (const auto out = model_->hw->policy.get(policy.name))
      out->serviceRuleIs(seqnum, {service, ruleRest(policy, seqnum)});
    return;
  }
  for (const Prefix& sip : orUnset(service->srcIpPrefix)) {
    for (const Prefix& dip : orUnset(service->dstIpPrefix)) {
      if (service->protocol.empty() &&
          !addPolicyRule(policy, seqnum, sip, dip, {}, allPorts, allPorts)) {
        return;
      }
      for (const Range& range : service->protocol) {
        const unsigned lowest = service->af == "ipv4" ? 1 : 0;
        if (range.first <= lowest && range.second == 255) {
          if (!addPolicyRule(policy, seqnum, sip, dip, {}, allPorts, allPorts)) return;
          continue;
        }
        for (unsigned protocol = range.first; protocol <= range.second; ++protocol) {
          const bool hasPorts = protocol == 6 || protocol == 17;
          for (const Range& dst : hasPorts ? orAll(service->dstPort) : std::vector{allPorts}) {
            for (const Range& src : hasPorts ? orAll(service->srcPort) : std::vector{allPorts}) {
              if (!addPolicyRule(policy, seqnum, sip, dip, protocol, dst, src)) return;
            }
          }
        }
      }
    }
  }
}

bool Root::addPolicyRule(const Policy& policy, std::uint32_t seqnum, const Prefix& sip,
                         const Prefix& dip, std::optional<unsigned> protocol, const Range& dst,
                         const Range& src) {
  const auto out = model_->hw->policy.get(policy.name);
  if (!out || seqnum > 1023) return false;
  std::uint32_t id = (seqnum << 22U) + 1;
  while (out->rule.contains(id)) ++id;
  out->ruleIs(id, "seqnum=" + std::to_string(seqnum) + ",sip=" + sip.toString() + ",dip=" +
                      dip.toString() + ",protocol=" + (protocol ? std::to_string(*protocol) : "") +
                      ",dstPort=" + rangeText(dst) + ",srcPort=" + rangeText(src) + "," +
                      ruleRest(policy, seqnum));
  return true;
}

void Root::deletePolicyRules(const std::string& policy, std::uint32_t seqnum) {
  const auto out = model_->hw->policy.get(policy);
  if (!out) return;
  for (const auto& rule : std::map(out->rule)) {
    if (rule.first >> 22U == seqnum) out->ruleDel(rule.first);
  }
  out->serviceRuleDel(seqnum);
}

}  // namespace Plain
