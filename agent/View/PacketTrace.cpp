#include "agent/View/PacketTrace.h"

#include <ostream>

#include "Firewall/Rules/RuleId.h"
#include "agent/View/CompiledText.h"
#include "agent/View/Text.h"
#include "framework/Kiv/Text.h"

namespace Agent {
namespace {

using Firewall::Action;

bool holds(const Firewall::PortRange& range, std::uint16_t port) {
  return range.start() <= port && port <= range.end();
}

bool holds(const Lanx::IpGenPrefix& prefix, const Lanx::IpGenAddr& address) {
  return !prefix.isSet() || prefix.contains(address);
}

bool matches(const Firewall::FwRule& rule, const Packet& packet) {
  if (!holds(rule.sip, packet.source) || !holds(rule.dip, packet.destination)) return false;
  if (!rule.protocol) return true;
  if (rule.protocol->value() != packet.protocol) return false;
  if (!rule.protocol->hasPorts()) return true;
  return holds(rule.srcPort, packet.sourcePort) && holds(rule.dstPort, packet.destinationPort);
}

// The store's collections end in a sentinel, which std::any_of does not take.
template <class Collection, class Predicate>
bool anyOf(const Collection& collection, const Predicate& predicate) {
  for (const auto& entry : collection) {
    if (predicate(entry)) return true;
  }
  return false;
}

template <class Prefixes>
bool anyHolds(const Prefixes& prefixes, const Lanx::IpGenAddr& address) {
  if (prefixes.empty()) return true;
  return anyOf(prefixes, [&address](const auto& prefix) { return holds(prefix, address); });
}

template <class Ports>
bool anyPort(const Ports& ports, std::uint16_t port) {
  if (ports.empty()) return true;
  return anyOf(ports, [port](const auto& entry) { return holds(entry.value, port); });
}

// A service that the hardware expands itself.
bool matches(const Firewall::FwService& service, const Packet& packet) {
  if (!anyHolds(service.srcIpPrefix(), packet.source)) return false;
  if (!anyHolds(service.dstIpPrefix(), packet.destination)) return false;
  if (service.protocol().empty()) return true;
  const unsigned first = service.af() == Classification::AddressFamily::ipv4 ? 1 : 0;
  for (const Firewall::ProtocolRange& range : service.protocol()) {
    if (range.end() == 255 && range.start() <= first) return true;
    if (packet.protocol < range.start() || packet.protocol > range.end()) continue;
    if (!Firewall::Protocol(packet.protocol).hasPorts()) return true;
    if (anyPort(service.dstPort(), packet.destinationPort) &&
        anyPort(service.srcPort(), packet.sourcePort)) {
      return true;
    }
  }
  return false;
}

template <class Rule>
Verdict decided(const Rule& rule, std::ostream& out) {
  out << Kiv::valueToStrep(rule.action);
  if (rule.action == Action::redirect) out << " to " << Kiv::valueToStrep(rule.nexthop);
  out << (rule.log ? ", logged\n" : "\n");
  const Verdict verdict = rule.action == Action::drop ? Verdict::drop : Verdict::permit;
  out << "verdict: " << (verdict == Verdict::drop ? "drop" : "permit") << '\n';
  return verdict;
}

}  // namespace

PacketTrace::Segment PacketTrace::byInterface(const Firewall::FwSegmentDir& directory,
                                              const Packet& packet, std::ostream& out) const {
  if (packet.interface.empty()) return nullptr;
  const Lanx::IntfId intf{std::string_view(packet.interface)};
  for (const auto& segment : directory.segment()) {
    const auto entry = segment->intfVlanRangeSet(intf);
    if (!entry) continue;
    if (packet.vlan && !entry->vlanRange().empty()) {
      const auto holdsVlan = [&packet](const Firewall::VlanRange& range) {
        return range.first() <= *packet.vlan && *packet.vlan <= range.second();
      };
      if (!anyOf(entry->vlanRange(), holdsVlan)) continue;
    }
    out << "source " << packet.source.toString() << ": segment \"" << segment->name().view()
        << "\", which holds the interface " << packet.interface;
    if (packet.vlan) out << ", VLAN " << *packet.vlan;
    out << '\n';
    return segment;
  }
  out << "no segment holds the interface " << packet.interface << '\n';
  return nullptr;
}

PacketTrace::Segment PacketTrace::byAddress(const Firewall::FwSegmentDir& directory,
                                            const Lanx::IpGenAddr& address, std::string_view end,
                                            std::ostream& out) const {
  const auto* const vrf = dynamic_cast<const Firewall::FwVrf*>(&directory);
  Lanx::IpGenPrefix longest;
  Segment owner;
  const bool hasList = vrf != nullptr && !vrf->prefixList().empty();
  if (hasList) {
    for (const auto& entry : vrf->prefixList()) {
      if (!entry.key.contains(address)) continue;
      if (longest.isSet() && entry.key.length() <= longest.length()) continue;
      longest = entry.key;
      owner = directory.segment(entry.value);
    }
  } else {
    for (const auto& segment : directory.segment()) {
      for (const auto& entry : segment->subnets()) {
        const Lanx::IpGenPrefix prefix(entry.key);
        if (!prefix.contains(address)) continue;
        if (longest.isSet() && prefix.length() <= longest.length()) continue;
        longest = prefix;
        owner = segment;
      }
    }
  }
  out << end << " " << address.toString() << ": ";
  if (!owner) {
    out << "no segment holds it\n";
  } else {
    out << "segment \"" << owner->name().view() << "\", by "
        << (hasList ? "the VRF-wide prefix " : "its prefix ") << longest.toString() << '\n';
  }
  return owner;
}

Verdict PacketTrace::byDefault(std::ostream& out) const {
  const Verdict verdict = hwConfig_.defaultPolicyDrop() ? Verdict::drop : Verdict::permit;
  out << "the default decides: " << (verdict == Verdict::drop ? "drop" : "forward")
      << "\nverdict: " << (verdict == Verdict::drop ? "drop" : "permit") << '\n';
  return verdict;
}

Verdict PacketTrace::byPolicy(const Firewall::FwPolicy& policy, const Packet& packet,
                              std::ostream& out) const {
  auto whole = policy.serviceRule().begin();
  const auto tryWhole = [&](std::uint32_t upTo) -> std::optional<Verdict> {
    for (; whole != policy.serviceRule().end() && (*whole).key <= upTo; ++whole) {
      const Firewall::FwServiceRule& rule = (*whole).value;
      if (!rule.service || !matches(*rule.service, packet)) continue;
      out << "rule " << (*whole).key << " of \"" << policy.name().view() << "\" matches, service \""
          << linkText(rule.service) << "\": ";
      return decided(rule, out);
    }
    return std::nullopt;
  };
  for (const auto& entry : policy.rule()) {
    const Firewall::FwRule& rule = entry.value;
    if (rule.seqnum != 0) {
      if (const auto verdict = tryWhole(rule.seqnum - 1)) return *verdict;
    }
    if (!matches(rule, packet)) continue;
    out << "rule " << rule.seqnum << " of \"" << policy.name().view()
        << "\" matches, hardware rule " << entry.key << " (" << prefixText(rule.sip) << " to "
        << prefixText(rule.dip) << ", " << protocolText(rule.protocol) << ", ports "
        << portsText(rule.dstPort) << "): ";
    return decided(rule, out);
  }
  if (const auto verdict = tryWhole(~0U)) return *verdict;
  out << "no rule of \"" << policy.name().view() << "\" matches\n";
  return byDefault(out);
}

Verdict PacketTrace::of(const Packet& packet, std::ostream& out) const {
  if (!hwConfig_.active()) {
    out << "the firewall is not active: nothing is judged\nverdict: permit\n";
    return Verdict::permit;
  }
  Pith::Ptr<const Firewall::FwSegmentDir> directory;
  if (packet.vlan) {
    directory = hwConfig_.l2Seg();
  } else {
    directory = hwConfig_.vrf(L3::VrfName(packet.vrf));
  }
  if (!directory) {
    out << "the tables have no " << (packet.vlan ? "L2 directory" : "VRF \"" + packet.vrf + "\"")
        << '\n';
    return byDefault(out);
  }
  Segment source = byInterface(*directory, packet, out);
  if (!source) source = byAddress(*directory, packet.source, "source", out);
  const Segment destination = byAddress(*directory, packet.destination, "destination", out);
  if (!destination) return byDefault(out);
  const auto* const link = source ? destination->fromSegment(source->name()) : nullptr;
  if (link != nullptr && link->policy) {
    out << "\"" << destination->name().view() << "\" takes traffic from \"" << source->name().view()
        << "\" by the policy \"" << linkText(link->policy) << "\"\n";
    return byPolicy(*link->policy, packet, out);
  }
  out << "\"" << destination->name().view() << "\" has no link from "
      << (source ? "\"" + std::string(source->name().view()) + "\"" : "there") << '\n';
  if (const auto fallback = destination->fallbackPolicy()) {
    out << "its fallback policy is \"" << linkText(fallback) << "\"\n";
    return byPolicy(*fallback, packet, out);
  }
  return byDefault(out);
}

}  // namespace Agent
