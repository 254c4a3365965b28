#include "agent/View/CompiledText.h"

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include "Firewall/Rules/RuleId.h"
#include "agent/Document/Count.h"
#include "agent/Schema/Values.h"
#include "agent/View/Text.h"
#include "framework/Kiv/Text.h"

namespace Agent {
namespace {

using Cell = Table::Cell;

template <class Collection, class Text>
Cell sortedCell(const Collection& collection, const Text& textOf) {
  Cell cell;
  for (const auto& entry : collection) cell.push_back(textOf(entry));
  std::sort(cell.begin(), cell.end());
  if (cell.empty()) cell.emplace_back("-");
  return cell;
}

template <class Values>
Cell inOrder(const Values& values) {
  Cell cell;
  for (const auto& value : values) cell.push_back(Kiv::valueToStrep(value));
  return cell.empty() ? Cell{"-"} : cell;
}

std::string interfaceText(const Pith::Ptr<Firewall::FwIntfVlanRangeSet>& intf) {
  std::string text(intf->intfId().view());
  std::vector<Firewall::VlanRange> ranges;
  for (const Firewall::VlanRange& range : intf->vlanRange()) ranges.push_back(range);
  std::sort(ranges.begin(), ranges.end(),
            [](const auto& a, const auto& b) { return a.first() < b.first(); });
  // The hardware has them as aligned blocks; neighbours are shown as one.
  for (std::size_t i = 0; i < ranges.size();) {
    std::size_t last = i;
    while (last + 1 < ranges.size() && ranges[last + 1].first() == ranges[last].second() + 1)
      ++last;
    text += i == 0 ? ":" : "+";
    text += Kiv::valueToStrep(Firewall::VlanRange(ranges[i].first(), ranges[last].second()));
    i = last + 1;
  }
  return text;
}

void printSegments(std::ostream& out, const Firewall::FwSegmentDir& directory,
                   const TextStyle& style) {
  Table table({"SEGMENT", "INTERFACES", "PREFIXES", "FROM (POLICY)", "FALLBACK"}, style);
  for (const auto& segment : directory.segment()) {
    std::vector<Lanx::IpGenAddrWithMask> subnets;
    for (const auto& entry : segment->subnets()) subnets.push_back(entry.key);
    std::sort(subnets.begin(), subnets.end());
    table.row({{std::string(segment->name().view())},
               sortedCell(segment->intfVlanRangeSet(), interfaceText),
               inOrder(subnets),
               sortedCell(segment->fromSegment(),
                          [](const auto& from) {
                            return std::string(from.key.view()) + " (" +
                                   linkText(from.value.policy) + ")";
                          }),
               {linkText(segment->fallbackPolicy())}});
  }
  if (!table.empty()) table.print(out, "  ");
}

void printOwners(std::ostream& out, const Firewall::FwVrf& vrf, const TextStyle& style) {
  std::vector<std::pair<Lanx::IpGenPrefix, std::string>> owners;
  for (const auto& entry : vrf.prefixList()) owners.emplace_back(entry.key, entry.value.view());
  std::sort(owners.begin(), owners.end());
  Table table({"VRF-WIDE PREFIX", "OWNER"}, style);
  for (const auto& [prefix, owner] : owners) table.row({{prefix.toString()}, {owner}});
  if (!table.empty()) {
    out << '\n';
    table.print(out, "  ");
  }
}

void printPolicy(std::ostream& out, const Firewall::FwPolicy& policy, const TextStyle& style) {
  const std::size_t rules = policy.rule().size() + policy.serviceRule().size();
  out << "\nPolicy " << policy.name().view() << ": " << counted(rules, "hardware rule") << '\n';
  Table table(
      {"SEQ", "RULE ID", "SOURCE", "DESTINATION", "PROTOCOL", "PORTS", "SOURCE PORTS", "ACTION"},
      style);
  const auto actionText = [](const auto& rule) {
    std::string text = Kiv::valueToStrep(rule.action);
    if (rule.action == Firewall::Action::redirect) text += " " + Kiv::valueToStrep(rule.nexthop);
    return rule.log ? text + " log" : text;
  };
  for (const auto& entry : policy.rule()) {
    const Firewall::FwRule& rule = entry.value;
    table.row({{std::to_string(rule.seqnum)},
               {std::to_string(entry.key)},
               {prefixText(rule.sip)},
               {prefixText(rule.dip)},
               {protocolText(rule.protocol)},
               {portsText(rule.dstPort)},
               {portsText(rule.srcPort)},
               {actionText(rule)}});
  }
  if (!table.empty()) table.print(out, "  ");
  Table whole({"SEQ", "SERVICE", "ACTION"}, style);
  for (const auto& entry : policy.serviceRule()) {
    const auto& service = entry.value.service;
    whole.row({{std::to_string(entry.key)}, {linkText(service)}, {actionText(entry.value)}});
  }
  if (!whole.empty()) whole.print(out, "  ");
}

template <class Ports>
Cell portsCell(const Ports& ports) {
  Cell cell;
  for (const auto& entry : ports) cell.push_back(Kiv::valueToStrep(entry.value));
  return cell.empty() ? Cell{"any"} : cell;
}

void printServices(std::ostream& out, const Firewall::HwConfig& hwConfig, const TextStyle& style) {
  std::vector<Pith::Ptr<const Firewall::FwService>> services;
  for (const auto& service : hwConfig.services()) services.emplace_back(service);
  std::sort(services.begin(), services.end(),
            [](const auto& a, const auto& b) { return a->name() < b->name(); });
  Table table({"SERVICE", "PROTOCOLS", "PORTS", "SOURCE PORTS", "SOURCES", "DESTINATIONS"}, style);
  const auto prefixes = [](const auto& set) {
    std::vector<Lanx::IpGenPrefix> sorted;
    for (const Lanx::IpGenPrefix& prefix : set) sorted.push_back(prefix);
    std::sort(sorted.begin(), sorted.end());
    return sorted.empty() ? Cell{"any"} : inOrder(sorted);
  };
  for (const auto& service : services) {
    Cell protocols;
    for (const Firewall::ProtocolRange& range : service->protocol()) {
      const std::string_view name =
          range.start() == range.end() ? protocolName(range.start()) : std::string_view();
      protocols.push_back(name.empty() ? Kiv::valueToStrep(range) : std::string(name));
    }
    if (protocols.empty()) protocols.emplace_back("any");
    table.row({{std::string(service->name().view())},
               protocols,
               portsCell(service->dstPort()),
               portsCell(service->srcPort()),
               prefixes(service->srcIpPrefix()),
               prefixes(service->dstIpPrefix())});
  }
  if (table.empty()) return;
  out << '\n' << counted(table.rows(), "service") << '\n';
  table.print(out, "  ");
}

}  // namespace

std::string prefixText(const Lanx::IpGenPrefix& prefix) {
  return prefix.isSet() ? prefix.toString() : "any";
}

std::string protocolText(const Firewall::Protocol::Optional& protocol) {
  if (!protocol) return "any";
  const std::string_view name = protocolName(protocol->value());
  return name.empty() ? std::to_string(protocol->value()) : std::string(name);
}

std::string portsText(const Firewall::PortRange& range) {
  return range == Firewall::PortRange::all() ? "any" : Kiv::valueToStrep(range);
}

void printCompiled(std::ostream& out, const Firewall::HwConfig& hwConfig, const TextStyle& style) {
  out << "active: " << (hwConfig.active() ? "yes" : "no")
      << ", what no policy matches: " << (hwConfig.defaultPolicyDrop() ? "drop" : "forward")
      << ", forwarding: " << Kiv::valueToStrep(hwConfig.forwardType()) << '\n';
  std::vector<Pith::Ptr<const Firewall::FwVrf>> vrfs;
  for (const auto& vrf : hwConfig.vrf()) vrfs.emplace_back(vrf);
  std::sort(vrfs.begin(), vrfs.end(),
            [](const auto& a, const auto& b) { return a->name() < b->name(); });
  for (const auto& vrf : vrfs) {
    out << "\nVRF " << vrf->name().view() << ": " << counted(vrf->segment().size(), "segment")
        << '\n';
    printSegments(out, *vrf, style);
    printOwners(out, *vrf, style);
  }
  if (const auto l2 = hwConfig.l2Seg()) {
    out << "\nL2: " << counted(l2->segment().size(), "segment") << '\n';
    printSegments(out, *l2, style);
  }
  std::vector<Pith::Ptr<const Firewall::FwPolicy>> policies;
  for (const auto& policy : hwConfig.policy()) policies.emplace_back(policy);
  std::sort(policies.begin(), policies.end(),
            [](const auto& a, const auto& b) { return a->name() < b->name(); });
  for (const auto& policy : policies) printPolicy(out, *policy, style);
  printServices(out, hwConfig, style);
}

}  // namespace Agent
