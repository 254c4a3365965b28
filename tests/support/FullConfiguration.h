// A configuration that uses everything: three VRFs, an L2 directory, match lists, prefix lists,
// global prefixes, class maps, applications with field sets, policies, segment links and fallbacks.
#pragma once

#include <string>

#include "tests/support/Switch.h"

namespace TestSupport {

// What the sources share: VRFs and interfaces, lists, applications.
void shareConfiguration(Switch& sw);

// What one source asks for; not enabled.
Firewall::Config::Ptr fullSource(Switch& sw, const std::string& name);

// Makes the segment of a VRF with its generated class map, which holds the interfaces.
Firewall::Segment::Ptr segmentWithInterfaces(Firewall::Config& config, const std::string& vrf,
                                             const std::string& segment,
                                             std::initializer_list<const char*> interfaces);

}  // namespace TestSupport
