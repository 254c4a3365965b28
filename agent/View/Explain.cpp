#include "agent/View/Explain.h"

#include <array>
#include <ostream>
#include <vector>

#include "Firewall/Rules/RuleId.h"
#include "agent/Document/Count.h"
#include "agent/Document/Lookup.h"
#include "agent/Schema/Expansion.h"
#include "agent/View/CompiledText.h"
#include "agent/View/Text.h"
#include "framework/Kiv/Text.h"

namespace Agent {
namespace {

bool isEnabled(const Member& source) { return textBelow(source.value, "enabled") == "true"; }

// "matchList:offices" as the part that the list is in, and its name.
struct ListName {
  std::string_view part;
  std::string_view name;
  std::string_view entries;
};
ListName listNameOf(std::string_view text, bool isIpv4) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return {};
  const std::string_view name = text.substr(colon + 1);
  if (text.substr(0, colon) == "matchList") {
    return {isIpv4 ? "matchIpv4PrefixList" : "matchIpv6PrefixList", name, "subnets"};
  }
  return {isIpv4 ? "prefixList" : "ipv6PrefixList", name,
          isIpv4 ? "prefixEntry" : "ipv6PrefixEntry"};
}

constexpr std::array<std::pair<std::string_view, bool>, 2> listFields{
    {{"prefixIpv4Ml", true}, {"prefixIpv6Ml", false}}};

}  // namespace

void Explainer::reasons(const std::string& path, std::string_view indent) const {
  for (const Diagnostics::Entry& entry : diagnostics_.entries()) {
    if (entry.path.rfind(path, 0) != 0) continue;
    if (entry.path.size() > path.size() && entry.path[path.size()] != '/') continue;
    out_ << indent << "missing: " << at(entry.place) << ": ";
    if (entry.path.size() > path.size()) out_ << entry.path.substr(path.size() + 1) << ": ";
    out_ << entry.text << '\n';
  }
}

void Explainer::fieldSet(const Node& application, std::string_view field, std::string_view part,
                         std::string_view values) const {
  const Node* const name = application.find(field);
  if (name == nullptr) return;
  out_ << "    " << field << " " << inQuotes(name->text);
  const Member* const set = memberOf(below(root_, part), name->text);
  if (set == nullptr) {
    out_ << ", which is not in " << part << '\n';
    return;
  }
  out_ << " at " << at(set->key.place) << ": ";
  const auto& members = below(below(set->value, "subConfig"), values).members;
  constexpr std::size_t most = 8;
  for (std::size_t i = 0; i < members.size() && i < most; ++i) {
    out_ << (i == 0 ? "" : ", ") << members[i].key.text;
  }
  if (members.size() > most) out_ << ", ... " << members.size() - most << " more";
  out_ << '\n';
}

void Explainer::application(std::string_view name) const {
  const Member* const app = memberOf(below(root_, "app"), name);
  if (app == nullptr) return;
  out_ << "  application " << inQuotes(name) << " at " << at(app->key.place) << ": protocols";
  const auto& protocols = below(app->value, "proto").members;
  for (const Member& protocol : protocols) out_ << " " << protocol.key.text;
  out_ << (protocols.empty() ? " none\n" : "\n");
  fieldSet(app->value, "dstPortFieldSet", "fieldSetL4Port", "ports");
  fieldSet(app->value, "srcPortFieldSet", "fieldSetL4Port", "ports");
  fieldSet(app->value, "srcPrefixFieldSet", "fieldSetIpPrefix", "prefixes");
  fieldSet(app->value, "dstPrefixFieldSet", "fieldSetIpPrefix", "prefixes");
  const Expansion expansion = Expansion::of(root_, name);
  out_ << "    " << expansion.arithmetic() << " make " << counted(expansion.rules(), "rule")
       << '\n';
}

void Explainer::hardwareRules(std::string_view policy, std::uint32_t seqnum) const {
  const auto compiled = store_.hwConfig->policy(Pith::String(policy));
  if (!compiled) {
    out_ << "  the hardware has no such policy\n";
    return;
  }
  const TextStyle style;
  Table table({"RULE ID", "SOURCE", "DESTINATION", "PROTOCOL", "PORTS", "SOURCE PORTS", "ACTION"},
              style);
  for (const auto& entry : compiled->rule()) {
    const Firewall::FwRule& rule = entry.value;
    if (rule.seqnum != seqnum) continue;
    table.row({{std::to_string(entry.key)},
               {prefixText(rule.sip)},
               {prefixText(rule.dip)},
               {protocolText(rule.protocol)},
               {portsText(rule.dstPort)},
               {portsText(rule.srcPort)},
               {Kiv::valueToStrep(rule.action) + (rule.log ? " log" : "")}});
  }
  if (const auto* const whole = compiled->serviceRule(seqnum)) {
    out_ << "  the hardware has it whole: "
         << (whole->service ? linkText(whole->service) : "no service") << ", "
         << Kiv::valueToStrep(whole->action) << '\n';
  } else if (table.empty()) {
    out_ << "  the hardware has no rule of it\n";
  } else {
    out_ << "  the hardware has " << counted(table.rows(), "rule") << ":\n";
    table.print(out_, "    ");
  }
}

bool Explainer::rule(std::string_view policy, std::uint32_t seqnum) {
  const std::string key = std::to_string(seqnum);
  bool isFound = false;
  for (const Member& source : below(root_, "source").members) {
    const Member* const in = memberOf(below(source.value, "policy"), policy);
    const Member* const rule = in == nullptr ? nullptr : memberOf(below(in->value, "rule"), key);
    if (rule == nullptr) continue;
    isFound = true;
    const Node& service = below(rule->value, "service");
    out_ << "source " << inQuotes(source.key.text) << ": rule " << key << " of " << inQuotes(policy)
         << " at " << at(rule->key.place) << ": " << service.text << " is to "
         << textBelow(rule->value, "action") << '\n';
    if (!isEnabled(source)) out_ << "  missing: the source is not enabled\n";
    reasons("source/" + std::string(source.key.text) + "/policy/" + std::string(policy) + "/rule/" +
                key,
            "  ");
    application(service.text);
  }
  if (!isFound) {
    out_ << "no source has a rule " << key << " of the policy " << inQuotes(policy) << '\n';
  } else {
    hardwareRules(policy, seqnum);
  }
  return isFound;
}

bool Explainer::hardwareRule(std::string_view policy, std::uint32_t ruleId) {
  const auto compiled = store_.hwConfig->policy(Pith::String(policy));
  if (compiled && compiled->serviceRule(ruleId) != nullptr) {
    out_ << "rule " << ruleId << " is taken whole, under its sequence number\n";
    return rule(policy, ruleId);
  }
  if (!compiled || compiled->rule(ruleId) == nullptr) {
    out_ << "the hardware has no rule " << ruleId << " of a policy " << inQuotes(policy) << '\n';
    return false;
  }
  const std::uint32_t seqnum = Firewall::ruleSeqnum(ruleId);
  out_ << "rule " << ruleId << " is number " << (ruleId & Firewall::maxRuleIndex)
       << " of sequence number " << seqnum << '\n';
  return rule(policy, seqnum);
}

bool Explainer::claims(const Member& source, const Member& segment, std::string_view prefix) const {
  bool isFound = false;
  for (const auto& [field, isIpv4] : listFields) {
    const ListName list = listNameOf(textBelow(segment.value, field), isIpv4);
    const Node& entries = below(below(below(root_, list.part), list.name), list.entries);
    for (const Member& entry : entries.members) {
      const bool isEntry = list.entries != "subnets";
      const std::string_view text = isEntry ? textBelow(entry.value, "prefix") : entry.key.text;
      if (text != prefix) continue;
      if (isEntry && textBelow(entry.value, "action") != "permit") continue;
      isFound = true;
      out_ << "  segment " << inQuotes(segment.key.text) << " of source "
           << inQuotes(source.key.text) << " claims it by " << textBelow(segment.value, field)
           << " at " << at(entry.key.place) << '\n';
    }
  }
  return isFound;
}

void Explainer::longestAround(const Firewall::FwVrf& vrf, const Lanx::IpGenPrefix& prefix) const {
  Lanx::IpGenPrefix longest;
  std::string owner;
  const auto consider = [&](const Lanx::IpGenPrefix& other, const Pith::String& segment) {
    if (!other.contains(prefix) || (longest.isSet() && other.length() <= longest.length())) return;
    longest = other;
    owner = segment.view();
  };
  for (const auto& entry : vrf.prefixList()) consider(entry.key, entry.value);
  for (const auto& segment : vrf.segment()) {
    for (const auto& entry : segment->subnets()) {
      consider(Lanx::IpGenPrefix(entry.key), segment->name());
    }
  }
  if (!longest.isSet()) return;
  out_ << "  the longest around it is " << longest.toString() << ", of " << inQuotes(owner) << '\n';
}

bool Explainer::prefix(std::string_view vrf, std::string_view text) {
  const Lanx::IpGenPrefix prefix = Lanx::IpGenPrefix::parse(text);
  const std::string key = prefix.toString();
  const auto compiled = store_.hwConfig->vrf(L3::VrfName(vrf));
  const Pith::String* const owner = compiled ? compiled->prefixList(prefix) : nullptr;
  out_ << key << " in VRF " << inQuotes(vrf) << ": "
       << (owner == nullptr ? "nobody owns it VRF-wide" : inQuotes(owner->view()) + " owns it")
       << '\n';
  bool isGlobal = false;
  bool isClaimed = false;
  for (const Member& source : below(root_, "source").members) {
    const Node& config = below(below(source.value, "vrf"), vrf);
    if (const Member* const global = memberOf(below(config, "prefix"), key)) {
      isGlobal = true;
      out_ << "  source " << inQuotes(source.key.text) << " gives it to "
           << inQuotes(global->value.text) << " as a global prefix at " << at(global->key.place)
           << (isEnabled(source) ? "" : ", and is not enabled") << '\n';
    }
    for (const Member& segment : below(config, "segment").members) {
      isClaimed = claims(source, segment, key) || isClaimed;
    }
  }
  if (!isGlobal && !isClaimed) {
    out_ << "  no source names it in this VRF\n";
    if (compiled) longestAround(*compiled, prefix);
    return false;
  }
  if (!store_.hwCapability->globalPrefixListSupported()) {
    out_ << "  decided by: the hardware has no VRF-wide list; each claimant holds it for itself\n";
  } else if (owner == nullptr) {
    out_ << "  decided by: no enabled source has a segment for it\n";
  } else if (isGlobal) {
    out_ << "  decided by: a global prefix goes before the lists of segments\n";
  } else {
    out_ << "  decided by: the first segment that claimed it keeps it\n";
  }
  return true;
}

void Explainer::segmentOf(const Member& source, const Member& segment, const std::string& path,
                          const Firewall::FwSegment* compiled) const {
  out_ << "source " << inQuotes(source.key.text) << ": segment " << inQuotes(segment.key.text)
       << " at " << at(segment.key.place) << '\n';
  if (!isEnabled(source)) out_ << "  missing: the source is not enabled\n";
  reasons(path, "  ");
  for (const Member& link : below(segment.value, "policy").members) {
    const auto* const written =
        compiled == nullptr ? nullptr : compiled->fromSegment(Pith::String(link.key.text));
    out_ << "  from " << link.key.text << " by " << link.value.text << ", wanted at "
         << at(link.key.place) << ": ";
    if (link.key.text == "forwarding-segments") {
      out_ << "stands for the segments that have interfaces and receive from this one\n";
    } else if (written == nullptr) {
      out_ << "not written\n";
    } else {
      out_ << "written\n";
    }
  }
  if (const Node* const fallback = segment.value.find("fallbackPolicy")) {
    out_ << "  else by " << fallback->text << ", wanted at " << at(fallback->place) << ": "
         << (compiled != nullptr && compiled->fallbackPolicy() ? "written\n" : "not written\n");
  }
  for (const auto& [field, isIpv4] : listFields) {
    const ListName name = listNameOf(textBelow(segment.value, field), isIpv4);
    const Member* const list = memberOf(below(root_, name.part), name.name);
    if (list == nullptr) continue;
    out_ << "  prefixes by " << textBelow(segment.value, field) << " at " << at(list->key.place)
         << ": " << grouped(below(list->value, name.entries).members.size()) << '\n';
  }
}

bool Explainer::segment(std::string_view vrf, std::string_view name) {
  const bool isL2 = vrf == "l2";
  Pith::Ptr<const Firewall::FwSegment> compiled;
  if (isL2) {
    if (const auto l2 = store_.hwConfig->l2Seg()) compiled = l2->segment(Pith::String(name));
  } else if (const auto inVrf = store_.hwConfig->vrf(L3::VrfName(vrf))) {
    compiled = inVrf->segment(Pith::String(name));
  }
  bool isFound = false;
  for (const Member& source : below(root_, "source").members) {
    const Node& directory =
        isL2 ? below(source.value, "l2SegmentDir") : below(below(source.value, "vrf"), vrf);
    const Member* const segment = memberOf(below(directory, "segment"), name);
    if (segment == nullptr) continue;
    isFound = true;
    const std::string path = "source/" + std::string(source.key.text) +
                             (isL2 ? "/l2SegmentDir" : "/vrf/" + std::string(vrf)) + "/segment/" +
                             std::string(name);
    segmentOf(source, *segment, path, compiled.get());
  }
  if (!isFound) {
    out_ << "no source has a segment " << inQuotes(name)
         << (isL2 ? " in its L2 directory" : " in VRF " + inQuotes(vrf)) << '\n';
    return false;
  }
  if (!compiled) {
    out_ << "the hardware has no such segment\n";
    if (!isL2) {
      const std::string path = "/vrf/" + std::string(vrf);
      for (const Diagnostics::Entry& entry : diagnostics_.entries()) {
        if (entry.path.size() > path.size() &&
            entry.path.compare(entry.path.size() - path.size(), path.size(), path) == 0) {
          out_ << "  missing: " << at(entry.place) << ": " << entry.text << '\n';
        }
      }
    }
    return true;
  }
  out_ << "the hardware has:\n";
  out_ << "  " << grouped(compiled->subnets().size()) << " prefix"
       << (compiled->subnets().size() == 1 ? "" : "es") << ", "
       << counted(compiled->intfVlanRangeSet().size(), "interface") << ", "
       << counted(compiled->fromSegment().size(), "link") << '\n';
  for (const auto& link : compiled->fromSegment()) {
    out_ << "  from " << link.key.view() << " by " << linkText(link.value.policy) << '\n';
  }
  return true;
}

}  // namespace Agent
