#include "Firewall/Rules/RuleWriter.h"

#include <optional>
#include <utility>

#include "Firewall/Rules/RuleId.h"
#include "Firewall/Trace.h"
#include "framework/Kiv/AllSteps.h"

namespace Firewall {

// Where the hardware rules of one policy rule go. It keeps what it has looked up, and looks it up
// again only when it may have changed: a subscriber to the written rules may change anything.
class RuleWriter::Target {
 public:
  Target(Pith::Ptr<HwConfig> out, Pith::Ptr<const Policy> inPolicy, std::uint32_t seqnum) noexcept
      : out_(std::move(out)), inPolicy_(std::move(inPolicy)), seqnum_(seqnum) {}

  const Pith::String& policyName() const noexcept { return inPolicy_->name(); }
  std::uint32_t seqnum() const noexcept { return seqnum_; }

  // The output's policy; null when it has none of that name.
  FwPolicy* fwPolicy() {
    if (!fwPolicy_ || fwPolicy_->parent() == nullptr) {
      fwPolicy_ = out_->policy(policyName());
      freeAt_.reset();
    }
    return fwPolicy_.get();
  }

  // The configured rule, or one that drops when there is none. Good until the next write.
  const PolicyRule& inRule() {
    static const PolicyRule none;
    const auto& rules = inPolicy_->rule();
    if (inRule_ == nullptr || rules.version() != inVersion_) {
      inRule_ = inPolicy_->rule(seqnum_);
      inVersion_ = rules.version();
    }
    return inRule_ == nullptr ? none : *inRule_;
  }

  // The lowest index that is free in fwPolicy(), which is not null.
  std::uint32_t freeIndex() {
    const auto& rules = fwPolicy_->rule();
    if (freeAt_ != rules.version()) {
      free_ = lowestFreeRuleIndex(rules, seqnum_);
      freeAt_ = rules.version();
    }
    return free_.index;
  }

  // A rule was written under freeIndex(). When nothing is behind that rule, the next free index is
  // the one behind it, as long as nothing else moved the table's version.
  void freeIndexTaken() noexcept {
    if (!free_.isBehindAll) return;
    ++*freeAt_;
    ++free_.index;
  }

 private:
  Pith::Ptr<HwConfig> out_;
  Pith::Ptr<const Policy> inPolicy_;
  std::uint32_t seqnum_;
  Pith::Ptr<FwPolicy> fwPolicy_;
  FreeRuleIndex free_{};
  std::optional<std::uint64_t> freeAt_;  // the version of the table in which free_ was looked up
  const PolicyRule* inRule_ = nullptr;
  std::uint64_t inVersion_ = 0;
};

bool RuleWriter::addPolicyRule(const Pith::Ptr<const Policy>& inPolicy, std::uint32_t seqnum,
                               const Lanx::IpGenPrefix& sip, const Lanx::IpGenPrefix& dip,
                               Protocol::Optional protocol, PortRange dstPort,
                               PortRange srcPort) const {
  Target target(at_.outFirewallConfig, inPolicy, seqnum);
  return addPolicyRule(target, sip, dip, protocol, dstPort, srcPort);
}

bool RuleWriter::addPolicyRule(Target& target, const Lanx::IpGenPrefix& sip,
                               const Lanx::IpGenPrefix& dip, Protocol::Optional protocol,
                               PortRange dstPort, PortRange srcPort) const {
  static constexpr Twinlog::Function fn(
      "bool Firewall::RootSm::addPolicyRule(const PtrConst&, U32, const Lanx::IpGenPrefix&, "
      "const Lanx::IpGenPrefix&, Firewall::Protocol::Optional, Firewall::PortRange, "
      "Firewall::PortRange)");
  if (!stage_.isWorking()) {
    TWINLOG_FN(facility, 7, fn, " not initialized - return false");
    return false;
  }
  const std::uint32_t seqnum = target.seqnum();
  const auto protocolNumber = static_cast<std::int16_t>(protocol ? protocol->value() : -1);
  TWINLOG_FN(facility, 8, fn, ": %s, %s, %s, %s, %s", target.policyName(), seqnum, sip, dip,
             protocolNumber);
  TWINLOG_FN(facility, 8, fn, ": dstPort=%s-%s, srcPort=%s-%s", dstPort.start(), dstPort.end(),
             srcPort.start(), srcPort.end());
  FwPolicy* const fwPolicy = target.fwPolicy();
  if (fwPolicy == nullptr) {
    TWINLOG(facility, 3, fn, "Policy %s not found", target.policyName());
    return false;
  }
  const PolicyRule& inRule = target.inRule();
  const Action action = inRule.action;
  const std::uint32_t ruleId = computeRuleId(seqnum, target.freeIndex());
  if (ruleId == 0) {
    TWINLOG_FN(facility, 7, fn, " no ruleIds available - return false");
    return false;
  }
  fwPolicy->ruleIs(ruleId, seqnum, sip, dip, protocol, dstPort, srcPort, action, inRule.log,
                   inRule.nexthop);
  target.freeIndexTaken();
  TWINLOG(
      facility, 3, fn,
      "Inserted new rule with ruleId=%s, seqnum=%s, sip=%s, dip=%s, protocol=%s, dstPort=%s-%s, "
      "srcPort=%s-%s, action=%s",
      ruleId, seqnum, sip, dip, protocolNumber, dstPort.start(), dstPort.end(), srcPort.start(),
      srcPort.end(), action);
  TWINLOG_FN(facility, 7, fn, " return true");
  return true;
}

namespace {

template <class Member>
const Member& memberOf(const Member& entry) {
  return entry;
}
template <class Key, class Value>
const Value& memberOf(const Kiv::MapEntry<Key, Value>& entry) {
  return entry.value;
}

// Calls use(member) for each member, or use(standIn) when there is none, as long as it returns
// true; returns whether it always did. The collection may change meanwhile, and each member is a
// copy.
template <class Collection, class Member, class Use>
bool eachOr(const Collection& collection, const Member& standIn, const Use& use) {
  if (collection.empty()) return use(standIn);
  for (const auto& entry : collection) {
    const Member member = memberOf(entry);
    if (!use(member)) return false;
  }
  return true;
}

// Whether the range leaves out no protocol of the family: for IPv4, 0 is an IPv6 option.
bool coversAllProtocols(const ProtocolRange& range, Classification::AddressFamily af) {
  const unsigned lowest = af == Classification::AddressFamily::ipv4 ? 1 : 0;
  return range.start() <= lowest && range.end() == 255;
}

// Like eachOr, for the protocols that the service's ranges stand for; none is any.
template <class Use>
bool eachProtocol(const FwService& service, const Use& use) {
  if (service.protocol().empty()) return use(Protocol::Optional());
  for (const ProtocolRange& entry : service.protocol()) {
    const ProtocolRange range = entry;
    if (coversAllProtocols(range, service.af())) {
      if (!use(Protocol::Optional())) return false;
      continue;
    }
    for (unsigned value = range.start(); value <= range.end(); ++value) {
      if (!use(Protocol::Optional(Protocol(static_cast<std::uint8_t>(value))))) return false;
    }
  }
  return true;
}

}  // namespace

void RuleWriter::addServicePolicyRules(const Pith::Ptr<const FwService>& fwService,
                                       const Pith::Ptr<const Policy>& inPolicy,
                                       std::uint32_t seqnum) const {
  FIREWALL_ENTRY(
      "void Firewall::RootSm::addServicePolicyRules(const PtrConst&, const PtrConst&, U32)",
      ": %s, %s, %s", fwService, inPolicy, seqnum);
  const Pith::Ptr<const FwService> service = fwService;
  Target target(at_.outFirewallConfig, inPolicy, seqnum);
  if (at_.hwCapability->serviceRuleSupported()) {
    if (!stage_.isWorking()) return;
    FwPolicy* const fwPolicy = target.fwPolicy();
    if (fwPolicy == nullptr) {
      TWINLOG(facility, 3, fn, "Policy %s not found", target.policyName());
      return;
    }
    const PolicyRule inRule = target.inRule();
    fwPolicy->serviceRuleIs(seqnum, service, inRule.action, inRule.log, inRule.nexthop);
    TWINLOG(facility, 3, fn, "Inserted new unexpanded rule with: service=%s, action=%s, log=%s",
            service->name(), inRule.action, inRule.log);
    return;
  }
  const Lanx::IpGenPrefix anyPrefix;
  const PortRange anyPort = PortRange::all();
  eachOr(service->srcIpPrefix(), anyPrefix, [&](const Lanx::IpGenPrefix& sip) {
    return eachOr(service->dstIpPrefix(), anyPrefix, [&](const Lanx::IpGenPrefix& dip) {
      return eachProtocol(*service, [&](Protocol::Optional protocol) {
        if (!protocol || !protocol->hasPorts()) {
          return addPolicyRule(target, sip, dip, protocol, anyPort, anyPort);
        }
        return eachOr(service->dstPort(), anyPort, [&](const PortRange& dstPort) {
          return eachOr(service->srcPort(), anyPort, [&](const PortRange& srcPort) {
            return addPolicyRule(target, sip, dip, protocol, dstPort, srcPort);
          });
        });
      });
    });
  });
}

void RuleWriter::deletePolicyRules(const Pith::Ptr<const Policy>& inPolicy,
                                   std::uint32_t seqnum) const {
  static constexpr Twinlog::Function fn(
      "void Firewall::RootSm::deletePolicyRules(const PtrConst&, U32)");
  if (!stage_.isWorking()) return;
  TWINLOG_FN(facility, 8, fn, ": %s, %s", inPolicy, seqnum);
  const Pith::Ptr<FwPolicy> fwPolicy = at_.outFirewallConfig->policy(inPolicy->name());
  if (!fwPolicy) return;
  Kiv::AllSteps steps;
  const auto& rules = fwPolicy->rule();
  // The identifiers of a sequence number are a range; of one that is too large there are none.
  for (auto rule = rules.lowerBound(seqnum << ruleIndexBits);
       rule != rules.end() && ruleSeqnum(rule->key) == seqnum; ++rule) {
    const std::uint32_t ruleId = rule->key;
    TWINLOG(facility, 3, fn, "Deleting rule with ruleId=%s, seqnum=%s", ruleId, seqnum);
    steps.run([&] { fwPolicy->ruleDel(ruleId); });
  }
  steps.run([&] { fwPolicy->serviceRuleDel(seqnum); });
  TWINLOG_FN(facility, 7, fn, " return");
}

void RuleWriter::deleteAllRules(const Pith::Ptr<const Policy>& inPolicy) const {
  const FwPolicy::Ptr fwPolicy = at_.outFirewallConfig->policy(inPolicy->name());
  if (!fwPolicy) return;
  Kiv::AllSteps steps;
  const auto deleteThose = [&](std::uint32_t seqnum) {
    steps.run([&] { deletePolicyRules(inPolicy, seqnum); });
  };
  for (const auto& rule : fwPolicy->rule()) deleteThose(ruleSeqnum(rule.key));
  for (const auto& rule : fwPolicy->serviceRule()) deleteThose(rule.key);
}

}  // namespace Firewall
