// The compiled tables for people: segments with their interfaces, prefixes and links, policies with
// their rules, services, and who owns the VRF-wide prefixes.
#pragma once

#include <iosfwd>

#include "agent/View/Table.h"
#include "model/Firewall/HwConfig.h"

namespace Agent {

void printCompiled(std::ostream& out, const Firewall::HwConfig& hwConfig, const TextStyle& style);

// Of a hardware rule: "any" for what matches all; ports only where there are some.
std::string prefixText(const Lanx::IpGenPrefix& prefix);
std::string protocolText(const Firewall::Protocol::Optional& protocol);
std::string portsText(const Firewall::PortRange& range);

}  // namespace Agent
